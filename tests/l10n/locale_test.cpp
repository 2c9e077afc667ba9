#include "olma/l10n/locale.h"

#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "olma/l10n/l10n_category.h"

namespace {

using Olma::L10n::L10nError;
using Olma::L10n::LocaleHelpers;
using Olma::L10n::LocaleSpecHelpers;
using Tags = std::vector<std::string>;

TEST(L10nCategory, NamesEveryCode) {
  const auto& category = Olma::L10n::GetL10nCategory();
  EXPECT_STREQ(category.name(), "Olma Localization Error");
  const Tags expected = {"localization error",
                         "Requested locale not supported",
                         "Requested format locale not supported",
                         "Incorrect value of accept-language or olma-ctx-format-locale header",
                         "Default message formatter - no formatString",
                         "Unknown message ID",
                         "Failed to load localization bundle",
                         "Failed to localize ErrorValue",
                         "localization error"};
  for (int code = 0; code < static_cast<int>(expected.size()); ++code) {
    EXPECT_EQ(category.message(code), expected[code]) << code;
  }
}

struct PreferenceCase {
  const char* header;
  Tags tags;
};

TEST(MakeLanguagePreference, OrdersByQualityThenTagLength) {
  const PreferenceCase cases[] = {
      {"da, en-gb;q=0.8, en;q=0.7", {"da", "en-gb", "en"}},
      {"en;q=0.5, fr", {"fr", "en"}},
      {"en-US, en", {"en-us", "en"}},
      {"en;quality=0.1, de;q=0.05", {"en", "de"}},
      {"en;q=-1, fr, de;q=2", {"de", "fr", "en"}},
      {"en;Q= 0.5xyz, fr;q=0.6", {"fr", "en"}},
      {"EN_gb ,, FR", {"en_gb", "fr"}},
      // What browsers send.
      {"en-US,en;q=0.9", {"en-us", "en"}},
      {"de,en-US;q=0.7,en;q=0.3", {"de", "en-us", "en"}},
      {"fr-FR,fr;q=0.9,en-US;q=0.8,en;q=0.7", {"fr-fr", "fr", "en-us", "en"}},
      {"ja,en-US;q=0.9,en;q=0.8", {"ja", "en-us", "en"}},
      {"zh-CN,zh;q=0.9,en;q=0.8,en-GB;q=0.7,en-US;q=0.6", {"zh-cn", "zh", "en", "en-gb", "en-us"}},
      {"fr-CH, fr;q=0.9, en;q=0.8, de;q=0.7, *;q=0.5", {"fr-ch", "fr", "en", "de", "*"}},
      {"ar-EG,ar;q=0.9,en-US;q=0.8,en;q=0.7", {"ar-eg", "ar", "en-us", "en"}},
  };
  for (const PreferenceCase& c : cases) {
    SCOPED_TRACE(c.header);
    std::error_code ec;
    EXPECT_EQ(LocaleHelpers::MakeLanguagePreference(c.header, ec).tags(), c.tags);
    EXPECT_FALSE(ec);
  }
}

TEST(MakeLanguagePreference, RejectsTheWholeValueForOneBadEntry) {
  const char* cases[] = {"en;",     "en;q",         "en;x=1",     "e n",         "",
                         ",,",      "en;q=abc",     "en;q=1e999", "en;q=1e-999", "en;q=0.5;x=1",
                         ";q=0.5",  "fr, en;=0.5",  "fr, en;q=",  "de-\xc3\xa4", "en-US,\t",
                         "en, ,fr", "fr,en;q=0.5,ä"};
  for (const char* header : cases) {
    SCOPED_TRACE(header);
    std::error_code ec;
    EXPECT_TRUE(LocaleHelpers::MakeLanguagePreference(header, ec).empty());
    EXPECT_EQ(ec, L10nError::BadLanguageHeader);
  }
}

TEST(LanguageOrdering, WildcardNeverRanksFirst) {
  const Olma::L10n::Language any{"*", 2.0}, any_low{"*", 0.1}, en{"en", 0.1}, en_us{"en-us", 0.1};
  EXPECT_FALSE(any > en);
  EXPECT_FALSE(any_low > en);
  EXPECT_FALSE(en > any);
  EXPECT_TRUE(en > any_low);
  EXPECT_TRUE(en_us > en);
  EXPECT_FALSE(en > en_us);
  EXPECT_FALSE(en > en);
}

struct LookupCase {
  Tags requested;
  Tags available;
  const char* expected;
};

TEST(Lookup, MatchesThenShortensEachTagInTurn) {
  const LookupCase cases[] = {
      {{"de-ch-1901", "en"}, {"en_US", "de"}, "de"},
      {{"fr-ca", "*"}, {"fr"}, ""},
      {{"fr-ca"}, {"FR"}, "FR"},
      {{"en-us"}, {"en_US"}, "en_US"},
      {{"en"}, {"en_US"}, ""},
      {{"ja", "en-gb"}, {"de", "en"}, "en"},
      {{"zh_hant_tw"}, {"zh"}, "zh"},
      {{"en-a-bbb"}, {"en-a", "en"}, "en"},
      {{"x-private"}, {"x"}, ""},
      {{"*", "fr"}, {"*", "fr"}, "*"},
      {{}, {"fr"}, ""},
      {{"fr"}, {}, ""},
      {{"-"}, {""}, ""},
  };
  for (const LookupCase& c : cases) {
    SCOPED_TRACE(::testing::PrintToString(c.requested));
    EXPECT_EQ(LocaleHelpers::Lookup(c.requested, c.available), c.expected);
  }
}

class ExtractLocaleSpec : public ::testing::Test {
 protected:
  Olma::L10n::LocaleSpec::PtrConstType Extract(std::error_code& ec) {
    return LocaleSpecHelpers::ExtractLocaleSpec(context_, ec);
  }
  void Set(const char* key, const char* value) { context_->applicationContext()[key] = value; }

  std::shared_ptr<Olma::Core::ExecutionContext> context_ = Olma::Core::ExecutionContext::GetInstance();
};

TEST_F(ExtractLocaleSpec, DefaultsWithoutEntries) {
  std::error_code ec;
  const auto spec = Extract(ec);
  EXPECT_FALSE(ec);
  EXPECT_EQ(spec->languagePreference().tags(), Tags{"en_us"});
  EXPECT_EQ(spec->formatPreference().tags(), Tags{"c"});
  EXPECT_EQ(spec->timezone().name(), "Etc/UTC");
}

TEST_F(ExtractLocaleSpec, FormatLocaleFollowsTheLanguage) {
  Set("accept-language", "fr");
  Set("timezone", "Europe/Paris");
  std::error_code ec;
  const auto spec = Extract(ec);
  EXPECT_EQ(spec->languagePreference().tags(), Tags{"fr"});
  EXPECT_EQ(spec->formatPreference().tags(), Tags{"fr"});
  EXPECT_EQ(spec->timezone().name(), "Europe/Paris");
}

TEST_F(ExtractLocaleSpec, FormatLocaleAloneKeepsTheDefaultLanguage) {
  Set("accept-language", "");
  context_->applicationContext()["format-locale"] =
      Olma::Core::ApplicationContextEntry(Olma::Core::ApplicationContextEntry::Override(), "de-DE");
  std::error_code ec;
  const auto spec = Extract(ec);
  EXPECT_EQ(spec->languagePreference().tags(), Tags{"en_us"});
  EXPECT_EQ(spec->formatPreference().tags(), Tags{"de-de"});
}

TEST_F(ExtractLocaleSpec, BadHeaderGivesTheDefaultAndCode3) {
  Set("accept-language", "de");
  Set("format-locale", "e n");
  Set("timezone", "Asia/Tokyo");
  std::error_code ec;
  const auto spec = Extract(ec);
  EXPECT_EQ(ec, L10nError::BadLanguageHeader);
  EXPECT_EQ(spec->languagePreference().tags(), Tags{"en_us"});
  EXPECT_EQ(spec->timezone().name(), "Etc/UTC");
}

}  // namespace
