// Base64 decoding of any text, and the encode/decode round trip of any bytes.
#include <cstdint>
#include <string>

#include "fuzz/fuzz_input.h"
#include "olma/core/base64.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string text(reinterpret_cast<const char*>(data), size);

  std::string error;
  const Olma::ByteVector bytes = Olma::Base64::Decode(text, error);
  OLMA_FUZZ_CHECK(error.empty() || bytes.empty());
  std::string again_error;
  OLMA_FUZZ_CHECK(Olma::Base64::Decode(text, again_error) == bytes && again_error == error);
  // Four characters give at most three bytes; a padded group at most two.
  OLMA_FUZZ_CHECK(bytes.size() <= size / 4 * 3 + 2);
  if (error.empty()) {
    std::string back_error;
    OLMA_FUZZ_CHECK(Olma::Base64::Decode(Olma::Base64::Encode(bytes), back_error) == bytes &&
                    back_error.empty());
  }

  const Olma::ByteVector raw(data, data + size);
  const std::string encoded = Olma::Base64::Encode(raw);
  OLMA_FUZZ_CHECK(encoded.size() == (size + 2) / 3 * 4);
  std::string round_error;
  OLMA_FUZZ_CHECK(Olma::Base64::Decode(encoded, round_error) == raw && round_error.empty());
  return 0;
}
