#include "olma/jsonrpc/call_dispatcher.h"

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
    : maxValidationFailures_(maxValidationFailures), interfaces_(std::make_shared<const InterfaceMap>()) {}

bool CallDispatcher::AddInterface(Provider::AsyncApiInterface::PtrConstType api, MessageList& messages) {
  const std::string& name = api->id()->name();
  std::lock_guard<std::mutex> lock(mutex_);
  if (interfaces_->count(name) != 0) {
    messages.push_back(Message<CoreTag>("olma.provider.interface.already.registered", name));
    return false;
  }
  auto copy = std::make_shared<InterfaceMap>(*interfaces_);
  copy->emplace(name, std::move(api));
  interfaces_ = std::move(copy);
  return true;
}

std::shared_ptr<const CallDispatcher::InterfaceMap> CallDispatcher::interfaces() const {
  std::lock_guard<std::mutex> lock(mutex_);
  return interfaces_;
}

bool CallDispatcher::Find(std::string_view fullName, Target& target, MessageList& messages) const {
  const std::size_t dot = fullName.rfind('.');
  const std::string_view interfaceName =
      dot == std::string_view::npos ? std::string_view() : fullName.substr(0, dot);
  const std::string_view methodName = dot == std::string_view::npos ? fullName : fullName.substr(dot + 1);
  const std::shared_ptr<const InterfaceMap> snapshot = interfaces();
  const auto found = snapshot->find(interfaceName);
  if (found == snapshot->end()) {
    messages.push_back(Message<CoreTag>("olma.provider.interface.unknown", interfaceName));
    return false;
  }
  Provider::AsyncApiMethod::PtrConstType method;
  if (!found->second->method(methodName, method, messages)) return false;
  target.api = found->second;
  target.identifier = Core::MethodIdentifier::GetInstance(found->second->id(), std::string(methodName));
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
