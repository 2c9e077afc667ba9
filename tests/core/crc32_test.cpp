#include "olma/core/crc32.h"

#include <gtest/gtest.h>
#include <zlib.h>

#include <cstdio>
#include <random>
#include <sstream>
#include <vector>

namespace {

// Sizes around the 16-byte slices and the 64-byte folding threshold at every alignment, and
// a megabyte that takes several stream buffers; each input is also fed in random pieces to a
// register that held other data before its Reset().
TEST(CRC32, EveryInputFormMatchesZlib) {
  EXPECT_EQ(Olma::CRC32(std::string_view("123456789")).Hexdigest(), "cbf43926");
  std::mt19937 rng(1);
  std::string pool((1 << 20) + 16, '\0');
  for (char& c : pool) c = static_cast<char>(rng());
  std::vector<std::size_t> sizes;
  for (std::size_t size = 0; size < 4200; size += size < 300 ? 1 : 37) sizes.push_back(size);
  sizes.push_back(1 << 20);
  for (const std::size_t size : sizes) {
    SCOPED_TRACE(size);
    const std::string_view data(pool.data() + size % 13, size);
    char expected[9];  // zero-padded lower-case hex
    std::snprintf(expected, sizeof expected, "%08lx",
                  crc32(0, reinterpret_cast<const Bytef*>(data.data()), static_cast<uInt>(size)));
    ASSERT_EQ(Olma::CRC32(data).Hexdigest(), expected);
    ASSERT_EQ(Olma::CRC32(data.data(), size).Hexdigest(), expected);
    ASSERT_EQ(Olma::CRC32(Olma::ByteVector(data.begin(), data.end())).Hexdigest(), expected);
    Olma::CRC32 pieces(std::string_view("stale"));
    pieces.Reset();
    for (std::size_t at = 0, piece; at < size; at += piece) {
      piece = std::min<std::size_t>(size - at, rng() % 200);
      const std::string_view part = data.substr(at, piece);
      at % 2 == 0 ? pieces.Update(part) : pieces.Update(Olma::ByteVector(part.begin(), part.end()));
    }
    ASSERT_EQ(pieces.Hexdigest(), expected);
    if (size % 97 == 0 || size == (1 << 20)) {
      std::istringstream stream{std::string(data)};
      ASSERT_EQ(Olma::CRC32(stream).Hexdigest(), expected);
    }
  }
}

}  // namespace
