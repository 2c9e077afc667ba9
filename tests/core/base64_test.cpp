#include "olma/core/base64.h"

#include <gtest/gtest.h>

#include <random>
#include <string>
#include <string_view>

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
  const auto expect = [](const std::string& text, const std::string& bytes, const std::string& failure) {
    SCOPED_TRACE(text.substr(0, 40));
    std::string error = "earlier; ";  // appended to, never replaced
    EXPECT_EQ(Olma::Base64::Decode(text, error), ByteVector(bytes.begin(), bytes.end()));
    EXPECT_EQ(error, "earlier; " + failure);
  };
  for (const char* blank : {"", " \n\r\t \n"}) expect(blank, "", "");
  expect("TWE=", "Ma", "");
  expect("TQ==", "M", "");
  expect("\tTWFu \r\nTWFu  TQ==\n\n", "ManManM", "");  // white space between groups
  // The lenient padding: the position of "=" decides the byte count, the symbol after it is
  // not looked at.
  expect("=", std::string(2, '\0'), "");
  expect("A=", std::string(2, '\0'), "");
  expect("TQ=x", "M", "");
  expect("TWFuTQ=*", "ManM", "");
  std::mt19937 rng(7);
  const std::string large = Olma::Base64::Encode(RandomBytes(3 << 18, rng));  // 1 MiB of text, no padding
  for (const std::string& text :
       {std::string("TWF"), std::string("TWFuT"), large.substr(0, large.size() - 1)})
    expect(text, "", "Truncated Base64!");
  for (const char* text : {"T=FU", "TWFu====", "TQ==TWFu"}) expect(text, "", "Invalid Padding in Base 64!");
  // Bytes outside the alphabet, and white space inside a group.
  for (const std::string& text :
       {large + "TW*u", std::string("TW u"), std::string("TWFu\nTW\nFu"), std::string("TWFu-_=="),
        std::string("TW\0u", 4), std::string("TW\xC3\xA9")})
    expect(text, "", "Non-Valid Character in Base 64!");
}

TEST(Base64, DecodeReadsOnlyItsView) {
  // Views cut out of a larger text: what follows the view must not change the result.
  const std::string text = "TWE=TQ==TWFu";
  const struct {
    std::size_t offset, length;
    std::string_view bytes;
    const char* failure;
  } cases[] = {{0, 4, "Ma", ""},
               {4, 4, "M", ""},
               {8, 4, "Man", ""},
               {0, 3, "", "Truncated Base64!"},
               {8, 3, "", "Truncated Base64!"},
               {4, 3, std::string_view("M\0", 2), ""}};  // the view ends at its "="
  for (const auto& c : cases) {
    SCOPED_TRACE(std::string(text, c.offset, c.length));
    std::string error;
    EXPECT_EQ(Olma::Base64::Decode(std::string_view(text).substr(c.offset, c.length), error),
              ByteVector(c.bytes.begin(), c.bytes.end()));
    EXPECT_EQ(error, c.failure);
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
