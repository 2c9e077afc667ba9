#include "olma/core/gzip.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <random>
#include <tuple>

#include "core/external_tool.h"

namespace {

using Olma::ByteVector;
using Olma::MessageList;
using testing::IsEmpty;

// Text that spans several 4096-byte output steps however well it compresses.
std::string LongText() {
  std::string text;
  while (text.size() < 300000)
    text += "line " + std::to_string(text.size() % 977) + ": the quick brown fox\n";
  return text;
}

TEST(Gzip, InteroperatesWithSystemGzip) {
  std::mt19937 rng(11);
  std::string random(200000, '\0');
  for (char& c : random) c = static_cast<char>(rng());
  for (const std::string& data : {std::string(), std::string("hello, gzip"), random, LongText()}) {
    SCOPED_TRACE(data.size());
    MessageList messages;
    for (int level : {-1, 0, 1, 6, 9}) {
      const ByteVector packed = Olma::Gzip::Compress(data, messages, level);
      EXPECT_TRUE(OlmaTest::RunTool("gzip -dc", {reinterpret_cast<const char*>(packed.data()),
                                                 packed.size()}) == std::make_pair(0, data))
          << "level " << level;
      EXPECT_TRUE(Olma::Gzip::Decompress(packed, messages) == data) << "level " << level;
    }
    auto [exitCode, member] = OlmaTest::RunTool("gzip -9 -c", data);
    ASSERT_EQ(exitCode, 0);
    member += "trailing junk is ignored";
    EXPECT_TRUE(Olma::Gzip::Decompress(ByteVector(member.begin(), member.end()), messages) == data);
    EXPECT_THAT(messages, IsEmpty());
  }
}

TEST(Gzip, DefaultLevelIsNineAndOthersAreRefused) {
  const std::string text = LongText();
  MessageList messages;
  EXPECT_EQ(Olma::Gzip::Compress(text, messages), Olma::Gzip::Compress(text, messages, 9));
  EXPECT_NE(Olma::Gzip::Compress(text, messages, 6), Olma::Gzip::Compress(text, messages, 9));
  EXPECT_THAT(Olma::Gzip::Compress("data", messages, 10), IsEmpty());
  EXPECT_THAT(Olma::Gzip::Compress("data", messages, -2), IsEmpty());
  ASSERT_EQ(messages.size(), 2u);
  EXPECT_EQ(messages.front().id(), "olma.compress.invalid.level");
  EXPECT_THAT(messages.front().args(), testing::ElementsAre("10"));
  EXPECT_EQ(messages.front().defaultMessage(), "Invalid compression level 10, must be between 0 and 9.");
  EXPECT_EQ(messages.back().defaultMessage(), "Invalid compression level -2, must be between 0 and 9.");
}

TEST(Gzip, RefusesInputThatIsNotOneCompleteGzipMember) {
  const std::string text = LongText();
  MessageList messages;
  const ByteVector packed = Olma::Gzip::Compress(text, messages);
  ByteVector badTrailer = packed;
  badTrailer[badTrailer.size() - 5] ^= 0xFF;  // the stored checksum

  const std::tuple<ByteVector, std::string, std::string> cases[] = {
      {{}, "-5", "NULL"},  // cut short: zlib's buffer error, without a text
      {ByteVector(packed.begin(), packed.begin() + 5), "-5", "NULL"},
      {ByteVector(packed.begin(), packed.begin() + packed.size() / 2), "-5", "NULL"},
      {ByteVector(packed.begin(), packed.end() - 1), "-5", "NULL"},
      {{0x78, 0x9c, 0x03, 0x00, 0x00, 0x00, 0x00, 0x01}, "-3", "incorrect header check"},  // zlib-wrapped
      {{0x03, 0x00}, "-3", "incorrect header check"},                                      // raw deflate
      {badTrailer, "-3", "incorrect data check"},
  };
  for (const auto& [input, code, zlibText] : cases) {
    SCOPED_TRACE(input.size());
    messages.clear();
    EXPECT_EQ(Olma::Gzip::Decompress(input, messages), "");
    ASSERT_EQ(messages.size(), 1u);
    EXPECT_EQ(messages.front().id(), "olma.decompress.failed");
    EXPECT_THAT(messages.front().args(), testing::ElementsAre(code, zlibText));
    EXPECT_EQ(messages.front().defaultMessage(),
              "Error occurred during zlib decompression: (" + code + ") " + zlibText);
  }
}

TEST(Gzip, DecompressStopsAtItsOutputCeiling) {
  // A real bomb from the system tool: a few kilobytes that inflate past the default ceiling.
  const std::size_t bombSize = Olma::Gzip::kDefaultDecompressLimit + 1;
  auto [exitCode, bomb] =
      OlmaTest::RunTool("sh -c 'head -c " + std::to_string(bombSize) + " /dev/zero | gzip -9 -c'", "");
  ASSERT_EQ(exitCode, 0);
  ASSERT_LT(bomb.size(), 100000u);
  const ByteVector packed(bomb.begin(), bomb.end());
  MessageList messages;
  EXPECT_EQ(Olma::Gzip::Decompress(packed, messages), "");
  ASSERT_EQ(messages.size(), 1u);
  EXPECT_EQ(messages.front().id(), "olma.decompress.limit.exceeded");
  EXPECT_EQ(messages.front().defaultMessage(), "Decompressed data exceeds the limit of 67108864 bytes.");

  // Another ceiling: the content may reach it exactly, not pass it.
  const std::string text = LongText();
  const ByteVector small = Olma::Gzip::Compress(text, messages);
  messages.clear();
  EXPECT_EQ(Olma::Gzip::Decompress(small, messages, text.size()), text);
  EXPECT_THAT(messages, IsEmpty());
  EXPECT_EQ(Olma::Gzip::Decompress(small, messages, text.size() - 1), "");
  ASSERT_EQ(messages.size(), 1u);
  EXPECT_THAT(messages.front().args(), testing::ElementsAre(std::to_string(text.size() - 1)));
}

}  // namespace
