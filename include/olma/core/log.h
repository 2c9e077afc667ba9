// Severity levels of the library's log output.
//
//   std::cout << Olma::Log::Warning;   // "Warning"
#pragma once

#include <iosfwd>

#include "olma/core/export.h"

namespace Olma {
namespace Log {

enum SeverityLevel { Trace = 0, Debug = 1, Info = 2, Warning = 3, Error = 4, Fatal = 5 };

// Writes the level's name; a value outside the enumeration is written as its number.
OLMA_API std::ostream& operator<<(std::ostream& out, SeverityLevel level);

}  // namespace Log
}  // namespace Olma
