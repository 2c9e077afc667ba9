// Delivery: one handler's answer on its way to the caller, and the rule that exactly one final
// result gets through.
//
// A handler may answer on any thread, and it may throw while another thread, to which it
// handed its callback, is delivering its answer. Which final result wins is therefore decided
// by an atomic flag of the delivery, never by asking a callback that another thread may be
// calling at that moment. The first final result goes out; each later one is dropped and, when
// the delivery has a log function, handed to it as "olma.provider.result.dropped".
//
// The dispatcher's deliveries check each final result against the method
// (ApiMethodHelper::ValidateResult) and log what they drop; the plain delivery of
// ApiMethodHelper::InvokeHandler passes results on as they are and drops silently.
#pragma once

#include <atomic>
#include <exception>
#include <memory>
#include <string_view>
#include <utility>

#include "olma/core/message.h"
#include "olma/data/value.h"
#include "olma/invocation/async_activation.h"
#include "olma/invocation/method_result.h"
#include "olma/invocation/result_callback.h"
#include "olma/provider/api_method_helper.h"
#include "olma/provider/async_api_interface.h"
#include "olma/provider/async_api_method.h"
#include "olma/provider/call_dispatcher.h"

namespace Olma {
namespace Provider {
namespace Detail {

using DropLogPtr = std::shared_ptr<const CallDispatcher::LogFunction>;

class Delivery {
 public:
  // Passes the handler's answers to `deliver` unchecked; later final results are dropped
  // silently.
  explicit Delivery(Core::AsyncApiResultCb::PtrType deliver) noexcept : deliver_(std::move(deliver)) {}

  // Checks each final result against `method` of `api` and logs the dropped ones.
  Delivery(Core::AsyncApiResultCb::PtrType deliver, AsyncApiInterface::PtrConstType api,
           AsyncApiMethod::PtrConstType method, DropLogPtr log) noexcept
      : deliver_(std::move(deliver)),
        api_(std::move(api)),
        method_(std::move(method)),
        log_(std::move(log)) {}

  // The callback the handler answers through.
  static Core::AsyncApiResultCb::PtrType HandlerCallback(const std::shared_ptr<Delivery>& delivery) {
    return std::make_shared<Core::AsyncApiResultCb>(
        [delivery](const Core::MethodResult::PtrConstType& result, const Core::Progress& progress,
                   const Core::AsyncApiResultCb::Continuation& next) {
          delivery->Receive(result, progress, next);
        });
  }

  // Delivers `result` unless a final result went out already (then it is dropped), checked
  // first when `check` and the delivery checks.
  void Finish(const Core::MethodResult::PtrConstType& result,
              const Core::AsyncApiResultCb::Continuation& next, bool check);

 private:
  void Receive(const Core::MethodResult::PtrConstType& result, const Core::Progress& progress,
               const Core::AsyncApiResultCb::Continuation& next);
  // The handler's continuation as the consumer sees it: the next item comes through a fresh
  // delivery of the same kind.
  Core::AsyncApiResultCb::Continuation Continue(const Core::AsyncApiResultCb::Continuation& next) const;

  Core::AsyncApiResultCb::PtrType deliver_;
  // Empty for a plain delivery.
  AsyncApiInterface::PtrConstType api_;
  AsyncApiMethod::PtrConstType method_;
  DropLogPtr log_;
  std::atomic<bool> done_{false};
};

// Delivers the error result for a handler that threw (see RunHandler).
void FinishWithException(QualifiedMethodName name, std::string_view reason, Delivery& delivery);

// Runs `method` with the handler callback of `delivery`. Whatever the handler throws becomes
// "com.zorvex.olma.std.errors.internal_server_error" with "olma.invoke.unknown.error" (`name`,
// the exception's what() or "unknown exception"), delivered unless a final result went out
// first: nothing the handler throws escapes. Inline, being on the path of every call.
inline void RunHandler(QualifiedMethodName name, const AsyncApiMethod& method,
                       const Core::AsyncActivation::PtrType& activation,
                       const Data::DataValue::PtrConstType& input,
                       const std::shared_ptr<Delivery>& delivery) {
  try {
    method.Invoke(activation, input, Delivery::HandlerCallback(delivery));
  } catch (const std::exception& exception) {
    FinishWithException(name, exception.what(), *delivery);
  } catch (...) {
    FinishWithException(name, "unknown exception", *delivery);
  }
}

}  // namespace Detail
}  // namespace Provider
}  // namespace Olma
