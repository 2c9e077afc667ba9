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

ByteVector Bytes(std::string_view text) {
  return ByteVector(text.begin(), text.end());
}

TEST(Base64, EncodeMatchesCoreutilsAndDecodeInverts) {
  std::mt19937 rng(42);
  std::vector<std::size_t> sizes;
  for (std::size_t n = 0; n <= 20; ++n) sizes.push_back(n);
  for (std::size_t n : {63, 64, 65, 255, 256, 1000, 3071, 3072, 3073, 4097}) sizes.push_back(n);
  sizes.push_back(1 << 20);
  for (std::size_t size : sizes) {
    SCOPED_TRACE(size);
    const ByteVector data = RandomBytes(size, rng);
    const std::string text = Olma::Base64::Encode(data);
    const auto tool =
        OlmaTest::RunTool("base64 -w0", std::string_view(reinterpret_cast<const char*>(data.data()), size));
    ASSERT_EQ(tool.exitCode, 0);
    EXPECT_EQ(text, tool.out);
    std::string error;
    EXPECT_EQ(Olma::Base64::Decode(text, error), data);
    EXPECT_EQ(error, "");
  }
}

TEST(Base64, DecodeRules) {
  struct Case {
    std::string text;
    std::string bytes;
    std::string error;
  };
  const std::string junk = "Non-Valid Character in Base 64!";
  const std::string padding = "Invalid Padding in Base 64!";
  const std::string truncated = "Truncated Base64!";
  const Case cases[] = {
      {"", "", ""},
      {" \n\r\t \n", "", ""},
      {"TWE=", "Ma", ""},
      {"TQ==", "M", ""},
      {"TWFu\n", "Man", ""},
      {"\tTWFu \r\nTWFu  TQ==\n\n", "ManManM", ""},  // white space between groups
      {"TWFuTWE=\t ", "ManMa", ""},
      {"TWFu====", "Man", padding},
      {"TWF", "", truncated},
      {"TWFuT", "", truncated},
      {"T=FU", "", padding},
      {"TQ==TWFu", "", padding},
      {"TW u", "", junk},
      {"TWFu\nTW\nFu", "", junk},  // white space inside a group
      {"TWFu-_==", "", junk},
      {std::string("TW\0u", 4), "", junk},
      {"TW\xC3\xA9", "", junk},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.text);
    std::string error;
    const ByteVector bytes = Olma::Base64::Decode(c.text, error);
    EXPECT_EQ(error, c.error);
    EXPECT_EQ(bytes, c.error.empty() ? Bytes(c.bytes) : ByteVector());
  }
}

TEST(Base64, DecodeAppendsErrorAndLeavesItAloneOnSuccess) {
  std::string error = "earlier; ";
  EXPECT_TRUE(Olma::Base64::Decode("TWF", error).empty());
  EXPECT_EQ(error, "earlier; Truncated Base64!");
  EXPECT_EQ(Olma::Base64::Decode("TWFu", error), Bytes("Man"));
  EXPECT_EQ(error, "earlier; Truncated Base64!");
}

TEST(Base64, EveryCutShortTextIsTruncated) {
  std::mt19937 rng(7);
  const std::string text = Olma::Base64::Encode(RandomBytes(300, rng));  // no padding
  for (std::size_t length = 1; length < text.size(); ++length) {
    if (length % 4 == 0) continue;
    SCOPED_TRACE(length);
    std::string error;
    EXPECT_TRUE(Olma::Base64::Decode(text.substr(0, length), error).empty());
    EXPECT_EQ(error, "Truncated Base64!");
  }
}

TEST(Base64, GarbageFailsCleanlyOrDecodesWithinBounds) {
  // Symbols, padding, white space and junk in every position; run under the address sanitizer.
  const std::string pool = "AZaz09+/==  \n\t\r*\xFF";
  std::mt19937 rng(3);
  for (int round = 0; round < 20000; ++round) {
    std::string text(rng() % 24, ' ');
    for (char& ch : text) ch = pool[rng() % pool.size()];
    std::string error;
    const ByteVector bytes = Olma::Base64::Decode(text, error);
    if (!error.empty()) {
      ASSERT_TRUE(bytes.empty()) << text;
    } else {
      ASSERT_LE(bytes.size(), text.size() / 4 * 3 + 2) << text;
    }
  }
  // A long valid text whose very last group is bad fails as a whole.
  std::string error;
  std::string text = Olma::Base64::Encode(RandomBytes(3 << 18, rng)) + "TW*u";
  EXPECT_TRUE(Olma::Base64::Decode(text, error).empty());
  EXPECT_EQ(error, "Non-Valid Character in Base 64!");
}

}  // namespace
