#include "olma/transport/update_execution_ctx_helper.h"

#include <map>
#include <utility>

#include "olma/core/message.h"
#include "olma/data/scalar_values.h"
#include "olma/invocation/security_context_extractors.h"
#include "olma/invocation/security_context_schemes.h"
#include "olma/transport/http_constants.h"

namespace Olma {
namespace Transport {

HeaderRange::~HeaderRange() = default;

bool VectorHeaderRange::Next(Header& header) {
  if (position_ >= headers_.size()) return false;
  header = headers_[position_++];
  return true;
}

}  // namespace Transport

namespace Provider {
namespace JsonRpc1_1 {
namespace {

using Transport::HttpConstants;

// Header names arrive in lower case; these application-context keys are camel case.
const std::map<std::string_view, std::string_view>& RemapTable() {
  static const std::map<std::string_view, std::string_view> table{
      {"olma-ctx-$donotroute", "$doNotRoute"},
      {"olma-ctx-$showunreleasedapis", "$showUnreleasedAPIs"},
      {"olma-ctx-$useragent", "$userAgent"},
      {"olma-ctx-actid", "actId"},
      {"olma-ctx-activationid", "ActivationId"},
      {"olma-ctx-opid", "opId"},
      {"olma-ctx-zorvexsessionid", "zorvexSessionId"},
  };
  return table;
}

bool StartsWith(std::string_view text, std::string_view prefix) noexcept {
  return text.size() >= prefix.size() && text.compare(0, prefix.size(), prefix) == 0;
}

void SetApplicationData(Core::ApplicationData& data, std::string_view name, std::string_view value) {
  data.insert_or_assign(std::string(name), Data::StringValue::GetInstance(std::string(value)));
}

}  // namespace

bool UpdateExecutionCtxHelper::Update(const std::shared_ptr<Transport::HeaderRange>& headers,
                                      const Core::MethodIdentifier& method, Core::ExecutionContext& context,
                                      const Updaters& updaters) {
  if (!headers) return true;
  bool operationSeen = false;
  bool serviceSeen = false;
  std::string_view userAgent;
  Transport::Header header;
  while (headers->Next(header)) {
    const std::string_view name = header.name;
    if (name == HttpConstants::HttpHeaderOperation()) {
      if (header.value != method.name()) return false;
      operationSeen = true;
    } else if (name == HttpConstants::HttpHeaderService()) {
      if (header.value != method.interfaceIdentifier()->name()) return false;
      serviceSeen = true;
    } else if (name == HttpConstants::HttpHeaderAcceptLanguage()) {
      UpdateAppCtxField(context.applicationContext(), name, header.value);
    } else if (StartsWith(name, appCtxPrefix())) {
      remapAppCtxHeader(name, header.value, context.applicationContext());
    } else if (name == HttpConstants::HttpHeaderSessionId()) {
      UpdateSession(header.value, context.securityContext());
    } else if (name == HttpConstants::HttpHeaderUserAgent()) {
      userAgent = header.value;
    } else if (name == HttpConstants::HttpHeaderAuthorization()) {
      ExtractAuthorization(header, context.securityContext());
    } else if (name == HttpConstants::HttpHeaderHost() || name == HttpConstants::HttpHeaderXForwardedFor() ||
               isTraceCtxHeader(name)) {
      SetApplicationData(context.applicationData(), name, header.value);
    }
  }
  if (operationSeen != serviceSeen) return false;
  // After the walk, so that the request's own user agent wins over an application-context one.
  if (!userAgent.empty()) UpdateAppCtxField(context.applicationContext(), "$userAgent", userAgent);
  for (const Updater& updater : updaters) {
    headers->Reset();
    updater(*headers, context);
  }
  return true;
}

bool UpdateExecutionCtxHelper::isTraceCtxHeader(std::string_view name) noexcept {
  return name == HttpConstants::HttpHeaderTraceParent() || name == HttpConstants::HttpHeaderTraceState() ||
         name == HttpConstants::HttpHeaderUberTraceId() ||
         name.find(HttpConstants::HttpHeaderUberCtxMarker()) != std::string_view::npos;
}

void UpdateExecutionCtxHelper::remapAppCtxHeader(std::string_view name, std::string_view value,
                                                 Core::ApplicationContext& applicationContext) {
  const auto& table = RemapTable();
  const auto found = table.find(name);
  const std::string_view key = found != table.end() ? found->second : name.substr(appCtxPrefix().size());
  UpdateAppCtxField(applicationContext, key, value);
}

void UpdateExecutionCtxHelper::UpdateAppCtxField(Core::ApplicationContext& applicationContext,
                                                 std::string_view key, std::string_view value) {
  Core::ApplicationContextEntry& entry = applicationContext[std::string(key)];
  entry.override.emplace(value);
}

void UpdateExecutionCtxHelper::UpdateSession(std::string_view value, Core::SecurityContext& securityContext) {
  const Core::SecurityContextWrappedEntry::Override toOverride;
  Core::SessionSecurityContextBuilder(securityContext, toOverride).sessionId(toOverride, std::string(value));
}

bool UpdateExecutionCtxHelper::ExtractAuthorization(const Transport::Header& header,
                                                    Core::SecurityContext& securityContext) {
  // The parse failures are not reported further: a request with unusable credentials runs
  // unauthenticated and the handler decides. The messages never quote the credentials.
  MessageList ignored;
  Core::SecurityContext extracted = StartsWith(header.value, "Bearer ")
                                        ? Core::OAuthCtxExtractor::ExtractFrom(header, ignored)
                                        : Core::UserPassCtxExtractor::ExtractFrom(header, ignored);
  if (extracted.empty()) return false;
  for (auto& [key, entry] : extracted) securityContext.insert_or_assign(key, std::move(entry));
  return true;
}

}  // namespace JsonRpc1_1
}  // namespace Provider
}  // namespace Olma
