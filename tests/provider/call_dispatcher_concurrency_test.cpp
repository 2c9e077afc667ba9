// Many threads call through one observed dispatcher at once while the handlers answer on
// worker threads: every call gets exactly one final result, its own, and its observer hears
// exactly one outcome, even when the handler throws while a worker is answering.
#include <atomic>
#include <condition_variable>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "olma/data/definitions.h"
#include "olma/provider/call_dispatcher.h"
#include "olma/provider/call_observer.h"
#include "provider/fake_method.h"

namespace {

using Olma::Core::AsyncActivation;
using Olma::Core::AsyncApiResultCb;
using Olma::Core::MethodResult;

// Runs queued answers on its own threads.
class Workers {
 public:
  explicit Workers(int count) {
    for (int i = 0; i < count; ++i) threads_.emplace_back([this] { Run(); });
  }
  ~Workers() {
    {
      std::lock_guard<std::mutex> lock(mutex_);
      stopping_ = true;
    }
    ready_.notify_all();
    for (auto& thread : threads_) thread.join();
  }
  void Post(std::function<void()> job) {
    {
      std::lock_guard<std::mutex> lock(mutex_);
      jobs_.push_back(std::move(job));
    }
    ready_.notify_one();
  }

 private:
  void Run() {
    for (;;) {
      std::unique_lock<std::mutex> lock(mutex_);
      ready_.wait(lock, [this] { return stopping_ || !jobs_.empty(); });
      if (jobs_.empty()) return;
      auto job = std::move(jobs_.front());
      jobs_.pop_front();
      lock.unlock();
      job();
    }
  }

  std::mutex mutex_;
  std::condition_variable ready_;
  std::deque<std::function<void()>> jobs_;
  bool stopping_ = false;
  std::vector<std::thread> threads_;
};

struct CountingObserver final : Api::CallObserver {
  std::atomic<int> told{0};
  void OnResult(Outcome) override { ++told; }
};

class Registrar final : public Olma::Observer::Detail::CallRegistrarBase {
 public:
  using CallRegistrarBase::CallRegistrarBase;

 private:
  Api::CallObserver::PtrType CreateObserver(const Olma::Data::DataValue::PtrConstType&,
                                            const AsyncActivation::PtrType&,
                                            const AsyncApiResultCb::PtrType&) const override {
    return std::make_shared<CountingObserver>();
  }
};

TEST(CallDispatcherConcurrency, EveryCallGetsExactlyItsOwnResultOnce) {
  Workers workers(3);
  const auto definition =
      Olma::Data::StructDefinition::GetInstance("n", {{"n", Olma::Data::IntegerDefinition::GetInstance()}});
  const auto answerLater = std::make_shared<OlmaTest::ScriptedMethod>(
      "later", definition,
      [&workers](const Olma::Data::DataValue::PtrConstType& input, const AsyncApiResultCb::PtrType& cb) {
        workers.Post([input, cb] { (*cb)(MethodResult::GetInstance(input)); });
      });
  // Hands its callback to a worker and throws: the worker's answer and the exception race.
  const auto answerAndThrow = std::make_shared<OlmaTest::ScriptedMethod>(
      "racy", definition,
      [&workers](const Olma::Data::DataValue::PtrConstType& input, const AsyncApiResultCb::PtrType& cb) {
        workers.Post([input, cb] { (*cb)(MethodResult::GetInstance(input)); });
        throw std::runtime_error("racing");
      });
  const auto container = Olma::Provider::AsyncApiInterfaceConcurrentContainer<std::mutex>::GetInstance(
      {Olma::Provider::AsyncApiInterface::GetInstance(
          Olma::Core::InterfaceIdentifier::GetInstance("com.acme"), {answerLater, answerAndThrow})});
  std::atomic<int> dropped{0};
  const auto provider = std::make_shared<Registrar>(Olma::Provider::CallDispatcher::GetInstance(
      container, [&dropped](Olma::Log::SeverityLevel, const Olma::BaseMessage&) { ++dropped; }));

  constexpr int kThreads = 4;
  constexpr int kCalls = 150;
  std::atomic<int> results{0};
  std::atomic<int> mismatched{0};
  std::vector<std::shared_ptr<AsyncActivation>> activations(kThreads * kCalls);
  std::vector<std::thread> callers;
  for (int t = 0; t < kThreads; ++t) {
    callers.emplace_back([&, t] {
      for (int i = 0; i < kCalls; ++i) {
        const long long n = t * kCalls + i;
        auto activation = AsyncActivation::GetInstance(nullptr);
        activations[n] = activation;
        provider->Invoke(
            Olma::Core::MethodIdentifier::GetInstance(i % 3 == 0 ? "com.acme.racy" : "com.acme.later"),
            OlmaTest::Struct("n", {{"n", OlmaTest::Int(n)}}), activation,
            std::make_shared<AsyncApiResultCb>([&, n](const MethodResult::PtrConstType& result,
                                                      const Olma::Core::Progress&,
                                                      const AsyncApiResultCb::Continuation&) {
              ++results;
              if (result->isError()) {
                if (result->error()->name() != "com.zorvex.olma.std.errors.internal_server_error")
                  ++mismatched;
                return;
              }
              const auto& fields = static_cast<const Olma::Data::StructValue&>(*result->output()).fields();
              if (static_cast<const Olma::Data::IntegerValue&>(*fields.at("n")).value() != n) ++mismatched;
            }));
      }
    });
  }
  for (auto& caller : callers) caller.join();
  // Wait for the workers' answers (bounded: each answer is quick).
  for (int spin = 0;
       spin < 2000 && results.load() + dropped.load() < kThreads * kCalls + kThreads * kCalls / 3; ++spin) {
    std::this_thread::sleep_for(std::chrono::milliseconds(5));
  }
  EXPECT_EQ(results.load(), kThreads * kCalls);
  EXPECT_EQ(dropped.load(), kThreads * kCalls / 3);  // per racing call, whichever lost
  EXPECT_EQ(mismatched.load(), 0);
  for (const auto& activation : activations) {
    EXPECT_EQ(static_cast<const CountingObserver&>(*activation->callObserver()).told.load(), 1);
  }
}

}  // namespace
