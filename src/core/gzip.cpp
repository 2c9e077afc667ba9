#include "olma/core/gzip.h"

#include <zlib.h>

#include <algorithm>
#include <climits>
#include <cstddef>
#include <new>

namespace Olma {
namespace Gzip {
namespace {

constexpr int kGzipWindowBits = 15 + 16;  // 32 KiB window, gzip header and trailer
constexpr int kMemoryLevel = 8;
constexpr std::size_t kStep = 4096;

// zlib counts input in unsigned ints; larger inputs are handed over in pieces of at most that.
// Returns whether input remains beyond what the stream now holds.
bool Feed(z_stream& stream, const std::uint8_t*& next, std::size_t& remaining) {
  if (stream.avail_in == 0 && remaining > 0) {
    const std::size_t piece = std::min<std::size_t>(remaining, UINT_MAX);
    stream.next_in = const_cast<Bytef*>(next);  // zlib's API is not const-correct; it only reads
    stream.avail_in = static_cast<uInt>(piece);
    next += piece;
    remaining -= piece;
  }
  return remaining > 0;
}

const char* ErrorText(const z_stream& stream) {
  return stream.msg != nullptr ? stream.msg : "NULL";
}

// zlib's own text for Z_MEM_ERROR, reported when an allocation of the result fails.
constexpr const char* kOutOfMemory = "insufficient memory";

}  // namespace

ByteVector Compress(const std::string& data, MessageList& messages, int level) {
  if (level == -1) {
    level = 9;
  } else if (level < 0 || level > 9) {
    messages.push_back(Message<CoreTag>("olma.compress.invalid.level", level));
    return {};
  }

  z_stream stream{};
  int ret = deflateInit2(&stream, level, Z_DEFLATED, kGzipWindowBits, kMemoryLevel, Z_DEFAULT_STRATEGY);
  if (ret != Z_OK) {
    // Deliberately not returning: deflate on the unset stream fails at once and reports too, so
    // callers that only look for "olma.compress.failed" still see the failure.
    messages.push_back(Message<CoreTag>("olma.compress.init.failed", ret));
  }

  ByteVector result;
  const auto* next = reinterpret_cast<const std::uint8_t*>(data.data());
  std::size_t remaining = data.size();
  Bytef buffer[kStep];
  try {
    do {
      const bool more = Feed(stream, next, remaining);
      stream.next_out = buffer;
      stream.avail_out = kStep;
      ret = deflate(&stream, more ? Z_NO_FLUSH : Z_FINISH);
      result.insert(result.end(), buffer, buffer + (kStep - stream.avail_out));
    } while (ret == Z_OK);
  } catch (const std::bad_alloc&) {
    deflateEnd(&stream);
    ByteVector().swap(result);
    messages.push_back(Message<CoreTag>("olma.compress.failed", Z_MEM_ERROR, kOutOfMemory));
    return result;
  }

  // Read the error text before deflateEnd, which releases the state it may point into.
  if (ret != Z_STREAM_END) {
    messages.push_back(Message<CoreTag>("olma.compress.failed", ret, ErrorText(stream)));
  }
  deflateEnd(&stream);
  return result;
}

std::string Decompress(const ByteVector& data, MessageList& messages) {
  return Decompress(data, messages, kDefaultDecompressLimit);
}

std::string Decompress(const ByteVector& data, MessageList& messages, std::size_t max_output) {
  std::string result;
  z_stream stream{};
  int ret = inflateInit2(&stream, kGzipWindowBits);
  if (ret != Z_OK) {
    messages.push_back(Message<CoreTag>("olma.decompress.init.failed", ret));
    return result;
  }

  const std::uint8_t* next = data.data();
  std::size_t remaining = data.size();
  Bytef buffer[kStep];
  bool too_large = false;
  try {
    do {
      Feed(stream, next, remaining);
      stream.next_out = buffer;
      stream.avail_out = kStep;
      ret = inflate(&stream, Z_NO_FLUSH);
      const std::size_t produced = kStep - stream.avail_out;
      // Checked before appending, so the result never holds more than the limit.
      if (produced > max_output - result.size()) {
        too_large = true;
        break;
      }
      result.append(reinterpret_cast<const char*>(buffer), produced);
    } while (ret == Z_OK);
  } catch (const std::bad_alloc&) {
    inflateEnd(&stream);
    std::string().swap(result);
    messages.push_back(Message<CoreTag>("olma.decompress.failed", Z_MEM_ERROR, kOutOfMemory));
    return result;
  }

  if (too_large) {
    std::string().swap(result);
    messages.push_back(Message<CoreTag>("olma.decompress.limit.exceeded", max_output));
  } else if (ret != Z_STREAM_END) {
    result.clear();
    messages.push_back(Message<CoreTag>("olma.decompress.failed", ret, ErrorText(stream)));
  }
  inflateEnd(&stream);
  return result;
}

}  // namespace Gzip
}  // namespace Olma
