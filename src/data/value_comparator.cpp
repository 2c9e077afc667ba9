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

using ValuePtr = DataValue::PtrConstType;

// The work entries refer to the nodes without owning them. The caller's two roots keep
// both trees alive for the whole call and the trees are immutable, so counting a
// reference per node would be pure overhead, and, when many threads compare the same
// shared trees, contention on the nodes' shared counters.
ValuePtr Borrow(const DataValue* node) noexcept {
  return ValuePtr(ValuePtr(), node);
}

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

// One comparison runs as up to two walks over the same rules, told apart by Errors:
//
//   Detail::Differs  the checking walk: compares scalars as soon as it meets them, in
//                    any order, and only notes that some difference exists. Equal trees,
//                    the common case, take this walk alone.
//   MessageList      the reporting walk, run only when the checking walk found a
//                    difference: defers every comparison to the stack so that nodes are
//                    compared in reading order (first element first, fields in ascending
//                    name order, depth first), and reports the first difference it meets.
//
// Both walks stop at the first difference they meet: a method that finds one clears the
// work.
template <class Mode, class Errors>
struct ValueComparatorHelper {
  using Adapter = DataAdapter<ValuePtr, ValuePtr, Errors>;
  using Method = typename Adapter::Method;
  static constexpr bool kReport = std::is_same_v<Errors, MessageList>;

  // Compares `a` with `b` by the method that fits the class of `a`. The reporting walk
  // queues every pair; the checking walk compares childless nodes at once, the common
  // scalars without even an indirect call. (Flattening inlines the push, so that the
  // borrowed pointers go straight into the stack: measurably faster on large documents.)
  [[gnu::flatten]] static void Dispatch(const ValuePtr& a, const ValuePtr& b, Adapter& work, Errors& errors) {
    if constexpr (!kReport) {
      if (errors.found) return;  // the rest of a list or structure after a difference
    }
    if (a && b) {
      const DataType kind = a->type();
      if constexpr (!kReport) {
        switch (kind) {
          case DataType::INTEGER:
            return CheckScalar<IntegerValue>(kind, *a, *b, work, errors);
          case DataType::DOUBLE:
            return CheckScalar<DoubleValue>(kind, *a, *b, work, errors);
          case DataType::BOOLEAN:
            return CheckScalar<BooleanValue>(kind, *a, *b, work, errors);
          case DataType::STRING:
            return CheckScalar<StringValue>(kind, *a, *b, work, errors);
          case DataType::LIST:
          case DataType::OPTIONAL:
          case DataType::STRUCTURE:
          case DataType::ERROR:
            break;
          default:
            MethodFor(kind)(a, b, work, errors);
            return;
        }
      }
      work.Push(Borrow(a.get()), Borrow(b.get()), MethodFor(kind));
    } else if (a || b) {
      work.Push(Borrow(a.get()), Borrow(b.get()), &UnsetMethod);
    }
  }

  // A scalar of class X (`a`, of kind `kind`) against `b`, for the checking walk. Both
  // modes require equal kinds of scalars.
  template <class X>
  static void CheckScalar(DataType kind, const DataValue& a, const DataValue& b, Adapter& work,
                          Errors& errors) {
    if (b.type() != kind || !Equal(static_cast<const X&>(a).value(), static_cast<const X&>(b).value())) {
      errors.found = true;
      work.Clear();
    }
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
  static void UnsetMethod(const ValuePtr& a, const ValuePtr& b, Adapter& work, Errors& errors) {
    Detail::RecordDifference(work, errors, "olma.data.type.mismatch", [&] {
      return std::make_tuple(Detail::RenderNode(a.get()), Detail::RenderNode(b.get()));
    });
  }

  static void TypeOnlyMethod(const ValuePtr& a, const ValuePtr& b, Adapter& work, Errors& errors) {
    CompareTypes(*a, *b, work, errors);
  }

  // Scalars: exact equality, doubles within the tolerance.
  template <class X>
  static void PrimitiveMethod(const ValuePtr& a, const ValuePtr& b, Adapter& work, Errors& errors) {
    if (!CompareTypes(*a, *b, work, errors)) return;
    if (!Equal(static_cast<const X&>(*a).value(), static_cast<const X&>(*b).value())) {
      NotEqual(*a, *b, work, errors);
    }
  }

  // Typed lists: same length and pairwise equal elements, by the scalar rules.
  template <class X>
  static void ListPrimitiveMethod(const ValuePtr& a, const ValuePtr& b, Adapter& work, Errors& errors) {
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
  static void CompositeMethod(const ValuePtr& a, const ValuePtr& b, Adapter& work, Errors& errors) {
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
    for (auto ia = a.rbegin(); ia != a.rend(); ++ia, ++ib) Dispatch(*ia, *ib, work, errors);
  }

  static void CompareInt(const OptionalValue& a, const OptionalValue& b, Adapter& work, Errors& errors) {
    if (a.isSet() != b.isSet()) {
      NotEqual(a, b, work, errors);
    } else if (a.isSet()) {
      Dispatch(a.value(), b.value(), work, errors);
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
        a.fields(), b.fields(), [&](const ValuePtr& x, const ValuePtr& y) { Dispatch(x, y, work, errors); });
    if (missing != nullptr) {
      Detail::RecordDifference(work, errors, "olma.data.value.comp.struct.missing.field",
                               [&] { return std::make_tuple(*missing, a.ToString(), b.ToString()); });
    }
  }

  // Runs one walk from the pair of roots.
  static void Walk(const ValuePtr& a, const ValuePtr& b, Errors& errors) {
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
  ValueComparatorHelper<Mode, Detail::Differs>::Walk(a, b, check);
  if (!check.found) return true;
  ValueComparatorHelper<Mode, MessageList>::Walk(a, b, messages);
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
