#include "olma/provider/call_observer.h"

#include <stdexcept>
#include <string>
#include <utility>

#include "olma/data/compound_values.h"
#include "olma/invocation/activation_helpers.h"

namespace Api {

CallObserver::~CallObserver() = default;

std::string_view to_string(CallObserver::Outcome outcome) noexcept {
  switch (outcome) {
    case CallObserver::Success:
      return "Success";
    case CallObserver::Error:
      return "Error";
    case CallObserver::Unauthenticated:
      return "Unauthenticated";
    case CallObserver::Unauthorized:
      return "Unauthorized";
  }
  return {};
}

std::ostream& operator<<(std::ostream& out, CallObserver::Outcome outcome) {
  const std::string_view name = to_string(outcome);
  if (name.empty()) return out << static_cast<int>(outcome);
  return out << name;
}

}  // namespace Api

namespace Olma {

// Defined beside the observer type rather than with the rest of the activation: the activation
// sits in a lower layer and knows the observer only by name.
void Core::AsyncActivation::callObserver(CallObserverPtr observer,
                                         MethodIdentifier::PtrConstType methodIdentifier) {
  if (observer) {
    Api::CallObserver::Peer& peer = observer->peer_;
    if (auto binding = ActivationHelpers::GetPeerTcpBindingInfo(*executionContext_)) {
      peer.clientAddress = std::move(binding->first);
      peer.clientPort = binding->second;
    }
    peer.userName = ActivationHelpers::ExtractUsername(this);
    peer.operationId = ActivationHelpers::GetActivationOpId(this);
    observer->method_ = methodIdentifier;
  }
  callObserver_ = std::move(observer);
  observedMethod_ = std::move(methodIdentifier);
}

namespace Observer {
namespace Detail {
namespace {

constexpr std::string_view kUnauthenticated = "com.zorvex.olma.std.errors.unauthenticated";
constexpr std::string_view kUnauthorized = "com.zorvex.olma.std.errors.unauthorized";

}  // namespace

CallRegistrarBase::CallRegistrarBase(Core::AsyncApiProvider::PtrConstType provider)
    : provider_(std::move(provider)) {
  if (!provider_) throw std::invalid_argument("CallRegistrarBase: empty provider");
}

CallRegistrarBase::~CallRegistrarBase() = default;

std::string CallRegistrarBase::ToString() const {
  return "CallRegistrarBase";
}

Api::CallObserver::Outcome CallRegistrarBase::Classify(
    const Core::MethodResult::PtrConstType& result) noexcept {
  if (!result || !result->error()) return Api::CallObserver::Success;
  const std::string& name = result->error()->name();
  if (name == kUnauthenticated) return Api::CallObserver::Unauthenticated;
  if (name == kUnauthorized) return Api::CallObserver::Unauthorized;
  return Api::CallObserver::Error;
}

void CallRegistrarBase::Invoke(const Core::MethodIdentifier::PtrConstType& methodIdentifier,
                               const Data::DataValue::PtrConstType& input,
                               const Core::AsyncActivation::PtrType& activation,
                               const Core::AsyncApiResultCb::PtrType& resultCallback) const {
  if (!activation || !resultCallback) {
    throw std::invalid_argument("CallRegistrarBase::Invoke: empty activation or callback");
  }
  Api::CallObserver::PtrType observer = CreateObserver(input, activation, resultCallback);
  activation->callObserver(observer, methodIdentifier);
  auto observed = std::make_shared<Core::AsyncApiResultCb>(
      [observer = std::move(observer), resultCallback](const Core::MethodResult::PtrConstType& result,
                                                       const Core::Progress& progress,
                                                       const Core::AsyncApiResultCb::Continuation& next) {
        if (!result && !progress.empty()) return (*resultCallback)(result, progress, next);
        if (observer) observer->OnResult(Classify(result));
        (*resultCallback)(result, progress, next);
      });
  provider_->Invoke(methodIdentifier, input, activation, observed);
}

}  // namespace Detail
}  // namespace Observer
}  // namespace Olma
