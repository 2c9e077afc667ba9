#include "olma/transport/x_forwarded_for_parser.h"

#include <arpa/inet.h>

#include <cstdio>
#include <optional>
#include <random>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using Api::Utils::ForwardedHeaderParser;
using Api::Utils::TrustedProxies;
using Api::Utils::XForwardedForParser;
using Peer = std::optional<XForwardedForParser::ForwardedPeerInfo>;

struct Expectation {
  const char* value;
  bool result;
  const char* address;  // null: no peer
  std::optional<std::uint32_t> port;
};

void Check(const Expectation& e, bool (*find)(std::string_view, Peer&), Peer peer = std::nullopt) {
  SCOPED_TRACE(std::string("value: ") + e.value);
  EXPECT_EQ(find(e.value, peer), e.result);
  if (e.address == nullptr) {
    EXPECT_FALSE(peer.has_value()) << peer->address;
    return;
  }
  ASSERT_TRUE(peer.has_value());
  EXPECT_EQ(peer->address, e.address);
  EXPECT_EQ(peer->port, e.port);
}

TEST(XForwardedForParser, PicksTheRightMostEntryThatIsNotLoopback) {
  const Expectation cases[] = {
      {"203.0.113.9, 127.0.0.1", true, "203.0.113.9", {}},
      {"198.51.100.1, 203.0.113.9", true, "203.0.113.9", {}},
      {"[2001:db8::1]:8443", true, "2001:db8::1", 8443u},
      {"2001:db8::1", true, "2001:db8::1", {}},
      {"[2001:DB8:0:0:0:0:0:1]", true, "2001:db8::1", {}},
      {"192.0.2.7:1234", true, "192.0.2.7", 1234u},
      {"0.0.0.0", true, "0.0.0.0", {}},
      {"255.255.255.255, 10.20.0.9", true, "10.20.0.9", {}},
      {"10.100.9.255:7", true, "10.100.9.255", 7u},
      {"192.0.2.7:4294967295", true, "192.0.2.7", 4294967295u},
      {"192.0.2.7:0", false, nullptr, {}},
      {"192.0.2.7:080", false, nullptr, {}},
      {"192.0.2.7:4294967296", false, nullptr, {}},
      {"192.0.2.7:+80", false, nullptr, {}},
      {"192.0.2.7: 80", false, nullptr, {}},
      {"garbage, 203.0.113.9", true, "203.0.113.9", {}},
      {"203.0.113.9, garbage", false, nullptr, {}},
      {"", false, nullptr, {}},
      {" \t", false, nullptr, {}},
      {"203.0.113.9,", false, nullptr, {}},
      {"127.0.0.1, ::1, 127.255.0.3", true, nullptr, {}},
      {"\t198.51.100.1 ,\t 127.0.0.1:80 , [::1]:9", true, "198.51.100.1", {}},
      {"::ffff:127.0.0.1", true, "::ffff:127.0.0.1", {}},  // mapped loopback is not ::1
      {"fe80::1%eth0", false, nullptr, {}},
      {"01.2.3.4", false, nullptr, {}},
      {"1.2.3", false, nullptr, {}},
      {"[1.2.3.4]", false, nullptr, {}},
      {"2001:db8::1:8443", true, "2001:db8::1:8443", {}},  // a bare IPv6 address, not a port
  };
  for (const Expectation& e : cases) {
    Check(e, &XForwardedForParser::FindRightMostRemotePeer);
  }
  Peer earlier = XForwardedForParser::ForwardedPeerInfo{"192.0.2.1", 1u};
  EXPECT_FALSE(XForwardedForParser::FindRightMostRemotePeer("nope", earlier));
  EXPECT_EQ(earlier->address, "192.0.2.1");  // kept on failure
}

TEST(XForwardedForParser, TrimAndTokenizeReversed) {
  EXPECT_EQ(Api::Utils::Detail::Trim(" \t a b\t ", " \t"), "a b");
  EXPECT_EQ(Api::Utils::Detail::Trim(" \t", " \t"), "");
  std::vector<std::string> pieces;
  Api::Utils::Detail::TokenizeReversed(" a ,b,, c\t", ',', [&](std::string_view piece) {
    pieces.emplace_back(piece);
    return true;
  });
  EXPECT_THAT(pieces, testing::ElementsAre("c", "", "b", "a"));
  pieces.clear();
  Api::Utils::Detail::TokenizeReversed("a,b,c", ',', [&](std::string_view piece) {
    pieces.emplace_back(piece);
    return piece != "b";
  });
  EXPECT_THAT(pieces, testing::ElementsAre("c", "b"));
}

TEST(XForwardedForParser, TrustedProxiesAreSkippedToo) {
  TrustedProxies trusted;
  std::error_code error;
  ASSERT_TRUE(trusted.Add("10.0.0.0/8", error));
  ASSERT_TRUE(trusted.Add("fd00::/8", error));
  ASSERT_TRUE(trusted.Add("192.0.2.77", error));
  ASSERT_TRUE(trusted.Add("172.16.5.255/20", error));  // host bits are ignored
  for (const char* bad : {"10.0.0.0/33", "10.0.0.0/", "10.0.0.0/08", "fd00::/129", "10.0.0/8", "x/8", ""}) {
    std::error_code failed;
    EXPECT_FALSE(trusted.Add(bad, failed)) << bad;
    EXPECT_EQ(failed, std::errc::invalid_argument) << bad;
  }
  const auto find = [&trusted](std::string_view value, Peer& peer) {
    return XForwardedForParser::FindRightMostRemotePeer(value, peer, trusted);
  };
  const Expectation cases[] = {
      {"198.51.100.4, 10.1.2.3, 127.0.0.1", true, "198.51.100.4", {}},
      {"198.51.100.4, [fd12::1]:443, 192.0.2.77", true, "198.51.100.4", {}},
      {"198.51.100.4, ::ffff:10.9.9.9", true, "198.51.100.4", {}},
      {"198.51.100.4, 172.16.0.1, 172.15.255.255", true, "172.15.255.255", {}},
      {"198.51.100.4, 172.16.15.255", true, "198.51.100.4", {}},
      {"198.51.100.4, 172.16.16.0", true, "172.16.16.0", {}},
      {"10.0.0.1, 10.0.0.2", true, nullptr, {}},
      {"garbage, 10.0.0.2", false, nullptr, {}},
      {"11.0.0.1, 10.0.0.2", true, "11.0.0.1", {}},
  };
  for (const Expectation& e : cases) {
    SCOPED_TRACE(e.value);
    Peer peer;
    EXPECT_EQ(find(e.value, peer), e.result);
    EXPECT_EQ(peer ? peer->address : "<none>", e.address ? e.address : "<none>");
  }
  Peer peer;
  ASSERT_TRUE(XForwardedForParser::FindRightMostRemotePeer("198.51.100.4, 10.1.2.3", peer));
  EXPECT_EQ(peer->address, "10.1.2.3");  // the default form trusts nothing but loopback
}

// libc is the reference for address texts: what inet_pton takes we take, and we print what
// inet_ntop prints.
TEST(XForwardedForParser, AgreesWithInetPtonAndInetNtop) {
  std::mt19937 random(20261123);
  const auto ntop = [](int family, const unsigned char* bytes) {
    char text[INET6_ADDRSTRLEN];
    return std::string(inet_ntop(family, bytes, text, sizeof text));
  };
  for (int i = 0; i < 2000; ++i) {
    unsigned char bytes[16];
    for (auto& b : bytes)
      b = static_cast<unsigned char>(random() & (i % 3 == 0 ? 0x01 : 0xFF));  // runs of zeros
    const bool v4 = i % 2 == 0;
    const std::string canonical = ntop(v4 ? AF_INET : AF_INET6, bytes);
    std::string written = canonical;
    if (!v4 && i % 4 == 1) {  // the long form, upper case, leading zeros
      char full[64];
      std::snprintf(full, sizeof full,
                    "%02X%02X:%02X%02X:%02X%02X:%02X%02X:%02X%02X:%02X%02X:%02X%02X:%02X%02X", bytes[0],
                    bytes[1], bytes[2], bytes[3], bytes[4], bytes[5], bytes[6], bytes[7], bytes[8], bytes[9],
                    bytes[10], bytes[11], bytes[12], bytes[13], bytes[14], bytes[15]);
      written = full;
    }
    const std::uint32_t port = 1 + random() % 65535;
    const std::string entry = !v4 && i % 3 == 0 ? "[" + written + "]:" + std::to_string(port)
                              : !v4             ? (i % 5 == 0 ? "[" + written + "]" : written)
                              : i % 3 == 0      ? written + ":" + std::to_string(port)
                                                : written;
    SCOPED_TRACE(entry);
    Peer peer;
    ASSERT_TRUE(XForwardedForParser::FindRightMostRemotePeer(entry + ", 127.0.0.1", peer));
    const bool loopback = (v4 && bytes[0] == 127) || (!v4 && canonical == "::1");
    if (loopback) continue;
    ASSERT_TRUE(peer.has_value());
    EXPECT_EQ(peer->address, canonical);
    EXPECT_EQ(peer->port.has_value(), entry.find("]:") != std::string::npos || (v4 && i % 3 == 0));
  }

  // Mutations of valid texts: accepted exactly when inet_pton accepts them.
  const char alphabet[] = "0123456789abcdefABCDEFx:.[]% \t-";
  for (int i = 0; i < 5000; ++i) {
    unsigned char bytes[16];
    for (auto& b : bytes) b = static_cast<unsigned char>(random());
    const bool v4 = i % 2 == 0;
    std::string text = ntop(v4 ? AF_INET : AF_INET6, bytes);
    for (int edits = 1 + random() % 3; edits > 0; --edits) {
      const std::size_t at = random() % (text.size() + 1);
      switch (random() % 3) {
        case 0:
          text.insert(at, 1, alphabet[random() % (sizeof alphabet - 1)]);
          break;
        case 1:
          if (at < text.size()) text.erase(at, 1);
          break;
        default:
          if (at < text.size()) text[at] = alphabet[random() % (sizeof alphabet - 1)];
      }
    }
    SCOPED_TRACE(text);
    unsigned char out[16];
    XForwardedForParser::Token token;
    EXPECT_EQ(XForwardedForParser::ProcessIpv4(text, token), inet_pton(AF_INET, text.c_str(), out) == 1);
    EXPECT_EQ(XForwardedForParser::ProcessIpv6(text, token), inet_pton(AF_INET6, text.c_str(), out) == 1);
  }
}

TEST(ForwardedHeaderParser, ReadsForPairsByTheSameRule) {
  const Expectation cases[] = {
      {"for=192.0.2.60;proto=http;by=203.0.113.43", true, "192.0.2.60", {}},
      {"For=\"[2001:db8:cafe::17]:4711\"", true, "2001:db8:cafe::17", 4711u},
      {"for=\"[2001:db8:cafe::17]\"", true, "2001:db8:cafe::17", {}},
      {"for=\"192.0.2.43:47011\"", true, "192.0.2.43", 47011u},
      {"for=\"192.0.2.43:_p1\"", true, "192.0.2.43", {}},
      {"for=192.0.2.43, for=198.51.100.17", true, "198.51.100.17", {}},
      {"for=192.0.2.43, for=127.0.0.1;proto=https", true, "192.0.2.43", {}},
      {"for=192.0.2.43, for=\"[::1]:80\"", true, "192.0.2.43", {}},
      {"for=192.0.2.43,for=unknown", true, nullptr, {}},
      {"for=192.0.2.43, for=_hidden", true, nullptr, {}},
      {"for=192.0.2.43, proto=https", true, nullptr, {}},
      {"for=\"a,b\", for=192.0.2.9", true, "192.0.2.9", {}},
      {"for=192.0.2.43;by=\"x;y, z\"", true, "192.0.2.43", {}},
      {"for=\"19\\2.0.2.43\"", true, "192.0.2.43", {}},
      {"garbage, for=192.0.2.9", true, "192.0.2.9", {}},
      {"for=192.0.2.9, garbage", false, nullptr, {}},
      {"for=192.0.2.43:80", false, nullptr, {}},  // a port needs quotes
      {"for=\"192.0.2.43", false, nullptr, {}},
      {"for=192.0.2.43;for=192.0.2.44", false, nullptr, {}},
      {"for=", false, nullptr, {}},
      {"=192.0.2.43", false, nullptr, {}},
      {"for=\"[2001:db8::1]:0\"", false, nullptr, {}},
      {"", false, nullptr, {}},
      {" , ,", false, nullptr, {}},
  };
  for (const Expectation& e : cases) Check(e, &ForwardedHeaderParser::FindRightMostRemotePeer);

  TrustedProxies trusted;
  std::error_code error;
  ASSERT_TRUE(trusted.Add("10.0.0.0/8", error));
  Peer peer;
  ASSERT_TRUE(
      ForwardedHeaderParser::FindRightMostRemotePeer("for=198.51.100.1, for=\"10.0.0.5:80\"", peer, trusted));
  EXPECT_EQ(peer->address, "198.51.100.1");
}

}  // namespace
