// Copy, comparison and destruction of security-context entry trees without recursion.
//
// Every operation here touches one group of nested entries at a time and queues the
// groups below it, so the call depth stays constant however deep the tree is. A child
// entry is created or destroyed only once its own group is empty (or about to be filled
// from the queue), so the member operations of the entries never descend either.
#include "olma/invocation/execution_context.h"

#include <utility>
#include <vector>

#include "invocation/wipe.h"

namespace Olma {
namespace Core {
namespace {

// Copies the string and the flag of `from`, not its nested entries.
void CopyShallow(const SecurityContextEntry& from, SecurityContextEntry& to) {
  to.value = from.value;
  to.isValue = from.isValue;
}

bool ShallowEqual(const SecurityContextEntry& a, const SecurityContextEntry& b) {
  return a.isValue == b.isValue && a.value == b.value && a.entries.size() == b.entries.size();
}

}  // namespace

SecurityContext& SecurityContextEntries::Map() {
  if (!map_) map_ = std::make_unique<SecurityContext>();
  return *map_;
}

SecurityContextEntries::SecurityContextEntries(const SecurityContextEntries& other) {
  std::vector<std::pair<const SecurityContextEntries*, SecurityContextEntries*>> pending{{&other, this}};
  while (!pending.empty()) {
    const auto [source, target] = pending.back();
    pending.pop_back();
    if (source->empty()) continue;  // only the root may be
    SecurityContext& copies = target->Map();
    for (const auto& [key, wrapped] : *source->map_) {
      SecurityContextWrappedEntry& copy = copies.try_emplace(copies.end(), key)->second;
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

SecurityContextEntries& SecurityContextEntries::operator=(const SecurityContextEntries& other) {
  if (this != &other) *this = SecurityContextEntries(other);
  return *this;
}

SecurityContextEntries& SecurityContextEntries::operator=(SecurityContextEntries&& other) noexcept {
  if (this != &other) {
    // The previous entries go out through the destructor, which flattens them.
    SecurityContextEntries previous(std::move(*this));
    map_ = std::move(other.map_);
  }
  return *this;
}

SecurityContextEntries::~SecurityContextEntries() {
  if (!map_) return;
  // Each group taken from the list has the nested groups of its entries moved out first,
  // so destroying it only destroys entries that no longer own anything nested.
  std::vector<std::unique_ptr<SecurityContext>> pending;
  pending.push_back(std::move(map_));
  while (!pending.empty()) {
    const std::unique_ptr<SecurityContext> group = std::move(pending.back());
    pending.pop_back();
    for (auto& [key, wrapped] : *group) {
      if (wrapped.value.entries.map_) pending.push_back(std::move(wrapped.value.entries.map_));
      if (wrapped.override && wrapped.override->entries.map_) {
        pending.push_back(std::move(wrapped.override->entries.map_));
      }
    }
  }
}

bool SecurityContextEntries::operator==(const SecurityContextEntries& other) const {
  if (size() != other.size()) return false;
  if (empty()) return true;
  std::vector<std::pair<const SecurityContextEntries*, const SecurityContextEntries*>> pending{
      {this, &other}};
  while (!pending.empty()) {
    const auto [left, right] = pending.back();
    pending.pop_back();
    if (left->empty()) continue;
    // Sizes were compared before the pair was queued, so the two walks end together.
    for (auto a = left->map_->begin(), b = right->map_->begin(); a != left->map_->end(); ++a, ++b) {
      if (a->first != b->first || !ShallowEqual(a->second.value, b->second.value) ||
          a->second.override.has_value() != b->second.override.has_value()) {
        return false;
      }
      pending.emplace_back(&a->second.value.entries, &b->second.value.entries);
      if (a->second.override) {
        if (!ShallowEqual(*a->second.override, *b->second.override)) return false;
        pending.emplace_back(&a->second.override->entries, &b->second.override->entries);
      }
    }
  }
  return true;
}

SecurityContextEntry::SecurityContextEntry(const SecurityContextEntry& other) = default;

SecurityContextEntry& SecurityContextEntry::operator=(const SecurityContextEntry& other) {
  if (this != &other) *this = SecurityContextEntry(other);
  return *this;
}

SecurityContextEntry& SecurityContextEntry::operator=(SecurityContextEntry&& other) noexcept {
  if (this != &other) {
    // The previous content goes out through the destructor, which wipes and flattens it.
    SecurityContextEntry previous(std::move(*this));
    value = std::move(other.value);
    entries = std::move(other.entries);
    isValue = other.isValue;
  }
  return *this;
}

SecurityContextEntry::~SecurityContextEntry() {
  Detail::Wipe(value);
}

bool SecurityContextEntry::operator==(const SecurityContextEntry& other) const {
  return isValue == other.isValue && value == other.value && entries == other.entries;
}

}  // namespace Core
}  // namespace Olma
