#include "olma/core/secret_string.h"

#include <gtest/gtest.h>

#include <set>
#include <string>
#include <utility>

namespace {

using Olma::SecretString;

TEST(SecretString, CopiesItsSourceIntoItsOwnBuffer) {
  std::string source = "hunter2-but-longer-than-small-strings";
  const SecretString fromString(source);
  const SecretString fromView{std::string_view(source).substr(0, 7)};
  const SecretString fromChars(source.c_str());
  EXPECT_NE(fromString.str().data(), source.data());
  source.assign(source.size(), 'x');
  EXPECT_EQ(fromString.str(), "hunter2-but-longer-than-small-strings");
  EXPECT_EQ(fromView.str(), "hunter2");
  EXPECT_EQ(fromChars.size(), 37u);
  EXPECT_STREQ(fromView.c_str(), "hunter2");

  const SecretString withNul(std::string("a\0b", 3));
  EXPECT_EQ(withNul.size(), 3u);
  EXPECT_TRUE(SecretString(static_cast<const char*>(nullptr)).empty());
  EXPECT_TRUE(SecretString().empty());
  EXPECT_STREQ(SecretString().c_str(), "");
}

TEST(SecretString, CopyAndMoveKeepValuesApart) {
  SecretString a("alpha");
  SecretString b(a);
  EXPECT_EQ(a, b);
  EXPECT_NE(a.str().data(), b.str().data());

  SecretString c(std::move(a));
  EXPECT_EQ(c.str(), "alpha");
  EXPECT_TRUE(a.empty());  // NOLINT(bugprone-use-after-move): moved-from state is specified

  b = SecretString("beta");
  c = b;
  EXPECT_EQ(c.str(), "beta");
  c = c;
  EXPECT_EQ(c.str(), "beta");
  b = std::move(c);
  EXPECT_EQ(b.str(), "beta");
  EXPECT_TRUE(c.empty());  // NOLINT(bugprone-use-after-move)
}

TEST(SecretString, ComparesByContent) {
  const std::set<SecretString> ordered{SecretString("b"), SecretString("a"), SecretString("ab"),
                                       SecretString("")};
  std::string joined;
  for (const auto& s : ordered) joined.append(s.str()).append("|");
  EXPECT_EQ(joined, "|a|ab|b|");
  EXPECT_FALSE(SecretString("a") == SecretString("A"));
  EXPECT_TRUE(SecretString("a") < SecretString("b"));
  EXPECT_FALSE(SecretString("b") < SecretString("a"));
}

}  // namespace
