// The JSON-RPC 1.1 envelope: reading a call, writing its answer.
//
// A call is the object {"version":"1.1","method":"com.example.tasks.create","params":{...},
// "id":...}; "version" and "id" may be absent ("id" is then answered as null), "params" is an
// object of named parameters or absent (no parameters). The answer carries the same "id" and
// either "result" or "error":
//
//   {"version":"1.1","id":7,"result":{...}}
//   {"version":"1.1","id":7,"error":{"name":"JSONRPCError","code":-32602,
//     "message":"Ungültige Eingabe für die Methode: com.example.tasks.create",
//     "error":{"@name":"com.zorvex.olma.std.errors.invalid_argument","messages":[
//       {"id":"olma.invoke.invalid.input","default_message":"Invalid input for method: ...",
//        "args":["com.example.tasks.create"],"localized":"Ungültige Eingabe ..."}, ...]}}}
//
// The "error" member of the error object is the error value itself (see JsonCodec), so a
// client sees the standard error name and every message with its identifier, English text
// and arguments, plus "localized" when the request's language has a template for it. The
// "message" is the first message's localised (else English) text, or the error's name.
//
// Codes, by error name: "com.zorvex.olma.std.errors.operation_not_found" -32601,
// "...invalid_argument" and "...unexpected_input" -32602, "...internal_server_error" -32603,
// "...unauthenticated" -32001, "...unauthorized" -32002, any other error -32000; a body that
// is not JSON -32700, JSON that is not a call -32600.
//
// Thread safety: pure functions.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

#include <boost/json/value.hpp>

#include "olma/core/export.h"
#include "olma/core/message.h"
#include "olma/data/compound_values.h"
#include "olma/data/definition.h"
#include "olma/data/value.h"
#include "olma/l10n/localizer.h"

namespace Olma {
namespace JsonRpc {

enum class ErrorCode : int {
  kParseError = -32700,
  kInvalidRequest = -32600,
  kMethodNotFound = -32601,
  kInvalidParams = -32602,
  kInternalError = -32603,
  kApplicationError = -32000,
  kUnauthenticated = -32001,
  kUnauthorized = -32002,
};

// Standard error names the transport raises itself.
inline constexpr std::string_view kInvalidArgument = "com.zorvex.olma.std.errors.invalid_argument";
inline constexpr std::string_view kOperationNotFound = "com.zorvex.olma.std.errors.operation_not_found";
inline constexpr std::string_view kInternalServerError = "com.zorvex.olma.std.errors.internal_server_error";
inline constexpr std::string_view kUnauthenticated = "com.zorvex.olma.std.errors.unauthenticated";
inline constexpr std::string_view kUnauthorized = "com.zorvex.olma.std.errors.unauthorized";

// A parsed call. `params` points into `document` (null when the call has none).
struct Request {
  boost::json::value document;
  std::string idJson = "null";  // the "id" member as JSON text, echoed in the answer
  std::string method;           // the full method name
  const boost::json::value* params = nullptr;
};

struct OLMA_API Protocol {
  // Parses `body` into `request`. A body that is not JSON, or nests deeper than `maxDepth`
  // arrays and objects, gives kParseError; JSON that is not a call object (not an object,
  // "version" other than "1.1", "method" missing or not a string, "params" neither object
  // nor null) gives kInvalidRequest with the message "olma.invalid.request". On failure
  // `request.idJson` holds the id when it could be read, so the answer can carry it.
  static bool ParseRequest(std::string_view body, std::size_t maxDepth, Request& request, ErrorCode& code,
                           MessageList& messages);

  // The code for an error of that name (see the table above).
  static ErrorCode CodeForError(std::string_view errorName);

  // {"version":"1.1","id":<idJson>,"result":<value as `definition` declares it>}
  static std::string WriteResult(std::string_view idJson, const Data::DataValue::PtrConstType& value,
                                 const Data::DataDefinition::PtrConstType& definition);

  // The error answer for `error`, written as `definition` (may be empty) declares it. With a
  // localizer, each message of the error gains "localized" when the request's language has
  // a template for its identifier; failures only leave it out.
  static std::string WriteError(std::string_view idJson, ErrorCode code,
                                const Data::ErrorValue::PtrConstType& error,
                                const Data::DataDefinition::PtrConstType& definition,
                                const L10n::RequestLocalizer* localizer);

  // WriteError for an error built here from `messages` (the code's usual error name).
  static std::string WriteError(std::string_view idJson, ErrorCode code, std::string_view errorName,
                                const MessageList& messages, const L10n::RequestLocalizer* localizer);
};

}  // namespace JsonRpc
}  // namespace Olma
