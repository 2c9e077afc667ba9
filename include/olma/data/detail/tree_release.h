// Frees trees of shared nodes (values, definitions) without recursion.
//
// A node that owns children would normally free them from its destructor, which frees
// theirs, and so on: a tree nested a million levels deep would exhaust the call stack.
// Instead a composite node's destructor moves its children into a local work list and
// calls ReleaseTree. A child whose last owner is that list has its own children moved
// out into the list before it is dropped, so every destructor runs at depth one.
//
// `detach(node, pending)` must move the children of `node` into `pending`, leaving the
// node's containers empty. It is called only for nodes nobody else owns any more, which
// is why it may modify a node that is otherwise shared as const.
#pragma once

#include <memory>
#include <utility>
#include <vector>

namespace Olma {
namespace Data {
namespace Detail {

template <typename Node, typename Detach>
void ReleaseTree(std::vector<std::shared_ptr<const Node>>& pending, Detach detach) {
  while (!pending.empty()) {
    std::shared_ptr<const Node> node = std::move(pending.back());
    pending.pop_back();
    if (node && node.use_count() == 1) {
      // The count may have dropped to one on another thread that was still reading the
      // node. use_count() is a relaxed read; copying and dropping the pointer is an
      // acquire-release step on the count, which orders those reads before our changes.
      { std::shared_ptr<const Node> order = node; }
      detach(const_cast<Node&>(*node), pending);
    }
  }
}

}  // namespace Detail
}  // namespace Data
}  // namespace Olma
