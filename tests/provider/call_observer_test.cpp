#include "olma/provider/call_observer.h"

#include <memory>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "olma/data/values.h"
#include "olma/invocation/activation_helpers.h"
#include "provider/fake_method.h"

namespace {

using Olma::Core::AsyncActivation;
using Olma::Core::AsyncApiResultCb;
using Olma::Core::MethodIdentifier;
using Olma::Core::MethodResult;
using Olma::Core::Progress;

// A provider that answers every call with the progress reports and final result it was given.
class ScriptedProvider final : public Olma::Core::AsyncApiProvider {
 public:
  std::vector<Progress> progress;
  MethodResult::PtrConstType result;

  std::string ToString() const override { return "ScriptedProvider"; }
  void Invoke(const MethodIdentifier::PtrConstType&, const Olma::Data::DataValue::PtrConstType&,
              const AsyncActivation::PtrType&,
              const AsyncApiResultCb::PtrType& resultCallback) const override {
    for (const Progress& p : progress) (*resultCallback)(nullptr, p);
    (*resultCallback)(result);
  }
};

class RecordingObserver final : public Api::CallObserver {
 public:
  std::vector<Outcome> outcomes;
  void OnResult(Outcome outcome) override { outcomes.push_back(outcome); }
};

class Registrar final : public Olma::Observer::Detail::CallRegistrarBase {
 public:
  Registrar(std::shared_ptr<const Olma::Core::AsyncApiProvider> provider,
            std::shared_ptr<RecordingObserver> observer)
      : CallRegistrarBase(std::move(provider)), observer_(std::move(observer)) {}

 private:
  Api::CallObserver::PtrType CreateObserver(const Olma::Data::DataValue::PtrConstType&,
                                            const AsyncActivation::PtrType&,
                                            const AsyncApiResultCb::PtrType&) const override {
    return observer_;
  }
  std::shared_ptr<RecordingObserver> observer_;
};

MethodResult::PtrConstType Error(const std::string& name) {
  return MethodResult::GetErrorInstance(Olma::Data::ErrorValue::Create(name, {}));
}

TEST(CallRegistrar, TellsTheObserverTheOutcomeThenDeliversTheResultUnchanged) {
  struct Case {
    MethodResult::PtrConstType result;
    Api::CallObserver::Outcome outcome;
  };
  const Case cases[] = {
      {MethodResult::GetInstance(OlmaTest::Int(1)), Api::CallObserver::Success},
      {Error("com.zorvex.olma.std.errors.unauthorized"), Api::CallObserver::Unauthorized},
      {Error("com.zorvex.olma.std.errors.unauthenticated"), Api::CallObserver::Unauthenticated},
      {Error("com.zorvex.olma.std.errors.internal_server_error"), Api::CallObserver::Error},
      {Error("com.zorvex.olma.std.errors.Unauthorized"), Api::CallObserver::Error},
      {MethodResult::GetStreamTerminalInstance(), Api::CallObserver::Success},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.result->ToString());
    auto provider = std::make_shared<ScriptedProvider>();
    provider->progress = {{0, 2, 1}};
    provider->result = c.result;
    auto observer = std::make_shared<RecordingObserver>();
    std::vector<std::string> seen;
    Registrar(provider, observer)
        .Invoke(
            MethodIdentifier::GetInstance("com.acme.run"), nullptr, AsyncActivation::GetInstance(nullptr),
            std::make_shared<AsyncApiResultCb>([&](const MethodResult::PtrConstType& result, const Progress&,
                                                   const AsyncApiResultCb::Continuation&) {
              seen.push_back(result ? "result" : "progress");
              if (result) {
                EXPECT_EQ(result, c.result);
                EXPECT_THAT(observer->outcomes, ::testing::ElementsAre(c.outcome));
              } else {
                EXPECT_TRUE(observer->outcomes.empty());
              }
            }));
    EXPECT_THAT(seen, ::testing::ElementsAre("progress", "result"));
  }
}

TEST(CallRegistrar, AttachesTheObserverWithThePeerFactsOfTheContext) {
  auto context = Olma::Core::ExecutionContext::GetInstance();
  Olma::Core::ActivationHelpers::SetPeerTcpBindingInfo(*context, {"192.0.2.7", 443});
  context->applicationContext()["username"] = "ann";
  context->applicationContext()["opId"] = "op-17";
  const auto activation = AsyncActivation::GetInstance(context);
  auto provider = std::make_shared<ScriptedProvider>();
  provider->result = MethodResult::GetInstance(OlmaTest::Int(1));
  auto observer = std::make_shared<RecordingObserver>();
  const Registrar registrar(provider, observer);
  EXPECT_EQ(registrar.ToString(), "CallRegistrarBase");
  const auto method = MethodIdentifier::GetInstance("com.acme.tasks.run");
  registrar.Invoke(method, nullptr, activation, std::make_shared<AsyncApiResultCb>([](auto&&...) {}));

  EXPECT_EQ(activation->callObserver(), observer);
  EXPECT_EQ(activation->observedMethod(), method);
  EXPECT_EQ(observer->method(), method);
  EXPECT_EQ(observer->peer().clientAddress, "192.0.2.7");
  EXPECT_EQ(observer->peer().clientPort, 443u);
  EXPECT_EQ(observer->peer().userName, "ann");
  EXPECT_EQ(observer->peer().operationId, "op-17");
}

TEST(CallRegistrar, CallWithoutObserverRunsUnobserved) {
  auto provider = std::make_shared<ScriptedProvider>();
  provider->result = Error("com.zorvex.olma.std.errors.unauthorized");
  const auto activation = AsyncActivation::GetInstance(nullptr);
  int delivered = 0;
  Registrar(provider, nullptr)
      .Invoke(MethodIdentifier::GetInstance("com.acme.run"), nullptr, activation,
              std::make_shared<AsyncApiResultCb>([&delivered](auto&&...) { ++delivered; }));
  EXPECT_EQ(delivered, 1);
  EXPECT_EQ(activation->callObserver(), nullptr);
}

}  // namespace
