#include "olma/l10n_icu/icu_localizer.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdio>
#include <map>
#include <mutex>
#include <shared_mutex>
#include <utility>

#include <unicode/datefmt.h>
#include <unicode/locid.h>
#include <unicode/numberformatter.h>
#include <unicode/numfmt.h>
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
// Longer custom patterns (and zone names) are not kept: a cache of a few long texts would
// hold more memory than all the usual ones together.
constexpr std::size_t kMaxCachedKeySize = 256;
// Fixed precisions below this are kept with each format locale.
constexpr std::int64_t kCommonPrecisions = 8;
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

// A cache key assembled without allocating while it is short, as keys almost always are.
class CacheKey {
 public:
  CacheKey& Add(std::string_view part) {
    if (spilled_.empty() && size_ + part.size() + 1 <= sizeof buffer_) {
      part.copy(buffer_ + size_, part.size());
      size_ += part.size();
      buffer_[size_++] = '\x1f';
    } else {
      if (spilled_.empty()) spilled_.assign(buffer_, size_);
      spilled_.append(part).push_back('\x1f');
    }
    return *this;
  }
  CacheKey& Add(std::int64_t number) {
    char digits[24];
    const int length = std::snprintf(digits, sizeof digits, "%lld", static_cast<long long>(number));
    return Add(std::string_view(digits, static_cast<std::size_t>(length)));
  }
  std::string_view view() const noexcept {
    return spilled_.empty() ? std::string_view(buffer_, size_) : std::string_view(spilled_);
  }

 private:
  char buffer_[96];
  std::size_t size_ = 0;
  std::string spilled_;
};

CacheKey JoinTags(const LanguagePreference& preference) {
  CacheKey key;
  for (const std::string& tag : preference) key.Add(tag);
  return key;
}

// A date format in use by one thread at a time: ICU does not promise that formatting with a
// shared DateFormat is safe from several threads.
struct DateEntry {
  std::mutex mutex;
  std::unique_ptr<icu::DateFormat> format;  // empty: the pattern was refused
  bool zoneUnknown = false;
};

// A number format of the classic interface: formatting with it allocates far less than with
// the newer one, but ICU does not promise that it may be shared by threads, so it is used
// by one thread at a time.
struct NumberEntry {
  std::mutex mutex;
  std::unique_ptr<icu::NumberFormat> format;  // empty: ICU could not build it
};

// `fraction_digits` exactly after the decimal mark, or the locale's default when negative.
std::shared_ptr<NumberEntry> MakeNumberEntry(const icu::Locale& locale, std::int64_t fraction_digits) {
  auto entry = std::make_shared<NumberEntry>();
  UErrorCode status = U_ZERO_ERROR;
  entry->format.reset(icu::NumberFormat::createInstance(locale, status));
  if (U_FAILURE(status)) {
    entry->format.reset();
  } else if (fraction_digits >= 0) {
    entry->format->setMinimumFractionDigits(static_cast<int32_t>(fraction_digits));
    entry->format->setMaximumFractionDigits(static_cast<int32_t>(fraction_digits));
  }
  return entry;
}

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
    NumberEntry* entry = resolved->integer.get();
    icu::UnicodeString text;
    if (!entry->format) {
      ec = L10nError::FormatLocaleNotSupported;
      return std::to_string(value);
    }
    {
      std::lock_guard<std::mutex> lock(entry->mutex);
      entry->format->format(static_cast<int64_t>(value), text);
    }
    return ToUtf8(text);
  }

  std::string FormatDouble(double value, std::int64_t precision, const LanguagePreference& preference,
                           std::error_code& ec) {
    const std::shared_ptr<const Resolved> resolved = Resolve(preference, ec);
    icu::UnicodeString text;
    if (precision < 0) {
      // As many digits as it takes to read the value back: only the number formatter of the
      // newer interface offers that, and it is immutable, so it needs no lock.
      UErrorCode status = U_ZERO_ERROR;
      text = resolved->shortest.formatDouble(value, status).toString(status);
      if (U_FAILURE(status)) {
        ec = L10nError::FormatLocaleNotSupported;
        return std::to_string(value);
      }
      return ToUtf8(text);
    }
    precision = std::min(precision, kMaxFractionDigits);
    std::shared_ptr<NumberEntry> entry;
    if (precision < kCommonPrecisions) {
      // The usual precisions hang off the locale itself: no second cache lookup.
      const std::size_t slot = static_cast<std::size_t>(precision);
      std::call_once(resolved->fixedOnce[slot],
                     [&] { resolved->fixed[slot] = MakeNumberEntry(resolved->locale, precision); });
      entry = resolved->fixed[slot];
    } else {
      entry = Cached(numbers_, CacheKey().Add(resolved->name).Add(precision).view(),
                     [&] { return MakeNumberEntry(resolved->locale, precision); });
    }
    if (!entry->format) {
      ec = L10nError::FormatLocaleNotSupported;
      return std::to_string(value);
    }
    {
      std::lock_guard<std::mutex> lock(entry->mutex);
      entry->format->format(value, text);
    }
    return ToUtf8(text);
  }

  std::string FormatDateTime(const DateTime& when, DateTimeFormat format, std::string_view pattern,
                             const LocaleSpec& spec, std::error_code& ec) {
    const std::shared_ptr<const Resolved> resolved = Resolve(spec.formatPreference(), ec);
    const std::string& zone = spec.timezone().name();
    CacheKey key;
    key.Add(resolved->name).Add(zone).Add(static_cast<std::int64_t>(format));
    // Only a custom format depends on the pattern.
    if (format < DateTimeFormat::SHORT_DATE || format > DateTimeFormat::FULL_DATE_TIME) {
      key.Add(pattern);
    }
    const std::shared_ptr<DateEntry> entry =
        Cached(dates_, key.view(), [&] { return MakeDateEntry(resolved->locale, zone, format, pattern); });
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
  // A format locale with the number formats built for it.
  struct Resolved {
    Resolved(std::string locale_name, bool is_known)
        : name(std::move(locale_name)),
          locale(name.c_str()),
          shortest(icu::number::NumberFormatter::withLocale(locale).precision(
              icu::number::Precision::unlimited())),
          known(is_known),
          integer(MakeNumberEntry(locale, -1)) {}

    std::string name;
    icu::Locale locale;
    icu::number::LocalizedNumberFormatter shortest;
    bool known;
    std::shared_ptr<NumberEntry> integer;
    // Fixed-precision formats for 0 to kCommonPrecisions - 1 digits, each built on first use.
    mutable std::array<std::once_flag, kCommonPrecisions> fixedOnce;
    mutable std::array<std::shared_ptr<NumberEntry>, kCommonPrecisions> fixed;
  };

  // The ICU locale that serves a format-locale preference; "C" when none does (with code 2).
  std::shared_ptr<const Resolved> Resolve(const LanguagePreference& preference, std::error_code& ec) {
    const std::shared_ptr<const Resolved> resolved = Cached(resolved_, JoinTags(preference).view(), [&] {
      std::string name = LocaleHelpers::Lookup(preference.tags(), known_);
      const bool known = !name.empty();
      return std::make_shared<const Resolved>(known ? std::move(name) : std::string("c"), known);
    });
    if (!resolved->known) ec = L10nError::FormatLocaleNotSupported;
    return resolved;
  }

  // Looked up by the key's view, so a hit allocates nothing.
  template <typename V>
  using Cache = std::map<std::string, std::shared_ptr<V>, std::less<>>;

  template <typename V, typename Make>
  std::shared_ptr<V> Cached(Cache<V>& cache, std::string_view key, Make make) {
    {
      std::shared_lock<std::shared_mutex> lock(mutex_);
      const auto found = cache.find(key);
      if (found != cache.end()) return found->second;
    }
    // Built outside the lock: building ICU formatters loads locale data and takes a while.
    std::shared_ptr<V> made = make();
    if (key.size() > kMaxCachedKeySize) return made;
    std::unique_lock<std::shared_mutex> lock(mutex_);
    if (cache.size() >= kMaxCachedEntries) return made;
    return cache.emplace(std::string(key), std::move(made)).first->second;
  }

  std::vector<std::string> known_;
  std::shared_mutex mutex_;
  Cache<const Resolved> resolved_;
  Cache<NumberEntry> numbers_;
  Cache<DateEntry> dates_;
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
