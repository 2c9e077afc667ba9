// DefinitionVisitor: double dispatch over the concrete definition classes.
//
// Every operation that walks a definition tree (validation, comparison, rendering,
// conversion) implements this interface; DataDefinition::AcceptVisitor calls exactly the
// one slot of the definition's own class. IsOneOfDefinition and UnionCaseDefinition have
// slots of their own even though their kinds are STRING and OPTIONAL. A slot never sees
// the children: a visitor that descends queues them itself, so deep trees need no deep
// call stack.
//
// Implementations decide their own thread safety; a visitor usually holds the state of
// one walk and is used by one thread.
#pragma once

#include <memory>

#include "olma/core/export.h"
#include "olma/data/data_type.h"

namespace Olma {
namespace Data {

template <DataType::EnumType Kind>
class ScalarDefinition;
using VoidDefinition = ScalarDefinition<DataType::VOID>;
using OpaqueDefinition = ScalarDefinition<DataType::OPAQUE>;
using IntegerDefinition = ScalarDefinition<DataType::INTEGER>;
using DoubleDefinition = ScalarDefinition<DataType::DOUBLE>;
using BooleanDefinition = ScalarDefinition<DataType::BOOLEAN>;
using BlobDefinition = ScalarDefinition<DataType::BLOB>;
using StringDefinition = ScalarDefinition<DataType::STRING>;
using SecretDefinition = ScalarDefinition<DataType::SECRET>;
class DynamicStructureDefinition;
class DynamicErrorDefinition;
class ErrorDefinition;
class OptionalDefinition;
class ListDefinition;
class StructDefinition;
class StructRefDefinition;
class IsOneOfDefinition;
class UnionCaseDefinition;

class OLMA_API DefinitionVisitor {
 public:
  virtual void VisitVoid(const std::shared_ptr<const VoidDefinition>& definition) = 0;
  virtual void VisitOpaque(const std::shared_ptr<const OpaqueDefinition>& definition) = 0;
  virtual void VisitDynamicStructure(const std::shared_ptr<const DynamicStructureDefinition>& definition) = 0;
  virtual void VisitDynamicError(const std::shared_ptr<const DynamicErrorDefinition>& definition) = 0;
  virtual void VisitInteger(const std::shared_ptr<const IntegerDefinition>& definition) = 0;
  virtual void VisitDouble(const std::shared_ptr<const DoubleDefinition>& definition) = 0;
  virtual void VisitBoolean(const std::shared_ptr<const BooleanDefinition>& definition) = 0;
  virtual void VisitBlob(const std::shared_ptr<const BlobDefinition>& definition) = 0;
  virtual void VisitString(const std::shared_ptr<const StringDefinition>& definition) = 0;
  virtual void VisitSecret(const std::shared_ptr<const SecretDefinition>& definition) = 0;
  virtual void VisitError(const std::shared_ptr<const ErrorDefinition>& definition) = 0;
  virtual void VisitOptional(const std::shared_ptr<const OptionalDefinition>& definition) = 0;
  virtual void VisitList(const std::shared_ptr<const ListDefinition>& definition) = 0;
  virtual void VisitStruct(const std::shared_ptr<const StructDefinition>& definition) = 0;
  virtual void VisitStructRef(const std::shared_ptr<const StructRefDefinition>& definition) = 0;
  virtual void VisitIsOneOf(const std::shared_ptr<const IsOneOfDefinition>& definition) = 0;
  virtual void VisitUnionCase(const std::shared_ptr<const UnionCaseDefinition>& definition) = 0;
  virtual ~DefinitionVisitor() = default;
};

}  // namespace Data
}  // namespace Olma
