// The client's address from the proxy headers of a request.
//
// Every proxy on the way appends the address it received the request from, so the entries
// of "x-forwarded-for" (and the elements of the standard "forwarded" header) read right to
// left go from the nearest hop towards the client, and only the entries added by proxies you
// run can be believed: anything further left was sent by the client and may be forged.
//
// Which to use when:
//  - XForwardedForParser::FindRightMostRemotePeer(value, peer): the right-most entry that is
//    not a loopback address. Right when the only proxies you run sit on the same host as the
//    server (a local TLS terminator or sidecar) and the next hop is the client.
//  - The overloads taking TrustedProxies: also skip entries inside the given networks. Use
//    them behind a load balancer or proxy tier on other hosts (e.g. 10.0.0.0/8): list exactly
//    the networks of your proxies, and the result is the first address they did not add.
//    Listing a network your proxies do not own lets clients choose their own address.
//  - ForwardedHeaderParser: the same rules over the "forwarded" header, for proxies that
//    write it instead of (or besides) "x-forwarded-for". Read the header your proxies set and
//    overwrite, never both.
//
//   std::optional<Api::Utils::XForwardedForParser::ForwardedPeerInfo> peer;
//   if (Api::Utils::XForwardedForParser::FindRightMostRemotePeer("203.0.113.9, 127.0.0.1", peer) && peer) {
//     peer->address;   // "203.0.113.9"
//   }
//
// Entries are IPv4 dotted quads or IPv6 addresses in the forms inet_pton accepts (zone ids
// such as "%eth0" are refused: they mean nothing to another host), IPv6 optionally in
// brackets, either with an optional ":port". Addresses come out in their canonical text as
// inet_ntop writes it ("2001:db8::1"). A port is a decimal number from 1 to 4294967295
// without sign or leading zero; it is not checked against 65535.
//
// All functions are pure and thread-safe; a TrustedProxies list may be shared by threads once
// it is filled.
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <system_error>
#include <vector>

#include <boost/asio/ip/address.hpp>

#include "olma/core/export.h"

namespace Api {
namespace Utils {
namespace Detail {

// `text` without the given characters at either end.
OLMA_API std::string_view Trim(std::string_view text, std::string_view characters) noexcept;

// Calls `function` with each `separator`-delimited piece of `text`, trimmed of blanks and
// tabs, from the right-most to the left-most, until `function` returns false. An empty text
// is one empty piece.
template <typename Function>
void TokenizeReversed(std::string_view text, char separator, Function&& function) {
  std::size_t end = text.size();
  while (true) {
    const std::size_t cut = end == 0 ? std::string_view::npos : text.rfind(separator, end - 1);
    const std::size_t begin = cut == std::string_view::npos ? 0 : cut + 1;
    if (!function(Trim(text.substr(begin, end - begin), " \t"))) return;
    if (cut == std::string_view::npos) return;
    end = cut;
  }
}

}  // namespace Detail

// Networks whose addresses are proxies of your own, skipped when looking for the client.
class OLMA_API TrustedProxies {
 public:
  // Adds "address/prefix" (IPv4 "10.0.0.0/8" or IPv6 "fd00::/8") or a single address. Bits
  // beyond the prefix are ignored. Returns false and sets `error` to invalid_argument when
  // the text is no such network. An IPv4 network also covers the IPv4-mapped IPv6 addresses
  // ("::ffff:10.1.2.3").
  bool Add(std::string_view network, std::error_code& error);
  bool Contains(const boost::asio::ip::address& address) const noexcept;
  bool empty() const noexcept { return networks_.empty(); }

 private:
  struct Network {
    std::array<std::uint8_t, 16> bytes;
    unsigned prefix;
    bool v4;
  };
  std::vector<Network> networks_;
};

class OLMA_API XForwardedForParser {
 public:
  struct Token {
    boost::asio::ip::address address;
    std::optional<std::uint32_t> port;
  };

  struct ForwardedPeerInfo {
    std::string address;
    std::optional<std::uint32_t> port;
  };

  // Walks the comma-separated entries of `value` from the right and sets `peer` to the first
  // that is not a loopback address (127.0.0.0/8, ::1). Returns false when the walk stopped at
  // an entry that does not parse; `peer` is then left as it was. When every entry is loopback
  // the result is true and `peer` is left as it was. An empty value does not parse.
  static bool FindRightMostRemotePeer(std::string_view value, std::optional<ForwardedPeerInfo>& peer);
  // As above, also skipping entries inside `trusted`.
  static bool FindRightMostRemotePeer(std::string_view value, std::optional<ForwardedPeerInfo>& peer,
                                      const TrustedProxies& trusted);

  // One entry in the forms "[v6]:port", "[v6]", "v4:port", "v4", "v6", tried in that order.
  static bool ParseEntry(std::string_view text, Token& token);
  static bool ProcessIpv4(std::string_view text, Token& token);
  static bool ProcessIpv6(std::string_view text, Token& token);
  // "[" IPv6 "]".
  static bool ProcessSurroundedIpv6(std::string_view text, Token& token);
  // 1 to 4294967295, first digit 1-9, digits only.
  static bool ProcessPort(std::string_view text, Token& token);
};

// The standard "forwarded" header: comma-separated elements of ";"-separated name=value
// pairs, names case-insensitive, values tokens or quoted strings, e.g.
//   for=192.0.2.60;proto=http;by=203.0.113.43, for="[2001:db8:cafe::17]:4711"
// The "for" pair of each element is read by the rules of XForwardedForParser (the address
// forms above, quoted as the header's grammar requires for IPv6 and ports). The walk stops at
// the first element from the right that is not loopback and not trusted. When that element
// hides its client ("for=unknown", an obfuscated "for=_hidden", or no "for" at all) the result
// is true and `peer` is left as it was: what lies left of it cannot be believed. An
// obfuscated port ("_p1") gives the address without a port. Returns false for an empty value,
// or when the walk reaches an element that does not follow the grammar (unbalanced quotes, a
// pair without "=", a repeated "for", an address that does not parse).
class OLMA_API ForwardedHeaderParser {
 public:
  using ForwardedPeerInfo = XForwardedForParser::ForwardedPeerInfo;

  static bool FindRightMostRemotePeer(std::string_view value, std::optional<ForwardedPeerInfo>& peer);
  static bool FindRightMostRemotePeer(std::string_view value, std::optional<ForwardedPeerInfo>& peer,
                                      const TrustedProxies& trusted);
};

}  // namespace Utils
}  // namespace Api
