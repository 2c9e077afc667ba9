// ApiMethodHelper: the checks on both sides of a method's handler.
//
// Nothing a caller sends and nothing a handler returns is trusted. Before the handler
// runs, the input is checked against the method's input definition; after it has run, its
// output or error is checked against the declared output and errors. A failed check turns
// into an error result that says why, in the standard error structures clients know:
//
//   bad input                     "com.zorvex.olma.std.errors.unexpected_input" (a missing
//                                 or extra field) or "com.zorvex.olma.std.errors.invalid_argument"
//   bad output, bad or undeclared "com.zorvex.olma.std.errors.internal_server_error"
//   error
//
// A dispatcher uses them in this order:
//
//   Olma::Core::MethodResult::PtrConstType result;
//   const Olma::Provider::QualifiedMethodName name(api->id()->name(), method->name());
//   if (!ApiMethodHelper::ValidateInput(name, method->input(), input, result)) return deliver(result);
//   ApiMethodHelper::InvokeHandler(name, *method, activation, input, checked);
//   ... where `checked` is a callback that, given the handler's final result `handled`, does
//   deliver(ApiMethodHelper::ValidateResult(name, *method, handled));
//
// The helpers keep no state; any number of threads may call them at once.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

#include "olma/core/export.h"
#include "olma/core/message.h"
#include "olma/data/compound_values.h"
#include "olma/data/definition.h"
#include "olma/data/list_values.h"
#include "olma/data/value.h"
#include "olma/invocation/async_activation.h"
#include "olma/invocation/identifiers.h"
#include "olma/invocation/method_result.h"
#include "olma/invocation/result_callback.h"
#include "olma/provider/async_api_method.h"

namespace Olma {
namespace Provider {

// The fully qualified name of a method ("com.acme.tasks.create"), used only as an argument
// of the messages the helpers raise. It refers to its parts and joins them only when a
// message is actually raised, so a call that passes its checks renders no text. Build it
// from a whole name, from a MethodIdentifier, or from an interface name and a simple name
// (joined with "." like MethodIdentifier::ToString). It is a parameter type: it refers to
// the caller's strings and must not outlive them.
class QualifiedMethodName {
 public:
  QualifiedMethodName(const char* fullName) noexcept : first_(fullName) {}
  QualifiedMethodName(const std::string& fullName) noexcept : first_(fullName) {}
  QualifiedMethodName(std::string_view fullName) noexcept : first_(fullName) {}
  QualifiedMethodName(const Core::MethodIdentifier& identifier) noexcept
      : first_(identifier.interfaceIdentifier()->name()), second_(identifier.name()), joined_(true) {}
  QualifiedMethodName(std::string_view interfaceName, std::string_view methodName) noexcept
      : first_(interfaceName), second_(methodName), joined_(true) {}

  // The name as text: interface name, ".", method name (or the whole name as given).
  std::string str() const {
    if (!joined_) return std::string(first_);
    std::string text;
    text.reserve(first_.size() + 1 + second_.size());
    text.append(first_).append(1, '.').append(second_);
    return text;
  }

 private:
  std::string_view first_;
  std::string_view second_;
  bool joined_ = false;
};

struct OLMA_API ApiMethodHelper {
  // Checks a call's input against the method's input definition, strictly: every
  // required field must be present, no field may be present that the definition does
  // not name, and a kind may differ from the declared one only where the permissive
  // validator allows it (a string for a secret, a bare value for an optional, ...).
  // Valid: returns true and leaves `result` alone. Invalid: returns false and sets
  // `result` to an error result whose messages are "olma.invoke.invalid.input" ("Invalid
  // input for method: {1}") followed by the validator's. The error is
  // "com.zorvex.olma.std.errors.unexpected_input" when the validator's first message is
  // about a missing or extra field (its id begins with "olma.data.compound.field"), and
  // "com.zorvex.olma.std.errors.invalid_argument" otherwise.
  // A non-zero `maxFailures` bounds the validator's messages as DataValidator::Validate
  // does (olma/data/validator.h: at most that many, then "olma.data.validation.truncated"
  // when anything was left unchecked), so that a small hostile input cannot cost a message
  // per element of a long list; 0 reports every failure.
  [[nodiscard]] static bool ValidateInput(QualifiedMethodName methodName,
                                          const Data::DataDefinition::PtrConstType& inputDefinition,
                                          const Data::DataValue::PtrConstType& input,
                                          Core::MethodResult::PtrConstType& result,
                                          std::size_t maxFailures = 0);

  // Checks a handler's output against the method's output definition, loosely: fields
  // the definition does not name are allowed. Valid: a success result holding `output`.
  // Invalid: an error result "com.zorvex.olma.std.errors.internal_server_error" whose
  // messages are "olma.invoke.invalid.output" ("Invalid output for method: {1}")
  // followed by the validator's; the output itself is not passed on.
  [[nodiscard]] static Core::MethodResult::PtrConstType ValidateOutput(
      QualifiedMethodName methodName, const Data::DataDefinition::PtrConstType& outputDefinition,
      const Data::DataValue::PtrConstType& output);

  // Checks an error raised by a handler against the method's declared errors and the
  // four implicit ones (declared first, so a declared definition wins over an implicit
  // one of the same name). The first error definition whose name equals the error's
  // name, byte for byte, is used; empty entries and other kinds are skipped.
  //  - It matches loosely: the error is delivered unchanged.
  //  - It does not match: "com.zorvex.olma.std.errors.internal_server_error" with
  //    "olma.invoke.invalid.error" ("Invalid error for method: {1} -> {2}") first, then
  //    the validator's messages, then the handler error's own messages.
  //  - No definition has the name (an undeclared error):
  //    "com.zorvex.olma.std.errors.internal_server_error" with
  //    "olma.bindings.method.impl.unexpected" ("Unexpected error for method: {1} -> {2}")
  //    first, then the handler error's own messages.
  // An empty `error` counts as an undeclared error named "<unset>".
  [[nodiscard]] static Core::MethodResult::PtrConstType ValidateError(
      QualifiedMethodName methodName, const ErrorDefinitionList& errorDefinitions,
      const Data::ErrorValue::PtrConstType& error);

  // Checks the final result a handler delivered: an error through ValidateError, an output
  // through ValidateOutput, and the terminal result of a stream (neither output nor error)
  // passes unchanged, since it carries nothing to check. `result` must not be empty (an
  // empty result is a progress report, not a final result).
  static Core::MethodResult::PtrConstType ValidateResult(QualifiedMethodName methodName,
                                                         const AsyncApiMethod& method,
                                                         const Core::MethodResult::PtrConstType& result);

  // Calls method.Invoke(activation, input, ...) so that nothing the handler throws
  // escapes to the dispatcher: an exception becomes the error result
  // "com.zorvex.olma.std.errors.internal_server_error" with the one message
  // "olma.invoke.unknown.error" ("Unknown error for method: {1} -> {2}", the method name and
  // the exception's what(), or "unknown exception" for one that is not a std::exception),
  // delivered through `resultCb`. Exactly one final result reaches `resultCb`: the first
  // one, whether the handler's or the exception's; any later one is dropped. So a handler
  // that delivered before throwing keeps its result, and one that handed its callback to
  // another thread and then throws races safely: the handler is given a callback of its
  // own whose first final result wins by an atomic flag, and `resultCb` itself is never
  // inspected. Progress reports pass through until the final result; a continuation that
  // comes with a final result hands its next item through the same rule.
  // Thread safety: the handler may answer on any thread; `resultCb` is called from the
  // thread that delivers, one final result in all.
  static void InvokeHandler(QualifiedMethodName methodName, const AsyncApiMethod& method,
                            const Core::AsyncActivation::PtrType& activation,
                            const Data::DataValue::PtrConstType& input,
                            const Core::AsyncApiResultCb::PtrType& resultCb);

  // Appends to `messages` the messages held in the "messages" field of an error value:
  // each element must be a "com.zorvex.olma.std.localizable_message" structure with the
  // string fields "id" and "default_message" and the list of strings "args" (a typed list
  // of strings, or a list of string values). An empty pointer or list appends nothing.
  // When any element does not have that shape, nothing at all is appended and nothing is
  // reported: the messages of a malformed error are dropped, the error itself is not.
  static void CopyErrorMessages(const Data::ListValue::PtrConstType& messagesValue, MessageList& messages);

  // A copy of `errorDefinitions` followed by the error definitions, with no fields, of
  // the errors every method may raise without declaring them, in this order:
  // "com.zorvex.olma.std.errors.unexpected_input", "...operation_not_found",
  // "...internal_server_error", "...invalid_argument". They are appended even when
  // declared already.
  [[nodiscard]] static ErrorDefinitionList AppendImplicitOperationErrors(
      const ErrorDefinitionList& errorDefinitions);
};

}  // namespace Provider
}  // namespace Olma
