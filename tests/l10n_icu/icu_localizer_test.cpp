#include "olma/l10n_icu/icu_localizer.h"

#include <fstream>
#include <random>
#include <sstream>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "core/external_tool.h"
#include "olma/data/values.h"
#include "olma/l10n/l10n_category.h"
#include "olma/l10n/message_wire.h"

namespace {

using Olma::DateTime;
using Olma::MsgArgument;
using Olma::PositionalMessageBuilder;
using Olma::L10n::DateTimeFormat;
using Olma::L10n::IcuLocalizer;
using Olma::L10n::L10nError;
using Olma::L10n::LocaleSpec;

LocaleSpec Spec(const char* language, const char* format, const char* zone) {
  std::error_code ec;
  LocaleSpec spec(Olma::L10n::LocaleHelpers::MakeLanguagePreference(language, ec),
                  Olma::L10n::LocaleHelpers::MakeLanguagePreference(format, ec),
                  Olma::L10n::TimezoneSpec(zone));
  EXPECT_FALSE(ec);
  return spec;
}

DateTime At(std::int64_t seconds) {
  std::error_code ec;
  return DateTime::Create(seconds, ec);
}

class IcuLocalizerTest : public ::testing::Test {
 protected:
  Olma::L10n::Localizer::PtrConstType localizer_ = IcuLocalizer::GetInstance(nullptr);
};

struct NumberCase {
  const char* locale;
  const char* integer;
  const char* fixed;
};

// Grouping, decimal mark and digits as the CLDR data shipped with ICU has them.
TEST_F(IcuLocalizerTest, NumbersFollowTheFormatLocale) {
  const NumberCase cases[] = {
      {"de-DE", "1.234.567", "-1.234.567,89"},
      {"fr_FR", "1\u202f234\u202f567", "-1\u202f234\u202f567,89"},
      {"en-US", "1,234,567", "-1,234,567.89"},
      {"ja-JP", "1,234,567", "-1,234,567.89"},
      {"ar-EG", "\u0661\u066c\u0662\u0663\u0664\u066c\u0665\u0666\u0667",
       "\u061c-\u0661\u066c\u0662\u0663\u0664\u066c\u0665\u0666\u0667\u066b\u0668\u0669"},
      {"C", "1234567", "-1234567.89"},
  };
  for (const NumberCase& c : cases) {
    SCOPED_TRACE(c.locale);
    const LocaleSpec spec = Spec("en", c.locale, "Etc/UTC");
    std::error_code ec;
    EXPECT_EQ(localizer_->integerFormatter()(1234567, spec.formatPreference(), ec), c.integer);
    EXPECT_EQ(localizer_->doubleFormatter()(-1234567.891, 2, spec.formatPreference(), ec), c.fixed);
    EXPECT_FALSE(ec);
  }
}

TEST_F(IcuLocalizerTest, PrecisionBounds) {
  const LocaleSpec spec = Spec("en", "de", "Etc/UTC");
  std::error_code ec;
  const auto& format = localizer_->doubleFormatter();
  EXPECT_EQ(format(0.125, -1, spec.formatPreference(), ec), "0,125");
  EXPECT_EQ(format(2.5, 0, spec.formatPreference(), ec), "2");
  EXPECT_EQ(format(1.0, 1000000, spec.formatPreference(), ec).size(), 1001u);
  EXPECT_FALSE(ec);
}

TEST_F(IcuLocalizerTest, UnknownFormatLocaleWritesAsCWithCode2) {
  std::error_code ec;
  EXPECT_EQ(localizer_->integerFormatter()(1234567, Spec("en", "xx-yy", "Etc/UTC").formatPreference(), ec),
            "1234567");
  EXPECT_EQ(ec, L10nError::FormatLocaleNotSupported);
}

struct DateCase {
  const char* locale;
  const char* zone;
  DateTimeFormat format;
  const char* expected;
};

TEST_F(IcuLocalizerTest, DateTimeStylesPerLocaleAndZone) {
  const DateCase cases[] = {
      {"de-DE", "Europe/Berlin", DateTimeFormat::LONG_DATE, "13. September 2020"},
      {"de-DE", "Europe/Berlin", DateTimeFormat::MED_TIME, "14:26:40"},
      {"de-DE", "Europe/Berlin", DateTimeFormat::SHORT_DATE_TIME, "13.09.20, 14:26"},
      {"en-US", "America/New_York", DateTimeFormat::SHORT_DATE, "9/13/20"},
      {"en-US", "America/New_York", DateTimeFormat::SHORT_TIME, "8:26\u202fAM"},
      {"en-US", "America/New_York", DateTimeFormat::FULL_DATE, "Sunday, September 13, 2020"},
      {"fr-FR", "Europe/Paris", DateTimeFormat::LONG_DATE, "13 septembre 2020"},
      {"ja-JP", "Asia/Tokyo", DateTimeFormat::MED_DATE_TIME, "2020/09/13 21:26:40"},
      {"ar-EG", "Africa/Cairo", DateTimeFormat::SHORT_TIME, "\u0662:\u0662\u0666 \u0645"},
  };
  for (const DateCase& c : cases) {
    SCOPED_TRACE(std::string(c.locale) + " " + std::string(c.format.name()));
    std::error_code ec;
    EXPECT_EQ(localizer_->formatDateTime(At(1600000000), c.format, "", Spec("en", c.locale, c.zone), ec),
              c.expected);
    EXPECT_FALSE(ec);
  }
}

TEST_F(IcuLocalizerTest, UnusableSettingsGiveCode2AndStillText) {
  std::error_code ec;
  EXPECT_EQ(localizer_->formatDateTime(At(1600000000), DateTimeFormat::CUSTOM, "HH:mm",
                                       Spec("en", "C", "Mars/Olympus_Mons"), ec),
            "12:26");
  EXPECT_EQ(ec, L10nError::FormatLocaleNotSupported);
  ec.clear();
  EXPECT_EQ(
      localizer_->formatDateTime(At(1600000000), DateTimeFormat::CUSTOM, "", Spec("en", "C", "Etc/UTC"), ec),
      "2020-09-13T12:26:40.000Z");
  EXPECT_EQ(ec, L10nError::FormatLocaleNotSupported);
}

// The time zone rules of ICU and of the system's zone database (read by coreutils date)
// agree on offsets, daylight-saving transitions included.
TEST_F(IcuLocalizerTest, CustomPatternAgreesWithCoreutilsDateAcrossZones) {
  std::mt19937_64 random(20261123);
  std::uniform_int_distribution<std::int64_t> instants(315532800, 2114380800);  // 1980 to 2037
  std::vector<std::int64_t> seconds;
  // One second either side of transitions in Berlin, New York, Sydney and Chatham.
  for (std::int64_t transition : {1616893200, 1635642000, 1615705200, 1636264800, 1633190400, 1617465600}) {
    for (std::int64_t delta : {-1, 0, 1}) seconds.push_back(transition + delta);
  }
  while (seconds.size() < 200) seconds.push_back(instants(random));
  std::string input;
  for (std::int64_t s : seconds) input += "@" + std::to_string(s) + "\n";

  for (const char* zone : {"Europe/Berlin", "America/New_York", "Australia/Sydney", "Asia/Kolkata",
                           "Asia/Kathmandu", "Pacific/Chatham", "America/Sao_Paulo", "Etc/UTC"}) {
    SCOPED_TRACE(zone);
    const auto [status, output] = OlmaTest::RunTool(
        std::string("TZ=") + zone + " timeout 10 date -f - '+%Y-%m-%d %H:%M:%S %:z'", input);
    ASSERT_EQ(status, 0);
    std::istringstream expected(output);
    const LocaleSpec spec = Spec("en", "C", zone);
    for (std::int64_t s : seconds) {
      std::string line;
      std::getline(expected, line);
      std::error_code ec;
      EXPECT_EQ(
          localizer_->formatDateTime(At(s), DateTimeFormat::CUSTOM, "yyyy-MM-dd HH:mm:ss xxx", spec, ec),
          line)
          << "@" << s;
      EXPECT_FALSE(ec);
    }
  }
}

TEST_F(IcuLocalizerTest, InstantsBeforeTheEpochKeepTheirMilliseconds) {
  std::error_code ec;
  const DateTime when = DateTime::Create("1969-12-31T23:59:58.250Z", ec);
  EXPECT_EQ(localizer_->formatDateTime(when, DateTimeFormat::CUSTOM, "HH:mm:ss.SSS",
                                       Spec("en", "C", "Etc/UTC"), ec),
            "23:59:58.250");
}

// The shipped German and French bundles, a message with an integer, a double and a
// date-time, and the wire form a client receives.
TEST(IcuLocalizerMessages, LocalizesFromBundlesOnDisk) {
  auto bundle = std::make_shared<Olma::L10n::LocalizationBundle>();
  for (const char* locale : {"de", "fr"}) {
    std::ifstream in(std::string(OLMA_TEST_SOURCE_DIR) + "/examples/l10n/" + locale + ".ini");
    std::error_code ec;
    bundle->AddLocale(locale, *Olma::L10n::LocalizationBundle::LoadIniFile(in, ec));
    ASSERT_FALSE(ec);
  }
  const auto localizer = IcuLocalizer::GetInstance(bundle, {"de", "fr"});
  const PositionalMessageBuilder message(
      "com.example.quota.exceeded", "{1} of {2} GB used, as of {3}",
      {MsgArgument(1234), MsgArgument(10.5, 1), MsgArgument(At(1600000000), DateTimeFormat::MED_DATE)});
  struct Case {
    const char* language;
    const char* format;
    const char* expected;
  };
  const Case cases[] = {
      {"de-DE,de;q=0.9,en;q=0.8", "de-DE", "1.234 von 10,5 GB belegt, Stand 13.09.2020"},
      {"fr-CH, fr;q=0.9, en;q=0.8", "fr-FR", "1\u202f234 Go utilisés sur 10,5, au 13 sept. 2020"},
      {"ja,en-US;q=0.9", "ja-JP", "1,234 of 10.5 GB used, as of 2020/09/13"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.language);
    std::error_code ec;
    const auto request = Olma::L10n::RequestLocalizer::GetInstance(
        localizer, std::make_shared<const LocaleSpec>(Spec(c.language, c.format, "Europe/Berlin")));
    const auto wire = Olma::L10n::MessageHelpers::MsgToDataValue(message, *request, ec);
    EXPECT_FALSE(ec);
    const auto& fields = static_cast<const Olma::Data::CompoundValue&>(*wire).fields();
    EXPECT_EQ(static_cast<const Olma::Data::StringValue&>(*fields.at("default_message")).value(),
              "1234 of 10.5 GB used, as of Sep 13, 2020");
    const auto& localized = static_cast<const Olma::Data::OptionalValue&>(*fields.at("localized"));
    ASSERT_TRUE(localized.isSet());
    EXPECT_EQ(static_cast<const Olma::Data::StringValue&>(*localized.value()).value(), c.expected);
  }
}

}  // namespace
