#include "olma/invocation/security_context_schemes.h"

#include <utility>

namespace Olma {
namespace Core {
namespace {

namespace Keys {
constexpr std::string_view kUserName = "userName";
constexpr std::string_view kPassword = "password";
constexpr std::string_view kSessionId = "sessionId";
constexpr std::string_view kSamlToken = "samlToken";
constexpr std::string_view kSignature = "signature";
constexpr std::string_view kTimestamp = "timestamp";
constexpr std::string_view kSignatureAlgorithm = "signatureAlgorithm";
constexpr std::string_view kAccessToken = "accessToken";
}  // namespace Keys

// The holder-of-key builder's algorithm until one is set.
constexpr std::string_view kDefaultSignatureAlgorithm = "RS256";

}  // namespace

namespace Detail {

void SchemeWriter::Write(std::string_view key, SecurityContextEntry entry, bool toOverride) {
  SecurityContextWrappedEntry& slot = context_[std::string(key)];
  if (toOverride) {
    slot.override = std::move(entry);
  } else {
    slot.value = std::move(entry);
  }
}

}  // namespace Detail

UserPassSecurityContextBuilder::UserPassSecurityContextBuilder(SecurityContext& context)
    : SchemeWriter(context) {
  Write(SecurityScheme::kSchemeIdKey, std::string(SecurityScheme::kUserPass), false);
  Write(Keys::kUserName, std::string(), false);
  Write(Keys::kPassword, std::string(), false);
}

UserPassSecurityContextBuilder::UserPassSecurityContextBuilder(SecurityContext& context, Override)
    : SchemeWriter(context) {
  Write(SecurityScheme::kSchemeIdKey, std::string(SecurityScheme::kUserPass), true);
  Write(Keys::kUserName, std::string(), true);
  Write(Keys::kPassword, std::string(), true);
}

UserPassSecurityContextBuilder& UserPassSecurityContextBuilder::userName(std::string value) {
  Write(Keys::kUserName, std::move(value), false);
  return *this;
}

UserPassSecurityContextBuilder& UserPassSecurityContextBuilder::userName(Override, std::string value) {
  Write(Keys::kUserName, std::move(value), true);
  return *this;
}

UserPassSecurityContextBuilder& UserPassSecurityContextBuilder::password(std::string value) {
  Write(Keys::kPassword, std::move(value), false);
  return *this;
}

UserPassSecurityContextBuilder& UserPassSecurityContextBuilder::password(Override, std::string value) {
  Write(Keys::kPassword, std::move(value), true);
  return *this;
}

UserPassSecurityContextReader::UserPassSecurityContextReader(const SecurityContext& context)
    : SchemeReader(context, SecurityScheme::kUserPass, {Keys::kUserName, Keys::kPassword}) {}

SessionSecurityContextBuilder::SessionSecurityContextBuilder(SecurityContext& context)
    : SchemeWriter(context) {
  Write(SecurityScheme::kSchemeIdKey, std::string(SecurityScheme::kSession), false);
  Write(Keys::kSessionId, std::string(), false);
}

SessionSecurityContextBuilder::SessionSecurityContextBuilder(SecurityContext& context, Override)
    : SchemeWriter(context) {
  Write(SecurityScheme::kSchemeIdKey, std::string(SecurityScheme::kSession), true);
  Write(Keys::kSessionId, std::string(), true);
}

SessionSecurityContextBuilder& SessionSecurityContextBuilder::sessionId(std::string value) {
  Write(Keys::kSessionId, std::move(value), false);
  return *this;
}

SessionSecurityContextBuilder& SessionSecurityContextBuilder::sessionId(Override, std::string value) {
  Write(Keys::kSessionId, std::move(value), true);
  return *this;
}

SessionSecurityContextReader::SessionSecurityContextReader(const SecurityContext& context)
    : SchemeReader(context, SecurityScheme::kSession, {Keys::kSessionId}) {}

SamlBearerTokenSecurityContextBuilder::SamlBearerTokenSecurityContextBuilder(SecurityContext& context)
    : SchemeWriter(context) {
  Write(SecurityScheme::kSchemeIdKey, std::string(SecurityScheme::kSamlBearerToken), false);
  Write(Keys::kSamlToken, std::string(), false);
}

SamlBearerTokenSecurityContextBuilder& SamlBearerTokenSecurityContextBuilder::samlToken(std::string value) {
  Write(Keys::kSamlToken, std::move(value), false);
  return *this;
}

SamlBearerTokenSecurityContextReader::SamlBearerTokenSecurityContextReader(const SecurityContext& context)
    : SchemeReader(context, SecurityScheme::kSamlBearerToken, {Keys::kSamlToken}) {}

SamlHoKTokenSecurityContextBuilder::SamlHoKTokenSecurityContextBuilder(SecurityContext& context)
    : SchemeWriter(context) {
  Write(SecurityScheme::kSchemeIdKey, std::string(SecurityScheme::kSamlHoKToken), false);
  Write(Keys::kSignature, SecurityContextEntry(), false);
  Write(Keys::kTimestamp, SecurityContextEntry(), false);
  Write(Keys::kSignatureAlgorithm, std::string(kDefaultSignatureAlgorithm), false);
}

SamlHoKTokenSecurityContextBuilder& SamlHoKTokenSecurityContextBuilder::signature(
    SecurityContextEntry entry) {
  Write(Keys::kSignature, std::move(entry), false);
  return *this;
}

SamlHoKTokenSecurityContextBuilder& SamlHoKTokenSecurityContextBuilder::timestamp(
    SecurityContextEntry entry) {
  Write(Keys::kTimestamp, std::move(entry), false);
  return *this;
}

SamlHoKTokenSecurityContextBuilder& SamlHoKTokenSecurityContextBuilder::signatureAlgorithm(
    std::string value) {
  Write(Keys::kSignatureAlgorithm, std::move(value), false);
  return *this;
}

SamlHoKTokenSecurityContextReader::SamlHoKTokenSecurityContextReader(const SecurityContext& context)
    : SchemeReader(context, SecurityScheme::kSamlHoKToken,
                   {Keys::kSignature, Keys::kTimestamp, Keys::kSignatureAlgorithm}) {}

OAuthSecurityContextBuilder::OAuthSecurityContextBuilder(SecurityContext& context) : SchemeWriter(context) {
  Write(SecurityScheme::kSchemeIdKey, std::string(SecurityScheme::kOAuth), false);
  Write(Keys::kAccessToken, std::string(), false);
}

OAuthSecurityContextBuilder& OAuthSecurityContextBuilder::accessToken(std::string value) {
  Write(Keys::kAccessToken, std::move(value), false);
  return *this;
}

OAuthSecurityContextReader::OAuthSecurityContextReader(const SecurityContext& context)
    : SchemeReader(context, SecurityScheme::kOAuth, {Keys::kAccessToken}) {}

JwtTokenSecurityContextBuilder::JwtTokenSecurityContextBuilder(SecurityContext& context)
    : SchemeWriter(context) {
  Write(SecurityScheme::kSchemeIdKey, std::string(SecurityScheme::kJwtToken), false);
  Write(Keys::kAccessToken, std::string(), false);
}

JwtTokenSecurityContextBuilder& JwtTokenSecurityContextBuilder::jwtToken(std::string value) {
  Write(Keys::kAccessToken, std::move(value), false);
  return *this;
}

JwtTokenSecurityContextReader::JwtTokenSecurityContextReader(const SecurityContext& context)
    : SchemeReader(context, SecurityScheme::kJwtToken, {Keys::kAccessToken}) {}

}  // namespace Core
}  // namespace Olma
