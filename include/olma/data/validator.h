// DataValidator: checks that a value conforms to a definition.
//
// Every method input, output and error crosses the API boundary as a dynamic value and is
// checked against the method's declared definition before anyone relies on its shape.
// The validator walks the definition and the value side by side and appends a message to
// the caller's list for each problem it finds:
//
//   Olma::MessageList errors;
//   bool ok = Olma::Data::DataValidator::Validate<Olma::Data::StrictMatch, Olma::Data::ValidatorModeStrict>(
//       definition, value, errors);
//   // ok is false exactly when this call appended a message; errors.back().id() says why,
//   // e.g. "olma.data.type.mismatch" with the renderings of definition and value.
//
// Two choices tune the check, both as template arguments:
//
//   Match   LooseMatch   fields of a structure that the definition does not name are ignored
//           StrictMatch  a value with more fields than its definition is refused, naming the
//                        first foreign field ("olma.data.compound.field.extra")
//   Mode    ValidatorModeStrict      a value's kind must equal the definition's kind
//           ValidatorModePermissive  compatible shapes pass as well (see
//                                    ValidatorModePermissive::CompareTypesInt): a string for
//                                    a blob or a secret, a bare value for an optional, a
//                                    typed list for a list, a structure for an error
//
// With either Match, a field declared OPTIONAL (a union case included) may be absent, and
// an absent union case is not held against its tag; a value with no more fields than its
// definition never counts as having extra ones. The fields of dynamic structures and
// errors, and everything below them, are matched as with LooseMatch. In permissive mode a
// typed list whose element kind fits is accepted without looking at its elements.
//
// Messages raised (ids with their default texts):
//   "olma.data.type.mismatch"           "Type mismatch: {1} != {2}" (definition, value)
//   "olma.data.value.unknown"           "Unknown value: {1}" (an enumeration refused the text)
//   "olma.data.compound.field.missing"  "Missing field in compound: [{1}] {2}: {3}"
//   "olma.data.compound.field.extra"    "Extra field in compound: [{1}] {2}: {3}"
//   "olma.data.union.invalid.case.state.notag", ".isset", ".isnotset": a union-case field
//                                       whose presence contradicts its tag field
// plus "olma.data.bad.cast2" from the string conversion when an enumeration or a union tag
// is not a string, and "olma.data.validation.truncated" when a failure limit ended the
// walk (see the overload of Validate that takes one). Texts are rendered only when a
// message is raised.
//
// The first error ends the walk: queued checks are abandoned, but the siblings of the
// failing node (the other fields of its structure, the other elements of its list) are
// still checked, so several messages may come from one call.
//
// Cost: each message copies the renderings of the nodes it names. A definition is
// rendered once per call however many messages name it, but the values named are
// rendered per message; the overload with a failure limit bounds both.
//
// Preconditions: both trees stay alive and unchanged for the duration of the call (they
// are immutable once shared, so this only means holding them). A structure reached
// through a StructRefDefinition is held by the call from the moment it is locked until
// the call returns, so its owner may let it go at any time; a reference whose target is
// already gone is reported as a type mismatch between "StructRefDefinition" and the
// value, never a crash. An empty value pointer inside a tree (a list element, a field or an optional's
// content) matches only an OPAQUE definition: it is a type mismatch rendered as "<unset>",
// or for an enumeration the string conversion's "olma.data.bad.cast2" from "<unset>".
//
// Thread safety: validation keeps no state between calls and never modifies the trees;
// any number of threads may validate the same definitions and values at once. Nesting
// depth costs heap memory for the work stack, never call-stack depth.
#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <type_traits>

#include "olma/core/export.h"
#include "olma/core/message.h"
#include "olma/data/data_type.h"
#include "olma/data/definition.h"
#include "olma/data/definitions.h"
#include "olma/data/modes.h"
#include "olma/data/value.h"
#include "olma/data/value_rendering.h"
#include "olma/data/values.h"

namespace Olma {
namespace Data {

// Match modes: how the fields of structures and errors are matched.
// Definition fields must be present unless OPTIONAL; value-only fields are ignored.
struct LooseMatch {};
// As LooseMatch, but a value with more fields than its definition is refused.
struct StrictMatch {};
// As LooseMatch; used internally for the known fields of dynamic structures and errors.
struct DynamicMatch {};

// The type-mismatch report shared by the validator modes.
struct ValidatorErrorReport {
  // Appends "olma.data.type.mismatch" ("Type mismatch: {1} != {2}") with `expected` (the
  // definition's rendering) and `actual` (the value's), abandons the walk's queued work
  // (`stack` is the walk's DataAdapter) and returns false.
  template <class Stack>
  static bool Error(Stack& stack, MessageList& errors, const std::string& expected,
                    const std::string& actual) {
    errors.push_back(Message<CoreTag>("olma.data.type.mismatch", expected, actual));
    stack.Clear();
    return false;
  }

  // The same with the renderings of `definition` and `value` (an empty value renders as
  // "<unset>", and whatever `definition` declares SECRET as "<secret>"). Kept out of line:
  // the texts are only made when the check has failed.
  template <class Stack>
  [[gnu::noinline, gnu::cold]] static bool Mismatch(Stack& stack, MessageList& errors,
                                                    const DataDefinition& definition,
                                                    const DataValue::PtrConstType& value) {
    return Error(stack, errors, definition.ToString(), RenderValue(value, definition.GetConstPtr()));
  }
};

// Kinds must be equal; each composite kind accepts only its own value class.
struct ValidatorModeStrict {
  static constexpr bool CompareTypesInt(DataType definitionType, DataType valueType) noexcept {
    return definitionType == valueType;
  }

  // True when `value` is of kind `expected` (normally definition.type(); the dynamic
  // compounds expect STRUCTURE or ERROR). Otherwise reports the mismatch between the
  // renderings of `definition` and `value` through ValidatorErrorReport. An empty value
  // never matches.
  template <class Stack>
  static bool CompareTypes(DataType expected, const DataDefinition& definition,
                           const DataValue::PtrConstType& value, Stack& stack, MessageList& errors) {
    if (value && CompareTypesInt(expected, value->type())) return true;
    return ValidatorErrorReport::Mismatch(stack, errors, definition, value);
  }
};

// Compatible kinds pass too; see CompareTypesInt. The validator also accepts a bare value
// where an OPTIONAL is declared (checked against the element), a typed list whose element
// kind fits, or a structure, where a LIST is declared, and a structure where an ERROR is.
struct ValidatorModePermissive {
  // True when a value of kind `valueType` may stand where `definitionType` is declared:
  //   - the kinds are equal;
  //   - BLOB or SECRET declared, STRING given (the text form of bytes and secrets);
  //   - ERROR declared, STRUCTURE given;
  //   - OPTIONAL declared, anything but UNKNOWN given (the value stands for the content);
  //   - LIST declared, a typed list (16 to 21) or a STRUCTURE given (a map as a structure).
  // Every other pair is false.
  static constexpr bool CompareTypesInt(DataType definitionType, DataType valueType) noexcept {
    if (definitionType == valueType) return true;
    switch (definitionType) {
      case DataType::BLOB:
      case DataType::SECRET:
        return valueType == DataType::STRING;
      case DataType::ERROR:
        return valueType == DataType::STRUCTURE;
      case DataType::OPTIONAL:
        return valueType != DataType::UNKNOWN;
      case DataType::LIST:
        return (valueType >= DataType::LIST_BOOL && valueType <= DataType::LIST_SECRET) ||
               valueType == DataType::STRUCTURE;
      default:
        return false;
    }
  }

  // As ValidatorModeStrict::CompareTypes, with CompareTypesInt as the rule.
  template <class Stack>
  static bool CompareTypes(DataType expected, const DataDefinition& definition,
                           const DataValue::PtrConstType& value, Stack& stack, MessageList& errors) {
    if (value && CompareTypesInt(expected, value->type())) return true;
    return ValidatorErrorReport::Mismatch(stack, errors, definition, value);
  }
};

namespace Detail {
// Which classes NarrowDataTypeInt may narrow to for a kind, and which kinds such an object
// reports.
template <DataType::EnumType Type, class Target>
struct Narrowable : std::false_type {};

#define OLMA_DETAIL_NARROWABLE(Type, Target) \
  template <>                                \
  struct Narrowable<DataType::Type, Target> : std::true_type {}

OLMA_DETAIL_NARROWABLE(ERROR, ErrorDefinition);
OLMA_DETAIL_NARROWABLE(OPTIONAL, OptionalDefinition);
OLMA_DETAIL_NARROWABLE(LIST, ListDefinition);
OLMA_DETAIL_NARROWABLE(STRUCTURE, StructDefinition);
OLMA_DETAIL_NARROWABLE(DYNAMIC_STRUCTURE, DynamicStructureDefinition);
OLMA_DETAIL_NARROWABLE(ANY_ERROR, DynamicErrorDefinition);
OLMA_DETAIL_NARROWABLE(OPTIONAL, OptionalValue);
OLMA_DETAIL_NARROWABLE(LIST, ListValue);
OLMA_DETAIL_NARROWABLE(ERROR, ErrorValue);
OLMA_DETAIL_NARROWABLE(STRUCTURE, StructValue);
OLMA_DETAIL_NARROWABLE(LIST_BOOL, ListValueBool);
OLMA_DETAIL_NARROWABLE(LIST_LONG, ListValueLong);
OLMA_DETAIL_NARROWABLE(LIST_DOUBLE, ListValueDouble);
OLMA_DETAIL_NARROWABLE(LIST_BLOB, ListValueBlob);
OLMA_DETAIL_NARROWABLE(LIST_STRING, ListValueString);
OLMA_DETAIL_NARROWABLE(LIST_SECRET, ListValueSecret);
OLMA_DETAIL_NARROWABLE(INTERNALC, CompoundValue);

#undef OLMA_DETAIL_NARROWABLE

template <DataType::EnumType Type>
constexpr bool ReportsKind(DataType actual) noexcept {
  // Structures and errors report their own kinds, so the compound base is reached by both.
  if constexpr (Type == DataType::INTERNALC) {
    return actual == DataType::STRUCTURE || actual == DataType::ERROR || actual == DataType::INTERNALC;
  } else {
    return actual == Type;
  }
}
}  // namespace Detail

// Narrows `pointer` to `Target` without dynamic_cast: returns a pointer sharing ownership
// with `pointer` when its kind is `Type`, else an empty pointer (also for an empty
// `pointer`). Defined for the definition kinds ERROR, OPTIONAL, LIST, STRUCTURE,
// DYNAMIC_STRUCTURE, ANY_ERROR and the value kinds OPTIONAL, LIST, ERROR, STRUCTURE, the
// typed lists and INTERNALC; other pairs do not compile. INTERNALC narrows any structure
// or error value to CompoundValue.
//
// A UnionCaseDefinition reports OPTIONAL as well but is no OptionalDefinition: narrow an
// optional definition only where a DefinitionVisitor has told the two apart.
template <DataType::EnumType Type, class Target, class Source>
std::shared_ptr<const Target> NarrowDataTypeInt(const std::shared_ptr<const Source>& pointer) {
  static_assert(Detail::Narrowable<Type, Target>::value, "NarrowDataTypeInt: no such kind for this class");
  if (pointer && Detail::ReportsKind<Type>(pointer->type()))
    return std::static_pointer_cast<const Target>(pointer);
  return nullptr;
}

// The entry point of validation.
class OLMA_API DataValidator {
 public:
  // Checks `value` against `definition`, appending a message to `errors` for each problem
  // found (see the top of this file). Returns true exactly when this call appended
  // nothing: messages already in `errors` do not count. Both pointers empty: true. Exactly
  // one empty: false, with no message. Match is LooseMatch or StrictMatch, Mode
  // ValidatorModeStrict or ValidatorModePermissive; these four combinations are provided
  // by the library. Thread-safe; does not throw for invalid data.
  template <class Match, class Mode>
  static bool Validate(const DataDefinition::PtrConstType& definition, const DataValue::PtrConstType& value,
                       MessageList& errors);

  // As above, but stops once `maxFailures` messages have been appended by this call (0:
  // no limit, the same as the form above), for callers that must bound what hostile input
  // costs them: a list of a hundred thousand wrong elements otherwise yields a hundred
  // thousand messages. The walk stops at the next list element, structure field or
  // queued check after the limit is reached (each of those adds at most one message, so
  // exactly `maxFailures` failures are reported), and if anything was left unchecked one
  // closing message follows:
  //   "olma.data.validation.truncated"  "Validation stopped after {1} failures; {2} more
  //                                      values were not checked"
  // with {1} the failures reported and {2} the list elements, fields and queued composite
  // values skipped (their contents are not counted). Returns false whenever a message
  // was appended.
  template <class Match, class Mode>
  static bool Validate(const DataDefinition::PtrConstType& definition, const DataValue::PtrConstType& value,
                       MessageList& errors, std::size_t maxFailures);
};

#define OLMA_DETAIL_EXTERN_VALIDATE(Match, Mode)                                          \
  extern template OLMA_API bool DataValidator::Validate<Match, Mode>(                     \
      const DataDefinition::PtrConstType&, const DataValue::PtrConstType&, MessageList&); \
  extern template OLMA_API bool DataValidator::Validate<Match, Mode>(                     \
      const DataDefinition::PtrConstType&, const DataValue::PtrConstType&, MessageList&, std::size_t)

OLMA_DETAIL_EXTERN_VALIDATE(LooseMatch, ValidatorModeStrict);
OLMA_DETAIL_EXTERN_VALIDATE(StrictMatch, ValidatorModeStrict);
OLMA_DETAIL_EXTERN_VALIDATE(LooseMatch, ValidatorModePermissive);
OLMA_DETAIL_EXTERN_VALIDATE(StrictMatch, ValidatorModePermissive);

#undef OLMA_DETAIL_EXTERN_VALIDATE

}  // namespace Data
}  // namespace Olma
