// JsonCodec: the JSON form of data values, guided by the definitions a method declares.
//
// A JSON-RPC request carries its parameters as JSON; the provider wants a DataValue it can
// validate. The codec reads the JSON the way the method's definition expects it and leaves
// the verdict to the validator: a JSON value that does not fit its definition becomes the
// value the JSON holds (an integer where a string was declared, say), so the validator
// reports it with its usual messages, and the codec itself never fails on odd input.
//
//   Olma::MessageList messages;
//   auto input = Olma::JsonRpc::JsonCodec::FromJson(params, method->input(), messages);
//   std::string text;
//   Olma::JsonRpc::JsonCodec::ToJson(result->output(), method->output(), text);
//
// The mapping, per declared kind (reading / writing):
//   INTEGER, DOUBLE, BOOLEAN, STRING   JSON number / boolean / string; an integral JSON number
//                                      is read as a double where a double is declared.
//                                      Non-finite doubles are written as null.
//   SECRET                             read from a string; always written as "<secret>", so a
//                                      secret is never echoed back.
//   BLOB                               a Base64 string; text that is not Base64 is reported
//                                      ("olma.data.bad.cast3": "String", "Blob", the reason).
//   date-time                          its text ("2026-11-23T10:00:00.000Z"), as a string.
//   OPTIONAL (and union cases)         null for unset, else the element's form.
//   LIST                               an array; declared lists of integers, doubles, booleans,
//                                      strings, secrets or blobs are read into packed typed
//                                      lists when every element has the element's JSON kind.
//   STRUCTURE, STRUCTURE_REF           an object of the fields; the name is the definition's.
//   ERROR, ANY_ERROR                   an object of the fields plus "@name", the error's name.
//   DYNAMIC_STRUCTURE, OPAQUE, none    what the JSON holds: integer (or double beyond the
//                                      64-bit range), double, boolean, string, array (a
//                                      list), object (a structure named by "@name", or ""),
//                                      null (an unset optional). Structures whose name the
//                                      definition does not fix are written with "@name".
//   VOID                               null.
// "@name" is never a field: it is read as the name (or skipped where the definition fixes the
// name) and written only where the name would otherwise be lost.
//
// Depth: neither direction recurses; the parse depth is the JSON parser's to bound.
// Thread safety: pure functions; the values and definitions are only read.
#pragma once

#include <string>
#include <string_view>

#include <boost/json/fwd.hpp>

#include "olma/core/export.h"
#include "olma/core/message.h"
#include "olma/data/definition.h"
#include "olma/data/value.h"

namespace Olma {
namespace JsonRpc {

struct OLMA_API JsonCodec {
  // The key that carries the name of a structure or error whose definition does not fix it.
  static constexpr std::string_view kNameKey = "@name";
  // What a secret is written as.
  static constexpr std::string_view kSecretMask = "<secret>";

  // The value `json` holds, read as `definition` (which may be empty) declares it. Appends a
  // message only for text that cannot be what it claims to be (bad Base64); mismatched kinds
  // are left for the validator. Never returns an empty pointer.
  static Data::DataValue::PtrConstType FromJson(const boost::json::value& json,
                                                const Data::DataDefinition::PtrConstType& definition,
                                                MessageList& messages);

  // Appends the JSON text of `value`, written as `definition` (which may be empty) declares
  // it. An empty value pointer is written as null.
  static void ToJson(const Data::DataValue::PtrConstType& value,
                     const Data::DataDefinition::PtrConstType& definition, std::string& out);

  // Appends `text` as a JSON string literal (quoted, escaped; bytes above 0x7f as they are).
  static void AppendString(std::string_view text, std::string& out);
};

}  // namespace JsonRpc
}  // namespace Olma
