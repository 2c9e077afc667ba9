// Base64url without padding, as the segments of a compact token are written.
#pragma once

#include <optional>
#include <string_view>

#include "olma/core/byte_vector.h"

namespace Olma {
namespace Jwt {
namespace Detail {

// The bytes of `text`, or nothing when it holds a character outside "A"-"Z", "a"-"z", "0"-"9",
// "-", "_" or has a length no encoding produces.
std::optional<ByteVector> DecodeBase64Url(std::string_view text);

}  // namespace Detail
}  // namespace Jwt
}  // namespace Olma
