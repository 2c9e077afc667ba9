// Small text helpers used throughout the library: hex digits, trimming, splitting and the cheap
// ASCII case handling of header names and language tags.
//
//   for (std::string_view tag : Olma::SplitString(header, ",")) {
//     tag = Olma::Trim(tag, Olma::ETrim::Both);
//     ...
//   }
//
// All functions are pure (InplaceLower changes only its argument) and thread-safe. Functions that
// return views point into their argument, which must outlive the views.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "olma/core/export.h"

namespace Olma {

// The value of one hex digit: "0"-"9" give 0-9, "A"-"F" and "a"-"f" give 10-15, anything else -1.
[[nodiscard]] OLMA_API int DecodeHex(int c);

// Which ends Trim() cuts; the values are bit masks.
enum class ETrim : int {
  Left = 1,
  Right = 2,
  Both = 3,
};

// `text` without the white space (blank, "\t", "\n", "\v", "\f", "\r") at the ends `mode` selects.
// The set is that of std::isspace in the "C" locale, fixed here so the result does not depend on
// the process locale.
[[nodiscard]] OLMA_API std::string_view Trim(std::string_view text, ETrim mode = ETrim::Both);

// The pieces of `text` between occurrences of the whole `separator`, in order, empty pieces
// dropped: SplitString("a,,b,", ",") is {"a", "b"}. An empty text gives no pieces; an empty
// separator gives the text as the only piece.
[[nodiscard]] OLMA_API std::vector<std::string_view> SplitString(std::string_view text,
                                                                 std::string_view separator);

// True when `a` and `b` have the same length and equal bytes once bit 0x20 is set in each. That is
// case-insensitive for ASCII letters but also equates a few punctuation pairs ("[" and "{", "@"
// and "`", for example); callers compare header names and tags with it, where that is harmless.
[[nodiscard]] OLMA_API bool StrICmp(std::string_view a, std::string_view b);

// Changes "A"-"Z" to "a"-"z" in place; every other byte stays. It takes the characters it changes,
// a string or a mutable range, since a string view gives read-only access.
OLMA_API void InplaceLower(char* data, std::size_t size);
inline void InplaceLower(std::string& text) {
  InplaceLower(text.data(), text.size());
}

// The length of `text` up to its first NUL; 0 for a null pointer.
[[nodiscard]] OLMA_API std::size_t StrLen(const char* text);

}  // namespace Olma
