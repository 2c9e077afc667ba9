// CRC-32 checksums: the IEEE 802.3 polynomial, reflected, with initial value and final XOR
// 0xFFFFFFFF — the checksum of gzip, PNG and zlib's crc32().
//
// A CRC32 object is a running register: feed it data in as many pieces as convenient and read
// the checksum of everything fed so far.
//
//   Olma::CRC32 crc;
//   crc.Update(header);
//   crc.Update(body.data(), body.size());
//   std::string digest = crc.Hexdigest();  // eight lower-case hex digits
//
// Large inputs are folded with carry-less multiplication where the processor has it and with
// sixteen-way table slicing elsewhere; the result is the same either way.
//
// An object is not synchronised: use one per thread, or guard it.
#pragma once

#include <cstddef>
#include <cstdint>
#include <iosfwd>
#include <string>
#include <string_view>

#include "olma/core/byte_vector.h"
#include "olma/core/export.h"

namespace Olma {

class OLMA_API CRC32 {
 public:
  // The checksum of no data: Hexdigest() is "00000000".
  CRC32() = default;

  // Each of these starts from the empty state and updates with the whole input.
  explicit CRC32(const ByteVector& data);
  explicit CRC32(std::string_view data);
  CRC32(const void* data, std::size_t size);
  // Reads the stream to its end (see Update(std::istream&)).
  explicit CRC32(std::istream& stream);

  // Extends the checksum with more data; feeding the input in pieces gives the same result as
  // feeding it at once.
  void Update(const ByteVector& data);
  void Update(std::string_view data);
  void Update(const void* data, std::size_t size);
  // Reads the stream until it yields no more bytes, so it is left with eofbit (and failbit)
  // set. A read error ends the input early; the checksum then covers what was read.
  void Update(std::istream& stream);

  // Back to the checksum of no data.
  void Reset() { register_ = kInitial; }

  // The checksum of everything fed since construction or the last Reset().
  std::uint32_t checksum() const { return register_ ^ kInitial; }

  // The checksum as exactly eight lower-case hex digits, zero-padded ("cbf43926" for the text
  // "123456789").
  std::string Hexdigest() const;

 private:
  static constexpr std::uint32_t kInitial = 0xFFFFFFFFu;

  // Kept inverted, as the algorithm runs; checksum() applies the final XOR.
  std::uint32_t register_ = kInitial;
};

}  // namespace Olma
