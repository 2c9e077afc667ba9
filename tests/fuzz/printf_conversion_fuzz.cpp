// The printf-to-brace conversion and the whole-text number conversions. The converted
// template is then formatted, as callers do with translated printf templates.
#include <cstdint>
#include <string>

#include "fuzz/fuzz_input.h"
#include "olma/core/format.h"

namespace {

template <typename T>
void CheckNumber(std::string_view text) {
  const T sentinel = static_cast<T>(7);
  T value = sentinel;
  std::error_code ec;
  if (Olma::Detail::CheckConvert(text, value, ec)) {
    OLMA_FUZZ_CHECK(!ec);
    // The number printed back reads as the same number.
    T again = sentinel;
    std::error_code again_ec;
    OLMA_FUZZ_CHECK(Olma::Detail::CheckConvert(std::to_string(value), again, again_ec) && again == value);
  } else {
    OLMA_FUZZ_CHECK(value == sentinel);
    OLMA_FUZZ_CHECK(ec == Olma::ToolsError::NotANumber || ec == Olma::ToolsError::OutOfRange);
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  OlmaFuzz::Input input(data, size);
  const std::string_view text = input.Rest();

  const std::string converted = Olma::FormatHelper::PrintfLikeFmtToOlmaFmt(text);
  OLMA_FUZZ_CHECK(converted == Olma::FormatHelper::PrintfLikeFmtToOlmaFmt(text));
  // Every input character yields a bounded piece: a brace, a position of at most ten digits,
  // a colon and the copied width, "x", the closing brace.
  OLMA_FUZZ_CHECK(converted.size() <= 16 * text.size());

  const std::string formatted = Olma::Format(converted, 12, std::string("str"), 2.5);
  OLMA_FUZZ_CHECK(formatted == Olma::Format(converted, 12, std::string("str"), 2.5));

  CheckNumber<int>(text);
  CheckNumber<long long>(text);
  CheckNumber<unsigned long long>(text);
  return 0;
}
