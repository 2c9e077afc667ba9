// What the value and the definition comparators share: reporting a difference, and
// pairing the fields of two compounds.
#pragma once

#include <cstdint>
#include <cstring>
#include <iterator>
#include <string>
#include <string_view>
#include <tuple>

#include "olma/core/message.h"

namespace Olma {
namespace Data {
namespace Detail {

// The text a node contributes to a message; "<unset>" for an empty pointer.
template <class Node>
std::string RenderNode(const Node* node) {
  return node != nullptr ? node->ToString() : std::string("<unset>");
}

// Appends the message of a difference and abandons the queued work: a comparison reports
// at most one difference. Kept out of line so that the equal path, which every node
// takes, stays small.
template <class Adapter, class... Args>
[[gnu::noinline, gnu::cold]] void ReportDifference(Adapter& work, MessageList& messages, std::string_view id,
                                                   const Args&... args) {
  messages.push_back(Message<CoreTag>(id, args...));
  work.Clear();
}

// What a walk that only needs a yes or no records instead of a message.
struct Differs {
  bool found = false;
};

// Records the first difference of a walk, by the kind of Errors: a message whose arguments
// `args()` renders (as a tuple of texts), or just the flag. Either way the queued work is
// abandoned.
template <class Adapter, class Args>
void RecordDifference(Adapter& work, MessageList& messages, std::string_view id, Args&& args) {
  std::apply([&](const auto&... texts) { ReportDifference(work, messages, id, texts...); }, args());
}

template <class Adapter, class Args>
void RecordDifference(Adapter& work, Differs& differs, std::string_view, Args&&) {
  differs.found = true;
  work.Clear();
}

// Byte-wise equality of two texts. Names and short strings dominate comparisons, and for
// up to 16 bytes a few overlapping word loads beat a call to memcmp.
[[gnu::always_inline]] inline bool SameText(std::string_view a, std::string_view b) noexcept {
  const std::size_t size = a.size();
  if (size != b.size()) return false;
  const char* x = a.data();
  const char* y = b.data();
  const auto load8 = [](const char* p) {
    std::uint64_t word;
    std::memcpy(&word, p, sizeof(word));
    return word;
  };
  const auto load4 = [](const char* p) {
    std::uint32_t word;
    std::memcpy(&word, p, sizeof(word));
    return word;
  };
  if (size >= 8 && size <= 16) {
    return ((load8(x) ^ load8(y)) | (load8(x + size - 8) ^ load8(y + size - 8))) == 0;
  }
  if (size >= 4 && size < 8) {
    return ((load4(x) ^ load4(y)) | (load4(x + size - 4) ^ load4(y + size - 4))) == 0;
  }
  if (size < 4) {
    for (std::size_t i = 0; i < size; ++i) {
      if (x[i] != y[i]) return false;
    }
    return true;
  }
  return std::memcmp(x, y, size) == 0;
}

// Pairs the fields of `a`, from the greatest name down, with the fields of the same name
// in `b`, calling `pair(field of a, field of b)` for each. Stops at the first field of `a`
// that `b` lacks and returns its name; returns null when every field was paired. Both maps
// are ordered by byte-wise name comparison, so one pass down both suffices instead of a
// lookup per field. (Plain iterators stepped down by hand: every dereference of a
// reverse iterator steps the tree once more.)
template <class Map, class Pair>
const std::string* PairFieldsDescending(const Map& a, const Map& b, Pair&& pair) {
  auto next_b = b.end();  // one past the greatest field of `b` not yet paired
  for (auto ia = a.end(); ia != a.begin();) {
    --ia;
    for (;;) {
      if (next_b == b.begin()) return &ia->first;
      const auto ib = std::prev(next_b);
      next_b = ib;
      // Equal names are the common case, so test for them first: a length comparison
      // and at most one memcmp. Greater names are fields only `b` has.
      if (SameText(ib->first, ia->first)) {
        pair(ia->second, ib->second);
        break;
      }
      if (ib->first < ia->first) return &ia->first;
    }
  }
  return nullptr;
}

}  // namespace Detail
}  // namespace Data
}  // namespace Olma
