#include "olma/invocation/activation_helpers.h"

#include <cstdint>
#include <limits>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "olma/data/compound_values.h"
#include "olma/data/scalar_values.h"

namespace Olma {
namespace Core {
namespace {

constexpr std::string_view kApiReleaseKey = "api_release";
constexpr std::string_view kUsernameKey = "username";
constexpr std::string_view kPeerKey = "tcp_peer_binding_info";
constexpr std::string_view kPeerIpField = "tcp_peer_binding_info_ip";
constexpr std::string_view kPeerPortField = "tcp_peer_binding_info_port";

const ApplicationContextEntry* FindAppEntry(const AsyncActivation* activation, std::string_view key) {
  if (activation == nullptr) return nullptr;
  const ApplicationContext& entries = activation->executionContext()->applicationContext();
  const auto found = entries.find(std::string(key));
  return found == entries.end() ? nullptr : &found->second;
}

// The field `name` of `compound` when it is set and of `kind`, else null.
const Data::DataValue* FieldOfKind(const Data::CompoundValue& compound, std::string_view name,
                                   Data::DataType kind) {
  const auto found = compound.fields().find(name);
  if (found == compound.fields().end() || !found->second || found->second->type() != kind) return nullptr;
  return found->second.get();
}

}  // namespace

const std::string& ActivationHelpers::OpIdKey() {
  static const std::string key("opId");
  return key;
}

std::string ActivationHelpers::GetActivationOpId(const AsyncActivation* activation) {
  if (activation == nullptr) return std::string();
  const ApplicationContext& entries = activation->executionContext()->applicationContext();
  const auto found = entries.find(OpIdKey());
  return found == entries.end() ? std::string() : found->second.effective();
}

void ActivationHelpers::SetActivationOpId(AsyncActivation* activation, std::string opId) {
  if (activation == nullptr) return;
  ApplicationContextEntry& entry = activation->executionContext()->applicationContext()[OpIdKey()];
  if (entry.override) {
    *entry.override = std::move(opId);
  } else {
    entry.value = std::move(opId);
  }
}

std::optional<std::string_view> ActivationHelpers::GetApiRelease(const AsyncActivation* activation) {
  const ApplicationContextEntry* entry = FindAppEntry(activation, kApiReleaseKey);
  if (entry == nullptr) return std::nullopt;
  return std::string_view(entry->effective());
}

std::optional<std::string> ActivationHelpers::ExtractUsername(const AsyncActivation* activation) {
  if (activation == nullptr) return std::nullopt;
  const ApplicationData& data = activation->executionContext()->applicationData();
  const auto attached = data.find(std::string(kUsernameKey));
  if (attached != data.end() && attached->second && attached->second->type() == Data::DataType::STRING) {
    const std::string& name = static_cast<const Data::StringValue&>(*attached->second).value();
    if (!name.empty()) return name;
  }
  const ApplicationContextEntry* entry = FindAppEntry(activation, kUsernameKey);
  if (entry == nullptr || entry->effective().empty()) return std::nullopt;
  return entry->effective();
}

void ActivationHelpers::SetPeerTcpBindingInfo(ExecutionContext& context, const PeerBindingInfo& peer) {
  Data::StructValue::PtrType info = Data::StructValue::GetInstance(std::string(kPeerKey));
  info->SetField(kPeerIpField, Data::StringValue::GetInstance(peer.first));
  info->SetField(kPeerPortField, Data::IntegerValue::GetInstance(static_cast<long long>(peer.second)));
  context.applicationData()[std::string(kPeerKey)] = std::move(info);
}

std::optional<PeerBindingInfo> ActivationHelpers::GetPeerTcpBindingInfo(const ExecutionContext& context) {
  const ApplicationData& data = context.applicationData();
  const auto found = data.find(std::string(kPeerKey));
  if (found == data.end() || !found->second || found->second->type() != Data::DataType::STRUCTURE) {
    return std::nullopt;
  }
  const auto& info = static_cast<const Data::CompoundValue&>(*found->second);
  const Data::DataValue* ip = FieldOfKind(info, kPeerIpField, Data::DataType::STRING);
  const Data::DataValue* port = FieldOfKind(info, kPeerPortField, Data::DataType::INTEGER);
  if (ip == nullptr || port == nullptr) return std::nullopt;
  const long long portNumber = static_cast<const Data::IntegerValue*>(port)->value();
  if (portNumber < 0 || portNumber > static_cast<long long>(std::numeric_limits<std::uint32_t>::max())) {
    return std::nullopt;
  }
  return PeerBindingInfo(static_cast<const Data::StringValue*>(ip)->value(),
                         static_cast<std::uint32_t>(portNumber));
}

std::optional<PeerBindingInfo> ActivationHelpers::GetPeerTcpBindingInfo(const AsyncActivation* activation) {
  if (activation == nullptr) return std::nullopt;
  return GetPeerTcpBindingInfo(*activation->executionContext());
}

}  // namespace Core

bool RequestIdHelper::Get(const std::map<std::string, std::string>& map, std::string& requestId) {
  const auto found = map.find(std::string(REQUEST_ID_STRING));
  if (found == map.end()) return false;
  requestId = found->second;
  return true;
}

bool RequestIdHelper::Get(const std::map<std::string, Data::DataValue::PtrConstType>& map,
                          std::string& requestId) {
  const auto found = map.find(std::string(REQUEST_ID_STRING));
  if (found == map.end() || !found->second || found->second->type() != Data::DataType::STRING) return false;
  requestId = static_cast<const Data::StringValue&>(*found->second).value();
  return true;
}

void RequestIdHelper::Set(std::map<std::string, std::string>& map, std::string requestId) {
  map[std::string(REQUEST_ID_STRING)] = std::move(requestId);
}

void RequestIdHelper::Set(std::map<std::string, Data::DataValue::PtrConstType>& map, std::string requestId) {
  map[std::string(REQUEST_ID_STRING)] = Data::StringValue::GetInstance(std::move(requestId));
}

}  // namespace Olma
