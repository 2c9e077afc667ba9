// Typed access to the well-known entries of an execution context.
//
// Handlers and transports should not spell context keys themselves; these helpers know
// where each entry lives (application context or application data), read the effective
// value of wrapped entries and check the kinds of data values:
//
//   using Olma::Core::ActivationHelpers;
//   ActivationHelpers::SetActivationOpId(activation, "op-17");
//   std::string opId = ActivationHelpers::GetActivationOpId(activation);   // "op-17"
//   ActivationHelpers::SetPeerTcpBindingInfo(*activation->executionContext(), {"192.0.2.7", 443});
//   auto peer = ActivationHelpers::GetPeerTcpBindingInfo(activation);      // ("192.0.2.7", 443)
//
// Absent entries are never errors: getters answer with an empty string or an empty
// optional, and an empty activation pointer reads as an empty context (setters then do
// nothing). Nothing here throws except std::bad_alloc.
//
// Thread safety: the getters only read the context, so any number of threads may call
// them on one context that nobody changes; the setters change it and need the usual
// exclusive access.
#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "olma/core/export.h"
#include "olma/data/value.h"
#include "olma/invocation/async_activation.h"
#include "olma/invocation/execution_context.h"

namespace Olma {
namespace Core {

// The TCP endpoint of the peer: address text and port.
using PeerBindingInfo = std::pair<std::string, std::uint32_t>;

struct OLMA_API ActivationHelpers {
  // "opId", the application-context key of the operation id. Built once, on first use,
  // under the runtime's thread-safe initialisation of local statics.
  static const std::string& OpIdKey();

  // The effective "opId" of the activation's context; the empty string when absent.
  static std::string GetActivationOpId(const AsyncActivation* activation);
  static std::string GetActivationOpId(const AsyncActivation::PtrType& activation) {
    return GetActivationOpId(activation.get());
  }
  static std::string GetActivationOpId(const AsyncActivation::PtrConstType& activation) {
    return GetActivationOpId(activation.get());
  }

  // Makes `opId` the effective "opId": a new entry gets it as its value; an existing one
  // gets it in the slot that currently wins (the override when set, else the value), so
  // an entry that came from the request stays marked as such.
  static void SetActivationOpId(AsyncActivation* activation, std::string opId);
  static void SetActivationOpId(const AsyncActivation::PtrType& activation, std::string opId) {
    SetActivationOpId(activation.get(), std::move(opId));
  }

  // The effective "api_release", empty when absent. The view points into the context and
  // stays valid while that entry is unchanged.
  static std::optional<std::string_view> GetApiRelease(const AsyncActivation* activation);
  static std::optional<std::string_view> GetApiRelease(const AsyncActivation::PtrType& activation) {
    return GetApiRelease(activation.get());
  }
  static std::optional<std::string_view> GetApiRelease(const AsyncActivation::PtrConstType& activation) {
    return GetApiRelease(activation.get());
  }

  // The caller's user name: the application-data entry "username" when it is a string
  // value (attached by the transport, which has authenticated the caller), else the
  // effective application-context entry "username". An empty name counts as none.
  static std::optional<std::string> ExtractUsername(const AsyncActivation* activation);
  static std::optional<std::string> ExtractUsername(const AsyncActivation::PtrType& activation) {
    return ExtractUsername(activation.get());
  }
  static std::optional<std::string> ExtractUsername(const AsyncActivation::PtrConstType& activation) {
    return ExtractUsername(activation.get());
  }

  // Stores the structure "tcp_peer_binding_info" with the string field
  // "tcp_peer_binding_info_ip" and the integer field "tcp_peer_binding_info_port" in the
  // application data under "tcp_peer_binding_info", replacing an earlier one.
  static void SetPeerTcpBindingInfo(ExecutionContext& context, const PeerBindingInfo& peer);

  // The inverse of SetPeerTcpBindingInfo. Empty when the entry is absent, is not a
  // structure, lacks either field, holds a field of another kind, or holds a port
  // outside 0..4294967295.
  static std::optional<PeerBindingInfo> GetPeerTcpBindingInfo(const ExecutionContext& context);
  static std::optional<PeerBindingInfo> GetPeerTcpBindingInfo(const AsyncActivation* activation);
  static std::optional<PeerBindingInfo> GetPeerTcpBindingInfo(const AsyncActivation::PtrType& activation) {
    return GetPeerTcpBindingInfo(activation.get());
  }
  static std::optional<PeerBindingInfo> GetPeerTcpBindingInfo(
      const AsyncActivation::PtrConstType& activation) {
    return GetPeerTcpBindingInfo(activation.get());
  }
};

}  // namespace Core

// The request id of a call in the string maps a transport keeps, either plain strings or
// data values. Keys are compared exactly; a data value counts only when it is a string.
struct OLMA_API RequestIdHelper {
  static constexpr std::string_view REQUEST_ID_STRING = "request_id";

  // True and `requestId` set when the map holds a request id; false and `requestId`
  // unchanged otherwise.
  [[nodiscard]] static bool Get(const std::map<std::string, std::string>& map, std::string& requestId);
  [[nodiscard]] static bool Get(const std::map<std::string, Data::DataValue::PtrConstType>& map,
                                std::string& requestId);

  // Stores `requestId` under REQUEST_ID_STRING, replacing an earlier one (as a string
  // value in a map of data values).
  static void Set(std::map<std::string, std::string>& map, std::string requestId);
  static void Set(std::map<std::string, Data::DataValue::PtrConstType>& map, std::string requestId);
};

}  // namespace Olma
