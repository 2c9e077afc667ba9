// Hostile tokens through the verifier. The first byte picks the mode: as is, or with the
// first line taken as the header JSON and the rest as the claims JSON, signed with the
// verifier's HMAC secret, so that the claim checks and the conversion of claims into values
// are reached too.
#include <openssl/evp.h>
#include <openssl/hmac.h>

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "olma/core/base64.h"
#include "olma/jwt/verifier.h"

namespace {

const char kSecret[] = "fuzzing secret";

std::string Base64Url(std::string_view bytes) {
  std::string text = Olma::Base64::Encode(Olma::ByteVector(bytes.begin(), bytes.end()));
  while (!text.empty() && text.back() == '=') text.pop_back();
  for (char& c : text) c = c == '+' ? '-' : c == '/' ? '_' : c;
  return text;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const Olma::Jwt::JwtVerifier verifier = [] {
    std::string error;
    Olma::Jwt::JwtVerifierOptions options;
    options.keys.push_back(Olma::Jwt::JwtKey::FromSecret(Olma::SecretString(kSecret), error));
    options.audience = "api";
    return Olma::Jwt::JwtVerifier(std::move(options));
  }();
  if (size == 0) return 0;
  const std::string_view text(reinterpret_cast<const char*>(data) + 1, size - 1);
  std::string token(text);
  if (data[0] & 1) {
    const std::size_t line = text.find('\n');
    const std::string input =
        Base64Url(text.substr(0, line)) + "." +
        Base64Url(line == std::string_view::npos ? std::string_view() : text.substr(line + 1));
    unsigned char mac[EVP_MAX_MD_SIZE];
    unsigned int length = 0;
    HMAC(EVP_sha256(), kSecret, sizeof kSecret - 1, reinterpret_cast<const unsigned char*>(input.data()),
         input.size(), mac, &length);
    token = input + "." + Base64Url(std::string_view(reinterpret_cast<const char*>(mac), length));
  }
  Olma::MessageList messages;
  const auto claims = verifier.Verify(token, 1800000000, messages);
  if (static_cast<bool>(claims) == !messages.empty()) __builtin_trap();
  return 0;
}
