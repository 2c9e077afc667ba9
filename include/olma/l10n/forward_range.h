// Forward ranges: a minimal, type-erased way to hand a sequence to a function that walks it
// once (or, for a DictionaryRange, again after reset()).
//
//   std::map<std::string, std::string> entries{{"greeting", "Hallo {1}"}};
//   Olma::ContainerRange<std::map<std::string, std::string>> range(entries);
//   for (; !range.empty(); range.popFront()) Use(range.front());
//
// A range is a cursor, not a container: it is used by one thread at a time. front() and
// popFront() on an empty range are broken preconditions.
#pragma once

#include <iterator>

namespace Olma {

template <typename T>
class ForwardRange {
 public:
  using value_type = T;

  virtual ~ForwardRange() = default;
  // The current element; valid until popFront() or the range's destruction.
  virtual const T& front() const = 0;
  virtual void popFront() = 0;
  virtual bool empty() const = 0;
};

// A range over a container the caller keeps alive and unchanged while the range is used.
template <typename C>
class ContainerRange : public ForwardRange<typename C::value_type> {
 public:
  explicit ContainerRange(const C& container) noexcept
      : current_(std::begin(container)), end_(std::end(container)) {}

  const typename C::value_type& front() const override { return *current_; }
  void popFront() override { ++current_; }
  bool empty() const override { return current_ == end_; }

 private:
  typename C::const_iterator current_;
  typename C::const_iterator end_;
};

}  // namespace Olma
