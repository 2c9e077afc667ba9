#include "olma/provider/call_dispatcher.h"

#include <memory>
#include <mutex>
#include <stdexcept>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "olma/data/definitions.h"
#include "provider/fake_method.h"

namespace {

using namespace Olma::Data;
using Olma::Core::AsyncActivation;
using Olma::Core::AsyncApiResultCb;
using Olma::Core::MethodIdentifier;
using Olma::Core::MethodResult;
using Olma::Core::Progress;
using OlmaTest::ScriptedMethod;
using ::testing::ElementsAre;

const DataDefinition::PtrConstType& NumberDefinition() {
  static const DataDefinition::PtrConstType definition =
      StructDefinition::GetInstance("n", {{"n", IntegerDefinition::GetInstance()}});
  return definition;
}
DataValue::PtrConstType Number(long long n) {
  return OlmaTest::Struct("n", {{"n", OlmaTest::Int(n)}});
}

// What the caller of a dispatcher receives, and what the dispatcher logs.
struct Caller {
  std::vector<MethodResult::PtrConstType> results;
  std::vector<Progress> progress;
  std::vector<std::string> logged;
  AsyncApiResultCb::Continuation next;

  AsyncApiResultCb::PtrType Callback() {
    return std::make_shared<AsyncApiResultCb>([this](const MethodResult::PtrConstType& result,
                                                     const Progress& p,
                                                     const AsyncApiResultCb::Continuation& n) {
      if (!result) return progress.push_back(p);
      results.push_back(result);
      next = n;
    });
  }

  void Call(ScriptedMethod::Handler handler, const std::string& method = "com.acme.calc.run",
            const DataValue::PtrConstType& input = Number(1)) {
    const auto api = Olma::Provider::AsyncApiInterface::GetInstance(
        Olma::Core::InterfaceIdentifier::GetInstance("com.acme.calc"),
        {std::make_shared<ScriptedMethod>("run", NumberDefinition(), std::move(handler))});
    const auto dispatcher = Olma::Provider::CallDispatcher::GetInstance(
        Olma::Provider::AsyncApiInterfaceConcurrentContainer<std::mutex>::GetInstance({api}),
        [this](Olma::Log::SeverityLevel level, const Olma::BaseMessage& message) {
          EXPECT_EQ(level, Olma::Log::Warning);
          logged.push_back(message.defaultMessage());
        });
    dispatcher->Invoke(MethodIdentifier::GetInstance(method), input,
                       AsyncActivation::GetInstance(Olma::Core::ExecutionContext::GetInstance()), Callback());
  }

  std::vector<std::string> Texts() const {
    std::vector<std::string> texts;
    for (const auto& result : results) {
      texts.push_back(result->isError() ? OlmaTest::Describe(result).front() : "output");
      if (result->isError()) {
        for (const auto& message : OlmaTest::MessagesOf(result->error()))
          texts.push_back(message.defaultMessage());
      }
    }
    return texts;
  }
};

void Echo(const DataValue::PtrConstType& input, const AsyncApiResultCb::PtrType& resultCb) {
  (*resultCb)(MethodResult::GetInstance(input));
}

TEST(CallDispatcher, UnknownInterfaceOrMethodIsOperationNotFoundWithTheLookupsMessage) {
  Caller unknownInterface;
  unknownInterface.Call(Echo, "com.acme.other.run");
  EXPECT_THAT(unknownInterface.Texts(), ElementsAre("com.zorvex.olma.std.errors.operation_not_found",
                                                    "Unknown interface: com.acme.other"));
  Caller unknownMethod;
  unknownMethod.Call(Echo, "com.acme.calc.walk");
  EXPECT_THAT(unknownMethod.Texts(), ElementsAre("com.zorvex.olma.std.errors.operation_not_found",
                                                 "Interface missing method: com.acme.calc[walk]"));
}

TEST(CallDispatcher, BadInputNeverReachesTheHandler) {
  Caller caller;
  bool ran = false;
  caller.Call(
      [&ran](const DataValue::PtrConstType& input, const AsyncApiResultCb::PtrType& cb) {
        ran = true;
        Echo(input, cb);
      },
      "com.acme.calc.run", OlmaTest::Struct("n", {}));
  EXPECT_FALSE(ran);
  ASSERT_EQ(caller.results.size(), 1u);
  EXPECT_EQ(OlmaTest::Describe(caller.results[0])[1], "olma.invoke.invalid.input");
}

TEST(CallDispatcher, ValidOutputArrivesAfterProgressPassesThrough) {
  Caller caller;
  const DataValue::PtrConstType input = Number(5);
  caller.Call(
      [](const DataValue::PtrConstType& in, const AsyncApiResultCb::PtrType& cb) {
        (*cb)(nullptr, Progress{0, 10, 3});
        (*cb)(nullptr, Progress{0, 10, 7});
        Echo(in, cb);
      },
      "com.acme.calc.run", input);
  EXPECT_EQ(caller.progress, (std::vector<Progress>{{0, 10, 3}, {0, 10, 7}}));
  ASSERT_EQ(caller.results.size(), 1u);
  EXPECT_EQ(caller.results[0]->output(), input);
  EXPECT_TRUE(caller.logged.empty());
}

TEST(CallDispatcher, BadOutputIsCheckedBeforeTheCallerSeesIt) {
  Caller caller;
  caller.Call([](const DataValue::PtrConstType&, const AsyncApiResultCb::PtrType& cb) {
    (*cb)(MethodResult::GetInstance(OlmaTest::Str("not a structure")));
  });
  ASSERT_EQ(caller.results.size(), 1u);
  EXPECT_THAT(OlmaTest::Describe(caller.results[0]),
              ::testing::ElementsAre("com.zorvex.olma.std.errors.internal_server_error",
                                     "olma.invoke.invalid.output", ::testing::_));
}

TEST(CallDispatcher, ExactlyOneFinalResultWhateverTheHandlerDoes) {
  struct Case {
    const char* name;
    ScriptedMethod::Handler handler;
    std::vector<std::string> delivered;
    std::size_t dropped;
  };
  const Case cases[] = {
      {"throws before answering",
       [](const DataValue::PtrConstType&, const AsyncApiResultCb::PtrType&) {
         throw std::runtime_error("boom");
       },
       {"com.zorvex.olma.std.errors.internal_server_error",
        "Unknown error for method: com.acme.calc.run -> boom"},
       0},
      {"throws something else",
       [](const DataValue::PtrConstType&, const AsyncApiResultCb::PtrType&) { throw 42; },
       {"com.zorvex.olma.std.errors.internal_server_error",
        "Unknown error for method: com.acme.calc.run -> unknown exception"},
       0},
      {"answers, then throws",
       [](const DataValue::PtrConstType& in, const AsyncApiResultCb::PtrType& cb) {
         Echo(in, cb);
         throw std::runtime_error("late");
       },
       {"output"},
       1},
      {"answers twice",
       [](const DataValue::PtrConstType& in, const AsyncApiResultCb::PtrType& cb) {
         Echo(in, cb);
         Echo(in, cb);  // the spent callback throws std::bad_function_call
       },
       {"output"},
       1},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    Caller caller;
    caller.Call(c.handler);
    EXPECT_EQ(caller.Texts(), c.delivered);
    ASSERT_EQ(caller.logged.size(), c.dropped);
    if (c.dropped != 0) {
      EXPECT_THAT(caller.logged[0],
                  ::testing::StartsWith("Dropped a final result for method: com.acme.calc.run -> "
                                        "MR [FAIL] Error: "));
    }
  }
}

TEST(CallDispatcher, StreamedItemsAfterTheFirstAreCheckedToo) {
  Caller caller;
  caller.Call([](const DataValue::PtrConstType& in, const AsyncApiResultCb::PtrType& cb) {
    (*cb)(MethodResult::GetInstance(in), Progress(), [](const AsyncApiResultCb::PtrType& nextCb) {
      (*nextCb)(MethodResult::GetInstance(OlmaTest::Str("broken item")));
    });
  });
  ASSERT_EQ(caller.results.size(), 1u);
  ASSERT_TRUE(caller.next);
  Caller second;
  caller.next(second.Callback());
  ASSERT_EQ(second.results.size(), 1u);
  EXPECT_EQ(OlmaTest::Describe(second.results[0])[1], "olma.invoke.invalid.output");
}

// A dispatcher over one interface "com.acme.calc" with the method "run" (input and output
// NumberDefinition) and "sum" (input: a list of integers), built with `options`.
Olma::Provider::CallDispatcher::PtrConstType CalcDispatcher(
    ScriptedMethod::Handler run, Olma::Provider::CallDispatcherOptions options = {}) {
  const auto numbers = StructDefinition::GetInstance(
      "numbers", {{"n", ListDefinition::GetInstance(IntegerDefinition::GetInstance())}});
  const auto api = Olma::Provider::AsyncApiInterface::GetInstance(
      Olma::Core::InterfaceIdentifier::GetInstance("com.acme.calc"),
      {std::make_shared<ScriptedMethod>("run", NumberDefinition(), std::move(run)),
       std::make_shared<ScriptedMethod>("sum", numbers, Echo)});
  return Olma::Provider::CallDispatcher::GetInstance(
      Olma::Provider::AsyncApiInterfaceConcurrentContainer<std::mutex>::GetInstance({api}), {}, options);
}

TEST(CallDispatcher, ResolveFindsWhatInvokeCallsAndFailsWithInvokesMessages) {
  const auto dispatcher = CalcDispatcher(Echo);
  const auto identifier = MethodIdentifier::GetInstance("com.acme.calc.run");
  Olma::Provider::CallDispatcher::Target byIdentifier;
  Olma::Provider::CallDispatcher::Target byName;
  Olma::MessageList messages;
  ASSERT_TRUE(dispatcher->Resolve(identifier, byIdentifier, messages));
  ASSERT_TRUE(dispatcher->Resolve("com.acme.calc.run", byName, messages));
  EXPECT_TRUE(messages.empty());
  EXPECT_EQ(byIdentifier.identifier, identifier);
  EXPECT_EQ(byName.identifier->ToString(), "com.acme.calc.run");
  for (const auto* target : {&byIdentifier, &byName}) {
    EXPECT_EQ(target->api->id()->name(), "com.acme.calc");
    EXPECT_EQ(target->method->name(), "run");
  }

  for (const char* name : {"com.acme.other.run", "com.acme.calc.walk", "run", ""}) {
    SCOPED_TRACE(name);
    Olma::Provider::CallDispatcher::Target target;
    Olma::MessageList resolved;
    EXPECT_FALSE(dispatcher->Resolve(name, target, resolved));
    EXPECT_FALSE(target.method);
    Caller caller;
    dispatcher->Invoke(MethodIdentifier::GetInstance(name), Number(1),
                       AsyncActivation::GetInstance(Olma::Core::ExecutionContext::GetInstance()),
                       caller.Callback());
    ASSERT_EQ(caller.results.size(), 1u);
    const Olma::MessageList invoked = OlmaTest::MessagesOf(caller.results[0]->error());
    ASSERT_EQ(resolved.size(), 1u);
    ASSERT_EQ(invoked.size(), 1u);
    EXPECT_EQ(resolved.front().id(), invoked.front().id());
    EXPECT_EQ(resolved.front().defaultMessage(), invoked.front().defaultMessage());
  }
}

TEST(CallDispatcher, InvokeOfAResolvedTargetTakesTheRoadOfInvoke) {
  struct Case {
    const char* name;
    ScriptedMethod::Handler handler;
    DataValue::PtrConstType input;
  };
  const Case cases[] = {
      {"valid", Echo, Number(3)},
      {"bad input", Echo, OlmaTest::Struct("n", {})},
      {"bad output",
       [](const DataValue::PtrConstType&, const AsyncApiResultCb::PtrType& cb) {
         (*cb)(MethodResult::GetInstance(OlmaTest::Str("text")));
       },
       Number(3)},
      {"throws",
       [](const DataValue::PtrConstType&, const AsyncApiResultCb::PtrType&) {
         throw std::runtime_error("boom");
       },
       Number(3)},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    const auto dispatcher = CalcDispatcher(c.handler);
    const auto activation = AsyncActivation::GetInstance(Olma::Core::ExecutionContext::GetInstance());
    Caller direct;
    dispatcher->Invoke(MethodIdentifier::GetInstance("com.acme.calc.run"), c.input, activation,
                       direct.Callback());
    Olma::Provider::CallDispatcher::Target target;
    Olma::MessageList messages;
    ASSERT_TRUE(dispatcher->Resolve("com.acme.calc.run", target, messages));
    Caller resolved;
    dispatcher->Invoke(target, c.input, activation, resolved.Callback());
    ASSERT_EQ(direct.results.size(), 1u);
    EXPECT_EQ(resolved.Texts(), direct.Texts());
  }
  const auto dispatcher = CalcDispatcher(Echo);
  Caller caller;
  EXPECT_THROW(dispatcher->Invoke(Olma::Provider::CallDispatcher::Target{}, Number(1),
                                  AsyncActivation::GetInstance(Olma::Core::ExecutionContext::GetInstance()),
                                  caller.Callback()),
               std::invalid_argument);
}

TEST(CallDispatcher, InputFailuresAreBoundedOnlyWhenAsked) {
  auto strings = Olma::Data::ListValue::GetInstance();
  for (int i = 0; i < 50; ++i) strings->push_back(OlmaTest::Str("x"));
  const DataValue::PtrConstType input = OlmaTest::Struct("numbers", {{"n", strings}});
  struct Case {
    std::size_t bound;
    std::size_t messages;  // including "olma.invoke.invalid.input"
    const char* last;
  };
  for (const Case& c : {Case{0, 51, "olma.data.type.mismatch"}, Case{5, 7, "olma.data.validation.truncated"},
                        Case{50, 51, "olma.data.type.mismatch"}}) {
    SCOPED_TRACE(c.bound);
    Caller caller;
    Olma::Provider::CallDispatcherOptions options;
    options.maxInputFailures = c.bound;
    CalcDispatcher(Echo, options)
        ->Invoke(MethodIdentifier::GetInstance("com.acme.calc.sum"), input,
                 AsyncActivation::GetInstance(Olma::Core::ExecutionContext::GetInstance()),
                 caller.Callback());
    ASSERT_EQ(caller.results.size(), 1u);
    const std::vector<std::string> ids = OlmaTest::Describe(caller.results[0]);
    ASSERT_EQ(ids.size(), 1 + c.messages);
    EXPECT_EQ(ids[0], "com.zorvex.olma.std.errors.invalid_argument");
    EXPECT_EQ(ids[1], "olma.invoke.invalid.input");
    EXPECT_EQ(ids.back(), c.last);
  }
}

}  // namespace
