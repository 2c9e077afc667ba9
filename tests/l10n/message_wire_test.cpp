#include "olma/l10n/message_wire.h"

#include <cstdio>
#include <memory>
#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "olma/data/values.h"
#include "olma/l10n/l10n_category.h"

namespace {

using Olma::DateTime;
using Olma::MsgArgument;
using Olma::NamedMessageBuilder;
using Olma::PositionalMessageBuilder;
using Olma::Data::CompoundValue;
using Olma::Data::DataValue;
using Olma::Data::OptionalValue;
using Olma::L10n::DateTimeFormat;
using Olma::L10n::L10nError;
using Olma::L10n::LocaleSpec;
using Olma::L10n::MessageHelpers;

// Numbers as "<tags>:value" and date-times as "<text>/<style or pattern>@<zone>", so each
// test sees which settings reached the formatters.
class TestLocalizer final : public Olma::L10n::Localizer {
 public:
  TestLocalizer(std::shared_ptr<const Olma::L10n::LocalizationBundle> bundle,
                std::vector<std::string> locales)
      : Localizer(
            std::move(bundle), std::move(locales),
            [](std::int64_t value, const Olma::L10n::LanguagePreference& format, std::error_code&) {
              return format.tags().front() + ":" + std::to_string(value);
            },
            [](double value, std::int64_t precision, const Olma::L10n::LanguagePreference& format,
               std::error_code&) {
              char text[64];
              std::snprintf(text, sizeof text, "%.*f", static_cast<int>(precision), value);
              return format.tags().front() + ":" + text;
            }) {}

  std::string formatDateTime(const DateTime& when, DateTimeFormat format, std::string_view pattern,
                             const LocaleSpec& spec, std::error_code&) const override {
    return when.text() + "/" + std::string(pattern.empty() ? format.name() : pattern) + "@" +
           spec.timezone().name();
  }
};

std::shared_ptr<const Olma::L10n::LocalizationBundle> GermanBundle() {
  auto bundle = std::make_shared<Olma::L10n::LocalizationBundle>();
  Olma::L10n::DictionaryRange entries(Olma::L10n::Dictionary{{"quota", "{1} von {2} belegt am {3}"},
                                                             {"named", "{who} sagt {what}"},
                                                             {"inner", "innen {x}"},
                                                             {"broken", "{1} {2} {3} {4}"}});
  bundle->AddLocale("de", entries);
  return bundle;
}

class MessageWire : public ::testing::Test {
 protected:
  Olma::L10n::RequestLocalizer::PtrConstType Request(const char* language, const char* format) {
    std::error_code ec;
    auto spec =
        std::make_shared<const LocaleSpec>(Olma::L10n::LocaleHelpers::MakeLanguagePreference(language, ec),
                                           Olma::L10n::LocaleHelpers::MakeLanguagePreference(format, ec),
                                           Olma::L10n::TimezoneSpec("Europe/Berlin"));
    return Olma::L10n::RequestLocalizer::GetInstance(localizer_, std::move(spec));
  }

  std::error_code ec_;
  Olma::L10n::Localizer::PtrConstType localizer_ =
      std::make_shared<const TestLocalizer>(GermanBundle(), std::vector<std::string>{"de"});
  DateTime when_ = DateTime::Create("2021-06-01T12:00:00.250Z", ec_);
};

const CompoundValue& Struct(const DataValue::PtrConstType& value) {
  return static_cast<const CompoundValue&>(*value);
}

const DataValue::PtrConstType& Field(const DataValue::PtrConstType& value, const char* name) {
  return Struct(value).fields().at(name);
}

// The content of an optional field, or an empty pointer when it is unset.
DataValue::PtrConstType Content(const DataValue::PtrConstType& value, const char* name) {
  const auto& optional = static_cast<const OptionalValue&>(*Field(value, name));
  return optional.isSet() ? optional.value() : nullptr;
}

std::string Text(const DataValue::PtrConstType& value) {
  return static_cast<const Olma::Data::StringValue&>(*value).value();
}

TEST_F(MessageWire, PositionalMessageCarriesArgsAndTheLocalizedText) {
  const PositionalMessageBuilder builder(
      "quota", "{1} of {2} used on {3}",
      {MsgArgument(12), MsgArgument(10.5, 1), MsgArgument(when_, DateTimeFormat::LONG_DATE)});
  std::error_code ec;
  const auto wire = MessageHelpers::MsgToDataValue(builder, *Request("de-DE, en;q=0.5", "de-DE"), ec);
  EXPECT_FALSE(ec);
  EXPECT_EQ(Struct(wire).name(), "com.zorvex.olma.std.localizable_message");
  EXPECT_EQ(Text(Field(wire, "id")), "quota");
  EXPECT_EQ(Text(Field(wire, "default_message")),
            "c:12 of c:10.5 used on 2021-06-01T12:00:00.250Z/LONG_DATE@Etc/UTC");
  const auto& args = static_cast<const Olma::Data::ListValueString&>(*Field(wire, "args"));
  EXPECT_THAT(args, ::testing::ElementsAre("de-de:12", "de-de:10.5",
                                           "2021-06-01T12:00:00.250Z/LONG_DATE@Europe/Berlin"));
  EXPECT_EQ(Text(Content(wire, "localized")),
            "de-de:12 von de-de:10.5 belegt am 2021-06-01T12:00:00.250Z/LONG_DATE@Europe/Berlin");
  EXPECT_EQ(Content(wire, "params"), nullptr);
  EXPECT_EQ(Struct(wire).fields().size(), 5u);
}

TEST_F(MessageWire, LocalizationFailuresOnlyDropLocalized) {
  struct Case {
    const char* id;
    const char* language;
    std::error_code expected;
  };
  const Case cases[] = {
      {"quota", "ja, *", L10nError::LocaleNotSupported},
      {"unknown.id", "de", L10nError::UnknownMessageId},
      {"broken", "de", std::error_code(3, Olma::GetFormatCategory())},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.id);
    const PositionalMessageBuilder builder(c.id, "{1} and {2}", {MsgArgument("a"), MsgArgument("b")});
    std::error_code ec;
    const auto wire = MessageHelpers::MsgToDataValue(builder, *Request(c.language, "C"), ec);
    EXPECT_EQ(ec, c.expected);
    EXPECT_EQ(Text(Field(wire, "default_message")), "a and b");
    EXPECT_EQ(Content(wire, "localized"), nullptr);
  }
}

TEST_F(MessageWire, EnglishIsServedByTheBuildersOwnTemplate) {
  const NamedMessageBuilder builder("named", "{who} says {what}", {{"who", "Ann"}, {"what", "hello"}});
  std::error_code ec;
  const auto wire = MessageHelpers::MsgToDataValue(builder, *Request("fr, en-GB;q=0.8, de;q=0.5", "C"), ec);
  EXPECT_FALSE(ec);
  EXPECT_EQ(Text(Content(wire, "localized")), "Ann says hello");
  EXPECT_TRUE(static_cast<const Olma::Data::ListValueString&>(*Field(wire, "args")).empty());
}

TEST_F(MessageWire, NamedMessageSendsItsParameters) {
  auto nested = std::make_shared<const NamedMessageBuilder>(
      "inner", "inner {x}", NamedMessageBuilder::Params{{"x", MsgArgument(7)}});
  const NamedMessageBuilder builder("named", "{who} says {what}",
                                    {{"who", MsgArgument(nested)},
                                     {"what", MsgArgument(when_, DateTimeFormat::CUSTOM, "yyyy")},
                                     {"when", MsgArgument(when_, DateTimeFormat::CUSTOM)},
                                     {"d", MsgArgument(2.5, 3)}});
  std::error_code ec;
  const auto wire = MessageHelpers::MsgToDataValue(builder, *Request("de", "de"), ec);
  EXPECT_FALSE(ec);
  EXPECT_EQ(Text(Content(wire, "localized")), "innen de:7 sagt 2021-06-01T12:00:00.250Z/yyyy@Europe/Berlin");
  const auto& params = static_cast<const Olma::Data::ListValue&>(*Content(wire, "params"));
  std::vector<std::string> keys;
  for (const auto& entry : params) {
    EXPECT_EQ(Struct(entry).name(), "map-entry");
    keys.push_back(Text(Field(entry, "key")));
  }
  EXPECT_THAT(keys, ::testing::ElementsAre("d", "what", "when", "who"));
  const auto d = Field(params.front(), "value");
  EXPECT_EQ(Struct(d).name(), "com.zorvex.olma.std.localization_param");
  EXPECT_EQ(static_cast<const Olma::Data::DoubleValue&>(*Content(d, "d")).value(), 2.5);
  EXPECT_EQ(static_cast<const Olma::Data::IntegerValue&>(*Content(d, "precision")).value(), 3);
  const auto what = Field(*std::next(params.begin()), "value");
  EXPECT_EQ(Text(Content(what, "dt")), "2021-06-01T12:00:00.250Z");
  EXPECT_EQ(Text(Content(what, "format")), "yyyy");
  const auto when = Field(*std::next(params.begin(), 2), "value");
  EXPECT_EQ(Text(Content(when, "format")), "_UNKNOWN");
  const auto who = Content(Field(params.back(), "value"), "l");
  EXPECT_EQ(Struct(who).name(), "com.zorvex.olma.std.nested_localizable_message");
  EXPECT_EQ(Text(Field(who, "id")), "inner");
  EXPECT_EQ(Struct(who).fields().size(), 2u);
  const auto& inner = static_cast<const Olma::Data::ListValue&>(*Content(who, "params"));
  ASSERT_EQ(inner.size(), 1u);
  EXPECT_EQ(
      static_cast<const Olma::Data::IntegerValue&>(*Content(Field(inner.front(), "value"), "i")).value(), 7);
}

TEST_F(MessageWire, NamedMessageWithoutParametersLeavesParamsUnset) {
  const NamedMessageBuilder builder("plain", "Plain text");
  std::error_code ec;
  const auto wire = MessageHelpers::MsgToDataValue(builder, *Request("en", "C"), ec);
  EXPECT_EQ(Content(wire, "params"), nullptr);
  EXPECT_TRUE(static_cast<const Olma::Data::ListValueString&>(*Field(wire, "args")).empty());
  EXPECT_EQ(Text(Content(wire, "localized")), "Plain text");
}

TEST_F(MessageWire, EachKindSetsExactlyItsFields) {
  auto positional = std::make_shared<const PositionalMessageBuilder>("p", "p");
  auto named = std::make_shared<const NamedMessageBuilder>("n", "n");
  struct Case {
    MsgArgument argument;
    std::vector<std::string> set;
    const char* rendered;
  };
  const Case cases[] = {
      {MsgArgument(5), {"i"}, "c:5"},
      {MsgArgument(1.25, 2), {"d", "precision"}, "c:1.25"},
      {MsgArgument("text"), {"s"}, "text"},
      {MsgArgument(when_, DateTimeFormat::SHORT_TIME, "ignored"),
       {"dt", "format"},
       "2021-06-01T12:00:00.250Z/ignored@Etc/UTC"},
      {MsgArgument(named), {"l"}, "n"},
      {MsgArgument(positional), {}, "p"},
      {MsgArgument(), {}, "_Error_"},
      {MsgArgument(MsgArgument::NamedPtr()), {}, "_Error_"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.rendered);
    std::error_code ec;
    const auto param = c.argument.ToDataValue(*localizer_, *LocaleSpec::Default(), ec);
    std::vector<std::string> fields, set;
    for (const auto& [name, value] : Struct(param).fields()) {
      fields.push_back(name);
      if (static_cast<const OptionalValue&>(*value).isSet()) set.push_back(name);
    }
    EXPECT_THAT(fields, ::testing::UnorderedElementsAre("s", "dt", "i", "d", "l", "format", "precision"));
    EXPECT_THAT(set, ::testing::UnorderedElementsAreArray(c.set));
    EXPECT_EQ(c.argument.format(*localizer_, *LocaleSpec::Default(), ec), c.rendered);
  }
}

TEST(DateTimeFormat, NamesEveryStyle) {
  EXPECT_EQ(DateTimeFormat(DateTimeFormat::SHORT_DATE).name(), "SHORT_DATE");
  EXPECT_EQ(DateTimeFormat(DateTimeFormat::MED_DATE_TIME).name(), "MED_DATE_TIME");
  EXPECT_EQ(DateTimeFormat(DateTimeFormat::FULL_DATE_TIME).name(), "FULL_DATE_TIME");
  EXPECT_EQ(DateTimeFormat(DateTimeFormat::CUSTOM).name(), "_UNKNOWN");
  EXPECT_EQ(DateTimeFormat(static_cast<DateTimeFormat::EnumType>(40)).name(), "_UNKNOWN");
  EXPECT_EQ(DateTimeFormat::Strings::values.size(), 13u);
}

TEST(NamedMessageBuilder, KeysPositionalArgumentsByPosition) {
  std::vector<MsgArgument> args;
  for (int i = 1; i <= 11; ++i) args.emplace_back(i);
  const NamedMessageBuilder named(PositionalMessageBuilder("id", "{1}-{11}", args));
  EXPECT_EQ(named.id(), "id");
  EXPECT_EQ(named.defaultTemplate(), "{1}-{11}");
  ASSERT_EQ(named.params().size(), 11u);
  EXPECT_EQ(*named.params().at("11").integer(), 11);
  EXPECT_EQ(named.params().begin()->first, "1");
}

// A chain of nested messages far deeper than the call stack could follow is formatted,
// converted and freed.
TEST_F(MessageWire, DeepChainOfNestedMessagesNeedsNoRecursion) {
  constexpr int kDepth = 100000;
  auto chain =
      std::make_shared<const NamedMessageBuilder>("leaf", "leaf {v}", NamedMessageBuilder::Params{{"v", 1}});
  for (int i = 0; i < kDepth; ++i) {
    chain = std::make_shared<const NamedMessageBuilder>(
        "link", "link", NamedMessageBuilder::Params{{"next", MsgArgument(chain)}});
  }
  std::error_code ec;
  auto wire = MessageHelpers::MsgToDataValue(*chain, *Request("en", "de"), ec);
  EXPECT_EQ(Text(Field(wire, "default_message")), "link");
  int depth = 0;
  DataValue::PtrConstType params = Content(wire, "params");
  while (params) {
    const auto& list = static_cast<const Olma::Data::ListValue&>(*params);
    const auto nested = Content(Field(list.front(), "value"), "l");
    if (!nested) break;
    ++depth;
    params = Content(nested, "params");
  }
  EXPECT_EQ(depth, kDepth);
  wire.reset();
  chain.reset();
}

}  // namespace
