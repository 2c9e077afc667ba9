// AsyncApiMethod: one operation of a service, as the provider sees it.
//
// The bindings of a service implement one AsyncApiMethod per operation. The object states
// the operation's simple name and declared types, and runs the handler. An interface
// (AsyncApiInterface) maps names to these objects; the dispatch code looks a method up,
// checks the input against input(), calls Invoke, and checks what the handler delivers
// against output() and errors() (see ApiMethodHelper) before the caller sees it.
//
//   class Echo final : public Olma::Provider::AsyncApiMethod {
//    public:
//     const std::string& name() const override { return name_; }
//     void Invoke(const Olma::Core::AsyncActivation::PtrType& activation,
//                 const Olma::Data::DataValue::PtrConstType& input,
//                 const Olma::Core::AsyncApiResultCb::PtrType& resultCb) const override {
//       (*resultCb)(Olma::Core::MethodResult::GetInstance(input));
//     }
//     ...   // input(), output(), errors()
//   };
//
// A method is immutable once built and is shared as a pointer to const by the interface,
// the container and every call in flight: all its operations must be safe to call from
// any number of threads at once.
#pragma once

#include <list>
#include <memory>
#include <string>

#include "olma/core/export.h"
#include "olma/data/definition.h"
#include "olma/data/value.h"
#include "olma/invocation/async_activation.h"
#include "olma/invocation/method_definition.h"
#include "olma/invocation/result_callback.h"

namespace Olma {
namespace Provider {

// The declared errors of a method, each an error definition, in declaration order.
using ErrorDefinitionList = Core::MethodDefinition::ErrorList;

class OLMA_API AsyncApiMethod {
 public:
  using PtrType = std::shared_ptr<AsyncApiMethod>;
  using PtrConstType = std::shared_ptr<const AsyncApiMethod>;

  AsyncApiMethod() = default;
  AsyncApiMethod(const AsyncApiMethod&) = delete;
  AsyncApiMethod& operator=(const AsyncApiMethod&) = delete;

  // The method's simple name, without the interface ("list", not "com.acme.tasks.list").
  // The interface keys its method map by it; it must not change for the object's life.
  virtual const std::string& name() const = 0;

  // Runs the handler for one call. The caller has already checked `input` against
  // input(); `activation` carries the call's execution context. The method delivers
  // exactly one final result through `resultCb`, now or later and from any thread:
  // Core::MethodResult::GetInstance(output) on success or GetErrorInstance(error) on
  // failure; it may report progress (calls with an empty result) before that. What it
  // delivers is not trusted: the dispatcher checks it against output() and errors().
  // Must not throw; a failure is an error result.
  virtual void Invoke(const Core::AsyncActivation::PtrType& activation,
                      const Data::DataValue::PtrConstType& input,
                      const Core::AsyncApiResultCb::PtrType& resultCb) const = 0;

  // The definition of the input structure, used with strict field matching: an input
  // carrying a field the definition does not name is refused.
  virtual Data::DataDefinition::PtrConstType input() const = 0;

  // The definition of the result, used with loose field matching: a result may carry
  // more fields than declared (a newer server may add some).
  virtual Data::DataDefinition::PtrConstType output() const = 0;

  // Asks the method to finish the call running under `activation` early, for instance
  // because the client went away. The method still delivers one final result for that
  // call (usually an error); a request for a call that already finished is ignored. The
  // default ignores every request, which is right for methods that finish quickly.
  virtual void Cancel(const Core::AsyncActivation::PtrType& activation) const;

  // The errors the method declares. Every method may also raise the four implicit
  // standard errors (see ApiMethodHelper::AppendImplicitOperationErrors) without
  // declaring them.
  virtual const ErrorDefinitionList& errors() const = 0;

  virtual ~AsyncApiMethod();
};

}  // namespace Provider
}  // namespace Olma
