#include "olma/l10n/locale.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>

#include "olma/core/text.h"
#include "olma/l10n/l10n_category.h"

namespace Olma {
namespace L10n {
namespace {

bool IsTagCharacter(char c) noexcept {
  return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '-' || c == '_' ||
         c == '*';
}

// The q value of a ";q=<number>" parameter; false when the parameter is malformed.
bool ParseQuality(std::string_view parameter, double& q) {
  const std::vector<std::string_view> parts = SplitString(parameter, "=");
  if (parts.size() != 2) return false;
  const std::string_view name = Trim(parts[0]);
  if (name.empty() || (name[0] != 'q' && name[0] != 'Q')) return false;
  // strtod needs a terminated text; the value of a q parameter is short.
  const std::string number(parts[1]);
  char* end = nullptr;
  errno = 0;
  const double parsed = std::strtod(number.c_str(), &end);
  if (end == number.c_str() || errno == ERANGE) return false;
  q = parsed;
  return true;
}

bool ParseLanguage(std::string_view piece, Language& language) {
  const std::string_view trimmed = Trim(piece);
  const std::vector<std::string_view> parts = SplitString(trimmed, ";");
  if (parts.empty() || parts.size() > 2) return false;
  if (parts.size() == 1 && parts[0].size() != trimmed.size()) return false;
  language.tag = Trim(parts[0], ETrim::Right);
  if (!std::all_of(language.tag.begin(), language.tag.end(), IsTagCharacter)) return false;
  language.q = 1.0;
  return parts.size() == 1 || ParseQuality(parts[1], language.q);
}

char FoldTagCharacter(char c) noexcept {
  if (c >= 'A' && c <= 'Z') return static_cast<char>(c - 'A' + 'a');
  return c == '_' ? '-' : c;
}

bool LocaleNamesMatch(std::string_view a, std::string_view b) noexcept {
  if (a.size() != b.size()) return false;
  for (std::size_t i = 0; i < a.size(); ++i) {
    if (FoldTagCharacter(a[i]) != FoldTagCharacter(b[i])) return false;
  }
  return true;
}

// Drops the last subtag (and a one-letter subtag before it); empty when nothing is left.
std::string_view ShortenTag(std::string_view tag) noexcept {
  std::size_t separator = tag.rfind('-');
  if (separator == 1) return {};
  if (separator == std::string_view::npos) separator = tag.rfind('_');
  if (separator == std::string_view::npos) return {};
  if (separator >= 2 && (tag[separator - 2] == '-' || tag[separator - 2] == '_')) separator -= 2;
  return tag.substr(0, separator);
}

std::string_view ContextEntry(const Core::ExecutionContext& context, const char* key) {
  const auto found = context.applicationContext().find(key);
  if (found == context.applicationContext().end()) return {};
  return found->second.effective();
}

}  // namespace

bool Language::operator>(const Language& other) const noexcept {
  if (tag == LocaleHelpers::anyLocale()) return false;
  return q > other.q || (q == other.q && tag.size() > other.tag.size());
}

LocaleSpec::LocaleSpec()
    : language_(std::vector<std::string>{"en_us"}),
      format_(std::vector<std::string>{"c"}),
      timezone_(LocaleHelpers::defaultTimezone()) {}

const LocaleSpec::PtrConstType& LocaleSpec::Default() {
  static const PtrConstType spec = std::make_shared<const LocaleSpec>();
  return spec;
}

LanguagePreference LocaleHelpers::MakeLanguagePreference(std::string_view value, std::error_code& ec) {
  std::vector<Language> languages;
  for (const std::string_view piece : SplitString(value, ",")) {
    Language language;
    if (!ParseLanguage(piece, language)) {
      ec = L10nError::BadLanguageHeader;
      return {};
    }
    languages.push_back(language);
  }
  if (languages.empty()) {
    ec = L10nError::BadLanguageHeader;
    return {};
  }
  // The ordering is not a strict weak one (see Language::operator>); a merge sort never
  // leaves the range whatever the comparator answers, unlike an introsort.
  std::stable_sort(languages.begin(), languages.end(),
                   [](const Language& a, const Language& b) { return a > b; });
  std::vector<std::string> tags;
  tags.reserve(languages.size());
  for (const Language& language : languages) {
    tags.emplace_back(language.tag);
    InplaceLower(tags.back());
  }
  return LanguagePreference(std::move(tags));
}

std::string LocaleHelpers::Lookup(const std::vector<std::string>& requested,
                                  const std::vector<std::string>& available) {
  if (requested.empty() || available.empty() || requested.back() == anyLocale()) return {};
  for (const std::string& wanted : requested) {
    for (std::string_view tag = wanted; !tag.empty(); tag = ShortenTag(tag)) {
      for (const std::string& locale : available) {
        if (LocaleNamesMatch(tag, locale)) return locale;
      }
    }
  }
  return {};
}

LocaleSpec::PtrConstType LocaleSpecHelpers::ExtractLocaleSpec(
    const std::shared_ptr<const Core::ExecutionContext>& context, std::error_code& ec) {
  if (!context) return LocaleSpec::Default();
  return ExtractLocaleSpec(*context, ec);
}

LocaleSpec::PtrConstType LocaleSpecHelpers::ExtractLocaleSpec(const Core::ExecutionContext& context,
                                                              std::error_code& ec) {
  std::string_view language = ContextEntry(context, "accept-language");
  std::string_view format = ContextEntry(context, "format-locale");
  std::string_view timezone = ContextEntry(context, "timezone");
  if (format.empty()) format = language;
  if (format.empty()) format = LocaleHelpers::defaultFmtLocale();
  if (language.empty()) language = LocaleHelpers::defaultLocale();
  if (timezone.empty()) timezone = LocaleHelpers::defaultTimezone();
  LanguagePreference languages = LocaleHelpers::MakeLanguagePreference(language, ec);
  LanguagePreference formats = LocaleHelpers::MakeLanguagePreference(format, ec);
  if (ec) return LocaleSpec::Default();
  return std::make_shared<const LocaleSpec>(std::move(languages), std::move(formats), TimezoneSpec(timezone));
}

}  // namespace L10n
}  // namespace Olma
