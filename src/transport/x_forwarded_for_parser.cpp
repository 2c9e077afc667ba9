#include "olma/transport/x_forwarded_for_parser.h"

#include <charconv>
#include <cstring>
#include <limits>
#include <string>

namespace Api {
namespace Utils {
namespace {

using boost::asio::ip::address;

// Longer texts are no address: 45 characters hold the longest IPv6 form.
constexpr std::size_t kMaxAddressText = 63;

// Copies `text` into `buffer` as a NUL-terminated string for the C parsers; false when it
// does not fit or contains a NUL.
bool ToCString(std::string_view text, char (&buffer)[kMaxAddressText + 1]) {
  if (text.empty() || text.size() > kMaxAddressText || text.find('\0') != std::string_view::npos)
    return false;
  std::memcpy(buffer, text.data(), text.size());
  buffer[text.size()] = '\0';
  return true;
}

// The text of `ip`. An IPv4 address is written here with std::to_chars: the library's
// formatting goes through sprintf, one call per byte, which would cost more than finding the
// address did. IPv6 keeps the library's canonical form (compressed zeros, mapped IPv4).
std::string AddressText(const address& ip) {
  if (!ip.is_v4()) return ip.to_string();
  char text[16];  // "255.255.255.255"
  char* at = text;
  for (const unsigned char byte : ip.to_v4().to_bytes()) {
    if (at != text) *at++ = '.';
    at = std::to_chars(at, text + sizeof(text), static_cast<unsigned>(byte)).ptr;
  }
  return std::string(text, static_cast<std::size_t>(at - text));
}

// The walk shared by both headers: `parse` turns one piece into a token and says whether the
// piece hides its client; the first piece that is neither loopback nor trusted decides.
enum class Piece { kAddress, kHidden, kInvalid };

template <typename Walk, typename Parse>
bool FindPeer(Walk walk, Parse parse, std::optional<XForwardedForParser::ForwardedPeerInfo>& peer,
              const TrustedProxies* trusted) {
  bool result = true;
  walk([&](std::string_view piece) {
    XForwardedForParser::Token token;
    switch (parse(piece, token)) {
      case Piece::kInvalid:
        result = false;
        return false;
      case Piece::kHidden:
        return false;
      case Piece::kAddress:
        break;
    }
    if (token.address.is_loopback() || (trusted != nullptr && trusted->Contains(token.address))) return true;
    peer.emplace();
    peer->address = AddressText(token.address);
    peer->port = token.port;
    return false;
  });
  return result;
}

Piece ParseXffEntry(std::string_view entry, XForwardedForParser::Token& token) {
  return XForwardedForParser::ParseEntry(entry, token) ? Piece::kAddress : Piece::kInvalid;
}

bool FindInXff(std::string_view value, std::optional<XForwardedForParser::ForwardedPeerInfo>& peer,
               const TrustedProxies* trusted) {
  return FindPeer([value](auto&& visit) { Detail::TokenizeReversed(value, ',', visit); }, ParseXffEntry, peer,
                  trusted);
}

// --- the "forwarded" header ---

bool IsTokenChar(char c) noexcept {
  if ((c >= '0' && c <= '9') || (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z')) return true;
  return std::strchr("!#$%&'*+-.^_`|~", c) != nullptr && c != '\0';
}

// Splits `text` at `separator` outside quoted strings, left to right. False when a quoted
// string is not closed (the last piece then runs to the end).
template <typename Visit>
bool SplitOutsideQuotes(std::string_view text, char separator, Visit visit) {
  bool quoted = false;
  std::size_t begin = 0;
  for (std::size_t i = 0; i < text.size(); ++i) {
    const char c = text[i];
    if (quoted) {
      if (c == '\\') {
        ++i;
      } else if (c == '"') {
        quoted = false;
      }
    } else if (c == '"') {
      quoted = true;
    } else if (c == separator) {
      visit(text.substr(begin, i - begin));
      begin = i + 1;
    }
  }
  visit(text.substr(begin));
  return !quoted;
}

// The value of a pair: a token, or a quoted string with its escapes removed.
bool ReadPairValue(std::string_view text, std::string& value) {
  value.clear();
  if (text.empty()) return false;
  if (text.front() != '"') {
    for (const char c : text) {
      if (!IsTokenChar(c)) return false;
    }
    value.assign(text);
    return true;
  }
  if (text.size() < 2 || text.back() != '"') return false;
  for (std::size_t i = 1; i + 1 < text.size(); ++i) {
    char c = text[i];
    if (c == '\\') {
      if (++i + 1 >= text.size()) return false;
      c = text[i];
    } else if (c == '"') {
      return false;
    }
    value.push_back(c);
  }
  return true;
}

bool EqualsIgnoringCase(std::string_view a, std::string_view b) noexcept {
  if (a.size() != b.size()) return false;
  for (std::size_t i = 0; i < a.size(); ++i) {
    if ((a[i] | 0x20) != (b[i] | 0x20)) return false;
  }
  return true;
}

bool IsObfuscated(std::string_view text) noexcept {
  if (text.size() < 2 || text.front() != '_') return false;
  for (const char c : text.substr(1)) {
    if (!((c >= '0' && c <= '9') || (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '.' ||
          c == '_' || c == '-')) {
      return false;
    }
  }
  return true;
}

// The node of a "for" pair: an address with an optional port or obfuscated port, "unknown",
// or an obfuscated identifier.
Piece ParseNode(std::string_view node, XForwardedForParser::Token& token) {
  if (EqualsIgnoringCase(node, "unknown") || IsObfuscated(node)) return Piece::kHidden;
  if (XForwardedForParser::ParseEntry(node, token)) return Piece::kAddress;
  const std::size_t colon = node.rfind(':');
  if (colon != std::string_view::npos && IsObfuscated(node.substr(colon + 1))) {
    const std::string_view host = node.substr(0, colon);
    if (XForwardedForParser::ProcessSurroundedIpv6(host, token) ||
        XForwardedForParser::ProcessIpv4(host, token)) {
      return Piece::kAddress;
    }
  }
  return Piece::kInvalid;
}

Piece ParseForwardedElement(std::string_view element, XForwardedForParser::Token& token) {
  bool valid = true;
  bool seenFor = false;
  std::string node;
  std::string value;
  valid = SplitOutsideQuotes(
              element, ';',
              [&](std::string_view pair) {
                pair = Detail::Trim(pair, " \t");
                if (!valid || pair.empty()) return;
                const std::size_t equals = pair.find('=');
                const std::string_view name = pair.substr(0, equals);
                if (equals == std::string_view::npos || name.empty() ||
                    !ReadPairValue(pair.substr(equals + 1), EqualsIgnoringCase(name, "for") ? node : value)) {
                  valid = false;
                  return;
                }
                for (const char c : name) valid = valid && IsTokenChar(c);
                if (EqualsIgnoringCase(name, "for")) {
                  valid = valid && !seenFor;
                  seenFor = true;
                }
              }) &&
          valid;
  if (!valid) return Piece::kInvalid;
  if (!seenFor) return Piece::kHidden;
  return ParseNode(node, token);
}

bool FindInForwarded(std::string_view value, std::optional<XForwardedForParser::ForwardedPeerInfo>& peer,
                     const TrustedProxies* trusted) {
  std::vector<std::string_view> elements;
  const bool balanced = SplitOutsideQuotes(value, ',', [&](std::string_view element) {
    element = Detail::Trim(element, " \t");
    if (!element.empty()) elements.push_back(element);
  });
  // An unclosed quote runs to the end, so it spoils the right-most element, where the walk
  // begins.
  if (elements.empty() || !balanced) return false;
  const auto walk = [&elements](auto&& visit) {
    for (auto element = elements.rbegin(); element != elements.rend(); ++element) {
      if (!visit(*element)) return;
    }
  };
  return FindPeer(walk, ParseForwardedElement, peer, trusted);
}

}  // namespace

namespace Detail {

std::string_view Trim(std::string_view text, std::string_view characters) noexcept {
  const std::size_t first = text.find_first_not_of(characters);
  if (first == std::string_view::npos) return text.substr(text.size());
  const std::size_t last = text.find_last_not_of(characters);
  return text.substr(first, last - first + 1);
}

}  // namespace Detail

bool TrustedProxies::Add(std::string_view network, std::error_code& error) {
  const std::size_t slash = network.find('/');
  XForwardedForParser::Token token;
  const std::string_view host = network.substr(0, slash);
  const bool v4 = XForwardedForParser::ProcessIpv4(host, token);
  if (!v4 && !XForwardedForParser::ProcessIpv6(host, token)) {
    error = std::make_error_code(std::errc::invalid_argument);
    return false;
  }
  const unsigned bits = v4 ? 32 : 128;
  unsigned prefix = bits;
  if (slash != std::string_view::npos) {
    // A prefix length reads like a port, except that /0 is allowed.
    const std::string_view digits = network.substr(slash + 1);
    XForwardedForParser::Token length;
    if (digits == "0") {
      prefix = 0;
    } else if (XForwardedForParser::ProcessPort(digits, length) && *length.port <= bits) {
      prefix = *length.port;
    } else {
      error = std::make_error_code(std::errc::invalid_argument);
      return false;
    }
  }
  Network entry{{}, prefix, v4};
  if (v4) {
    const auto bytes = token.address.to_v4().to_bytes();
    std::copy(bytes.begin(), bytes.end(), entry.bytes.begin());
  } else {
    entry.bytes = token.address.to_v6().to_bytes();
  }
  networks_.push_back(entry);
  return true;
}

bool TrustedProxies::Contains(const boost::asio::ip::address& candidate) const noexcept {
  std::array<std::uint8_t, 16> bytes{};
  bool v4 = candidate.is_v4();
  if (v4) {
    const auto four = candidate.to_v4().to_bytes();
    std::copy(four.begin(), four.end(), bytes.begin());
  } else {
    const auto six = candidate.to_v6();
    if (six.is_v4_mapped()) {
      v4 = true;
      const auto four = boost::asio::ip::make_address_v4(boost::asio::ip::v4_mapped, six).to_bytes();
      std::copy(four.begin(), four.end(), bytes.begin());
    } else {
      bytes = six.to_bytes();
    }
  }
  for (const Network& network : networks_) {
    if (network.v4 != v4) continue;
    const unsigned whole = network.prefix / 8;
    const unsigned rest = network.prefix % 8;
    if (std::memcmp(bytes.data(), network.bytes.data(), whole) != 0) continue;
    const auto mask = static_cast<std::uint8_t>(0xFF00u >> rest);
    if (rest == 0 || ((bytes[whole] ^ network.bytes[whole]) & mask) == 0) return true;
  }
  return false;
}

bool XForwardedForParser::FindRightMostRemotePeer(std::string_view value,
                                                  std::optional<ForwardedPeerInfo>& peer) {
  return FindInXff(value, peer, nullptr);
}

bool XForwardedForParser::FindRightMostRemotePeer(std::string_view value,
                                                  std::optional<ForwardedPeerInfo>& peer,
                                                  const TrustedProxies& trusted) {
  return FindInXff(value, peer, &trusted);
}

bool XForwardedForParser::ParseEntry(std::string_view text, Token& token) {
  const std::size_t colon = text.rfind(':');
  if (colon != std::string_view::npos) {
    Token candidate;
    if (ProcessSurroundedIpv6(text.substr(0, colon), candidate) &&
        ProcessPort(text.substr(colon + 1), candidate)) {
      token = candidate;
      return true;
    }
  }
  if (ProcessSurroundedIpv6(text, token)) return true;
  if (colon != std::string_view::npos) {
    Token candidate;
    if (ProcessIpv4(text.substr(0, colon), candidate) && ProcessPort(text.substr(colon + 1), candidate)) {
      token = candidate;
      return true;
    }
  }
  return ProcessIpv4(text, token) || ProcessIpv6(text, token);
}

bool XForwardedForParser::ProcessIpv4(std::string_view text, Token& token) {
  char buffer[kMaxAddressText + 1];
  if (!ToCString(text, buffer)) return false;
  boost::system::error_code error;
  const auto parsed = boost::asio::ip::make_address_v4(static_cast<const char*>(buffer), error);
  if (error) return false;
  token.address = parsed;
  return true;
}

bool XForwardedForParser::ProcessIpv6(std::string_view text, Token& token) {
  char buffer[kMaxAddressText + 1];
  // A zone id names an interface of the sender's host; here it would name one of ours.
  if (text.find('%') != std::string_view::npos || !ToCString(text, buffer)) return false;
  boost::system::error_code error;
  const auto parsed = boost::asio::ip::make_address_v6(static_cast<const char*>(buffer), error);
  if (error) return false;
  token.address = parsed;
  return true;
}

bool XForwardedForParser::ProcessSurroundedIpv6(std::string_view text, Token& token) {
  if (text.size() < 2 || text.front() != '[' || text.back() != ']') return false;
  return ProcessIpv6(text.substr(1, text.size() - 2), token);
}

bool XForwardedForParser::ProcessPort(std::string_view text, Token& token) {
  if (text.empty() || text.front() < '1' || text.front() > '9') return false;
  std::uint64_t port = 0;
  for (const char c : text) {
    if (c < '0' || c > '9') return false;
    port = port * 10 + static_cast<std::uint64_t>(c - '0');
    if (port > std::numeric_limits<std::uint32_t>::max()) return false;
  }
  token.port = static_cast<std::uint32_t>(port);
  return true;
}

bool ForwardedHeaderParser::FindRightMostRemotePeer(std::string_view value,
                                                    std::optional<ForwardedPeerInfo>& peer) {
  return FindInForwarded(value, peer, nullptr);
}

bool ForwardedHeaderParser::FindRightMostRemotePeer(std::string_view value,
                                                    std::optional<ForwardedPeerInfo>& peer,
                                                    const TrustedProxies& trusted) {
  return FindInForwarded(value, peer, &trusted);
}

}  // namespace Utils
}  // namespace Api
