// A stopwatch for diagnostics: measures the lifetime of a scope on the steady clock and either
// prints it to standard output or adds it to a running total.
//
//   {
//     Olma::Timed timer("validate", 1000);  // prints "validate Starting"
//     for (int i = 0; i < 1000; ++i) Validate(value);
//   }                                       // prints "validate took: 0.0123 at: 81300.8 iter/s"
//
//   double total = 0;
//   { Olma::Timed timer("parse", &total); Parse(text); }  // adds the seconds to total, silently
//
// Printing goes through std::cout and never throws; a failing stream is ignored. An object is
// meant for one thread; an accumulator shared across threads must be guarded by the caller.
#pragma once

#include <chrono>
#include <string>

#include "olma/core/export.h"

namespace Olma {

class OLMA_API Timed {
 public:
  // Prints "<name> took: <seconds>" when destroyed.
  explicit Timed(std::string name);
  // Prints "<name> Starting" now when `iterations` is above 1. When destroyed, prints
  // "<name> took: <seconds>" followed by " at: <iterations/seconds> iter/s" when `iterations` is
  // positive. An iteration count of exactly 1 prints nothing at all: it marks a timer that is
  // kept in place but silenced.
  Timed(std::string name, int iterations);
  // Adds the elapsed seconds to `*accumulator` when destroyed and prints nothing; a null
  // accumulator behaves as Timed(name).
  Timed(std::string name, double* accumulator);

  Timed(const Timed&) = delete;
  Timed& operator=(const Timed&) = delete;
  ~Timed();

 private:
  std::string name_;
  int count_ = 0;
  double* accumulator_ = nullptr;
  std::chrono::steady_clock::time_point start_;
};

}  // namespace Olma
