// Credentials in HTTP headers, both ways.
//
// Client side, a header extractor renders the header that carries the credentials of a
// security context:
//
//   Olma::Core::UserPassSecurityContextHeaderExtractor basic(context->securityContext());
//   if (basic.valid()) request.set(basic.headerName(), basic.headerValue().str());
//
// Server side, a context extractor parses a received "authorization" header into a new
// security context:
//
//   Olma::MessageList messages;
//   auto credentials = Olma::Core::UserPassCtxExtractor::ExtractFrom(header, messages);
//   if (credentials.empty()) Reject(messages);
//
// Header values that carry credentials are returned as SecretString, and every temporary
// buffer that held a decoded password is wiped before it is freed. Failure messages never
// quote the credentials. All functions are thread-safe on distinct contexts.
#pragma once

#include <string_view>

#include "olma/core/export.h"
#include "olma/core/message.h"
#include "olma/core/secret_string.h"
#include "olma/invocation/execution_context.h"
#include "olma/invocation/http_header.h"
#include "olma/invocation/security_context_schemes.h"

namespace Olma {
namespace Core {

// "authorization: Basic <Base64 of userName:password>".
class OLMA_API UserPassSecurityContextHeaderExtractor {
 public:
  explicit UserPassSecurityContextHeaderExtractor(const SecurityContext& context) : reader_(context) {}
  bool valid() const noexcept { return reader_.valid(); }
  std::string_view headerName() const noexcept;
  SecretString headerValue() const;

 private:
  UserPassSecurityContextReader reader_;
};

// "authorization: Bearer <access token>".
class OLMA_API OAuthSecurityContextHeaderExtractor {
 public:
  explicit OAuthSecurityContextHeaderExtractor(const SecurityContext& context) : reader_(context) {}
  bool valid() const noexcept { return reader_.valid(); }
  std::string_view headerName() const noexcept;
  SecretString headerValue() const;

 private:
  OAuthSecurityContextReader reader_;
};

// "zorvex-api-session-id: <session id>".
class OLMA_API SessionSecurityContextHeaderExtractor {
 public:
  explicit SessionSecurityContextHeaderExtractor(const SecurityContext& context) : reader_(context) {}
  bool valid() const noexcept { return reader_.valid(); }
  std::string_view headerName() const noexcept;
  SecretString headerValue() const;

 private:
  SessionSecurityContextReader reader_;
};

// Parses "authorization: Basic ..." into the user-and-password scheme, written to the
// override slots (credentials from a request win over anything set before).
//
// On failure the result is empty and one message is appended: "olma.core.extractor" when the
// header is not "authorization"; "olma.core.extractor.arg" with "Authz header does not start
// withBasic " when the prefix is missing, or with "Wrong format user:password" when the
// decoded credentials hold no ":" (undecodable Base64 counts as that). The user name ends at
// the first ":"; later colons belong to the password.
struct OLMA_API UserPassCtxExtractor {
  static SecurityContext ExtractFrom(const Header& header, MessageList& messages);
};

// Parses "authorization: Bearer <token>" into the OAuth scheme. Failures as above, with the
// prefix "Bearer " and "OAuth token is empty" for a bearer header without a token.
struct OLMA_API OAuthCtxExtractor {
  static SecurityContext ExtractFrom(const Header& header, MessageList& messages);
};

}  // namespace Core
}  // namespace Olma
