#include "olma/core/crc32.h"

#include <gtest/gtest.h>
#include <zlib.h>

#include <cstdio>
#include <random>
#include <sstream>
#include <string>

namespace {

std::string RandomText(std::size_t size, std::mt19937& rng) {
  std::string text(size, '\0');
  for (char& c : text) c = static_cast<char>(rng());
  return text;
}

std::string ZlibHex(std::string_view data) {
  const auto crc = crc32(0, reinterpret_cast<const Bytef*>(data.data()), static_cast<uInt>(data.size()));
  char hex[9];
  std::snprintf(hex, sizeof hex, "%08lx", crc);
  return hex;
}

TEST(CRC32, KnownChecksums) {
  const std::pair<std::string, std::string> cases[] = {
      {"", "00000000"},
      {"123456789", "cbf43926"},
      {"a", "e8b7be43"},
      {"The quick brown fox jumps over the lazy dog", "414fa339"},
      {std::string(32, '\0'), "190a55ad"},
  };
  for (const auto& [text, hex] : cases) {
    SCOPED_TRACE(text);
    EXPECT_EQ(Olma::CRC32(text).Hexdigest(), hex);
  }
  EXPECT_EQ(Olma::CRC32().Hexdigest(), "00000000");
}

TEST(CRC32, EveryInputKindMatchesZlib) {
  std::mt19937 rng(1);
  const std::string pool = RandomText((1 << 20) + 64, rng);
  std::vector<std::size_t> sizes;
  for (std::size_t n = 0; n <= 4200; n += (n < 300 ? 1 : 37)) sizes.push_back(n);
  sizes.push_back(1 << 20);
  for (std::size_t size : sizes) {
    SCOPED_TRACE(size);
    // Vary the alignment of the start as well.
    const std::string_view data(pool.data() + size % 13, size);
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
    const std::string data = RandomText(rng() % 3000, rng);
    Olma::CRC32 crc(std::string_view("stale"));
    crc.Reset();
    for (std::size_t at = 0; at < data.size();) {
      const std::size_t piece = std::min<std::size_t>(data.size() - at, rng() % 200);
      crc.Update(data.data() + at, piece);
      at += piece;
    }
    ASSERT_EQ(crc.Hexdigest(), ZlibHex(data)) << "round " << round;
  }
}

TEST(CRC32, StreamUpdateReadsToTheEnd) {
  std::mt19937 rng(9);
  const std::string head = "prefix";
  const std::string body = RandomText(100000, rng);  // several read buffers
  std::istringstream stream(body);
  Olma::CRC32 crc(head);
  crc.Update(stream);
  EXPECT_EQ(crc.Hexdigest(), ZlibHex(head + body));
  EXPECT_TRUE(stream.eof());
}

}  // namespace
