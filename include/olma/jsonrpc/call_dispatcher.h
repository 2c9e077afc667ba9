// CallDispatcher: the interfaces a server hosts, and the road of one call through them.
//
// The interfaces live in the library's interface container (AsyncApiInterfaceContainer), which
// routes by interface identifier and publishes the API checksum.
//
// The transport resolves the method named in a request (it needs the method's input
// definition to read the parameters), then dispatches the call:
//
//   auto dispatcher = std::make_shared<Olma::JsonRpc::CallDispatcher>();
//   dispatcher->AddInterface(tasks, messages);
//   Olma::JsonRpc::CallDispatcher::Target target;
//   if (!dispatcher->Find("com.example.tasks.create", target, messages)) { ... operation_not_found ... }
//   dispatcher->Dispatch(target, input, activation, resultCb);
//
// Unlike Olma::Provider::CallDispatcher, which the transport cannot use before it has read the
// parameters (it needs the method's input definition for that), this one resolves first and
// dispatches after. Dispatch checks the input against the method's input definition (strict fields,
// permissive kinds) with a failure limit, so that a small hostile input cannot make
// millions of messages; a bad input never reaches the handler and is answered with
// "com.zorvex.olma.std.errors.unexpected_input" (wrong set of fields) or
// "com.zorvex.olma.std.errors.invalid_argument", first message "olma.invoke.invalid.input".
// The handler runs through ApiMethodHelper::InvokeHandler (an exception becomes an internal
// server error) and its final result is checked with ApiMethodHelper::ValidateResult before
// it reaches `resultCb`; progress reports pass through unchanged.
//
// Thread safety: interfaces may be added while calls run (the container copies on write and a
// call holds the interface it found); any number of threads may dispatch at once.
#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <string_view>

#include "olma/core/export.h"
#include "olma/core/message.h"
#include "olma/data/value.h"
#include "olma/invocation/async_activation.h"
#include "olma/invocation/identifiers.h"
#include "olma/invocation/result_callback.h"
#include "olma/provider/async_api_interface.h"
#include "olma/provider/async_api_method.h"
#include "olma/provider/interface_container.h"

namespace Olma {
namespace JsonRpc {

class OLMA_API CallDispatcher {
 public:
  // A resolved method: its interface, the method and its identifier.
  struct Target {
    Provider::AsyncApiInterface::PtrConstType api;
    Provider::AsyncApiMethod::PtrConstType method;
    Core::MethodIdentifier::PtrConstType identifier;
  };

  // `maxValidationFailures` bounds the messages of one input check (0: no bound).
  explicit CallDispatcher(std::size_t maxValidationFailures = 100);

  // Adds an interface to the container. An interface of the same name is refused: false,
  // with "olma.provider.interface.already.registered" appended.
  bool AddInterface(Provider::AsyncApiInterface::PtrConstType api, MessageList& messages);

  // Resolves a full method name ("com.example.tasks.create": interface name, ".", method
  // name). An unknown interface appends "olma.provider.interface.unknown", an unknown method
  // "olma.async.api.interface.missing.method"; both return false.
  bool Find(std::string_view fullName, Target& target, MessageList& messages) const;

  // Runs the call (see the top of this file); exactly one final result reaches `resultCb`,
  // now or later, from the thread that completes the handler.
  void Dispatch(const Target& target, const Data::DataValue::PtrConstType& input,
                const Core::AsyncActivation::PtrType& activation,
                const Core::AsyncApiResultCb::PtrType& resultCb) const;

  // The container of the interfaces: ForEach lists them, checksum() is the API checksum.
  const Provider::AsyncApiInterfaceContainer& container() const noexcept { return *container_; }

  std::size_t maxValidationFailures() const noexcept { return maxValidationFailures_; }

 private:
  std::size_t maxValidationFailures_;
  Provider::AsyncApiInterfaceContainer::PtrType container_;
};

}  // namespace JsonRpc
}  // namespace Olma
