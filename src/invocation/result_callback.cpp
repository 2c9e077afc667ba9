#include "olma/invocation/result_callback.h"

#include <utility>

namespace Olma {
namespace Core {

void AsyncApiResultCb::operator()(const MethodResult::PtrConstType& result, const Progress& progress,
                                  const Continuation& next) {
  if (!result) {
    function_(result, progress, next);
    return;
  }
  // Taken out before the call, so that what it captured is freed when it returns (or
  // throws) and a second final result finds the callback empty.
  FunctionType function = std::move(function_);
  function_ = nullptr;
  function(result, progress, next);
}

}  // namespace Core
}  // namespace Olma
