// One interface, its methods and their definitions shared by many threads that check calls
// at once: lookups, validation and result building must neither race nor mix up results.
#include <atomic>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "olma/data/definitions.h"
#include "olma/provider/async_api_interface.h"
#include "provider/fake_method.h"

namespace {

using namespace Olma::Data;
using Olma::Provider::ApiMethodHelper;

// The outcomes of checking calls with the number `n` against the shared interface.
std::vector<std::string> CheckCalls(const Olma::Provider::AsyncApiInterface& api, long long n) {
  Olma::MessageList messages;
  Olma::Provider::AsyncApiMethod::PtrConstType method;
  if (api.method("missing" + std::to_string(n), method, messages) || !api.method("echo", method, messages))
    return {};
  std::vector<std::string> outcome{messages.back().args().back()};
  const Olma::Provider::QualifiedMethodName name(api.id()->name(), method->name());
  const DataValue::PtrConstType value = OlmaTest::Struct("n", {{"n", OlmaTest::Int(n)}});
  Olma::Core::MethodResult::PtrConstType result;
  if (ApiMethodHelper::ValidateInput(name, method->input(), value, result) &&
      !ApiMethodHelper::ValidateInput(name, method->input(), OlmaTest::Str("x"), result)) {
    outcome.push_back(result->error()->name());
  }
  const bool same = ApiMethodHelper::ValidateOutput(name, method->output(), value)->output() == value;
  outcome.push_back(same ? "same output" : "other output");
  for (const char* error : {"com.acme.errors.odd", "com.zorvex.olma.std.errors.unauthorized"}) {
    const auto described = OlmaTest::Describe(
        ApiMethodHelper::ValidateError(name, method->errors(), ErrorValue::Create(error, {})));
    outcome.insert(outcome.end(), described.begin(), described.end());
  }
  return outcome;
}

TEST(InterfaceConcurrency, ManyThreadsCheckCallsOfOneInterfaceAtOnce) {
  const Olma::Provider::AsyncApiMethod::PtrConstType echo = std::make_shared<const OlmaTest::FakeMethod>(
      "echo", StructDefinition::GetInstance("n", {{"n", IntegerDefinition::GetInstance()}}),
      Olma::Provider::ErrorDefinitionList{ErrorDefinition::GetInstance("com.acme.errors.odd")});
  const auto api = Olma::Provider::AsyncApiInterface::GetInstance(
      Olma::Core::InterfaceIdentifier::GetInstance("com.acme"), {echo});
  const auto expected = [](long long n) {
    return std::vector<std::string>{"missing" + std::to_string(n),
                                    "com.zorvex.olma.std.errors.invalid_argument",
                                    "same output",
                                    "com.acme.errors.odd",
                                    "com.zorvex.olma.std.errors.internal_server_error",
                                    "olma.bindings.method.impl.unexpected"};
  };
  ASSERT_EQ(CheckCalls(*api, 1), expected(1));
  std::atomic<int> wrong{0};
  std::atomic<bool> go{false};
  std::vector<std::thread> threads;
  for (int t = 0; t < 8; ++t) {
    threads.emplace_back([&, t] {
      while (!go.load()) std::this_thread::yield();
      for (long long n = t * 1000; n < t * 1000 + 100; ++n) wrong += CheckCalls(*api, n) != expected(n);
    });
  }
  go = true;
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(wrong.load(), 0);
}

}  // namespace
