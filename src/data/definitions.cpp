#include "olma/data/definitions.h"

#include <unordered_set>
#include <utility>
#include <vector>

#include "data/ignoring_definition_visitor.h"
#include "data/tree_release.h"

namespace Olma {
namespace Data {

namespace {

bool IsCompositeDefinition(const DataDefinition& definition) noexcept {
  switch (definition.type()) {
    case DataType::ERROR:
    case DataType::OPTIONAL:
    case DataType::LIST:
    case DataType::STRUCTURE:
    case DataType::DYNAMIC_STRUCTURE:
    case DataType::ANY_ERROR:
      return true;
    default:
      return false;
  }
}

using DefinitionRelease =
    Detail::TreeRelease<DataDefinition, DataDefinition::FieldMap, &IsCompositeDefinition>;

}  // namespace

namespace Detail {

// Reaches into the composite definitions, for the destructors (which hand their children
// to the release) and the cycle check of the builder setters.
class DefinitionReleaser {
 public:
  static void Release(DataDefinition::PtrConstType& element) noexcept {
    DefinitionRelease::ReleaseChild(element);
  }
  static void Release(std::optional<DataDefinition::FieldMap>& fields) noexcept {
    if (fields) DefinitionRelease::ReleaseFields(*fields);
  }
};

}  // namespace Detail

namespace {

// Collects the children a definition owns; references own nothing.
class OwnedChildren final : public Detail::IgnoringDefinitionVisitor {
 public:
  explicit OwnedChildren(std::vector<const DataDefinition*>& out) : out_(out) {}

  void VisitDynamicStructure(const std::shared_ptr<const DynamicStructureDefinition>& d) override {
    Fields(d->fields());
  }
  void VisitDynamicError(const std::shared_ptr<const DynamicErrorDefinition>& d) override {
    Fields(d->fields());
  }
  void VisitError(const std::shared_ptr<const ErrorDefinition>& d) override { Fields(d->fields()); }
  void VisitStruct(const std::shared_ptr<const StructDefinition>& d) override { Fields(d->fields()); }
  void VisitOptional(const std::shared_ptr<const OptionalDefinition>& d) override { Child(d->element()); }
  void VisitList(const std::shared_ptr<const ListDefinition>& d) override { Child(d->element()); }
  void VisitUnionCase(const std::shared_ptr<const UnionCaseDefinition>& d) override { Child(d->element()); }

 private:
  void Child(const DataDefinition::PtrConstType& child) {
    if (child) out_.push_back(child.get());
  }
  void Fields(const std::optional<DataDefinition::FieldMap>& fields) {
    if (fields) {
      for (const auto& field : *fields) Child(field.second);
    }
  }

  std::vector<const DataDefinition*>& out_;
};

// Whether linking `child` under `node` would close a cycle of ownership: whether `node` is
// `child` or owned somewhere below it. `nodeOwners` is the number of shared pointers to
// `node`; with only the builder's own, nothing below `child` can hold it, which spares the
// walk when trees are built bottom-up. Shared sub-trees are walked once.
bool ClosesCycle(const DataDefinition& node, long nodeOwners, const DataDefinition& child) {
  if (&child == &node) return true;
  if (nodeOwners <= 1 || !IsCompositeDefinition(child)) return false;
  std::vector<const DataDefinition*> pending{&child};
  std::unordered_set<const DataDefinition*> seen;
  OwnedChildren collect(pending);
  while (!pending.empty()) {
    const DataDefinition* next = pending.back();
    pending.pop_back();
    if (next == &node) return true;
    if (seen.insert(next).second) next->AcceptVisitor(collect);
  }
  return false;
}

}  // namespace

namespace {

DataDefinition::PtrConstType FindField(const std::optional<DataDefinition::FieldMap>& fields,
                                       const std::string& name, const DataDefinition& whole,
                                       MessageList& messages) {
  if (fields) {
    const auto found = fields->find(name);
    if (found != fields->end()) return found->second;
  }
  messages.push_back(Message<CoreTag>("olma.data.struct.missing.fields", name, whole.ToString()));
  return nullptr;
}

bool Contains(const std::optional<DataDefinition::FieldMap>& fields, const std::string& name) {
  return fields && fields->find(name) != fields->end();
}

void Insert(std::optional<DataDefinition::FieldMap>& fields, const std::string& name,
            DataDefinition::PtrConstType definition) {
  if (!fields) fields.emplace();
  (*fields)[name] = std::move(definition);
}

}  // namespace

// Scalars: a kind and nothing else.

namespace {

void VisitSlot(DefinitionVisitor& v, VoidDefinition::PtrConstType d) {
  v.VisitVoid(d);
}
void VisitSlot(DefinitionVisitor& v, OpaqueDefinition::PtrConstType d) {
  v.VisitOpaque(d);
}
void VisitSlot(DefinitionVisitor& v, IntegerDefinition::PtrConstType d) {
  v.VisitInteger(d);
}
void VisitSlot(DefinitionVisitor& v, DoubleDefinition::PtrConstType d) {
  v.VisitDouble(d);
}
void VisitSlot(DefinitionVisitor& v, BooleanDefinition::PtrConstType d) {
  v.VisitBoolean(d);
}
void VisitSlot(DefinitionVisitor& v, BlobDefinition::PtrConstType d) {
  v.VisitBlob(d);
}
void VisitSlot(DefinitionVisitor& v, StringDefinition::PtrConstType d) {
  v.VisitString(d);
}
void VisitSlot(DefinitionVisitor& v, SecretDefinition::PtrConstType d) {
  v.VisitSecret(d);
}

}  // namespace

template <DataType::EnumType Kind>
void ScalarDefinition<Kind>::AcceptVisitor(DefinitionVisitor& visitor) const {
  VisitSlot(visitor, this->shared_from_this());
}

template class ScalarDefinition<DataType::VOID>;
template class ScalarDefinition<DataType::OPAQUE>;
template class ScalarDefinition<DataType::INTEGER>;
template class ScalarDefinition<DataType::DOUBLE>;
template class ScalarDefinition<DataType::BOOLEAN>;
template class ScalarDefinition<DataType::BLOB>;
template class ScalarDefinition<DataType::STRING>;
template class ScalarDefinition<DataType::SECRET>;

// Definitions wrapping one element

namespace Detail {

template <class Self, DataType::EnumType Kind>
ElementDefinition<Self, Kind>::ElementDefinition(DataDefinition::PtrConstType element)
    : DefinitionBase<Self>(Kind), element_(std::move(element)) {}

template <class Self, DataType::EnumType Kind>
bool ElementDefinition<Self, Kind>::SetElement(DataDefinition::PtrConstType element) {
  if (element && ClosesCycle(*this, this->weak_from_this().use_count(), *element)) return false;
  element_ = std::move(element);
  return true;
}

template <class Self, DataType::EnumType Kind>
ElementDefinition<Self, Kind>::~ElementDefinition() {
  Detail::DefinitionReleaser::Release(element_);
}

}  // namespace Detail

template class Detail::ElementDefinition<OptionalDefinition, DataType::OPTIONAL>;
template class Detail::ElementDefinition<ListDefinition, DataType::LIST>;
template class Detail::ElementDefinition<UnionCaseDefinition, DataType::OPTIONAL>;

OptionalDefinition::OptionalDefinition(PrivConstructor, DataDefinition::PtrConstType element)
    : ElementDefinition(std::move(element)) {}

OptionalDefinition::PtrType OptionalDefinition::GetInstance(DataDefinition::PtrConstType element) {
  return std::make_shared<OptionalDefinition>(PrivConstructor{}, std::move(element));
}

void OptionalDefinition::AcceptVisitor(DefinitionVisitor& visitor) const {
  visitor.VisitOptional(shared_from_this());
}

ListDefinition::ListDefinition(PrivConstructor, DataDefinition::PtrConstType element)
    : ElementDefinition(std::move(element)) {}

ListDefinition::PtrType ListDefinition::GetInstance(DataDefinition::PtrConstType element) {
  return std::make_shared<ListDefinition>(PrivConstructor{}, std::move(element));
}

void ListDefinition::AcceptVisitor(DefinitionVisitor& visitor) const {
  visitor.VisitList(shared_from_this());
}

// Structure and error definitions

namespace Detail {

template <class Self, DataType::EnumType Kind>
FieldsDefinition<Self, Kind>::FieldsDefinition(std::optional<FieldMap> fields)
    : DefinitionBase<Self>(Kind), fields_(std::move(fields)) {}

template <class Self, DataType::EnumType Kind>
FieldsDefinition<Self, Kind>::~FieldsDefinition() {
  Detail::DefinitionReleaser::Release(fields_);
}

template <class Self, DataType::EnumType Kind>
bool FieldsDefinition<Self, Kind>::SetField(const std::string& name,
                                            DataDefinition::PtrConstType definition) {
  if (definition && ClosesCycle(*this, this->weak_from_this().use_count(), *definition)) return false;
  Insert(fields_, name, std::move(definition));
  return true;
}

template <class Self, DataType::EnumType Kind>
bool NamedFieldsDefinition<Self, Kind>::HasField(const std::string& name) const {
  return Contains(this->fields(), name);
}

template <class Self, DataType::EnumType Kind>
DataDefinition::PtrConstType NamedFieldsDefinition<Self, Kind>::field(const std::string& name,
                                                                      MessageList& messages) const {
  return FindField(this->fields(), name, *this, messages);
}

}  // namespace Detail

template class Detail::FieldsDefinition<StructDefinition, DataType::STRUCTURE>;
template class Detail::FieldsDefinition<ErrorDefinition, DataType::ERROR>;
template class Detail::FieldsDefinition<DynamicStructureDefinition, DataType::DYNAMIC_STRUCTURE>;
template class Detail::FieldsDefinition<DynamicErrorDefinition, DataType::ANY_ERROR>;
template class Detail::NamedFieldsDefinition<StructDefinition, DataType::STRUCTURE>;
template class Detail::NamedFieldsDefinition<ErrorDefinition, DataType::ERROR>;

StructDefinition::StructDefinition(PrivConstructor, std::optional<std::string> name,
                                   std::optional<FieldMap> fields)
    : NamedFieldsDefinition(std::move(name), std::move(fields)) {}

StructDefinition::PtrType StructDefinition::GetInstance(std::string name, FieldMap fields) {
  return std::make_shared<StructDefinition>(PrivConstructor{}, std::move(name), std::move(fields));
}

StructDefinition::PtrType StructDefinition::GetInstance() {
  return std::make_shared<StructDefinition>(PrivConstructor{}, std::nullopt, std::nullopt);
}

void StructDefinition::AcceptVisitor(DefinitionVisitor& visitor) const {
  visitor.VisitStruct(shared_from_this());
}

ErrorDefinition::ErrorDefinition(PrivConstructor, std::optional<std::string> name,
                                 std::optional<FieldMap> fields)
    : NamedFieldsDefinition(std::move(name), std::move(fields)) {}

ErrorDefinition::PtrType ErrorDefinition::GetInstance(std::string name) {
  return std::make_shared<ErrorDefinition>(PrivConstructor{}, std::move(name), std::nullopt);
}

ErrorDefinition::PtrType ErrorDefinition::GetInstance(std::string name, FieldMap fields) {
  return std::make_shared<ErrorDefinition>(PrivConstructor{}, std::move(name), std::move(fields));
}

ErrorDefinition::PtrType ErrorDefinition::GetInstance() {
  return std::make_shared<ErrorDefinition>(PrivConstructor{}, std::nullopt, std::nullopt);
}

void ErrorDefinition::AcceptVisitor(DefinitionVisitor& visitor) const {
  visitor.VisitError(shared_from_this());
}

// StructRefDefinition

StructRefDefinition::StructRefDefinition(PrivConstructor, std::weak_ptr<const StructDefinition> target,
                                         std::optional<std::string> name)
    : DefinitionBase(DataType::STRUCTURE_REF), target_(std::move(target)), name_(std::move(name)) {}

StructRefDefinition::PtrType StructRefDefinition::GetInstance(
    const std::shared_ptr<const StructDefinition>& target) {
  std::optional<std::string> name;
  if (target) name = target->name();
  return std::make_shared<StructRefDefinition>(PrivConstructor{}, target, std::move(name));
}

StructRefDefinition::PtrType StructRefDefinition::GetInstance(std::string name) {
  return std::make_shared<StructRefDefinition>(PrivConstructor{}, std::weak_ptr<const StructDefinition>(),
                                               std::move(name));
}

void StructRefDefinition::AcceptVisitor(DefinitionVisitor& visitor) const {
  visitor.VisitStructRef(shared_from_this());
}

void StructRefDefinition::SetTarget(const std::shared_ptr<const StructDefinition>& target) {
  target_ = target;
  if (target) {
    name_ = target->name();
  } else {
    name_.reset();
  }
}

// DynamicStructureDefinition

DynamicStructureDefinition::DynamicStructureDefinition(PrivConstructor, std::optional<FieldMap> fields)
    : FieldsDefinition(std::move(fields)) {}

DynamicStructureDefinition::PtrType DynamicStructureDefinition::GetInstance() {
  return std::make_shared<DynamicStructureDefinition>(PrivConstructor{}, std::nullopt);
}

DynamicStructureDefinition::PtrType DynamicStructureDefinition::GetInstance(FieldMap fields) {
  return std::make_shared<DynamicStructureDefinition>(PrivConstructor{}, std::move(fields));
}

void DynamicStructureDefinition::AcceptVisitor(DefinitionVisitor& visitor) const {
  visitor.VisitDynamicStructure(shared_from_this());
}

// DynamicErrorDefinition

DynamicErrorDefinition::DynamicErrorDefinition(PrivConstructor, std::optional<FieldMap> fields)
    : FieldsDefinition(std::move(fields)) {}

DynamicErrorDefinition::PtrType DynamicErrorDefinition::GetInstance() {
  return std::make_shared<DynamicErrorDefinition>(PrivConstructor{}, std::nullopt);
}

DynamicErrorDefinition::PtrType DynamicErrorDefinition::GetInstance(FieldMap fields) {
  return std::make_shared<DynamicErrorDefinition>(PrivConstructor{}, std::move(fields));
}

void DynamicErrorDefinition::AcceptVisitor(DefinitionVisitor& visitor) const {
  visitor.VisitDynamicError(shared_from_this());
}

// IsOneOfDefinition

IsOneOfDefinition::IsOneOfDefinition(PrivConstructor, Predicate predicate)
    : DefinitionBase(DataType::STRING), predicate_(std::move(predicate)) {}

IsOneOfDefinition::PtrType IsOneOfDefinition::GetInstance(Predicate predicate) {
  return std::make_shared<IsOneOfDefinition>(PrivConstructor{}, std::move(predicate));
}

void IsOneOfDefinition::AcceptVisitor(DefinitionVisitor& visitor) const {
  visitor.VisitIsOneOf(shared_from_this());
}

// UnionCaseDefinition

UnionCaseDefinition::UnionCaseDefinition(PrivConstructor, DataDefinition::PtrConstType element,
                                         std::string tagFieldName, CasePredicate predicate)
    : ElementDefinition(std::move(element)),
      tagFieldName_(std::move(tagFieldName)),
      predicate_(std::move(predicate)) {}

UnionCaseDefinition::PtrType UnionCaseDefinition::GetInstance(DataDefinition::PtrConstType element,
                                                              std::string tagFieldName,
                                                              CasePredicate predicate) {
  return std::make_shared<UnionCaseDefinition>(PrivConstructor{}, std::move(element), std::move(tagFieldName),
                                               std::move(predicate));
}

void UnionCaseDefinition::AcceptVisitor(DefinitionVisitor& visitor) const {
  visitor.VisitUnionCase(shared_from_this());
}

bool UnionCaseDefinition::Compare(const PtrConstType& a, const PtrConstType& b) noexcept {
  if (!a || !b) return !a && !b;
  return a->tagFieldName() == b->tagFieldName();
}

}  // namespace Data
}  // namespace Olma
