// The concrete definition classes: one per kind of type a value can be declared with.
//
// Scalars (void, opaque, integer, double, boolean, blob, string, secret) carry nothing but
// their kind. Optional and list definitions wrap an element definition; structure and
// error definitions a name and a field map ordered by name; a StructRefDefinition points
// weakly at a structure so that recursive types form no ownership cycle; dynamic
// structures and errors list the fields they are known to carry, if any. An
// IsOneOfDefinition is a string restricted by a predicate, a UnionCaseDefinition an
// optional field whose presence depends on the value of a tag field.
//
//   using namespace Olma::Data;
//   auto node = StructDefinition::GetInstance("node", {});
//   node->SetField("next", OptionalDefinition::GetInstance(StructRefDefinition::GetInstance(node)));
//   DataDefinition::PtrConstType shared = node;   // from here on the tree is read-only
//   shared->ToString();   // "{sd{ node : { next : OPTIONAL<StructRefDefinition>, } }} "
//
// Every class is created only by its GetInstance factories (one allocation for object and
// reference count) and reports its kind through type(). The Set... operations are for the
// code that builds a tree, to close cycles and fill placeholders before the definition is
// shared; they are not synchronised, and a definition must not be changed once other code
// may read it.
//
// Only a StructRefDefinition may close a cycle: it points at its structure weakly, and
// rendering, validation and release never follow it blindly. A cycle of ownership (an
// optional whose element is the optional itself, a structure holding itself in a field)
// would make those walks endless and the tree immortal, so SetElement and SetField refuse
// it: they return false and leave the definition as it was. The check walks the new child
// only when the definition being changed is already held by some other owner.
//
// The owner of a tree must keep the targets of its references alive: a reference does
// not, and target() is empty once the structure is gone.
#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>

#include <boost/logic/tribool.hpp>

#include "olma/core/export.h"
#include "olma/core/message.h"
#include "olma/data/definition.h"
#include "olma/data/definition_visitor.h"

namespace Olma {
namespace Data {

namespace Detail {

class DefinitionReleaser;

// What every concrete class shares: it is owned by a shared pointer to its own class, and
// names that pointer PtrType / PtrConstType.
template <class Self>
class OLMA_API DefinitionBase : public DataDefinition, public std::enable_shared_from_this<Self> {
 public:
  using PtrType = std::shared_ptr<Self>;
  using PtrConstType = std::shared_ptr<const Self>;

  DataDefinition::PtrType GetPtr() override { return this->shared_from_this(); }
  DataDefinition::PtrConstType GetConstPtr() const override { return this->shared_from_this(); }

 protected:
  explicit DefinitionBase(DataType type) noexcept : DataDefinition(type) {}
};

}  // namespace Detail

// ---------------------------------------------------------------------------------------
// Scalars. Each renders as its kind: "VOID", "INTEGER", "DOUBLE", "BOOLEAN", "BLOB",
// "STRING", "SECRET"; an opaque definition renders "VOID" as well.

// A definition that is its kind and nothing else. The eight instantiations are
// VoidDefinition (the absence of a value), OpaqueDefinition (any value at all, not
// checked), IntegerDefinition (a signed 64-bit integer), DoubleDefinition (a 64-bit
// floating-point number), BooleanDefinition, BlobDefinition (a byte vector),
// StringDefinition (any byte string) and SecretDefinition (a SecretString); each is
// visited through its own slot.
template <DataType::EnumType Kind>
class OLMA_API ScalarDefinition final : public Detail::DefinitionBase<ScalarDefinition<Kind>> {
 public:
  explicit ScalarDefinition(DataDefinition::PrivConstructor) noexcept
      : Detail::DefinitionBase<ScalarDefinition<Kind>>(Kind) {}
  static std::shared_ptr<ScalarDefinition> GetInstance() {
    return std::make_shared<ScalarDefinition>(DataDefinition::PrivConstructor{});
  }
  void AcceptVisitor(DefinitionVisitor& visitor) const override;
};

extern template class OLMA_EXTERN_TEMPLATE_API ScalarDefinition<DataType::VOID>;
extern template class OLMA_EXTERN_TEMPLATE_API ScalarDefinition<DataType::OPAQUE>;
extern template class OLMA_EXTERN_TEMPLATE_API ScalarDefinition<DataType::INTEGER>;
extern template class OLMA_EXTERN_TEMPLATE_API ScalarDefinition<DataType::DOUBLE>;
extern template class OLMA_EXTERN_TEMPLATE_API ScalarDefinition<DataType::BOOLEAN>;
extern template class OLMA_EXTERN_TEMPLATE_API ScalarDefinition<DataType::BLOB>;
extern template class OLMA_EXTERN_TEMPLATE_API ScalarDefinition<DataType::STRING>;
extern template class OLMA_EXTERN_TEMPLATE_API ScalarDefinition<DataType::SECRET>;

// ---------------------------------------------------------------------------------------
// Wrappers of one element.

namespace Detail {

// What definitions wrapping one element share: the element, freed without recursion.
template <class Self, DataType::EnumType Kind>
class OLMA_API ElementDefinition : public DefinitionBase<Self> {
 public:
  const DataDefinition::PtrConstType& element() const noexcept { return element_; }
  // Builder access (see the top of this file). Returns false and changes nothing when
  // `element` is this definition or owns it somewhere below (see the top of this file).
  bool SetElement(DataDefinition::PtrConstType element);

 protected:
  explicit ElementDefinition(DataDefinition::PtrConstType element);
  ~ElementDefinition() override;

 private:
  friend class DefinitionReleaser;
  DataDefinition::PtrConstType element_;
};

}  // namespace Detail

// OPTIONAL: the element, or nothing. Renders "OPTIONAL<" element ">".
class OLMA_API OptionalDefinition final
    : public Detail::ElementDefinition<OptionalDefinition, DataType::OPTIONAL> {
 public:
  OptionalDefinition(PrivConstructor, DataDefinition::PtrConstType element);
  static PtrType GetInstance(DataDefinition::PtrConstType element);
  void AcceptVisitor(DefinitionVisitor& visitor) const override;
};

// LIST: any number of elements. Renders "LIST[" element "]".
class OLMA_API ListDefinition final : public Detail::ElementDefinition<ListDefinition, DataType::LIST> {
 public:
  ListDefinition(PrivConstructor, DataDefinition::PtrConstType element);
  static PtrType GetInstance(DataDefinition::PtrConstType element);
  void AcceptVisitor(DefinitionVisitor& visitor) const override;
};

extern template class OLMA_EXTERN_TEMPLATE_API
    Detail::ElementDefinition<OptionalDefinition, DataType::OPTIONAL>;
extern template class OLMA_EXTERN_TEMPLATE_API Detail::ElementDefinition<ListDefinition, DataType::LIST>;

// ---------------------------------------------------------------------------------------
// Compounds. Name and field map are each optional; an unset map behaves as an empty one.

namespace Detail {

// What definitions with fields share: an optional field map ordered by name, freed
// without recursion.
template <class Self, DataType::EnumType Kind>
class OLMA_API FieldsDefinition : public DefinitionBase<Self> {
 public:
  using FieldMap = DataDefinition::FieldMap;

  const std::optional<FieldMap>& fields() const noexcept { return fields_; }

  // Builder access (see the top of this file). Inserts or replaces, setting the map if it
  // was unset. Returns false and changes nothing when `definition` is this definition or
  // owns it somewhere below (see the top of this file).
  bool SetField(const std::string& name, DataDefinition::PtrConstType definition);

 protected:
  explicit FieldsDefinition(std::optional<FieldMap> fields);
  ~FieldsDefinition() override;

 private:
  friend class DefinitionReleaser;
  std::optional<FieldMap> fields_;
};

// Structure and error definitions add an optional name and field lookup.
template <class Self, DataType::EnumType Kind>
class OLMA_API NamedFieldsDefinition : public FieldsDefinition<Self, Kind> {
 public:
  using FieldMap = DataDefinition::FieldMap;

  const std::optional<std::string>& name() const noexcept { return name_; }

  bool HasField(const std::string& name) const;
  // The definition of field `name`. A missing field appends "olma.data.struct.missing.fields"
  // (arguments: the field name and this definition's rendering) and returns an empty pointer.
  DataDefinition::PtrConstType field(const std::string& name, MessageList& messages) const;

  // Builder access (see the top of this file).
  void SetName(std::string name) { name_ = std::move(name); }

 protected:
  NamedFieldsDefinition(std::optional<std::string> name, std::optional<FieldMap> fields)
      : FieldsDefinition<Self, Kind>(std::move(fields)), name_(std::move(name)) {}

 private:
  std::optional<std::string> name_;
};

}  // namespace Detail

// STRUCTURE. Renders "{sd{ " name (or "<noname>") " : { " then per field in name order
// name " : " definition (or "<unset>") ", ", then "} }} ".
class OLMA_API StructDefinition final
    : public Detail::NamedFieldsDefinition<StructDefinition, DataType::STRUCTURE> {
 public:
  StructDefinition(PrivConstructor, std::optional<std::string> name, std::optional<FieldMap> fields);
  // Name and field map both set.
  static PtrType GetInstance(std::string name, FieldMap fields);
  // Name and field map both unset.
  static PtrType GetInstance();
  void AcceptVisitor(DefinitionVisitor& visitor) const override;
};

// ERROR: a structure-like error type. Renders as a structure, opening with "{ed{ ".
class OLMA_API ErrorDefinition final
    : public Detail::NamedFieldsDefinition<ErrorDefinition, DataType::ERROR> {
 public:
  ErrorDefinition(PrivConstructor, std::optional<std::string> name, std::optional<FieldMap> fields);
  // Name set, field map unset.
  static PtrType GetInstance(std::string name);
  // Name and field map both set.
  static PtrType GetInstance(std::string name, FieldMap fields);
  // Name and field map both unset.
  static PtrType GetInstance();
  void AcceptVisitor(DefinitionVisitor& visitor) const override;
};

extern template class OLMA_EXTERN_TEMPLATE_API
    Detail::FieldsDefinition<StructDefinition, DataType::STRUCTURE>;
extern template class OLMA_EXTERN_TEMPLATE_API Detail::FieldsDefinition<ErrorDefinition, DataType::ERROR>;
extern template class OLMA_EXTERN_TEMPLATE_API
    Detail::NamedFieldsDefinition<StructDefinition, DataType::STRUCTURE>;
extern template class OLMA_EXTERN_TEMPLATE_API
    Detail::NamedFieldsDefinition<ErrorDefinition, DataType::ERROR>;

// STRUCTURE_REF: a non-owning reference to a structure, for recursive types. Renders
// "StructRefDefinition"; the target is never followed by rendering.
class OLMA_API StructRefDefinition final : public Detail::DefinitionBase<StructRefDefinition> {
 public:
  StructRefDefinition(PrivConstructor, std::weak_ptr<const StructDefinition> target,
                      std::optional<std::string> name);
  // Refers to `target` and takes its name (unset if the target's is).
  static PtrType GetInstance(const std::shared_ptr<const StructDefinition>& target);
  // Refers to a structure by name only; whoever consumes the tree resolves it.
  static PtrType GetInstance(std::string name);
  void AcceptVisitor(DefinitionVisitor& visitor) const override;

  const std::optional<std::string>& name() const noexcept { return name_; }
  // The target while someone owns it, otherwise an empty pointer.
  std::shared_ptr<const StructDefinition> target() const noexcept { return target_.lock(); }

  // Builder access (see the top of this file): links to `target` and takes its name.
  void SetTarget(const std::shared_ptr<const StructDefinition>& target);

 private:
  std::weak_ptr<const StructDefinition> target_;
  std::optional<std::string> name_;
};

// DYNAMIC_STRUCTURE: a structure whose fields are only partly known, if at all. Renders
// "DynamicStructureDefinition".
class OLMA_API DynamicStructureDefinition final
    : public Detail::FieldsDefinition<DynamicStructureDefinition, DataType::DYNAMIC_STRUCTURE> {
 public:
  DynamicStructureDefinition(PrivConstructor, std::optional<FieldMap> fields);
  // Field map unset.
  static PtrType GetInstance();
  // The fields such a structure is known to carry.
  static PtrType GetInstance(FieldMap fields);
  void AcceptVisitor(DefinitionVisitor& visitor) const override;
};

// ANY_ERROR: an error of any error type. Renders "DynamicErrorDefinition".
class OLMA_API DynamicErrorDefinition final
    : public Detail::FieldsDefinition<DynamicErrorDefinition, DataType::ANY_ERROR> {
 public:
  DynamicErrorDefinition(PrivConstructor, std::optional<FieldMap> fields);
  // Field map unset.
  static PtrType GetInstance();
  // The fields such an error is known to carry.
  static PtrType GetInstance(FieldMap fields);
  void AcceptVisitor(DefinitionVisitor& visitor) const override;
};

extern template class OLMA_EXTERN_TEMPLATE_API
    Detail::FieldsDefinition<DynamicStructureDefinition, DataType::DYNAMIC_STRUCTURE>;
extern template class OLMA_EXTERN_TEMPLATE_API
    Detail::FieldsDefinition<DynamicErrorDefinition, DataType::ANY_ERROR>;

// ---------------------------------------------------------------------------------------
// Restricted kinds, each visited through a slot of its own.

// A STRING whose allowed values are decided by a predicate, not by a stored list.
// Renders "STRING".
class OLMA_API IsOneOfDefinition final : public Detail::DefinitionBase<IsOneOfDefinition> {
 public:
  using Predicate = std::function<bool(const std::string&)>;

  IsOneOfDefinition(PrivConstructor, Predicate predicate);
  static PtrType GetInstance(Predicate predicate);
  void AcceptVisitor(DefinitionVisitor& visitor) const override;

  const Predicate& predicate() const noexcept { return predicate_; }
  // Whether `value` is allowed. Throws std::bad_function_call when there is no predicate.
  bool Check(const std::string& value) const { return predicate_(value); }

  // Always true: predicates cannot be compared, so any two enumerations count as equal.
  static bool Compare(const PtrConstType&, const PtrConstType&) noexcept { return true; }

 private:
  Predicate predicate_;
};

// An OPTIONAL field of a structure whose presence depends on the value of another field of
// that structure, the tag field. The predicate answers, for the tag's value, true, false or
// indeterminate; the validator decides what each answer requires. Renders "OPTIONAL".
class OLMA_API UnionCaseDefinition final
    : public Detail::ElementDefinition<UnionCaseDefinition, DataType::OPTIONAL> {
 public:
  using CasePredicate = std::function<boost::logic::tribool(const std::string&)>;

  UnionCaseDefinition(PrivConstructor, DataDefinition::PtrConstType element, std::string tagFieldName,
                      CasePredicate predicate);
  static PtrType GetInstance(DataDefinition::PtrConstType element, std::string tagFieldName,
                             CasePredicate predicate);
  void AcceptVisitor(DefinitionVisitor& visitor) const override;

  // element() is the definition of the field's content when it is present.
  const std::string& tagFieldName() const noexcept { return tagFieldName_; }
  const CasePredicate& predicate() const noexcept { return predicate_; }

  // The predicate's answer for the tag field's value. Throws std::bad_function_call when
  // there is no predicate.
  boost::logic::tribool Check(const std::string& tagValue) const { return predicate_(tagValue); }

  // True exactly when the tag field names are byte-wise equal; elements and predicates are
  // not compared. Two empty pointers are equal, an empty and a set one are not.
  static bool Compare(const PtrConstType& a, const PtrConstType& b) noexcept;

 private:
  std::string tagFieldName_;
  CasePredicate predicate_;
};

extern template class OLMA_EXTERN_TEMPLATE_API
    Detail::ElementDefinition<UnionCaseDefinition, DataType::OPTIONAL>;

}  // namespace Data
}  // namespace Olma
