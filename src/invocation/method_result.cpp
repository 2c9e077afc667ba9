#include "olma/invocation/method_result.h"

#include <stdexcept>
#include <string>
#include <utility>

#include "olma/core/format.h"

namespace Olma {
namespace Core {

MethodResult::PtrConstType MethodResult::GetInstance(Data::DataValue::PtrConstType output) {
  return std::make_shared<MethodResult>(PrivateTag(), std::move(output), nullptr);
}

MethodResult::PtrConstType MethodResult::GetErrorInstance(ErrorPtrConstType error) {
  if (!error) throw std::invalid_argument("MethodResult::GetErrorInstance: empty error");
  return std::make_shared<MethodResult>(PrivateTag(), nullptr, std::move(error));
}

MethodResult::PtrConstType MethodResult::GetStreamTerminalInstance() {
  return std::make_shared<MethodResult>(PrivateTag(), nullptr, nullptr);
}

MethodResult::PtrConstType MethodResult::GetInstance(Data::DataValue::PtrConstType output,
                                                     ErrorPtrConstType error) {
  return std::make_shared<MethodResult>(PrivateTag(), std::move(output), std::move(error));
}

MethodResult::~MethodResult() = default;

std::string MethodResult::ToString() const {
  if (error_) return Format("MR [FAIL] Error: {1}", error_->ToString());
  if (output_) return Format("MR [SUCCESS] Output: {1}", output_->ToString());
  return Format("MR [SUCCESS] Stream Terminal Result");
}

}  // namespace Core
}  // namespace Olma
