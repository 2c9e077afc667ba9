// Whether clients built against one version of a definition still work against another.
//
//   Olma::MessageList breaks;
//   if (!Olma::Data::CheckCompatibility(published, candidate, Olma::Data::CompatibilityDirection::Input,
//                                       breaks)) {
//     for (const auto& m : breaks) Report(m.defaultMessage());   // "Required input field added: task.owner"
//   }
//
// For an Input (what the server accepts from clients that send old-shaped values), these
// break: a required field added ("olma.data.compat.input.field.added"), a field removed,
// which strict input validation rejects when an old client sends it
// ("olma.data.compat.input.field.removed"), an optional made required
// ("olma.data.compat.optional.made.required") and an enumeration that no longer accepts a
// name it accepted ("olma.data.compat.enum.narrowed").
//
// For an Output (what the server returns to clients that expect old-shaped values): a
// required field removed ("olma.data.compat.output.field.removed"), a required field made
// optional ("olma.data.compat.required.made.optional") and an enumeration that gained names
// the old one did not have ("olma.data.compat.enum.widened").
//
// Either way a changed kind breaks ("olma.data.compat.kind.changed", with both kind names),
// except that an OPAQUE input accepts, and an OPAQUE output expects, anything. Adding an
// optional input field or any output field is compatible. Structure and error names are not
// compared.
//
// Every break is reported, each message naming the dotted path of the field where it
// happens ("task.owner.name"; "(root)" for the definition itself; list elements and optional
// contents share their container's path). Enumerations are compared by their names when the
// old one (for inputs) or the new one (for outputs) was built from a native Enum
// (EnumValueSet); other predicates cannot be enumerated and are assumed unchanged.
// References are followed to their structures, each pair of structures compared once, so
// recursive definitions terminate. The walk runs on the adaptation engine, without
// recursion. Returns true when nothing was appended. Stateless and thread-safe.
#pragma once

#include "olma/core/export.h"
#include "olma/core/message.h"
#include "olma/data/definition.h"

namespace Olma {
namespace Data {

enum class CompatibilityDirection { Input, Output };

OLMA_API bool CheckCompatibility(const DataDefinition::PtrConstType& oldDefinition,
                                 const DataDefinition::PtrConstType& newDefinition,
                                 CompatibilityDirection direction, MessageList& messages);

}  // namespace Data
}  // namespace Olma
