// One interface and its methods shared by many threads that call them at once: lookups,
// validation and result building must neither race nor mix up results between calls.
#include <atomic>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "olma/data/definitions.h"
#include "provider/fake_method.h"

namespace {

using namespace Olma::Data;
using Olma::Core::MethodResult;
using OlmaTest::FakeMethod;
using OlmaTest::Int;
using OlmaTest::Str;
using OlmaTest::Struct;

constexpr int kThreads = 8;
constexpr int kCallsPerThread = 400;

Olma::Provider::AsyncApiInterface::PtrConstType MakeInterface() {
  const auto input = StructDefinition::GetInstance("in", {{"n", IntegerDefinition::GetInstance()}});
  const auto output = StructDefinition::GetInstance("out", {{"n", IntegerDefinition::GetInstance()}});
  const auto declared = ErrorDefinition::GetInstance("com.acme.errors.odd");
  // Echoes its input, or raises the declared error for odd numbers.
  auto echo = FakeMethod::Make("echo", input, output, {declared}, [](const DataValue::PtrConstType& in) {
    const auto& fields = static_cast<const StructValue&>(*in).fields();
    const long long n = static_cast<const IntegerValue&>(*fields.at("n")).value();
    if (n % 2 != 0) {
      return MethodResult::GetErrorInstance(
          ErrorValue::Create("com.acme.errors.odd", {Olma::MakeMessage("app.odd", "odd {1}", n)}));
    }
    return MethodResult::GetInstance(Struct("out", {{"n", Int(n)}}));
  });
  // Raises an error it does not declare.
  auto rogue = FakeMethod::Make("rogue", input, output, {}, [](const DataValue::PtrConstType&) {
    return MethodResult::GetErrorInstance(ErrorValue::Create("com.zorvex.olma.std.errors.unauthorized", {}));
  });
  return Olma::Provider::AsyncApiInterface::GetInstance(
      Olma::Core::InterfaceIdentifier::GetInstance("com.acme"), {echo, rogue});
}

// Checks one call's result; returns false (and records why) on a wrong result.
bool CallAndCheck(const Olma::Provider::AsyncApiInterface& api, int thread, int call) {
  const long long n = thread * 100000 + call / 4;
  switch (call % 4) {
    case 0: {  // success or the declared error, by parity
      const auto result = OlmaTest::Dispatch(api, "echo", Struct("in", {{"n", Int(n)}}));
      if (n % 2 == 0) {
        return result && !result->isError() &&
               static_cast<const IntegerValue&>(
                   *static_cast<const StructValue&>(*result->output()).fields().at("n"))
                       .value() == n;
      }
      const auto messages = OlmaTest::MessagesOf(result->error());
      return result->isError() && result->error()->name() == "com.acme.errors.odd" && messages.size() == 1 &&
             messages.front().defaultMessage() == "odd " + std::to_string(n);
    }
    case 1: {  // invalid input
      const auto result = OlmaTest::Dispatch(api, "echo", Struct("in", {{"n", Str("x")}}));
      return result->isError() && result->error()->name() == "com.zorvex.olma.std.errors.invalid_argument";
    }
    case 2: {  // undeclared error
      const auto result = OlmaTest::Dispatch(api, "rogue", Struct("in", {{"n", Int(n)}}));
      const auto messages = OlmaTest::MessagesOf(result->error());
      return result->isError() &&
             result->error()->name() == "com.zorvex.olma.std.errors.internal_server_error" &&
             !messages.empty() && messages.front().args().back() == "com.zorvex.olma.std.errors.unauthorized";
    }
    default: {  // unknown method
      const auto result = OlmaTest::Dispatch(api, "missing" + std::to_string(n), nullptr);
      const auto messages = OlmaTest::MessagesOf(result->error());
      return result->isError() && messages.size() == 1 &&
             messages.front().args().back() == "missing" + std::to_string(n);
    }
  }
}

TEST(InterfaceConcurrency, ManyThreadsInvokeOneInterfaceAtOnce) {
  const auto api = MakeInterface();
  std::atomic<int> wrong{0};
  std::atomic<bool> go{false};
  std::vector<std::thread> threads;
  for (int t = 0; t < kThreads; ++t) {
    threads.emplace_back([&, t] {
      while (!go.load(std::memory_order_acquire)) std::this_thread::yield();
      for (int call = 0; call < kCallsPerThread; ++call) {
        if (!CallAndCheck(*api, t, call)) wrong.fetch_add(1, std::memory_order_relaxed);
      }
    });
  }
  go.store(true, std::memory_order_release);
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(wrong.load(), 0);
}

}  // namespace
