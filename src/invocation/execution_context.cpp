#include "olma/invocation/execution_context.h"

#include <memory>

namespace Olma {
namespace Core {

ExecutionContext::PtrType ExecutionContext::GetInstance() {
  return std::make_shared<ExecutionContext>(PrivateTag());
}

ExecutionContext::PtrType ExecutionContext::GetInstance(const ExecutionContext& other) {
  return std::make_shared<ExecutionContext>(other);
}

ExecutionContext::~ExecutionContext() = default;

}  // namespace Core
}  // namespace Olma
