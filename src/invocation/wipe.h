// Overwrites buffers that held credentials before they are freed. explicit_bzero is not
// optimised away even when the buffer is about to die.
#pragma once

#include <string.h>

#include <string>

#include "olma/core/byte_vector.h"

namespace Olma {
namespace Core {
namespace Detail {

inline void Wipe(std::string& text) noexcept {
  explicit_bzero(text.data(), text.size());
}
inline void Wipe(ByteVector& bytes) noexcept {
  if (!bytes.empty()) explicit_bzero(bytes.data(), bytes.size());
}

}  // namespace Detail
}  // namespace Core
}  // namespace Olma
