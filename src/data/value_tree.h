// Walks over whole value trees that the value classes share: rendering.
//
// It runs on an explicit work list, so that a tree nested a million levels deep costs
// heap memory proportional to its depth, never call-stack frames.
#pragma once

#include <string>

#include "olma/core/byte_vector.h"
#include "olma/data/definition.h"
#include "olma/data/value.h"

namespace Olma {
namespace Data {
namespace Detail {

// Appends the rendering of `value` (an empty pointer: "<unset>") and of its whole sub-tree
// to `out`; with a `definition`, everything it declares SECRET shows as "<secret>" (see
// olma/data/value_rendering.h).
void RenderValue(const DataValue* value, std::string& out, const DataDefinition* definition = nullptr);

// The renderings of the primitives, appended to `out`.
void AppendInteger(long long value, std::string& out);
void AppendDouble(double value, std::string& out);
void AppendBoolean(bool value, std::string& out);
void AppendBlob(const ByteVector& value, std::string& out);

}  // namespace Detail
}  // namespace Data
}  // namespace Olma
