#include "olma/provider/call_dispatcher.h"

#include <atomic>
#include <exception>
#include <iostream>
#include <stdexcept>
#include <string_view>
#include <utility>

#include "olma/data/compound_values.h"
#include "olma/invocation/method_result.h"
#include "olma/provider/api_method_helper.h"

namespace Olma {
namespace Provider {
namespace {

using Core::AsyncApiResultCb;
using Core::MethodResult;

constexpr std::string_view kOperationNotFound = "com.zorvex.olma.std.errors.operation_not_found";
constexpr std::string_view kInternalServerError = "com.zorvex.olma.std.errors.internal_server_error";
constexpr std::string_view kDroppedId = "olma.provider.result.dropped";
constexpr std::string_view kDroppedTemplate = "Dropped a final result for method: {1} -> {2}";

using LogPtr = std::shared_ptr<const CallDispatcher::LogFunction>;

MethodResult::PtrConstType ErrorResult(std::string_view name, const MessageList& messages) {
  return MethodResult::GetErrorInstance(Data::ErrorValue::Create(std::string(name), messages));
}

// One delivery in flight: the handler's answer is checked against `method` and handed to
// `deliver` at most once. The flag, not the handler's callback, decides which final result
// wins, because the handler may answer on one thread while its Invoke throws on another.
class Delivery {
 public:
  Delivery(AsyncApiInterface::PtrConstType api, AsyncApiMethod::PtrConstType method,
           AsyncApiResultCb::PtrType deliver, LogPtr log) noexcept
      : api_(std::move(api)),
        method_(std::move(method)),
        deliver_(std::move(deliver)),
        log_(std::move(log)) {}

  // The callback the handler answers through.
  static AsyncApiResultCb::PtrType HandlerCallback(const std::shared_ptr<Delivery>& delivery) {
    return std::make_shared<AsyncApiResultCb>([delivery](const MethodResult::PtrConstType& result,
                                                         const Core::Progress& progress,
                                                         const AsyncApiResultCb::Continuation& next) {
      delivery->Receive(result, progress, next);
    });
  }

  void Receive(const MethodResult::PtrConstType& result, const Core::Progress& progress,
               const AsyncApiResultCb::Continuation& next) {
    if (!result) {
      if (!done_.load(std::memory_order_acquire)) (*deliver_)(nullptr, progress, Continue(next));
      return;
    }
    Finish(result, next, true);
  }

  // Delivers `result` (checked first when `check`) unless a final result went out already;
  // then it is dropped and logged.
  void Finish(const MethodResult::PtrConstType& result, const AsyncApiResultCb::Continuation& next,
              bool check) {
    if (done_.exchange(true, std::memory_order_acq_rel)) {
      (*log_)(Log::Warning, MakeMessage(kDroppedId, kDroppedTemplate, Name().str(), result->ToString()));
      return;
    }
    (*deliver_)(check ? ApiMethodHelper::ValidateResult(Name(), *method_, result) : result, Core::Progress(),
                Continue(next));
  }

  QualifiedMethodName Name() const noexcept {
    return QualifiedMethodName(api_->id()->name(), method_->name());
  }

 private:
  // A continuation of the handler's stream, as the consumer sees it: the next item comes
  // through a fresh delivery with the same checks.
  AsyncApiResultCb::Continuation Continue(const AsyncApiResultCb::Continuation& next) const {
    if (!next) return next;
    return [api = api_, method = method_, log = log_, next](const AsyncApiResultCb::PtrType& consumer) {
      next(HandlerCallback(std::make_shared<Delivery>(api, method, consumer, log)));
    };
  }

  AsyncApiInterface::PtrConstType api_;
  AsyncApiMethod::PtrConstType method_;
  AsyncApiResultCb::PtrType deliver_;
  LogPtr log_;
  std::atomic<bool> done_{false};
};

void LogToStandardError(Log::SeverityLevel level, const BaseMessage& message) {
  std::clog << level << ": " << message.id() << ": " << message.defaultMessage() << std::endl;
}

}  // namespace

CallDispatcher::PtrConstType CallDispatcher::GetInstance(AsyncApiInterfaceContainer::PtrConstType container,
                                                         LogFunction log) {
  if (!container) throw std::invalid_argument("CallDispatcher::GetInstance: empty container");
  return std::make_shared<const CallDispatcher>(PrivateTag(), std::move(container), std::move(log));
}

CallDispatcher::CallDispatcher(PrivateTag, AsyncApiInterfaceContainer::PtrConstType container,
                               LogFunction log)
    : container_(std::move(container)),
      log_(std::make_shared<const LogFunction>(log ? std::move(log) : LogFunction(&LogToStandardError))) {}

CallDispatcher::~CallDispatcher() = default;

std::string CallDispatcher::ToString() const {
  return "CallDispatcher";
}

void CallDispatcher::Invoke(const Core::MethodIdentifier::PtrConstType& methodIdentifier,
                            const Data::DataValue::PtrConstType& input,
                            const Core::AsyncActivation::PtrType& activation,
                            const AsyncApiResultCb::PtrType& resultCallback) const {
  if (!methodIdentifier || !activation || !resultCallback) {
    throw std::invalid_argument("CallDispatcher::Invoke: empty method identifier, activation or callback");
  }
  MessageList messages;
  AsyncApiInterface::PtrConstType api;
  AsyncApiMethod::PtrConstType method;
  if (!container_->Find(methodIdentifier->interfaceIdentifier(), api, messages) ||
      !api->method(methodIdentifier->name(), method, messages)) {
    (*resultCallback)(ErrorResult(kOperationNotFound, messages));
    return;
  }
  MethodResult::PtrConstType rejected;
  if (!ApiMethodHelper::ValidateInput(QualifiedMethodName(api->id()->name(), method->name()), method->input(),
                                      input, rejected)) {
    (*resultCallback)(rejected);
    return;
  }
  const auto delivery = std::make_shared<Delivery>(api, method, resultCallback, log_);
  std::string reason;
  try {
    method->Invoke(activation, input, Delivery::HandlerCallback(delivery));
    return;
  } catch (const std::exception& exception) {
    reason = exception.what();
  } catch (...) {
    reason = "unknown exception";
  }
  messages.push_back(Message<CoreTag>("olma.invoke.unknown.error", delivery->Name().str(), reason));
  delivery->Finish(ErrorResult(kInternalServerError, messages), AsyncApiResultCb::Continuation(), false);
}

}  // namespace Provider
}  // namespace Olma
