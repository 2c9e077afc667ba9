#include "olma/transport/update_execution_ctx_helper.h"

#include <functional>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "olma/data/scalar_values.h"
#include "olma/invocation/security_context_schemes.h"

namespace {

using namespace Olma::Core;
using Olma::Provider::JsonRpc1_1::UpdateExecutionCtxHelper;
using Olma::Transport::Header;
using Olma::Transport::HeaderRange;
using Olma::Transport::VectorHeaderRange;

struct Request {
  std::vector<Header> headers;
  ExecutionContext::PtrType context = ExecutionContext::GetInstance();

  bool Update(const UpdateExecutionCtxHelper::Updaters& updaters = {}) {
    static const auto method = MethodIdentifier::GetInstance("a.b.get");
    return UpdateExecutionCtxHelper::Update(std::make_shared<VectorHeaderRange>(headers), *method, *context,
                                            updaters);
  }
  std::string AppCtx(const std::string& key) const {
    const auto& map = context->applicationContext();
    return map.count(key) ? map.at(key).effective() : "<absent>";
  }
  std::string AppData(const std::string& key) const {
    const auto& map = context->applicationData();
    if (!map.count(key)) return "<absent>";
    return static_cast<const Olma::Data::StringValue&>(*map.at(key)).value();
  }
};

TEST(UpdateExecutionCtxHelper, OperationAndServiceMustMatchTheMethodAndComeTogether) {
  struct Case {
    std::vector<Header> headers;
    bool accepted;
  };
  const Case cases[] = {
      {{}, true},
      {{{"olma-operation", "get"}, {"olma-service", "a.b"}}, true},
      {{{"olma-service", "a.b"}, {"olma-operation", "get"}}, true},
      {{{"olma-operation", "get"}}, false},
      {{{"olma-service", "a.b"}}, false},
      {{{"olma-operation", "put"}, {"olma-service", "a.b"}}, false},
      {{{"olma-operation", "get"}, {"olma-service", "a.c"}}, false},
      {{{"olma-operation", "Get"}, {"olma-service", "a.b"}}, false},
      {{{"Olma-Operation", "put"}}, true},  // names are compared exactly: not this header
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(testing::PrintToString(c.headers.size()) + " headers, first " +
                 (c.headers.empty() ? "" : std::string(c.headers[0].name)));
    Request request{c.headers};
    EXPECT_EQ(request.Update(), c.accepted);
  }
  EXPECT_TRUE(UpdateExecutionCtxHelper::Update(nullptr, *MethodIdentifier::GetInstance("a.b.get"),
                                               *ExecutionContext::GetInstance(), {}));
}

TEST(UpdateExecutionCtxHelper, MapsHeadersIntoTheirPlaces) {
  Request request{{
      {"accept-language", "de-CH, en;q=0.5"},
      {"olma-ctx-opid", "op-1"},
      {"olma-ctx-activationid", "act"},
      {"olma-ctx-$donotroute", "yes"},
      {"olma-ctx-my-key", "mine"},
      {"olma-ctx-", "empty key"},
      {"olma-ctx-$useragent", "from-ctx"},
      {"user-agent", "curl/8"},
      {"host", "first.example"},
      {"host", "second.example"},
      {"x-forwarded-for", "203.0.113.9, 127.0.0.1"},
      {"traceparent", "00-4bf92f3577b34da6a3ce929d0e0e4736-00f067aa0ba902b7-01"},
      {"tracestate", "rojo=00f067aa0ba902b7,congo=t61rcWkgMzE"},
      {"uber-trace-id", "abc:def:0:1"},
      {"x-uberctx-user", "baggage"},
      {"cookie", "ignored"},
  }};
  request.context->applicationContext()["opId"] = "client-op";
  ASSERT_TRUE(request.Update());

  EXPECT_EQ(request.AppCtx("accept-language"), "de-CH, en;q=0.5");
  EXPECT_EQ(request.AppCtx("opId"), "op-1");
  EXPECT_EQ(request.context->applicationContext().at("opId").value, "client-op");
  EXPECT_EQ(request.AppCtx("ActivationId"), "act");
  EXPECT_EQ(request.AppCtx("$doNotRoute"), "yes");
  EXPECT_EQ(request.AppCtx("my-key"), "mine");
  EXPECT_EQ(request.AppCtx(""), "empty key");
  EXPECT_EQ(request.AppCtx("$userAgent"), "curl/8");
  EXPECT_EQ(request.AppData("host"), "second.example");
  EXPECT_EQ(request.AppData("x-forwarded-for"), "203.0.113.9, 127.0.0.1");
  // W3C trace context travels unchanged.
  EXPECT_EQ(request.AppData("traceparent"), "00-4bf92f3577b34da6a3ce929d0e0e4736-00f067aa0ba902b7-01");
  EXPECT_EQ(request.AppData("tracestate"), "rojo=00f067aa0ba902b7,congo=t61rcWkgMzE");
  EXPECT_EQ(request.AppData("uber-trace-id"), "abc:def:0:1");
  EXPECT_EQ(request.AppData("x-uberctx-user"), "baggage");
  EXPECT_EQ(request.context->applicationData().size(), 6u);
  EXPECT_TRUE(request.context->securityContext().empty());
}

TEST(UpdateExecutionCtxHelper, EmptyUserAgentLeavesTheApplicationContextHeader) {
  Request request{{{"olma-ctx-$useragent", "from-ctx"}, {"user-agent", ""}}};
  ASSERT_TRUE(request.Update());
  EXPECT_EQ(request.AppCtx("$userAgent"), "from-ctx");
}

TEST(UpdateExecutionCtxHelper, CredentialsAndSessionLandInTheSecurityContext) {
  Request basic{{{"authorization", "Basic YW5uOnM6Mw=="}}};  // ann:s:3
  ASSERT_TRUE(basic.Update());
  UserPassSecurityContextReader user(basic.context->securityContext());
  ASSERT_TRUE(user.valid());
  EXPECT_EQ(user.userName(), "ann");
  EXPECT_EQ(user.password(), "s:3");

  Request bearer{{{"authorization", "Bearer eyJ.x.y"}}};
  ASSERT_TRUE(bearer.Update());
  EXPECT_EQ(OAuthSecurityContextReader(bearer.context->securityContext()).accessToken(), "eyJ.x.y");

  Request session{{{"zorvex-api-session-id", "sess-9"}}};
  SessionSecurityContextBuilder(session.context->securityContext()).sessionId("client-session");
  ASSERT_TRUE(session.Update());
  SessionSecurityContextReader reader(session.context->securityContext());
  EXPECT_EQ(reader.sessionId(), "sess-9");
  EXPECT_EQ(session.context->securityContext().at("sessionId").value, SecurityContextEntry("client-session"));

  for (const char* broken : {"Basic", "Basic !!!!", "Bearer ", "Digest x", ""}) {
    SCOPED_TRACE(broken);
    Request request{{{"authorization", broken}}};
    EXPECT_TRUE(request.Update());  // not a contradiction, just no credentials
    EXPECT_TRUE(request.context->securityContext().empty());
  }
}

TEST(UpdateExecutionCtxHelper, UpdatersRunInOrderOnTheRestartedRange) {
  Request request{{{"x-custom", "1"}, {"x-custom", "2"}}};
  std::vector<std::string> seen;
  const auto collect = [&seen](const char* tag) {
    return [&seen, tag](HeaderRange& headers, ExecutionContext& context) {
      for (Header header; headers.Next(header);) seen.push_back(std::string(tag) + std::string(header.value));
      context.applicationContext()[tag] = "ran";
    };
  };
  ASSERT_TRUE(request.Update({collect("a"), collect("b")}));
  EXPECT_THAT(seen, testing::ElementsAre("a1", "a2", "b1", "b2"));
  EXPECT_EQ(request.AppCtx("b"), "ran");

  EXPECT_THROW(request.Update({collect("a"), UpdateExecutionCtxHelper::Updater()}), std::bad_function_call);
  Request contradicting{{{"olma-operation", "get"}}};
  seen.clear();
  EXPECT_FALSE(contradicting.Update({collect("a")}));
  EXPECT_TRUE(seen.empty());
}

TEST(UpdateExecutionCtxHelper, SmallHelpers) {
  EXPECT_EQ(UpdateExecutionCtxHelper::appCtxPrefix(), "olma-ctx-");
  for (const char* name : {"traceparent", "tracestate", "uber-trace-id", "uberctx-a", "x-uberctx-"}) {
    EXPECT_TRUE(UpdateExecutionCtxHelper::isTraceCtxHeader(name)) << name;
  }
  for (const char* name : {"traceparent2", "uberctx", "Traceparent", "uber-trace"}) {
    EXPECT_FALSE(UpdateExecutionCtxHelper::isTraceCtxHeader(name)) << name;
  }
  ApplicationContext context;
  EXPECT_THROW(UpdateExecutionCtxHelper::remapAppCtxHeader("olma-ctx", "v", context), std::out_of_range);
  UpdateExecutionCtxHelper::UpdateAppCtxField(context, "k", "one");
  UpdateExecutionCtxHelper::UpdateAppCtxField(context, "k", "two");
  EXPECT_EQ(context.at("k"), ApplicationContextEntry(ApplicationContextEntry::Override(), "two"));
  EXPECT_EQ(UpdateExecutionCtxHelper::ToStringOptStr("x"), std::optional<std::string>("x"));
}

}  // namespace
