// AsyncApiProvider: what a transport calls to have one parsed request served.
//
// A provider takes a method identifier, the call's input, its activation and the caller's
// result callback, and delivers the call's outcome through that callback: progress reports
// (an empty result) any number of times, then one final result. The library's own provider
// is Olma::Provider::CallDispatcher (routes through an interface container and checks every
// input, output and error); Olma::Observer::Detail::CallRegistrarBase wraps any provider to
// observe each call's outcome.
//
//   provider->Invoke(Olma::Core::MethodIdentifier::GetInstance("com.acme.tasks.create"), input,
//                    activation, std::make_shared<Olma::Core::AsyncApiResultCb>(reply));
//
// Thread safety: Invoke is const and implementations keep no per-call state in the provider
// object, so any number of threads may invoke one provider at once.
#pragma once

#include <memory>
#include <string>

#include "olma/core/export.h"
#include "olma/data/value.h"
#include "olma/invocation/async_activation.h"
#include "olma/invocation/identifiers.h"
#include "olma/invocation/result_callback.h"

namespace Olma {
namespace Core {

class OLMA_API AsyncApiProvider {
 public:
  using PtrType = std::shared_ptr<AsyncApiProvider>;
  using PtrConstType = std::shared_ptr<const AsyncApiProvider>;

  AsyncApiProvider() = default;
  AsyncApiProvider(const AsyncApiProvider&) = delete;
  AsyncApiProvider& operator=(const AsyncApiProvider&) = delete;

  // A short diagnostic name of the provider.
  virtual std::string ToString() const = 0;

  // Serves one call: delivers exactly one final result through `resultCallback` (now or
  // later, from any thread), possibly preceded by progress reports. Failures are error
  // results, not exceptions; an empty `methodIdentifier`, `activation` or `resultCallback`
  // is a programming error.
  virtual void Invoke(const MethodIdentifier::PtrConstType& methodIdentifier,
                      const Data::DataValue::PtrConstType& input, const AsyncActivation::PtrType& activation,
                      const AsyncApiResultCb::PtrType& resultCallback) const = 0;

  virtual ~AsyncApiProvider();
};

}  // namespace Core
}  // namespace Olma
