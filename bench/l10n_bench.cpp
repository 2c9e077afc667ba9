// The cost of writing a message for a German reader, against what a user would use instead.
//
//   BM_OlmaLocalize        a positional message with an integer, a double and a date-time
//                          argument (medium date, Europe/Berlin), its template taken from a
//                          bundle's German dictionary, through IcuLocalizer::formatString;
//   BM_OlmaBuildAndLocalize the same, building the message (identifier, template, arguments)
//                          in every iteration;
//   BM_IcuMessageFormat    ICU's MessageFormat doing the same: the German pattern parsed
//                          once, the three arguments formatted into UTF-8 per call.
//   BM_OlmaNegotiate       MakeLanguagePreference plus Lookup for a typical browser header;
//   BM_IcuAcceptLanguage   ICU's uloc_acceptLanguageFromHTTP on the same header and locales.
//
// The reporter prints the library's time over the peer's.
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include <benchmark/benchmark.h>
#include <unicode/datefmt.h>
#include <unicode/msgfmt.h>
#include <unicode/timezone.h>
#include <unicode/uenum.h>
#include <unicode/uloc.h>

#include "olma/l10n/localizer.h"
#include "olma/l10n_icu/icu_localizer.h"
#include "ratio_reporter.h"

namespace {

constexpr const char* kHeader = "de-DE,de;q=0.9,en-US;q=0.8,en;q=0.7";
constexpr std::int64_t kSeconds = 1600000000;  // 2020-09-13T12:26:40Z

// The German localizer and request of both Olma benchmarks.
struct GermanRequest {
  GermanRequest() {
    auto bundle = std::make_shared<Olma::L10n::LocalizationBundle>();
    Olma::L10n::DictionaryRange german(
        Olma::L10n::Dictionary{{"com.example.quota.exceeded", "{1} von {2} GB belegt, Stand {3}"}});
    bundle->AddLocale("de", german);
    localizer = Olma::L10n::IcuLocalizer::GetInstance(bundle, {"de", "fr"});
  }

  Olma::PositionalMessageBuilder Message() const {
    return Olma::PositionalMessageBuilder("com.example.quota.exceeded", "{1} of {2} GB used, as of {3}",
                                          {Olma::MsgArgument(1234), Olma::MsgArgument(10.5, 1),
                                           Olma::MsgArgument(when, Olma::L10n::DateTimeFormat::MED_DATE)});
  }

  std::error_code ec;
  Olma::L10n::Localizer::PtrConstType localizer;
  const Olma::L10n::LocaleSpec spec{Olma::L10n::LocaleHelpers::MakeLanguagePreference(kHeader, ec),
                                    Olma::L10n::LocaleHelpers::MakeLanguagePreference("de-DE", ec),
                                    Olma::L10n::TimezoneSpec("Europe/Berlin")};
  const Olma::DateTime when = Olma::DateTime::Create(kSeconds, ec);
};

// A message that exists (raised once, written for its reader).
void BM_OlmaLocalize(benchmark::State& state) {
  GermanRequest request;
  const Olma::PositionalMessageBuilder message = request.Message();
  for (auto _ : state) {
    std::string text = request.localizer->formatString(message, request.spec, request.ec);
    benchmark::DoNotOptimize(text);
  }
  if (request.ec) state.SkipWithError("localisation failed");
}

// The same with the message built in the loop: its identifier, template and arguments.
void BM_OlmaBuildAndLocalize(benchmark::State& state) {
  GermanRequest request;
  for (auto _ : state) {
    std::string text = request.localizer->formatString(request.Message(), request.spec, request.ec);
    benchmark::DoNotOptimize(text);
  }
  if (request.ec) state.SkipWithError("localisation failed");
}

void BM_IcuMessageFormat(benchmark::State& state) {
  UErrorCode status = U_ZERO_ERROR;
  const icu::Locale german("de_DE");
  icu::MessageFormat format(u"{0,number,integer} von {1,number,#,##0.0} GB belegt, Stand {2,date,medium}",
                            german, status);
  std::unique_ptr<icu::DateFormat> date(
      icu::DateFormat::createDateInstance(icu::DateFormat::kMedium, german));
  date->adoptTimeZone(icu::TimeZone::createTimeZone("Europe/Berlin"));
  format.setFormat(2, *date);
  for (auto _ : state) {
    const icu::Formattable args[] = {icu::Formattable(static_cast<int32_t>(1234)), icu::Formattable(10.5),
                                     icu::Formattable(kSeconds * 1000.0, icu::Formattable::kIsDate)};
    icu::UnicodeString text;
    icu::FieldPosition position;
    format.format(args, 3, text, position, status);
    std::string utf8;
    text.toUTF8String(utf8);
    benchmark::DoNotOptimize(utf8);
  }
  if (U_FAILURE(status)) state.SkipWithError("MessageFormat failed");
}

void BM_OlmaNegotiate(benchmark::State& state) {
  const std::vector<std::string> available = {"de", "fr", "en_US"};
  for (auto _ : state) {
    std::error_code ec;
    const auto preference = Olma::L10n::LocaleHelpers::MakeLanguagePreference(kHeader, ec);
    std::string best = Olma::L10n::LocaleHelpers::Lookup(preference.tags(), available);
    benchmark::DoNotOptimize(best);
  }
}

void BM_IcuAcceptLanguage(benchmark::State& state) {
  const char* const available[] = {"de", "fr", "en_US"};
  for (auto _ : state) {
    UErrorCode status = U_ZERO_ERROR;
    UEnumeration* locales = uenum_openCharStringsEnumeration(available, 3, &status);
    char best[ULOC_FULLNAME_CAPACITY];
    UAcceptResult outcome;
    uloc_acceptLanguageFromHTTP(best, sizeof best, &outcome, kHeader, locales, &status);
    uenum_close(locales);
    benchmark::DoNotOptimize(best);
  }
}

BENCHMARK(BM_OlmaLocalize);
BENCHMARK(BM_OlmaBuildAndLocalize);
BENCHMARK(BM_IcuMessageFormat);
BENCHMARK(BM_OlmaNegotiate);
BENCHMARK(BM_IcuAcceptLanguage);

}  // namespace

int main(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  RatioReporter reporter({{"localise a message (integer, double, date-time) into de_DE from a bundle",
                           "BM_OlmaLocalize",
                           {{"ICU `MessageFormat`, pattern parsed once", "BM_IcuMessageFormat"}},
                           "no slower"},
                          {"same, building the message in the loop",
                           "BM_OlmaBuildAndLocalize",
                           {{"ICU `MessageFormat`", "BM_IcuMessageFormat"}},
                           "reported"},
                          {"`MakeLanguagePreference` + `Lookup`, 4-entry browser header",
                           "BM_OlmaNegotiate",
                           {{"ICU `uloc_acceptLanguageFromHTTP`", "BM_IcuAcceptLanguage"}},
                           "under 1 µs"}});
  benchmark::RunSpecifiedBenchmarks(&reporter);
  benchmark::Shutdown();
  return 0;
}
