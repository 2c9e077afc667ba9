// SnapshotReaders: lets many threads read a published, immutable snapshot through a plain
// pointer, without a lock and without touching the snapshot's reference count, and tells the
// publisher when the snapshot it replaced can no longer be in use.
//
//   // reader                                     // publisher (one at a time)
//   {                                             old = current.exchange(next);
//     const auto reading = readers.Enter();       readers.WaitForReaders();
//     Use(*current.load());                       delete old;  // nobody can still see it
//   }
//
// Each thread counts itself in one of kSlots counters, each on its own cache line, so readers
// on different cores write to different lines and scale with the cores; with more threads
// than slots some share a counter, which stays correct. A reader must load the published
// pointer after Enter (with at least the ordering of a sequentially consistent load) and not
// use it after its Section ends. The publisher swaps the pointer first and then waits: the
// wait flips the epoch twice and each time drains the counters of the previous one, so every
// reader that may have loaded the old pointer has left, while readers arriving meanwhile
// count in the new epoch and cannot hold the publisher up for ever.
//
// Cost: a reader pays two uncontended atomic increments; WaitForReaders spins (yielding) for
// as long as the longest read section in progress, so read sections must be short and must
// not wait for the publisher; a thread must not publish from inside its own read section (it
// would wait for itself).
#pragma once

#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>

#include "olma/core/export.h"

namespace Olma {
namespace Provider {

class OLMA_API SnapshotReaders {
  static constexpr std::size_t kSlots = 16;
  static constexpr std::size_t kCacheLine = 64;

  struct alignas(kCacheLine) Slot {
    std::atomic<std::uint32_t> readers[2] = {};
  };

 public:
  // The calling thread reads until the section is destroyed.
  class Section {
   public:
    explicit Section(std::atomic<std::uint32_t>& counter) noexcept : counter_(&counter) {}
    Section(const Section&) = delete;
    Section& operator=(const Section&) = delete;
    ~Section() { counter_->fetch_sub(1, std::memory_order_release); }

   private:
    std::atomic<std::uint32_t>* counter_;
  };

  SnapshotReaders() = default;
  SnapshotReaders(const SnapshotReaders&) = delete;
  SnapshotReaders& operator=(const SnapshotReaders&) = delete;

  [[nodiscard]] Section Enter() const noexcept;

  // Returns once no reader that entered before this call is still reading. Calls must not
  // overlap (the publisher serialises them, typically under its own lock).
  void WaitForReaders() noexcept;

 private:
  void Drain(std::size_t parity) const noexcept;

  mutable std::array<Slot, kSlots> slots_;
  alignas(kCacheLine) std::atomic<std::uint32_t> epoch_{0};
};

}  // namespace Provider
}  // namespace Olma
