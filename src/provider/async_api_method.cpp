#include "olma/provider/async_api_method.h"

namespace Olma {
namespace Provider {

void AsyncApiMethod::Cancel(const Core::AsyncActivation::PtrType& /*activation*/) const {}

AsyncApiMethod::~AsyncApiMethod() = default;

}  // namespace Provider
}  // namespace Olma
