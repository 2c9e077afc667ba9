#include "provider/delivery.h"

#include <string>
#include <string_view>

#include "olma/data/compound_values.h"

namespace Olma {
namespace Provider {
namespace Detail {
namespace {

constexpr std::string_view kInternalServerError = "com.zorvex.olma.std.errors.internal_server_error";
constexpr std::string_view kDroppedId = "olma.provider.result.dropped";
constexpr std::string_view kDroppedTemplate = "Dropped a final result for method: {1} -> {2}";

}  // namespace

void Delivery::Receive(const Core::MethodResult::PtrConstType& result, const Core::Progress& progress,
                       const Core::AsyncApiResultCb::Continuation& next) {
  if (!result) {
    if (!done_.load(std::memory_order_acquire)) (*deliver_)(nullptr, progress, Continue(next));
    return;
  }
  Finish(result, next, true);
}

void Delivery::Finish(const Core::MethodResult::PtrConstType& result,
                      const Core::AsyncApiResultCb::Continuation& next, bool check) {
  if (done_.exchange(true, std::memory_order_acq_rel)) {
    if (log_) {
      const QualifiedMethodName name(api_->id()->name(), method_->name());
      (*log_)(Log::Warning, MakeMessage(kDroppedId, kDroppedTemplate, name.str(), result->ToString()));
    }
    return;
  }
  if (check && method_) {
    (*deliver_)(ApiMethodHelper::ValidateResult(QualifiedMethodName(api_->id()->name(), method_->name()),
                                                *method_, result),
                Core::Progress(), Continue(next));
    return;
  }
  (*deliver_)(result, Core::Progress(), Continue(next));
}

Core::AsyncApiResultCb::Continuation Delivery::Continue(
    const Core::AsyncApiResultCb::Continuation& next) const {
  if (!next) return next;
  return [api = api_, method = method_, log = log_, next](const Core::AsyncApiResultCb::PtrType& consumer) {
    next(HandlerCallback(method ? std::make_shared<Delivery>(consumer, api, method, log)
                                : std::make_shared<Delivery>(consumer)));
  };
}

void FinishWithException(QualifiedMethodName name, std::string_view reason, Delivery& delivery) {
  MessageList messages;
  messages.push_back(Message<CoreTag>("olma.invoke.unknown.error", name.str(), reason));
  delivery.Finish(Core::MethodResult::GetErrorInstance(
                      Data::ErrorValue::Create(std::string(kInternalServerError), messages)),
                  Core::AsyncApiResultCb::Continuation(), false);
}

}  // namespace Detail
}  // namespace Provider
}  // namespace Olma
