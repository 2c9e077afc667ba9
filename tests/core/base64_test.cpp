#include "olma/core/base64.h"

#include <gtest/gtest.h>

#include <random>
#include <string>

#include "core/external_tool.h"

namespace {

using Olma::ByteVector;

ByteVector RandomBytes(std::size_t size, std::mt19937& rng) {
  ByteVector bytes(size);
  for (auto& b : bytes) b = static_cast<std::uint8_t>(rng());
  return bytes;
}

TEST(Base64, EncodeMatchesCoreutilsAndDecodeInverts) {
  std::mt19937 rng(42);
  for (std::size_t size : {0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 13, 64, 65, 1000, 3071, 3072, 3073, 1 << 20}) {
    SCOPED_TRACE(size);
    const ByteVector data = RandomBytes(size, rng);
    const std::string text = Olma::Base64::Encode(data);
    EXPECT_EQ(OlmaTest::RunTool("base64 -w0", {reinterpret_cast<const char*>(data.data()), size}),
              std::make_pair(0, text));
    std::string error;
    EXPECT_EQ(Olma::Base64::Decode(text, error), data);
    EXPECT_EQ(error, "");
  }
}

TEST(Base64, DecodeRules) {
  const std::string junk = "Non-Valid Character in Base 64!", padding = "Invalid Padding in Base 64!";
  std::mt19937 rng(7);
  const std::string large = Olma::Base64::Encode(RandomBytes(3 << 18, rng));  // 1 MiB of text, no padding
  const struct {
    std::string text, bytes, error;
  } cases[] = {
      {"", "", ""},
      {" \n\r\t \n", "", ""},
      {"TWE=", "Ma", ""},
      {"TQ==", "M", ""},
      {"TWFu\n", "Man", ""},
      {"\tTWFu \r\nTWFu  TQ==\n\n", "ManManM", ""},  // white space between groups
      {"TWF", "", "Truncated Base64!"},
      {"TWFuT", "", "Truncated Base64!"},
      {large.substr(0, large.size() - 1), "", "Truncated Base64!"},
      {large + "TW*u", "", junk},
      {"T=FU", "", padding},
      {"TWFu====", "", padding},
      {"TQ==TWFu", "", padding},
      {"TW u", "", junk},
      {"TWFu\nTW\nFu", "", junk},  // white space inside a group
      {"TWFu-_==", "", junk},
      {std::string("TW\0u", 4), "", junk},
      {"TW\xC3\xA9", "", junk},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.text.substr(0, 40));
    std::string error = "earlier; ";  // appended to, never replaced
    EXPECT_EQ(Olma::Base64::Decode(c.text, error), ByteVector(c.bytes.begin(), c.bytes.end()));
    EXPECT_EQ(error, "earlier; " + c.error);
  }
}

TEST(Base64, RandomGarbageNeverYieldsBytesWithAnError) {
  // Symbols, padding, white space and junk in every position; the sanitizers watch the reads.
  const std::string pool = "AZaz09+/==  \n\t\r*\xFF";
  std::mt19937 rng(3);
  for (int round = 0; round < 20000; ++round) {
    std::string text(rng() % 24, ' '), error;
    for (char& ch : text) ch = pool[rng() % pool.size()];
    const ByteVector bytes = Olma::Base64::Decode(text, error);
    ASSERT_TRUE(error.empty() || bytes.empty()) << text;
  }
}

}  // namespace
