#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "olma/l10n_icu/icu_localizer.h"

namespace {

using Olma::L10n::DateTimeFormat;

// Threads share one localizer and fill its formatter caches at the same time; every text
// must equal the one a single thread writes.
TEST(IcuLocalizerConcurrency, SharedCachesGiveTheSameTexts) {
  const auto localizer = Olma::L10n::IcuLocalizer::GetInstance(nullptr);
  const char* locales[] = {"de-DE", "fr-FR", "en-US", "ja-JP", "ar-EG", "C"};
  const char* zones[] = {"Europe/Berlin", "Asia/Tokyo", "America/New_York"};
  std::error_code ec;
  const Olma::DateTime when = Olma::DateTime::Create(std::int64_t{1600000000}, ec);
  auto spec = [&](int i) {
    std::error_code parse;
    return Olma::L10n::LocaleSpec(Olma::L10n::LocaleHelpers::MakeLanguagePreference("en", parse),
                                  Olma::L10n::LocaleHelpers::MakeLanguagePreference(locales[i % 6], parse),
                                  Olma::L10n::TimezoneSpec(zones[i % 3]));
  };
  auto render = [&](const Olma::L10n::Localizer& l, int i, std::error_code& error) {
    const Olma::L10n::LocaleSpec s = spec(i);
    return l.integerFormatter()(1234567 + i, s.formatPreference(), error) + "|" +
           l.doubleFormatter()(i / 7.0, i % 5, s.formatPreference(), error) + "|" +
           l.formatDateTime(when, static_cast<DateTimeFormat::EnumType>(i % 12), "", s, error);
  };
  constexpr int kCases = 72;
  std::vector<std::string> expected;
  // Written by a localizer of its own, so the shared one starts with empty caches.
  const auto reference = Olma::L10n::IcuLocalizer::GetInstance(nullptr);
  for (int i = 0; i < kCases; ++i) expected.push_back(render(*reference, i, ec));
  constexpr int kThreads = 4;
  std::vector<int> mismatches(kThreads, 0);
  std::vector<std::thread> threads;
  for (int t = 0; t < kThreads; ++t) {
    threads.emplace_back([&, t] {
      for (int round = 0; round < 5; ++round) {
        for (int i = 0; i < kCases; ++i) {
          std::error_code error;
          if (render(*localizer, (i + t * 11) % kCases, error) != expected[(i + t * 11) % kCases] || error)
            ++mismatches[t];
        }
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  for (int t = 0; t < kThreads; ++t) EXPECT_EQ(mismatches[t], 0) << "thread " << t;
}

}  // namespace
