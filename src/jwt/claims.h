// JSON objects as structure values.
#pragma once

#include <boost/json/object.hpp>

#include "olma/data/compound_values.h"

namespace Olma {
namespace Jwt {
namespace Detail {

// `object` as a structure named `name`: strings, integers (unsigned ones beyond the signed
// range as doubles), doubles, booleans, lists; null as an unset optional; nested objects as
// structures named "object". Built from a work list, not by recursion.
Data::StructValue::PtrType ToStructValue(const boost::json::object& object, std::string name);

}  // namespace Detail
}  // namespace Jwt
}  // namespace Olma
