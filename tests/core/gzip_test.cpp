#include "olma/core/gzip.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <zlib.h>

#include <random>
#include <string>
#include <tuple>

#include "core/external_tool.h"

namespace {

using Olma::ByteVector;
using Olma::MessageList;
using testing::IsEmpty;

ByteVector Bytes(std::string_view text) {
  return ByteVector(text.begin(), text.end());
}

// Stored, compressible and incompressible data over several 4096-byte output steps.
std::vector<std::pair<std::string, std::string>> Samples() {
  std::mt19937 rng(11);
  std::string random(200000, '\0'), text;
  for (char& c : random) c = static_cast<char>(rng());
  while (text.size() < 300000)
    text += "line " + std::to_string(text.size() % 977) + ": the quick brown fox\n";
  return {{"empty", ""}, {"short", "hello, gzip"}, {"random", random}, {"text", text}};
}

void ExpectOneMessage(const MessageList& messages, const std::string& id,
                      const std::vector<std::string>& args) {
  ASSERT_EQ(messages.size(), 1u);
  EXPECT_EQ(messages.front().id(), id);
  EXPECT_THAT(messages.front().args(), testing::ElementsAreArray(args));
}

TEST(Gzip, InteroperatesWithSystemGzip) {
  for (const auto& [name, data] : Samples()) {
    SCOPED_TRACE(name);
    MessageList messages;
    for (int level : {-1, 0, 1, 6, 9}) {
      const ByteVector packed = Olma::Gzip::Compress(data, messages, level);
      EXPECT_TRUE(OlmaTest::RunTool("gzip -dc", {reinterpret_cast<const char*>(packed.data()),
                                                 packed.size()}) == std::make_pair(0, data))
          << "level " << level;
      EXPECT_TRUE(Olma::Gzip::Decompress(packed, messages) == data) << "level " << level;
    }
    const auto [exitCode, member] = OlmaTest::RunTool("gzip -9 -c", data);
    ASSERT_EQ(exitCode, 0);
    EXPECT_TRUE(Olma::Gzip::Decompress(Bytes(member + "trailing junk is ignored"), messages) == data);
    EXPECT_THAT(messages, IsEmpty());
  }
}

TEST(Gzip, LevelRules) {
  const std::string text = Samples()[3].second;
  MessageList messages;
  EXPECT_EQ(Olma::Gzip::Compress(text, messages), Olma::Gzip::Compress(text, messages, 9));
  EXPECT_NE(Olma::Gzip::Compress(text, messages, 6), Olma::Gzip::Compress(text, messages, 9));
  EXPECT_THAT(messages, IsEmpty());
  for (int level : {10, -2}) {
    messages.clear();
    EXPECT_THAT(Olma::Gzip::Compress("data", messages, level), IsEmpty());
    ExpectOneMessage(messages, "olma.compress.invalid.level", {std::to_string(level)});
    EXPECT_EQ(messages.front().defaultMessage(),
              "Invalid compression level " + std::to_string(level) + ", must be between 0 and 9.");
  }
}

TEST(Gzip, CutShortMemberFailsWithBufferError) {
  MessageList messages;
  const ByteVector packed = Olma::Gzip::Compress(Samples()[3].second, messages);
  for (std::size_t length : {std::size_t{0}, std::size_t{5}, packed.size() / 2, packed.size() - 1}) {
    SCOPED_TRACE(length);
    messages.clear();
    EXPECT_EQ(Olma::Gzip::Decompress(ByteVector(packed.begin(), packed.begin() + length), messages), "");
    ExpectOneMessage(messages, "olma.decompress.failed", {"-5", "NULL"});
    EXPECT_EQ(messages.front().defaultMessage(), "Error occurred during zlib decompression: (-5) NULL");
  }
}

TEST(Gzip, NonGzipInputReportsZlibsError) {
  const std::string text = Samples()[3].second;
  ByteVector zlibWrapped(compressBound(text.size()));
  uLongf size = zlibWrapped.size();
  ASSERT_EQ(compress2(zlibWrapped.data(), &size, reinterpret_cast<const Bytef*>(text.data()), text.size(), 9),
            Z_OK);
  zlibWrapped.resize(size);
  MessageList messages;
  ByteVector badTrailer = Olma::Gzip::Compress(text, messages);
  badTrailer[badTrailer.size() - 5] ^= 0xFF;  // the stored checksum

  const std::tuple<ByteVector, int, std::string> cases[] = {
      {Bytes("just some text"), Z_DATA_ERROR, "incorrect header check"},
      {zlibWrapped, Z_DATA_ERROR, "incorrect header check"},
      {badTrailer, Z_DATA_ERROR, "incorrect data check"},
  };
  for (const auto& [input, code, zlibText] : cases) {
    messages.clear();
    EXPECT_EQ(Olma::Gzip::Decompress(input, messages), "");
    ExpectOneMessage(messages, "olma.decompress.failed", {std::to_string(code), zlibText});
  }
}

}  // namespace
