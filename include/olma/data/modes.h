// The tag and policy types that select the strength of the data operations.
//
// Validation, comparison and conversion come in a strict and a loose strength. The
// strength is a template argument, so the choice costs nothing at run time:
//
//   DataDefinition::Validate<StrictMatch, ValidatorModePermissive>(definition, value, errors);
//   DataValue::Compare<CompModeLoose>(a, b, messages);
//
// This header only names the types, so that the value and definition headers can declare
// the operations without pulling in the code that implements them.
//
//   LooseMatch, StrictMatch, DynamicMatch   how the fields of a compound are matched:
//                                           extra fields are ignored, refused, or the
//                                           fields are those of a dynamic compound
//   ValidatorModeStrict, ValidatorModePermissive
//                                           whether a value's kind must equal the
//                                           definition's, or may be a compatible one
//   CompModeLoose, CompModeStrict           value comparison: structures and errors
//                                           interchangeable, or kinds equal exactly
//   DataValueHelper::Strict, Loose          conversion of a value to a native type
#pragma once

namespace Olma {
namespace Data {

class DataValue;

struct LooseMatch;
struct StrictMatch;
struct DynamicMatch;

struct ValidatorModeStrict;
struct ValidatorModePermissive;

struct CompModeLoose;
struct CompModeStrict;

namespace DataValueHelper {
struct Strict;
struct Loose;
}  // namespace DataValueHelper

}  // namespace Data
}  // namespace Olma
