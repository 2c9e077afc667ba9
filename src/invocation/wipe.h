// Overwrites buffers that held credentials before they are freed. explicit_bzero is not
// optimised away even when the buffer is about to die.
#pragma once

#include <string.h>

#include <string>

#include "olma/core/byte_vector.h"

namespace Olma {
namespace Core {
namespace Detail {

// The whole capacity, not only the size: a string that shrank or was moved from may still
// hold earlier characters in its buffer. Growing within the capacity does not allocate.
inline void Wipe(std::string& text) noexcept {
  text.resize(text.capacity());
  explicit_bzero(text.data(), text.size());
}
inline void Wipe(ByteVector& bytes) noexcept {
  bytes.resize(bytes.capacity());
  if (!bytes.empty()) explicit_bzero(bytes.data(), bytes.size());
}

}  // namespace Detail
}  // namespace Core
}  // namespace Olma
