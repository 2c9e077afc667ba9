// The library's byte buffer: blobs, Base64 payloads and gzip streams all use it.
#pragma once

#include <cstdint>
#include <vector>

namespace Olma {

using ByteVector = std::vector<std::uint8_t>;

}  // namespace Olma
