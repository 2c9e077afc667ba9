// Many threads working at once from one published parent activation, with no lock anywhere:
// deriving outgoing activations, reading it through the helpers, and completing their own
// callbacks that all capture one shared state. ThreadSanitizer reports any data race.
#include <atomic>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "olma/invocation/activation_helpers.h"
#include "olma/invocation/async_activation.h"
#include "olma/invocation/result_callback.h"

namespace {

using namespace Olma::Core;

TEST(ActivationConcurrency, ThreadsDeriveReadAndCompleteFromSharedState) {
  constexpr int kThreads = 8, kRounds = 200;
  const auto parent = AsyncActivation::GetInstance(nullptr);
  auto& context = *parent->executionContext();
  context.applicationContext()["opId"] = "A";
  context.applicationContext()["opId"].override = "B";
  context.securityContext()["schemeId"] = "scheme";
  ActivationHelpers::SetPeerTcpBindingInfo(context, PeerBindingInfo("192.0.2.7", 8443));
  const auto state = std::make_shared<std::atomic<long long>>(0);
  const auto result = MethodResult::GetStreamTerminalInstance();

  std::atomic<int> arrived{0}, failures{0};
  std::vector<std::thread> threads;
  for (int t = 0; t < kThreads; ++t) {
    threads.emplace_back([&, t] {
      arrived.fetch_add(1);  // start together, so that the work really overlaps
      while (arrived.load() < kThreads) std::this_thread::yield();
      const std::string own = "child-" + std::to_string(t);
      for (int round = 0; round < kRounds; ++round) {
        const auto child = (round + t) % 2 == 0 ? AsyncActivation::CreateFrom(*parent)
                                                : AsyncActivation::CreateFromPreserveSigned(*parent);
        child->UseSecCtx(*parent);
        ActivationHelpers::SetActivationOpId(child, own);
        if (ActivationHelpers::GetActivationOpId(child) != own ||
            ActivationHelpers::GetActivationOpId(parent->Dup()) != "B")
          ++failures;
        if (child->executionContext()->securityContext().count("schemeId") != 1) ++failures;
        if (ActivationHelpers::GetPeerTcpBindingInfo(parent) != PeerBindingInfo("192.0.2.7", 8443))
          ++failures;
        // Each callback drops its copy of the shared capture through the atomic reference count.
        AsyncApiResultCb callback([state](const MethodResult::PtrConstType& delivered,
                                          const Progress& progress, const AsyncApiResultCb::Continuation&) {
          state->fetch_add(delivered ? 1000 : progress.current);
        });
        callback(nullptr, Progress{0, 2, 1});
        callback(result);
      }
    });
  }
  for (auto& thread : threads) thread.join();
  EXPECT_EQ(failures.load(), 0);
  EXPECT_EQ(ActivationHelpers::GetActivationOpId(parent), "B");
  EXPECT_EQ(parent->executionContext()->applicationContext().size(), 1u);
  EXPECT_EQ(state.use_count(), 1);
  EXPECT_EQ(state->load(), 1001LL * kThreads * kRounds);
}

}  // namespace
