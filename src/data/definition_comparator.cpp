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

// The work entries refer to the definitions by plain pointers: the caller's roots keep
// both trees alive for the call, and they are immutable.
using Node = const DataDefinition*;
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
// the element of either. (Every other kind either has one class, or, for STRING, two
// classes that compare alike, so a kind test suffices there.)
class OptionalShape final : public Detail::IgnoringDefinitionVisitor {
 public:
  explicit OptionalShape(const DataDefinition& definition) { definition.AcceptVisitor(*this); }

  void VisitOptional(const std::shared_ptr<const OptionalDefinition>& definition) override {
    known = true;
    element = definition->element().get();
  }
  void VisitUnionCase(const std::shared_ptr<const UnionCaseDefinition>& definition) override {
    known = true;
    element = definition->element().get();
    unionCase = definition.get();
  }

  bool known = false;  // one of the two classes
  Node element = nullptr;
  const UnionCaseDefinition* unionCase = nullptr;  // null unless it is a union case
};

// Errors is MessageList for the comparison that reports the difference, and
// Detail::Differs for the one that only needs the answer (and so renders no text). Both
// take the same walk, in reading order.
template <class Errors>
struct DefinitionComparatorHelper {
  using DefinitionAdapter = DataAdapter<Node, Node, Errors>;
  using Method = typename DefinitionAdapter::Method;

  // Queues the comparison of `a` with `b`, with the method that fits the class of `a`. A
  // definition compared with itself is equal without being descended into.
  static void Dispatch(const Node& a, const Node& b, DefinitionAdapter& work, Errors&) {
    if (a == b) return;
    if (a == nullptr || b == nullptr) {
      work.Push(a, b, &UnsetMethod);
      return;
    }
    work.Push(a, b, MethodFor(*a));
  }

  static Method MethodFor(const DataDefinition& a) {
    switch (a.type()) {
      case DataType::LIST:
        return &CompositeMethod<ListDefinition>;
      case DataType::OPTIONAL:
        return OptionalShape(a).unionCase != nullptr ? &CompositeMethod<UnionCaseDefinition>
                                                     : &CompositeMethod<OptionalDefinition>;
      case DataType::STRUCTURE:
        return &CompositeMethod<StructDefinition>;
      case DataType::ERROR:
        return &CompositeMethod<ErrorDefinition>;
      case DataType::STRUCTURE_REF:
        return &CompositeMethod<StructRefDefinition>;
      case DataType::DYNAMIC_STRUCTURE:
        return &CompositeMethod<DynamicStructureDefinition>;
      case DataType::ANY_ERROR:
        return &CompositeMethod<DynamicErrorDefinition>;
      default:
        return &PrimitiveMethod;
    }
  }

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
  static void UnsetMethod(const Node& a, const Node& b, DefinitionAdapter& work, Errors& errors) {
    Detail::RecordDifference(work, errors, "olma.data.type.mismatch",
                             [&] { return std::make_tuple(Detail::RenderNode(a), Detail::RenderNode(b)); });
  }

  // Scalars, opaque and is-one-of: the kind is all there is to compare (predicates cannot
  // be compared).
  static void PrimitiveMethod(const Node& a, const Node& b, DefinitionAdapter& work, Errors& errors) {
    CompareTypes(*a, *b, work, errors);
  }

  template <class X>
  static void CompositeMethod(const Node& a, const Node& b, DefinitionAdapter& work, Errors& errors) {
    if (!CompareTypes(*a, *b, work, errors)) return;
    CompareInt(static_cast<const X&>(*a), *b, work, errors);
  }

  static void CompareInt(const ListDefinition& a, const DataDefinition& b, DefinitionAdapter& work,
                         Errors& errors) {
    // LIST has one class only.
    Dispatch(a.element().get(), static_cast<const ListDefinition&>(b).element().get(), work, errors);
  }

  // An optional against an optional or a union case: their elements.
  static void CompareInt(const OptionalDefinition& a, const DataDefinition& b, DefinitionAdapter& work,
                         Errors& errors) {
    const OptionalShape shape(b);
    if (!shape.known) {  // not reached: OPTIONAL has no third class
      ReportMismatch(a, b, work, errors);
      return;
    }
    Dispatch(a.element().get(), shape.element, work, errors);
  }

  // A union case only against a union case with the same tag field name.
  static void CompareInt(const UnionCaseDefinition& a, const DataDefinition& b, DefinitionAdapter& work,
                         Errors& errors) {
    const OptionalShape shape(b);
    if (shape.unionCase == nullptr || a.tagFieldName() != shape.unionCase->tagFieldName()) {
      ReportMismatch(a, b, work, errors);
      return;
    }
    Dispatch(a.element().get(), shape.element, work, errors);
  }

  // References: equal names, and both or neither target alive. Targets are not followed,
  // which keeps recursive types finite.
  static void CompareInt(const StructRefDefinition& a, const DataDefinition& b, DefinitionAdapter& work,
                         Errors& errors) {
    const auto& y = static_cast<const StructRefDefinition&>(b);
    if (NameOf(a.name()) != NameOf(y.name()) ||
        static_cast<bool>(a.target()) != static_cast<bool>(y.target())) {
      ReportMismatch(a, y, work, errors);
    }
  }

  template <class X>
  static void CompareInt(const X& a, const DataDefinition& b, DefinitionAdapter& work, Errors& errors) {
    CompareCompound<X>(a, static_cast<const X&>(b), work, errors);
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
        x, y, [&](const DataDefinition::PtrConstType& p, const DataDefinition::PtrConstType& q) {
          Dispatch(p.get(), q.get(), work, errors);
        });
    if (missing != nullptr) {
      Detail::RecordDifference(work, errors, "olma.data.value.comp.struct.missing.field",
                               [&] { return std::make_tuple(*missing, a.ToString(), b.ToString()); });
    }
  }

  // Runs one walk from the pair of roots.
  static void Walk(const DataDefinition* a, const DataDefinition* b, Errors& errors) {
    DefinitionAdapter engine(&Dispatch);
    engine.Adapt(a, b, errors);
  }
};

}  // namespace

bool DefinitionComparator::Compare(const DataDefinition::PtrConstType& a,
                                   const DataDefinition::PtrConstType& b, MessageList& messages) {
  if (!a || !b) return !a && !b;
  const auto before = messages.size();
  DefinitionComparatorHelper<MessageList>::Walk(a.get(), b.get(), messages);
  return messages.size() == before;
}

bool DataDefinition::Compare(const PtrConstType& a, const PtrConstType& b) {
  if (!a || !b) return !a && !b;
  Detail::Differs differs;
  DefinitionComparatorHelper<Detail::Differs>::Walk(a.get(), b.get(), differs);
  return !differs.found;
}

bool DataDefinition::Compare(const PtrConstType& a, const PtrConstType& b, MessageList& messages) {
  return DefinitionComparator::Compare(a, b, messages);
}

}  // namespace Data
}  // namespace Olma
