#include "olma/l10n/localization_bundle.h"

#include <boost/property_tree/ini_parser.hpp>
#include <boost/property_tree/ptree.hpp>

#include "olma/l10n/l10n_category.h"

namespace Olma {
namespace L10n {
namespace {

// Writes every entry of `entries` into `dictionary`, the last occurrence winning; returns the
// template of `id` when one of them has it.
bool MergeLoaded(DictionaryEntryRange* entries, Dictionary& dictionary, std::string_view id,
                 std::string& found) {
  bool has_id = false;
  for (; entries != nullptr && !entries->empty(); entries->popFront()) {
    const DictionaryEntry& entry = entries->front();
    dictionary.insert_or_assign(entry.first, entry.second);
    if (entry.first == id) {
      found = entry.second;
      has_id = true;
    }
  }
  return has_id;
}

}  // namespace

LocalizationBundle::LocalizationBundle() : mutex_(std::make_unique<std::mutex>()) {}

LocalizationBundle::LocalizationBundle(Loader loader)
    : loader_(std::move(loader)), mutex_(std::make_unique<std::mutex>()) {}

LocalizationBundle::~LocalizationBundle() = default;

std::unique_ptr<DictionaryRange> LocalizationBundle::LoadIniFile(std::istream& input, std::error_code& ec) {
  Dictionary dictionary;
  try {
    boost::property_tree::ptree tree;
    boost::property_tree::read_ini(input, tree);
    for (const auto& child : tree) dictionary.emplace(child.first, child.second.data());
  } catch (const boost::property_tree::ptree_error&) {
    ec = L10nError::BundleLoadFailed;
    dictionary.clear();
  }
  return std::make_unique<DictionaryRange>(std::move(dictionary));
}

void LocalizationBundle::AddLocale(std::string_view locale, DictionaryEntryRange& entries,
                                   DuplicatePolicy policy) {
  std::lock_guard<std::mutex> lock(*mutex_);
  auto found = dictionaries_.find(locale);
  if (found == dictionaries_.end()) {
    Dictionary dictionary;
    for (; !entries.empty(); entries.popFront()) dictionary.insert(entries.front());
    dictionaries_.emplace(std::string(locale), std::move(dictionary));
    return;
  }
  Dictionary& dictionary = found->second;
  for (; !entries.empty(); entries.popFront()) {
    const DictionaryEntry& entry = entries.front();
    if (policy == DuplicatePolicy::Replace) {
      dictionary.insert_or_assign(entry.first, entry.second);
    } else {
      dictionary.insert(entry);
    }
  }
}

std::string LocalizationBundle::operator()(std::string_view id, std::string_view locale,
                                           std::error_code& ec) const {
  std::lock_guard<std::mutex> lock(*mutex_);
  const auto known = dictionaries_.find(locale);
  if (known != dictionaries_.end()) {
    const auto entry = known->second.find(id);
    if (entry != known->second.end()) return entry->second;
    // An empty loader throws std::bad_function_call here, deliberately: a locale that was
    // added by hand and lacks an identifier is a gap in the application's own dictionaries.
    std::error_code load_error;
    const std::unique_ptr<DictionaryEntryRange> loaded = loader_(locale, load_error);
    if (load_error) {
      ec = load_error;
      return std::string(id);
    }
    std::string result;
    if (MergeLoaded(loaded.get(), known->second, id, result)) {
      ec.clear();
      return result;
    }
    ec = L10nError::UnknownMessageId;
    return std::string(id);
  }

  if (loader_) {
    std::error_code load_error;
    const std::unique_ptr<DictionaryEntryRange> loaded = loader_(locale, load_error);
    if (!load_error && loaded && !loaded->empty()) {
      Dictionary dictionary;
      std::string result;
      const bool has_id = MergeLoaded(loaded.get(), dictionary, id, result);
      dictionaries_.emplace(std::string(locale), std::move(dictionary));
      if (has_id) {
        ec.clear();
        return result;
      }
      ec = L10nError::UnknownMessageId;
      return std::string(id);
    }
  }
  ec = L10nError::LocaleNotSupported;
  return std::string(id);
}

std::vector<std::string> LocalizationBundle::Locales() const {
  std::lock_guard<std::mutex> lock(*mutex_);
  std::vector<std::string> locales;
  locales.reserve(dictionaries_.size());
  for (const auto& entry : dictionaries_) locales.push_back(entry.first);
  return locales;
}

}  // namespace L10n
}  // namespace Olma
