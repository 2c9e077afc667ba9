// Feeds arbitrary text to the accept-language parser, the locale lookup and the extraction
// of a locale specification from an execution context.
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "olma/invocation/execution_context.h"
#include "olma/l10n/l10n_category.h"
#include "olma/l10n/locale.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const std::string_view text(reinterpret_cast<const char*>(data), size);
  std::error_code ec;
  const Olma::L10n::LanguagePreference preference =
      Olma::L10n::LocaleHelpers::MakeLanguagePreference(text, ec);
  if (ec != Olma::L10n::L10nError::BadLanguageHeader && preference.empty()) __builtin_trap();
  static const std::vector<std::string> available = {"de", "en_US", "fr-CA", "zh_Hant_TW", "x", "*", ""};
  Olma::L10n::LocaleHelpers::Lookup(preference.tags(), available);

  // The same text split into the three context entries a request may carry.
  auto context = Olma::Core::ExecutionContext::GetInstance();
  const char* keys[] = {"accept-language", "format-locale", "timezone"};
  std::size_t start = 0;
  for (const char* key : keys) {
    const std::size_t end = std::min(text.find('\n', start), text.size());
    context->applicationContext()[key] = std::string(text.substr(start, end - start));
    start = std::min(end + 1, text.size());
  }
  std::error_code extract_error;
  if (!Olma::L10n::LocaleSpecHelpers::ExtractLocaleSpec(*context, extract_error)) __builtin_trap();
  return 0;
}
