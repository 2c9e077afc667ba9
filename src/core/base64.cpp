#include "olma/core/base64.h"

#include <array>
#include <cstdint>
#include <cstring>

namespace Olma {
namespace Base64 {
namespace {

constexpr char kAlphabet[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

// Every 12-bit value as its two output characters, so three input bytes take two lookups.
constexpr std::array<char, 2 * 4096> MakePairTable() {
  std::array<char, 2 * 4096> pairs{};
  for (std::size_t i = 0; i < 4096; ++i) {
    pairs[2 * i] = kAlphabet[i >> 6];
    pairs[2 * i + 1] = kAlphabet[i & 63];
  }
  return pairs;
}

constexpr std::array<char, 2 * 4096> kPairs = MakePairTable();

constexpr std::uint32_t kInvalid = 0xFF000000u;

// The value of a symbol already shifted to its place in a 24-bit group, one table per place, so
// a group is four lookups OR-ed together. Anything that is not a symbol ("=" and white space
// included) has bits above the 24 and so marks the whole group for the careful path.
using DecodeTable = std::array<std::uint32_t, 256>;

constexpr DecodeTable MakeDecodeTable(int shift) {
  DecodeTable table{};
  for (auto& entry : table) entry = kInvalid;
  for (std::uint32_t value = 0; value < 64; ++value) {
    table[static_cast<unsigned char>(kAlphabet[value])] = value << shift;
  }
  return table;
}

constexpr DecodeTable kDecode0 = MakeDecodeTable(18);
constexpr DecodeTable kDecode1 = MakeDecodeTable(12);
constexpr DecodeTable kDecode2 = MakeDecodeTable(6);
constexpr DecodeTable kDecode3 = MakeDecodeTable(0);

inline std::uint64_t ToBigEndian(std::uint64_t word) {
#if defined(__BYTE_ORDER__) && __BYTE_ORDER__ == __ORDER_BIG_ENDIAN__
  return word;
#else
  return __builtin_bswap64(word);
#endif
}

inline bool IsSpace(unsigned char c) {
  return c == '\n' || c == '\r' || c == '\t' || c == ' ';
}

inline void PutGroup(std::uint32_t group, std::uint8_t* out) {
  out[0] = static_cast<std::uint8_t>(group >> 16);
  out[1] = static_cast<std::uint8_t>(group >> 8);
  out[2] = static_cast<std::uint8_t>(group);
}

ByteVector Fail(std::string& error, const char* text) {
  error.append(text);
  return {};
}

}  // namespace

std::string Encode(const ByteVector& data) {
  const std::size_t size = data.size();
  std::string text((size + 2) / 3 * 4, '=');
  const std::uint8_t* in = data.data();
  char* out = text.data();

  std::size_t left = size;
  // Six bytes per step through one 64-bit load (eight bytes must be readable) and four lookups.
  for (; left >= 8; left -= 6, in += 6, out += 8) {
    std::uint64_t word;
    std::memcpy(&word, in, sizeof word);
    word = ToBigEndian(word);
    std::uint16_t quad[4];
    std::memcpy(&quad[0], &kPairs[2 * ((word >> 52) & 0xFFFu)], 2);
    std::memcpy(&quad[1], &kPairs[2 * ((word >> 40) & 0xFFFu)], 2);
    std::memcpy(&quad[2], &kPairs[2 * ((word >> 28) & 0xFFFu)], 2);
    std::memcpy(&quad[3], &kPairs[2 * ((word >> 16) & 0xFFFu)], 2);
    std::memcpy(out, quad, sizeof quad);
  }
  for (; left >= 3; left -= 3, in += 3, out += 4) {
    const std::uint32_t group = (std::uint32_t{in[0]} << 16) | (std::uint32_t{in[1]} << 8) | in[2];
    std::memcpy(out, &kPairs[2 * (group >> 12)], 2);
    std::memcpy(out + 2, &kPairs[2 * (group & 0xFFFu)], 2);
  }
  // The last one or two bytes; the padding is already in place.
  if (left > 0) {
    const std::uint32_t group = (std::uint32_t{in[0]} << 16) | (left == 2 ? std::uint32_t{in[1]} << 8 : 0u);
    out[0] = kAlphabet[group >> 18];
    out[1] = kAlphabet[(group >> 12) & 63];
    if (left == 2) out[2] = kAlphabet[(group >> 6) & 63];
  }
  return text;
}

ByteVector Decode(std::string_view text, std::string& error) {
  std::size_t length = text.size();
  while (length > 0 && IsSpace(static_cast<unsigned char>(text[length - 1]))) --length;
  if (length == 0) return {};

  // Whole groups give three bytes per four characters and a padded last group at most two bytes
  // for at least one character, so this bounds the output; white space only makes it smaller.
  ByteVector bytes(length / 4 * 3 + 2);
  std::uint8_t* out = bytes.data();
  const auto* in = reinterpret_cast<const unsigned char*>(text.data());
  const unsigned char* const end = in + length;

  for (;;) {
    // Runs of plain groups.
    while (end - in >= 4) {
      const std::uint32_t group = kDecode0[in[0]] | kDecode1[in[1]] | kDecode2[in[2]] | kDecode3[in[3]];
      if (group & kInvalid) break;
      PutGroup(group, out);
      out += 3;
      in += 4;
    }
    if (in == end) break;

    // One group that starts with white space, holds padding or a bad character, or is cut short.
    // The character before `end` is not white space, so skipping stays in bounds.
    while (IsSpace(*in)) ++in;
    std::uint32_t group = 0;
    for (int place = 0; place < 4; ++place) {
      if (in == end) return Fail(error, "Truncated Base64!");
      const unsigned char c = *in++;
      if (c == '=') {
        const std::ptrdiff_t following = end - in;
        if (following > 1) return Fail(error, "Invalid Padding in Base 64!");
        group <<= 6 * (4 - place);
        *out++ = static_cast<std::uint8_t>(group >> 16);
        if (following == 0) *out++ = static_cast<std::uint8_t>(group >> 8);
        bytes.resize(static_cast<std::size_t>(out - bytes.data()));
        return bytes;
      }
      const std::uint32_t value = kDecode3[c];
      if (value & kInvalid) return Fail(error, "Non-Valid Character in Base 64!");
      group = (group << 6) | value;
    }
    PutGroup(group, out);
    out += 3;
  }
  bytes.resize(static_cast<std::size_t>(out - bytes.data()));
  return bytes;
}

}  // namespace Base64
}  // namespace Olma
