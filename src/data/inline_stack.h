// A work stack whose first entries live inside the stack object itself.
//
// Walks keep one entry per level of nesting they are inside. Documents are rarely more than
// a few levels deep, so the first N entries sit in place and a walk over such a tree
// allocates nothing; deeper trees spill the rest onto the heap, so any depth still works.
#pragma once

#include <cstddef>
#include <new>
#include <type_traits>
#include <vector>

namespace Olma {
namespace Data {
namespace Detail {

template <class T, std::size_t N>
class InlineStack {
  // Entries are plain records (cursors, pointers): the in-place slots are neither
  // constructed up front nor destroyed.
  static_assert(std::is_trivially_copyable_v<T> && std::is_trivially_destructible_v<T>);

 public:
  InlineStack() = default;
  InlineStack(const InlineStack&) = delete;
  InlineStack& operator=(const InlineStack&) = delete;

  bool empty() const noexcept { return size_ == 0; }

  // The entry pushed last; the stack must not be empty. Valid until the next push or pop.
  T& back() noexcept { return size_ <= N ? *Slot(size_ - 1) : spill_.back(); }

  // A new entry on top, default-initialised (members without initialisers are left
  // indeterminate, for the caller to fill).
  T& push() {
    T* entry = size_ < N ? ::new (static_cast<void*>(Slot(size_))) T : &spill_.emplace_back();
    ++size_;
    return *entry;
  }

  void pop() noexcept {
    if (size_ > N) spill_.pop_back();
    --size_;
  }

 private:
  T* Slot(std::size_t index) noexcept { return std::launder(reinterpret_cast<T*>(slots_) + index); }

  std::size_t size_ = 0;
  alignas(T) unsigned char slots_[N * sizeof(T)];
  std::vector<T> spill_;
};

}  // namespace Detail
}  // namespace Data
}  // namespace Olma
