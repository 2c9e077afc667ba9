// Hostile "forwarded" values: quoting, escapes, pairs and elements in any arrangement.
#include <cstddef>
#include <cstdint>
#include <string_view>
#include <system_error>

#include "olma/transport/x_forwarded_for_parser.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using Api::Utils::ForwardedHeaderParser;
  static const Api::Utils::TrustedProxies trusted = [] {
    Api::Utils::TrustedProxies proxies;
    std::error_code error;
    proxies.Add("192.0.2.0/24", error);
    return proxies;
  }();
  const std::string_view value(reinterpret_cast<const char*>(data), size);
  std::optional<ForwardedHeaderParser::ForwardedPeerInfo> peer;
  const bool parsed = ForwardedHeaderParser::FindRightMostRemotePeer(value, peer);
  if (peer && !parsed) __builtin_trap();
  peer.reset();
  ForwardedHeaderParser::FindRightMostRemotePeer(value, peer, trusted);
  return 0;
}
