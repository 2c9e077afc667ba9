// A handler that hands its callback to another thread and then throws: that thread's answer
// and the exception race for the caller's callback, and exactly one of them must reach it,
// without a data race on the callback.
#include <atomic>
#include <memory>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "olma/data/definitions.h"
#include "olma/invocation/result_callback.h"
#include "olma/provider/api_method_helper.h"
#include "provider/fake_method.h"

namespace {

using Olma::Core::AsyncApiResultCb;
using Olma::Core::MethodResult;

TEST(ApiMethodHelperConcurrency, HandlerThatThrowsWhileAnotherThreadAnswersDeliversOnce) {
  constexpr int kCalls = 300;
  std::atomic<int> outputs{0};
  std::atomic<int> errors{0};
  std::vector<std::thread> answering;
  answering.reserve(kCalls);
  for (int call = 0; call < kCalls; ++call) {
    std::atomic<int> delivered{0};
    auto resultCb = std::make_shared<AsyncApiResultCb>([&, call](const MethodResult::PtrConstType& result,
                                                                 const Olma::Core::Progress&,
                                                                 const AsyncApiResultCb::Continuation&) {
      ++delivered;
      if (!result->isError()) {
        EXPECT_EQ(static_cast<const Olma::Data::IntegerValue&>(*result->output()).value(), call);
        ++outputs;
      } else {
        EXPECT_EQ(OlmaTest::MessagesOf(result->error()).front().id(), "olma.invoke.unknown.error");
        ++errors;
      }
    });
    const OlmaTest::ScriptedMethod method(
        "run", Olma::Data::IntegerDefinition::GetInstance(),
        [&answering](const Olma::Data::DataValue::PtrConstType& input, const AsyncApiResultCb::PtrType& cb) {
          std::atomic<bool> started{false};
          answering.emplace_back([input, cb, &started] {
            started = true;
            (*cb)(MethodResult::GetInstance(input));
          });
          while (!started) std::this_thread::yield();  // throw while the answer is on its way
          throw std::runtime_error("gave up");
        });
    Olma::Provider::ApiMethodHelper::InvokeHandler("com.acme.calc.run", method, nullptr, OlmaTest::Int(call),
                                                   resultCb);
    answering.back().join();
    EXPECT_EQ(delivered, 1) << "call " << call;
  }
  EXPECT_EQ(outputs + errors, kCalls);
}

}  // namespace
