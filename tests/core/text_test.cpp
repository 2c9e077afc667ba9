#include "olma/core/text.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

TEST(Text, DecodeHexAndInplaceLowerCoverEveryByte) {
  const std::string digits = "0123456789abcdef";
  std::string all(256, '\0'), expected(256, '\0');
  for (int c = 0; c < 256; ++c) {
    all[std::size_t(c)] = char(c);
    expected[std::size_t(c)] = char(c >= 'A' && c <= 'Z' ? c + 32 : c);
    const std::size_t at = digits.find(expected[std::size_t(c)]);
    EXPECT_EQ(Olma::DecodeHex(c), at == std::string::npos ? -1 : static_cast<int>(at)) << c;
  }
  for (int c : {-1, 256 + 'a', 256 + '0'}) EXPECT_EQ(Olma::DecodeHex(c), -1) << c;
  Olma::InplaceLower(all);
  EXPECT_EQ(all, expected);
}

TEST(Text, TrimCutsTheChosenEnds) {
  const std::string_view text = " \t\n\v\f\rab c \r\n";
  EXPECT_EQ(Olma::Trim(text), "ab c");
  EXPECT_EQ(Olma::Trim(text, Olma::ETrim::Left), "ab c \r\n");
  EXPECT_EQ(Olma::Trim(text, Olma::ETrim::Right), " \t\n\v\f\rab c");
  EXPECT_EQ(Olma::Trim(" \n\t ", Olma::ETrim::Left), "");
  EXPECT_EQ(Olma::Trim(" \n\t ", Olma::ETrim::Right), "");
  EXPECT_EQ(Olma::Trim("\xA0x\xA0"), "\xA0x\xA0");  // ASCII white space only, whatever the locale
}

TEST(Text, SplitStringDropsEmptyPieces) {
  const struct {
    std::string_view text, separator;
    std::vector<std::string_view> pieces;
  } cases[] = {
      {"a,,b,", ",", {"a", "b"}}, {",,,", ",", {}},      {"", ",", {}},
      {"abc", "", {"abc"}},       {"abc", ",", {"abc"}}, {"a::b:::c", "::", {"a", "b", ":c"}},
  };
  for (const auto& c : cases)
    EXPECT_THAT(Olma::SplitString(c.text, c.separator), testing::ElementsAreArray(c.pieces)) << c.text;
}

TEST(Text, StrICmpFoldsBit0x20AndStrLenStopsAtNul) {
  EXPECT_TRUE(Olma::StrICmp("ABC", "abc"));
  EXPECT_TRUE(Olma::StrICmp("", ""));
  EXPECT_TRUE(Olma::StrICmp("[", "{"));  // the cheap fold equates these too
  EXPECT_FALSE(Olma::StrICmp("ab", "abc"));
  EXPECT_FALSE(Olma::StrICmp("abc", "abd"));
  EXPECT_EQ(Olma::StrLen("abc\0def"), 3u);
  EXPECT_EQ(Olma::StrLen(nullptr), 0u);
}

}  // namespace
