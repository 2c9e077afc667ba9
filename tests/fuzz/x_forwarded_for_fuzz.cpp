// Hostile "x-forwarded-for" values, with and without trusted proxies. A peer that is found
// must be an address the parser itself accepts again.
#include <cstddef>
#include <cstdint>
#include <string_view>
#include <system_error>

#include "olma/transport/x_forwarded_for_parser.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using Api::Utils::XForwardedForParser;
  static const Api::Utils::TrustedProxies trusted = [] {
    Api::Utils::TrustedProxies proxies;
    std::error_code error;
    proxies.Add("10.0.0.0/8", error);
    proxies.Add("fd00::/8", error);
    return proxies;
  }();
  const std::string_view value(reinterpret_cast<const char*>(data), size);
  for (const bool withTrusted : {false, true}) {
    std::optional<XForwardedForParser::ForwardedPeerInfo> peer;
    const bool parsed = withTrusted ? XForwardedForParser::FindRightMostRemotePeer(value, peer, trusted)
                                    : XForwardedForParser::FindRightMostRemotePeer(value, peer);
    if (peer) {
      XForwardedForParser::Token token;
      if (!parsed || !XForwardedForParser::ParseEntry(peer->address, token) || token.address.is_loopback()) {
        __builtin_trap();
      }
    }
  }
  XForwardedForParser::Token token;
  XForwardedForParser::ParseEntry(value, token);
  std::error_code error;
  Api::Utils::TrustedProxies proxies;
  proxies.Add(value, error);
  return 0;
}
