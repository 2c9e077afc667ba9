// The positional, container and named formatters on hostile templates: one argument of
// every supported type, so each conversion specification meets each renderer.
#include <climits>
#include <cstdint>
#include <sstream>
#include <string>
#include <vector>

#include "fuzz/fuzz_input.h"
#include "olma/core/format.h"

namespace {

using Olma::Detail::make_format_arg;

bool IsFormatFailure(const std::error_code& ec) {
  return !ec || ec == Olma::FormatError::MoreSpecifiersThanExpected ||
         ec == Olma::FormatError::InvalidSpecification;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  OlmaFuzz::Input input(data, size);
  const std::string text(input.Text(64));
  const std::string tmpl(input.Rest());

  const int i = -42;
  const long l = LONG_MIN;
  const long long ll = LLONG_MAX;
  const unsigned u = 4000000000u;
  const unsigned long long ull = ULLONG_MAX;
  const double d = -1.5e300;
  const float f = 0.1f;
  const bool b = true;
  const char c = 'q';
  const std::uint8_t u8 = 255;
  const short s = -7;
  const char* const c_text = "c-string";
  const std::string_view view = text;
  const std::error_code code = Olma::FormatError::InvalidSpecification;
  const Olma::Detail::format_arg args[] = {
      make_format_arg(i),    make_format_arg(l),    make_format_arg(ll),   make_format_arg(u),
      make_format_arg(ull),  make_format_arg(d),    make_format_arg(f),    make_format_arg(b),
      make_format_arg(c),    make_format_arg(u8),   make_format_arg(s),    make_format_arg(c_text),
      make_format_arg(text), make_format_arg(view), make_format_arg(code),
  };
  constexpr std::size_t kCount = sizeof(args) / sizeof(args[0]);

  std::error_code first_ec, second_ec;
  const std::string first = Olma::Detail::Format(tmpl, args, kCount, first_ec);
  const std::string second = Olma::Detail::Format(tmpl, args, kCount, second_ec);
  OLMA_FUZZ_CHECK(first == second && first_ec == second_ec);
  OLMA_FUZZ_CHECK(IsFormatFailure(first_ec));
  // Each field is at least one template character and renders at most the width bound, a
  // double's digits or the 64-byte text.
  OLMA_FUZZ_CHECK(first.size() <= tmpl.size() * (Olma::kMaxFormatWidth + 400));
  std::ostringstream stream;
  std::error_code stream_ec;
  Olma::Detail::FormatTo(stream, tmpl, args, kCount, stream_ec);
  OLMA_FUZZ_CHECK(stream.str() == first && stream_ec == first_ec);

  // Strings only, more of them than the stack array holds; the strings stay as they were.
  const std::vector<std::string> strings = {text, tmpl.substr(0, 16), "x", text};
  const std::vector<std::string> copy = strings;
  std::error_code container_ec;
  const std::string contained = Olma::FormatContainer<2>(tmpl, strings, container_ec);
  OLMA_FUZZ_CHECK(strings == copy && IsFormatFailure(container_ec));
  std::error_code again_ec;
  OLMA_FUZZ_CHECK(Olma::FormatContainer<8>(tmpl, strings, again_ec) == contained && again_ec == container_ec);

  const Olma::NamedArgs names = {{"name", text}, {"n", "N"}, {text, "by text"}};
  std::error_code named_ec;
  const std::string named = Olma::FormatNamed(tmpl, names, named_ec);
  OLMA_FUZZ_CHECK(!named_ec || named == tmpl);
  OLMA_FUZZ_CHECK(!named_ec || named_ec == Olma::FormatError::NamedArgumentNotFound ||
                  named_ec == Olma::FormatError::EmptyNamedSpecifier);
  return 0;
}
