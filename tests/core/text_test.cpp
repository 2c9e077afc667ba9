#include "olma/core/text.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

namespace {

using ::testing::ElementsAre;
using ::testing::ElementsAreArray;
using ::testing::IsEmpty;

TEST(Text, DecodeHexCoversEveryByte) {
  const std::string digits = "0123456789abcdef";
  for (int c = -1; c < 256; ++c) {
    SCOPED_TRACE(c);
    const auto lower = digits.find(static_cast<char>(c >= 'A' && c <= 'Z' ? c + 32 : c));
    const int expected = c >= 0 && lower != std::string::npos ? static_cast<int>(lower) : -1;
    EXPECT_EQ(Olma::DecodeHex(c), expected);
  }
  EXPECT_EQ(Olma::DecodeHex('g'), -1);
  EXPECT_EQ(Olma::DecodeHex('F'), 15);
  EXPECT_EQ(Olma::DecodeHex('0' + 256), -1);
}

TEST(Text, TrimCutsTheChosenEnds) {
  struct Case {
    std::string_view text;
    Olma::ETrim mode;
    std::string_view expected;
  };
  const Case cases[] = {
      {" \t\n\v\f\rab c \r\n", Olma::ETrim::Both, "ab c"},
      {"  ab  ", Olma::ETrim::Left, "ab  "},
      {"  ab  ", Olma::ETrim::Right, "  ab"},
      {" \n\t ", Olma::ETrim::Both, ""},
      {" \n\t ", Olma::ETrim::Left, ""},
      {"", Olma::ETrim::Both, ""},
      {"\xA0x\xA0", Olma::ETrim::Both, "\xA0x\xA0"},  // only ASCII white space
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.text);
    EXPECT_EQ(Olma::Trim(c.text, c.mode), c.expected);
  }
}

TEST(Text, SplitStringDropsEmptyPieces) {
  struct Case {
    std::string_view text;
    std::string_view separator;
    std::vector<std::string_view> pieces;
  };
  const Case cases[] = {
      {"a,,b,", ",", {"a", "b"}},
      {",,,", ",", {}},
      {"", ",", {}},
      {"abc", "", {"abc"}},
      {"abc", ",", {"abc"}},
      {"en-US, de;q=0.5", ", ", {"en-US", "de;q=0.5"}},
      {"a::b:::c", "::", {"a", "b", ":c"}},
      {"::a::", "::", {"a"}},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.text);
    EXPECT_THAT(Olma::SplitString(c.text, c.separator), ElementsAreArray(c.pieces));
  }
}

TEST(Text, StrICmpFoldsBit0x20) {
  EXPECT_TRUE(Olma::StrICmp("ABC", "abc"));
  EXPECT_TRUE(Olma::StrICmp("Content-Type", "content-type"));
  EXPECT_TRUE(Olma::StrICmp("", ""));
  EXPECT_TRUE(Olma::StrICmp("[", "{"));  // the cheap fold equates these too
  EXPECT_FALSE(Olma::StrICmp("ab", "abc"));
  EXPECT_FALSE(Olma::StrICmp("abc", "abd"));
}

TEST(Text, InplaceLowerChangesOnlyAsciiCapitals) {
  std::string all(256, '\0');
  for (int i = 0; i < 256; ++i) all[static_cast<std::size_t>(i)] = static_cast<char>(i);
  std::string lowered = all;
  Olma::InplaceLower(lowered);
  for (int i = 0; i < 256; ++i) {
    const char expected = i >= 'A' && i <= 'Z' ? static_cast<char>(i + 32) : static_cast<char>(i);
    EXPECT_EQ(lowered[static_cast<std::size_t>(i)], expected) << i;
  }
  char buffer[] = "EN-us";
  Olma::InplaceLower(buffer, 2);
  EXPECT_STREQ(buffer, "en-us");
}

TEST(Text, StrLenStopsAtFirstNul) {
  EXPECT_EQ(Olma::StrLen("abc\0def"), 3u);
  EXPECT_EQ(Olma::StrLen(""), 0u);
  EXPECT_EQ(Olma::StrLen(nullptr), 0u);
}

}  // namespace
