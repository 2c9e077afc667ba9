// The adaptation engine: the one work stack on which every walk over values and
// definitions runs (validation, comparison, conversion to and from native types,
// introspection).
//
// A walk is a set of deferred steps. Each step (an entry) pairs a source (a definition,
// or the first of two values) with a destination (the value it applies to, or the second
// value) and the function that handles the pair. A handler checks what it can at once
// and pushes entries for the children it needs to descend into; the engine pops and runs
// entries, last pushed first, until none is left. Nothing recurses on the data, so a
// tree nested a million levels deep costs a million entries, not a million stack frames.
//
//   using Engine = DataAdapter<DataDefinition::PtrConstType, Destination, MessageList>;
//   Engine engine(&RootHandler);
//   engine.Adapt(definition, Destination(value), messages);
//
// A handler that reports an error conventionally calls Clear(): the queued work is
// abandoned and the walk ends once the running handler returns.
//
// An engine is a plain local object: one per walk, never shared between threads.
#pragma once

#include <utility>
#include <vector>

namespace Olma {
namespace Data {

// One unit of deferred work: apply `method` to (`src`, `dst`).
template <typename Src, typename Dst, typename Errors, typename Adapter>
struct BasicAdaptEntry {
  using Method = void (*)(const Src& src, const Dst& dst, Adapter& adapter, Errors& errors);

  Src src;
  Dst dst;
  Method method;
};

template <typename Src, typename Dst, typename Errors,
          template <typename, typename, typename, typename> class Entry = BasicAdaptEntry>
class DataAdapter {
 public:
  using EntryType = Entry<Src, Dst, Errors, DataAdapter>;
  using Method = typename EntryType::Method;

  explicit DataAdapter(Method root) : rootMethod(root) {}

  // Applies the root method to the initial pair, then runs queued entries until none is
  // left.
  void Adapt(const Src& src, const Dst& dst, Errors& errors) {
    rootMethod(src, dst, *this, errors);
    while (!stack.empty()) {
      EntryType entry = std::move(stack.back());
      stack.pop_back();
      entry.method(entry.src, entry.dst, *this, errors);
    }
  }

  void Push(Src src, Dst dst, Method method) {
    stack.push_back(EntryType{std::move(src), std::move(dst), method});
  }

  // Abandons all queued work; called after an error has been reported.
  void Clear() { stack.clear(); }

  std::vector<EntryType> stack;
  Method rootMethod;
};

}  // namespace Data
}  // namespace Olma
