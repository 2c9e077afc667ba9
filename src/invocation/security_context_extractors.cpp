#include "olma/invocation/security_context_extractors.h"

#include <algorithm>
#include <string>
#include <string_view>
#include <utility>

#include "invocation/wipe.h"
#include "olma/core/base64.h"

namespace Olma {
namespace Core {
namespace {

constexpr std::string_view kAuthorization = "authorization";
constexpr std::string_view kSessionHeader = "zorvex-api-session-id";
constexpr std::string_view kBasicPrefix = "Basic ";
constexpr std::string_view kBearerPrefix = "Bearer ";
constexpr std::string_view kMissingPrefix = "Authz header does not start with";

// Checks the header name and the scheme prefix; appends the failure message when either is
// wrong. `minimum` is the length the value must exceed.
bool CheckAuthorization(const Header& header, std::string_view prefix, std::size_t minimum,
                        MessageList& messages) {
  if (header.name != kAuthorization) {
    messages.push_back(Message<CoreTag>("olma.core.extractor"));
    return false;
  }
  if (header.value.size() <= minimum || header.value.substr(0, prefix.size()) != prefix) {
    std::string argument(kMissingPrefix);
    argument.append(prefix);
    messages.push_back(Message<CoreTag>("olma.core.extractor.arg", argument));
    return false;
  }
  return true;
}

// prefix + text, held as a secret; the temporary is wiped.
SecretString Prefixed(std::string_view prefix, std::string_view text) {
  std::string joined;
  joined.reserve(prefix.size() + text.size());
  joined.append(prefix).append(text);
  SecretString secret(joined);
  Detail::Wipe(joined);
  return secret;
}

}  // namespace

std::string_view UserPassSecurityContextHeaderExtractor::headerName() const noexcept {
  return kAuthorization;
}

SecretString UserPassSecurityContextHeaderExtractor::headerValue() const {
  const std::string& user = reader_.userName();
  const std::string& password = reader_.password();
  ByteVector credentials;
  credentials.reserve(user.size() + 1 + password.size());
  credentials.insert(credentials.end(), user.begin(), user.end());
  credentials.push_back(':');
  credentials.insert(credentials.end(), password.begin(), password.end());
  std::string encoded = Base64::Encode(credentials);
  Detail::Wipe(credentials);
  SecretString value = Prefixed(kBasicPrefix, encoded);
  Detail::Wipe(encoded);
  return value;
}

std::string_view OAuthSecurityContextHeaderExtractor::headerName() const noexcept {
  return kAuthorization;
}

SecretString OAuthSecurityContextHeaderExtractor::headerValue() const {
  return Prefixed(kBearerPrefix, reader_.accessToken());
}

std::string_view SessionSecurityContextHeaderExtractor::headerName() const noexcept {
  return kSessionHeader;
}

SecretString SessionSecurityContextHeaderExtractor::headerValue() const {
  return SecretString(reader_.sessionId());
}

SecurityContext UserPassCtxExtractor::ExtractFrom(const Header& header, MessageList& messages) {
  SecurityContext context;
  if (!CheckAuthorization(header, kBasicPrefix, kBasicPrefix.size() - 1, messages)) return context;
  std::string error;
  ByteVector decoded = Base64::Decode(header.value.substr(kBasicPrefix.size()), error);
  const auto colon = std::find(decoded.begin(), decoded.end(), std::uint8_t{':'});
  if (colon == decoded.end()) {
    Detail::Wipe(decoded);
    messages.push_back(Message<CoreTag>("olma.core.extractor.arg", "Wrong format user:password"));
    return context;
  }
  const SecurityContextWrappedEntry::Override toOverride;
  UserPassSecurityContextBuilder(context, toOverride)
      .userName(toOverride, std::string(decoded.begin(), colon))
      .password(toOverride, std::string(colon + 1, decoded.end()));
  Detail::Wipe(decoded);
  return context;
}

SecurityContext OAuthCtxExtractor::ExtractFrom(const Header& header, MessageList& messages) {
  SecurityContext context;
  if (!CheckAuthorization(header, kBearerPrefix, kBearerPrefix.size() - 1, messages)) return context;
  const std::string_view token = header.value.substr(kBearerPrefix.size());
  if (token.empty()) {
    messages.push_back(Message<CoreTag>("olma.core.extractor.arg", "OAuth token is empty"));
    return context;
  }
  OAuthSecurityContextBuilder(context).accessToken(std::string(token));
  return context;
}

}  // namespace Core
}  // namespace Olma
