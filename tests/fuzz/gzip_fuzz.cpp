// Gzip decompression of any bytes under a small ceiling; what inflates compresses and
// inflates back to itself.
#include <cstdint>
#include <string>

#include "fuzz/fuzz_input.h"
#include "olma/core/gzip.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  constexpr std::size_t kCeiling = std::size_t{1} << 20;
  const Olma::ByteVector packed(data, data + size);
  Olma::MessageList messages;
  const std::string content = Olma::Gzip::Decompress(packed, messages, kCeiling);
  OLMA_FUZZ_CHECK(messages.size() <= 1 && (messages.empty() || content.empty()));
  OLMA_FUZZ_CHECK(content.size() <= kCeiling);
  Olma::MessageList again;
  OLMA_FUZZ_CHECK(Olma::Gzip::Decompress(packed, again, kCeiling) == content &&
                  again.size() == messages.size());
  if (messages.empty()) {
    const Olma::ByteVector repacked = Olma::Gzip::Compress(content, messages, 1);
    OLMA_FUZZ_CHECK(messages.empty());
    OLMA_FUZZ_CHECK(Olma::Gzip::Decompress(repacked, messages) == content && messages.empty());
  }
  return 0;
}
