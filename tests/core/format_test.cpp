#include "olma/core/format.h"

#include <sstream>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using Olma::Format;

std::error_code MoreSpecifiers() {
  return {3, Olma::GetFormatCategory()};
}

// Formats with two arguments (an int and a string) and reports the error code.
std::string FormatTwo(std::string_view tmpl, std::error_code& ec) {
  const int number = 7;
  const std::string text = "seven";
  const Olma::Detail::format_arg args[] = {Olma::Detail::make_format_arg(number),
                                           Olma::Detail::make_format_arg(text)};
  return Olma::Detail::Format(tmpl, args, 2, ec);
}

TEST(Format, TemplatesWithTwoArguments) {
  struct Case {
    const char* tmpl;
    const char* expected;
    bool fails;
  } const cases[] = {
      {"{1} and {1}", "7 and 7", false},
      {"{2}-{1}", "seven-7", false},
      {"{} {}", "7 seven", false},
      {"{2} {}", "seven seven", false},  // the counter advances after explicit fields too
      {"{abc} {0}", "7 seven", false},   // text that is not a number takes the next argument
      {"{{}}", "{}", false},
      {"{{{1}}}", "{7}", false},
      {"a}b", "a7", false},  // the lone brace swallows "b", which selects the next argument
      {"x}2", "xseven", false},
      {"{}{}{}", "7seven", true},
      {"{3}", "", true},
      {"open {", "open 7", false},
      {"", "", false},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.tmpl);
    std::error_code ec;
    EXPECT_EQ(FormatTwo(c.tmpl, ec), c.expected);
    EXPECT_EQ(ec, c.fails ? MoreSpecifiers() : std::error_code());
  }
}

TEST(Format, ArithmeticConversions) {
  EXPECT_EQ(Format("{1:x}", 255), "ff");
  EXPECT_EQ(Format("{1:08x}", 255), "000000ff");
  EXPECT_EQ(Format("{1:5}", 255), "  255");
  EXPECT_EQ(Format("{1:-5}|", 42), "42   |");
  EXPECT_EQ(Format("{}", -2147483647 - 1), "-2147483648");
  EXPECT_EQ(Format("{}", -9223372036854775807LL - 1), "-9223372036854775808");
  EXPECT_EQ(Format("{1:.2f}", 3.14159), "3.14");
  EXPECT_EQ(Format("{}", 1.5), "1.500000");
  EXPECT_EQ(Format("{}", -0.0000004), "-0.000000");
  EXPECT_EQ(Format("{}", 1e20), "100000000000000000000.000000");
  EXPECT_EQ(Format("{}", 1.0 / 0.0), "inf");
  EXPECT_EQ(Format("{} {}", true, false), "1 0");
  EXPECT_EQ(Format("{1:x}", 18446744073709551615ULL), "ffffffffffffffff");
  // The conversion is composed in a 16-byte buffer: 13 characters of specification still fit
  // with the conversion letter.
  EXPECT_EQ(Format("{1:0000000000008}", 7), "00000007");
}

TEST(Format, DoubleDefaultMatchesPrintf) {
  for (const double value : {0.1, 2.675, 123456.7890125, -1e-7, 5e300, 0.0000005, 9.9999995}) {
    char expected[400];
    std::snprintf(expected, sizeof(expected), "%lf", value);
    EXPECT_EQ(Format("{}", value), expected) << value;
  }
}

TEST(Format, Strings) {
  const std::string with_nul("a\0b", 3);
  EXPECT_EQ(Format("[{}]", with_nul), std::string("[a\0b]", 5));
  EXPECT_EQ(Format("[{1:s}]", with_nul), std::string("[a\0b]", 5));
  EXPECT_EQ(Format("[{1:5}]", with_nul), "[    a]");  // printf sees the C string
  EXPECT_EQ(Format("[{1:-4}]", "ab"), "[ab  ]");
  EXPECT_EQ(Format("[{1:5}]", std::string_view("ab")), "[ab]");  // views ignore the conversion
  char mutable_text[] = "mutable";
  char* pointer = mutable_text;
  EXPECT_EQ(Format("{} {}", pointer, "literal"), "mutable literal");
}

TEST(Format, ErrorCodes) {
  EXPECT_EQ(Format("{}", MoreSpecifiers()), "Olma Format Error:3");
  EXPECT_EQ(Olma::StringOfError(MoreSpecifiers()), "Olma Format Error:3(More specifiers than expected.)");
  const boost::system::error_code boost_code(2, boost::system::generic_category());
  EXPECT_EQ(Olma::StringOfError(boost_code), boost_code.to_string() + "(" + boost_code.message() + ")");
}

TEST(Format, StreamOutputKeepsPartialText) {
  std::ostringstream out;
  std::error_code ec;
  const int one = 1;
  const Olma::Detail::format_arg args[] = {Olma::Detail::make_format_arg(one)};
  Olma::Detail::FormatTo(out, "{} then {}", args, 1, ec);
  EXPECT_EQ(out.str(), "1 then ");
  EXPECT_EQ(ec, MoreSpecifiers());
}

TEST(Format, ParsingHelpers) {
  std::size_t consumed = 0;
  EXPECT_EQ(Olma::Detail::format_atoi("42x", &consumed), 42u);
  EXPECT_EQ(consumed, 2u);
  EXPECT_EQ(Olma::Detail::format_atoi("abc"), 0u);
  EXPECT_EQ(Olma::Detail::format_atoi(std::string(30, '9')), 18446744073709551615ULL);
  const auto field = Olma::Detail::parse_field("2:08x");
  EXPECT_EQ(field.number, 2u);
  EXPECT_EQ(field.spec, "08x");
  EXPECT_EQ(Olma::Detail::parse_field("3:").spec, "");
  EXPECT_EQ(Olma::Detail::format_substr("abcdef", 2, 4), "cd");
  EXPECT_EQ(Olma::Detail::format_substr("abc", 5, 9), "");
  EXPECT_EQ(Olma::Detail::format_substr("abc", 1, 99), "bc");
}

TEST(FormatContainer, StackAndHeapArgumentArrays) {
  std::vector<std::string> strings;
  for (int i = 1; i <= 40; ++i) strings.push_back("s" + std::to_string(i));
  for (const std::size_t count : {std::size_t{1}, std::size_t{32}, std::size_t{33}, std::size_t{40}}) {
    SCOPED_TRACE(count);
    const std::vector<std::string> some(strings.begin(), strings.begin() + static_cast<long>(count));
    std::error_code ec;
    const std::string tmpl = "{1}/{" + std::to_string(count) + "}";
    EXPECT_EQ(Olma::FormatContainer<32>(tmpl, some, ec), "s1/s" + std::to_string(count));
    EXPECT_FALSE(ec);
    EXPECT_EQ(Olma::FormatContainer<32>("{" + std::to_string(count + 1) + "}", some, ec), "");
    EXPECT_EQ(ec, MoreSpecifiers());
  }
}

TEST(FormatNamed, FillsNamesOrReturnsTemplateUnchanged) {
  const Olma::NamedArgs names = {{"name", "Bo"}, {"x y", "spaced"}};
  struct Case {
    const char* tmpl;
    const char* expected;
    int error;
  } const cases[] = {
      {"Hi {name}", "Hi Bo", 0},
      {"{{name}} {name}!", "{name} Bo!", 0},
      {"{x y}", "spaced", 0},
      {"Hi {}", "Hi {}", 2},
      {"Hi {", "Hi {", 2},
      {"Hi {x}", "Hi {x}", 1},
      {"{name} {missing", "{name} {missing", 1},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.tmpl);
    std::error_code ec;
    EXPECT_EQ(Olma::FormatNamed(c.tmpl, names, ec), c.expected);
    EXPECT_EQ(ec.value(), c.error);
    if (c.error != 0) {
      EXPECT_EQ(&ec.category(), &Olma::GetFormatCategory());
    }
  }
}

TEST(PrintfLikeFmtToOlmaFmt, ConvertsPlainForms) {
  struct Case {
    const char* printf_form;
    const char* brace_form;
  } const cases[] = {
      {"%s", "{}"},
      {"%d", "{}"},
      {"%5d", "{:5}"},
      {"%x", "{:x}"},
      {"%5x", "{:5x}"},
      {"%2$s", "{2}"},
      {"%2$5d", "{2:5}"},
      {"%1$x", "{1:x}"},
      {"%5.2f", "{:52}"},
      {"100%%", "100%"},
      {"a %s b %d c", "a {} b {} c"},
      {"%ld", "{{}"},
      {"{%s}", "{{}}"},
      {"%5", "{"},
      {"%0$s", "{}"},
      {"%99999999999$s", "{}"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.printf_form);
    EXPECT_EQ(Olma::FormatHelper::PrintfLikeFmtToOlmaFmt(c.printf_form), c.brace_form);
  }
}

TEST(CheckConvert, ReportsToolsCategoryCodes) {
  int value = -1;
  std::error_code ec;
  EXPECT_TRUE(Olma::Detail::CheckConvert("123", value, ec));
  EXPECT_EQ(value, 123);
  EXPECT_FALSE(Olma::Detail::CheckConvert("12a", value, ec));
  EXPECT_EQ(ec, std::error_code(1, Olma::GetToolsCategory()));
  EXPECT_FALSE(Olma::Detail::CheckConvert("", value, ec));
  EXPECT_EQ(ec.value(), 1);
  EXPECT_FALSE(Olma::Detail::CheckConvert("99999999999", value, ec));
  EXPECT_EQ(ec, std::error_code(2, Olma::GetToolsCategory()));
  EXPECT_EQ(value, 123);
}

}  // namespace
