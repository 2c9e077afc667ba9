// The localizer: writes a message for a reader, in the reader's language, with numbers and
// date-times in the reader's format locale and time zone.
//
// Localizer is the interface the message conversion calls. Its template choice is done
// here, without any locale data: the best of the request's languages among the locales the
// localizer serves (negotiated with LocaleHelpers::Lookup), the template of the message
// identifier in that locale's dictionary, and the builder's own English template when there
// is none. English ("en_US", "en") is always served, by the builders' own templates, unless
// the localizer is given dictionaries of its own for it. Numbers and date-times need locale
// data: a concrete localizer (for example Olma::L10n::IcuLocalizer of the olma::l10n_icu
// component) supplies the number formatters and the date-time formatting.
//
//   auto localizer = Olma::L10n::IcuLocalizer::GetInstance(bundle, {"de", "fr"});
//   std::error_code ec;
//   auto request = Olma::L10n::RequestLocalizer::FromContext(localizer, *context, ec);
//   activation->requestLocalizer(request);
//   auto wire = Olma::L10n::MessageHelpers::MsgToDataValue(message, *request, ec);
//
// Failure reports: a language that none of the served locales matches sets code 1, an
// identifier the chosen dictionary lacks code 5 (or the bundle's loader error), a
// translated template whose fields do not fit the arguments the format category's code;
// the text then falls back to the English template. Number and date-time failures are the
// concrete localizer's to report. Nothing throws on bad input.
//
// Thread safety: a localizer is immutable once built; any number of threads may use one.
// The bundle it reads is locked by itself.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <system_error>
#include <vector>

#include "olma/core/date_time.h"
#include "olma/core/export.h"
#include "olma/invocation/execution_context.h"
#include "olma/l10n/locale.h"
#include "olma/l10n/localization_bundle.h"
#include "olma/l10n/message_builder.h"

namespace Olma {
namespace L10n {

class OLMA_API Localizer {
 public:
  using PtrConstType = std::shared_ptr<const Localizer>;
  // Writes an integer for a format-locale preference.
  using IntegerFormatter =
      std::function<std::string(std::int64_t value, const LanguagePreference& format, std::error_code& ec)>;
  // Writes a double with `precision` digits after the decimal mark (negative: as many as
  // needed to read it back) for a format-locale preference.
  using DoubleFormatter = std::function<std::string(double value, std::int64_t precision,
                                                    const LanguagePreference& format, std::error_code& ec)>;

  virtual ~Localizer();
  Localizer(const Localizer&) = delete;
  Localizer& operator=(const Localizer&) = delete;

  // The message in the request's language: its template (messageTemplate) filled with the
  // arguments rendered for `spec`, nested messages included (walked without recursion).
  std::string formatString(const PositionalMessageBuilder& builder, const LocaleSpec& spec,
                           std::error_code& ec) const;
  std::string formatString(const NamedMessageBuilder& builder, const LocaleSpec& spec,
                           std::error_code& ec) const;

  const IntegerFormatter& integerFormatter() const noexcept { return integerFormatter_; }
  const DoubleFormatter& doubleFormatter() const noexcept { return doubleFormatter_; }

  // `when` in the locale spec's format locale and time zone, in one of the twelve styles or, for
  // DateTimeFormat::CUSTOM, with `pattern`.
  virtual std::string formatDateTime(const DateTime& when, DateTimeFormat format, std::string_view pattern,
                                     const LocaleSpec& spec, std::error_code& ec) const = 0;

  // The template of message `id` for the language preference: from the dictionary of the
  // best served locale, else `defaultTemplate` (see the failure reports above).
  virtual std::string messageTemplate(std::string_view id, std::string_view defaultTemplate,
                                      const LanguagePreference& language, std::error_code& ec) const;

  // The locales negotiated against: those given at construction, then the implicit English.
  const std::vector<std::string>& availableLocales() const noexcept { return available_; }

 protected:
  // `locales` are the locales whose templates `bundle` provides (its loader may fetch them
  // on first use); when empty, the locales the bundle holds now. `bundle` may be empty: the
  // localizer then writes every message with its English template.
  Localizer(std::shared_ptr<const LocalizationBundle> bundle, std::vector<std::string> locales,
            IntegerFormatter integerFormatter, DoubleFormatter doubleFormatter);

 private:
  std::string FormatBuilder(const MessageBuilderBase& root, const LocaleSpec& spec,
                            std::error_code& ec) const;

  std::shared_ptr<const LocalizationBundle> bundle_;
  std::vector<std::string> available_;
  std::size_t served_ = 0;  // available_[0, served_) come from the bundle, the rest is English
  IntegerFormatter integerFormatter_;
  DoubleFormatter doubleFormatter_;
};

// A localizer together with one request's locale specification: what an activation holds
// so that everything written back to that request's caller is localised alike.
class OLMA_API RequestLocalizer {
  struct PrivateTag {
    explicit PrivateTag() = default;
  };

 public:
  using PtrConstType = std::shared_ptr<const RequestLocalizer>;

  // Both pointers must be set (std::invalid_argument otherwise: a programming error).
  static PtrConstType GetInstance(Localizer::PtrConstType localizer, LocaleSpec::PtrConstType spec);
  // The spec extracted from the context's application context (see ExtractLocaleSpec): a
  // malformed header sets `ec` and yields the default spec.
  static PtrConstType FromContext(Localizer::PtrConstType localizer, const Core::ExecutionContext& context,
                                  std::error_code& ec);

  const Localizer& localizer() const noexcept { return *localizer_; }
  const Localizer::PtrConstType& localizerPtr() const noexcept { return localizer_; }
  const LocaleSpec& localeSpec() const noexcept { return *spec_; }
  const LocaleSpec::PtrConstType& localeSpecPtr() const noexcept { return spec_; }

  RequestLocalizer(PrivateTag, Localizer::PtrConstType localizer, LocaleSpec::PtrConstType spec) noexcept
      : localizer_(std::move(localizer)), spec_(std::move(spec)) {}

 private:
  Localizer::PtrConstType localizer_;
  LocaleSpec::PtrConstType spec_;
};

}  // namespace L10n
}  // namespace Olma
