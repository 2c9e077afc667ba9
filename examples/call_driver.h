// The driver a transport runs for each parsed request: find the method, check the input,
// run the handler, check its output or error, deliver the result.
//
//   DispatchCall(*api, "create_task", input, activation, deliver);
//
// Exactly one final result reaches `deliver`, whatever the caller sent and whatever the
// handler did: an unknown method becomes "com.zorvex.olma.std.errors.operation_not_found",
// a bad input never reaches the handler, and the handler's answer is checked against the
// method's declarations before the caller sees it (the terminal result of a stream passes as
// it is, and an exception thrown by the handler becomes an internal server error). Progress
// reports pass through unchanged.
#pragma once

#include <memory>
#include <string_view>

#include "olma/core/message.h"
#include "olma/data/compound_values.h"
#include "olma/invocation/async_activation.h"
#include "olma/invocation/method_result.h"
#include "olma/invocation/result_callback.h"
#include "olma/provider/api_method_helper.h"
#include "olma/provider/async_api_interface.h"
#include "olma/provider/async_api_method.h"

namespace example {

inline void DispatchCall(const Olma::Provider::AsyncApiInterface& api, std::string_view methodName,
                         const Olma::Data::DataValue::PtrConstType& input,
                         const Olma::Core::AsyncActivation::PtrType& activation,
                         const Olma::Core::AsyncApiResultCb::PtrType& deliver) {
  using Olma::Core::AsyncApiResultCb;
  using Olma::Core::MethodResult;
  using Olma::Provider::ApiMethodHelper;
  using Olma::Provider::QualifiedMethodName;

  // 1. Find the method.
  Olma::MessageList messages;
  Olma::Provider::AsyncApiMethod::PtrConstType method;
  if (!api.method(methodName, method, messages)) {
    (*deliver)(MethodResult::GetErrorInstance(
        Olma::Data::ErrorValue::Create("com.zorvex.olma.std.errors.operation_not_found", messages)));
    return;
  }
  // 2. Check the input; a bad one never reaches the handler.
  MethodResult::PtrConstType rejected;
  if (!ApiMethodHelper::ValidateInput(QualifiedMethodName(api.id()->name(), method->name()), method->input(),
                                      input, rejected)) {
    (*deliver)(rejected);
    return;
  }
  // 3. Run the handler. Its result is checked before the caller sees it (4.); the callback
  //    holds what it needs, since the handler may answer after DispatchCall returned.
  auto checked = std::make_shared<AsyncApiResultCb>(
      [method, interfaceId = api.id(), deliver](const MethodResult::PtrConstType& result,
                                                const Olma::Core::Progress& progress,
                                                const AsyncApiResultCb::Continuation& next) {
        if (!result) return (*deliver)(nullptr, progress, next);  // progress passes through
        (*deliver)(ApiMethodHelper::ValidateResult(QualifiedMethodName(interfaceId->name(), method->name()),
                                                   *method, result));
      });
  ApiMethodHelper::InvokeHandler(QualifiedMethodName(api.id()->name(), method->name()), *method, activation,
                                 input, checked);
}

}  // namespace example
