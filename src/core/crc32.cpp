#include "olma/core/crc32.h"

#include <array>
#include <cstring>
#include <istream>

#if defined(__x86_64__) || defined(__i386__)
#include <immintrin.h>
#define OLMA_CRC32_HAVE_CLMUL 1
#else
#define OLMA_CRC32_HAVE_CLMUL 0
#endif

namespace Olma {
namespace {

constexpr std::uint32_t kReflectedPolynomial = 0xEDB88320u;

// kTables[0] is the classic byte-at-a-time table; kTables[k][b] is the register contribution of
// byte b followed by k zero bytes, which lets sixteen bytes be folded in one step with
// independent lookups. Built at compile time, so there is no start-up cost and no shared state.
using SliceTables = std::array<std::array<std::uint32_t, 256>, 16>;

constexpr SliceTables MakeSliceTables() {
  SliceTables tables{};
  for (std::uint32_t byte = 0; byte < 256; ++byte) {
    std::uint32_t crc = byte;
    for (int bit = 0; bit < 8; ++bit) crc = (crc >> 1) ^ (kReflectedPolynomial & (0u - (crc & 1u)));
    tables[0][byte] = crc;
  }
  for (std::size_t k = 1; k < tables.size(); ++k) {
    for (std::size_t byte = 0; byte < 256; ++byte) {
      const std::uint32_t previous = tables[k - 1][byte];
      tables[k][byte] = (previous >> 8) ^ tables[0][previous & 0xFFu];
    }
  }
  return tables;
}

constexpr SliceTables kTables = MakeSliceTables();

inline std::uint32_t LoadLittleEndian32(const unsigned char* p) {
  std::uint32_t word;
  std::memcpy(&word, p, sizeof word);
#if defined(__BYTE_ORDER__) && __BYTE_ORDER__ == __ORDER_BIG_ENDIAN__
  word = __builtin_bswap32(word);
#endif
  return word;
}

std::uint32_t UpdateSliced(std::uint32_t crc, const unsigned char* p, std::size_t size) {
  const auto& t = kTables;
  while (size >= 16) {
    const std::uint32_t w0 = LoadLittleEndian32(p) ^ crc;
    const std::uint32_t w1 = LoadLittleEndian32(p + 4);
    const std::uint32_t w2 = LoadLittleEndian32(p + 8);
    const std::uint32_t w3 = LoadLittleEndian32(p + 12);
    crc = t[15][w0 & 0xFF] ^ t[14][(w0 >> 8) & 0xFF] ^ t[13][(w0 >> 16) & 0xFF] ^ t[12][w0 >> 24] ^
          t[11][w1 & 0xFF] ^ t[10][(w1 >> 8) & 0xFF] ^ t[9][(w1 >> 16) & 0xFF] ^ t[8][w1 >> 24] ^
          t[7][w2 & 0xFF] ^ t[6][(w2 >> 8) & 0xFF] ^ t[5][(w2 >> 16) & 0xFF] ^ t[4][w2 >> 24] ^
          t[3][w3 & 0xFF] ^ t[2][(w3 >> 8) & 0xFF] ^ t[1][(w3 >> 16) & 0xFF] ^ t[0][w3 >> 24];
    p += 16;
    size -= 16;
  }
  while (size-- > 0) crc = (crc >> 8) ^ t[0][(crc ^ *p++) & 0xFF];
  return crc;
}

#if OLMA_CRC32_HAVE_CLMUL

// Below this the set-up and the final reduction of the folding path cost more than slicing.
constexpr std::size_t kClmulMinimum = 64;

bool CpuHasClmul() {
  static const bool has = [] {
    __builtin_cpu_init();
    return __builtin_cpu_supports("pclmul") != 0;
  }();
  return has;
}

inline __m128i Load128(const unsigned char* at) {
  return _mm_loadu_si128(reinterpret_cast<const __m128i*>(at));
}

// Multiplies both halves of a lane by the folding constants and adds the next data block.
__attribute__((target("pclmul"))) inline __m128i Fold(__m128i lane, __m128i k, __m128i next) {
  const __m128i low = _mm_clmulepi64_si128(lane, k, 0x00);
  const __m128i high = _mm_clmulepi64_si128(lane, k, 0x11);
  return _mm_xor_si128(_mm_xor_si128(low, high), next);
}

// Folding with carry-less multiplication: four 128-bit lanes absorb 64 bytes per step, then
// collapse into one lane, then to 64 bits, and a Barrett reduction yields the 32-bit register.
// The constants are powers of x modulo the polynomial in the bit-reflected domain:
// x^(4*128+32) and x^(4*128-32) to fold by four lanes, x^(128+32) and x^(128-32) by one lane,
// x^64 for the 64-bit step, and the polynomial with its Barrett quotient floor(x^64 / P).
// `size` must be a multiple of 16 and at least kClmulMinimum.
__attribute__((target("pclmul"))) std::uint32_t UpdateClmul(std::uint32_t crc, const unsigned char* p,
                                                            std::size_t size) {
  const __m128i foldBy4 = _mm_set_epi64x(0x01c6e41596, 0x0154442bd4);
  const __m128i foldBy1 = _mm_set_epi64x(0x00ccaa009e, 0x01751997d0);
  const __m128i fold64 = _mm_set_epi64x(0, 0x0163cd6124);
  const __m128i barrett = _mm_set_epi64x(0x01f7011641, 0x01db710641);
  const __m128i low32 = _mm_setr_epi32(-1, 0, -1, 0);

  __m128i x0 = _mm_xor_si128(Load128(p), _mm_cvtsi32_si128(static_cast<int>(crc)));
  __m128i x1 = Load128(p + 16);
  __m128i x2 = Load128(p + 32);
  __m128i x3 = Load128(p + 48);
  p += 64;
  size -= 64;

  while (size >= 64) {
    x0 = Fold(x0, foldBy4, Load128(p));
    x1 = Fold(x1, foldBy4, Load128(p + 16));
    x2 = Fold(x2, foldBy4, Load128(p + 32));
    x3 = Fold(x3, foldBy4, Load128(p + 48));
    p += 64;
    size -= 64;
  }

  x0 = Fold(x0, foldBy1, x1);
  x0 = Fold(x0, foldBy1, x2);
  x0 = Fold(x0, foldBy1, x3);
  while (size >= 16) {
    x0 = Fold(x0, foldBy1, Load128(p));
    p += 16;
    size -= 16;
  }

  // 128 -> 64 bits.
  x0 = _mm_xor_si128(_mm_srli_si128(x0, 8), _mm_clmulepi64_si128(x0, foldBy1, 0x10));
  x0 = _mm_xor_si128(_mm_srli_si128(x0, 4), _mm_clmulepi64_si128(_mm_and_si128(x0, low32), fold64, 0x00));

  // Barrett reduction 64 -> 32 bits.
  __m128i t = _mm_clmulepi64_si128(_mm_and_si128(x0, low32), barrett, 0x10);
  t = _mm_clmulepi64_si128(_mm_and_si128(t, low32), barrett, 0x00);
  x0 = _mm_xor_si128(x0, t);
  return static_cast<std::uint32_t>(_mm_cvtsi128_si32(_mm_srli_si128(x0, 4)));
}

#endif

}  // namespace

CRC32::CRC32(const ByteVector& data) {
  Update(data.data(), data.size());
}

CRC32::CRC32(std::string_view data) {
  Update(data.data(), data.size());
}

CRC32::CRC32(const void* data, std::size_t size) {
  Update(data, size);
}

CRC32::CRC32(std::istream& stream) {
  Update(stream);
}

void CRC32::Update(const ByteVector& data) {
  Update(data.data(), data.size());
}

void CRC32::Update(std::string_view data) {
  Update(data.data(), data.size());
}

void CRC32::Update(const void* data, std::size_t size) {
  if (size == 0) return;
  const auto* p = static_cast<const unsigned char*>(data);
  std::uint32_t crc = register_;
#if OLMA_CRC32_HAVE_CLMUL
  if (size >= kClmulMinimum && CpuHasClmul()) {
    const std::size_t folded = size & ~static_cast<std::size_t>(15);
    crc = UpdateClmul(crc, p, folded);
    p += folded;
    size -= folded;
  }
#endif
  register_ = UpdateSliced(crc, p, size);
}

void CRC32::Update(std::istream& stream) {
  char buffer[16384];
  for (;;) {
    stream.read(buffer, sizeof buffer);
    const std::streamsize got = stream.gcount();
    if (got <= 0) break;
    Update(buffer, static_cast<std::size_t>(got));
    if (!stream) break;
  }
}

std::string CRC32::Hexdigest() const {
  static constexpr char kDigits[] = "0123456789abcdef";
  const std::uint32_t value = checksum();
  std::string text(8, '0');
  for (int i = 7, shift = 0; i >= 0; --i, shift += 4)
    text[static_cast<std::size_t>(i)] = kDigits[(value >> shift) & 0xFu];
  return text;
}

}  // namespace Olma
