// Many threads working from one published parent activation: deriving outgoing
// activations, reading helpers and identifiers, and completing their own callbacks,
// with no lock anywhere. ThreadSanitizer reports any data race.
#include <atomic>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "olma/invocation/activation_helpers.h"
#include "olma/invocation/async_activation.h"
#include "olma/invocation/identifiers.h"
#include "olma/invocation/result_callback.h"

namespace {

using Olma::Core::ActivationHelpers;
using Olma::Core::AsyncActivation;
using Olma::Core::AsyncApiResultCb;
using Olma::Core::MethodIdentifier;
using Olma::Core::MethodIdentifierSet;
using Olma::Core::MethodResult;
using Olma::Core::PeerBindingInfo;
using Olma::Core::Progress;

constexpr int kThreads = 8;
constexpr int kRounds = 200;

// Spins until every thread has arrived, so that the work really overlaps.
void Rendezvous(std::atomic<int>& arrived) {
  arrived.fetch_add(1);
  while (arrived.load() < kThreads) std::this_thread::yield();
}

TEST(ActivationConcurrency, ThreadsDeriveAndReadFromOneSharedParent) {
  const auto parent = AsyncActivation::GetInstance(nullptr);
  auto& context = *parent->executionContext();
  context.applicationContext()["opId"] = "A";
  context.applicationContext()["opId"].override = "B";
  context.securityContext()["schemeId"] = "scheme";
  ActivationHelpers::SetPeerTcpBindingInfo(context, PeerBindingInfo("192.0.2.7", 8443));
  const MethodIdentifierSet methods{MethodIdentifier::GetInstance("a.z"),
                                    MethodIdentifier::GetInstance("x.b")};
  const auto shared = MethodIdentifier::GetInstance("x.b");

  std::atomic<int> arrived{0};
  std::atomic<int> failures{0};
  std::vector<std::thread> threads;
  for (int t = 0; t < kThreads; ++t) {
    threads.emplace_back([&, t] {
      Rendezvous(arrived);
      // First use of the key constant may happen here, in all threads at once.
      if (ActivationHelpers::OpIdKey() != "opId") ++failures;
      for (int round = 0; round < kRounds; ++round) {
        const auto child = (round + t) % 2 == 0 ? AsyncActivation::CreateFrom(*parent)
                                                : AsyncActivation::CreateFromPreserveSigned(*parent);
        child->UseSecCtx(*parent);
        ActivationHelpers::SetActivationOpId(child, "child-" + std::to_string(t));
        const auto copy = parent->Dup();
        if (ActivationHelpers::GetActivationOpId(copy) != "B") ++failures;
        if (ActivationHelpers::GetActivationOpId(child) != "child-" + std::to_string(t)) ++failures;
        if (child->executionContext()->securityContext().count("schemeId") != 1) ++failures;
        const auto peer = ActivationHelpers::GetPeerTcpBindingInfo(parent);
        if (!peer || peer->second != 8443) ++failures;
        if (methods.count(shared) != 1 || shared->ToString() != "x.b") ++failures;
      }
    });
  }
  for (auto& thread : threads) thread.join();
  EXPECT_EQ(failures.load(), 0);
  EXPECT_EQ(ActivationHelpers::GetActivationOpId(parent), "B");
  EXPECT_EQ(parent->executionContext()->applicationContext().size(), 1u);
}

TEST(ActivationConcurrency, CallbacksReleaseSharedCapturesFromManyThreads) {
  // Every callback captures the same state; each thread completes its own callbacks, so
  // the captures are dropped concurrently through the atomic reference count.
  const auto state = std::make_shared<std::atomic<long long>>(0);
  const auto result = MethodResult::GetStreamTerminalInstance();
  std::atomic<int> arrived{0};
  std::vector<std::thread> threads;
  for (int t = 0; t < kThreads; ++t) {
    threads.emplace_back([&] {
      Rendezvous(arrived);
      for (int round = 0; round < kRounds; ++round) {
        AsyncApiResultCb callback([state](const MethodResult::PtrConstType& delivered,
                                          const Progress& progress, const AsyncApiResultCb::Continuation&) {
          state->fetch_add(delivered ? 1000 : progress.current);
        });
        callback(nullptr, Progress{0, 2, 1});
        callback(nullptr, Progress{0, 2, 2});
        callback(result);
      }
    });
  }
  for (auto& thread : threads) thread.join();
  EXPECT_EQ(state.use_count(), 1);
  EXPECT_EQ(state->load(), static_cast<long long>(kThreads) * kRounds * 1003);
}

}  // namespace
