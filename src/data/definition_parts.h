// The parts of a definition that the walks over definitions need, whatever its class: the
// element, the name, the fields, and whether it is a restricted kind. One visit replaces a
// type() switch that could not tell an enumeration from a string or a union case from an
// optional.
#pragma once

#include <memory>
#include <optional>
#include <string>

#include "olma/data/definitions.h"

namespace Olma {
namespace Data {
namespace Detail {

class DefinitionParts final : public DefinitionVisitor {
 public:
  explicit DefinitionParts(const DataDefinition& definition) { definition.AcceptVisitor(*this); }

  // Set for OPTIONAL, LIST and union cases.
  const DataDefinition::PtrConstType* element = nullptr;
  // Set for structures, errors, references (the target's name), and unset otherwise.
  const std::optional<std::string>* name = nullptr;
  // Set for structures, errors, dynamic structures and dynamic errors (may hold no map).
  const std::optional<DataDefinition::FieldMap>* fields = nullptr;
  const IsOneOfDefinition* isOneOf = nullptr;
  const StructRefDefinition* reference = nullptr;

  void VisitVoid(const std::shared_ptr<const VoidDefinition>&) override {}
  void VisitOpaque(const std::shared_ptr<const OpaqueDefinition>&) override {}
  void VisitDynamicStructure(const std::shared_ptr<const DynamicStructureDefinition>& d) override {
    fields = &d->fields();
  }
  void VisitDynamicError(const std::shared_ptr<const DynamicErrorDefinition>& d) override {
    fields = &d->fields();
  }
  void VisitInteger(const std::shared_ptr<const IntegerDefinition>&) override {}
  void VisitDouble(const std::shared_ptr<const DoubleDefinition>&) override {}
  void VisitBoolean(const std::shared_ptr<const BooleanDefinition>&) override {}
  void VisitBlob(const std::shared_ptr<const BlobDefinition>&) override {}
  void VisitString(const std::shared_ptr<const StringDefinition>&) override {}
  void VisitSecret(const std::shared_ptr<const SecretDefinition>&) override {}
  void VisitError(const std::shared_ptr<const ErrorDefinition>& d) override {
    name = &d->name();
    fields = &d->fields();
  }
  void VisitOptional(const std::shared_ptr<const OptionalDefinition>& d) override { element = &d->element(); }
  void VisitList(const std::shared_ptr<const ListDefinition>& d) override { element = &d->element(); }
  void VisitStruct(const std::shared_ptr<const StructDefinition>& d) override {
    name = &d->name();
    fields = &d->fields();
  }
  void VisitStructRef(const std::shared_ptr<const StructRefDefinition>& d) override {
    name = &d->name();
    reference = d.get();
  }
  void VisitIsOneOf(const std::shared_ptr<const IsOneOfDefinition>& d) override { isOneOf = d.get(); }
  void VisitUnionCase(const std::shared_ptr<const UnionCaseDefinition>& d) override {
    element = &d->element();
  }

  // The listed fields, or none.
  const DataDefinition::FieldMap* fieldMap() const {
    return fields != nullptr && *fields ? &**fields : nullptr;
  }
};

// The kind's name as the wire and the canonical text spell it ("LONG", "BINARY", ...).
inline const char* KindName(DataType type) {
  const int number = static_cast<int>(type.value());
  return number >= 0 && number <= DataType::ANY_ERROR ? DataType::Strings[number] : "_UNKNOWN";
}

}  // namespace Detail
}  // namespace Data
}  // namespace Olma
