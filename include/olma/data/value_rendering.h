// Rendering a value through the definition it is declared with, for texts that leave the
// process.
//
// DataValue::ToString shows a value as it is: a secret only shows as "<secret>" when it is
// held by a SecretValue. Input from a transport is often looser than its declaration (a
// JSON client sends a password as a plain string, and the permissive validator accepts a
// string for a SECRET field), so a message that quotes the input would quote the password.
// RenderValue walks the definition alongside the value and masks every part that the
// definition declares SECRET, at any depth:
//
//   auto login = StructDefinition::GetInstance(
//       "login", {{"user", StringDefinition::GetInstance()}, {"password", SecretDefinition::GetInstance()}});
//   // input: {{ login : { password : hunter2, user : ada, } }}
//   Olma::Data::RenderValue(input, login);   // "{{ login : { password : <secret>, user : ada, } }} "
//
// The text is that of ToString in every other respect. The definition is followed where the
// value has the declared shape: list elements against the list's element, structure and
// error fields against the field of the same name (dynamic structures and errors against
// their known fields), an optional's content against its element, a reference against its
// live target; a bare value declared OPTIONAL is taken against the element, as the
// permissive validator takes it. Where value and definition part ways (a field the
// definition does not name, a kind other than the declared one) the rest of that sub-tree
// is rendered as ToString does, except that a value declared SECRET is masked whatever its
// kind. An empty definition gives ToString's text. Typed lists declared as lists of
// secrets show every element as "<secret>".
//
// Cost: one walk over the value, as ToString; a node reached along several paths (a
// sub-tree shared by several parents) is rendered once per path. Never fails; any depth
// is rendered without recursion. Any number of threads may render the same trees at once.
#pragma once

#include <string>

#include "olma/core/export.h"
#include "olma/data/definition.h"
#include "olma/data/value.h"

namespace Olma {
namespace Data {

// The rendering of `value` (an empty pointer: "<unset>") with everything that `definition`
// declares SECRET shown as "<secret>".
OLMA_API std::string RenderValue(const DataValue::PtrConstType& value,
                                 const DataDefinition::PtrConstType& definition);

}  // namespace Data
}  // namespace Olma
