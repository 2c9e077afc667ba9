#include <memory>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "olma/invocation/security_context_schemes.h"
#include "olma/transport/update_execution_ctx_helper.h"
#include "olma/transport/x_forwarded_for_parser.h"

namespace {

using namespace Olma::Core;
using Olma::Provider::JsonRpc1_1::UpdateExecutionCtxHelper;
using Olma::Transport::Header;

// Threads that start together meet in the first use of the remap table and then keep
// updating their own contexts from shared header texts and a shared trusted-proxy list.
TEST(UpdateExecutionCtxHelperConcurrency, ThreadsUpdateTheirOwnContextsFromSharedHeaders) {
  const std::vector<Header> headers{
      {"olma-operation", "get"},       {"olma-service", "a.b"},
      {"olma-ctx-opid", "op"},         {"olma-ctx-$useragent", "ctx"},
      {"authorization", "Basic YTpi"}, {"x-forwarded-for", "198.51.100.4, 10.0.0.1"}};
  const auto method = MethodIdentifier::GetInstance("a.b.get");
  Api::Utils::TrustedProxies trusted;
  std::error_code error;
  ASSERT_TRUE(trusted.Add("10.0.0.0/8", error));

  constexpr int kThreads = 4;
  std::vector<int> failures(kThreads, 0);
  std::vector<std::thread> threads;
  for (int t = 0; t < kThreads; ++t) {
    threads.emplace_back([&, t] {
      for (int i = 0; i < 200; ++i) {
        auto context = ExecutionContext::GetInstance();
        const bool ok = UpdateExecutionCtxHelper::Update(
            std::make_shared<Olma::Transport::VectorHeaderRange>(headers), *method, *context);
        std::optional<Api::Utils::XForwardedForParser::ForwardedPeerInfo> peer;
        Api::Utils::XForwardedForParser::FindRightMostRemotePeer("198.51.100.4, 10.0.0.1", peer, trusted);
        if (!ok || context->applicationContext().at("opId").effective() != "op" ||
            UserPassSecurityContextReader(context->securityContext()).password() != "b" || !peer ||
            peer->address != "198.51.100.4") {
          ++failures[t];
        }
      }
    });
  }
  for (auto& thread : threads) thread.join();
  for (int t = 0; t < kThreads; ++t) EXPECT_EQ(failures[t], 0) << "thread " << t;
}

}  // namespace
