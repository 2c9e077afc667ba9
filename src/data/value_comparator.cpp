#include "olma/data/comparator.h"

#include <algorithm>
#include <cmath>
#include <list>
#include <string>
#include <string_view>
#include <tuple>
#include <type_traits>

#include "data/comparator_detail.h"
#include "olma/data/adapter.h"
#include "olma/data/values.h"

namespace Olma {
namespace Data {
namespace {

// The work entries refer to the nodes by plain pointers. The caller's two roots keep both
// trees alive for the whole call and the trees are immutable, so counting a reference per
// node would be pure overhead, and, when many threads compare the same shared trees,
// contention on the nodes' shared counters.
using Node = const DataValue*;

// The absolute tolerance of double comparison.
constexpr double kDoubleTolerance = 1e-6;

bool Equal(double a, double b) noexcept {
  // a == b first: identical infinities are equal although their difference is NaN.
  return a == b || std::fabs(a - b) < kDoubleTolerance;
}

bool Equal(const std::string& a, const std::string& b) noexcept {
  return Detail::SameText(a, b);
}

template <class T>
bool Equal(const T& a, const T& b) noexcept {
  return a == b;
}

// One comparison runs as up to two walks of the one walk below, told apart by Errors and
// sharing every rule (the methods):
//
//   Detail::Differs  the checking walk: runs the method of a childless pair as soon as it
//                    meets it, in any order, and only notes that some difference exists.
//                    Equal trees, the common case, take this walk alone.
//   MessageList      the reporting walk, run only when the checking walk found a
//                    difference: defers every pair to the stack so that nodes are
//                    compared in reading order (first element first, fields in ascending
//                    name order, depth first), and reports the first difference it meets.
//
// Both walks stop at the first difference they meet: a method that finds one clears the
// work. A node compared with itself (the same pointer on both sides, as in a tree that
// shares sub-trees) is equal without being descended into.
template <class Mode, class Errors>
struct ValueComparatorHelper {
  using Adapter = DataAdapter<Node, Node, Errors>;
  using Method = typename Adapter::Method;
  static constexpr bool kReport = std::is_same_v<Errors, MessageList>;

  // Compares `a` with `b` by the method that fits the class of `a`: at once for a
  // childless pair in the checking walk (the common scalars without even an indirect
  // call), through the stack otherwise.
  [[gnu::flatten]] static void Dispatch(const Node& a, const Node& b, Adapter& work, Errors& errors) {
    if constexpr (!kReport) {
      if (errors.found) return;  // the rest of a list or structure after a difference
    }
    if (a == b) return;
    if (a == nullptr || b == nullptr) {
      RunNowOrLater(&UnsetMethod, false, a, b, work, errors);
      return;
    }
    const DataType kind = a->type();
    if constexpr (!kReport) {
      switch (kind) {
        case DataType::INTEGER:
          return PrimitiveMethod<IntegerValue>(a, b, work, errors);
        case DataType::DOUBLE:
          return PrimitiveMethod<DoubleValue>(a, b, work, errors);
        case DataType::BOOLEAN:
          return PrimitiveMethod<BooleanValue>(a, b, work, errors);
        case DataType::STRING:
          return PrimitiveMethod<StringValue>(a, b, work, errors);
        default:
          break;
      }
    }
    RunNowOrLater(MethodFor(kind), HasChildren(kind), a, b, work, errors);
  }

  // Composites always go through the stack (so that the stack, not the call stack, holds
  // the depth); childless pairs only in the reporting walk, which keeps reading order.
  static void RunNowOrLater(Method method, bool hasChildren, const Node& a, const Node& b, Adapter& work,
                            Errors& errors) {
    if (kReport || hasChildren) {
      work.Push(a, b, method);
    } else {
      method(a, b, work, errors);
    }
  }

  static bool HasChildren(DataType kind) noexcept {
    return kind == DataType::LIST || kind == DataType::OPTIONAL || kind == DataType::STRUCTURE ||
           kind == DataType::ERROR;
  }

  // Each value class reports a kind of its own, so the kind selects the method without a
  // double dispatch (which would cost a shared_from_this per node).
  static Method MethodFor(DataType kind) noexcept {
    switch (kind) {
      case DataType::INTEGER:
        return &PrimitiveMethod<IntegerValue>;
      case DataType::DOUBLE:
        return &PrimitiveMethod<DoubleValue>;
      case DataType::BOOLEAN:
        return &PrimitiveMethod<BooleanValue>;
      case DataType::BLOB:
        return &PrimitiveMethod<BlobValue>;
      case DataType::STRING:
        return &PrimitiveMethod<StringValue>;
      case DataType::SECRET:
        return &PrimitiveMethod<SecretValue>;
      case DataType::LIST_BOOL:
        return &ListPrimitiveMethod<ListValueBool>;
      case DataType::LIST_LONG:
        return &ListPrimitiveMethod<ListValueLong>;
      case DataType::LIST_DOUBLE:
        return &ListPrimitiveMethod<ListValueDouble>;
      case DataType::LIST_BLOB:
        return &ListPrimitiveMethod<ListValueBlob>;
      case DataType::LIST_STRING:
        return &ListPrimitiveMethod<ListValueString>;
      case DataType::LIST_SECRET:
        return &ListPrimitiveMethod<ListValueSecret>;
      case DataType::LIST:
        return &CompositeMethod<ListValue>;
      case DataType::OPTIONAL:
        return &CompositeMethod<OptionalValue>;
      case DataType::STRUCTURE:
      case DataType::ERROR:
        return &CompositeMethod<CompoundValue>;
      default:
        // VOID has no payload; no value reports any other kind.
        return &TypeOnlyMethod;
    }
  }

  // The kind test every method starts with; records the mismatch itself.
  static bool CompareTypes(const DataValue& a, const DataValue& b, Adapter& work, Errors& errors) {
    if (Mode::CompareTypes(a.type(), b.type())) return true;
    Detail::RecordDifference(work, errors, "olma.data.type.mismatch",
                             [&] { return std::make_tuple(a.ToString(), b.ToString()); });
    return false;
  }

  static void NotEqual(const DataValue& a, const DataValue& b, Adapter& work, Errors& errors) {
    Detail::RecordDifference(work, errors, "olma.data.comparator.values.not.equal", [&] {
      return std::make_tuple(to_string(a.type()), a.ToString(), b.ToString());
    });
  }

  static void SizesDiffer(const DataValue& a, const DataValue& b, Adapter& work, Errors& errors) {
    Detail::RecordDifference(work, errors, "olma.data.value.comp.values.not.eq.sizes",
                             [&] { return std::make_tuple(a.ToString(), b.ToString()); });
  }

  // One side is an empty pointer, the other is not.
  static void UnsetMethod(const Node& a, const Node& b, Adapter& work, Errors& errors) {
    Detail::RecordDifference(work, errors, "olma.data.type.mismatch",
                             [&] { return std::make_tuple(Detail::RenderNode(a), Detail::RenderNode(b)); });
  }

  static void TypeOnlyMethod(const Node& a, const Node& b, Adapter& work, Errors& errors) {
    CompareTypes(*a, *b, work, errors);
  }

  // Scalars: exact equality, doubles within the tolerance.
  template <class X>
  static void PrimitiveMethod(const Node& a, const Node& b, Adapter& work, Errors& errors) {
    if (!CompareTypes(*a, *b, work, errors)) return;
    if (!Equal(static_cast<const X&>(*a).value(), static_cast<const X&>(*b).value())) {
      NotEqual(*a, *b, work, errors);
    }
  }

  // Typed lists: same length and pairwise equal elements, by the scalar rules.
  template <class X>
  static void ListPrimitiveMethod(const Node& a, const Node& b, Adapter& work, Errors& errors) {
    if (!CompareTypes(*a, *b, work, errors)) return;
    using Element = typename X::ElementType;
    const std::list<Element>& x = static_cast<const X&>(*a);
    const std::list<Element>& y = static_cast<const X&>(*b);
    const bool equal =
        x.size() == y.size() && std::equal(x.begin(), x.end(), y.begin(),
                                           [](const Element& p, const Element& q) { return Equal(p, q); });
    if (!equal) NotEqual(*a, *b, work, errors);
  }

  template <class X>
  static void CompositeMethod(const Node& a, const Node& b, Adapter& work, Errors& errors) {
    if (!CompareTypes(*a, *b, work, errors)) return;
    CompareInt(static_cast<const X&>(*a), static_cast<const X&>(*b), work, errors);
  }

  static void CompareInt(const ListValue& a, const ListValue& b, Adapter& work, Errors& errors) {
    if (a.size() != b.size()) {
      SizesDiffer(a, b, work, errors);
      return;
    }
    // Last element first, so that the first pair is compared first.
    auto ib = b.rbegin();
    for (auto ia = a.rbegin(); ia != a.rend(); ++ia, ++ib) Dispatch(ia->get(), ib->get(), work, errors);
  }

  static void CompareInt(const OptionalValue& a, const OptionalValue& b, Adapter& work, Errors& errors) {
    if (a.isSet() != b.isSet()) {
      NotEqual(a, b, work, errors);
    } else if (a.isSet()) {
      Dispatch(a.value().get(), b.value().get(), work, errors);
    }
  }

  static void CompareInt(const CompoundValue& a, const CompoundValue& b, Adapter& work, Errors& errors) {
    CompareCompound<CompoundValue>(a, b, work, errors);
  }

  // Names (strict mode only), then field counts, then the fields in ascending name order.
  template <class X>
  static void CompareCompound(const X& a, const X& b, Adapter& work, Errors& errors) {
    if constexpr (Mode::kCompareNames) {
      if (!Detail::SameText(a.name(), b.name())) {
        Detail::RecordDifference(work, errors, "olma.data.value.comp.struct.names.not.eq",
                                 [&] { return std::make_tuple(a.ToString(), b.ToString()); });
        return;
      }
    }
    if (a.fields().size() != b.fields().size()) {
      SizesDiffer(a, b, work, errors);
      return;
    }
    // The greatest name is pushed first, so the smallest is compared first. With equal
    // counts, a field of `a` that `b` lacks stands for a field of `b` that `a` lacks; only
    // the former is named.
    const std::string* missing = Detail::PairFieldsDescending(
        a.fields(), b.fields(), [&](const DataValue::PtrConstType& x, const DataValue::PtrConstType& y) {
          Dispatch(x.get(), y.get(), work, errors);
        });
    if (missing != nullptr) {
      Detail::RecordDifference(work, errors, "olma.data.value.comp.struct.missing.field",
                               [&] { return std::make_tuple(*missing, a.ToString(), b.ToString()); });
    }
  }

  // Runs one walk from the pair of roots.
  static void Walk(const DataValue* a, const DataValue* b, Errors& errors) {
    Adapter engine(&Dispatch);
    engine.Adapt(a, b, errors);
  }
};

}  // namespace

template <class Mode>
bool ValueComparator<Mode>::Compare(const DataValue::PtrConstType& a, const DataValue::PtrConstType& b,
                                    MessageList& messages) {
  if (!a || !b) return !a && !b;
  Detail::Differs check;
  ValueComparatorHelper<Mode, Detail::Differs>::Walk(a.get(), b.get(), check);
  if (!check.found) return true;
  ValueComparatorHelper<Mode, MessageList>::Walk(a.get(), b.get(), messages);
  return false;
}

template class ValueComparator<CompModeLoose>;
template class ValueComparator<CompModeStrict>;

template <class Mode>
bool DataValue::Compare(const PtrConstType& a, const PtrConstType& b, MessageList& messages) {
  return ValueComparator<Mode>::Compare(a, b, messages);
}

template bool DataValue::Compare<CompModeLoose>(const PtrConstType&, const PtrConstType&, MessageList&);
template bool DataValue::Compare<CompModeStrict>(const PtrConstType&, const PtrConstType&, MessageList&);

}  // namespace Data
}  // namespace Olma
