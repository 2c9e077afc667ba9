// Pairing the fields of two compounds (structures, errors, their definitions) by name:
// the one merge that the validator and both comparators run.
#pragma once

#include <cstdint>
#include <cstring>
#include <iterator>
#include <string>
#include <string_view>

namespace Olma {
namespace Data {
namespace Detail {

// Byte-wise equality of two texts. Names and short strings dominate comparisons, and for
// up to 16 bytes a few overlapping word loads beat a call to memcmp.
[[gnu::always_inline]] inline bool SameText(std::string_view a, std::string_view b) noexcept {
  const std::size_t size = a.size();
  if (size != b.size()) return false;
  const char* x = a.data();
  const char* y = b.data();
  const auto load8 = [](const char* p) {
    std::uint64_t word;
    std::memcpy(&word, p, sizeof(word));
    return word;
  };
  const auto load4 = [](const char* p) {
    std::uint32_t word;
    std::memcpy(&word, p, sizeof(word));
    return word;
  };
  if (size >= 8 && size <= 16) {
    return ((load8(x) ^ load8(y)) | (load8(x + size - 8) ^ load8(y + size - 8))) == 0;
  }
  if (size >= 4 && size < 8) {
    return ((load4(x) ^ load4(y)) | (load4(x + size - 4) ^ load4(y + size - 4))) == 0;
  }
  if (size < 4) {
    for (std::size_t i = 0; i < size; ++i) {
      if (x[i] != y[i]) return false;
    }
    return true;
  }
  return std::memcmp(x, y, size) == 0;
}

// Walks the fields of `a` from the greatest name down and calls `visit(field of a, field
// of b)` for each, with a pointer to the entry of `b` of the same name, or null when `b`
// has none. Stops as soon as `visit` returns false and returns the field of `a` it stopped
// at; returns null when every field of `a` was visited. Both maps are ordered by
// byte-wise name comparison, so one pass down both suffices instead of a lookup per
// field. (Plain iterators stepped down by hand: every dereference of a reverse iterator
// steps the tree once more.)
template <class MapA, class MapB, class Visit>
const typename MapA::value_type* MergeFieldsDescending(const MapA& a, const MapB& b, Visit&& visit) {
  auto next_b = b.end();  // one past the greatest field of `b` not yet passed
  for (auto ia = a.end(); ia != a.begin();) {
    --ia;
    const typename MapB::value_type* match = nullptr;
    while (next_b != b.begin()) {
      const auto ib = std::prev(next_b);
      // Equal names are the common case, so test for them first: a length comparison
      // and at most one memcmp. Greater names are fields only `b` has.
      if (SameText(ib->first, ia->first)) {
        match = &*ib;
        next_b = ib;
        break;
      }
      if (ib->first < ia->first) break;
      next_b = ib;
    }
    if (!visit(*ia, match)) return &*ia;
  }
  return nullptr;
}

// Pairs the fields of `a`, from the greatest name down, with the fields of the same name
// in `b`, calling `pair(field of a, field of b)` for each. Stops at the first field of `a`
// that `b` lacks and returns its name; returns null when every field was paired.
template <class MapA, class MapB, class Pair>
const std::string* PairFieldsDescending(const MapA& a, const MapB& b, Pair&& pair) {
  const auto* stopped = MergeFieldsDescending(a, b, [&pair](const auto& field, const auto* other) {
    if (other == nullptr) return false;
    pair(field.second, other->second);
    return true;
  });
  return stopped != nullptr ? &stopped->first : nullptr;
}

}  // namespace Detail
}  // namespace Data
}  // namespace Olma
