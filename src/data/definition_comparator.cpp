#include "olma/data/comparator.h"

#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <tuple>
#include <type_traits>

#include "data/comparator_detail.h"
#include "data/ignoring_definition_visitor.h"
#include "olma/data/adapter.h"
#include "olma/data/definitions.h"

namespace Olma {
namespace Data {
namespace {

using DefinitionPtr = DataDefinition::PtrConstType;
using FieldMap = DataDefinition::FieldMap;

// An unset name or field map compares as an empty one.
std::string_view NameOf(const std::optional<std::string>& name) noexcept {
  return name ? std::string_view(*name) : std::string_view();
}

const FieldMap& FieldsOf(const std::optional<FieldMap>& fields) noexcept {
  static const FieldMap kNoFields;
  return fields ? *fields : kNoFields;
}

// Two classes share the kind OPTIONAL; this tells which one a definition is, and reads
// the element of either.
class OptionalShape final : public Detail::IgnoringDefinitionVisitor {
 public:
  void VisitOptional(const std::shared_ptr<const OptionalDefinition>& definition) override {
    element = &definition->element();
  }
  void VisitUnionCase(const std::shared_ptr<const UnionCaseDefinition>& definition) override {
    element = &definition->element();
    unionCase = definition;
  }

  const DefinitionPtr* element = nullptr;
  std::shared_ptr<const UnionCaseDefinition> unionCase;  // empty unless it is a union case
};

// Errors is MessageList for the comparison that reports the difference, and
// Detail::Differs for the one that only needs the answer (and so renders no text).
template <class Errors>
struct DefinitionComparatorHelper {
  using DefinitionAdapter = DataAdapter<DefinitionPtr, DefinitionPtr, Errors>;

  // Queues the comparison of `a` with `b`, with the method that fits the class of `a`.
  // Classes that share a kind (StringDefinition and IsOneOfDefinition, OptionalDefinition
  // and UnionCaseDefinition) need the visitor to be told apart.
  static void Dispatch(const DefinitionPtr& a, const DefinitionPtr& b, DefinitionAdapter& work, Errors&) {
    if (a && b) {
      DefinitionToEntriesVisitor visitor(b, work);
      a->AcceptVisitor(visitor);
    } else if (a || b) {
      work.Push(a, b, &UnsetMethod);
    }
  }

  class DefinitionToEntriesVisitor final : public DefinitionVisitor {
   public:
    DefinitionToEntriesVisitor(const DefinitionPtr& second, DefinitionAdapter& work)
        : b_(second), work_(work) {}

    void VisitVoid(const std::shared_ptr<const VoidDefinition>& a) override { Push(a, &PrimitiveMethod); }
    void VisitOpaque(const std::shared_ptr<const OpaqueDefinition>& a) override { Push(a, &PrimitiveMethod); }
    void VisitInteger(const std::shared_ptr<const IntegerDefinition>& a) override {
      Push(a, &PrimitiveMethod);
    }
    void VisitDouble(const std::shared_ptr<const DoubleDefinition>& a) override { Push(a, &PrimitiveMethod); }
    void VisitBoolean(const std::shared_ptr<const BooleanDefinition>& a) override {
      Push(a, &PrimitiveMethod);
    }
    void VisitBlob(const std::shared_ptr<const BlobDefinition>& a) override { Push(a, &PrimitiveMethod); }
    void VisitString(const std::shared_ptr<const StringDefinition>& a) override { Push(a, &PrimitiveMethod); }
    void VisitSecret(const std::shared_ptr<const SecretDefinition>& a) override { Push(a, &PrimitiveMethod); }
    void VisitIsOneOf(const std::shared_ptr<const IsOneOfDefinition>& a) override {
      Push(a, &PrimitiveMethod);
    }
    void VisitOptional(const std::shared_ptr<const OptionalDefinition>& a) override {
      Push(a, &CompositeMethod<OptionalDefinition>);
    }
    void VisitUnionCase(const std::shared_ptr<const UnionCaseDefinition>& a) override {
      Push(a, &CompositeMethod<UnionCaseDefinition>);
    }
    void VisitList(const std::shared_ptr<const ListDefinition>& a) override {
      Push(a, &CompositeMethod<ListDefinition>);
    }
    void VisitStruct(const std::shared_ptr<const StructDefinition>& a) override {
      Push(a, &CompositeMethod<StructDefinition>);
    }
    void VisitError(const std::shared_ptr<const ErrorDefinition>& a) override {
      Push(a, &CompositeMethod<ErrorDefinition>);
    }
    void VisitStructRef(const std::shared_ptr<const StructRefDefinition>& a) override {
      Push(a, &CompositeMethod<StructRefDefinition>);
    }
    void VisitDynamicStructure(const std::shared_ptr<const DynamicStructureDefinition>& a) override {
      Push(a, &CompositeMethod<DynamicStructureDefinition>);
    }
    void VisitDynamicError(const std::shared_ptr<const DynamicErrorDefinition>& a) override {
      Push(a, &CompositeMethod<DynamicErrorDefinition>);
    }

   private:
    void Push(DefinitionPtr a, typename DefinitionAdapter::Method method) {
      work_.Push(std::move(a), b_, method);
    }

    const DefinitionPtr& b_;
    DefinitionAdapter& work_;
  };

  // The kind test every method starts with; there is no loose mode for definitions.
  static bool CompareTypes(const DataDefinition& a, const DataDefinition& b, DefinitionAdapter& work,
                           Errors& errors) {
    if (a.type() == b.type()) return true;
    ReportMismatch(a, b, work, errors);
    return false;
  }

  static void ReportMismatch(const DataDefinition& a, const DataDefinition& b, DefinitionAdapter& work,
                             Errors& errors) {
    Detail::RecordDifference(work, errors, "olma.data.type.mismatch",
                             [&] { return std::make_tuple(a.ToString(), b.ToString()); });
  }

  // One side is an empty pointer, the other is not.
  static void UnsetMethod(const DefinitionPtr& a, const DefinitionPtr& b, DefinitionAdapter& work,
                          Errors& errors) {
    Detail::RecordDifference(work, errors, "olma.data.type.mismatch", [&] {
      return std::make_tuple(Detail::RenderNode(a.get()), Detail::RenderNode(b.get()));
    });
  }

  // Scalars, opaque and is-one-of: the kind is all there is to compare (predicates cannot
  // be compared).
  static void PrimitiveMethod(const DefinitionPtr& a, const DefinitionPtr& b, DefinitionAdapter& work,
                              Errors& errors) {
    CompareTypes(*a, *b, work, errors);
  }

  template <class X>
  static void CompositeMethod(const DefinitionPtr& a, const DefinitionPtr& b, DefinitionAdapter& work,
                              Errors& errors) {
    if (!CompareTypes(*a, *b, work, errors)) return;
    CompareInt(std::static_pointer_cast<const X>(a), b, work, errors);
  }

  static void CompareInt(const std::shared_ptr<const ListDefinition>& a, const DefinitionPtr& b,
                         DefinitionAdapter& work, Errors& errors) {
    // LIST has one class only.
    Dispatch(a->element(), static_cast<const ListDefinition&>(*b).element(), work, errors);
  }

  // An optional against an optional or a union case: their elements.
  static void CompareInt(const std::shared_ptr<const OptionalDefinition>& a, const DefinitionPtr& b,
                         DefinitionAdapter& work, Errors& errors) {
    OptionalShape shape;
    b->AcceptVisitor(shape);
    if (shape.element == nullptr) {  // not reached: OPTIONAL has no third class
      ReportMismatch(*a, *b, work, errors);
      return;
    }
    Dispatch(a->element(), *shape.element, work, errors);
  }

  // A union case only against a union case with the same tag field name.
  static void CompareInt(const std::shared_ptr<const UnionCaseDefinition>& a, const DefinitionPtr& b,
                         DefinitionAdapter& work, Errors& errors) {
    OptionalShape shape;
    b->AcceptVisitor(shape);
    if (!shape.unionCase || !UnionCaseDefinition::Compare(a, shape.unionCase)) {
      ReportMismatch(*a, *b, work, errors);
      return;
    }
    Dispatch(a->element(), shape.unionCase->element(), work, errors);
  }

  // References: equal names, and both or neither target alive. Targets are not followed,
  // which keeps recursive types finite.
  static void CompareInt(const std::shared_ptr<const StructRefDefinition>& a, const DefinitionPtr& b,
                         DefinitionAdapter& work, Errors& errors) {
    const auto& y = static_cast<const StructRefDefinition&>(*b);
    if (NameOf(a->name()) != NameOf(y.name()) ||
        static_cast<bool>(a->target()) != static_cast<bool>(y.target())) {
      ReportMismatch(*a, y, work, errors);
    }
  }

  static void CompareInt(const std::shared_ptr<const StructDefinition>& a, const DefinitionPtr& b,
                         DefinitionAdapter& work, Errors& errors) {
    CompareCompound<StructDefinition>(*a, static_cast<const StructDefinition&>(*b), work, errors);
  }

  static void CompareInt(const std::shared_ptr<const ErrorDefinition>& a, const DefinitionPtr& b,
                         DefinitionAdapter& work, Errors& errors) {
    CompareCompound<ErrorDefinition>(*a, static_cast<const ErrorDefinition&>(*b), work, errors);
  }

  static void CompareInt(const std::shared_ptr<const DynamicStructureDefinition>& a, const DefinitionPtr& b,
                         DefinitionAdapter& work, Errors& errors) {
    CompareCompound<DynamicStructureDefinition>(*a, static_cast<const DynamicStructureDefinition&>(*b), work,
                                                errors);
  }

  static void CompareInt(const std::shared_ptr<const DynamicErrorDefinition>& a, const DefinitionPtr& b,
                         DefinitionAdapter& work, Errors& errors) {
    CompareCompound<DynamicErrorDefinition>(*a, static_cast<const DynamicErrorDefinition&>(*b), work, errors);
  }

  // The name of a compound definition; the dynamic ones all share a placeholder name.
  template <class X>
  static std::string_view CompoundName(const X& definition) noexcept {
    if constexpr (std::is_same_v<X, DynamicStructureDefinition> ||
                  std::is_same_v<X, DynamicErrorDefinition>) {
      static_cast<void>(definition);
      return "_dynS";
    } else {
      return NameOf(definition.name());
    }
  }

  // As strict compound values: names, then field counts, then the fields in ascending
  // name order.
  template <class X>
  static void CompareCompound(const X& a, const X& b, DefinitionAdapter& work, Errors& errors) {
    if (CompoundName(a) != CompoundName(b)) {
      Detail::RecordDifference(work, errors, "olma.data.value.comp.struct.names.not.eq",
                               [&] { return std::make_tuple(a.ToString(), b.ToString()); });
      return;
    }
    const FieldMap& x = FieldsOf(a.fields());
    const FieldMap& y = FieldsOf(b.fields());
    if (x.size() != y.size()) {
      Detail::RecordDifference(work, errors, "olma.data.value.comp.values.not.eq.sizes",
                               [&] { return std::make_tuple(a.ToString(), b.ToString()); });
      return;
    }
    const std::string* missing = Detail::PairFieldsDescending(
        x, y, [&](const DefinitionPtr& p, const DefinitionPtr& q) { Dispatch(p, q, work, errors); });
    if (missing != nullptr) {
      Detail::RecordDifference(work, errors, "olma.data.value.comp.struct.missing.field",
                               [&] { return std::make_tuple(*missing, a.ToString(), b.ToString()); });
    }
  }

  // Runs one walk from the pair of roots.
  static void Walk(const DefinitionPtr& a, const DefinitionPtr& b, Errors& errors) {
    DefinitionAdapter engine(&Dispatch);
    engine.Adapt(a, b, errors);
  }
};

}  // namespace

bool DefinitionComparator::Compare(const DataDefinition::PtrConstType& a,
                                   const DataDefinition::PtrConstType& b, MessageList& messages) {
  if (!a || !b) return !a && !b;
  const auto before = messages.size();
  DefinitionComparatorHelper<MessageList>::Walk(a, b, messages);
  return messages.size() == before;
}

bool DataDefinition::Compare(const PtrConstType& a, const PtrConstType& b) {
  if (!a || !b) return !a && !b;
  Detail::Differs differs;
  DefinitionComparatorHelper<Detail::Differs>::Walk(a, b, differs);
  return !differs.found;
}

bool DataDefinition::Compare(const PtrConstType& a, const PtrConstType& b, MessageList& messages) {
  return DefinitionComparator::Compare(a, b, messages);
}

}  // namespace Data
}  // namespace Olma
