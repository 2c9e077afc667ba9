// The library's positional formatter.
//
// Every human-readable text of the library (message templates, log lines, error
// strings) goes through this one small formatter. A template holds literal text and
// replacement fields in braces; a field names its argument by 1-based position or takes
// the next one, and may carry a printf-style conversion after a colon:
//
//   Olma::Format("{1} of {2}", 3, "five")     // "3 of five"
//   Olma::Format("{1:08x}", 255)              // "000000ff"
//   Olma::Format("{{}} {} {}", "a", 2)        // "{} a 2"
//
// Only "{{" and "}}" escape a brace. A field whose text is not a number takes the next
// argument; the automatic counter advances after every formatted field, explicit or
// not, so "{2} {}" formats the second argument twice. A lone "}" opens a field that
// swallows the rest of the template.
//
// A conversion specification is checked before anything is printed, since templates also
// come from translation bundles and callers: it must read
//
//   flags* width? ("." precision?)? length? letter?
//
// with flags from "-+ #0", width and precision of at most kMaxFormatWidth, a length
// modifier ("hh", "h", "l", "ll", "L", "q", "j", "z", "t"; accepted for numbers and
// ignored, the argument's own width is always used) and a letter that fits the argument:
// "diouxX" for integers and bool, "fFeEgGaA" for float and double, "s" for strings, "c"
// (or an integer letter) for char. No letter means the type's default. Strings and
// characters take only the "-" flag; "#" only goes with "o", "x", "X" or a floating
// letter. A specification longer than kMaxFormatSpecification is refused whole, never cut.
//
// Argument types: the integer types from short up, bool (as 1 or 0), float and double,
// std::string, C strings and character arrays, std::string_view, and error codes. A char
// is a character ("{}" of 'x' is "x"); signed char, unsigned char, int8_t and uint8_t are
// small integers ("{}" of uint8_t(7) is "7"). Any other type does not compile.
//
// Failures are reported through a std::error_code of the format category: a field beyond
// the last argument is FormatError::MoreSpecifiersThanExpected, a refused specification
// FormatError::InvalidSpecification. Formatting stops there and the text formatted up to
// that point is kept. Olma::Format drops the error code.
//
// Thread safety: every function here is pure; any thread may format at any time.
#pragma once

#include <cstddef>
#include <cstdint>
#include <iosfwd>
#include <map>
#include <string>
#include <string_view>
#include <system_error>
#include <type_traits>

#include <boost/system/error_code.hpp>

#include "olma/core/error_categories.h"
#include "olma/core/export.h"

namespace Olma {

// The largest width or precision a conversion specification may ask for; beyond it the
// specification is refused, so no template can make the formatter build a huge text.
inline constexpr int kMaxFormatWidth = 4096;
// The longest conversion specification accepted, in characters.
inline constexpr std::size_t kMaxFormatSpecification = 32;

namespace Detail {

// The formatter writes into a string: the whole result is assembled in one buffer, which
// costs far less per call than constructing a stream.
using FormatOutput = std::string;

// One argument to format: the address of the value and the function that renders it. The
// function returns false, having written nothing, when it refuses the specification.
struct format_arg {
  const void* value;
  bool (*format)(FormatOutput& out, std::string_view spec, const void* value);
};

// A parsed replacement field: the 1-based argument number (0: the next argument) and the
// conversion specification after the colon.
struct parsed_field {
  std::uint64_t number = 0;
  std::string_view spec;
};

OLMA_API parsed_field parse_field(std::string_view text);
// Unsigned base-10 conversion of at most the first 20 characters; text without digits
// gives 0. Stores the number of characters used in `consumed` when it is not null.
OLMA_API std::uint64_t format_atoi(std::string_view text, std::size_t* consumed = nullptr);
// The characters from `pos`, at most `end - pos` of them, never past the view's end.
OLMA_API std::string_view format_substr(std::string_view view, std::size_t pos, std::size_t end);

// Formats `tmpl` with `count` arguments, appending to `out`. On failure sets `ec` and
// stops; what was appended so far stays.
OLMA_API void FormatTo(FormatOutput& out, std::string_view tmpl, const format_arg* args, std::size_t count,
                       std::error_code& ec);
// The same, writing to a stream.
OLMA_API void FormatTo(std::ostream& out, std::string_view tmpl, const format_arg* args, std::size_t count,
                       std::error_code& ec);
// Returns the formatted text, also the partial text on failure.
OLMA_API std::string Format(std::string_view tmpl, const format_arg* args, std::size_t count,
                            std::error_code& ec);

// Renderers for the argument types; each returns false for a specification it refuses
// (see the top of this file). An empty specification uses the type's default conversion;
// the integer and finite double defaults print as "%d" / "%lf" would.
OLMA_API bool FormatInt(FormatOutput& out, std::string_view spec, const void* value);
OLMA_API bool FormatLong(FormatOutput& out, std::string_view spec, const void* value);
OLMA_API bool FormatLongLong(FormatOutput& out, std::string_view spec, const void* value);
OLMA_API bool FormatUnsigned(FormatOutput& out, std::string_view spec, const void* value);
OLMA_API bool FormatUnsignedLong(FormatOutput& out, std::string_view spec, const void* value);
OLMA_API bool FormatUnsignedLongLong(FormatOutput& out, std::string_view spec, const void* value);
OLMA_API bool FormatDouble(FormatOutput& out, std::string_view spec, const void* value);
// A bool prints as the int 1 or 0, never as true/false.
OLMA_API bool FormatBool(FormatOutput& out, std::string_view spec, const void* value);
// The character itself for an empty specification or "c"; its code for an integer letter.
OLMA_API bool FormatChar(FormatOutput& out, std::string_view spec, const void* value);
// `value` points at the characters themselves. An empty specification or exactly "s"
// streams the NUL-terminated text; any other goes to printf as a "%s" conversion.
OLMA_API bool FormatCString(FormatOutput& out, std::string_view spec, const void* value);
// All bytes of the string (embedded NULs survive) for an empty specification or "s";
// otherwise formatted as the C string of its contents.
OLMA_API bool FormatStdString(FormatOutput& out, std::string_view spec, const void* value);
// The viewed characters; the specification is ignored.
OLMA_API bool FormatStringView(FormatOutput& out, std::string_view spec, const void* value);
// Category name, ":", numeric value ("Olma Format Error:3"); specification ignored.
OLMA_API bool FormatErrorCode(FormatOutput& out, std::string_view spec, const void* value);
// The Boost error code's own textual form; specification ignored.
OLMA_API bool FormatBoostErrorCode(FormatOutput& out, std::string_view spec, const void* value);

// formatter<T>::format is the rendering function of argument type T. The second
// parameter tells the arithmetic types (printf conversion with a default letter) from
// the others.
template <typename T, bool B = std::is_arithmetic<T>::value>
struct formatter;

#define OLMA_DETAIL_FORMATTER(Type, Arithmetic, Function)                             \
  template <>                                                                         \
  struct formatter<Type, Arithmetic> {                                                \
    static bool format(FormatOutput& out, std::string_view spec, const void* value) { \
      return Function(out, spec, value);                                              \
    }                                                                                 \
  }

// The small arithmetic types are widened to the type whose renderer they share.
#define OLMA_DETAIL_WIDENING_FORMATTER(Type, Wide, Function)                          \
  template <>                                                                         \
  struct formatter<Type, true> {                                                      \
    static bool format(FormatOutput& out, std::string_view spec, const void* value) { \
      const Wide wide = *static_cast<const Type*>(value);                             \
      return Function(out, spec, &wide);                                              \
    }                                                                                 \
  }

OLMA_DETAIL_FORMATTER(int, true, FormatInt);
OLMA_DETAIL_FORMATTER(long, true, FormatLong);
OLMA_DETAIL_FORMATTER(long long, true, FormatLongLong);
OLMA_DETAIL_FORMATTER(unsigned, true, FormatUnsigned);
OLMA_DETAIL_FORMATTER(unsigned long, true, FormatUnsignedLong);
OLMA_DETAIL_FORMATTER(unsigned long long, true, FormatUnsignedLongLong);
OLMA_DETAIL_FORMATTER(double, true, FormatDouble);
OLMA_DETAIL_FORMATTER(bool, true, FormatBool);
OLMA_DETAIL_FORMATTER(char, true, FormatChar);
OLMA_DETAIL_WIDENING_FORMATTER(signed char, int, FormatInt);
OLMA_DETAIL_WIDENING_FORMATTER(unsigned char, unsigned, FormatUnsigned);
OLMA_DETAIL_WIDENING_FORMATTER(short, int, FormatInt);
OLMA_DETAIL_WIDENING_FORMATTER(unsigned short, unsigned, FormatUnsigned);
OLMA_DETAIL_WIDENING_FORMATTER(float, double, FormatDouble);
OLMA_DETAIL_FORMATTER(const char*, false, FormatCString);
OLMA_DETAIL_FORMATTER(std::string, false, FormatStdString);
OLMA_DETAIL_FORMATTER(std::string_view, false, FormatStringView);
OLMA_DETAIL_FORMATTER(std::error_code, false, FormatErrorCode);
OLMA_DETAIL_FORMATTER(boost::system::error_code, false, FormatBoostErrorCode);

#undef OLMA_DETAIL_FORMATTER
#undef OLMA_DETAIL_WIDENING_FORMATTER

// The formatter type of an argument: character arrays and char pointers format as C
// strings, everything else as its own decayed type.
template <typename T>
struct format_type {
  using type = std::decay_t<T>;
};
template <std::size_t N>
struct format_type<char[N]> {
  using type = const char*;
};
template <std::size_t N>
struct format_type<const char[N]> {
  using type = const char*;
};
template <>
struct format_type<char*> {
  using type = const char*;
};

// The address handed to the renderer: C strings are passed as the characters themselves
// so that an array argument needs no pointer variable to outlive the call.
template <typename T>
inline const void* format_address(const T& value) {
  if constexpr (std::is_same_v<typename format_type<T>::type, const char*>) {
    return static_cast<const char*>(value);
  } else {
    return &value;
  }
}

template <typename T>
inline format_arg make_format_arg(const T& value) {
  return {format_address(value), &formatter<typename format_type<T>::type>::format};
}

}  // namespace Detail

// Formats with N arguments of any supported type, ignoring template errors (the partial
// text is returned).
template <std::size_t N>
struct FormatImpl {
  template <typename... Args>
  static std::string call(std::string_view tmpl, const Args&... args) {
    static_assert(sizeof...(Args) == N, "FormatImpl<N> takes exactly N arguments");
    std::error_code ec(0, std::system_category());
    if constexpr (N == 0) {
      return Detail::Format(tmpl, nullptr, 0, ec);
    } else {
      const Detail::format_arg list[N] = {Detail::make_format_arg(args)...};
      return Detail::Format(tmpl, list, N, ec);
    }
  }
};

// The everyday spelling of FormatImpl<N>::call.
template <typename... Args>
inline std::string Format(std::string_view tmpl, const Args&... args) {
  return FormatImpl<sizeof...(Args)>::call(tmpl, args...);
}

// Formats with the strings of `strings` as positional arguments. Up to StackArgs
// arguments the argument array lives on the stack; above that it is allocated once.
OLMA_API std::string FormatImplContainer(std::string_view tmpl, const std::string* strings, std::size_t count,
                                         Detail::format_arg* scratch, std::size_t scratch_size,
                                         std::error_code& ec);

template <std::size_t StackArgs, typename Container>
std::string FormatContainer(std::string_view tmpl, const Container& strings, std::error_code& ec) {
  Detail::format_arg scratch[StackArgs];
  return FormatImplContainer(tmpl, strings.data(), strings.size(), scratch, StackArgs, ec);
}

// The names of FormatNamed, ordered by plain lexicographic comparison.
using NamedArgs = std::map<std::string_view, std::string>;

// Fills "{name}" fields from `names`; "{{" and "}}" are escapes, and everything between
// the braces is the name (no conversion specification). An empty name sets error 2, an
// unknown name error 1 (format category); on either error the template is returned
// unchanged, not the partial text.
OLMA_API std::string FormatNamed(std::string_view tmpl, const NamedArgs& names, std::error_code& ec);

namespace FormatHelper {
// Converts a printf-style template to the brace syntax: "%s" gives "{}", "%5d" gives
// "{:5}", "%2$s" gives "{2}", "%x" gives "{:x}", "%%" gives "%". Only the plain forms are
// converted faithfully: a flag or length modifier before the first digit writes an extra
// "{", and an unfinished conversion stays unclosed. Braces are copied as they are.
OLMA_API std::string PrintfLikeFmtToOlmaFmt(std::string_view printf_template);
}  // namespace FormatHelper

// "category:value(message)", e.g. "Olma Format Error:3(More specifiers than expected.)".
template <typename E>
struct StringOfErrorImpl {
  static std::string call(const E& code) { return Format("{}({})", code, code.message()); }
};

inline std::string StringOfError(const std::error_code& code) {
  return StringOfErrorImpl<std::error_code>::call(code);
}
inline std::string StringOfError(const boost::system::error_code& code) {
  return StringOfErrorImpl<boost::system::error_code>::call(code);
}

namespace Detail {
// Whole-text base-10 conversion of `text` into an integer. Sets `ec` to (1, tools
// category) when the text is not a complete number and to (2, tools category) when the
// number does not fit `T`; `out` is then left unchanged.
template <typename T>
bool CheckConvert(std::string_view text, T& out, std::error_code& ec);

extern template OLMA_API bool CheckConvert<int>(std::string_view, int&, std::error_code&);
extern template OLMA_API bool CheckConvert<long long>(std::string_view, long long&, std::error_code&);
extern template OLMA_API bool CheckConvert<unsigned long long>(std::string_view, unsigned long long&,
                                                               std::error_code&);
}  // namespace Detail

}  // namespace Olma
