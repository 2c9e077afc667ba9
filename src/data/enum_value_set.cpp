#include <algorithm>
#include <string>

#include "olma/data/native_to_definition.h"

namespace Olma {
namespace Data {

bool EnumValueSet::operator()(const std::string& name) const {
  return std::find(names.begin(), names.end(), name) != names.end();
}

}  // namespace Data
}  // namespace Olma
