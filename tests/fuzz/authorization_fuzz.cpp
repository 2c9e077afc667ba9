// Hostile "authorization" values through both credential parsers and the transport's
// dispatch between them. Parsed Basic credentials must survive a round trip through the
// header extractor.
#include <cstddef>
#include <cstdint>
#include <string_view>

#include "olma/invocation/security_context_extractors.h"
#include "olma/transport/update_execution_ctx_helper.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace Olma::Core;
  const std::string_view value(reinterpret_cast<const char*>(data), size);
  Olma::MessageList messages;
  const SecurityContext basic = UserPassCtxExtractor::ExtractFrom({"authorization", value}, messages);
  if (basic.empty() == messages.empty()) __builtin_trap();  // exactly one of result and message
  if (!basic.empty()) {
    UserPassSecurityContextHeaderExtractor header(basic);
    const Olma::SecretString again = header.headerValue();
    Olma::MessageList none;
    const SecurityContext reparsed = UserPassCtxExtractor::ExtractFrom({"authorization", again.str()}, none);
    const UserPassSecurityContextReader before(basic);
    const UserPassSecurityContextReader after(reparsed);
    if (!after.valid() || before.userName() != after.userName() || before.password() != after.password()) {
      __builtin_trap();
    }
  }
  messages.clear();
  const SecurityContext bearer = OAuthCtxExtractor::ExtractFrom({"authorization", value}, messages);
  if (bearer.empty() == messages.empty()) __builtin_trap();
  SecurityContext context;
  Olma::Provider::JsonRpc1_1::UpdateExecutionCtxHelper::ExtractAuthorization({"authorization", value},
                                                                             context);
  return 0;
}
