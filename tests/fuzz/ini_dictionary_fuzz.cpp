// Feeds arbitrary bytes to the INI dictionary reader, then adds what it read to a bundle and
// looks every identifier up again.
#include <cstddef>
#include <cstdint>
#include <sstream>
#include <string>

#include "olma/l10n/l10n_category.h"
#include "olma/l10n/localization_bundle.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  std::istringstream input(std::string(reinterpret_cast<const char*>(data), size));
  std::error_code ec;
  const auto range = Olma::L10n::LocalizationBundle::LoadIniFile(input, ec);
  if (ec && !range->empty()) __builtin_trap();
  Olma::L10n::LocalizationBundle bundle;
  bundle.AddLocale("xx", *range);
  range->reset();
  for (; !range->empty(); range->popFront()) {
    std::error_code lookup;
    if (bundle(range->front().first, "xx", lookup) != range->front().second || lookup) __builtin_trap();
  }
  return 0;
}
