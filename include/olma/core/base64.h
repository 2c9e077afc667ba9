// Base64 with the standard alphabet ("A"-"Z", "a"-"z", "0"-"9", "+", "/") and "=" padding, as
// used for blob values and for the credentials of basic authorisation.
//
//   std::string text = Olma::Base64::Encode(bytes);
//   std::string error;
//   Olma::ByteVector back = Olma::Base64::Decode(text, error);
//   if (!error.empty()) { ... }
//
// Both functions are pure and thread-safe.
#pragma once

#include <string>
#include <string_view>

#include "olma/core/byte_vector.h"
#include "olma/core/export.h"

namespace Olma {
namespace Base64 {

// The Base64 text of `data`: padded with "=" to a multiple of four characters, no line breaks.
[[nodiscard]] OLMA_API std::string Encode(const ByteVector& data);

// Decodes `text` into bytes.
//
// Trailing blanks, tabs, carriage returns and line feeds are ignored, and so is such white space
// between groups of four characters (so wrapped text decodes); inside a group it is an error. A
// text that is empty or all white space decodes to no bytes without error.
//
// Padding ends decoding: an "=" that is the last character completes its group with two bytes,
// an "=" followed by exactly one more character with one byte (the character after it is not
// examined); an "=" anywhere else is an error. This leniency is the decoder's definition, kept
// because stored texts depend on it: the byte count follows the position of the "=", not the
// symbols before it in its group (missing ones count as zero bits), so "=" and "A=" each
// decode to two zero bytes, "AA=" to two bytes and "TQ=x" to "M".
//
// On failure one of "Truncated Base64!", "Invalid Padding in Base 64!" or
// "Non-Valid Character in Base 64!" is appended to `error` (whatever it held is kept in front)
// and the result is empty. On success `error` is not touched.
[[nodiscard]] OLMA_API ByteVector Decode(std::string_view text, std::string& error);

}  // namespace Base64
}  // namespace Olma
