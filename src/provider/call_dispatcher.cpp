#include "olma/provider/call_dispatcher.h"

#include <iostream>
#include <stdexcept>
#include <utility>

#include "olma/data/compound_values.h"
#include "olma/invocation/method_result.h"
#include "olma/provider/api_method_helper.h"
#include "provider/delivery.h"

namespace Olma {
namespace Provider {
namespace {

using Core::AsyncApiResultCb;
using Core::MethodResult;

constexpr std::string_view kOperationNotFound = "com.zorvex.olma.std.errors.operation_not_found";

void LogToStandardError(Log::SeverityLevel level, const BaseMessage& message) {
  std::clog << level << ": " << message.id() << ": " << message.defaultMessage() << std::endl;
}

void RequireCall(const Core::AsyncActivation::PtrType& activation,
                 const AsyncApiResultCb::PtrType& resultCallback) {
  if (!activation || !resultCallback) {
    throw std::invalid_argument("CallDispatcher::Invoke: empty activation or callback");
  }
}

// The interface, then the method: the lookup of Resolve and of Invoke. Inlined into both, being
// on the path of every call.
[[gnu::always_inline]] inline bool Find(const AsyncApiInterfaceContainer& container,
                                        const Core::MethodIdentifier& methodIdentifier,
                                        AsyncApiInterface::PtrConstType& api,
                                        AsyncApiMethod::PtrConstType& method, MessageList& messages) {
  return container.Find(methodIdentifier.interfaceIdentifier(), api, messages) &&
         api->method(methodIdentifier.name(), method, messages);
}

// Everything after the lookup: the road Invoke and Invoke of a target share.
[[gnu::always_inline]] inline void InvokeFound(const AsyncApiInterface::PtrConstType& api,
                                               const AsyncApiMethod::PtrConstType& method,
                                               const Data::DataValue::PtrConstType& input,
                                               const Core::AsyncActivation::PtrType& activation,
                                               const AsyncApiResultCb::PtrType& resultCallback,
                                               const Detail::DropLogPtr& log,
                                               const CallDispatcherOptions& options) {
  const QualifiedMethodName name(api->id()->name(), method->name());
  MethodResult::PtrConstType rejected;
  if (!ApiMethodHelper::ValidateInput(name, method->input(), input, rejected, options.maxInputFailures)) {
    (*resultCallback)(rejected);
    return;
  }
  Detail::RunHandler(name, *method, activation, input,
                     std::make_shared<Detail::Delivery>(resultCallback, api, method, log));
}

}  // namespace

CallDispatcher::PtrConstType CallDispatcher::GetInstance(AsyncApiInterfaceContainer::PtrConstType container,
                                                         LogFunction log, CallDispatcherOptions options) {
  if (!container) throw std::invalid_argument("CallDispatcher::GetInstance: empty container");
  return std::make_shared<const CallDispatcher>(PrivateTag(), std::move(container), std::move(log), options);
}

CallDispatcher::CallDispatcher(PrivateTag, AsyncApiInterfaceContainer::PtrConstType container,
                               LogFunction log, CallDispatcherOptions options)
    : container_(std::move(container)),
      log_(std::make_shared<const LogFunction>(log ? std::move(log) : LogFunction(&LogToStandardError))),
      options_(options) {}

CallDispatcher::~CallDispatcher() = default;

std::string CallDispatcher::ToString() const {
  return "CallDispatcher";
}

bool CallDispatcher::Resolve(const Core::MethodIdentifier::PtrConstType& methodIdentifier, Target& target,
                             MessageList& messages) const {
  if (!methodIdentifier) throw std::invalid_argument("CallDispatcher::Resolve: empty method identifier");
  AsyncApiInterface::PtrConstType api;
  AsyncApiMethod::PtrConstType method;
  if (!Find(*container_, *methodIdentifier, api, method, messages)) return false;
  target = Target{std::move(api), std::move(method), methodIdentifier};
  return true;
}

bool CallDispatcher::Resolve(std::string_view fullName, Target& target, MessageList& messages) const {
  return Resolve(Core::MethodIdentifier::GetInstance(fullName), target, messages);
}

void CallDispatcher::Invoke(const Core::MethodIdentifier::PtrConstType& methodIdentifier,
                            const Data::DataValue::PtrConstType& input,
                            const Core::AsyncActivation::PtrType& activation,
                            const AsyncApiResultCb::PtrType& resultCallback) const {
  if (!methodIdentifier) throw std::invalid_argument("CallDispatcher::Invoke: empty method identifier");
  RequireCall(activation, resultCallback);
  // The lookup of Resolve, without building a target the call does not keep.
  MessageList messages;
  AsyncApiInterface::PtrConstType api;
  AsyncApiMethod::PtrConstType method;
  if (!Find(*container_, *methodIdentifier, api, method, messages)) {
    (*resultCallback)(
        MethodResult::GetErrorInstance(Data::ErrorValue::Create(std::string(kOperationNotFound), messages)));
    return;
  }
  InvokeFound(api, method, input, activation, resultCallback, log_, options_);
}

void CallDispatcher::Invoke(const Target& target, const Data::DataValue::PtrConstType& input,
                            const Core::AsyncActivation::PtrType& activation,
                            const AsyncApiResultCb::PtrType& resultCallback) const {
  if (!target.api || !target.method) throw std::invalid_argument("CallDispatcher::Invoke: unresolved target");
  RequireCall(activation, resultCallback);
  InvokeFound(target.api, target.method, input, activation, resultCallback, log_, options_);
}

}  // namespace Provider
}  // namespace Olma
