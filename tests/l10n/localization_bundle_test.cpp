#include "olma/l10n/localization_bundle.h"

#include <stdlib.h>
#include <unistd.h>

#include <fstream>
#include <functional>
#include <sstream>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "olma/l10n/l10n_category.h"

namespace {

using Olma::L10n::Dictionary;
using Olma::L10n::DictionaryRange;
using Olma::L10n::DuplicatePolicy;
using Olma::L10n::L10nError;
using Olma::L10n::LocalizationBundle;
using ::testing::ElementsAre;
using ::testing::Pair;

Dictionary LoadIni(const std::string& text, std::error_code& ec) {
  std::istringstream input(text);
  return LocalizationBundle::LoadIniFile(input, ec)->dictionary();
}

std::unique_ptr<DictionaryRange> Range(Dictionary entries) {
  return std::make_unique<DictionaryRange>(std::move(entries));
}

TEST(LoadIniFile, ReadsFlatLinesAndKeepsBytes) {
  std::error_code ec;
  EXPECT_THAT(LoadIni("a=1\nb = 2 \n; a comment\nc=x = y\nd=\xff\xfe bytes\n", ec),
              ElementsAre(Pair("a", "1"), Pair("b", "2"), Pair("c", "x = y"), Pair("d", "\xff\xfe bytes")));
  EXPECT_FALSE(ec);
  // A section header is an entry with an empty template; the keys under it are ignored.
  EXPECT_THAT(LoadIni("a=1\n[section]\nb=2\n", ec), ElementsAre(Pair("a", "1"), Pair("section", "")));
  EXPECT_FALSE(ec);
}

TEST(LoadIniFile, RefusedTextGivesAnEmptyRangeAndCode6) {
  for (const char* text : {"a=1\na=2\n", "a=1\nno equals sign\n", "[unclosed\na=1\n", "=1\n"}) {
    SCOPED_TRACE(text);
    std::error_code ec;
    EXPECT_TRUE(LoadIni(text, ec).empty());
    EXPECT_EQ(ec, L10nError::BundleLoadFailed);
  }
}

TEST(LoadIniFile, ReadsAHugeFileFromDisk) {
  char dir_template[] = "/tmp/olma_l10n_XXXXXX";
  ASSERT_NE(mkdtemp(dir_template), nullptr);
  const std::string path = std::string(dir_template) + "/big.ini";
  {
    std::ofstream out(path);
    for (int i = 0; i < 50000; ++i) out << "message." << i << " = Template number {1} of " << i << "\n";
  }
  std::ifstream in(path);
  std::error_code ec;
  auto range = LocalizationBundle::LoadIniFile(in, ec);
  EXPECT_FALSE(ec);
  ASSERT_EQ(range->dictionary().size(), 50000u);
  EXPECT_EQ(range->dictionary().at("message.49999"), "Template number {1} of 49999");
  unlink(path.c_str());
  rmdir(dir_template);
}

TEST(LoadIniFile, ShipsGermanAndFrenchForTheExampleService) {
  for (const char* locale : {"de", "fr"}) {
    SCOPED_TRACE(locale);
    std::ifstream in(std::string(OLMA_TEST_SOURCE_DIR) + "/examples/l10n/" + locale + ".ini");
    ASSERT_TRUE(in);
    std::error_code ec;
    const Dictionary entries = LoadIni(std::string(std::istreambuf_iterator<char>(in), {}), ec);
    EXPECT_FALSE(ec);
    EXPECT_EQ(entries.size(), 14u);
    EXPECT_EQ(entries.count("olma.invoke.invalid.input"), 1u);
  }
}

TEST(DictionaryRange, ResetStartsAgain) {
  DictionaryRange range(Dictionary{{"a", "1"}, {"b", "2"}});
  range.popFront();
  EXPECT_EQ(range.front().first, "b");
  range.popFront();
  EXPECT_TRUE(range.empty());
  range.reset();
  EXPECT_EQ(range.front().first, "a");
}

TEST(LocalizationBundle, DuplicatePolicyDecidesWhichTemplateStays) {
  for (const auto& [policy, expected] :
       {std::pair(DuplicatePolicy::Replace, "second"), std::pair(DuplicatePolicy::Keep, "first")}) {
    LocalizationBundle bundle;
    bundle.AddLocale("de", *Range({{"id", "first"}}), policy);
    bundle.AddLocale("de", *Range({{"id", "second"}, {"other", "x"}}), policy);
    std::error_code ec;
    EXPECT_EQ(bundle("id", "de", ec), expected);
    EXPECT_EQ(bundle("other", "de", ec), "x");
    EXPECT_FALSE(ec);
  }
}

TEST(LocalizationBundle, UnknownLocaleWithoutLoaderReturnsTheIdAndCode1) {
  LocalizationBundle bundle;
  bundle.AddLocale("de", *Range({{"id", "Vorlage"}}));
  std::error_code ec;
  EXPECT_EQ(bundle("id", "fr", ec), "id");
  EXPECT_EQ(ec, L10nError::LocaleNotSupported);
  EXPECT_THAT(bundle.Locales(), ElementsAre("de"));
}

TEST(LocalizationBundle, KnownLocaleMissingIdWithoutLoaderThrows) {
  LocalizationBundle bundle;
  bundle.AddLocale("de", *Range({{"id", "Vorlage"}}));
  std::error_code ec;
  EXPECT_THROW(bundle("missing", "de", ec), std::bad_function_call);
}

// A loader serving fixed entries per locale, or an error, counting its calls.
struct FakeLoader {
  std::map<std::string, Dictionary> locales;
  std::error_code error;
  int calls = 0;

  LocalizationBundle::Loader Bind() {
    return [this](std::string_view locale,
                  std::error_code& ec) -> std::unique_ptr<Olma::L10n::DictionaryEntryRange> {
      ++calls;
      if (error) {
        ec = error;
        return nullptr;
      }
      const auto found = locales.find(std::string(locale));
      return Range(found == locales.end() ? Dictionary{} : found->second);
    };
  }
};

TEST(LocalizationBundle, LoaderFillsAKnownLocale) {
  FakeLoader loader;
  loader.locales["de"] = {{"new", "neu"}, {"old", "überschrieben"}};
  LocalizationBundle bundle(loader.Bind());
  bundle.AddLocale("de", *Range({{"old", "alt"}}));
  std::error_code ec = L10nError::UnknownMessageId;
  EXPECT_EQ(bundle("new", "de", ec), "neu");
  EXPECT_FALSE(ec);
  EXPECT_EQ(bundle("old", "de", ec), "überschrieben");
  EXPECT_EQ(bundle("absent", "de", ec), "absent");
  EXPECT_EQ(ec, L10nError::UnknownMessageId);
  EXPECT_EQ(loader.calls, 2);
}

TEST(LocalizationBundle, LoaderFillsAnUnknownLocaleOnce) {
  FakeLoader loader;
  loader.locales["fr"] = {{"id", "modèle"}};
  LocalizationBundle bundle(loader.Bind());
  std::error_code ec;
  EXPECT_EQ(bundle("other", "fr", ec), "other");
  EXPECT_EQ(ec, L10nError::UnknownMessageId);
  ec.clear();
  EXPECT_EQ(bundle("id", "fr", ec), "modèle");
  EXPECT_FALSE(ec);
  EXPECT_EQ(loader.calls, 1);
  // A locale the loader has nothing for stays unsupported.
  EXPECT_EQ(bundle("id", "it", ec), "id");
  EXPECT_EQ(ec, L10nError::LocaleNotSupported);
  EXPECT_THAT(bundle.Locales(), ElementsAre("fr"));
}

TEST(LocalizationBundle, LoaderErrorIsReportedOrBecomesCode1) {
  FakeLoader loader;
  loader.error = std::make_error_code(std::errc::io_error);
  LocalizationBundle bundle(loader.Bind());
  bundle.AddLocale("de", *Range({{"id", "Vorlage"}}));
  std::error_code ec;
  EXPECT_EQ(bundle("missing", "de", ec), "missing");
  EXPECT_EQ(ec, std::errc::io_error);
  EXPECT_EQ(bundle("id", "fr", ec), "id");
  EXPECT_EQ(ec, L10nError::LocaleNotSupported);
}

TEST(MapValuesCustomSortRange, OrdersNumericKeysAsNumbers) {
  using Map = std::map<std::string, int>;
  std::vector<int> order;
  const Map numbered{{"10", 10}, {"2", 2}, {"1", 1}};
  for (Olma::L10n::MapValuesCustomSortRange<Map> range(numbered); !range.empty(); range.popFront()) {
    order.push_back(range.front());
  }
  EXPECT_THAT(order, ElementsAre(1, 2, 10));
  // Keys that do not convert still come out, each exactly once.
  order.clear();
  const Map mixed{{"b", -2}, {"3", 3}, {"a", -1}, {"99999999999999999999", -3}, {"1", 1}};
  for (Olma::L10n::MapValuesCustomSortRange<Map> range(mixed); !range.empty(); range.popFront()) {
    order.push_back(range.front());
  }
  EXPECT_THAT(order, ::testing::UnorderedElementsAre(-3, -2, -1, 1, 3));
}

}  // namespace
