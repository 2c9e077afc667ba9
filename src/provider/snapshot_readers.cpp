#include "olma/provider/snapshot_readers.h"

#include <thread>

namespace Olma {
namespace Provider {
namespace {

// Threads take slots in turn, so the first kSlots threads never share one.
std::size_t SlotOfThisThread(std::size_t slots) noexcept {
  static std::atomic<std::size_t> next{0};
  thread_local const std::size_t slot = next.fetch_add(1, std::memory_order_relaxed);
  return slot % slots;
}

}  // namespace

SnapshotReaders::Section SnapshotReaders::Enter() const noexcept {
  Slot& slot = slots_[SlotOfThisThread(kSlots)];
  // Sequentially consistent: the increment is ordered before the reader's load of the
  // published pointer, and the publisher's swap before its look at the counters, so either
  // the publisher sees this reader or this reader sees the new pointer.
  const std::uint32_t parity = epoch_.load(std::memory_order_seq_cst) & 1U;
  std::atomic<std::uint32_t>& counter = slot.readers[parity];
  counter.fetch_add(1, std::memory_order_seq_cst);
  return Section(counter);
}

void SnapshotReaders::WaitForReaders() noexcept {
  // Two flips: a reader may have read the epoch just before a flip and counted itself in the
  // old parity just after that parity was drained; it is drained by the second flip.
  for (int flip = 0; flip < 2; ++flip) {
    const std::uint32_t previous = epoch_.fetch_add(1, std::memory_order_seq_cst);
    Drain(previous & 1U);
  }
}

void SnapshotReaders::Drain(std::size_t parity) const noexcept {
  for (const Slot& slot : slots_) {
    for (int spins = 0; slot.readers[parity].load(std::memory_order_seq_cst) != 0; ++spins) {
      if (spins > 64) std::this_thread::yield();
    }
  }
}

}  // namespace Provider
}  // namespace Olma
