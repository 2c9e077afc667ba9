#include "olma/data/comparator.h"

#include <algorithm>
#include <cmath>
#include <iterator>
#include <string>
#include <string_view>
#include <typeinfo>

#include "data/comparator_detail.h"
#include "data/inline_stack.h"
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

[[gnu::always_inline]] inline bool Equal(const std::string& a, const std::string& b) noexcept {
  return Detail::SameText(a, b);
}

template <class T>
bool Equal(const T& a, const T& b) noexcept {
  return a == b;
}

// The elements of two typed lists: same length and pairwise equal by the scalar rules.
template <class X>
bool ElementsEqual(const X& a, const X& b) noexcept {
  using Element = typename X::ElementType;
  return a.size() == b.size() && std::equal(a.begin(), a.end(), b.begin(),
                                            [](const Element& p, const Element& q) { return Equal(p, q); });
}

// A comparison runs as up to two walks that share the kind test and the scalar rules:
//
//   EqualityCheck   whether the trees are equal, and nothing more: it renders no text,
//                   builds no message and queues no leaf. Equal trees, the common case,
//                   take this walk alone.
//   ReportingWalk   run only when the check found a difference: compares in reading order
//                   (first element first, fields in ascending name order, depth first) on
//                   the adaptation engine and reports the first difference it meets.
//
// Both treat a node compared with itself (the same pointer on both sides, as in a tree
// that shares sub-trees) as equal without descending into it.

// The check. Each composite being compared (a list, or the fields of two compounds) has a
// frame holding where the walk is in it; the walk goes on from the innermost one. A leaf
// is compared as soon as it is met, and an optional is unwrapped in place, so frames are
// only ever pushed for lists and compounds: one per level of nesting being walked.
template <class Mode>
class EqualityCheck {
 public:
  static bool Run(Node a, Node b) {
    const Outcome outcome = Pair(a, b);
    if (outcome == kDiffer || outcome == kEqual) return outcome == kEqual;
    Frames frames;
    Open(frames.push(), outcome, a, b);
    while (!frames.empty()) {
      Frame& top = frames.back();
      const bool equal = top.isFields ? Walk(top.fields, frames) : Walk(top.elements, frames);
      if (!equal) return false;
    }
    return true;
  }

 private:
  // What Pair found: a difference, equality, or two lists or two compounds whose children
  // are yet to be compared.
  enum Outcome { kDiffer, kEqual, kLists, kCompounds };

  // Where the walk is in two lists, or in the fields of two compounds: the next pair is at
  // `a` and `b`, and `a` reaching `end` finishes the frame.
  template <class Iterator>
  struct Cursor {
    Iterator a, end, b;
  };
  struct Frame {
    Cursor<ListValue::const_iterator> elements;
    Cursor<CompoundValue::FieldMap::const_iterator> fields;
    bool isFields;
  };
  // Room for documents 16 levels deep without allocating.
  using Frames = Detail::InlineStack<Frame, 16>;

  // Compares the pairs of the innermost frame, whose cursor is `at`, until one of them has
  // children (it gets a frame of its own, and the walk goes on there) or none is left.
  template <class Iterator>
  static bool Walk(Cursor<Iterator>& at, Frames& frames) {
    Iterator a = at.a;
    Iterator b = at.b;
    const Iterator end = at.end;
    for (;;) {
      const Iterator x = a++;
      const Iterator y = b++;
      if (!SameName(x, y)) return false;
      Node first = NodeAt(x);
      Node second = NodeAt(y);
      if (a == end) {
        // The frame is done before its last pair is compared, so that a chain of single
        // children is walked with one frame, however deep.
        frames.pop();
        const Outcome outcome = Pair(first, second);
        if (outcome == kDiffer) return false;
        if (outcome != kEqual) Open(frames.push(), outcome, first, second);
        return true;
      }
      Prefetch(a, b, end);
      const Outcome outcome = Pair(first, second);
      if (outcome == kDiffer) return false;
      if (outcome != kEqual) {
        at.a = a;
        at.b = b;
        Open(frames.push(), outcome, first, second);
        return true;
      }
    }
  }

  // With equal field counts, two maps hold the same names exactly when they list them in
  // the same order, so names are compared pair by pair.
  static bool SameName(ListValue::const_iterator, ListValue::const_iterator) noexcept { return true; }
  static bool SameName(CompoundValue::FieldMap::const_iterator a,
                       CompoundValue::FieldMap::const_iterator b) noexcept {
    return Detail::SameText(a->first, b->first);
  }

  static Node NodeAt(ListValue::const_iterator at) noexcept { return at->get(); }
  static Node NodeAt(CompoundValue::FieldMap::const_iterator at) noexcept { return at->second.get(); }

  // Asks for the next pair (at `a` and `b`) while the current one is compared: the walk is
  // bound by the latency of fetching scattered nodes, and the fetches overlap with that
  // work. A list's elements also ask for the list nodes after them: each list node is an
  // allocation of its own, made after the whole element it holds, so consecutive nodes lie
  // a whole element apart and reading the next one would wait for memory at every step.
  // (A field's map nodes lie next to each other and to their values, and finding the one
  // after next would cost a tree step.)
  static void Prefetch(ListValue::const_iterator a, ListValue::const_iterator b,
                       ListValue::const_iterator end) noexcept {
    __builtin_prefetch(NodeAt(a));
    __builtin_prefetch(NodeAt(b));
    const auto afterA = std::next(a);
    if (afterA == end) return;
    // The lists are equally long, so b has a node after it too.
    __builtin_prefetch(&*afterA);
    __builtin_prefetch(&*std::next(b));
  }
  static void Prefetch(CompoundValue::FieldMap::const_iterator a, CompoundValue::FieldMap::const_iterator b,
                       CompoundValue::FieldMap::const_iterator) noexcept {
    __builtin_prefetch(NodeAt(a));
    __builtin_prefetch(NodeAt(b));
  }

  // Compares `a` with `b` as far as it can without a frame: leaves wholly, optionals by
  // their contents (moving `a` and `b` to them), lists and compounds by kind, name and
  // size. kLists and kCompounds leave `a` and `b` at the two non-empty composites whose
  // children are to be compared.
  [[gnu::always_inline]] static Outcome Pair(Node& a, Node& b) {
    for (;;) {
      if (a == b) return kEqual;
      if (a == nullptr || b == nullptr) return kDiffer;
      // Nodes of one class are of one kind, which the kind test passes. Telling that from
      // their classes' type information costs two loads where reading the second kind
      // would cost a call; only nodes of different classes need their kinds compared.
      if (&typeid(*a) != &typeid(*b) && !Mode::CompareTypes(a->type(), b->type())) return kDiffer;
      const DataType kind = a->type();
      switch (kind) {
        case DataType::INTEGER:
          return Same<IntegerValue>(*a, *b);
        case DataType::DOUBLE:
          return Same<DoubleValue>(*a, *b);
        case DataType::BOOLEAN:
          return Same<BooleanValue>(*a, *b);
        case DataType::STRING:
          return Same<StringValue>(*a, *b);
        case DataType::BLOB:
          return Same<BlobValue>(*a, *b);
        case DataType::SECRET:
          return Same<SecretValue>(*a, *b);
        case DataType::LIST_BOOL:
          return SameElements<ListValueBool>(*a, *b);
        case DataType::LIST_LONG:
          return SameElements<ListValueLong>(*a, *b);
        case DataType::LIST_DOUBLE:
          return SameElements<ListValueDouble>(*a, *b);
        case DataType::LIST_BLOB:
          return SameElements<ListValueBlob>(*a, *b);
        case DataType::LIST_STRING:
          return SameElements<ListValueString>(*a, *b);
        case DataType::LIST_SECRET:
          return SameElements<ListValueSecret>(*a, *b);
        case DataType::LIST: {
          const auto& x = static_cast<const ListValue&>(*a);
          const auto& y = static_cast<const ListValue&>(*b);
          if (x.size() != y.size()) return kDiffer;
          return x.empty() ? kEqual : kLists;
        }
        case DataType::STRUCTURE:
        case DataType::ERROR: {
          const auto& x = static_cast<const CompoundValue&>(*a);
          const auto& y = static_cast<const CompoundValue&>(*b);
          if constexpr (Mode::kCompareNames) {
            if (!Detail::SameText(x.name(), y.name())) return kDiffer;
          }
          if (x.fields().size() != y.fields().size()) return kDiffer;
          return x.fields().empty() ? kEqual : kCompounds;
        }
        case DataType::OPTIONAL: {
          const auto& x = static_cast<const OptionalValue&>(*a);
          const auto& y = static_cast<const OptionalValue&>(*b);
          if (x.isSet() != y.isSet()) return kDiffer;
          if (!x.isSet()) return kEqual;
          a = x.value().get();
          b = y.value().get();
          continue;
        }
        default:
          // VOID has no payload; no value reports any other kind.
          return kEqual;
      }
    }
  }

  // Sets `frame` over the children of two lists or compounds that Pair descends into.
  static void Open(Frame& frame, Outcome composites, Node a, Node b) {
    frame.isFields = composites == kCompounds;
    if (composites == kLists) {
      const auto& x = static_cast<const ListValue&>(*a);
      frame.elements = {x.begin(), x.end(), static_cast<const ListValue&>(*b).begin()};
    } else {
      const auto& x = static_cast<const CompoundValue&>(*a).fields();
      frame.fields = {x.begin(), x.end(), static_cast<const CompoundValue&>(*b).fields().begin()};
    }
  }

  template <class X>
  [[gnu::always_inline]] static Outcome Same(const DataValue& a, const DataValue& b) noexcept {
    return Equal(static_cast<const X&>(a).value(), static_cast<const X&>(b).value()) ? kEqual : kDiffer;
  }

  template <class X>
  static Outcome SameElements(const DataValue& a, const DataValue& b) noexcept {
    return ElementsEqual(static_cast<const X&>(a), static_cast<const X&>(b)) ? kEqual : kDiffer;
  }
};

// The reporting walk.
template <class Mode>
struct ReportingWalk {
  using Adapter = DataAdapter<Node, Node, MessageList>;
  using Method = typename Adapter::Method;

  // Queues the comparison of `a` with `b` by the method that fits the class of `a`. The
  // root method of the engine.
  static void Dispatch(const Node& a, const Node& b, Adapter& work, MessageList&) {
    if (a == b) return;
    if (a == nullptr || b == nullptr) {
      work.Push(a, b, &UnsetMethod);
      return;
    }
    work.Push(a, b, MethodFor(a->type()));
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
  static bool CompareTypes(const DataValue& a, const DataValue& b, Adapter& work, MessageList& errors) {
    if (Mode::CompareTypes(a.type(), b.type())) return true;
    Detail::ReportDifference(work, errors, "olma.data.type.mismatch", a.ToString(), b.ToString());
    return false;
  }

  static void NotEqual(const DataValue& a, const DataValue& b, Adapter& work, MessageList& errors) {
    Detail::ReportDifference(work, errors, "olma.data.comparator.values.not.equal", to_string(a.type()),
                             a.ToString(), b.ToString());
  }

  static void SizesDiffer(const DataValue& a, const DataValue& b, Adapter& work, MessageList& errors) {
    Detail::ReportDifference(work, errors, "olma.data.value.comp.values.not.eq.sizes", a.ToString(),
                             b.ToString());
  }

  // One side is an empty pointer, the other is not.
  static void UnsetMethod(const Node& a, const Node& b, Adapter& work, MessageList& errors) {
    Detail::ReportDifference(work, errors, "olma.data.type.mismatch", Detail::RenderNode(a),
                             Detail::RenderNode(b));
  }

  static void TypeOnlyMethod(const Node& a, const Node& b, Adapter& work, MessageList& errors) {
    CompareTypes(*a, *b, work, errors);
  }

  // Scalars: exact equality, doubles within the tolerance.
  template <class X>
  static void PrimitiveMethod(const Node& a, const Node& b, Adapter& work, MessageList& errors) {
    if (!CompareTypes(*a, *b, work, errors)) return;
    if (!Equal(static_cast<const X&>(*a).value(), static_cast<const X&>(*b).value())) {
      NotEqual(*a, *b, work, errors);
    }
  }

  // Typed lists: same length and pairwise equal elements, by the scalar rules.
  template <class X>
  static void ListPrimitiveMethod(const Node& a, const Node& b, Adapter& work, MessageList& errors) {
    if (!CompareTypes(*a, *b, work, errors)) return;
    if (!ElementsEqual(static_cast<const X&>(*a), static_cast<const X&>(*b))) NotEqual(*a, *b, work, errors);
  }

  template <class X>
  static void CompositeMethod(const Node& a, const Node& b, Adapter& work, MessageList& errors) {
    if (!CompareTypes(*a, *b, work, errors)) return;
    CompareInt(static_cast<const X&>(*a), static_cast<const X&>(*b), work, errors);
  }

  static void CompareInt(const ListValue& a, const ListValue& b, Adapter& work, MessageList& errors) {
    if (a.size() != b.size()) {
      SizesDiffer(a, b, work, errors);
      return;
    }
    // Last element first, so that the first pair is compared first.
    auto ib = b.rbegin();
    for (auto ia = a.rbegin(); ia != a.rend(); ++ia, ++ib) Dispatch(ia->get(), ib->get(), work, errors);
  }

  // Both unset: equal; one set and one unset: different; both set: their contents.
  static void CompareInt(const OptionalValue& a, const OptionalValue& b, Adapter& work, MessageList& errors) {
    if (a.isSet() != b.isSet()) {
      NotEqual(a, b, work, errors);
    } else if (a.isSet()) {
      Dispatch(a.value().get(), b.value().get(), work, errors);
    }
  }

  // Names (strict mode only), then field counts, then the fields in ascending name order.
  static void CompareInt(const CompoundValue& a, const CompoundValue& b, Adapter& work, MessageList& errors) {
    if constexpr (Mode::kCompareNames) {
      if (!Detail::SameText(a.name(), b.name())) {
        Detail::ReportDifference(work, errors, "olma.data.value.comp.struct.names.not.eq", a.ToString(),
                                 b.ToString());
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
      Detail::ReportDifference(work, errors, "olma.data.value.comp.struct.missing.field", *missing,
                               a.ToString(), b.ToString());
    }
  }

  static void Walk(Node a, Node b, MessageList& messages) {
    Adapter engine(&Dispatch);
    engine.Adapt(a, b, messages);
  }
};

}  // namespace

template <class Mode>
bool ValueComparator<Mode>::Compare(const DataValue::PtrConstType& a, const DataValue::PtrConstType& b,
                                    MessageList& messages) {
  if (!a || !b) return !a && !b;
  if (EqualityCheck<Mode>::Run(a.get(), b.get())) return true;
  ReportingWalk<Mode>::Walk(a.get(), b.get(), messages);
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
