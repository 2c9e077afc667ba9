#include "olma/core/gzip.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <zlib.h>

#include <random>
#include <string>

#include "core/external_tool.h"

namespace {

using Olma::ByteVector;
using Olma::MessageList;
using ::testing::ElementsAre;

std::string AsText(const ByteVector& bytes) {
  return std::string(bytes.begin(), bytes.end());
}

ByteVector AsBytes(std::string_view text) {
  return ByteVector(text.begin(), text.end());
}

// Inputs that exercise stored, well-compressible and incompressible data across several
// 4096-byte output steps.
std::vector<std::pair<std::string, std::string>> Samples() {
  std::mt19937 rng(11);
  std::string random(200000, '\0');
  for (char& c : random) c = static_cast<char>(rng());
  std::string text;
  while (text.size() < 300000)
    text += "line " + std::to_string(text.size() % 977) + ": the quick brown fox\n";
  return {{"empty", ""}, {"short", "hello, gzip"}, {"random", random}, {"text", text}};
}

// What zlib itself reports when inflating `data` as gzip: the reference for error texts.
std::pair<int, std::string> ZlibInflateFailure(const ByteVector& data) {
  z_stream stream{};
  inflateInit2(&stream, 31);
  stream.next_in = const_cast<Bytef*>(data.data());
  stream.avail_in = static_cast<uInt>(data.size());
  Bytef out[4096];
  int ret;
  do {
    stream.next_out = out;
    stream.avail_out = sizeof out;
    ret = inflate(&stream, Z_NO_FLUSH);
  } while (ret == Z_OK);
  std::pair<int, std::string> result{ret, stream.msg != nullptr ? stream.msg : "NULL"};
  inflateEnd(&stream);
  return result;
}

TEST(Gzip, SystemGzipReadsWhatCompressWrites) {
  for (const auto& [name, data] : Samples()) {
    for (int level : {-1, 0, 1, 6, 9}) {
      SCOPED_TRACE(name + " level " + std::to_string(level));
      MessageList messages;
      const ByteVector packed = Olma::Gzip::Compress(data, messages, level);
      EXPECT_THAT(messages, ::testing::IsEmpty());
      const auto tool = OlmaTest::RunTool("gzip -dc", AsText(packed));
      EXPECT_EQ(tool.exitCode, 0);
      EXPECT_TRUE(tool.out == data);
      EXPECT_TRUE(Olma::Gzip::Decompress(packed, messages) == data);
      EXPECT_THAT(messages, ::testing::IsEmpty());
    }
  }
}

TEST(Gzip, DecompressReadsSystemGzipOutput) {
  for (const auto& [name, data] : Samples()) {
    SCOPED_TRACE(name);
    const auto tool = OlmaTest::RunTool("gzip -9 -c", data);
    ASSERT_EQ(tool.exitCode, 0);
    MessageList messages;
    // Bytes after the member are ignored.
    EXPECT_TRUE(Olma::Gzip::Decompress(AsBytes(tool.out + "trailing junk"), messages) == data);
    EXPECT_THAT(messages, ::testing::IsEmpty());
  }
}

TEST(Gzip, DefaultLevelIsBestCompression) {
  const std::string text = Samples()[3].second;
  MessageList messages;
  EXPECT_EQ(Olma::Gzip::Compress(text, messages), Olma::Gzip::Compress(text, messages, 9));
  EXPECT_NE(Olma::Gzip::Compress(text, messages, 6), Olma::Gzip::Compress(text, messages, 9));
  EXPECT_THAT(messages, ::testing::IsEmpty());
}

TEST(Gzip, InvalidLevelIsReported) {
  for (int level : {10, -2, 1000}) {
    SCOPED_TRACE(level);
    MessageList messages;
    EXPECT_TRUE(Olma::Gzip::Compress("data", messages, level).empty());
    ASSERT_EQ(messages.size(), 1u);
    EXPECT_EQ(messages.front().id(), "olma.compress.invalid.level");
    EXPECT_THAT(messages.front().args(), ElementsAre(std::to_string(level)));
    EXPECT_EQ(messages.front().defaultMessage(),
              "Invalid compression level " + std::to_string(level) + ", must be between 0 and 9.");
  }
}

TEST(Gzip, CutShortMemberFailsWithBufferError) {
  MessageList messages;
  const ByteVector packed = Olma::Gzip::Compress(Samples()[3].second, messages);
  for (std::size_t length : {std::size_t{0}, std::size_t{5}, std::size_t{10}, packed.size() / 2,
                             packed.size() - 8, packed.size() - 1}) {
    SCOPED_TRACE(length);
    messages.clear();
    EXPECT_EQ(Olma::Gzip::Decompress(ByteVector(packed.begin(), packed.begin() + length), messages), "");
    ASSERT_EQ(messages.size(), 1u);
    EXPECT_EQ(messages.front().id(), "olma.decompress.failed");
    EXPECT_THAT(messages.front().args(), ElementsAre("-5", "NULL"));
    EXPECT_EQ(messages.front().defaultMessage(), "Error occurred during zlib decompression: (-5) NULL");
  }
}

TEST(Gzip, NonGzipInputReportsZlibError) {
  std::string text = Samples()[3].second;
  ByteVector zlibWrapped(compressBound(static_cast<uLong>(text.size())));
  uLongf size = zlibWrapped.size();
  ASSERT_EQ(compress2(zlibWrapped.data(), &size, reinterpret_cast<const Bytef*>(text.data()),
                      static_cast<uLong>(text.size()), 9),
            Z_OK);
  zlibWrapped.resize(size);
  MessageList packing;
  ByteVector corrupted = Olma::Gzip::Compress(text, packing);
  corrupted[corrupted.size() - 5] ^= 0xFF;  // checksum / length trailer

  const std::pair<std::string, ByteVector> cases[] = {
      {"plain text", AsBytes("just some text, not compressed")},
      {"zlib-wrapped", zlibWrapped},
      {"bad trailer", corrupted},
  };
  for (const auto& [name, input] : cases) {
    SCOPED_TRACE(name);
    const auto [code, text_] = ZlibInflateFailure(input);
    ASSERT_NE(text_, "NULL");
    MessageList messages;
    EXPECT_EQ(Olma::Gzip::Decompress(input, messages), "");
    ASSERT_EQ(messages.size(), 1u);
    EXPECT_EQ(messages.front().id(), "olma.decompress.failed");
    EXPECT_THAT(messages.front().args(), ElementsAre(std::to_string(code), text_));
  }
}

}  // namespace
