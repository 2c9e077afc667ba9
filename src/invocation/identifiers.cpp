#include "olma/invocation/identifiers.h"

#include <string>
#include <utility>

namespace Olma {
namespace Core {

InterfaceIdentifier::PtrConstType InterfaceIdentifier::GetInstance(std::string name) {
  return std::make_shared<InterfaceIdentifier>(PrivateTag(), std::move(name));
}

MethodIdentifier::PtrConstType MethodIdentifier::GetInstance(std::string_view fullName) {
  const std::size_t dot = fullName.rfind('.');
  if (dot == std::string_view::npos) {
    return std::make_shared<MethodIdentifier>(PrivateTag(), InterfaceIdentifier::GetInstance(std::string()),
                                              std::string(fullName));
  }
  return std::make_shared<MethodIdentifier>(
      PrivateTag(), InterfaceIdentifier::GetInstance(std::string(fullName.substr(0, dot))),
      std::string(fullName.substr(dot + 1)));
}

MethodIdentifier::PtrConstType MethodIdentifier::GetInstance(
    InterfaceIdentifier::PtrConstType interfaceIdentifier, std::string name) {
  if (!interfaceIdentifier) interfaceIdentifier = InterfaceIdentifier::GetInstance(std::string());
  return std::make_shared<MethodIdentifier>(PrivateTag(), std::move(interfaceIdentifier), std::move(name));
}

std::string MethodIdentifier::ToString() const {
  const std::string& interfaceName = interface_->name();
  std::string text;
  text.reserve(interfaceName.size() + 1 + name_.size());
  text.append(interfaceName).append(1, '.').append(name_);
  return text;
}

}  // namespace Core
}  // namespace Olma
