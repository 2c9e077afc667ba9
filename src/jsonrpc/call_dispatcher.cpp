#include "olma/jsonrpc/call_dispatcher.h"

#include <mutex>
#include <utility>

#include "olma/data/compound_values.h"
#include "olma/data/validator.h"
#include "olma/invocation/method_result.h"
#include "olma/provider/api_method_helper.h"

namespace Olma {
namespace JsonRpc {
namespace {

using Core::AsyncApiResultCb;
using Core::MethodResult;
using Provider::ApiMethodHelper;
using Provider::QualifiedMethodName;

constexpr std::string_view kUnexpectedInput = "com.zorvex.olma.std.errors.unexpected_input";
constexpr std::string_view kInvalidArgument = "com.zorvex.olma.std.errors.invalid_argument";
constexpr std::string_view kCompoundFieldPrefix = "olma.data.compound.field";

bool StartsWith(std::string_view text, std::string_view prefix) {
  return text.size() >= prefix.size() && text.compare(0, prefix.size(), prefix) == 0;
}

}  // namespace

CallDispatcher::CallDispatcher(std::size_t maxValidationFailures)
    : maxValidationFailures_(maxValidationFailures),
      container_(Provider::AsyncApiInterfaceConcurrentContainer<std::mutex>::GetInstance()) {}

bool CallDispatcher::AddInterface(Provider::AsyncApiInterface::PtrConstType api, MessageList& messages) {
  return container_->Add(std::move(api), messages);
}

bool CallDispatcher::Find(std::string_view fullName, Target& target, MessageList& messages) const {
  const std::size_t dot = fullName.rfind('.');
  const std::string_view interfaceName =
      dot == std::string_view::npos ? std::string_view() : fullName.substr(0, dot);
  const std::string_view methodName = dot == std::string_view::npos ? fullName : fullName.substr(dot + 1);
  Provider::AsyncApiInterface::PtrConstType api;
  if (!container_->Find(Core::InterfaceIdentifier::GetInstance(std::string(interfaceName)), api, messages)) {
    return false;
  }
  Provider::AsyncApiMethod::PtrConstType method;
  if (!api->method(methodName, method, messages)) return false;
  target.identifier = Core::MethodIdentifier::GetInstance(api->id(), std::string(methodName));
  target.api = std::move(api);
  target.method = std::move(method);
  return true;
}

void CallDispatcher::Dispatch(const Target& target, const Data::DataValue::PtrConstType& input,
                              const Core::AsyncActivation::PtrType& activation,
                              const AsyncApiResultCb::PtrType& resultCb) const {
  const Provider::AsyncApiMethod& method = *target.method;
  const QualifiedMethodName name(target.api->id()->name(), method.name());
  // The same check as ApiMethodHelper::ValidateInput, bounded: a list of a million wrong
  // elements must not cost a million messages.
  MessageList messages;
  if (!Data::DataValidator::Validate<Data::StrictMatch, Data::ValidatorModePermissive>(
          method.input(), input, messages, maxValidationFailures_)) {
    const bool wrongFields = !messages.empty() && StartsWith(messages.front().id(), kCompoundFieldPrefix);
    messages.push_front(Message<CoreTag>("olma.invoke.invalid.input", name.str()));
    (*resultCb)(MethodResult::GetErrorInstance(
        Data::ErrorValue::Create(std::string(wrongFields ? kUnexpectedInput : kInvalidArgument), messages)));
    return;
  }
  auto checked = std::make_shared<AsyncApiResultCb>(
      [target, resultCb](const MethodResult::PtrConstType& result, const Core::Progress& progress,
                         const AsyncApiResultCb::Continuation& next) {
        if (!result) return (*resultCb)(nullptr, progress, next);
        (*resultCb)(ApiMethodHelper::ValidateResult(
            QualifiedMethodName(target.api->id()->name(), target.method->name()), *target.method, result));
      });
  ApiMethodHelper::InvokeHandler(name, method, activation, input, checked);
}

}  // namespace JsonRpc
}  // namespace Olma
