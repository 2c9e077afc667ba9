// Names of the HTTP headers the library reads or writes, in the lower case in which the
// transport hands them over. Constant views; thread-safe.
#pragma once

#include <string_view>

namespace Olma {
namespace Transport {

struct HttpConstants {
  static constexpr std::string_view HttpHeaderOperation() { return "olma-operation"; }
  static constexpr std::string_view HttpHeaderService() { return "olma-service"; }
  static constexpr std::string_view HttpHeaderAcceptLanguage() { return "accept-language"; }
  static constexpr std::string_view HttpHeaderSessionId() { return "zorvex-api-session-id"; }
  static constexpr std::string_view HttpHeaderUserAgent() { return "user-agent"; }
  static constexpr std::string_view HttpHeaderAuthorization() { return "authorization"; }
  static constexpr std::string_view HttpHeaderHost() { return "host"; }
  static constexpr std::string_view HttpHeaderXForwardedFor() { return "x-forwarded-for"; }
  static constexpr std::string_view HttpHeaderForwarded() { return "forwarded"; }
  static constexpr std::string_view HttpHeaderTraceParent() { return "traceparent"; }
  static constexpr std::string_view HttpHeaderTraceState() { return "tracestate"; }
  static constexpr std::string_view HttpHeaderUberTraceId() { return "uber-trace-id"; }
  // Contained anywhere in a header name, it marks a baggage header of the uber tracer.
  static constexpr std::string_view HttpHeaderUberCtxMarker() { return "uberctx-"; }
};

}  // namespace Transport
}  // namespace Olma
