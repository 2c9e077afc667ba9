// Message builders: messages whose arguments keep their types (numbers, date-times, nested
// messages) until the message is localised for a reader.
//
// A PositionalMessageBuilder fills "{1}", "{2}", ... of its template from a list of
// arguments; a NamedMessageBuilder fills "{name}" fields from a map. The English template is
// the builder's own; a localizer (localizer.h) may replace it with a translation of the
// message identifier and renders every argument for the reader's locale:
//
//   using Olma::L10n::DateTimeFormat;
//   Olma::PositionalMessageBuilder message("com.example.quota.exceeded",
//                                          "{1} of {2} items used on {3}",
//                                          {Olma::MsgArgument(12), Olma::MsgArgument(10.5, 1),
//                                           Olma::MsgArgument(when, DateTimeFormat::LONG_DATE)});
//   std::string text = localizer->formatString(message, *spec, ec);
//
// Builders and arguments are plain values: copy them freely, read them from any number of
// threads. Nested builders are shared, immutable, and released without recursion, so a
// chain of any depth is safe to build, format, convert and destroy.
#pragma once

#include <array>
#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <system_error>
#include <utility>
#include <variant>
#include <vector>

#include "olma/core/date_time.h"
#include "olma/core/export.h"
#include "olma/data/value.h"

namespace Olma {

class NamedMessageBuilder;
class PositionalMessageBuilder;

namespace L10n {

class Localizer;
class LocaleSpec;

// The style in which a date-time argument is written. The twelve styles are the locale's
// own short/medium/long/full forms of the date, the time, or both; CUSTOM uses the
// argument's own pattern instead.
class OLMA_API DateTimeFormat {
 public:
  enum EnumType : int {
    SHORT_DATE = 0,
    MED_DATE = 1,
    LONG_DATE = 2,
    FULL_DATE = 3,
    SHORT_TIME = 4,
    MED_TIME = 5,
    LONG_TIME = 6,
    FULL_TIME = 7,
    SHORT_DATE_TIME = 8,
    MED_DATE_TIME = 9,
    LONG_DATE_TIME = 10,
    FULL_DATE_TIME = 11,
    CUSTOM = 12,
  };

  struct Strings {
    static constexpr std::array<std::string_view, 13> values = {
        "SHORT_DATE",     "MED_DATE",       "LONG_DATE", "FULL_DATE",       "SHORT_TIME",
        "MED_TIME",       "LONG_TIME",      "FULL_TIME", "SHORT_DATE_TIME", "MED_DATE_TIME",
        "LONG_DATE_TIME", "FULL_DATE_TIME", "_UNKNOWN"};
  };

  constexpr DateTimeFormat(EnumType value = CUSTOM) noexcept : value_(value) {}
  constexpr operator EnumType() const noexcept { return value_; }

  // The name from Strings::values; a value outside the table is named "_UNKNOWN" as well.
  constexpr std::string_view name() const noexcept {
    return value_ >= SHORT_DATE && value_ <= CUSTOM ? Strings::values[value_] : Strings::values[CUSTOM];
  }

 private:
  EnumType value_;
};

}  // namespace L10n

// One typed argument of a message. kind() tells which alternative it holds:
//   0 integer, 1 double with a precision (digits after the decimal mark; negative means "as
//   many as needed"), 2 string, 3 date-time with a style (and a pattern for CUSTOM),
//   4 nested named message, 5 nested positional message.
// A default-constructed argument holds nothing (kind -1) and renders as "_Error_".
class OLMA_API MsgArgument {
 public:
  struct Double {
    double value;
    std::int64_t precision;
  };
  struct When {
    DateTime value;
    L10n::DateTimeFormat format;
    std::string pattern;
  };
  using NamedPtr = std::shared_ptr<const NamedMessageBuilder>;
  using PositionalPtr = std::shared_ptr<const PositionalMessageBuilder>;

  enum Kind : int {
    Unset = -1,
    IntegerKind = 0,
    DoubleKind = 1,
    StringKind = 2,
    DateTimeKind = 3,
    NamedMessageKind = 4,
    PositionalMessageKind = 5,
  };

  MsgArgument() = default;
  MsgArgument(int value) : value_(std::in_place_type<std::int64_t>, value) {}
  MsgArgument(long value) : value_(std::in_place_type<std::int64_t>, value) {}
  MsgArgument(long long value) : value_(std::in_place_type<std::int64_t>, value) {}
  MsgArgument(double value, std::int64_t precision) : value_(Double{value, precision}) {}
  MsgArgument(std::string value) : value_(std::move(value)) {}
  MsgArgument(std::string_view value) : value_(std::in_place_type<std::string>, value) {}
  MsgArgument(const char* value) : value_(std::in_place_type<std::string>, value) {}
  MsgArgument(DateTime value, L10n::DateTimeFormat format, std::string pattern = {})
      : value_(When{std::move(value), format, std::move(pattern)}) {}
  MsgArgument(NamedPtr nested) : value_(std::move(nested)) {}
  MsgArgument(PositionalPtr nested) : value_(std::move(nested)) {}

  int kind() const noexcept { return static_cast<int>(value_.index()) - 1; }

  // The alternative held; a null pointer when the argument holds another kind.
  const std::int64_t* integer() const noexcept { return std::get_if<std::int64_t>(&value_); }
  const Double* floating() const noexcept { return std::get_if<Double>(&value_); }
  const std::string* string() const noexcept { return std::get_if<std::string>(&value_); }
  const When* dateTime() const noexcept { return std::get_if<When>(&value_); }
  const NamedPtr* named() const noexcept { return std::get_if<NamedPtr>(&value_); }
  const PositionalPtr* positional() const noexcept { return std::get_if<PositionalPtr>(&value_); }

  // The argument as text for `spec`: numbers through the localizer's stored formatters for
  // the format locale (calling an empty formatter throws std::bad_function_call), date-times
  // through its date-time formatting, strings as they are, nested messages formatted with
  // the same localizer and spec (an empty nested pointer gives "_Error_", as does an unset
  // argument). Localisation failures set `ec`; some text is returned all the same.
  std::string format(const L10n::Localizer& localizer, const L10n::LocaleSpec& spec,
                     std::error_code& ec) const;

  // The "com.zorvex.olma.std.localization_param" structure of this argument: seven
  // optional fields of which exactly those of its kind are set (none for a nested
  // positional message, which has no wire form, and none for an unset argument).
  Data::DataValue::PtrConstType ToDataValue(const L10n::Localizer& localizer, const L10n::LocaleSpec& spec,
                                            std::error_code& ec) const;

 private:
  friend struct MessageBuilderRelease;

  std::variant<std::monostate, std::int64_t, Double, std::string, When, NamedPtr, PositionalPtr> value_;
};

// What both builders share: identifier and English template. Not used on its own.
class OLMA_API MessageBuilderBase {
 public:
  const std::string& id() const noexcept { return id_; }
  const std::string& defaultTemplate() const noexcept { return template_; }
  bool isNamed() const noexcept { return named_; }

 protected:
  MessageBuilderBase(std::string id, std::string tmpl, bool named) noexcept
      : id_(std::move(id)), template_(std::move(tmpl)), named_(named) {}
  MessageBuilderBase(const MessageBuilderBase&) = default;
  MessageBuilderBase(MessageBuilderBase&&) = default;
  MessageBuilderBase& operator=(const MessageBuilderBase&) = default;
  MessageBuilderBase& operator=(MessageBuilderBase&&) = default;
  ~MessageBuilderBase() = default;

 private:
  std::string id_;
  std::string template_;
  bool named_;
};

class OLMA_API PositionalMessageBuilder : public MessageBuilderBase {
 public:
  PositionalMessageBuilder(std::string id, std::string tmpl, std::vector<MsgArgument> args = {})
      : MessageBuilderBase(std::move(id), std::move(tmpl), false), args_(std::move(args)) {}
  PositionalMessageBuilder(const PositionalMessageBuilder&) = default;
  PositionalMessageBuilder(PositionalMessageBuilder&&) = default;
  PositionalMessageBuilder& operator=(const PositionalMessageBuilder&) = default;
  PositionalMessageBuilder& operator=(PositionalMessageBuilder&&) = default;
  // Releases nested builders without recursion.
  ~PositionalMessageBuilder();

  // Appends the next argument.
  PositionalMessageBuilder& Add(MsgArgument argument) {
    args_.push_back(std::move(argument));
    return *this;
  }

  const std::vector<MsgArgument>& args() const noexcept { return args_; }

 private:
  friend struct MessageBuilderRelease;
  std::vector<MsgArgument> args_;
};

class OLMA_API NamedMessageBuilder : public MessageBuilderBase {
 public:
  using Params = std::map<std::string, MsgArgument>;

  NamedMessageBuilder(std::string id, std::string tmpl, Params params = {})
      : MessageBuilderBase(std::move(id), std::move(tmpl), true), params_(std::move(params)) {}
  // Identifier and template of `positional`, each argument keyed by its 1-based position in
  // decimal ("1", "2", ...).
  explicit NamedMessageBuilder(const PositionalMessageBuilder& positional);
  NamedMessageBuilder(const NamedMessageBuilder&) = default;
  NamedMessageBuilder(NamedMessageBuilder&&) = default;
  NamedMessageBuilder& operator=(const NamedMessageBuilder&) = default;
  NamedMessageBuilder& operator=(NamedMessageBuilder&&) = default;
  // Releases nested builders without recursion.
  ~NamedMessageBuilder();

  // Sets (or replaces) a parameter.
  NamedMessageBuilder& Set(std::string name, MsgArgument argument) {
    params_.insert_or_assign(std::move(name), std::move(argument));
    return *this;
  }

  const Params& params() const noexcept { return params_; }

 private:
  friend struct MessageBuilderRelease;
  Params params_;
};

struct OLMA_API MsgArgumentHelper {
  // The "com.zorvex.olma.std.nested_localizable_message" structure of `builder`: its "id",
  // and "params" (a list of "map-entry" structures in name order) set only when it has
  // parameters. Nesting of any depth is converted without recursion.
  static Data::DataValue::PtrConstType NestedNamedMsgBuilderToDataValue(const NamedMessageBuilder& builder,
                                                                        const L10n::Localizer& localizer,
                                                                        const L10n::LocaleSpec& spec,
                                                                        std::error_code& ec);
};

}  // namespace Olma
