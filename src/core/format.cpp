#include "olma/core/format.h"

#include <cctype>
#include <charconv>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <memory>
#include <ostream>
#include <type_traits>

#include "olma/core/finally.h"

namespace Olma {
namespace Detail {

parsed_field parse_field(std::string_view text) {
  const std::size_t colon = text.find(':');
  if (colon == std::string_view::npos) return {format_atoi(text), {}};
  return {format_atoi(text.substr(0, colon)), text.substr(colon + 1)};
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
  while (!tmpl.empty()) {
    const char c = tmpl.front();
    if (c != '{' && c != '}') {
      const std::size_t next = tmpl.find_first_of("{}");
      const std::size_t literal = next == std::string_view::npos ? tmpl.size() : next;
      out.append(tmpl.data(), literal);
      tmpl.remove_prefix(literal);
      continue;
    }
    if (tmpl.size() > 1 && tmpl[1] == c) {
      out.push_back(c);
      tmpl.remove_prefix(2);
      continue;
    }
    // A field; without a closing brace (or when c itself is the "}") it runs to the end.
    std::size_t close = tmpl.find('}');
    std::string_view field;
    if (close == std::string_view::npos || close == 0) {
      field = tmpl.substr(1);
      close = tmpl.size();
    } else {
      field = tmpl.substr(1, close - 1);
    }
    tmpl.remove_prefix(std::min(close + 1, tmpl.size()));

    const parsed_field parsed = parse_field(field);
    const std::uint64_t index = parsed.number != 0 ? parsed.number - 1 : automatic;
    if (index >= count) {
      ec.assign(static_cast<int>(FormatError::MoreSpecifiersThanExpected), GetFormatCategory());
      return;
    }
    args[index].format(out, parsed.spec, args[index].value);
    ++automatic;
  }
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

// Builds the printf conversion "%" + spec + default letter (unless spec ends in a letter)
// in a 16-byte buffer and prints `value` with it.
// A specification that brings its own integer conversion ("x" for a long long) gets the
// type's length modifier, so printf never reads a wider argument than it was given.
template <typename T>
std::string_view LengthModifier() {
  if constexpr (std::is_integral_v<T> && sizeof(T) == sizeof(long long) && !std::is_same_v<T, long> &&
                !std::is_same_v<T, unsigned long>) {
    return "ll";
  } else if constexpr (std::is_same_v<T, long> || std::is_same_v<T, unsigned long>) {
    return "l";
  } else {
    return {};
  }
}

template <typename T>
void PrintfConversion(FormatOutput& out, std::string_view spec, const char* default_conversion, T value) {
  char conversion[16] = {'%'};
  std::size_t length = 1;
  const auto put = [&](std::string_view part) {
    const std::size_t room = sizeof(conversion) - 1 - length;
    const std::size_t n = std::min(part.size(), room);
    if (n == 0) return;  // an empty view may hold a null pointer, which memcpy must not see
    std::memcpy(conversion + length, part.data(), n);
    length += n;
  };
  const char last = spec.empty() ? '\0' : spec.back();
  if (std::isalpha(static_cast<unsigned char>(last)) == 0) {
    put(spec);
    put(default_conversion);
  } else if (std::string_view("diouxX").find(last) != std::string_view::npos &&
             spec.find_first_of("hlqjzt") == std::string_view::npos) {
    put(spec.substr(0, spec.size() - 1));
    put(LengthModifier<T>());
    put(spec.substr(spec.size() - 1));
  } else {
    put(spec);
  }
  conversion[length] = '\0';

  char small[128];
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-nonliteral"
  const int needed = std::snprintf(small, sizeof(small), conversion, value);
  if (needed <= 0) return;
  if (static_cast<std::size_t>(needed) < sizeof(small)) {
    out.append(small, static_cast<std::size_t>(needed));
    return;
  }
  const std::size_t size = static_cast<std::size_t>(needed) + 1;
  std::unique_ptr<char[]> large(new char[size]);
  std::snprintf(large.get(), size, conversion, value);
#pragma GCC diagnostic pop
  out.append(large.get(), static_cast<std::size_t>(needed));
}

// The default conversions of the integer types print exactly as std::to_chars does, so
// the common case skips printf altogether.
template <typename T>
void FormatInteger(FormatOutput& out, std::string_view spec, const void* value, const char* conversion) {
  const T number = *static_cast<const T*>(value);
  if (spec.empty()) {
    char digits[24];
    const auto result = std::to_chars(digits, digits + sizeof(digits), number);
    out.append(digits, static_cast<std::size_t>(result.ptr - digits));
    return;
  }
  PrintfConversion(out, spec, conversion, number);
}

}  // namespace

void FormatInt(FormatOutput& out, std::string_view spec, const void* value) {
  FormatInteger<int>(out, spec, value, "d");
}
void FormatLong(FormatOutput& out, std::string_view spec, const void* value) {
  FormatInteger<long>(out, spec, value, "ld");
}
void FormatLongLong(FormatOutput& out, std::string_view spec, const void* value) {
  FormatInteger<long long>(out, spec, value, "lld");
}
void FormatUnsigned(FormatOutput& out, std::string_view spec, const void* value) {
  FormatInteger<unsigned>(out, spec, value, "u");
}
void FormatUnsignedLong(FormatOutput& out, std::string_view spec, const void* value) {
  FormatInteger<unsigned long>(out, spec, value, "lu");
}
void FormatUnsignedLongLong(FormatOutput& out, std::string_view spec, const void* value) {
  FormatInteger<unsigned long long>(out, spec, value, "llu");
}

void FormatBool(FormatOutput& out, std::string_view spec, const void* value) {
  const int number = *static_cast<const bool*>(value) ? 1 : 0;
  FormatInteger<int>(out, spec, &number, "d");
}

void FormatDouble(FormatOutput& out, std::string_view spec, const void* value) {
  const double number = *static_cast<const double*>(value);
  // "%lf" of a finite double is its exactly rounded fixed form with six decimals, which
  // std::to_chars produces without printf's parsing of the conversion.
  if (spec.empty() && std::isfinite(number)) {
    char digits[std::numeric_limits<double>::max_exponent10 + 32];
    const auto result = std::to_chars(digits, digits + sizeof(digits), number, std::chars_format::fixed, 6);
    out.append(digits, static_cast<std::size_t>(result.ptr - digits));
    return;
  }
  PrintfConversion(out, spec, "lf", number);
}

void FormatCString(FormatOutput& out, std::string_view spec, const void* value) {
  const char* text = static_cast<const char*>(value);
  if (spec.empty() || spec == "s") {
    out.append(text);
    return;
  }
  PrintfConversion(out, spec, "s", text);
}

void FormatStdString(FormatOutput& out, std::string_view spec, const void* value) {
  const std::string& text = *static_cast<const std::string*>(value);
  if (spec.empty() || spec == "s") {
    out.append(text);
    return;
  }
  FormatCString(out, spec, text.c_str());
}

void FormatStringView(FormatOutput& out, std::string_view, const void* value) {
  out.append(*static_cast<const std::string_view*>(value));
}

void FormatErrorCode(FormatOutput& out, std::string_view, const void* value) {
  const std::error_code& code = *static_cast<const std::error_code*>(value);
  out.append(code.category().name());
  out.push_back(':');
  const int number = code.value();
  FormatInt(out, {}, &number);
}

void FormatBoostErrorCode(FormatOutput& out, std::string_view, const void* value) {
  out.append(static_cast<const boost::system::error_code*>(value)->to_string());
}

template <typename T>
bool CheckConvert(std::string_view text, T& out, std::error_code& ec) {
  T number{};
  const char* const end = text.data() + text.size();
  const auto result = std::from_chars(text.data(), end, number);
  if (result.ec == std::errc::result_out_of_range) {
    ec.assign(static_cast<int>(ToolsError::OutOfRange), GetToolsCategory());
    return false;
  }
  if (result.ec != std::errc() || result.ptr != end) {
    ec.assign(static_cast<int>(ToolsError::NotANumber), GetToolsCategory());
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
  std::string_view rest = tmpl;
  while (!rest.empty()) {
    const char c = rest.front();
    if (c != '{' && c != '}') {
      const std::size_t next = rest.find_first_of("{}");
      const std::size_t literal = next == std::string_view::npos ? rest.size() : next;
      out.append(rest.data(), literal);
      rest.remove_prefix(literal);
      continue;
    }
    if (rest.size() > 1 && rest[1] == c) {
      out.push_back(c);
      rest.remove_prefix(2);
      continue;
    }
    const std::size_t close = rest.find('}');
    const std::string_view name = Detail::format_substr(rest, 1, close);
    if (name.empty()) {
      ec.assign(static_cast<int>(FormatError::EmptyNamedSpecifier), GetFormatCategory());
      return std::string(tmpl);
    }
    const auto found = names.find(name);
    if (found == names.end()) {
      ec.assign(static_cast<int>(FormatError::NamedArgumentNotFound), GetFormatCategory());
      return std::string(tmpl);
    }
    out.append(found->second);
    rest.remove_prefix(std::min(close == std::string_view::npos ? rest.size() : close + 1, rest.size()));
  }
  return out;
}

}  // namespace Olma
