// The error category of localisation: locale negotiation, bundles and the localizer report
// through a std::error_code of this category instead of throwing.
//
//   std::error_code ec;
//   auto preference = Olma::L10n::LocaleHelpers::MakeLanguagePreference("en;q", ec);
//   if (ec == Olma::L10n::L10nError::BadLanguageHeader) { ... }
//
// The category is a singleton reached through GetL10nCategory(), safe from any thread.
#pragma once

#include <string>
#include <system_error>
#include <type_traits>

#include "olma/core/export.h"

namespace Olma {
namespace L10n {

enum class L10nError : int {
  LocaleNotSupported = 1,
  FormatLocaleNotSupported = 2,
  BadLanguageHeader = 3,
  NoFormatString = 4,
  UnknownMessageId = 5,
  BundleLoadFailed = 6,
  ErrorValueNotLocalized = 7,
};

// name() "Olma Localization Error"; message() gives the fixed text of each code and
// "localization error" for any other value.
class OLMA_API L10nCategory : public std::error_category {
 public:
  const char* name() const noexcept override;
  std::string message(int code) const override;
};

OLMA_API const L10nCategory& GetL10nCategory() noexcept;

inline std::error_code make_error_code(L10nError code) noexcept {
  return {static_cast<int>(code), GetL10nCategory()};
}

}  // namespace L10n
}  // namespace Olma

namespace std {
template <>
struct is_error_code_enum<Olma::L10n::L10nError> : true_type {};
}  // namespace std
