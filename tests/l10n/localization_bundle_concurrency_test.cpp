#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "olma/l10n/l10n_category.h"
#include "olma/l10n/localization_bundle.h"

namespace {

using Olma::L10n::Dictionary;
using Olma::L10n::DictionaryRange;
using Olma::L10n::LocalizationBundle;

// Readers, writers and the on-demand loader share one bundle; every lookup must see either
// the template or the documented failure, never a torn dictionary.
TEST(LocalizationBundleConcurrency, LookupsAddsAndLoadsInterleave) {
  LocalizationBundle bundle([](std::string_view locale, std::error_code&) {
    return std::make_unique<DictionaryRange>(Dictionary{{"loaded", std::string(locale)}});
  });
  bundle.AddLocale("de", *std::make_unique<DictionaryRange>(Dictionary{{"fixed", "fest"}}));
  constexpr int kThreads = 4;
  constexpr int kRounds = 500;
  std::vector<int> failures(kThreads, 0);
  std::vector<std::thread> threads;
  for (int t = 0; t < kThreads; ++t) {
    threads.emplace_back([&, t] {
      for (int i = 0; i < kRounds; ++i) {
        std::error_code ec;
        const std::string locale = "l" + std::to_string((i + t) % 16);
        if (bundle("fixed", "de", ec) != "fest" || ec) ++failures[t];
        if (bundle("loaded", locale, ec) != locale) ++failures[t];
        DictionaryRange added(Dictionary{{"k" + std::to_string(i), "v"}});
        bundle.AddLocale("de", added, Olma::L10n::DuplicatePolicy::Keep);
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  for (int t = 0; t < kThreads; ++t) EXPECT_EQ(failures[t], 0) << "thread " << t;
  EXPECT_EQ(bundle.Locales().size(), 17u);
}

}  // namespace
