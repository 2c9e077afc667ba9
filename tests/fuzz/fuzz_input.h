// What every fuzz target shares: a reader that takes typed pieces off the fuzzer's bytes,
// and the check that stops the run when an invariant breaks.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <string_view>

// Aborts with the failed condition, so libFuzzer saves the input as a crash.
#define OLMA_FUZZ_CHECK(condition)                                                           \
  do {                                                                                       \
    if (!(condition)) {                                                                      \
      std::fprintf(stderr, "%s:%d: invariant broken: %s\n", __FILE__, __LINE__, #condition); \
      std::abort();                                                                          \
    }                                                                                        \
  } while (false)

namespace OlmaFuzz {

// Reads the fuzzer's bytes front to back; once they run out every read yields zeros or
// empty text, so a decoder never needs to check for the end.
class Input {
 public:
  Input(const std::uint8_t* data, std::size_t size) : data_(data), size_(size) {}

  bool empty() const { return size_ == 0; }
  std::size_t size() const { return size_; }

  std::uint8_t Byte() {
    if (size_ == 0) return 0;
    --size_;
    return *data_++;
  }

  template <typename T>
  T Number() {
    T value{};
    const std::size_t n = size_ < sizeof(T) ? size_ : sizeof(T);
    if (n > 0) std::memcpy(&value, data_, n);
    data_ += n;
    size_ -= n;
    return value;
  }

  // A text of at most `limit` bytes, its length read first.
  std::string_view Text(std::size_t limit) {
    std::size_t n = Byte();
    if (n > limit) n = limit;
    if (n > size_) n = size_;
    const std::string_view text(reinterpret_cast<const char*>(data_), n);
    data_ += n;
    size_ -= n;
    return text;
  }

  // Everything that is left.
  std::string_view Rest() {
    const std::string_view text(reinterpret_cast<const char*>(data_), size_);
    data_ += size_;
    size_ = 0;
    return text;
  }

 private:
  const std::uint8_t* data_;
  std::size_t size_;
};

}  // namespace OlmaFuzz
