#include "olma/core/timed.h"

#include <iostream>
#include <utility>

namespace Olma {

Timed::Timed(std::string name) : name_(std::move(name)), start_(std::chrono::steady_clock::now()) {}

Timed::Timed(std::string name, int iterations) : name_(std::move(name)), count_(iterations) {
  if (count_ > 1) {
    try {
      std::cout << name_ << " Starting" << std::endl;
    } catch (...) {
    }
  }
  // Started after the announcement so that printing it is not part of the measurement.
  start_ = std::chrono::steady_clock::now();
}

Timed::Timed(std::string name, double* accumulator)
    : name_(std::move(name)), accumulator_(accumulator), start_(std::chrono::steady_clock::now()) {}

Timed::~Timed() {
  const auto nanoseconds =
      std::chrono::duration_cast<std::chrono::nanoseconds>(std::chrono::steady_clock::now() - start_).count();
  const double elapsed = static_cast<double>(nanoseconds) / 1e9;
  if (accumulator_ != nullptr) {
    *accumulator_ += elapsed;
    return;
  }
  if (count_ == 1) return;
  try {
    std::cout << name_ << " took: " << elapsed;
    if (count_ > 0) std::cout << " at: " << count_ / elapsed << " iter/s";
    std::cout << std::endl;
  } catch (...) {
  }
}

}  // namespace Olma
