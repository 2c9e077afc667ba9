#include "olma/core/secret_string.h"

#include <gtest/gtest.h>

#include <utility>

namespace {

using Olma::SecretString;

TEST(SecretString, OwnsACopyThroughCopiesAndMoves) {
  std::string source = "hunter2 but longer than the small-string buffer";
  SecretString a(source);
  source.assign(source.size(), 'x');
  EXPECT_EQ(a.str(), "hunter2 but longer than the small-string buffer");
  EXPECT_EQ(SecretString(std::string_view(source).substr(0, 3)).str(), "xxx");
  EXPECT_STREQ(SecretString("abc").c_str(), "abc");
  EXPECT_EQ(SecretString(std::string("a\0b", 3)).size(), 3u);
  EXPECT_TRUE(SecretString(static_cast<const char*>(nullptr)).empty());

  SecretString b(a);
  EXPECT_NE(a.str().data(), b.str().data());
  SecretString c(std::move(a));
  EXPECT_TRUE(a.empty());  // moved-from secrets are empty, not shared
  b = SecretString("beta");
  c = b;
  c = std::as_const(c);
  EXPECT_EQ(c.str(), "beta");
  b = std::move(c);
  EXPECT_EQ(b.str(), "beta");
  EXPECT_TRUE(c.empty());
}

TEST(SecretString, ComparesBytewiseByContent) {
  EXPECT_LT(SecretString(""), SecretString("a"));
  EXPECT_LT(SecretString("a"), SecretString("ab"));
  EXPECT_LT(SecretString("ab"), SecretString("b"));
  EXPECT_EQ(SecretString("a"), SecretString(std::string("a")));
  EXPECT_NE(SecretString("a"), SecretString("A"));
}

}  // namespace
