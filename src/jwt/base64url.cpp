#include "jwt/base64url.h"

#include <string>

#include "olma/core/base64.h"

namespace Olma {
namespace Jwt {
namespace Detail {

std::optional<ByteVector> DecodeBase64Url(std::string_view text) {
  if (text.size() % 4 == 1) return std::nullopt;
  // Mapped onto the standard alphabet and padded, the core decoder does the rest.
  std::string standard;
  standard.reserve(text.size() + 3);
  for (const char c : text) {
    if ((c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9')) {
      standard.push_back(c);
    } else if (c == '-') {
      standard.push_back('+');
    } else if (c == '_') {
      standard.push_back('/');
    } else {
      return std::nullopt;
    }
  }
  standard.append((4 - standard.size() % 4) % 4, '=');
  std::string error;
  ByteVector bytes = Base64::Decode(standard, error);
  if (!error.empty()) return std::nullopt;
  return bytes;
}

}  // namespace Detail
}  // namespace Jwt
}  // namespace Olma
