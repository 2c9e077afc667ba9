#include "olma/core/text.h"

#include <cstring>

namespace Olma {
namespace {

constexpr bool IsSpace(char c) {
  return c == ' ' || c == '\t' || c == '\n' || c == '\v' || c == '\f' || c == '\r';
}

}  // namespace

int DecodeHex(int c) {
  if (c >= '0' && c <= '9') return c - '0';
  if (c >= 'a' && c <= 'f') return c - 'a' + 10;
  if (c >= 'A' && c <= 'F') return c - 'A' + 10;
  return -1;
}

std::string_view Trim(std::string_view text, ETrim mode) {
  const int bits = static_cast<int>(mode);
  if (bits & static_cast<int>(ETrim::Left)) {
    std::size_t first = 0;
    while (first < text.size() && IsSpace(text[first])) ++first;
    text.remove_prefix(first);
  }
  if (bits & static_cast<int>(ETrim::Right)) {
    std::size_t last = text.size();
    while (last > 0 && IsSpace(text[last - 1])) --last;
    text.remove_suffix(text.size() - last);
  }
  return text;
}

std::vector<std::string_view> SplitString(std::string_view text, std::string_view separator) {
  std::vector<std::string_view> pieces;
  if (text.empty()) return pieces;
  if (separator.empty()) {
    pieces.push_back(text);
    return pieces;
  }
  std::size_t start = 0;
  while (start <= text.size()) {
    std::size_t stop = text.find(separator, start);
    if (stop == std::string_view::npos) stop = text.size();
    if (stop > start) pieces.push_back(text.substr(start, stop - start));
    start = stop + separator.size();
  }
  return pieces;
}

bool StrICmp(std::string_view a, std::string_view b) {
  if (a.size() != b.size()) return false;
  for (std::size_t i = 0; i < a.size(); ++i) {
    if ((a[i] | 0x20) != (b[i] | 0x20)) return false;
  }
  return true;
}

void InplaceLower(char* data, std::size_t size) {
  for (std::size_t i = 0; i < size; ++i) {
    if (data[i] >= 'A' && data[i] <= 'Z') data[i] = static_cast<char>(data[i] + ('a' - 'A'));
  }
}

std::size_t StrLen(const char* text) {
  return text == nullptr ? 0 : std::strlen(text);
}

}  // namespace Olma
