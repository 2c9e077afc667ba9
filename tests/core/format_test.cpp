#include "olma/core/format.h"

#include <cstdio>
#include <sstream>
#include <tuple>
#include <vector>

#include <gtest/gtest.h>

namespace {

using Olma::Format;

std::error_code MoreSpecifiers() {
  return {3, Olma::GetFormatCategory()};
}

TEST(Format, TemplatesWithTwoArguments) {
  const int number = 7;
  const std::string text = "seven";
  const Olma::Detail::format_arg args[] = {Olma::Detail::make_format_arg(number),
                                           Olma::Detail::make_format_arg(text)};
  const std::tuple<const char*, const char*, bool> cases[] = {
      {"{1} and {1}", "7 and 7", false},
      {"{2}-{1}", "seven-7", false},
      {"{} {}", "7 seven", false},
      {"{2} {}", "seven seven", false},  // the counter advances after explicit fields too
      {"{abc} {0}", "7 seven", false},   // text that is not a number takes the next argument
      {"{2x}", "seven", false},          // the leading digits count
      {"{{{1}}}", "{7}", false},
      {"x}2", "xseven", false},  // a lone "}" opens a field that runs to the end
      {"open {", "open 7", false},
      {"", "", false},
      {"{}{}{}", "7seven", true},  // the partial text is kept
      {"{3}", "", true},
      {"{99999999999999999999999}", "", true},
  };
  for (const auto& [tmpl, expected, fails] : cases) {
    SCOPED_TRACE(tmpl);
    std::error_code ec;
    EXPECT_EQ(Olma::Detail::Format(tmpl, args, 2, ec), expected);
    EXPECT_EQ(ec, fails ? MoreSpecifiers() : std::error_code());
  }
  std::ostringstream out;
  std::error_code ec;
  Olma::Detail::FormatTo(out, "{} then {3}", args, 2, ec);
  EXPECT_EQ(out.str(), "7 then ");
  EXPECT_EQ(ec, MoreSpecifiers());
}

TEST(Format, ArithmeticConversions) {
  EXPECT_EQ(Format("{1:08x}", 255), "000000ff");
  EXPECT_EQ(Format("{1:5}", 255), "  255");
  EXPECT_EQ(Format("{}", -9223372036854775807LL - 1), "-9223372036854775808");
  EXPECT_EQ(Format("{1:x}", 18446744073709551615ULL), "ffffffffffffffff");
  EXPECT_EQ(Format("{1:.2f}", 3.14159), "3.14");
  EXPECT_EQ(Format("{} {}", true, false), "1 0");
  // The conversion is composed in a 16-byte buffer: 13 characters of specification still fit
  // with the conversion letter.
  EXPECT_EQ(Format("{1:0000000000008}", 7), "00000007");
  for (const double value :
       {0.1, 1.5, 2.675, 123456.7890125, -1e-7, -0.0000004, 0.0000005, 9.9999995, 1e20, 5e300, 1.0 / 0.0}) {
    char expected[400];
    std::snprintf(expected, sizeof(expected), "%lf", value);
    EXPECT_EQ(Format("{}", value), expected) << value;
  }
}

TEST(Format, StringsAndErrorCodes) {
  const std::string with_nul("a\0b", 3);
  EXPECT_EQ(Format("[{}|{1:s}]", with_nul), std::string("[a\0b|a\0b]", 9));
  EXPECT_EQ(Format("[{1:5}]", with_nul), "[    a]");  // printf sees the C string
  EXPECT_EQ(Format("[{1:-4}]", "ab"), "[ab  ]");
  EXPECT_EQ(Format("[{1:5}]", std::string_view("ab")), "[ab]");  // views ignore the conversion
  std::string mutable_text = "mutable";
  EXPECT_EQ(Format("{} {}", mutable_text.data(), "literal"), "mutable literal");

  EXPECT_EQ(Format("{}", MoreSpecifiers()), "Olma Format Error:3");
  EXPECT_EQ(Olma::StringOfError(MoreSpecifiers()), "Olma Format Error:3(More specifiers than expected.)");
  const boost::system::error_code boost_code(2, boost::system::generic_category());
  EXPECT_EQ(Olma::StringOfError(boost_code), boost_code.to_string() + "(" + boost_code.message() + ")");
}

TEST(FormatContainer, StackAndHeapArgumentArrays) {
  std::vector<std::string> strings;
  for (int i = 1; i <= 33; ++i) strings.push_back("s" + std::to_string(i));
  std::error_code ec;
  EXPECT_EQ(Olma::FormatContainer<32>("{1}/{33}", strings, ec), "s1/s33");  // arguments on the heap
  strings.pop_back();
  EXPECT_EQ(Olma::FormatContainer<32>("{1}/{32}", strings, ec), "s1/s32");  // on the stack
  EXPECT_FALSE(ec);
  EXPECT_EQ(Olma::FormatContainer<32>("{33}", strings, ec), "");
  EXPECT_EQ(ec, MoreSpecifiers());
}

TEST(FormatNamed, FillsNamesOrReturnsTemplateUnchanged) {
  const Olma::NamedArgs names = {{"name", "Bo"}, {"x y", "spaced"}};
  const std::tuple<const char*, const char*, int> cases[] = {
      {"Hi {name}", "Hi Bo", 0},     {"{{name}} {name}!", "{name} Bo!", 0},
      {"{x y}", "spaced", 0},        {"Hi {}", "Hi {}", 2},
      {"Hi {", "Hi {", 2},           {"Hi {x}", "Hi {x}", 1},
      {"{name} {x", "{name} {x", 1},
  };
  for (const auto& [tmpl, expected, error] : cases) {
    SCOPED_TRACE(tmpl);
    std::error_code ec;
    EXPECT_EQ(Olma::FormatNamed(tmpl, names, ec), expected);
    EXPECT_EQ(ec, error == 0 ? std::error_code() : std::error_code(error, Olma::GetFormatCategory()));
  }
}

TEST(PrintfLikeFmtToOlmaFmt, ConvertsPlainForms) {
  const std::pair<const char*, const char*> cases[] = {
      {"%s", "{}"},       {"%d", "{}"},      {"%5d", "{:5}"},         {"%x", "{:x}"},
      {"%5x", "{:5x}"},   {"%2$s", "{2}"},   {"%2$5d", "{2:5}"},      {"%1$x", "{1:x}"},
      {"%5.2f", "{:52}"}, {"100%%", "100%"}, {"%ld", "{{}"},          {"{%s}", "{{}}"},
      {"%5", "{"},        {"%0$s", "{}"},    {"%9999999999$s", "{}"}, {"a%sb%dc", "a{}b{}c"},
  };
  for (const auto& [printf_form, brace_form] : cases)
    EXPECT_EQ(Olma::FormatHelper::PrintfLikeFmtToOlmaFmt(printf_form), brace_form) << printf_form;
}

TEST(CheckConvert, ReportsToolsCategoryCodes) {
  int value = -1;
  std::error_code ec;
  EXPECT_TRUE(Olma::Detail::CheckConvert("123", value, ec));
  EXPECT_EQ(value, 123);
  EXPECT_FALSE(ec);
  for (const auto& [text, code] : {std::pair("12a", 1), std::pair("", 1), std::pair("99999999999", 2)}) {
    EXPECT_FALSE(Olma::Detail::CheckConvert(text, value, ec));
    EXPECT_EQ(ec, std::error_code(code, Olma::GetToolsCategory())) << text;
  }
  EXPECT_EQ(value, 123);
}

}  // namespace
