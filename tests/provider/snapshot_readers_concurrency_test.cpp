// Readers of a pointer that a publisher keeps replacing and freeing: no reader may ever see
// freed memory (the sanitizers report it), and a publisher must wait for a reader that
// entered before it.
#include <atomic>
#include <chrono>
#include <cstdint>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "olma/provider/snapshot_readers.h"

namespace {

using Olma::Provider::SnapshotReaders;

// A published object whose two halves must always agree; freed objects are overwritten.
struct Snapshot {
  explicit Snapshot(std::uint64_t n) : value(n), check(~n) {}
  ~Snapshot() { value = check = 0; }
  std::uint64_t value;
  std::uint64_t check;
};

TEST(SnapshotReadersConcurrency, ReadersNeverSeeAReplacedSnapshotFreed) {
  // More reader threads than slots, so that some share a counter.
  constexpr int kReaders = 17;
  constexpr std::uint64_t kPublications = 2000;
  SnapshotReaders readers;
  std::atomic<const Snapshot*> current{new Snapshot(0)};
  std::atomic<bool> publishing{true};
  std::atomic<long> torn{0};
  std::atomic<long> reads{0};

  std::vector<std::thread> threads;
  for (int r = 0; r < kReaders; ++r) {
    threads.emplace_back([&] {
      while (publishing.load()) {
        {
          const auto reading = readers.Enter();
          const Snapshot& snapshot = *current.load();
          if (snapshot.check != ~snapshot.value) ++torn;
          ++reads;
        }
        // Seventeen threads on a few cores: giving the core up outside the section keeps
        // the publisher from waiting on readers preempted inside it.
        std::this_thread::yield();
      }
    });
  }
  for (std::uint64_t n = 1; n <= kPublications; ++n) {
    const Snapshot* replaced = current.exchange(new Snapshot(n));
    readers.WaitForReaders();
    delete replaced;
  }
  publishing = false;
  for (std::thread& thread : threads) thread.join();
  delete current.load();
  EXPECT_EQ(torn.load(), 0);
  EXPECT_GT(reads.load(), 0);
}

TEST(SnapshotReadersConcurrency, PublisherWaitsForAReaderThatEnteredBefore) {
  SnapshotReaders readers;
  std::atomic<bool> entered{false};
  std::atomic<bool> leave{false};
  std::atomic<bool> waited{false};
  std::thread reader([&] {
    const auto reading = readers.Enter();
    entered = true;
    while (!leave.load()) std::this_thread::yield();
  });
  while (!entered.load()) std::this_thread::yield();
  std::thread publisher([&] {
    readers.WaitForReaders();
    waited = true;
  });
  std::this_thread::sleep_for(std::chrono::milliseconds(50));
  EXPECT_FALSE(waited.load()) << "returned while a reader was still in its section";
  leave = true;
  reader.join();
  publisher.join();
  EXPECT_TRUE(waited.load());
}

}  // namespace
