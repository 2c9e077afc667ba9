#include "olma/invocation/async_activation.h"

#include <memory>
#include <utility>

namespace Olma {
namespace Core {
namespace {

// Copies entries the target does not hold yet, walking the source in key order. With
// `collapse` each entry arrives as its effective value in the plain slot. The end hint
// makes filling an empty target linear, as the keys arrive in order.
template <typename Map>
void InsertMissing(const Map& source, Map& target, bool collapse) {
  if (&source == &target) return;
  for (const auto& [key, entry] : source) {
    if (collapse) {
      target.try_emplace(target.end(), key, entry.effective());
    } else {
      target.try_emplace(target.end(), key, entry);
    }
  }
}

}  // namespace

AsyncActivation::PtrType AsyncActivation::GetInstance(ExecutionContext::PtrType executionContext) {
  if (!executionContext) executionContext = ExecutionContext::GetInstance();
  return std::make_shared<AsyncActivation>(PrivateTag(), std::move(executionContext));
}

AsyncActivation::PtrType AsyncActivation::CreateFrom(const AsyncActivation& parent) {
  ExecutionContext::PtrType context = ExecutionContext::GetInstance();
  InsertMissing(parent.executionContext_->applicationContext(), context->applicationContext(), true);
  return GetInstance(std::move(context));
}

AsyncActivation::PtrType AsyncActivation::CreateFromPreserveSigned(const AsyncActivation& parent) {
  ExecutionContext::PtrType context = ExecutionContext::GetInstance();
  context->applicationContext() = parent.executionContext_->applicationContext();
  return GetInstance(std::move(context));
}

void AsyncActivation::UseSecCtx(const AsyncActivation& source) {
  InsertMissing(source.executionContext_->securityContext(), executionContext_->securityContext(), true);
}

void AsyncActivation::UseSecCtxPreserveSigned(const AsyncActivation& source) {
  InsertMissing(source.executionContext_->securityContext(), executionContext_->securityContext(), false);
}

AsyncActivation::PtrType AsyncActivation::Dup() const {
  return std::make_shared<AsyncActivation>(PrivateTag(), *this);
}

AsyncActivation::~AsyncActivation() = default;

}  // namespace Core
}  // namespace Olma
