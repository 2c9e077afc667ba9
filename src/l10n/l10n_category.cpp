#include "olma/l10n/l10n_category.h"

namespace Olma {
namespace L10n {

const char* L10nCategory::name() const noexcept {
  return "Olma Localization Error";
}

std::string L10nCategory::message(int code) const {
  switch (code) {
    case 1:
      return "Requested locale not supported";
    case 2:
      return "Requested format locale not supported";
    case 3:
      return "Incorrect value of accept-language or olma-ctx-format-locale header";
    case 4:
      return "Default message formatter - no formatString";
    case 5:
      return "Unknown message ID";
    case 6:
      return "Failed to load localization bundle";
    case 7:
      return "Failed to localize ErrorValue";
    default:
      return "localization error";
  }
}

const L10nCategory& GetL10nCategory() noexcept {
  static const L10nCategory category;
  return category;
}

}  // namespace L10n
}  // namespace Olma
