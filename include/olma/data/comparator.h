// Comparators: whether two value trees, or two definition trees, are the same.
//
// ValueComparator<Mode> compares values; the mode picks how strictly:
//
//   CompModeStrict  kinds must be equal, and structure and error names must be equal.
//   CompModeLoose   a structure and an error compare by their fields alone: the two kinds
//                   are interchangeable and names are ignored. No other kinds mix; in
//                   particular a typed list never equals a ListValue.
//
// In both modes integers, booleans, strings, blobs and secrets compare exactly, doubles
// with an ABSOLUTE tolerance: a and b are equal when |a - b| < 1e-6, whatever their
// magnitude (so 1e12 and 1e12 + 0.001 differ). Identical infinities are equal; NaN equals
// nothing.
//
//   Olma::MessageList messages;
//   if (!Olma::Data::ValueComparator<Olma::Data::CompModeStrict>::Compare(a, b, messages)) {
//     Log(messages.back().defaultMessage());   // e.g. "Values not equal <LONG>: 2 != 3"
//   }
//
// DataValue::Compare<Mode> and DataDefinition::Compare are the same operations.
//
// A comparison stops at the first difference and appends exactly one message naming it;
// equal trees append nothing. Lists are compared element by element from the first,
// structures field by field in ascending name order, and descent is depth first, so the
// difference reported is the first one in reading order. The messages:
//
//   "olma.data.type.mismatch"                    kinds differ (renderings of both nodes)
//   "olma.data.comparator.values.not.equal"      scalars, typed lists or the set state of
//                                                optionals differ (kind name of the first,
//                                                renderings of both)
//   "olma.data.value.comp.values.not.eq.sizes"   list lengths or field counts differ
//   "olma.data.value.comp.struct.names.not.eq"   structure names differ (strict only)
//   "olma.data.value.comp.struct.missing.field"  a field of the first is absent from the
//                                                second (field name, both renderings)
//
// A node compared with itself (the same pointer on both sides) is equal without being
// descended into; this holds for a double NaN too, which equals nothing else.
//
// Cost: equal trees are walked once, every pair of nodes visited once per path that
// reaches it; a sub-tree shared by several parents in both trees is skipped at once
// where both sides reach it by the same pointer, but compared once per path otherwise
// (a value of 22 levels of [x, x] against a copy of itself makes 4 million pair visits).
// When the trees differ, a second walk in reading order finds the difference to report,
// and rendering it costs the renderings of the two differing nodes (ToString, also once
// per path for shared sub-trees: 22 levels of [x, x] render 37 MB). Texts are rendered
// only once a difference is found. Both trees are walked with an explicit work stack, so
// any depth of nesting is compared without deep recursion; the walk of equal values
// allocates nothing unless they nest more than 16 composites deep. The comparators hold
// no state: any number of threads may compare, also the same shared trees, at once.
#pragma once

#include "olma/core/export.h"
#include "olma/core/message.h"
#include "olma/data/data_type.h"
#include "olma/data/definition.h"
#include "olma/data/modes.h"
#include "olma/data/value.h"

namespace Olma {
namespace Data {

// Strict value comparison: equal kinds, equal structure names.
struct CompModeStrict {
  static constexpr bool kCompareNames = true;

  // Whether a value of kind `a` may equal one of kind `b`.
  static constexpr bool CompareTypes(DataType a, DataType b) noexcept { return a == b; }
};

// Loose value comparison: structures and errors interchangeable, names ignored.
struct CompModeLoose {
  static constexpr bool kCompareNames = false;

  // Whether a value of kind `a` may equal one of kind `b`: equal kinds, or a structure and
  // an error in either order.
  static constexpr bool CompareTypes(DataType a, DataType b) noexcept {
    return a == b || (IsCompound(a) && IsCompound(b));
  }

 private:
  static constexpr bool IsCompound(DataType kind) noexcept {
    return kind == DataType::STRUCTURE || kind == DataType::ERROR;
  }
};

template <class Mode>
class OLMA_API ValueComparator {
 public:
  // True when `a` and `b` are equal under Mode. Two empty pointers are equal; an empty and
  // a non-empty one are not, and that case appends no message. Otherwise at most one
  // message is appended, and the result is true exactly when none was: messages already
  // in the list do not count.
  //
  // Empty pointers inside the trees (list elements, field values, optional contents) are
  // accepted: two empty ones are equal, an empty and a non-empty one give
  // "olma.data.type.mismatch" with "<unset>" for the empty side.
  [[nodiscard]] static bool Compare(const DataValue::PtrConstType& a, const DataValue::PtrConstType& b,
                                    MessageList& messages);
};

extern template class OLMA_API ValueComparator<CompModeLoose>;
extern template class OLMA_API ValueComparator<CompModeStrict>;

// Compares definitions. Kinds must be equal (so a StringDefinition equals an
// IsOneOfDefinition: predicates cannot be compared). Beyond the kind:
//  - scalars, opaque and is-one-of definitions: nothing more;
//  - optional and list definitions: their elements. An optional equals a union case whose
//    element equals its own; a union case equals another union case with the same tag
//    field name and an equal element, and never a plain optional (it has no tag field):
//    "olma.data.type.mismatch";
//  - structure and error definitions: as strict structure values, names first, then field
//    counts, then the fields in ascending name order; an unset name or field map counts as
//    empty;
//  - dynamic structure and dynamic error definitions: their known fields, as structures
//    whose names always agree;
//  - references: equal names, and either both or neither target still alive. Targets are
//    not descended into, which keeps recursive types finite.
// The messages are those of the value comparator, with definition renderings.
class OLMA_API DefinitionComparator {
 public:
  // As ValueComparator::Compare, for definitions.
  [[nodiscard]] static bool Compare(const DataDefinition::PtrConstType& a,
                                    const DataDefinition::PtrConstType& b, MessageList& messages);
};

}  // namespace Data
}  // namespace Olma
