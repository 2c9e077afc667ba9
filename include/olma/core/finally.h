// Scope guard: runs a callable when the scope ends, whichever way it ends.
//
//   auto* buffer = new Arg[n];
//   Olma::Finally release([&] { delete[] buffer; });
//
// The destructor swallows whatever the callable throws, so a guard is safe to run
// during stack unwinding.
#pragma once

#include <functional>
#include <utility>

namespace Olma {

class Finally {
 public:
  Finally() = default;
  explicit Finally(std::function<void()> action) : action_(std::move(action)) {}
  Finally(const Finally&) = delete;
  Finally& operator=(const Finally&) = delete;

  ~Finally() {
    if (!action_) return;
    try {
      action_();
    } catch (...) {
    }
  }

 private:
  std::function<void()> action_;
};

}  // namespace Olma
