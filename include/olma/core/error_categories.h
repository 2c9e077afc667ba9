// The library's error categories for std::error_code.
//
// Formatting, number parsing and date-time creation report failures through an
// error code passed by reference instead of throwing. Each category is a singleton
// reached through its accessor; the accessors are safe to call from any thread.
//
//   std::error_code ec;
//   Olma::Detail::Format("{2}", args, 1, ec);
//   if (ec == std::error_code(3, Olma::GetFormatCategory())) { ... }
#pragma once

#include <string>
#include <system_error>

#include "olma/core/export.h"

namespace Olma {

// Codes of the formatter.
enum class FormatError : int {
  NamedArgumentNotFound = 1,
  EmptyNamedSpecifier = 2,
  MoreSpecifiersThanExpected = 3,
};

// Codes of the number conversions (Detail::CheckConvert).
enum class ToolsError : int {
  NotANumber = 1,
  OutOfRange = 2,
};

class OLMA_API FormatCategory : public std::error_category {
 public:
  const char* name() const noexcept override;
  std::string message(int code) const override;
};

// Code 1 means the text is not a complete number, code 2 that it is out of range. The
// texts are those of the format category, word for word: log output is matched on them.
class OLMA_API ToolsCategory : public std::error_category {
 public:
  const char* name() const noexcept override;
  std::string message(int code) const override;
};

// Code 1: a date-time could not be created.
class OLMA_API DateTimeCategory : public std::error_category {
 public:
  const char* name() const noexcept override;
  std::string message(int code) const override;
};

OLMA_API const FormatCategory& GetFormatCategory() noexcept;
OLMA_API const ToolsCategory& GetToolsCategory() noexcept;
OLMA_API const DateTimeCategory& GetDateTimeCategory() noexcept;

}  // namespace Olma
