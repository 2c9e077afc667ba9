// What the value and the definition comparators share: reporting a difference (and,
// from field_merge.h, pairing the fields of two compounds).
#pragma once

#include <string>
#include <string_view>
#include <tuple>

#include "data/field_merge.h"
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

}  // namespace Detail
}  // namespace Data
}  // namespace Olma
