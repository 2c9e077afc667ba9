// IcuLocalizer: the localizer of the olma::l10n_icu component, with ICU's locale data.
//
// Message templates are chosen as every Localizer chooses them (the best served locale's
// dictionary, else English). Numbers are written with the grouping, decimal mark and digits
// of the request's format locale; date-times in its format locale and time zone, in the
// locale's short, medium, long or full date, time or date-and-time form, or with an ICU
// date pattern ("yyyy-MM-dd HH:mm zzzz") for DateTimeFormat::CUSTOM. The format locale "C"
// (the default) writes numbers without grouping and dates in the POSIX English forms.
//
//   find_package(olma-core REQUIRED COMPONENTS l10n_icu)
//   target_link_libraries(app PRIVATE olma::l10n_icu)
//
//   auto localizer = Olma::L10n::IcuLocalizer::GetInstance(bundle, {"de", "fr"});
//   std::error_code ec;
//   std::string text = localizer->formatString(message, *spec, ec);
//
// Failure reports (localisation category): a format-locale preference that matches no
// locale ICU knows sets code 2 and writes as for "C"; so do an unknown time-zone name (the
// time is then written in UTC) and a custom pattern ICU refuses (the date-time's canonical
// UTC text is written). Nothing throws on bad input.
//
// Performance: ICU formatters are costly to build, so each localizer keeps the ones it has
// built, per format locale, precision, time zone and style, up to a fixed number of each
// (past that, formatters for new combinations are built for the call and dropped).
//
// Thread safety: any number of threads may use one localizer; its caches are locked
// internally, and a cached date formatter is used by one thread at a time.
#pragma once

#include <memory>
#include <string>
#include <string_view>
#include <system_error>
#include <vector>

#include "olma/core/export.h"
#include "olma/l10n/localizer.h"

namespace Olma {
namespace L10n {

class OLMA_API IcuLocalizer final : public Localizer {
  struct PrivateTag {
    explicit PrivateTag() = default;
  };

 public:
  class Formatters;

  // `locales` are the locales `bundle` provides templates for (see Localizer); `bundle` may
  // be empty for a localizer that writes English messages with localised numbers and dates.
  static PtrConstType GetInstance(std::shared_ptr<const LocalizationBundle> bundle,
                                  std::vector<std::string> locales = {});

  std::string formatDateTime(const DateTime& when, DateTimeFormat format, std::string_view pattern,
                             const LocaleSpec& spec, std::error_code& ec) const override;

  // Only GetInstance can name the tag.
  IcuLocalizer(PrivateTag, std::shared_ptr<const LocalizationBundle> bundle, std::vector<std::string> locales,
               std::shared_ptr<Formatters> formatters);
  ~IcuLocalizer() override;

 private:
  std::shared_ptr<Formatters> formatters_;
};

}  // namespace L10n
}  // namespace Olma
