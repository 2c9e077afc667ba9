#include "olma/data/comparator.h"

#include <algorithm>
#include <cmath>
#include <list>
#include <string>

#include "data/comparator_detail.h"
#include "olma/data/adapter.h"
#include "olma/data/values.h"

namespace Olma {
namespace Data {
namespace {

using ValuePtr = DataValue::PtrConstType;
using ValueAdapter = DataAdapter<ValuePtr, ValuePtr, MessageList>;
using Method = ValueAdapter::Method;

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

template <class T>
bool Equal(const T& a, const T& b) noexcept {
  return a == b;
}

template <class Mode>
struct ValueComparatorHelper {
  // Queues the comparison of `a` with `b`, with the method that fits the class of `a`.
  // Nothing is compared here: every check runs from the stack, so that differences are
  // met in reading order and the first one ends the walk.
  static void Dispatch(const ValuePtr& a, const ValuePtr& b, ValueAdapter& work, MessageList&) {
    if (a && b) {
      work.Push(Borrow(a.get()), Borrow(b.get()), MethodFor(a->type()));
    } else if (a || b) {
      work.Push(Borrow(a.get()), Borrow(b.get()), &UnsetMethod);
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

  // The kind test every method starts with; reports the mismatch itself.
  static bool CompareTypes(const DataValue& a, const DataValue& b, ValueAdapter& work,
                           MessageList& messages) {
    if (Mode::CompareTypes(a.type(), b.type())) return true;
    Detail::ReportDifference(work, messages, "olma.data.type.mismatch", a.ToString(), b.ToString());
    return false;
  }

  static void ReportNotEqual(const DataValue& a, const DataValue& b, ValueAdapter& work,
                             MessageList& messages) {
    Detail::ReportDifference(work, messages, "olma.data.comparator.values.not.equal", to_string(a.type()),
                             a.ToString(), b.ToString());
  }

  static void ReportSizes(const DataValue& a, const DataValue& b, ValueAdapter& work, MessageList& messages) {
    Detail::ReportDifference(work, messages, "olma.data.value.comp.values.not.eq.sizes", a.ToString(),
                             b.ToString());
  }

  // One side is an empty pointer, the other is not.
  static void UnsetMethod(const ValuePtr& a, const ValuePtr& b, ValueAdapter& work, MessageList& messages) {
    Detail::ReportDifference(work, messages, "olma.data.type.mismatch", Detail::RenderNode(a.get()),
                             Detail::RenderNode(b.get()));
  }

  static void TypeOnlyMethod(const ValuePtr& a, const ValuePtr& b, ValueAdapter& work,
                             MessageList& messages) {
    CompareTypes(*a, *b, work, messages);
  }

  // Scalars: exact equality, doubles within the tolerance.
  template <class X>
  static void PrimitiveMethod(const ValuePtr& a, const ValuePtr& b, ValueAdapter& work,
                              MessageList& messages) {
    if (!CompareTypes(*a, *b, work, messages)) return;
    if (!Equal(static_cast<const X&>(*a).value(), static_cast<const X&>(*b).value())) {
      ReportNotEqual(*a, *b, work, messages);
    }
  }

  // Typed lists: same length and pairwise equal elements, by the scalar rules.
  template <class X>
  static void ListPrimitiveMethod(const ValuePtr& a, const ValuePtr& b, ValueAdapter& work,
                                  MessageList& messages) {
    if (!CompareTypes(*a, *b, work, messages)) return;
    using Element = typename X::ElementType;
    const std::list<Element>& x = static_cast<const X&>(*a);
    const std::list<Element>& y = static_cast<const X&>(*b);
    const bool equal =
        x.size() == y.size() && std::equal(x.begin(), x.end(), y.begin(),
                                           [](const Element& p, const Element& q) { return Equal(p, q); });
    if (!equal) ReportNotEqual(*a, *b, work, messages);
  }

  template <class X>
  static void CompositeMethod(const ValuePtr& a, const ValuePtr& b, ValueAdapter& work,
                              MessageList& messages) {
    if (!CompareTypes(*a, *b, work, messages)) return;
    CompareInt(static_cast<const X&>(*a), static_cast<const X&>(*b), work, messages);
  }

  static void CompareInt(const ListValue& a, const ListValue& b, ValueAdapter& work, MessageList& messages) {
    if (a.size() != b.size()) {
      ReportSizes(a, b, work, messages);
      return;
    }
    // Last element first, so that the first pair is compared first.
    auto ib = b.rbegin();
    for (auto ia = a.rbegin(); ia != a.rend(); ++ia, ++ib) Dispatch(*ia, *ib, work, messages);
  }

  static void CompareInt(const OptionalValue& a, const OptionalValue& b, ValueAdapter& work,
                         MessageList& messages) {
    if (a.isSet() != b.isSet()) {
      ReportNotEqual(a, b, work, messages);
    } else if (a.isSet()) {
      Dispatch(a.value(), b.value(), work, messages);
    }
  }

  static void CompareInt(const CompoundValue& a, const CompoundValue& b, ValueAdapter& work,
                         MessageList& messages) {
    CompareCompound<CompoundValue>(a, b, work, messages);
  }

  // Names (strict mode only), then field counts, then the fields in ascending name order.
  template <class X>
  static void CompareCompound(const X& a, const X& b, ValueAdapter& work, MessageList& messages) {
    if constexpr (Mode::kCompareNames) {
      if (a.name() != b.name()) {
        Detail::ReportDifference(work, messages, "olma.data.value.comp.struct.names.not.eq", a.ToString(),
                                 b.ToString());
        return;
      }
    }
    if (a.fields().size() != b.fields().size()) {
      ReportSizes(a, b, work, messages);
      return;
    }
    // The greatest name is pushed first, so the smallest is compared first. With equal
    // counts, a field of `a` that `b` lacks stands for a field of `b` that `a` lacks; only
    // the former is named.
    const std::string* missing = Detail::PairFieldsDescending(
        a.fields(), b.fields(),
        [&](const ValuePtr& x, const ValuePtr& y) { Dispatch(x, y, work, messages); });
    if (missing != nullptr) {
      Detail::ReportDifference(work, messages, "olma.data.value.comp.struct.missing.field", *missing,
                               a.ToString(), b.ToString());
    }
  }
};

}  // namespace

template <class Mode>
bool ValueComparator<Mode>::Compare(const DataValue::PtrConstType& a, const DataValue::PtrConstType& b,
                                    MessageList& messages) {
  if (!a || !b) return !a && !b;
  const auto before = messages.size();
  ValueAdapter engine(&ValueComparatorHelper<Mode>::Dispatch);
  engine.Adapt(a, b, messages);
  return messages.size() == before;
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
