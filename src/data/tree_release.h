// Frees trees of shared nodes (values, definitions) without recursion and without
// allocating.
//
// A node that owns children would normally free them from its destructor, which frees
// theirs, and so on: a tree nested a million levels deep would exhaust the call stack.
// Instead each composite's destructor hands its composite children to the release that
// is running on this thread, or starts one. The release drops the children it was handed
// one at a time; a child whose last owner that was runs its own destructor, which hands
// over its children in turn, so every destructor runs at depth one or two.
//
// Two promises follow from that shape:
//   - A node is only ever taken apart by its own destructor, which runs once the last
//     strong owner is gone. A weak pointer that locks successfully (a structure reached
//     through a reference) therefore always sees the node whole, whatever other threads
//     are releasing at the time; nothing relies on use_count().
//   - Nothing is allocated. Children are moved into the release by relinking the nodes of
//     the containers that hold them (list splice, map node extraction), and the single
//     child of an optional or of an element definition goes to one slot that the release
//     empties before it drops anything. Destructors can therefore not fail for lack of
//     memory.
//
// Leaves (nodes without children) stay where they are: freeing them in place reaches no
// further.
#pragma once

#include <list>
#include <map>
#include <memory>
#include <utility>

namespace Olma {
namespace Data {
namespace Detail {

// One release of the trees of `Node`. `Fields` is the map type in which compound nodes
// hold their named children; `IsComposite(const Node&)` says whether a node has children.
template <class Node, class Fields, bool (*IsComposite)(const Node&) noexcept>
class TreeRelease {
 public:
  using Ptr = std::shared_ptr<const Node>;

  TreeRelease(const TreeRelease&) = delete;
  TreeRelease& operator=(const TreeRelease&) = delete;

  // Takes the one child of a dying node (emptying `child`).
  static void ReleaseChild(Ptr& child) noexcept {
    if (!child || !IsComposite(*child)) return;
    Run([&child](TreeRelease& release) { release.AdoptChild(child); });
  }

  // Takes the composite children of a dying node's field map.
  static void ReleaseFields(Fields& fields) noexcept {
    Run([&fields](TreeRelease& release) {
      for (auto field = fields.begin(); field != fields.end();) {
        auto next = std::next(field);
        if (field->second && IsComposite(*field->second)) release.fields_.insert(fields.extract(field));
        field = next;
      }
    });
  }

  // Takes the composite elements of a dying node's list.
  static void ReleaseList(std::list<Ptr>& list) noexcept {
    Run([&list](TreeRelease& release) {
      for (auto element = list.begin(); element != list.end();) {
        auto next = std::next(element);
        if (*element && IsComposite(**element)) release.list_.splice(release.list_.end(), list, element);
        element = next;
      }
    });
  }

 private:
  TreeRelease() = default;

  // Hands the children over to the release running on this thread, or runs one.
  template <class Adopt>
  static void Run(Adopt adopt) noexcept {
    if (active_ != nullptr) {
      adopt(*active_);
      return;
    }
    TreeRelease release;
    active_ = &release;
    adopt(release);
    release.Drain();
    active_ = nullptr;
  }

  void AdoptChild(Ptr& child) noexcept {
    if (!single_) {
      single_ = std::move(child);
      return;
    }
    // Two single children in one step: a second destructor ran inside the first (a
    // predicate that captured a definition, say). The second chain gets a release of its
    // own, which costs one level of call depth per such nesting, not per node.
    TreeRelease* const outer = active_;
    TreeRelease nested;
    active_ = &nested;
    nested.single_ = std::move(child);
    nested.Drain();
    active_ = outer;
  }

  // Drops the adopted nodes one at a time, newest first, so that the slot is empty
  // whenever a destructor may run.
  void Drain() noexcept {
    for (;;) {
      Ptr node;
      if (single_) {
        node = std::move(single_);
      } else if (!fields_.empty()) {
        node = std::move(fields_.begin()->second);
        fields_.erase(fields_.begin());
      } else if (!list_.empty()) {
        node = std::move(list_.back());
        list_.pop_back();
      } else {
        return;
      }
      node.reset();
    }
  }

  // The release running on this thread, if any: a per-thread pointer that is set only
  // while the outermost composite destructor is on the stack.
  static inline thread_local TreeRelease* active_ = nullptr;

  Ptr single_;
  std::multimap<typename Fields::key_type, Ptr, typename Fields::key_compare> fields_;
  std::list<Ptr> list_;
};

}  // namespace Detail
}  // namespace Data
}  // namespace Olma
