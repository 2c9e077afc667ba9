#include "olma/core/format.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <memory>
#include <ostream>
#include <type_traits>

#include "core/template_scanner.h"
#include "olma/core/finally.h"

namespace Olma {
namespace Detail {

namespace {

bool IsDigit(char c) {
  return c >= '0' && c <= '9';
}

// The argument number of a field: plain digits (the usual case) are read here; anything
// else goes through format_atoi, whose leniency (blanks, signs) is part of the contract.
std::uint64_t FieldNumber(std::string_view text) {
  if (text.empty()) return 0;
  if (text.size() <= 19) {
    std::uint64_t number = 0;
    for (const char c : text) {
      if (!IsDigit(c)) return format_atoi(text);
      number = number * 10 + static_cast<std::uint64_t>(c - '0');
    }
    return number;
  }
  return format_atoi(text);
}

}  // namespace

parsed_field parse_field(std::string_view text) {
  const std::size_t colon = text.find(':');
  if (colon == std::string_view::npos) return {FieldNumber(text), {}};
  return {FieldNumber(text.substr(0, colon)), text.substr(colon + 1)};
}

std::uint64_t format_atoi(std::string_view text, std::size_t* consumed) {
  char buffer[21] = {};
  if (!text.empty()) std::memcpy(buffer, text.data(), std::min<std::size_t>(text.size(), 20));
  char* end = buffer;
  const unsigned long long value = std::strtoull(buffer, &end, 10);
  if (consumed != nullptr) *consumed = static_cast<std::size_t>(end - buffer);
  return value;
}

std::string_view format_substr(std::string_view view, std::size_t pos, std::size_t end) {
  if (pos >= view.size()) return {};
  return view.substr(pos, end - pos);
}

void FormatTo(FormatOutput& out, std::string_view tmpl, const format_arg* args, std::size_t count,
              std::error_code& ec) {
  std::size_t automatic = 0;
  ScanTemplate(tmpl, out, LoneCloseBrace::SwallowsRest, [&](std::string_view field) {
    const parsed_field parsed = parse_field(field);
    const std::uint64_t index = parsed.number != 0 ? parsed.number - 1 : automatic;
    if (index >= count) {
      ec = FormatError::MoreSpecifiersThanExpected;
      return false;
    }
    if (!args[index].format(out, parsed.spec, args[index].value)) {
      ec = FormatError::InvalidSpecification;
      return false;
    }
    ++automatic;
    return true;
  });
}

void FormatTo(std::ostream& out, std::string_view tmpl, const format_arg* args, std::size_t count,
              std::error_code& ec) {
  std::string text;
  FormatTo(text, tmpl, args, count, ec);
  out.write(text.data(), static_cast<std::streamsize>(text.size()));
}

std::string Format(std::string_view tmpl, const format_arg* args, std::size_t count, std::error_code& ec) {
  std::string out;
  out.reserve(tmpl.size() + 16 * count);
  FormatTo(out, tmpl, args, count, ec);
  return out;
}

namespace {

// What a conversion specification may ask of an argument, by the argument's type.
enum class ArgumentClass { Integer, Character, Floating, Text };

// A well-formed specification taken apart. Only these parts reach printf, recomposed with
// the argument's own length modifier, so no text of the template is ever read by printf
// as a conversion of its own.
struct Conversion {
  char flags[5] = {};
  std::size_t flagCount = 0;
  int width = -1;
  int precision = -1;
  char letter = 0;  // 0: the type's default conversion
};

bool HasFlag(const Conversion& conversion, char flag) {
  return std::string_view(conversion.flags, conversion.flagCount).find(flag) != std::string_view::npos;
}

// Reads the digits at the front of `spec` into `value`; false when it exceeds the bound.
bool ReadBounded(std::string_view& spec, int& value) {
  value = 0;
  while (!spec.empty() && IsDigit(spec.front())) {
    value = value * 10 + (spec.front() - '0');
    if (value > kMaxFormatWidth) return false;
    spec.remove_prefix(1);
  }
  return true;
}

bool LetterFits(ArgumentClass kind, const Conversion& conversion) {
  const char letter = conversion.letter;
  const auto only_minus_flag = [&] {
    return conversion.flagCount == 0 || (conversion.flagCount == 1 && conversion.flags[0] == '-');
  };
  const auto is_integer_letter = [&] {
    return std::string_view("diouxX").find(letter) != std::string_view::npos;
  };
  switch (kind) {
    case ArgumentClass::Integer:
      if (letter != 0 && !is_integer_letter()) return false;
      // The alternative form exists only for octal and hexadecimal.
      return !HasFlag(conversion, '#') || (letter == 'o' || letter == 'x' || letter == 'X');
    case ArgumentClass::Character:
      if (letter == 0 || letter == 'c') return only_minus_flag() && conversion.precision < 0;
      return is_integer_letter() &&
             (!HasFlag(conversion, '#') || letter == 'o' || letter == 'x' || letter == 'X');
    case ArgumentClass::Floating:
      return letter == 0 || std::string_view("fFeEgGaA").find(letter) != std::string_view::npos;
    case ArgumentClass::Text:
      return (letter == 0 || letter == 's') && only_minus_flag();
  }
  return false;
}

// flags* width? ("." precision?)? length-modifier? letter?  A length modifier is accepted
// for numbers and ignored; the argument's own is used.
bool ParseConversion(std::string_view spec, ArgumentClass kind, Conversion& conversion) {
  if (spec.size() > kMaxFormatSpecification) return false;
  while (!spec.empty() && std::string_view("-+ #0").find(spec.front()) != std::string_view::npos) {
    if (!HasFlag(conversion, spec.front())) conversion.flags[conversion.flagCount++] = spec.front();
    spec.remove_prefix(1);
  }
  if (!spec.empty() && IsDigit(spec.front()) && !ReadBounded(spec, conversion.width)) return false;
  if (!spec.empty() && spec.front() == '.') {
    spec.remove_prefix(1);
    if (!ReadBounded(spec, conversion.precision)) return false;
  }
  if (!spec.empty() && (kind == ArgumentClass::Integer || kind == ArgumentClass::Floating)) {
    const char modifier = spec.front();
    if (modifier == 'h' || modifier == 'l') {
      spec.remove_prefix(spec.size() > 1 && spec[1] == modifier ? 2 : 1);
    } else if (std::string_view("Lqjzt").find(modifier) != std::string_view::npos) {
      spec.remove_prefix(1);
    }
  }
  if (spec.size() > 1) return false;
  conversion.letter = spec.empty() ? 0 : spec.front();
  return LetterFits(kind, conversion);
}

// The printf length modifier of an argument of type T.
template <typename T>
const char* LengthModifier() {
  if constexpr (std::is_same_v<T, long> || std::is_same_v<T, unsigned long>) {
    return "l";
  } else if constexpr (std::is_same_v<T, long long> || std::is_same_v<T, unsigned long long>) {
    return "ll";
  } else {
    return "";
  }
}

// Checks `spec` against the argument class and prints `value` with the recomposed
// conversion; false (nothing written) when the specification is refused.
template <typename T>
bool PrintfConversion(FormatOutput& out, std::string_view spec, ArgumentClass kind, char default_letter,
                      T value) {
  Conversion parsed;
  if (!ParseConversion(spec, kind, parsed)) return false;
  // "%" flags(5) width(4) "." precision(4) length(2) letter NUL: 19 characters at most.
  char conversion[24] = {'%'};
  char* p = conversion + 1;
  p = std::copy(parsed.flags, parsed.flags + parsed.flagCount, p);
  if (parsed.width >= 0) p = std::to_chars(p, conversion + sizeof(conversion), parsed.width).ptr;
  if (parsed.precision >= 0) {
    *p++ = '.';
    p = std::to_chars(p, conversion + sizeof(conversion), parsed.precision).ptr;
  }
  const char letter = parsed.letter != 0 ? parsed.letter : default_letter;
  if (letter != 'c' && letter != 's') {
    for (const char* modifier = LengthModifier<T>(); *modifier != '\0'; ++modifier) *p++ = *modifier;
  }
  *p++ = letter;
  *p = '\0';

#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-nonliteral"
  char small[128];
  const int needed = std::snprintf(small, sizeof(small), conversion, value);
  if (needed <= 0) return true;
  const auto size = static_cast<std::size_t>(needed);
  if (size < sizeof(small)) {
    out.append(small, size);
    return true;
  }
  // Width and precision are bounded, so this is a few KiB at most; printed in place.
  const std::size_t start = out.size();
  out.resize(start + size + 1);
  std::snprintf(out.data() + start, size + 1, conversion, value);
  out.resize(start + size);
#pragma GCC diagnostic pop
  return true;
}

// The default conversions of the integer types print exactly as std::to_chars does, so
// the common case skips printf altogether.
template <typename T>
bool FormatInteger(FormatOutput& out, std::string_view spec, const void* value, char default_letter) {
  const T number = *static_cast<const T*>(value);
  if (spec.empty()) {
    char digits[24];
    const auto result = std::to_chars(digits, digits + sizeof(digits), number);
    out.append(digits, static_cast<std::size_t>(result.ptr - digits));
    return true;
  }
  return PrintfConversion(out, spec, ArgumentClass::Integer, default_letter, number);
}

}  // namespace

bool FormatInt(FormatOutput& out, std::string_view spec, const void* value) {
  return FormatInteger<int>(out, spec, value, 'd');
}
bool FormatLong(FormatOutput& out, std::string_view spec, const void* value) {
  return FormatInteger<long>(out, spec, value, 'd');
}
bool FormatLongLong(FormatOutput& out, std::string_view spec, const void* value) {
  return FormatInteger<long long>(out, spec, value, 'd');
}
bool FormatUnsigned(FormatOutput& out, std::string_view spec, const void* value) {
  return FormatInteger<unsigned>(out, spec, value, 'u');
}
bool FormatUnsignedLong(FormatOutput& out, std::string_view spec, const void* value) {
  return FormatInteger<unsigned long>(out, spec, value, 'u');
}
bool FormatUnsignedLongLong(FormatOutput& out, std::string_view spec, const void* value) {
  return FormatInteger<unsigned long long>(out, spec, value, 'u');
}

bool FormatBool(FormatOutput& out, std::string_view spec, const void* value) {
  const int number = *static_cast<const bool*>(value) ? 1 : 0;
  return FormatInteger<int>(out, spec, &number, 'd');
}

bool FormatChar(FormatOutput& out, std::string_view spec, const void* value) {
  const char character = *static_cast<const char*>(value);
  if (spec.empty() || spec == "c") {
    out.push_back(character);
    return true;
  }
  // printf receives the promoted int, as it would from a variadic call.
  return PrintfConversion(out, spec, ArgumentClass::Character, 'c', static_cast<int>(character));
}

bool FormatDouble(FormatOutput& out, std::string_view spec, const void* value) {
  const double number = *static_cast<const double*>(value);
  // "%lf" of a finite double is its exactly rounded fixed form with six decimals, which
  // std::to_chars produces without printf's parsing of the conversion.
  if (spec.empty() && std::isfinite(number)) {
    char digits[std::numeric_limits<double>::max_exponent10 + 32];
    const auto result = std::to_chars(digits, digits + sizeof(digits), number, std::chars_format::fixed, 6);
    out.append(digits, static_cast<std::size_t>(result.ptr - digits));
    return true;
  }
  return PrintfConversion(out, spec, ArgumentClass::Floating, 'f', number);
}

bool FormatCString(FormatOutput& out, std::string_view spec, const void* value) {
  const char* text = static_cast<const char*>(value);
  if (spec.empty() || spec == "s") {
    out.append(text);
    return true;
  }
  return PrintfConversion(out, spec, ArgumentClass::Text, 's', text);
}

bool FormatStdString(FormatOutput& out, std::string_view spec, const void* value) {
  const std::string& text = *static_cast<const std::string*>(value);
  if (spec.empty() || spec == "s") {
    out.append(text);
    return true;
  }
  return FormatCString(out, spec, text.c_str());
}

bool FormatStringView(FormatOutput& out, std::string_view, const void* value) {
  out.append(*static_cast<const std::string_view*>(value));
  return true;
}

bool FormatErrorCode(FormatOutput& out, std::string_view, const void* value) {
  const std::error_code& code = *static_cast<const std::error_code*>(value);
  out.append(code.category().name());
  out.push_back(':');
  const int number = code.value();
  return FormatInt(out, {}, &number);
}

bool FormatBoostErrorCode(FormatOutput& out, std::string_view, const void* value) {
  out.append(static_cast<const boost::system::error_code*>(value)->to_string());
  return true;
}

template <typename T>
bool CheckConvert(std::string_view text, T& out, std::error_code& ec) {
  T number{};
  const char* const end = text.data() + text.size();
  const auto result = std::from_chars(text.data(), end, number);
  if (result.ec == std::errc::result_out_of_range) {
    ec = ToolsError::OutOfRange;
    return false;
  }
  if (result.ec != std::errc() || result.ptr != end) {
    ec = ToolsError::NotANumber;
    return false;
  }
  out = number;
  return true;
}

template bool CheckConvert<int>(std::string_view, int&, std::error_code&);
template bool CheckConvert<long long>(std::string_view, long long&, std::error_code&);
template bool CheckConvert<unsigned long long>(std::string_view, unsigned long long&, std::error_code&);

}  // namespace Detail

std::string FormatImplContainer(std::string_view tmpl, const std::string* strings, std::size_t count,
                                Detail::format_arg* scratch, std::size_t scratch_size, std::error_code& ec) {
  Detail::format_arg* const heap = count > scratch_size ? new Detail::format_arg[count] : nullptr;
  Finally release([heap] { delete[] heap; });
  Detail::format_arg* const args = heap != nullptr ? heap : scratch;
  for (std::size_t i = 0; i < count; ++i) args[i] = Detail::make_format_arg(strings[i]);
  return Detail::Format(tmpl, args, count, ec);
}

std::string FormatNamed(std::string_view tmpl, const NamedArgs& names, std::error_code& ec) {
  std::string out;
  out.reserve(tmpl.size());
  const bool complete =
      Detail::ScanTemplate(tmpl, out, Detail::LoneCloseBrace::DropsBraceOnly, [&](std::string_view name) {
        if (name.empty()) {
          ec = FormatError::EmptyNamedSpecifier;
          return false;
        }
        const auto found = names.find(name);
        if (found == names.end()) {
          ec = FormatError::NamedArgumentNotFound;
          return false;
        }
        out.append(found->second);
        return true;
      });
  return complete ? out : std::string(tmpl);
}

}  // namespace Olma
