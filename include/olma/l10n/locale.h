// Locale negotiation: which language a request's messages should be written in, which
// locale its numbers and dates follow, and in which time zone its times are shown.
//
// The three settings arrive as application-context entries ("accept-language",
// "format-locale", "timezone"); ExtractLocaleSpec reads them into a LocaleSpec, the value
// that the localizer and the message conversion take.
//
//   std::error_code ec;
//   auto spec = Olma::L10n::LocaleSpecHelpers::ExtractLocaleSpec(context, ec);
//   // ec set: a header was malformed, and spec is the default one ("en_US", "C", "Etc/UTC")
//   std::string best = Olma::L10n::LocaleHelpers::Lookup(spec->languagePreference().tags(),
//                                                        {"de", "fr", "en_US"});
//
// Everything here is a pure function over its arguments or an immutable value: any number
// of threads may use it at once. Failures are reported through an error code of the
// localisation category (code 3 only); nothing throws except std::bad_alloc.
#pragma once

#include <memory>
#include <string>
#include <string_view>
#include <system_error>
#include <utility>
#include <vector>

#include "olma/core/export.h"
#include "olma/invocation/execution_context.h"

namespace Olma {
namespace L10n {

// One entry of a preference list while it is parsed; `tag` points into the parsed text.
struct OLMA_API Language {
  std::string_view tag;
  double q = 1.0;

  // True when this entry ranks before `other`: its tag is not "*" and it has the greater
  // q, or the same q and the longer tag. A "*" entry never ranks before anything. This is
  // not a strict weak ordering (a "*" is tied with everything, and a NaN q with nothing);
  // the parser therefore sorts with an algorithm that stays in bounds for any comparator.
  bool operator>(const Language& other) const noexcept;
};

// A parsed preference list: lower-cased tags, most preferred first.
class OLMA_API LanguagePreference {
 public:
  LanguagePreference() = default;
  explicit LanguagePreference(std::vector<std::string> tags) : tags_(std::move(tags)) {}

  const std::vector<std::string>& tags() const noexcept { return tags_; }
  bool empty() const noexcept { return tags_.empty(); }
  std::size_t size() const noexcept { return tags_.size(); }
  std::vector<std::string>::const_iterator begin() const noexcept { return tags_.begin(); }
  std::vector<std::string>::const_iterator end() const noexcept { return tags_.end(); }

  friend bool operator==(const LanguagePreference& a, const LanguagePreference& b) {
    return a.tags_ == b.tags_;
  }
  friend bool operator!=(const LanguagePreference& a, const LanguagePreference& b) {
    return a.tags_ != b.tags_;
  }

 private:
  std::vector<std::string> tags_;
};

// A time-zone name kept verbatim; whoever formats a time decides what an unknown name means.
class OLMA_API TimezoneSpec {
 public:
  explicit TimezoneSpec(std::string_view name) : name_(name) {}
  const std::string& name() const noexcept { return name_; }

 private:
  std::string name_;
};

// The outcome of negotiation: the language of message texts, the locale of numbers and
// dates, and the time zone. Immutable once built; shared through PtrConstType.
class OLMA_API LocaleSpec {
 public:
  using PtrConstType = std::shared_ptr<const LocaleSpec>;

  // Language ["en_us"], format locale ["c"], time zone "Etc/UTC".
  LocaleSpec();
  LocaleSpec(LanguagePreference language, LanguagePreference format, TimezoneSpec timezone)
      : language_(std::move(language)), format_(std::move(format)), timezone_(std::move(timezone)) {}

  const LanguagePreference& languagePreference() const noexcept { return language_; }
  const LanguagePreference& formatPreference() const noexcept { return format_; }
  const TimezoneSpec& timezone() const noexcept { return timezone_; }

  // One shared default-constructed specification, built once on first use.
  static const PtrConstType& Default();

 private:
  LanguagePreference language_;
  LanguagePreference format_;
  TimezoneSpec timezone_;
};

struct OLMA_API LocaleHelpers {
  static constexpr std::string_view defaultLocale() noexcept { return "en_US"; }
  static constexpr std::string_view defaultFmtLocale() noexcept { return "C"; }
  static constexpr std::string_view defaultTimezone() noexcept { return "Etc/UTC"; }
  static constexpr std::string_view anyLocale() noexcept { return "*"; }

  // Parses an accept-language value: comma-separated tags, each optionally followed by
  // ";q=<number>". Lenient where clients are sloppy: the parameter name only has to start
  // with "q" ("quality=0.5" counts), the number may have trailing text, and q is not limited
  // to 0..1. Strict elsewhere: a tag holds only ASCII letters, digits, "-", "_" and "*", and
  // a ";" needs text on both sides. Any bad entry, or a value with no entry at all, sets `ec`
  // to code 3 and returns an empty preference. Tags come out lower-cased, by falling q, then
  // by falling tag length.
  static LanguagePreference MakeLanguagePreference(std::string_view value, std::error_code& ec);

  // The available locale that best serves `requested` (most preferred first), spelled as in
  // `available`, or the empty string. Names match ignoring ASCII case with "-" and "_"
  // treated alike; a requested tag that finds no match is shortened subtag by subtag
  // ("de-ch-1901", "de-ch", "de") before the next tag is tried. Two deliberate departures
  // from plain RFC 4647 lookup: a least preferred tag of exactly "*" means "any, so nothing
  // in particular" and yields the empty string at once, and a one-letter subtag is dropped
  // together with the subtag after it.
  static std::string Lookup(const std::vector<std::string>& requested,
                            const std::vector<std::string>& available);
};

struct OLMA_API LocaleSpecHelpers {
  // Reads "accept-language", "format-locale" and "timezone" (effective values; a missing or
  // empty entry counts as absent) from the application context. The format locale defaults
  // to the language, both to "en_US"/"C" when neither is given, the time zone to "Etc/UTC".
  // A malformed value sets `ec` (code 3) and yields the default specification: a bad header
  // never stops a request. An empty context pointer yields the default specification.
  static LocaleSpec::PtrConstType ExtractLocaleSpec(
      const std::shared_ptr<const Core::ExecutionContext>& context, std::error_code& ec);
  static LocaleSpec::PtrConstType ExtractLocaleSpec(const Core::ExecutionContext& context,
                                                    std::error_code& ec);
};

}  // namespace L10n
}  // namespace Olma
