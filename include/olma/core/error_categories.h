// The library's error categories for std::error_code.
//
// Formatting, number parsing and date-time creation report failures through an
// error code passed by reference instead of throwing. Each category is a singleton
// reached through its accessor; the accessors are safe to call from any thread.
// The code enums below are registered as error-code enums, so they compare with an
// error code directly:
//
//   std::error_code ec;
//   Olma::Detail::Format("{2}", args, 1, ec);
//   if (ec == Olma::FormatError::MoreSpecifiersThanExpected) { ... }
#pragma once

#include <string>
#include <system_error>
#include <type_traits>

#include "olma/core/export.h"

namespace Olma {

// Codes of the formatter.
enum class FormatError : int {
  NamedArgumentNotFound = 1,
  EmptyNamedSpecifier = 2,
  MoreSpecifiersThanExpected = 3,
  // A conversion specification that is not well formed, does not fit its argument's
  // type or asks for more than the width and precision bound. Its message is the
  // category's catch-all text, "format error".
  InvalidSpecification = 4,
};

// Codes of the number conversions (Detail::CheckConvert).
enum class ToolsError : int {
  NotANumber = 1,
  OutOfRange = 2,
};

// Codes of DateTime::Create.
enum class DateTimeError : int {
  CreateFailed = 1,
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

// The error code of each enum value in its category; found by argument-dependent lookup
// when an enum value is converted to std::error_code.
inline std::error_code make_error_code(FormatError code) noexcept {
  return {static_cast<int>(code), GetFormatCategory()};
}
inline std::error_code make_error_code(ToolsError code) noexcept {
  return {static_cast<int>(code), GetToolsCategory()};
}
inline std::error_code make_error_code(DateTimeError code) noexcept {
  return {static_cast<int>(code), GetDateTimeCategory()};
}

}  // namespace Olma

namespace std {
template <>
struct is_error_code_enum<Olma::FormatError> : true_type {};
template <>
struct is_error_code_enum<Olma::ToolsError> : true_type {};
template <>
struct is_error_code_enum<Olma::DateTimeError> : true_type {};
}  // namespace std
