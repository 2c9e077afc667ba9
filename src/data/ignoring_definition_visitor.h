// A definition visitor whose slots all do nothing: the base of visitors that care about a
// few classes only and override just those slots.
#pragma once

#include <memory>

#include "olma/data/definitions.h"

namespace Olma {
namespace Data {
namespace Detail {

class IgnoringDefinitionVisitor : public DefinitionVisitor {
 public:
  void VisitVoid(const std::shared_ptr<const VoidDefinition>&) override {}
  void VisitOpaque(const std::shared_ptr<const OpaqueDefinition>&) override {}
  void VisitDynamicStructure(const std::shared_ptr<const DynamicStructureDefinition>&) override {}
  void VisitDynamicError(const std::shared_ptr<const DynamicErrorDefinition>&) override {}
  void VisitInteger(const std::shared_ptr<const IntegerDefinition>&) override {}
  void VisitDouble(const std::shared_ptr<const DoubleDefinition>&) override {}
  void VisitBoolean(const std::shared_ptr<const BooleanDefinition>&) override {}
  void VisitBlob(const std::shared_ptr<const BlobDefinition>&) override {}
  void VisitString(const std::shared_ptr<const StringDefinition>&) override {}
  void VisitSecret(const std::shared_ptr<const SecretDefinition>&) override {}
  void VisitError(const std::shared_ptr<const ErrorDefinition>&) override {}
  void VisitOptional(const std::shared_ptr<const OptionalDefinition>&) override {}
  void VisitList(const std::shared_ptr<const ListDefinition>&) override {}
  void VisitStruct(const std::shared_ptr<const StructDefinition>&) override {}
  void VisitStructRef(const std::shared_ptr<const StructRefDefinition>&) override {}
  void VisitIsOneOf(const std::shared_ptr<const IsOneOfDefinition>&) override {}
  void VisitUnionCase(const std::shared_ptr<const UnionCaseDefinition>&) override {}
};

}  // namespace Detail
}  // namespace Data
}  // namespace Olma
