#include "olma/provider/interface_container.h"

#include <stdexcept>
#include <string_view>

#include "olma/core/crc32.h"
#include "olma/data/introspection.h"

namespace Olma {
namespace Provider {

AsyncApiInterfaceContainer::~AsyncApiInterfaceContainer() = default;

InterfaceMap::value_type ProviderHelper::MakeInterfacePair(const AsyncApiInterface::PtrConstType& interface) {
  return InterfaceMap::value_type(interface->id(), interface);
}

void ProviderHelper::BuildMap(const InterfaceList& interfaces, InterfaceMap& map) {
  for (const AsyncApiInterface::PtrConstType& interface : interfaces) {
    if (interface) map.insert(MakeInterfacePair(interface));
  }
}

bool ProviderHelper::AddInterface(InterfaceMap& map, const AsyncApiInterface::PtrConstType& interface,
                                  MessageList& messages) {
  if (!interface) throw std::invalid_argument("AsyncApiInterfaceContainer::Add: empty interface");
  if (map.insert(MakeInterfacePair(interface)).second) return true;
  messages.push_back(Message<CoreTag>("olma.provider.interface.already.registered", interface->id()->name()));
  return false;
}

std::string ProviderHelper::Checksum(const InterfaceMap& map) {
  CRC32 crc;
  // One buffer for every definition's text: registration renders thousands of them.
  std::string text;
  const auto update = [&crc, &text](const Data::DataDefinition::PtrConstType& definition) {
    text.clear();
    Data::RawDefinitionAdapter::Append(definition, kChecksumSeparator, text);
    crc.Update(std::string_view(text));
  };
  for (const auto& [identifier, interface] : map) {
    crc.Update(std::string_view(identifier->name()));
    for (const auto& [name, method] : interface->methods()) {
      crc.Update(std::string_view(name));
      update(method->input());
      update(method->output());
      for (const auto& error : method->errors()) update(error);
    }
  }
  return crc.Hexdigest();
}

InterfaceIndex::InterfaceIndex(const InterfaceMap& map) {
  byName_.reserve(map.size());
  for (const auto& [identifier, interface] : map) {
    if (identifier) {
      byName_.emplace(identifier->name(), &interface);
    } else {
      unnamed_ = &interface;
    }
  }
}

const AsyncApiInterface::PtrConstType* InterfaceIndex::Find(
    const Core::InterfaceIdentifier* identifier) const noexcept {
  if (!identifier) return unnamed_;
  const auto found = byName_.find(identifier->name());
  return found == byName_.end() ? nullptr : found->second;
}

void ProviderHelper::ReportUnknown(const Core::InterfaceIdentifier::PtrConstType& interfaceIdentifier,
                                   MessageList& messages) {
  messages.push_back(Message<CoreTag>("olma.provider.interface.unknown",
                                      interfaceIdentifier ? interfaceIdentifier->name() : std::string()));
}

}  // namespace Provider
}  // namespace Olma
