// Value access: reading a native scalar out of a value, and finding a value inside a tree
// by a dotted path.
//
// Conversion to a native type comes in two strengths, reached through DataValue:
//
//   Olma::MessageList messages;
//   long long count = 0;
//   DataValue::Value<long long>(value, count, messages);        // strict: IntegerValue only
//   DataValue::ToPrimitive<long long>(value, count, messages);  // loose: also the text "42"
//
// Strict (DataValueHelper::Strict) converts a value of the matching class only:
//
//   Void <- VoidValue          long long <- IntegerValue     double <- DoubleValue
//   bool <- BooleanValue       ByteVector <- BlobValue       std::string <- StringValue
//   SecretString <- SecretValue
//   DateTime <- StringValue holding a date-time text ("olma.data.bad.cast3" with "String",
//               "DateTime" and the text when it does not parse)
//
// There are no numeric widenings (an integer never becomes a double, a boolean never a
// number) and optionals are not unwrapped. Any other source gives "olma.data.bad.cast2"
// ("Bad cast: {1} -> {2}") with the source's name (TypeInfo<T>::name() of its native type
// for scalars; the kind name "OPTIONAL", "LIST", "STRUCTURE", "ERROR", or "_UNKNOWN" for a
// typed list, for composites) and the target's name. An empty pointer counts as the source
// "<unset>".
//
// Loose (DataValueHelper::Loose) adds conversions from a StringValue and nothing else:
//
//   bool          "true" and "false", otherwise the lexical conversion, which takes "1" and
//                 "0" (also "01", "+1", "-0") and nothing else: "yes" and " 1" fail
//   long long     the whole text as a decimal integer with optional sign, in range, no
//                 blanks around it
//   double        the whole text as a floating-point number, including "inf", "INFINITY",
//                 "nan" and their signed forms; out of range or blanks around it fail
//   ByteVector    Base64; a malformed text gives "olma.data.bad.cast3" with "String",
//                 "Blob" and the decoder's error, and `out` receives what was decoded
//                 (nothing, with the library's decoder)
//   Void          the empty text only; otherwise "olma.data.bad.cast3" with "String",
//                 "Void" and the text
//   SecretString  the text itself
//
// A failed conversion appends exactly one message and returns false; except where noted
// above, `out` is left as it was. A successful one appends nothing.
//
// DataValueHelpers::GetValueByPath finds a value by a path of field names separated by
// ".", with one optional leading ".":
//
//   auto price = DataValueHelpers::GetValueByPath("order.item.price", document, messages);
//
// Structures and errors are entered by field name; optionals are transparent (a set one is
// entered with the same path, an unset one ends the walk with nothing); an empty path
// yields the value reached, whatever its kind. Paths never index into lists: meeting a
// list with path left appends "olma.data.getvaluebypath.list.not.last" with the remaining
// path. A scalar with path left, or a missing field, yields nothing without a message.
//
// Everything here is free of shared state: any number of threads may convert and look up
// at once, also on shared values.
#pragma once

#include <memory>
#include <string>
#include <string_view>

#include "olma/core/byte_vector.h"
#include "olma/core/date_time.h"
#include "olma/core/export.h"
#include "olma/core/message.h"
#include "olma/core/secret_string.h"
#include "olma/data/modes.h"
#include "olma/data/native_markers.h"
#include "olma/data/type_info.h"
#include "olma/data/value.h"
#include "olma/data/value_visitor.h"

namespace Olma {
namespace Data {

namespace DataValueHelper {

// Conversion strengths (see the top of this file).
struct Strict {};
struct Loose {};

// Converts the value it visits to T under Mode: the visitor behind DataValue::Value
// (Strict) and DataValue::ToPrimitive (Loose), for use where a value is visited anyway.
//
//   long long count = 0;
//   DataValueHelper::ValueToNativeVisitor<DataValueHelper::Strict, long long> visitor(count, messages);
//   value->AcceptVisitor(visitor);
//   if (visitor.result()) ...
//
// T is one of Void, long long, double, bool, ByteVector, std::string, SecretString and
// DateTime; all sixteen visitors are instantiated in the library. One visitor serves one
// visit.
template <class Mode, class T>
class OLMA_API ValueToNativeVisitor final : public ValueVisitor {
 public:
  ValueToNativeVisitor(T& out, MessageList& messages) noexcept : out_(out), messages_(messages) {}

  // Whether the last visit converted; false before any visit.
  bool result() const noexcept { return result_; }

  void VisitVoid(std::shared_ptr<const VoidValue> value) override;
  void VisitInteger(std::shared_ptr<const IntegerValue> value) override;
  void VisitDouble(std::shared_ptr<const DoubleValue> value) override;
  void VisitBoolean(std::shared_ptr<const BooleanValue> value) override;
  void VisitBlob(std::shared_ptr<const BlobValue> value) override;
  void VisitString(std::shared_ptr<const StringValue> value) override;
  void VisitSecret(std::shared_ptr<const SecretValue> value) override;
  void VisitError(std::shared_ptr<const ErrorValue> value) override;
  void VisitOptional(std::shared_ptr<const OptionalValue> value) override;
  void VisitList(std::shared_ptr<const ListValue> value) override;
  void VisitListBool(std::shared_ptr<const ListValueBool> value) override;
  void VisitListLong(std::shared_ptr<const ListValueLong> value) override;
  void VisitListDouble(std::shared_ptr<const ListValueDouble> value) override;
  void VisitListBlob(std::shared_ptr<const ListValueBlob> value) override;
  void VisitListString(std::shared_ptr<const ListValueString> value) override;
  void VisitListSecret(std::shared_ptr<const ListValueSecret> value) override;
  void VisitStruct(std::shared_ptr<const StructValue> value) override;

 private:
  bool result_ = false;
  T& out_;
  MessageList& messages_;
};

#define OLMA_DATA_DECLARE_VALUE_TO_NATIVE(T)                      \
  extern template class OLMA_API ValueToNativeVisitor<Strict, T>; \
  extern template class OLMA_API ValueToNativeVisitor<Loose, T>

OLMA_DATA_DECLARE_VALUE_TO_NATIVE(Void);
OLMA_DATA_DECLARE_VALUE_TO_NATIVE(long long);
OLMA_DATA_DECLARE_VALUE_TO_NATIVE(double);
OLMA_DATA_DECLARE_VALUE_TO_NATIVE(bool);
OLMA_DATA_DECLARE_VALUE_TO_NATIVE(ByteVector);
OLMA_DATA_DECLARE_VALUE_TO_NATIVE(std::string);
OLMA_DATA_DECLARE_VALUE_TO_NATIVE(SecretString);
OLMA_DATA_DECLARE_VALUE_TO_NATIVE(DateTime);

#undef OLMA_DATA_DECLARE_VALUE_TO_NATIVE

}  // namespace DataValueHelper

namespace DataValueHelpers {

// The value at `path` inside `value` (see the top of this file), or an empty pointer. An
// empty `value` yields an empty pointer; an empty path (or ".") yields `value` itself.
// The only message is "olma.data.getvaluebypath.list.not.last"; the path is read in
// place, never copied.
OLMA_API DataValue::PtrConstType GetValueByPath(std::string_view path, const DataValue::PtrConstType& value,
                                                MessageList& messages);

// The same, discarding the message.
OLMA_API DataValue::PtrConstType GetValueByPath(std::string_view path, const DataValue::PtrConstType& value);

}  // namespace DataValueHelpers

}  // namespace Data
}  // namespace Olma
