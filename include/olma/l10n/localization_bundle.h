// Localization bundles: per locale, a dictionary from message identifier to the message's
// template in that locale's language.
//
// Dictionaries come from flat INI texts (one "identifier = template" per line, no sections),
// from any range of (identifier, template) pairs, or from a loader the application supplies,
// which the bundle calls the first time a locale or identifier it lacks is asked for.
//
//   auto bundle = std::make_shared<Olma::L10n::LocalizationBundle>();
//   std::ifstream file("de.ini");
//   std::error_code ec;
//   bundle->AddLocale("de", *Olma::L10n::LocalizationBundle::LoadIniFile(file, ec));
//   std::string tmpl = (*bundle)("olma.invalid.request", "de", ec);
//
// A lookup never fails to return text: when the template cannot be found it returns the
// identifier itself and sets the error code (localisation category: 1 locale not supported,
// 5 unknown identifier, 6 a dictionary could not be loaded), so the caller can fall back to
// its default template.
//
// Thread safety: every operation holds the bundle's mutex for its whole duration, the
// loader's call included; one bundle may serve all request threads, and a slow loader
// delays the other lookups meanwhile.
#pragma once

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <functional>
#include <istream>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <system_error>
#include <utility>
#include <vector>

#include "olma/core/export.h"
#include "olma/l10n/forward_range.h"

namespace Olma {
namespace L10n {

// One dictionary entry: identifier and template.
using DictionaryEntry = std::pair<const std::string, std::string>;
using Dictionary = std::map<std::string, std::string, std::less<>>;
using DictionaryEntryRange = ForwardRange<DictionaryEntry>;

// A range over a dictionary it owns; reset() starts it again from the first entry.
class OLMA_API DictionaryRange final : public DictionaryEntryRange {
 public:
  explicit DictionaryRange(Dictionary dictionary)
      : dictionary_(std::move(dictionary)), current_(dictionary_.begin()) {}
  DictionaryRange(const DictionaryRange&) = delete;
  DictionaryRange& operator=(const DictionaryRange&) = delete;

  const DictionaryEntry& front() const override { return *current_; }
  void popFront() override { ++current_; }
  bool empty() const override { return current_ == dictionary_.end(); }
  void reset() noexcept { current_ = dictionary_.begin(); }

  const Dictionary& dictionary() const noexcept { return dictionary_; }

 private:
  Dictionary dictionary_;
  Dictionary::const_iterator current_;
};

// What AddLocale does with an identifier the locale already has.
enum class DuplicatePolicy : int {
  Replace = 0,
  Keep = 1,
};

class OLMA_API LocalizationBundle {
 public:
  // Given a locale name, the loader returns the locale's entries (possibly none) or sets the
  // error code; it runs under the bundle's mutex and must not call back into the bundle.
  using Loader =
      std::function<std::unique_ptr<DictionaryEntryRange>(std::string_view locale, std::error_code& ec)>;

  LocalizationBundle();
  explicit LocalizationBundle(Loader loader);
  ~LocalizationBundle();
  LocalizationBundle(const LocalizationBundle&) = delete;
  LocalizationBundle& operator=(const LocalizationBundle&) = delete;

  // Reads a flat INI text: each line "identifier = template", first occurrence wins (the
  // INI reader itself refuses a key given twice). A section header becomes an entry with an
  // empty template and the keys under it are ignored. A text the reader refuses (a line
  // without "=", a duplicate key, an unclosed section) sets `ec` to code 6 and yields an
  // empty range. Bytes are taken as they are: the bundle does not check their encoding.
  static std::unique_ptr<DictionaryRange> LoadIniFile(std::istream& input, std::error_code& ec);

  // Adds the entries of `entries` to the locale's dictionary, creating it when absent (the
  // first occurrence of an identifier in `entries` wins there). For an identifier the
  // locale already has, Replace overwrites the template and any other policy keeps it.
  void AddLocale(std::string_view locale, DictionaryEntryRange& entries,
                 DuplicatePolicy policy = DuplicatePolicy::Replace);

  // The template of `id` in `locale`. Known locale and identifier: the template, `ec`
  // untouched. Known locale, unknown identifier: the loader is asked for the locale again
  // (with no loader set this throws std::bad_function_call, as calling any empty function
  // would); its entries overwrite the dictionary's, and `ec` is 5 unless they held `id`, or
  // the loader's own error. Unknown locale: the loader's entries become the locale's
  // dictionary (`ec` 5 unless they hold `id`); with no loader, a loader error or no entries,
  // `ec` is 1. On every failure the identifier itself is returned.
  std::string operator()(std::string_view id, std::string_view locale, std::error_code& ec) const;

  // The locales that currently have a dictionary, in name order.
  std::vector<std::string> Locales() const;

 private:
  mutable std::map<std::string, Dictionary, std::less<>> dictionaries_;
  Loader loader_;
  std::unique_ptr<std::mutex> mutex_;
};

// The values of a map of parameter names, in the numeric order of their names ("2" before
// "10"). A key that is not a base-10 number in the range of long long is not less than any
// key, nor any key less than it; the order of such keys among the others is unspecified,
// but the range always holds every value exactly once.
template <typename Map>
class MapValuesCustomSortRange final : public ForwardRange<typename Map::mapped_type> {
 public:
  using Value = typename Map::mapped_type;

  // `map` must outlive the range and stay unchanged while it is used.
  explicit MapValuesCustomSortRange(const Map& map) {
    entries_.reserve(map.size());
    for (const auto& entry : map) entries_.push_back(&entry);
    // Not a strict weak ordering once a key does not convert; a merge sort still never
    // leaves the range, whatever the comparator answers.
    std::stable_sort(entries_.begin(), entries_.end(),
                     [](const Entry* a, const Entry* b) { return NumericKeyLess(a->first, b->first); });
  }

  const Value& front() const override { return entries_[next_]->second; }
  void popFront() override { ++next_; }
  bool empty() const override { return next_ == entries_.size(); }

  static bool NumericKeyLess(const std::string& a, const std::string& b) {
    long long left = 0, right = 0;
    return ToNumber(a, left) && ToNumber(b, right) && left < right;
  }

 private:
  using Entry = typename Map::value_type;

  static bool ToNumber(const std::string& key, long long& out) {
    char* end = nullptr;
    errno = 0;
    out = std::strtoll(key.c_str(), &end, 10);
    return end != key.c_str() && errno != ERANGE;
  }

  std::vector<const Entry*> entries_;
  std::size_t next_ = 0;
};

}  // namespace L10n
}  // namespace Olma
