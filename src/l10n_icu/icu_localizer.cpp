#include "olma/l10n_icu/icu_localizer.h"

#include <algorithm>
#include <cstdint>
#include <mutex>
#include <shared_mutex>
#include <unordered_map>
#include <utility>

#include <unicode/datefmt.h>
#include <unicode/locid.h>
#include <unicode/numberformatter.h>
#include <unicode/smpdtfmt.h>
#include <unicode/timezone.h>
#include <unicode/unistr.h>

#include "olma/l10n/l10n_category.h"

namespace Olma {
namespace L10n {
namespace {

// Each cache stops growing here, so that requests naming ever new locales, zones or
// patterns cannot exhaust memory; they get formatters built for the call instead.
constexpr std::size_t kMaxCachedEntries = 1024;
// ICU's limit on fraction digits.
constexpr std::int64_t kMaxFractionDigits = 999;

std::string ToUtf8(const icu::UnicodeString& text) {
  std::string out;
  text.toUTF8String(out);
  return out;
}

// Milliseconds since the epoch. The seconds are truncated toward zero, so an instant before
// 1970 with a fraction lies one second below seconds() plus its milliseconds.
UDate ToUDate(const DateTime& when) {
  const std::string& text = when.text();
  const int millis = (text[20] - '0') * 100 + (text[21] - '0') * 10 + (text[22] - '0');
  const bool before_epoch = text < "1970-01-01T00:00:00.000Z";
  return static_cast<UDate>(when.seconds()) * 1000.0 + millis - (before_epoch && millis > 0 ? 1000 : 0);
}

std::string JoinTags(const LanguagePreference& preference) {
  std::string key;
  for (const std::string& tag : preference) {
    key += tag;
    key += ',';
  }
  return key;
}

// A date format in use by one thread at a time: ICU does not promise that formatting with a
// shared DateFormat is safe from several threads.
struct DateEntry {
  std::mutex mutex;
  std::unique_ptr<icu::DateFormat> format;  // empty: the pattern was refused
  bool zoneUnknown = false;
};

std::unique_ptr<icu::DateFormat> MakeDateFormat(const icu::Locale& locale, DateTimeFormat format,
                                                std::string_view pattern) {
  static constexpr icu::DateFormat::EStyle kStyles[] = {icu::DateFormat::kShort, icu::DateFormat::kMedium,
                                                        icu::DateFormat::kLong, icu::DateFormat::kFull};
  const int value = format;
  if (value >= DateTimeFormat::SHORT_DATE && value <= DateTimeFormat::FULL_DATE) {
    return std::unique_ptr<icu::DateFormat>(icu::DateFormat::createDateInstance(kStyles[value], locale));
  }
  if (value >= DateTimeFormat::SHORT_TIME && value <= DateTimeFormat::FULL_TIME) {
    return std::unique_ptr<icu::DateFormat>(icu::DateFormat::createTimeInstance(kStyles[value - 4], locale));
  }
  if (value >= DateTimeFormat::SHORT_DATE_TIME && value <= DateTimeFormat::FULL_DATE_TIME) {
    return std::unique_ptr<icu::DateFormat>(
        icu::DateFormat::createDateTimeInstance(kStyles[value - 8], kStyles[value - 8], locale));
  }
  if (pattern.empty()) return nullptr;
  UErrorCode status = U_ZERO_ERROR;
  auto custom = std::make_unique<icu::SimpleDateFormat>(
      icu::UnicodeString::fromUTF8(icu::StringPiece(pattern.data(), static_cast<int32_t>(pattern.size()))),
      locale, status);
  if (U_FAILURE(status)) return nullptr;
  return custom;
}

std::shared_ptr<DateEntry> MakeDateEntry(const icu::Locale& locale, std::string_view zone,
                                         DateTimeFormat format, std::string_view pattern) {
  auto entry = std::make_shared<DateEntry>();
  entry->format = MakeDateFormat(locale, format, pattern);
  if (!entry->format) return entry;
  std::unique_ptr<icu::TimeZone> timezone(icu::TimeZone::createTimeZone(
      icu::UnicodeString::fromUTF8(icu::StringPiece(zone.data(), static_cast<int32_t>(zone.size())))));
  if (*timezone == icu::TimeZone::getUnknown()) {
    entry->zoneUnknown = true;
    timezone.reset(icu::TimeZone::createTimeZone("Etc/UTC"));
  }
  entry->format->adoptTimeZone(timezone.release());
  return entry;
}

}  // namespace

// The ICU formatters of one localizer, built on first use and kept.
class IcuLocalizer::Formatters {
 public:
  Formatters() {
    int32_t count = 0;
    const icu::Locale* locales = icu::Locale::getAvailableLocales(count);
    known_.reserve(static_cast<std::size_t>(count) + 1);
    // ICU reads "c" as its POSIX locale: numbers without grouping, English dates.
    known_.emplace_back("c");
    for (int32_t i = 0; i < count; ++i) known_.emplace_back(locales[i].getName());
  }

  std::string FormatInteger(std::int64_t value, const LanguagePreference& preference, std::error_code& ec) {
    const std::shared_ptr<const Resolved> resolved = Resolve(preference, ec);
    UErrorCode status = U_ZERO_ERROR;
    std::string text = ToUtf8(resolved->integer.formatInt(value, status).toString(status));
    if (U_FAILURE(status)) {
      ec = L10nError::FormatLocaleNotSupported;
      return std::to_string(value);
    }
    return text;
  }

  std::string FormatDouble(double value, std::int64_t precision, const LanguagePreference& preference,
                           std::error_code& ec) {
    const std::shared_ptr<const Resolved> resolved = Resolve(preference, ec);
    precision = std::min(precision, kMaxFractionDigits);
    const std::string key = resolved->name + '|' + std::to_string(std::max<std::int64_t>(precision, -1));
    const std::shared_ptr<const icu::number::LocalizedNumberFormatter> formatter = Cached(doubles_, key, [&] {
      const icu::number::Precision digits =
          precision < 0 ? icu::number::Precision::unlimited()
                        : icu::number::Precision::fixedFraction(static_cast<int32_t>(precision));
      return std::make_shared<const icu::number::LocalizedNumberFormatter>(
          resolved->integer.precision(digits));
    });
    UErrorCode status = U_ZERO_ERROR;
    std::string text = ToUtf8(formatter->formatDouble(value, status).toString(status));
    if (U_FAILURE(status)) {
      ec = L10nError::FormatLocaleNotSupported;
      return std::to_string(value);
    }
    return text;
  }

  std::string FormatDateTime(const DateTime& when, DateTimeFormat format, std::string_view pattern,
                             const LocaleSpec& spec, std::error_code& ec) {
    const std::shared_ptr<const Resolved> resolved = Resolve(spec.formatPreference(), ec);
    const std::string& zone = spec.timezone().name();
    std::string key = resolved->name;
    key.append(1, '\x1f').append(zone).append(1, '\x1f').append(std::to_string(static_cast<int>(format)));
    // Only a custom format depends on the pattern.
    if (format < DateTimeFormat::SHORT_DATE || format > DateTimeFormat::FULL_DATE_TIME) {
      key.append(1, '\x1f').append(pattern);
    }
    const std::shared_ptr<DateEntry> entry =
        Cached(dates_, key, [&] { return MakeDateEntry(resolved->locale, zone, format, pattern); });
    if (!entry->format) {
      ec = L10nError::FormatLocaleNotSupported;
      return when.text();
    }
    if (entry->zoneUnknown) ec = L10nError::FormatLocaleNotSupported;
    icu::UnicodeString text;
    {
      std::lock_guard<std::mutex> lock(entry->mutex);
      entry->format->format(ToUDate(when), text);
    }
    return ToUtf8(text);
  }

 private:
  struct Resolved {
    std::string name;
    icu::Locale locale;
    icu::number::LocalizedNumberFormatter integer;
    bool known;
  };

  // The ICU locale that serves a format-locale preference; "C" when none does (with code 2).
  std::shared_ptr<const Resolved> Resolve(const LanguagePreference& preference, std::error_code& ec) {
    const std::shared_ptr<const Resolved> resolved = Cached(resolved_, JoinTags(preference), [&] {
      std::string name = LocaleHelpers::Lookup(preference.tags(), known_);
      const bool known = !name.empty();
      if (!known) name = "c";
      icu::Locale locale(name.c_str());
      auto integer = icu::number::NumberFormatter::withLocale(locale);
      return std::make_shared<const Resolved>(Resolved{std::move(name), locale, std::move(integer), known});
    });
    if (!resolved->known) ec = L10nError::FormatLocaleNotSupported;
    return resolved;
  }

  template <typename V, typename Make>
  std::shared_ptr<V> Cached(std::unordered_map<std::string, std::shared_ptr<V>>& cache,
                            const std::string& key, Make make) {
    {
      std::shared_lock<std::shared_mutex> lock(mutex_);
      const auto found = cache.find(key);
      if (found != cache.end()) return found->second;
    }
    // Built outside the lock: building ICU formatters loads locale data and takes a while.
    std::shared_ptr<V> made = make();
    std::unique_lock<std::shared_mutex> lock(mutex_);
    if (cache.size() >= kMaxCachedEntries) return made;
    return cache.emplace(key, std::move(made)).first->second;
  }

  std::vector<std::string> known_;
  std::shared_mutex mutex_;
  std::unordered_map<std::string, std::shared_ptr<const Resolved>> resolved_;
  std::unordered_map<std::string, std::shared_ptr<const icu::number::LocalizedNumberFormatter>> doubles_;
  std::unordered_map<std::string, std::shared_ptr<DateEntry>> dates_;
};

Localizer::PtrConstType IcuLocalizer::GetInstance(std::shared_ptr<const LocalizationBundle> bundle,
                                                  std::vector<std::string> locales) {
  return std::make_shared<const IcuLocalizer>(PrivateTag(), std::move(bundle), std::move(locales),
                                              std::make_shared<Formatters>());
}

IcuLocalizer::IcuLocalizer(PrivateTag, std::shared_ptr<const LocalizationBundle> bundle,
                           std::vector<std::string> locales, std::shared_ptr<Formatters> formatters)
    : Localizer(
          std::move(bundle), std::move(locales),
          [formatters](std::int64_t value, const LanguagePreference& preference, std::error_code& ec) {
            return formatters->FormatInteger(value, preference, ec);
          },
          [formatters](double value, std::int64_t precision, const LanguagePreference& preference,
                       std::error_code& ec) {
            return formatters->FormatDouble(value, precision, preference, ec);
          }),
      formatters_(std::move(formatters)) {}

IcuLocalizer::~IcuLocalizer() = default;

std::string IcuLocalizer::formatDateTime(const DateTime& when, DateTimeFormat format,
                                         std::string_view pattern, const LocaleSpec& spec,
                                         std::error_code& ec) const {
  return formatters_->FormatDateTime(when, format, pattern, spec, ec);
}

}  // namespace L10n
}  // namespace Olma
