// What the value and the definition comparators share: reporting a difference, and
// pairing the fields of two compounds.
#pragma once

#include <string>
#include <string_view>

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

// Pairs the fields of `a`, from the greatest name down, with the fields of the same name
// in `b`, calling `pair(field of a, field of b)` for each. Stops at the first field of `a`
// that `b` lacks and returns its name; returns null when every field was paired. Both maps
// are ordered by byte-wise name comparison, so one pass down both suffices instead of a
// lookup per field.
template <class Map, class Pair>
const std::string* PairFieldsDescending(const Map& a, const Map& b, Pair&& pair) {
  auto ib = b.rbegin();
  for (auto ia = a.rbegin(); ia != a.rend(); ++ia) {
    // Equal names are the common case, so test for them first: that costs a length
    // comparison and at most one memcmp. Greater names are those only `b` has.
    while (ib != b.rend() && ib->first != ia->first) {
      if (ib->first < ia->first) return &ia->first;
      ++ib;
    }
    if (ib == b.rend()) return &ia->first;
    pair(ia->second, ib->second);
    ++ib;
  }
  return nullptr;
}

}  // namespace Detail
}  // namespace Data
}  // namespace Olma
