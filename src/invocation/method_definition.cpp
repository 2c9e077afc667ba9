#include "olma/invocation/method_definition.h"

#include <string>
#include <utility>

#include "olma/core/format.h"

namespace Olma {
namespace Core {
namespace {

std::string TextOf(const Data::DataDefinition::PtrConstType& definition) {
  return definition ? definition->ToString() : std::string("<unset>");
}

}  // namespace

MethodDefinition::PtrConstType MethodDefinition::GetInstance(MethodIdentifier::PtrConstType identifier,
                                                             Data::DataDefinition::PtrConstType input,
                                                             Data::DataDefinition::PtrConstType output,
                                                             ErrorList errors) {
  return std::make_shared<MethodDefinition>(PrivateTag(), std::move(identifier), std::move(input),
                                            std::move(output), std::move(errors));
}

std::string MethodDefinition::ToString() const {
  const std::string method = identifier_ ? identifier_->ToString() : std::string("<unset>");
  return Format("{1}\nInput: {2} \nOutput: {3} \n", method, TextOf(input_), TextOf(output_));
}

InterfaceDefinition::PtrConstType InterfaceDefinition::GetInstance(
    InterfaceIdentifier::PtrConstType identifier, MethodIdentifierSet methods) {
  return std::make_shared<InterfaceDefinition>(PrivateTag(), std::move(identifier), std::move(methods));
}

}  // namespace Core
}  // namespace Olma
