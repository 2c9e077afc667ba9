// Hex digits, trimming, splitting and the ASCII case helpers on any bytes.
#include <cctype>
#include <cstdint>
#include <string>
#include <string_view>

#include "fuzz/fuzz_input.h"
#include "olma/core/text.h"

namespace {

bool Inside(std::string_view part, std::string_view whole) {
  return part.empty() ||
         (part.data() >= whole.data() && part.data() + part.size() <= whole.data() + whole.size());
}

bool IsBlank(char c) {
  return c == ' ' || c == '\t' || c == '\n' || c == '\v' || c == '\f' || c == '\r';
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  OlmaFuzz::Input input(data, size);
  const std::string separator(input.Text(6));
  const std::string owned(input.Rest());
  const std::string_view text = owned;

  for (const char c : text) {
    const int digit = Olma::DecodeHex(static_cast<unsigned char>(c));
    OLMA_FUZZ_CHECK(digit == -1 ? std::isxdigit(static_cast<unsigned char>(c)) == 0
                                : digit >= 0 && digit < 16);
  }

  const std::string_view both = Olma::Trim(text, Olma::ETrim::Both);
  const std::string_view left = Olma::Trim(text, Olma::ETrim::Left);
  const std::string_view right = Olma::Trim(text, Olma::ETrim::Right);
  OLMA_FUZZ_CHECK(Inside(both, text) && Inside(left, text) && Inside(right, text));
  OLMA_FUZZ_CHECK(both == Olma::Trim(left, Olma::ETrim::Right) &&
                  both == Olma::Trim(right, Olma::ETrim::Left));
  OLMA_FUZZ_CHECK(both.empty() || (!IsBlank(both.front()) && !IsBlank(both.back())));

  const auto pieces = Olma::SplitString(text, separator);
  OLMA_FUZZ_CHECK(pieces == Olma::SplitString(text, separator));
  if (separator.empty()) {
    OLMA_FUZZ_CHECK(text.empty() ? pieces.empty() : pieces.size() == 1 && pieces[0] == text);
  }
  const char* previous_end = text.data();
  for (const std::string_view piece : pieces) {
    OLMA_FUZZ_CHECK(!piece.empty() && Inside(piece, text) && piece.data() >= previous_end);
    OLMA_FUZZ_CHECK(separator.empty() || piece.find(separator) == std::string_view::npos);
    previous_end = piece.data() + piece.size();
  }

  std::string lower = owned;
  Olma::InplaceLower(lower);
  std::string twice = lower;
  Olma::InplaceLower(twice);
  OLMA_FUZZ_CHECK(twice == lower && Olma::StrICmp(lower, text) && Olma::StrICmp(text, lower));
  OLMA_FUZZ_CHECK(Olma::StrICmp(text, separator) == Olma::StrICmp(separator, text));
  OLMA_FUZZ_CHECK(Olma::StrLen(owned.c_str()) == std::min(owned.find('\0'), owned.size()));
  return 0;
}
