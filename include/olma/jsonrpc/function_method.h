// FunctionMethod: an AsyncApiMethod whose handler is a function, for services written by
// hand rather than generated.
//
//   auto count = Olma::JsonRpc::FunctionMethod::GetInstance(
//       "count", inputDefinition, Olma::Data::IntegerDefinition::GetInstance(), {},
//       [store](const auto& activation, const auto& input, const auto& resultCb) {
//         (*resultCb)(Olma::Core::MethodResult::GetInstance(Olma::Data::IntegerValue::GetInstance(store->size())));
//       });
//
// The handler has the contract of AsyncApiMethod::Invoke: one final result through the
// callback, now or later, from any thread. It is called from many threads at once and must
// be safe for that. The method is immutable once built.
#pragma once

#include <functional>
#include <memory>
#include <string>

#include "olma/core/export.h"
#include "olma/provider/async_api_method.h"

namespace Olma {
namespace JsonRpc {

class OLMA_API FunctionMethod final : public Provider::AsyncApiMethod {
  struct PrivateTag {
    explicit PrivateTag() = default;
  };

 public:
  using Handler = std::function<void(const Core::AsyncActivation::PtrType& activation,
                                     const Data::DataValue::PtrConstType& input,
                                     const Core::AsyncApiResultCb::PtrType& resultCb)>;

  static PtrConstType GetInstance(std::string name, Data::DataDefinition::PtrConstType input,
                                  Data::DataDefinition::PtrConstType output,
                                  Provider::ErrorDefinitionList errors, Handler handler);

  FunctionMethod(PrivateTag, std::string name, Data::DataDefinition::PtrConstType input,
                 Data::DataDefinition::PtrConstType output, Provider::ErrorDefinitionList errors,
                 Handler handler);

  const std::string& name() const override { return name_; }
  void Invoke(const Core::AsyncActivation::PtrType& activation, const Data::DataValue::PtrConstType& input,
              const Core::AsyncApiResultCb::PtrType& resultCb) const override {
    handler_(activation, input, resultCb);
  }
  Data::DataDefinition::PtrConstType input() const override { return input_; }
  Data::DataDefinition::PtrConstType output() const override { return output_; }
  const Provider::ErrorDefinitionList& errors() const override { return errors_; }

 private:
  std::string name_;
  Data::DataDefinition::PtrConstType input_;
  Data::DataDefinition::PtrConstType output_;
  Provider::ErrorDefinitionList errors_;
  Handler handler_;
};

}  // namespace JsonRpc
}  // namespace Olma
