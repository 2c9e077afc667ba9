// Observing the calls a provider serves: how each call ended, and who made it.
//
// The embedding application implements Api::CallObserver (per-call statistics, audit
// records, ...) and a registrar whose factory makes one observer per call; the registrar
// wraps the provider that does the work:
//
//   class Audit final : public Api::CallObserver {
//     void OnResult(Outcome outcome) override {
//       Record(method()->ToString(), peer().userName, outcome);
//     }
//   };
//   class AuditingRegistrar final : public Olma::Observer::Detail::CallRegistrarBase {
//     using CallRegistrarBase::CallRegistrarBase;
//     Api::CallObserver::PtrType CreateObserver(const Olma::Data::DataValue::PtrConstType&,
//                                               const Olma::Core::AsyncActivation::PtrType&,
//                                               const Olma::Core::AsyncApiResultCb::PtrType&) const override
//                                               {
//       return std::make_shared<Audit>();
//     }
//   };
//   auto provider = std::make_shared<AuditingRegistrar>(dispatcher);
//
// Before the call runs, the registrar attaches the observer to the activation with
// AsyncActivation::callObserver(observer, methodIdentifier), which records the method and
// the peer facts of the activation's context in the observer. When the call's final result
// is delivered, the observer hears its outcome, on the thread that delivers it, and then the
// result goes on to the caller. Progress reports pass by the observer.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <ostream>
#include <string>
#include <string_view>

#include "olma/core/export.h"
#include "olma/data/value.h"
#include "olma/invocation/async_activation.h"
#include "olma/invocation/identifiers.h"
#include "olma/invocation/method_result.h"
#include "olma/invocation/result_callback.h"
#include "olma/provider/async_api_provider.h"

namespace Api {

class OLMA_API CallObserver {
 public:
  using PtrType = std::shared_ptr<CallObserver>;

  // How a call ended. A final result with an output, and the terminal result of a stream
  // (neither output nor error: the stream ended normally), are Success; an error is
  // classified by the error's name, compared exactly.
  enum Outcome : int {
    Success = 0,          // no error
    Error = 1,            // any error not below
    Unauthenticated = 2,  // "com.zorvex.olma.std.errors.unauthenticated"
    Unauthorized = 3,     // "com.zorvex.olma.std.errors.unauthorized"
  };

  // What the call's execution context says about the caller, as it was when the observer
  // was attached. Absent facts are empty.
  struct Peer {
    // The TCP peer ("tcp_peer_binding_info" in the application data, set by the transport
    // from the connection or from "x-forwarded-for").
    std::string clientAddress;
    std::optional<std::uint32_t> clientPort;
    // The caller's user name (ActivationHelpers::ExtractUsername).
    std::optional<std::string> userName;
    // The effective "opId" of the application context.
    std::string operationId;
  };

  CallObserver() = default;
  CallObserver(const CallObserver&) = delete;
  CallObserver& operator=(const CallObserver&) = delete;

  // Told once, when the observed call's final result is delivered, on the thread that
  // delivers it (not necessarily the one that started the call). Must not throw.
  virtual void OnResult(Outcome outcome) = 0;

  // The method the observer was attached for; empty until attached.
  const Olma::Core::MethodIdentifier::PtrConstType& method() const noexcept { return method_; }
  const Peer& peer() const noexcept { return peer_; }

  virtual ~CallObserver();

 private:
  friend class Olma::Core::AsyncActivation;

  Olma::Core::MethodIdentifier::PtrConstType method_;
  Peer peer_;
};

// "Success", "Error", "Unauthenticated", "Unauthorized"; another value as its number.
OLMA_API std::string_view to_string(CallObserver::Outcome outcome) noexcept;
OLMA_API std::ostream& operator<<(std::ostream& out, CallObserver::Outcome outcome);

}  // namespace Api

namespace Olma {
namespace Observer {
namespace Detail {

// Wraps a provider so that every call it serves is observed. Holds no mutable state: any
// number of calls may pass through one registrar at once.
class OLMA_API CallRegistrarBase : public Core::AsyncApiProvider {
 public:
  // Wraps `provider`, which the registrar keeps alive. An empty `provider` is a programming
  // error: std::invalid_argument.
  explicit CallRegistrarBase(Core::AsyncApiProvider::PtrConstType provider);

  // "CallRegistrarBase".
  std::string ToString() const override;

  // Makes the call's observer (CreateObserver), attaches it to `activation` with
  // callObserver(observer, methodIdentifier), and invokes the wrapped provider with a callback
  // that tells the observer the outcome of the final result before passing that result on.
  // Progress reports are passed on without telling the observer. With an empty observer the
  // call runs unobserved.
  void Invoke(const Core::MethodIdentifier::PtrConstType& methodIdentifier,
              const Data::DataValue::PtrConstType& input, const Core::AsyncActivation::PtrType& activation,
              const Core::AsyncApiResultCb::PtrType& resultCallback) const override;

  ~CallRegistrarBase() override;

  // The outcome code of a final result (see CallObserver::Outcome); an empty result counts as
  // Success.
  static Api::CallObserver::Outcome Classify(const Core::MethodResult::PtrConstType& result) noexcept;

 protected:
  // The observer of one call, or empty to leave the call unobserved. Called on the invoking
  // thread, once per call, possibly by several threads at once.
  virtual Api::CallObserver::PtrType CreateObserver(
      const Data::DataValue::PtrConstType& input, const Core::AsyncActivation::PtrType& activation,
      const Core::AsyncApiResultCb::PtrType& resultCallback) const = 0;

 private:
  Core::AsyncApiProvider::PtrConstType provider_;
};

}  // namespace Detail
}  // namespace Observer
}  // namespace Olma
