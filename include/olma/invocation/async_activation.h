// An activation: one call in flight.
//
// The transport creates an activation around the call's execution context, fills in
// what it knows (the request localizer, authorization data, an observer) and hands it to
// the provider, which passes it to the handler. The handler reads the caller's context
// through it and, when it calls other services on the caller's behalf, derives the
// outgoing call's activation from it:
//
//   auto outgoing = Olma::Core::AsyncActivation::CreateFrom(*activation);  // application context
//   outgoing->UseSecCtx(*activation);                                       // and credentials
//   service->Invoke(method, input, outgoing, callback);
//
// The plain derivations (CreateFrom, UseSecCtx) collapse every entry to its effective
// value, so the outgoing call no longer tells apart values that arrived in the override
// slot (the one the transport fills from request headers); the PreserveSigned variants
// copy value and override as they are.
//
// The localizer and the observer belong to layers built on top of this one; they are
// only declared here and held by shared pointer.
//
// Thread safety: an activation is not locked. It is shared by reference-counted pointers
// between the transport, the handler and callbacks; set its members and fill its context
// before the handler runs, and copy the context (ExecutionContext::GetInstance(other))
// before changing it while another thread reads it. Deriving activations from one parent
// in several threads at once is safe: the parent is only read.
#pragma once

#include <memory>
#include <utility>

#include "olma/core/export.h"
#include "olma/invocation/execution_context.h"
#include "olma/invocation/identifiers.h"

namespace Api {
class CallObserver;
}  // namespace Api

namespace Olma {
namespace L10n {
class RequestLocalizer;
}  // namespace L10n

namespace Data {
class DataValue;
}  // namespace Data

namespace Core {

class OLMA_API AsyncActivation final {
  struct PrivateTag {
    explicit PrivateTag() = default;
  };

 public:
  using PtrType = std::shared_ptr<AsyncActivation>;
  using PtrConstType = std::shared_ptr<const AsyncActivation>;
  using RequestLocalizerPtr = std::shared_ptr<const L10n::RequestLocalizer>;
  using CallObserverPtr = std::shared_ptr<Api::CallObserver>;
  using AuthDataPtr = std::shared_ptr<const Data::DataValue>;

  // A new activation around `executionContext` (an empty pointer gets a new empty
  // context), with no localizer, authorization data or observer.
  static PtrType GetInstance(ExecutionContext::PtrType executionContext);

  // A new activation for an outgoing call made on behalf of `parent`: a new context
  // whose application context holds each entry of the parent's as its effective value,
  // in the plain slot, without override. Security context, application data and the
  // other members start empty. The parent is not changed.
  static PtrType CreateFrom(const AsyncActivation& parent);
  // As CreateFrom, but the application-context entries are copied whole (value and
  // override as they are).
  static PtrType CreateFromPreserveSigned(const AsyncActivation& parent);

  // Copies the security context of `source` into this activation's context, each entry
  // collapsed to its effective value (nested entries included, as they are). Keys this
  // context already holds are left as they are.
  void UseSecCtx(const AsyncActivation& source);
  // As UseSecCtx, with the entries copied whole.
  void UseSecCtxPreserveSigned(const AsyncActivation& source);

  // A copy of this activation with all members; the execution context is shared, not
  // copied.
  PtrType Dup() const;

  // The call's execution context; never empty. The context is shared (with Dup copies),
  // and may be changed through the pointer even from a const activation.
  const ExecutionContext::PtrType& executionContext() const noexcept { return executionContext_; }

  // The localizer for texts sent back to this request's caller; empty until the
  // transport sets it.
  const RequestLocalizerPtr& requestLocalizer() const noexcept { return requestLocalizer_; }
  void requestLocalizer(RequestLocalizerPtr localizer) noexcept { requestLocalizer_ = std::move(localizer); }
  // A localizer used for error messages only, when they must be localised differently
  // from other texts (for example before the request's locale is known).
  void errorRequestLocalizer(RequestLocalizerPtr localizer) noexcept {
    errorRequestLocalizer_ = std::move(localizer);
  }
  // The localizer for error messages: the one set by errorRequestLocalizer, else the
  // request localizer; empty when neither is set (the caller then uses its default).
  const RequestLocalizerPtr& GetErrorRequestLocalizer() const noexcept {
    return errorRequestLocalizer_ ? errorRequestLocalizer_ : requestLocalizer_;
  }

  // What the transport learnt when it authorised the request (for example the claims of
  // a token), as an immutable data value; empty until set.
  const AuthDataPtr& authData() const noexcept { return authData_; }
  void authData(AuthDataPtr value) noexcept { authData_ = std::move(value); }

  // Attaches the observer of this call and the method it observes; either may be empty
  // (an unobserved call). A non-empty observer records the method and the peer facts this
  // activation's context holds at this moment: the TCP peer's address and port, the user
  // name and the operation id (see Api::CallObserver::Peer in olma/provider/call_observer.h,
  // where the observer type and this operation are defined).
  void callObserver(CallObserverPtr observer, MethodIdentifier::PtrConstType methodIdentifier);
  const CallObserverPtr& callObserver() const noexcept { return callObserver_; }
  // The method given with the observer.
  const MethodIdentifier::PtrConstType& observedMethod() const noexcept { return observedMethod_; }

  ~AsyncActivation();

  // Only the factories can name the tag.
  AsyncActivation(PrivateTag, ExecutionContext::PtrType executionContext) noexcept
      : executionContext_(std::move(executionContext)) {}
  AsyncActivation(PrivateTag, const AsyncActivation& other) : AsyncActivation(other) {}

  AsyncActivation& operator=(const AsyncActivation&) = delete;

 private:
  AsyncActivation(const AsyncActivation&) = default;

  ExecutionContext::PtrType executionContext_;
  RequestLocalizerPtr requestLocalizer_;
  RequestLocalizerPtr errorRequestLocalizer_;
  AuthDataPtr authData_;
  CallObserverPtr callObserver_;
  MethodIdentifier::PtrConstType observedMethod_;
};

}  // namespace Core
}  // namespace Olma
