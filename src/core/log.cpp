#include "olma/core/log.h"

#include <ostream>

namespace Olma {
namespace Log {

std::ostream& operator<<(std::ostream& out, SeverityLevel level) {
  static constexpr const char* kNames[] = {"Trace", "Debug", "Info", "Warning", "Error", "Fatal"};
  const int value = static_cast<int>(level);
  if (value >= 0 && value < static_cast<int>(sizeof(kNames) / sizeof(kNames[0]))) return out << kNames[value];
  return out << value;
}

}  // namespace Log
}  // namespace Olma
