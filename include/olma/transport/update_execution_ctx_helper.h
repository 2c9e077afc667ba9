// Fills the execution context of a call from its HTTP request headers.
//
// The transport parses a request, creates the call's ExecutionContext and hands the headers
// to Update, which walks them once:
//
//   auto headers = std::make_shared<Olma::Transport::VectorHeaderRange>(requestHeaders);
//   if (!UpdateExecutionCtxHelper::Update(headers, *method, *context, updaters)) {
//     ReplyInvalidRequest();
//   }
//
// What lands where: "accept-language" and every "olma-ctx-<name>" header go to the
// application context (override slot; a few lower-case names map to camel-case keys); the
// "zorvex-api-session-id" header and the Basic or Bearer "authorization" header become the
// session or credential scheme of the security context; "host", "x-forwarded-for" and the
// trace-context headers ("traceparent", "tracestate", "uber-trace-id", any name containing
// "uberctx-") are stored as string values in the application data under the header name, the
// last one winning; "user-agent" becomes "$userAgent", after the walk, so it wins over an
// "olma-ctx-$useragent" header. Other headers are ignored.
//
// Thread safety: the functions keep no state except the remap table, built once under the
// runtime's thread-safe initialisation of statics; any number of threads may update distinct
// contexts at once.
#pragma once

#include <functional>
#include <list>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "olma/core/export.h"
#include "olma/invocation/execution_context.h"
#include "olma/invocation/http_header.h"
#include "olma/invocation/identifiers.h"

namespace Olma {
namespace Transport {

using Header = Core::Header;

// A forward range of request headers that can be read to its end and started again.
// Implementations need not be thread-safe: one range serves one request.
class OLMA_API HeaderRange {
 public:
  virtual ~HeaderRange();
  // Stores the next header in `header` and returns true, or returns false at the end.
  virtual bool Next(Header& header) = 0;
  // Starts again from the first header.
  virtual void Reset() = 0;
};

// A HeaderRange over a vector the caller keeps alive.
class OLMA_API VectorHeaderRange final : public HeaderRange {
 public:
  explicit VectorHeaderRange(const std::vector<Header>& headers) noexcept : headers_(headers) {}
  bool Next(Header& header) override;
  void Reset() override { position_ = 0; }

 private:
  const std::vector<Header>& headers_;
  std::size_t position_ = 0;
};

}  // namespace Transport

namespace Provider {
namespace JsonRpc1_1 {

class OLMA_API UpdateExecutionCtxHelper {
 public:
  // Runs after the walk, on the headers (started again) and the context: the transport's hook
  // for headers this class does not know.
  using Updater = std::function<void(Transport::HeaderRange& headers, Core::ExecutionContext& context)>;
  using Updaters = std::list<Updater>;

  // Walks `headers` into `context` as described above, then calls each updater in order.
  // Returns false, at once, when an "olma-operation" or "olma-service" header differs from the
  // method's simple or interface name, or at the end when only one of the two was sent; the
  // caller answers such a request as invalid. A null `headers` changes nothing and returns
  // true. An empty updater throws std::bad_function_call. A malformed "authorization" header
  // leaves the security context without credentials; it is not a contradiction.
  static bool Update(const std::shared_ptr<Transport::HeaderRange>& headers,
                     const Core::MethodIdentifier& method, Core::ExecutionContext& context,
                     const Updaters& updaters = {});

  // "olma-ctx-".
  static std::string_view appCtxPrefix() noexcept { return "olma-ctx-"; }
  // "traceparent", "tracestate", "uber-trace-id", or a name containing "uberctx-" anywhere.
  static bool isTraceCtxHeader(std::string_view name) noexcept;
  // Stores `value` under the key the remap table gives for `name`, or under `name` without
  // its "olma-ctx-" prefix. A name shorter than the prefix throws std::out_of_range.
  static void remapAppCtxHeader(std::string_view name, std::string_view value,
                                Core::ApplicationContext& applicationContext);
  // Sets the override of `key` to `value`, creating the entry when absent.
  static void UpdateAppCtxField(Core::ApplicationContext& applicationContext, std::string_view key,
                                std::string_view value);
  // The session scheme with `value` as session id, in the override slots.
  static void UpdateSession(std::string_view value, Core::SecurityContext& securityContext);
  // Basic credentials or a Bearer token from an "authorization" header, replacing the
  // entries of the same keys. Returns false and changes nothing when the header does not parse.
  static bool ExtractAuthorization(const Transport::Header& header, Core::SecurityContext& securityContext);
  static std::optional<std::string> ToStringOptStr(std::string_view value) { return std::string(value); }
};

}  // namespace JsonRpc1_1
}  // namespace Provider
}  // namespace Olma
