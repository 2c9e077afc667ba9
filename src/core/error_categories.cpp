#include "olma/core/error_categories.h"

namespace Olma {

const char* FormatCategory::name() const noexcept {
  return "Olma Format Error";
}

std::string FormatCategory::message(int code) const {
  switch (code) {
    case 1:
      return "Named argument not found.";
    case 2:
      return "Empty Named specifier found.";
    case 3:
      return "More specifiers than expected.";
    default:
      return "format error";
  }
}

const char* ToolsCategory::name() const noexcept {
  return "Olma Tools Error";
}

std::string ToolsCategory::message(int code) const {
  switch (code) {
    case 1:
      return "Named argument not found.";
    case 2:
      return "Empty Named specifier found.";
    default:
      return "tools error";
  }
}

const char* DateTimeCategory::name() const noexcept {
  return "Olma DateTime Error";
}

std::string DateTimeCategory::message(int code) const {
  return code == 1 ? "Failed to create DateTime." : "format error";
}

const FormatCategory& GetFormatCategory() noexcept {
  static const FormatCategory category;
  return category;
}

const ToolsCategory& GetToolsCategory() noexcept {
  static const ToolsCategory category;
  return category;
}

const DateTimeCategory& GetDateTimeCategory() noexcept {
  static const DateTimeCategory category;
  return category;
}

}  // namespace Olma
