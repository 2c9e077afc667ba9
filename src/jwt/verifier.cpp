#include "olma/jwt/verifier.h"

#include <openssl/bn.h>
#include <openssl/core_names.h>
#include <openssl/crypto.h>
#include <openssl/ecdsa.h>
#include <openssl/err.h>
#include <openssl/evp.h>
#include <openssl/hmac.h>
#include <openssl/pem.h>

#include <boost/json/parse.hpp>
#include <boost/json/value.hpp>
#include <cstring>
#include <utility>

#include "jwt/base64url.h"
#include "jwt/claims.h"
#include "olma/invocation/security_context_schemes.h"

namespace Olma {
namespace Jwt {

struct JwtKey::Impl {
  SecretString secret;      // HS256
  EVP_PKEY* key = nullptr;  // RS256, ES256

  Impl() = default;
  Impl(const Impl&) = delete;
  Impl& operator=(const Impl&) = delete;
  ~Impl() { EVP_PKEY_free(key); }
};

namespace {

constexpr std::string_view kClaimsName = "com.zorvex.olma.std.security.jwt_claims";
// Far beyond any real token; keeps hostile input from costing more than a bounded parse.
constexpr std::size_t kMaxTokenSize = 64 * 1024;
constexpr int kMinRsaBits = 2048;
constexpr std::size_t kEs256SignatureSize = 64;

BaseMessage Malformed(std::string_view part) {
  return MakeMessage("olma.jwt.malformed", "Malformed token: {1}", part);
}

// Parses `bytes` as a JSON object; nothing when it is no JSON or not an object.
std::optional<boost::json::object> ParseObject(const ByteVector& bytes) {
  boost::json::parse_options options;
  options.max_depth = 32;
  boost::system::error_code error;
  boost::json::value value =
      boost::json::parse(boost::json::string_view(reinterpret_cast<const char*>(bytes.data()), bytes.size()),
                         error, boost::json::storage_ptr(), options);
  if (error || !value.is_object()) return std::nullopt;
  return std::move(value.get_object());
}

std::optional<JwtAlgorithm> AlgorithmNamed(std::string_view name) {
  for (const JwtAlgorithm algorithm : {JwtAlgorithm::HS256, JwtAlgorithm::RS256, JwtAlgorithm::ES256}) {
    if (ToString(algorithm) == name) return algorithm;
  }
  return std::nullopt;
}

// A numeric date claim: absent, a number, or malformed.
enum class NumericDate { kAbsent, kPresent, kMalformed };

NumericDate ReadNumericDate(const boost::json::object& claims, std::string_view name, double& seconds) {
  const auto* value = claims.if_contains(name);
  if (value == nullptr) return NumericDate::kAbsent;
  if (value->is_int64()) {
    seconds = static_cast<double>(value->get_int64());
  } else if (value->is_uint64()) {
    seconds = static_cast<double>(value->get_uint64());
  } else if (value->is_double()) {
    seconds = value->get_double();
  } else {
    return NumericDate::kMalformed;
  }
  return NumericDate::kPresent;
}

// Whole seconds as an integer text, other times as they come.
std::string DateText(double seconds) {
  if (!(seconds > -9e18 && seconds < 9e18)) return std::to_string(seconds);
  const auto whole = static_cast<long long>(seconds);
  return static_cast<double>(whole) == seconds ? std::to_string(whole) : std::to_string(seconds);
}

bool AudienceContains(const boost::json::value& audience, std::string_view expected) {
  if (audience.is_string()) return audience.get_string() == expected;
  if (!audience.is_array()) return false;
  for (const auto& entry : audience.get_array()) {
    if (entry.is_string() && entry.get_string() == expected) return true;
  }
  return false;
}

bool DigestVerify(EVP_PKEY* key, std::string_view input, const unsigned char* signature, std::size_t size) {
  EVP_MD_CTX* context = EVP_MD_CTX_new();
  const bool valid =
      context != nullptr && EVP_DigestVerifyInit(context, nullptr, EVP_sha256(), nullptr, key) == 1 &&
      EVP_DigestVerify(context, signature, size, reinterpret_cast<const unsigned char*>(input.data()),
                       input.size()) == 1;
  EVP_MD_CTX_free(context);
  ERR_clear_error();
  return valid;
}

// The fixed-size r||s of a JWS signature as the DER structure libcrypto verifies.
bool VerifyEs256(EVP_PKEY* key, std::string_view input, const ByteVector& signature) {
  if (signature.size() != kEs256SignatureSize) return false;
  ECDSA_SIG* parsed = ECDSA_SIG_new();
  BIGNUM* r = BN_bin2bn(signature.data(), kEs256SignatureSize / 2, nullptr);
  BIGNUM* s = BN_bin2bn(signature.data() + kEs256SignatureSize / 2, kEs256SignatureSize / 2, nullptr);
  if (parsed == nullptr || r == nullptr || s == nullptr || ECDSA_SIG_set0(parsed, r, s) != 1) {
    BN_free(r);
    BN_free(s);
    ECDSA_SIG_free(parsed);
    return false;
  }
  unsigned char der[80];  // two 33-byte integers and their headers fit
  unsigned char* out = der;
  const int size =
      i2d_ECDSA_SIG(parsed, nullptr) <= static_cast<int>(sizeof der) ? i2d_ECDSA_SIG(parsed, &out) : -1;
  ECDSA_SIG_free(parsed);
  return size > 0 && DigestVerify(key, input, der, static_cast<std::size_t>(size));
}

}  // namespace

std::string_view ToString(JwtAlgorithm algorithm) noexcept {
  switch (algorithm) {
    case JwtAlgorithm::HS256:
      return "HS256";
    case JwtAlgorithm::RS256:
      return "RS256";
    case JwtAlgorithm::ES256:
      return "ES256";
  }
  return "";
}

JwtKey::JwtKey(std::shared_ptr<Impl> impl, JwtAlgorithm algorithm, std::string keyId)
    : impl_(std::move(impl)), algorithm_(algorithm), keyId_(std::move(keyId)) {}

JwtKey::~JwtKey() = default;

JwtKey::PtrConstType JwtKey::FromSecret(SecretString secret, std::string& error, std::string keyId) {
  if (secret.empty()) {
    error = "An HMAC secret must not be empty";
    return nullptr;
  }
  auto impl = std::make_shared<Impl>();
  impl->secret = std::move(secret);
  return std::make_shared<const JwtKey>(std::move(impl), JwtAlgorithm::HS256, std::move(keyId));
}

JwtKey::PtrConstType JwtKey::FromPublicKeyPem(std::string_view pem, JwtAlgorithm algorithm,
                                              std::string& error, std::string keyId) {
  if (algorithm == JwtAlgorithm::HS256) {
    error = "HS256 takes a secret, not a public key";
    return nullptr;
  }
  auto impl = std::make_shared<Impl>();
  BIO* bio = BIO_new_mem_buf(pem.data(), static_cast<int>(pem.size()));
  impl->key = bio != nullptr ? PEM_read_bio_PUBKEY(bio, nullptr, nullptr, nullptr) : nullptr;
  BIO_free(bio);
  ERR_clear_error();
  if (impl->key == nullptr) {
    error = "Not a PEM public key";
    return nullptr;
  }
  if (algorithm == JwtAlgorithm::RS256) {
    if (EVP_PKEY_get_base_id(impl->key) != EVP_PKEY_RSA || EVP_PKEY_get_bits(impl->key) < kMinRsaBits) {
      error = "RS256 needs an RSA key of at least 2048 bits";
      return nullptr;
    }
  } else {
    char group[32] = {};
    std::size_t length = 0;
    if (EVP_PKEY_get_base_id(impl->key) != EVP_PKEY_EC ||
        EVP_PKEY_get_utf8_string_param(impl->key, OSSL_PKEY_PARAM_GROUP_NAME, group, sizeof group, &length) !=
            1 ||
        std::strcmp(group, "prime256v1") != 0) {
      ERR_clear_error();
      error = "ES256 needs an EC key on the P-256 curve";
      return nullptr;
    }
  }
  return std::make_shared<const JwtKey>(std::move(impl), algorithm, std::move(keyId));
}

bool JwtKey::VerifySignature(std::string_view input, const ByteVector& signature) const {
  switch (algorithm_) {
    case JwtAlgorithm::HS256: {
      unsigned char mac[EVP_MAX_MD_SIZE];
      unsigned int size = 0;
      const std::string_view secret = impl_->secret.str();
      const bool computed =
          HMAC(EVP_sha256(), secret.data(), static_cast<int>(secret.size()),
               reinterpret_cast<const unsigned char*>(input.data()), input.size(), mac, &size) != nullptr;
      const bool valid =
          computed && signature.size() == size && CRYPTO_memcmp(mac, signature.data(), size) == 0;
      OPENSSL_cleanse(mac, sizeof mac);
      return valid;
    }
    case JwtAlgorithm::RS256:
      return DigestVerify(impl_->key, input, signature.data(), signature.size());
    case JwtAlgorithm::ES256:
      return VerifyEs256(impl_->key, input, signature);
  }
  return false;
}

JwtVerifier::JwtVerifier(JwtVerifierOptions options) : options_(std::move(options)) {}

Data::StructValue::PtrConstType JwtVerifier::Verify(std::string_view token, MessageList& messages) const {
  const auto now =
      std::chrono::duration_cast<std::chrono::seconds>(std::chrono::system_clock::now().time_since_epoch());
  return Verify(token, static_cast<std::int64_t>(now.count()), messages);
}

Data::StructValue::PtrConstType JwtVerifier::Verify(const Core::SecurityContext& context,
                                                    MessageList& messages) const {
  const Core::JwtTokenSecurityContextReader reader(context);
  if (!reader.valid()) {
    messages.push_back(MakeMessage("olma.jwt.missing.claim", "Missing claim: {1}", "accessToken"));
    return nullptr;
  }
  return Verify(reader.jwtToken(), messages);
}

Data::StructValue::PtrConstType JwtVerifier::Verify(std::string_view token, std::int64_t now,
                                                    MessageList& messages) const {
  const std::size_t first = token.find('.');
  const std::size_t second = first == std::string_view::npos ? first : token.find('.', first + 1);
  if (token.size() > kMaxTokenSize || second == std::string_view::npos ||
      token.find('.', second + 1) != std::string_view::npos) {
    messages.push_back(Malformed("segments"));
    return nullptr;
  }
  const auto headerBytes = Detail::DecodeBase64Url(token.substr(0, first));
  const auto header = headerBytes ? ParseObject(*headerBytes) : std::nullopt;
  const auto* algorithmName = header ? header->if_contains("alg") : nullptr;
  const auto* keyId = header ? header->if_contains("kid") : nullptr;
  if (algorithmName == nullptr || !algorithmName->is_string() || (keyId != nullptr && !keyId->is_string())) {
    messages.push_back(Malformed("header"));
    return nullptr;
  }
  const std::string_view name(algorithmName->get_string().data(), algorithmName->get_string().size());
  const std::optional<JwtAlgorithm> algorithm = AlgorithmNamed(name);
  if (!algorithm || header->contains("crit")) {
    messages.push_back(MakeMessage("olma.jwt.algorithm", "Algorithm not accepted: {1}", name.substr(0, 16)));
    return nullptr;
  }
  const auto signature = Detail::DecodeBase64Url(token.substr(second + 1));
  if (!signature) {
    messages.push_back(Malformed("signature"));
    return nullptr;
  }

  const std::string_view signingInput = token.substr(0, second);
  bool keyed = false;
  bool verified = false;
  for (const auto& key : options_.keys) {
    if (!key || key->algorithm() != *algorithm) continue;
    if (keyId != nullptr && !key->keyId().empty() && key->keyId() != keyId->get_string()) continue;
    keyed = true;
    if (key->VerifySignature(signingInput, *signature)) {
      verified = true;
      break;
    }
  }
  if (!keyed) {
    messages.push_back(MakeMessage("olma.jwt.algorithm", "Algorithm not accepted: {1}", name));
    return nullptr;
  }
  if (!verified) {
    messages.push_back(MakeMessage("olma.jwt.signature", "Invalid token signature"));
    return nullptr;
  }

  const auto payloadBytes = Detail::DecodeBase64Url(token.substr(first + 1, second - first - 1));
  const auto claims = payloadBytes ? ParseObject(*payloadBytes) : std::nullopt;
  if (!claims) {
    messages.push_back(Malformed("payload"));
    return nullptr;
  }
  const double leeway = static_cast<double>(options_.leeway.count());
  const double current = static_cast<double>(now);
  double expiry = 0;
  switch (ReadNumericDate(*claims, "exp", expiry)) {
    case NumericDate::kMalformed:
      messages.push_back(Malformed("exp"));
      return nullptr;
    case NumericDate::kAbsent:
      if (options_.requireExpiry) {
        messages.push_back(MakeMessage("olma.jwt.missing.claim", "Missing claim: {1}", "exp"));
        return nullptr;
      }
      break;
    case NumericDate::kPresent:
      if (current >= expiry + leeway) {
        messages.push_back(MakeMessage("olma.jwt.expired", "Token expired at {1}", DateText(expiry)));
        return nullptr;
      }
  }
  double notBefore = 0;
  switch (ReadNumericDate(*claims, "nbf", notBefore)) {
    case NumericDate::kMalformed:
      messages.push_back(Malformed("nbf"));
      return nullptr;
    case NumericDate::kPresent:
      if (current + leeway < notBefore) {
        messages.push_back(
            MakeMessage("olma.jwt.not.yet.valid", "Token not valid before {1}", DateText(notBefore)));
        return nullptr;
      }
      break;
    case NumericDate::kAbsent:
      break;
  }
  if (options_.issuer) {
    const auto* issuer = claims->if_contains("iss");
    if (issuer == nullptr || !issuer->is_string() || issuer->get_string() != *options_.issuer) {
      messages.push_back(MakeMessage("olma.jwt.issuer", "Unexpected token issuer"));
      return nullptr;
    }
  }
  if (options_.audience) {
    const auto* audience = claims->if_contains("aud");
    if (audience == nullptr || !AudienceContains(*audience, *options_.audience)) {
      messages.push_back(MakeMessage("olma.jwt.audience", "Token not meant for this audience"));
      return nullptr;
    }
  }
  return Detail::ToStructValue(*claims, std::string(kClaimsName));
}

}  // namespace Jwt
}  // namespace Olma
