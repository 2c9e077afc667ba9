// Gzip compression of message bodies: one text in, one gzip member (deflate stream with gzip
// header and trailer) out, and back.
//
//   Olma::MessageList messages;
//   Olma::ByteVector packed = Olma::Gzip::Compress(body, messages);
//   std::string body2 = Olma::Gzip::Decompress(packed, messages);
//   if (!messages.empty()) { ... }
//
// Problems are reported as catalogued messages appended to the caller's list; neither function
// throws (other than std::bad_alloc). Each call uses its own zlib stream, so both functions are
// thread-safe.
#pragma once

#include <string>

#include "olma/core/byte_vector.h"
#include "olma/core/export.h"
#include "olma/core/message.h"

namespace Olma {
namespace Gzip {

// Compresses `data` into one gzip member at `level`: 0 (stored) to 9 (smallest); -1, the default,
// means 9 (not zlib's own default of 6).
//
// Messages appended:
// - "olma.compress.invalid.level" with the level, for any other level; the result is empty.
// - "olma.compress.init.failed" with zlib's return code when the stream cannot be set up.
//   Compression is still attempted, fails at once, and so also reports "olma.compress.failed".
// - "olma.compress.failed" with zlib's return code and error text (or "NULL" when zlib gives none)
//   when deflate stops before the end of the stream; the result then holds what was produced.
OLMA_API ByteVector Compress(const std::string& data, MessageList& messages, int level = -1);

// Inflates the first gzip member of `data`; bytes after its end are ignored. Raw deflate and
// zlib-wrapped streams are refused.
//
// Messages appended, each with an empty result:
// - "olma.decompress.init.failed" with zlib's return code when the stream cannot be set up.
// - "olma.decompress.failed" with zlib's return code and error text (or "NULL" when zlib gives
//   none) for input that is not a complete gzip member; a member cut short reports -5, "NULL".
OLMA_API std::string Decompress(const ByteVector& data, MessageList& messages);

}  // namespace Gzip
}  // namespace Olma
