// Copy, comparison and destruction of SecurityContextEntry trees without recursion.
//
// Every operation here touches one level of nested maps at a time and queues the maps
// below it, so the call depth stays constant however deep the tree is. A child entry is
// created or destroyed only once its own nested maps are empty (or about to be filled
// from the queue), so the compiler-generated member operations never descend either.
#include <string.h>

#include <utility>
#include <vector>

#include "olma/invocation/execution_context.h"

namespace Olma {
namespace Core {
namespace {

// Copies the string and the flag of `from`, not its nested entries.
void CopyShallow(const SecurityContextEntry& from, SecurityContextEntry& to) {
  to.value = from.value;
  to.isValue = from.isValue;
}

// Fills the empty map `to` with a deep copy of `from`, one level per queued pair.
void CopyEntries(const SecurityContext& from, SecurityContext& to) {
  std::vector<std::pair<const SecurityContext*, SecurityContext*>> pending{{&from, &to}};
  while (!pending.empty()) {
    const auto [source, target] = pending.back();
    pending.pop_back();
    for (const auto& [key, wrapped] : *source) {
      SecurityContextWrappedEntry& copy = target->try_emplace(target->end(), key)->second;
      CopyShallow(wrapped.value, copy.value);
      if (!wrapped.value.entries.empty()) pending.emplace_back(&wrapped.value.entries, &copy.value.entries);
      if (wrapped.override) {
        copy.override.emplace();
        CopyShallow(*wrapped.override, *copy.override);
        if (!wrapped.override->entries.empty()) {
          pending.emplace_back(&wrapped.override->entries, &copy.override->entries);
        }
      }
    }
  }
}

bool ShallowEqual(const SecurityContextEntry& a, const SecurityContextEntry& b) {
  return a.isValue == b.isValue && a.value == b.value && a.entries.size() == b.entries.size();
}

}  // namespace

SecurityContextEntry::SecurityContextEntry(const SecurityContextEntry& other)
    : value(other.value), isValue(other.isValue) {
  CopyEntries(other.entries, entries);
}

SecurityContextEntry& SecurityContextEntry::operator=(const SecurityContextEntry& other) {
  if (this != &other) *this = SecurityContextEntry(other);
  return *this;
}

SecurityContextEntry& SecurityContextEntry::operator=(SecurityContextEntry&& other) noexcept {
  if (this != &other) {
    // The previous content goes out through the destructor, which wipes and flattens it.
    SecurityContextEntry previous(std::move(*this));
    value = std::move(other.value);
    entries.swap(other.entries);
    isValue = other.isValue;
  }
  return *this;
}

SecurityContextEntry::~SecurityContextEntry() {
  explicit_bzero(value.data(), value.size());
  if (entries.empty()) return;
  // Each map taken from the list has the nested maps of its entries moved out first, so
  // destroying it only destroys entries that no longer own anything nested.
  std::vector<SecurityContext> pending(1);
  pending.back().swap(entries);
  while (!pending.empty()) {
    SecurityContext level;
    level.swap(pending.back());
    pending.pop_back();
    for (auto& [key, wrapped] : level) {
      if (!wrapped.value.entries.empty()) {
        pending.emplace_back();
        pending.back().swap(wrapped.value.entries);
      }
      if (wrapped.override && !wrapped.override->entries.empty()) {
        pending.emplace_back();
        pending.back().swap(wrapped.override->entries);
      }
    }
  }
}

bool SecurityContextEntry::operator==(const SecurityContextEntry& other) const {
  if (!ShallowEqual(*this, other)) return false;
  std::vector<std::pair<const SecurityContext*, const SecurityContext*>> pending{{&entries, &other.entries}};
  while (!pending.empty()) {
    const auto [left, right] = pending.back();
    pending.pop_back();
    // Sizes were compared when the pair was queued, so the two walks end together.
    for (auto a = left->begin(), b = right->begin(); a != left->end(); ++a, ++b) {
      if (a->first != b->first || !ShallowEqual(a->second.value, b->second.value) ||
          a->second.override.has_value() != b->second.override.has_value()) {
        return false;
      }
      if (!a->second.value.entries.empty()) {
        pending.emplace_back(&a->second.value.entries, &b->second.value.entries);
      }
      if (a->second.override) {
        if (!ShallowEqual(*a->second.override, *b->second.override)) return false;
        if (!a->second.override->entries.empty()) {
          pending.emplace_back(&a->second.override->entries, &b->second.override->entries);
        }
      }
    }
  }
  return true;
}

}  // namespace Core
}  // namespace Olma
