// Feeds arbitrary format locales, time-zone names and date patterns (three lines of the
// input) and numbers to the ICU localizer.
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>
#include <string_view>

#include "olma/l10n/l10n_category.h"
#include "olma/l10n_icu/icu_localizer.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  static const auto localizer = Olma::L10n::IcuLocalizer::GetInstance(nullptr);
  const std::string_view text(reinterpret_cast<const char*>(data), size);
  std::string_view parts[3];
  std::size_t start = 0;
  for (std::string_view& part : parts) {
    const std::size_t end = std::min(text.find('\n', start), text.size());
    part = text.substr(start, end - start);
    start = std::min(end + 1, text.size());
  }
  std::error_code ec;
  Olma::L10n::LanguagePreference format = Olma::L10n::LocaleHelpers::MakeLanguagePreference(parts[0], ec);
  if (ec) format = Olma::L10n::LanguagePreference({"c"});
  const Olma::L10n::LocaleSpec spec(Olma::L10n::LanguagePreference({"en"}), format,
                                    Olma::L10n::TimezoneSpec(parts[1]));

  std::int64_t number = 0;
  double real = 0;
  std::memcpy(&number, data, std::min(size, sizeof number));
  std::memcpy(&real, data, std::min(size, sizeof real));
  std::error_code result;
  localizer->integerFormatter()(number, spec.formatPreference(), result);
  localizer->doubleFormatter()(real, number % 40 - 1, spec.formatPreference(), result);
  Olma::DateTime when;
  // Instants the type refuses leave `when` at its default, which is as good an input.
  static_cast<void>(Olma::DateTime::Create(number % 253402300799, when));
  const auto style = static_cast<Olma::L10n::DateTimeFormat::EnumType>(size % 14);
  localizer->formatDateTime(when, style, parts[2], spec, result);
  return 0;
}
