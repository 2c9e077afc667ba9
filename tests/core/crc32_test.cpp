#include "olma/core/crc32.h"

#include <gtest/gtest.h>
#include <zlib.h>

#include <cstdio>
#include <random>
#include <sstream>
#include <string>

namespace {

std::string ZlibHex(std::string_view data) {
  char hex[9];
  std::snprintf(hex, sizeof hex, "%08lx",
                crc32(0, reinterpret_cast<const Bytef*>(data.data()), static_cast<uInt>(data.size())));
  return hex;
}

TEST(CRC32, KnownChecksums) {
  const std::pair<std::string, std::string> cases[] = {
      {"", "00000000"},
      {"123456789", "cbf43926"},
      {"The quick brown fox jumps over the lazy dog", "414fa339"},
      {std::string(32, '\0'), "190a55ad"},
  };
  for (const auto& [text, hex] : cases) EXPECT_EQ(Olma::CRC32(text).Hexdigest(), hex) << text;
  EXPECT_EQ(Olma::CRC32().Hexdigest(), "00000000");
}

TEST(CRC32, EveryInputKindMatchesZlib) {
  std::mt19937 rng(1);
  std::string pool((1 << 20) + 16, '\0');
  for (char& c : pool) c = static_cast<char>(rng());
  for (std::size_t size = 0; size <= 4200 || size == (1 << 20); size = size < 300    ? size + 1
                                                                       : size < 4200 ? size + 37
                                                                                     : 1 << 20) {
    SCOPED_TRACE(size);
    const std::string_view data(pool.data() + size % 13, size);  // varying alignment too
    const std::string expected = ZlibHex(data);
    ASSERT_EQ(Olma::CRC32(data).Hexdigest(), expected);
    ASSERT_EQ(Olma::CRC32(data.data(), data.size()).Hexdigest(), expected);
    ASSERT_EQ(Olma::CRC32(Olma::ByteVector(data.begin(), data.end())).Hexdigest(), expected);
    if (size % 97 == 0 || size == (1 << 20)) {
      std::istringstream stream{std::string(data)};
      ASSERT_EQ(Olma::CRC32(stream).Hexdigest(), expected);
    }
  }
}

TEST(CRC32, PiecewiseUpdatesEqualOneShot) {
  std::mt19937 rng(5);
  for (int round = 0; round < 200; ++round) {
    std::string data(rng() % 3000, '\0');
    for (char& c : data) c = static_cast<char>(rng());
    Olma::CRC32 crc(std::string_view("stale"));
    crc.Reset();
    for (std::size_t at = 0, piece; at < data.size(); at += piece) {
      piece = std::min<std::size_t>(data.size() - at, rng() % 200);
      crc.Update(data.data() + at, piece);
    }
    ASSERT_EQ(crc.Hexdigest(), ZlibHex(data)) << "round " << round;
  }
}

}  // namespace
