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

TEST(Format, RefusesSpecificationsThatDoNotFitTheArgument) {
  const int number = 5;
  const double real = 2.5;
  const std::string text = "abcdefgh";
  const char* c_text = "xyz";
  const Olma::Detail::format_arg args[] = {
      Olma::Detail::make_format_arg(number), Olma::Detail::make_format_arg(real),
      Olma::Detail::make_format_arg(text), Olma::Detail::make_format_arg(c_text)};
  const char* const refused[] = {
      "<{1:n}>",
      "<{1:s}>",
      "<{1:*d}>",
      "<{1:%d}>",
      "<{1:d%s}>",
      "<{1:f}>",
      "<{1:#d}>",
      "<{1:4097}>",
      "<{1:.4097d}>",
      "<{1:999999999}>",
      "<{2:.999999999f}>",
      "<{2:d}>",
      "<{2:n}>",
      "<{2:Ls}>",
      "<{3:n}>",
      "<{3:s%s%s%s}>",
      "<{3:ls}>",
      "<{3:+5}>",
      "<{3:d}>",
      "<{4:p}>",
      "<{4:.3x}>",
      "<{1:5d }>",
      "<{1:0000000000000000000000000000000000000005}>",  // longer than the limit
  };
  for (const char* tmpl : refused) {
    SCOPED_TRACE(tmpl);
    std::error_code ec;
    EXPECT_EQ(Olma::Detail::Format(tmpl, args, 4, ec), "<");
    EXPECT_EQ(ec, Olma::FormatError::InvalidSpecification);
  }
  std::error_code ec;
  EXPECT_EQ(Olma::Detail::Format(std::string_view("{1:5\0d}", 7), args, 4, ec), "");
  EXPECT_EQ(ec, Olma::FormatError::InvalidSpecification);

  std::vector<std::string> strings = {"abcdefgh"};
  const std::string before = strings.front();
  EXPECT_EQ(Olma::FormatContainer<32>("{1:n}", strings, ec), "");
  EXPECT_EQ(strings.front(), before);

  // The bound itself is accepted, and a length modifier never widens what printf reads.
  EXPECT_EQ(Format("{1:4096}", 1), std::string(4095, ' ') + "1");
  EXPECT_EQ(Format("{1:.4096f}", 0.5), "0.5" + std::string(4095, '0'));
  EXPECT_EQ(Format("{1:lld}|{1:hx}|{1:-+5d}|{1:#o}", 300), "300|12c|+300 |0454");
  EXPECT_EQ(Format("{1:Lf}|{1:.3e}|{1:G}", 1.5), "1.500000|1.500e+00|1.5");
  EXPECT_EQ(Format("{1:.2s}|{1:-3}|", "abc"), "ab|abc|");
}

TEST(Format, SmallArithmeticTypes) {
  EXPECT_EQ(Format("{}|{1:c}|{1:d}|{1:3}", 'x'), "x|x|120|  x");
  EXPECT_EQ(Format("{} {} {} {}", std::int8_t(-7), std::uint8_t(200), static_cast<signed char>(65),
                   static_cast<unsigned char>(66)),
            "-7 200 65 66");
  EXPECT_EQ(Format("{} {1:x} {2}", short(-300), static_cast<unsigned short>(65535)), "-300 fffffed4 65535");
  EXPECT_EQ(Format("{} {1:.1f}", 0.25f), "0.250000 0.2");
}

TEST(Format, ErrorEnumsCompareWithErrorCodes) {
  std::error_code ec;
  EXPECT_EQ(Olma::Detail::Format("{2}", nullptr, 0, ec), "");
  EXPECT_EQ(ec, Olma::FormatError::MoreSpecifiersThanExpected);
  const std::error_code tools = Olma::ToolsError::OutOfRange;
  EXPECT_EQ(tools, std::error_code(2, Olma::GetToolsCategory()));
  EXPECT_EQ(std::error_code(Olma::DateTimeError::CreateFailed).message(), "Failed to create DateTime.");
  EXPECT_EQ(std::error_code(Olma::FormatError::InvalidSpecification).message(), "format error");
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
