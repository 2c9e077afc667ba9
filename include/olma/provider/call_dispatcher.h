// CallDispatcher: the library's provider, the road of every call from a transport to a
// handler and back.
//
// A transport that has parsed a request hands the dispatcher the method identifier, the input
// and the activation; the dispatcher
//
//   finds the interface in its container  ->  finds the method  ->  checks the input  ->
//   runs the handler  ->  checks its output or error  ->  delivers one MethodResult
//
//   auto dispatcher = Olma::Provider::CallDispatcher::GetInstance(container);
//   dispatcher->Invoke(Olma::Core::MethodIdentifier::GetInstance("com.acme.tasks.create"), input,
//                      activation, std::make_shared<Olma::Core::AsyncApiResultCb>(reply));
//
// A transport that must know the method before it can read the input (a JSON codec is guided
// by the input definition) takes the two steps itself: Resolve, then Invoke of the target.
// Invoke of an identifier is exactly these two steps.
//
//   Olma::Provider::CallDispatcher::Target target;
//   if (!dispatcher->Resolve("com.acme.tasks.create", target, messages)) ... not found ...
//   ... decode the input with target.method->input() ...
//   dispatcher->Invoke(target, input, activation, reply);
//
// What the caller receives:
//  - an unknown interface: "com.zorvex.olma.std.errors.operation_not_found" carrying the
//    container's "olma.provider.interface.unknown"; an unknown method: the same error carrying
//    the interface's "olma.async.api.interface.missing.method";
//  - a bad input: the error result of ApiMethodHelper::ValidateInput, its messages bounded by
//    the dispatcher's options; the handler is not run;
//  - the handler's final result as ApiMethodHelper::ValidateResult checks it (the terminal
//    result of a stream passes as it is);
//  - a handler that throws before it delivered: "com.zorvex.olma.std.errors.internal_server_error"
//    with "olma.invoke.unknown.error" ("Unknown error for method: {1} -> {2}", the method and
//    the exception's what(), or "unknown exception");
//  - progress reports (empty results) pass through unchanged.
//
// Exactly one final result reaches the caller's callback, even when the handler throws after
// delivering, on another thread, or races an exception against its own answer: the first final
// result wins, and each later one is dropped and handed to the log function with the message
// "olma.provider.result.dropped" ("Dropped a final result for method: {1} -> {2}", the method
// and the dropped result's text). A final result that carries a continuation (a streamed item)
// gets a continuation that routes the next item through the same checks.
//
// Thread safety: the dispatcher holds only its container, options and log function; any number
// of threads may resolve and invoke at once, and handlers may answer on any thread.
#pragma once

#include <cstddef>
#include <functional>
#include <memory>
#include <string>
#include <string_view>

#include "olma/core/export.h"
#include "olma/core/log.h"
#include "olma/core/message.h"
#include "olma/provider/async_api_interface.h"
#include "olma/provider/async_api_method.h"
#include "olma/provider/async_api_provider.h"
#include "olma/provider/interface_container.h"

namespace Olma {
namespace Provider {

// How a CallDispatcher checks calls.
struct CallDispatcherOptions {
  // The most messages one input check reports (ApiMethodHelper::ValidateInput); 0: no bound.
  // A server facing untrusted clients sets one, so that a small hostile input (a long list of
  // wrong elements) cannot cost a message per element.
  std::size_t maxInputFailures = 0;
};

class OLMA_API CallDispatcher final : public Core::AsyncApiProvider {
  struct PrivateTag {
    explicit PrivateTag() = default;
  };

 public:
  using PtrConstType = std::shared_ptr<const CallDispatcher>;
  // Receives what the dispatcher drops. Called on the thread that delivered the dropped
  // result; must be safe to call from several threads at once.
  using LogFunction = std::function<void(Log::SeverityLevel level, const BaseMessage& message)>;

  // A resolved method: the interface that holds it, the method, and its identifier. A target
  // holds what it names alive, whatever is added to the container later.
  struct Target {
    AsyncApiInterface::PtrConstType api;
    AsyncApiMethod::PtrConstType method;
    Core::MethodIdentifier::PtrConstType identifier;
  };

  // A dispatcher over `container`. Without a log function, dropped results are written to
  // std::clog as "<level>: <id>: <text>". An empty container is a programming error:
  // std::invalid_argument.
  static PtrConstType GetInstance(AsyncApiInterfaceContainer::PtrConstType container, LogFunction log = {},
                                  CallDispatcherOptions options = {});

  // "CallDispatcher".
  std::string ToString() const override;

  // Finds the method `methodIdentifier` names. Found: sets `target` (its identifier is
  // `methodIdentifier`) and returns true. Not found: appends the container's
  // "olma.provider.interface.unknown" or the interface's
  // "olma.async.api.interface.missing.method" to `messages`, leaves `target` alone and returns
  // false. An empty identifier is a programming error: std::invalid_argument.
  bool Resolve(const Core::MethodIdentifier::PtrConstType& methodIdentifier, Target& target,
               MessageList& messages) const;
  // The same for a full method name as a request carries it: the interface name, ".", the
  // method name ("com.acme.tasks.create"; read as MethodIdentifier::GetInstance reads it).
  bool Resolve(std::string_view fullName, Target& target, MessageList& messages) const;

  // Serves one call as described at the top of this file. Empty `methodIdentifier`,
  // `activation` or `resultCallback` are programming errors: std::invalid_argument.
  void Invoke(const Core::MethodIdentifier::PtrConstType& methodIdentifier,
              const Data::DataValue::PtrConstType& input, const Core::AsyncActivation::PtrType& activation,
              const Core::AsyncApiResultCb::PtrType& resultCallback) const override;

  // Serves one call to a target that Resolve found, from the input check on. A target
  // without interface or method, an empty `activation` or `resultCallback` are programming
  // errors: std::invalid_argument.
  void Invoke(const Target& target, const Data::DataValue::PtrConstType& input,
              const Core::AsyncActivation::PtrType& activation,
              const Core::AsyncApiResultCb::PtrType& resultCallback) const;

  const AsyncApiInterfaceContainer::PtrConstType& container() const noexcept { return container_; }
  const CallDispatcherOptions& options() const noexcept { return options_; }

  // Only GetInstance can name the tag.
  CallDispatcher(PrivateTag, AsyncApiInterfaceContainer::PtrConstType container, LogFunction log,
                 CallDispatcherOptions options);
  ~CallDispatcher() override;

 private:
  AsyncApiInterfaceContainer::PtrConstType container_;
  // Shared with the calls in flight, which may outlive the dispatcher.
  std::shared_ptr<const LogFunction> log_;
  CallDispatcherOptions options_;
};

}  // namespace Provider
}  // namespace Olma
