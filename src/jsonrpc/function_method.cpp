#include "olma/jsonrpc/function_method.h"

#include <utility>

namespace Olma {
namespace JsonRpc {

FunctionMethod::PtrConstType FunctionMethod::GetInstance(std::string name,
                                                         Data::DataDefinition::PtrConstType input,
                                                         Data::DataDefinition::PtrConstType output,
                                                         Provider::ErrorDefinitionList errors,
                                                         Handler handler) {
  return std::make_shared<const FunctionMethod>(PrivateTag(), std::move(name), std::move(input),
                                                std::move(output), std::move(errors), std::move(handler));
}

FunctionMethod::FunctionMethod(PrivateTag, std::string name, Data::DataDefinition::PtrConstType input,
                               Data::DataDefinition::PtrConstType output,
                               Provider::ErrorDefinitionList errors, Handler handler)
    : name_(std::move(name)),
      input_(std::move(input)),
      output_(std::move(output)),
      errors_(std::move(errors)),
      handler_(std::move(handler)) {}

}  // namespace JsonRpc
}  // namespace Olma
