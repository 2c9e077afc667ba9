// Gzip compression of message bodies: one text in, one gzip member (deflate stream with gzip
// header and trailer) out, and back.
//
//   Olma::MessageList messages;
//   Olma::ByteVector packed = Olma::Gzip::Compress(body, messages);
//   std::string body2 = Olma::Gzip::Decompress(packed, messages);
//   if (!messages.empty()) { ... }
//
// Problems are reported as catalogued messages appended to the caller's list; neither function
// throws, not even when memory runs out. Each call uses its own zlib stream, so both functions
// are thread-safe.
#pragma once

#include <cstddef>
#include <string>

#include "olma/core/byte_vector.h"
#include "olma/core/export.h"
#include "olma/core/message.h"

namespace Olma {
namespace Gzip {

// The most Decompress produces unless told otherwise: 64 MiB. Deflate packs up to about
// 1032:1, so a few kilobytes of hostile input could otherwise ask for gigabytes.
inline constexpr std::size_t kDefaultDecompressLimit = std::size_t{64} << 20;

// Compresses `data` into one gzip member at `level`: 0 (stored) to 9 (smallest); -1, the default,
// means 9 (not zlib's own default of 6).
//
// Messages appended:
// - "olma.compress.invalid.level" with the level, for any other level; the result is empty.
// - "olma.compress.init.failed" with zlib's return code when the stream cannot be set up.
//   Compression is still attempted, fails at once, and so also reports "olma.compress.failed".
// - "olma.compress.failed" with zlib's return code and error text (or "NULL" when zlib gives none)
//   when deflate stops before the end of the stream; the result then holds what was produced.
// Running out of memory reports "olma.compress.failed" with Z_MEM_ERROR (-4) and
// "insufficient memory", with an empty result.
OLMA_API ByteVector Compress(const std::string& data, MessageList& messages, int level = -1);

// Inflates the first gzip member of `data`; bytes after its end are ignored. Raw deflate and
// zlib-wrapped streams are refused.
//
// Messages appended, each with an empty result:
// - "olma.decompress.init.failed" with zlib's return code when the stream cannot be set up.
// - "olma.decompress.failed" with zlib's return code and error text (or "NULL" when zlib gives
//   none) for input that is not a complete gzip member; a member cut short reports -5, "NULL".
// - "olma.decompress.limit.exceeded" with the limit when the content is longer than
//   kDefaultDecompressLimit bytes; inflating stops as soon as the limit is passed, so memory
//   stays within the limit plus one 4096-byte step.
// - "olma.decompress.failed" with zlib's Z_MEM_ERROR (-4) and "insufficient memory" when
//   memory runs out (std::bad_alloc is caught).
OLMA_API std::string Decompress(const ByteVector& data, MessageList& messages);
// The same with another ceiling: content longer than `max_output` bytes is refused.
OLMA_API std::string Decompress(const ByteVector& data, MessageList& messages, std::size_t max_output);

}  // namespace Gzip
}  // namespace Olma
