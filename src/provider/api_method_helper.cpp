#include "olma/provider/api_method_helper.h"

#include <array>
#include <memory>
#include <string>
#include <string_view>
#include <utility>

#include "olma/data/definitions.h"
#include "olma/data/localizable_message.h"
#include "olma/data/validator.h"
#include "provider/delivery.h"

namespace Olma {
namespace Provider {
namespace {

using Data::DataDefinition;
using Data::DataType;
using Data::DataValue;

constexpr std::string_view kUnexpectedInput = "com.zorvex.olma.std.errors.unexpected_input";
constexpr std::string_view kOperationNotFound = "com.zorvex.olma.std.errors.operation_not_found";
constexpr std::string_view kInternalServerError = "com.zorvex.olma.std.errors.internal_server_error";
constexpr std::string_view kInvalidArgument = "com.zorvex.olma.std.errors.invalid_argument";

// The validator's messages about a missing or an extra structure field share this prefix;
// either means the caller sent the wrong set of fields rather than a wrong value.
constexpr std::string_view kCompoundFieldPrefix = "olma.data.compound.field";
static_assert(kCompoundFieldPrefix.size() == 24);

bool StartsWith(std::string_view text, std::string_view prefix) {
  return text.size() >= prefix.size() && text.compare(0, prefix.size(), prefix) == 0;
}

// The implicit errors are the same four definitions for every method: built once, shared
// read-only by every thread.
const std::array<DataDefinition::PtrConstType, 4>& ImplicitErrors() {
  static const std::array<DataDefinition::PtrConstType, 4> errors{
      Data::ErrorDefinition::GetInstance(std::string(kUnexpectedInput)),
      Data::ErrorDefinition::GetInstance(std::string(kOperationNotFound)),
      Data::ErrorDefinition::GetInstance(std::string(kInternalServerError)),
      Data::ErrorDefinition::GetInstance(std::string(kInvalidArgument))};
  return errors;
}

bool IsErrorDefinitionNamed(const DataDefinition::PtrConstType& definition, const std::string& name) {
  if (!definition || definition->type() != DataType::ERROR) return false;
  const std::optional<std::string>& definitionName =
      static_cast<const Data::ErrorDefinition&>(*definition).name();
  return definitionName && *definitionName == name;
}

// The first declared, then implicit, error definition named `name`; null when there is
// none. Walks both lists in place rather than building the extended list per call.
const DataDefinition::PtrConstType* FindErrorDefinition(const ErrorDefinitionList& declared,
                                                        const std::string& name) {
  for (const DataDefinition::PtrConstType& definition : declared) {
    if (IsErrorDefinitionNamed(definition, name)) return &definition;
  }
  for (const DataDefinition::PtrConstType& definition : ImplicitErrors()) {
    if (IsErrorDefinitionNamed(definition, name)) return &definition;
  }
  return nullptr;
}

Core::MethodResult::PtrConstType ErrorResult(std::string_view errorName, const MessageList& messages) {
  return Core::MethodResult::GetErrorInstance(Data::ErrorValue::Create(std::string(errorName), messages));
}

}  // namespace

bool ApiMethodHelper::ValidateInput(QualifiedMethodName methodName,
                                    const DataDefinition::PtrConstType& inputDefinition,
                                    const DataValue::PtrConstType& input,
                                    Core::MethodResult::PtrConstType& result, std::size_t maxFailures) {
  MessageList messages;
  if (Data::DataValidator::Validate<Data::StrictMatch, Data::ValidatorModePermissive>(
          inputDefinition, input, messages, maxFailures)) {
    return true;
  }
  const bool wrongFields = !messages.empty() && StartsWith(messages.front().id(), kCompoundFieldPrefix);
  messages.push_front(Message<CoreTag>("olma.invoke.invalid.input", methodName.str()));
  result = ErrorResult(wrongFields ? kUnexpectedInput : kInvalidArgument, messages);
  return false;
}

Core::MethodResult::PtrConstType ApiMethodHelper::ValidateOutput(
    QualifiedMethodName methodName, const DataDefinition::PtrConstType& outputDefinition,
    const DataValue::PtrConstType& output) {
  MessageList messages;
  if (DataDefinition::Validate<Data::LooseMatch, Data::ValidatorModePermissive>(outputDefinition, output,
                                                                                messages)) {
    return Core::MethodResult::GetInstance(output);
  }
  messages.push_front(Message<CoreTag>("olma.invoke.invalid.output", methodName.str()));
  return ErrorResult(kInternalServerError, messages);
}

Core::MethodResult::PtrConstType ApiMethodHelper::ValidateError(QualifiedMethodName methodName,
                                                                const ErrorDefinitionList& errorDefinitions,
                                                                const Data::ErrorValue::PtrConstType& error) {
  MessageList messages;
  if (!error) {
    messages.push_back(Message<CoreTag>("olma.bindings.method.impl.unexpected", methodName.str(), "<unset>"));
    return ErrorResult(kInternalServerError, messages);
  }
  const std::string& errorName = error->name();
  const DataDefinition::PtrConstType* definition = FindErrorDefinition(errorDefinitions, errorName);
  if (definition == nullptr) {
    messages.push_back(Message<CoreTag>("olma.bindings.method.impl.unexpected", methodName.str(), errorName));
    CopyErrorMessages(error->messages(), messages);
    return ErrorResult(kInternalServerError, messages);
  }
  if (DataDefinition::Validate<Data::LooseMatch, Data::ValidatorModePermissive>(*definition, error,
                                                                                messages)) {
    return Core::MethodResult::GetErrorInstance(error);
  }
  messages.push_front(Message<CoreTag>("olma.invoke.invalid.error", methodName.str(), errorName));
  CopyErrorMessages(error->messages(), messages);
  return ErrorResult(kInternalServerError, messages);
}

Core::MethodResult::PtrConstType ApiMethodHelper::ValidateResult(
    QualifiedMethodName methodName, const AsyncApiMethod& method,
    const Core::MethodResult::PtrConstType& result) {
  if (result->isError()) return ValidateError(methodName, method.errors(), result->error());
  if (result->isStreamTerminal()) return result;
  return ValidateOutput(methodName, method.output(), result->output());
}

void ApiMethodHelper::InvokeHandler(QualifiedMethodName methodName, const AsyncApiMethod& method,
                                    const Core::AsyncActivation::PtrType& activation,
                                    const DataValue::PtrConstType& input,
                                    const Core::AsyncApiResultCb::PtrType& resultCb) {
  Detail::RunHandler(methodName, method, activation, input, std::make_shared<Detail::Delivery>(resultCb));
}

void ApiMethodHelper::CopyErrorMessages(const Data::ListValue::PtrConstType& messagesValue,
                                        MessageList& messages) {
  if (messagesValue) Data::LocalizableMessage::ReadList(*messagesValue, messages);
}

ErrorDefinitionList ApiMethodHelper::AppendImplicitOperationErrors(
    const ErrorDefinitionList& errorDefinitions) {
  ErrorDefinitionList extended(errorDefinitions);
  extended.insert(extended.end(), ImplicitErrors().begin(), ImplicitErrors().end());
  return extended;
}

}  // namespace Provider
}  // namespace Olma
