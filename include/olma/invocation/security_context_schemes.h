// Security-context schemes: how each kind of credential is laid out in the security context
// of a call.
//
// A security context (ExecutionContext::securityContext()) names its scheme under "schemeId"
// and keeps the scheme's fields under fixed keys. For every scheme a builder writes those keys
// into a context and a reader checks that a context holds the scheme and hands its fields out:
//
//   Olma::Core::SecurityContext context;
//   Olma::Core::UserPassSecurityContextBuilder(context).userName("ann").password("s3cret");
//   Olma::Core::UserPassSecurityContextReader reader(context);
//   if (reader.valid()) Login(reader.userName(), reader.password());
//
// Builders write the plain slot of each entry; the overloads taking the Override tag (user and
// password, session) write the override slot, which is where the transport puts credentials
// taken from request headers so that they win over what a client library set.
//
// The JWT scheme is the OAuth scheme under other names: a JWT travels as an OAuth access
// token, so either builder's context satisfies either reader. Checking a token's signature is
// the separate olma::jwt library's job; these classes only carry it.
//
// Readers report nothing: an absent or foreign scheme, or a missing key, makes them invalid.
// The strings they return are the effective values in the context (override when set) and stay
// valid while the context is unchanged. Builders and readers hold a reference to the context
// and are no more thread-safe than it is.
#pragma once

#include <array>
#include <cstddef>
#include <string>
#include <string_view>

#include "olma/core/export.h"
#include "olma/invocation/execution_context.h"

namespace Olma {
namespace Core {

// The key that names the scheme, and the scheme ids.
namespace SecurityScheme {
inline constexpr std::string_view kSchemeIdKey = "schemeId";
inline constexpr std::string_view kUserPass = "com.zorvex.olma.std.security.user_pass";
inline constexpr std::string_view kSession = "com.zorvex.olma.std.security.session_id";
inline constexpr std::string_view kSamlBearerToken = "com.zorvex.olma.std.security.saml_bearer_token";
inline constexpr std::string_view kSamlHoKToken = "com.zorvex.olma.std.security.saml_hok_token";
inline constexpr std::string_view kOAuth = "com.zorvex.olma.std.security.oauth";
// A JWT is carried as an OAuth access token.
inline constexpr std::string_view kJwtToken = kOAuth;
}  // namespace SecurityScheme

namespace Detail {

// Writes entries of one scheme into a context; the slot is chosen per call.
class OLMA_API SchemeWriter {
 protected:
  using Override = SecurityContextWrappedEntry::Override;

  explicit SchemeWriter(SecurityContext& context) noexcept : context_(context) {}
  // Replaces the plain or the override slot of `key`; the entry's previous content is wiped.
  void Write(std::string_view key, SecurityContextEntry entry, bool toOverride);

 private:
  SecurityContext& context_;
};

// Finds the "schemeId" and the N keys of one scheme in a context.
template <std::size_t N>
class SchemeReader {
 public:
  // True when the effective "schemeId" is exactly the scheme's id and every key is present.
  bool valid() const noexcept { return valid_; }

 protected:
  SchemeReader(const SecurityContext& context, std::string_view schemeId,
               const std::array<std::string_view, N>& keys)
      : context_(context) {
    const auto scheme = context.find(std::string(SecurityScheme::kSchemeIdKey));
    valid_ = scheme != context.end() && scheme->second.effective().value == schemeId;
    for (std::size_t i = 0; i < N; ++i) {
      positions_[i] = context.find(std::string(keys[i]));
      valid_ = valid_ && positions_[i] != context.end();
    }
  }

  // The effective entry of key i, or an empty entry when the key is absent.
  const SecurityContextEntry& Entry(std::size_t i) const {
    static const SecurityContextEntry absent;
    return positions_[i] == context_.end() ? absent : positions_[i]->second.effective();
  }
  const std::string& Text(std::size_t i) const { return Entry(i).value; }

 private:
  const SecurityContext& context_;
  bool valid_ = false;
  std::array<SecurityContext::const_iterator, N> positions_;
};

}  // namespace Detail

// User name and password: "userName", "password".
class OLMA_API UserPassSecurityContextBuilder : Detail::SchemeWriter {
 public:
  using Override = SecurityContextWrappedEntry::Override;
  // Sets "schemeId" and empty "userName" and "password", in the plain or the override slot.
  explicit UserPassSecurityContextBuilder(SecurityContext& context);
  UserPassSecurityContextBuilder(SecurityContext& context, Override);

  UserPassSecurityContextBuilder& userName(std::string value);
  UserPassSecurityContextBuilder& userName(Override, std::string value);
  UserPassSecurityContextBuilder& password(std::string value);
  UserPassSecurityContextBuilder& password(Override, std::string value);
};

class OLMA_API UserPassSecurityContextReader : public Detail::SchemeReader<2> {
 public:
  explicit UserPassSecurityContextReader(const SecurityContext& context);
  const std::string& userName() const { return Text(0); }
  const std::string& password() const { return Text(1); }
};

// Session: "sessionId".
class OLMA_API SessionSecurityContextBuilder : Detail::SchemeWriter {
 public:
  using Override = SecurityContextWrappedEntry::Override;
  explicit SessionSecurityContextBuilder(SecurityContext& context);
  SessionSecurityContextBuilder(SecurityContext& context, Override);

  SessionSecurityContextBuilder& sessionId(std::string value);
  SessionSecurityContextBuilder& sessionId(Override, std::string value);
};

class OLMA_API SessionSecurityContextReader : public Detail::SchemeReader<1> {
 public:
  explicit SessionSecurityContextReader(const SecurityContext& context);
  const std::string& sessionId() const { return Text(0); }
};

// SAML bearer token: "samlToken".
class OLMA_API SamlBearerTokenSecurityContextBuilder : Detail::SchemeWriter {
 public:
  explicit SamlBearerTokenSecurityContextBuilder(SecurityContext& context);
  SamlBearerTokenSecurityContextBuilder& samlToken(std::string value);
};

class OLMA_API SamlBearerTokenSecurityContextReader : public Detail::SchemeReader<1> {
 public:
  explicit SamlBearerTokenSecurityContextReader(const SecurityContext& context);
  const std::string& samlToken() const { return Text(0); }
};

// SAML holder-of-key token: "signature" and "timestamp" (nested entries) and
// "signatureAlgorithm" (a string, "RS256" unless set otherwise).
class OLMA_API SamlHoKTokenSecurityContextBuilder : Detail::SchemeWriter {
 public:
  explicit SamlHoKTokenSecurityContextBuilder(SecurityContext& context);
  SamlHoKTokenSecurityContextBuilder& signature(SecurityContextEntry entry);
  SamlHoKTokenSecurityContextBuilder& timestamp(SecurityContextEntry entry);
  SamlHoKTokenSecurityContextBuilder& signatureAlgorithm(std::string value);
};

class OLMA_API SamlHoKTokenSecurityContextReader : public Detail::SchemeReader<3> {
 public:
  explicit SamlHoKTokenSecurityContextReader(const SecurityContext& context);
  const SecurityContextEntry& signature() const { return Entry(0); }
  const SecurityContextEntry& timestamp() const { return Entry(1); }
  const std::string& signatureAlgorithm() const { return Text(2); }
};

// OAuth: "accessToken".
class OLMA_API OAuthSecurityContextBuilder : Detail::SchemeWriter {
 public:
  explicit OAuthSecurityContextBuilder(SecurityContext& context);
  OAuthSecurityContextBuilder& accessToken(std::string value);
};

class OLMA_API OAuthSecurityContextReader : public Detail::SchemeReader<1> {
 public:
  explicit OAuthSecurityContextReader(const SecurityContext& context);
  const std::string& accessToken() const { return Text(0); }
};

// JWT: the OAuth scheme and key under the name jwtToken.
class OLMA_API JwtTokenSecurityContextBuilder : Detail::SchemeWriter {
 public:
  explicit JwtTokenSecurityContextBuilder(SecurityContext& context);
  // Writes "accessToken".
  JwtTokenSecurityContextBuilder& jwtToken(std::string value);
};

class OLMA_API JwtTokenSecurityContextReader : public Detail::SchemeReader<1> {
 public:
  explicit JwtTokenSecurityContextReader(const SecurityContext& context);
  // The "accessToken" entry.
  const std::string& jwtToken() const { return Text(0); }
};

}  // namespace Core
}  // namespace Olma
