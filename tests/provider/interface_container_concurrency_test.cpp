// One container read and written by many threads at once: no registration may be lost or
// doubled, readers must always see a whole snapshot, and the final checksum must be the one
// of the same interfaces registered in one go.
#include <atomic>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "olma/data/definitions.h"
#include "olma/provider/interface_container.h"
#include "provider/fake_method.h"

namespace {

using Container = Olma::Provider::AsyncApiInterfaceConcurrentContainer<std::mutex>;
using Olma::Provider::AsyncApiInterface;

AsyncApiInterface::PtrConstType Api(int n) {
  const auto definition = Olma::Data::StructDefinition::GetInstance(
      "in" + std::to_string(n), {{"a", Olma::Data::IntegerDefinition::GetInstance()}});
  return AsyncApiInterface::GetInstance(
      Olma::Core::InterfaceIdentifier::GetInstance("com.acme.api" + std::to_string(n)),
      {std::make_shared<OlmaTest::FakeMethod>("run", definition)});
}

TEST(InterfaceContainerConcurrency, WritersAndReadersLoseNothingAndAgreeOnTheChecksum) {
  constexpr int kInterfaces = 60;
  constexpr int kWriters = 3;
  constexpr int kReaders = 3;
  std::vector<AsyncApiInterface::PtrConstType> apis;
  for (int n = 0; n < kInterfaces; ++n) apis.push_back(Api(n));

  const auto container = Container::GetInstance();
  std::atomic<int> added{0};
  std::atomic<int> refused{0};
  std::atomic<bool> writing{true};
  std::vector<std::thread> threads;
  // Every writer registers every interface (each also under a fresh but equal object), in its
  // own order: each identifier is contested by all writers.
  for (int w = 0; w < kWriters; ++w) {
    threads.emplace_back([&, w] {
      for (int i = 0; i < kInterfaces; ++i) {
        const int n = (i * 7 + w * 13) % kInterfaces;
        Olma::MessageList messages;
        const auto& api = (w % 2 == 0) ? apis[n] : Api(n);
        if (container->Add(api, messages)) {
          ++added;
          EXPECT_TRUE(messages.empty());
        } else {
          ++refused;
          ASSERT_EQ(messages.size(), 1u);
          EXPECT_EQ(messages.front().id(), "olma.provider.interface.already.registered");
        }
      }
    });
  }
  for (int r = 0; r < kReaders; ++r) {
    threads.emplace_back([&, r] {
      while (writing.load()) {
        Olma::MessageList messages;
        AsyncApiInterface::PtrConstType found;
        const int n = r % kInterfaces;
        if (container->Find(Olma::Core::InterfaceIdentifier::GetInstance("com.acme.api" + std::to_string(n)),
                            found, messages)) {
          EXPECT_EQ(found->id()->name(), "com.acme.api" + std::to_string(n));
        }
        std::string previous;
        container->ForEach([&previous](const AsyncApiInterface::PtrConstType& api) {
          EXPECT_LT(previous, api->id()->name());
          previous = api->id()->name();
        });
        EXPECT_EQ(container->checksum().size(), 8u);
      }
    });
  }
  for (int w = 0; w < kWriters; ++w) threads[w].join();
  writing = false;
  for (std::size_t t = kWriters; t < threads.size(); ++t) threads[t].join();

  EXPECT_EQ(added.load(), kInterfaces);
  EXPECT_EQ(refused.load(), kInterfaces * (kWriters - 1));
  int count = 0;
  container->ForEach([&count](const AsyncApiInterface::PtrConstType&) { ++count; });
  EXPECT_EQ(count, kInterfaces);
  EXPECT_EQ(container->checksum(), Container::GetInstance({apis.begin(), apis.end()})->checksum());
}

TEST(InterfaceContainerConcurrency, ForEachCallbacksThatAddDoNotDeadlock) {
  const auto container = Container::GetInstance({Api(0)});
  std::vector<std::thread> threads;
  for (int t = 0; t < 4; ++t) {
    threads.emplace_back([&container, t] {
      container->ForEach([&container, t](const AsyncApiInterface::PtrConstType& api) {
        if (api->id()->name() != "com.acme.api0") return;
        Olma::MessageList messages;
        EXPECT_TRUE(container->Add(Api(100 + t), messages));
      });
    });
  }
  for (auto& thread : threads) thread.join();
  int count = 0;
  container->ForEach([&count](const AsyncApiInterface::PtrConstType&) { ++count; });
  EXPECT_EQ(count, 5);
}

}  // namespace
