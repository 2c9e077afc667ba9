// The one reader of brace templates, shared by the positional and the named formatter so
// that both agree on literals, escapes and where a field ends.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace Olma {
namespace Detail {

// How much of the template a field opened by a lone "}" consumes. Its text is always the
// rest of the template; the positional formatter drops that whole rest, the named one only
// the brace (the rest is then read again as template text).
enum class LoneCloseBrace { SwallowsRest, DropsBraceOnly };

// Walks `tmpl`: literal runs are appended to `out` in one piece each, "{{" and "}}" append
// one brace, and every replacement field's text (between its opening brace and the first
// "}" after it, or the rest of the template when no "}" follows or the field opened with
// "}") goes to `on_field`, which returns false to stop the walk. Returns whether the walk
// reached the end of the template.
template <class OnField>
bool ScanTemplate(std::string_view tmpl, std::string& out, LoneCloseBrace lone, OnField&& on_field) {
  while (!tmpl.empty()) {
    const char c = tmpl.front();
    if (c != '{' && c != '}') {
      const std::size_t next = tmpl.find_first_of("{}");
      const std::size_t literal = next == std::string_view::npos ? tmpl.size() : next;
      out.append(tmpl.data(), literal);
      tmpl.remove_prefix(literal);
      continue;
    }
    if (tmpl.size() > 1 && tmpl[1] == c) {
      out.push_back(c);
      tmpl.remove_prefix(2);
      continue;
    }
    const std::size_t close = tmpl.find('}');
    std::string_view field;
    std::size_t consumed;
    if (close == std::string_view::npos || close == 0) {
      field = tmpl.substr(1);
      consumed = close == 0 && lone == LoneCloseBrace::DropsBraceOnly ? 1 : tmpl.size();
    } else {
      field = tmpl.substr(1, close - 1);
      consumed = close + 1;
    }
    tmpl.remove_prefix(consumed);
    if (!on_field(field)) return false;
  }
  return true;
}

}  // namespace Detail
}  // namespace Olma
