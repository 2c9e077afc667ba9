#include "olma/provider/async_api_interface.h"

#include <stdexcept>
#include <utility>

namespace Olma {
namespace Provider {

AsyncApiInterface::~AsyncApiInterface() = default;

std::shared_ptr<const LockFreeAsyncApiInterface> AsyncApiInterface::GetInstance(
    Core::InterfaceIdentifier::PtrConstType interfaceIdentifier, const MethodList& methods) {
  if (!interfaceIdentifier) {
    throw std::invalid_argument("AsyncApiInterface::GetInstance: empty interface identifier");
  }
  return std::make_shared<const LockFreeAsyncApiInterface>(LockFreeAsyncApiInterface::PrivateTag(),
                                                           std::move(interfaceIdentifier), methods);
}

LockFreeAsyncApiInterface::LockFreeAsyncApiInterface(
    PrivateTag, Core::InterfaceIdentifier::PtrConstType interfaceIdentifier, const MethodList& methods)
    : id_(std::move(interfaceIdentifier)) {
  Core::MethodIdentifierSet identifiers;
  for (const AsyncApiMethod::PtrConstType& method : methods) {
    if (!method) continue;
    const std::string& name = method->name();
    // The map decides which of two same-named methods stays (the first), so the set
    // only ever sees names the map accepted.
    if (!methods_.emplace(name, method).second) continue;
    identifiers.insert(Core::MethodIdentifier::GetInstance(id_, name));
  }
  definition_ = Core::InterfaceDefinition::GetInstance(id_, std::move(identifiers));
}

LockFreeAsyncApiInterface::~LockFreeAsyncApiInterface() = default;

bool LockFreeAsyncApiInterface::method(std::string_view name, AsyncApiMethod::PtrConstType& method,
                                       MessageList& messages) const {
  const auto found = methods_.find(name);
  if (found != methods_.end()) {
    method = found->second;
    return true;
  }
  messages.push_back(Message<CoreTag>("olma.async.api.interface.missing.method", id_->name(), name));
  return false;
}

}  // namespace Provider
}  // namespace Olma
