#include "olma/core/text.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

namespace {

TEST(Text, DecodeHexCoversEveryByte) {
  const std::string digits = "0123456789abcdef", capitals = "0123456789ABCDEF";
  for (int c = -1; c < 300; ++c) {
    const auto at =
        c < 0 || c > 255 ? std::string::npos : std::min(digits.find(char(c)), capitals.find(char(c)));
    EXPECT_EQ(Olma::DecodeHex(c), at == std::string::npos ? -1 : static_cast<int>(at)) << c;
  }
}

TEST(Text, TrimCutsTheChosenEnds) {
  const struct {
    std::string_view text;
    Olma::ETrim mode;
    std::string_view expected;
  } cases[] = {
      {" \t\n\v\f\rab c \r\n", Olma::ETrim::Both, "ab c"},
      {"  ab  ", Olma::ETrim::Left, "ab  "},
      {"  ab  ", Olma::ETrim::Right, "  ab"},
      {" \n\t ", Olma::ETrim::Left, ""},
      {"", Olma::ETrim::Both, ""},
      {"\xA0x\xA0", Olma::ETrim::Both, "\xA0x\xA0"},
  };
  for (const auto& c : cases) EXPECT_EQ(Olma::Trim(c.text, c.mode), c.expected) << c.text;
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

TEST(Text, StrICmpFoldsBit0x20) {
  EXPECT_TRUE(Olma::StrICmp("ABC", "abc"));
  EXPECT_TRUE(Olma::StrICmp("", ""));
  EXPECT_TRUE(Olma::StrICmp("[", "{"));  // the cheap fold equates these too
  EXPECT_FALSE(Olma::StrICmp("ab", "abc"));
  EXPECT_FALSE(Olma::StrICmp("abc", "abd"));
}

TEST(Text, InplaceLowerChangesOnlyAsciiCapitalsAndStrLenStopsAtNul) {
  std::string all(256, '\0'), expected(256, '\0');
  for (int i = 0; i < 256; ++i) {
    all[std::size_t(i)] = char(i);
    expected[std::size_t(i)] = char(i >= 'A' && i <= 'Z' ? i + 32 : i);
  }
  Olma::InplaceLower(all);
  EXPECT_EQ(all, expected);
  EXPECT_EQ(Olma::StrLen("abc\0def"), 3u);
  EXPECT_EQ(Olma::StrLen(nullptr), 0u);
}

}  // namespace
