// Verification of JSON Web Tokens before a handler trusts them.
//
// The JWT security scheme only carries a token; anyone can write one. A JwtVerifier checks
// that a token was signed by a key you hold and that its time window, issuer and audience
// are the expected ones, and hands out its claims as a structure value:
//
//   std::string error;
//   Olma::Jwt::JwtVerifierOptions options;
//   options.keys.push_back(Olma::Jwt::JwtKey::FromPublicKeyPem(pem, Olma::Jwt::JwtAlgorithm::RS256, error));
//   options.issuer = "https://login.example";
//   options.audience = "orders-api";
//   Olma::Jwt::JwtVerifier verifier(std::move(options));
//
//   Olma::MessageList messages;
//   auto claims = verifier.Verify(context.securityContext(), messages);
//   if (!claims) return Unauthenticated(messages);
//   const auto& subject = claims->fields().at("sub");   // a StringValue
//
// Accepted are compact tokens signed with HS256 (HMAC-SHA-256), RS256 (RSA PKCS#1 v1.5 with
// SHA-256, keys of 2048 bits or more) and ES256 (ECDSA over P-256 with SHA-256). Every key is
// bound to one algorithm when it is made, and a token is checked only with keys of the
// algorithm its header names: "alg": "none", an unknown algorithm, or a token whose algorithm
// has no key is refused, so a public RSA key can never be used as an HMAC secret. A header with
// "kid" is checked only with the keys of that id (keys without an id match any). Headers with
// "crit" extensions are refused, as none is understood.
//
// Claims: "exp" and "nbf" (numeric dates) are checked with the leeway; "exp" is required unless
// requireExpiry is false. "iss" must equal `issuer` when one is set; "aud" (a string or an array
// of strings) must contain `audience` when one is set. The claims come out as a structure named
// "com.zorvex.olma.std.security.jwt_claims": strings, integers, doubles, booleans, lists; null
// as an unset optional; nested objects as structures named "object". Nesting is limited to 32
// levels.
//
// Failures append one message and return an empty pointer: "olma.jwt.malformed" (the token is
// not three Base64url segments of JSON objects), "olma.jwt.algorithm" (refused or unkeyed
// algorithm, argument: the algorithm), "olma.jwt.signature", "olma.jwt.expired" and
// "olma.jwt.not.yet.valid" (argument: the claim's time as seconds since the epoch),
// "olma.jwt.issuer", "olma.jwt.audience", "olma.jwt.missing.claim" (argument: the claim's
// name). No message quotes the token or a key.
//
// A verifier is immutable: any number of threads may verify with one verifier at once.
#pragma once

#include <chrono>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "olma/core/export.h"
#include "olma/core/message.h"
#include "olma/core/secret_string.h"
#include "olma/data/compound_values.h"
#include "olma/invocation/execution_context.h"

namespace Olma {
namespace Jwt {

enum class JwtAlgorithm { HS256, RS256, ES256 };

// "HS256", "RS256", "ES256".
OLMA_API std::string_view ToString(JwtAlgorithm algorithm) noexcept;

// One verification key, bound to one algorithm; immutable and shareable between threads.
class OLMA_API JwtKey {
 public:
  using PtrConstType = std::shared_ptr<const JwtKey>;

  // An HMAC secret for HS256; empty pointer and `error` set when the secret is empty.
  static PtrConstType FromSecret(SecretString secret, std::string& error, std::string keyId = {});
  // A public key in PEM ("-----BEGIN PUBLIC KEY-----"): an RSA key of at least 2048 bits for
  // RS256, a P-256 key for ES256. Empty pointer and `error` set when the text is no such key.
  static PtrConstType FromPublicKeyPem(std::string_view pem, JwtAlgorithm algorithm, std::string& error,
                                       std::string keyId = {});

  JwtAlgorithm algorithm() const noexcept { return algorithm_; }
  const std::string& keyId() const noexcept { return keyId_; }

  // Whether `signature` is the algorithm's signature of `input` under this key.
  bool VerifySignature(std::string_view input, const ByteVector& signature) const;

  struct Impl;
  JwtKey(std::shared_ptr<Impl> impl, JwtAlgorithm algorithm, std::string keyId);
  ~JwtKey();

 private:
  std::shared_ptr<Impl> impl_;
  JwtAlgorithm algorithm_;
  std::string keyId_;
};

struct JwtVerifierOptions {
  std::vector<JwtKey::PtrConstType> keys;
  std::optional<std::string> issuer;
  std::optional<std::string> audience;
  // Allowed clock difference for "exp" and "nbf".
  std::chrono::seconds leeway{60};
  bool requireExpiry = true;
};

class OLMA_API JwtVerifier {
 public:
  explicit JwtVerifier(JwtVerifierOptions options);

  // The claims of `token` checked at the current time, or an empty pointer with one message.
  Data::StructValue::PtrConstType Verify(std::string_view token, MessageList& messages) const;
  // As above at `now` (seconds since the epoch).
  Data::StructValue::PtrConstType Verify(std::string_view token, std::int64_t now,
                                         MessageList& messages) const;
  // The token of the JWT (OAuth) scheme of `context`; "olma.jwt.missing.claim" with the
  // argument "accessToken" when the context holds no such scheme.
  Data::StructValue::PtrConstType Verify(const Core::SecurityContext& context, MessageList& messages) const;

 private:
  JwtVerifierOptions options_;
};

}  // namespace Jwt
}  // namespace Olma
