#include <string>
#include <string_view>
#include <system_error>

#include "olma/core/format.h"

namespace Olma {
namespace FormatHelper {

namespace {

enum class State { Text, Percent, Digits, Positioned };

bool IsConversionLetter(char c) {
  return std::string_view("cCdxXusSfgp").find(c) != std::string_view::npos;
}

}  // namespace

std::string PrintfLikeFmtToOlmaFmt(std::string_view printf_template) {
  std::string out;
  out.reserve(printf_template.size() + 8);
  State state = State::Text;
  std::string width;  // digits read so far
  std::string copy;   // the width that follows an explicit position
  int position = 0;   // explicit "n$" position, 0 for none

  for (const char c : printf_template) {
    if (c == '%') {
      if (state == State::Percent) {
        out.push_back('%');
        state = State::Text;
      } else {
        state = State::Percent;
      }
      continue;
    }
    if (state == State::Text) {
      out.push_back(c);
      continue;
    }
    // Every character read right after "%" opens a brace, so a flag before the width
    // opens one more; callers use the plain forms only.
    if (state == State::Percent) out.push_back('{');

    if (c >= '0' && c <= '9') {
      width.push_back(c);
      if (state == State::Positioned) {
        copy.push_back(c);
      } else {
        state = State::Digits;
      }
    } else if (c == '$') {
      // A position that is not a number in range counts as none.
      std::error_code ignored;
      if (!Detail::CheckConvert(width, position, ignored)) position = 0;
      width.clear();
      state = State::Positioned;
    } else if (IsConversionLetter(c)) {
      if (state == State::Positioned) {
        if (position != 0) {
          out.append(std::to_string(position));
          if (!copy.empty()) out.append(":").append(copy);
        }
      } else if (!width.empty()) {
        out.append(":").append(width);
        copy = width;
      }
      if (c == 'x' || c == 'X') out.append(copy.empty() ? ":x" : "x");
      out.push_back('}');
      width.clear();
      copy.clear();
      position = 0;
      state = State::Text;
    }
  }
  return out;
}

}  // namespace FormatHelper
}  // namespace Olma
