// How an asynchronous call reports back: progress any number of times, then one final
// result.
//
// The provider hands every call an AsyncApiResultCb. The handler calls it with an empty
// result and a Progress to report how far it has got, and once with the final result
// (output, error or the terminal result of a stream). After the final result the
// callback drops the function it wraps, and with it everything that function captured,
// so that a call's state is freed as soon as the call is over; calling it again raises
// std::bad_function_call.
//
//   Olma::Core::AsyncApiResultCb done([](const Olma::Core::MethodResult::PtrConstType& result,
//                                        const Olma::Core::Progress& progress,
//                                        const Olma::Core::AsyncApiResultCb::Continuation& next) {
//     if (!result) return ShowProgress(progress.current, progress.max);
//     Deliver(result);
//   });
//   done(nullptr, Olma::Core::Progress{0, 100, 40});   // progress: the function is kept
//   done(result);                                      // final: the function is released
//
// Thread safety: a callback is not locked. It is called from one thread at a time (the
// thread that completes the call); distinct callbacks may run on different threads.
#pragma once

#include <functional>
#include <memory>
#include <string_view>
#include <type_traits>
#include <utility>

#include "olma/core/export.h"
#include "olma/invocation/method_result.h"

namespace Olma {
namespace Core {

// How far a call has got: `current` on the scale from `min` to `max`. The scale is the
// handler's own (items, bytes, percent); nothing checks that min <= current <= max.
// All three zero is the empty progress, which the final result carries; a progress
// report should make at least one of them non-zero. As a data value it is the structure
// "Progress" with the integer fields "min", "max" and "current"; its declared definition
// names the third field "corrent", a spelling that published interfaces depend on, so
// values and definition differ in that one name on purpose.
struct Progress {
  static constexpr std::string_view kTypeName = "Progress";

  long long min = 0;
  long long max = 0;
  long long current = 0;

  // The fields, for the native adapters (olma/data/native_to_value.h).
  struct AdapterHelper {
    template <class Helper, class Object>
    static void AddFields(Helper& helper, Object& progress) {
      helper.AddField("min", &progress.min);
      helper.AddField("max", &progress.max);
      helper.AddField("current", &progress.current);
    }
    template <class Helper>
    static void AddDefinitionFields(Helper& helper) {
      helper.AddField("min", &Progress::min);
      helper.AddField("max", &Progress::max);
      helper.AddField("corrent", &Progress::current);
    }
  };

  // True for the empty progress (all three zero): nothing to report.
  bool empty() const noexcept { return min == 0 && max == 0 && current == 0; }

  friend bool operator==(const Progress& a, const Progress& b) noexcept {
    return a.min == b.min && a.max == b.max && a.current == b.current;
  }
  friend bool operator!=(const Progress& a, const Progress& b) noexcept { return !(a == b); }
};

class OLMA_API AsyncApiResultCb {
 public:
  using PtrType = std::shared_ptr<AsyncApiResultCb>;
  // What a streamed call hands the consumer to ask for its next item: the consumer
  // calls it with the callback that is to receive that item.
  using Continuation = std::function<void(const PtrType&)>;
  using FunctionType = std::function<void(const MethodResult::PtrConstType& result, const Progress& progress,
                                          const Continuation& next)>;

  // An empty callback: calling it raises std::bad_function_call.
  AsyncApiResultCb() noexcept = default;

  // Wraps `function` (a FunctionType or any callable it can be built from).
  template <typename F, typename = std::enable_if_t<!std::is_same_v<std::decay_t<F>, AsyncApiResultCb> &&
                                                    std::is_constructible_v<FunctionType, F&&>>>
  AsyncApiResultCb(F&& function) : function_(std::forward<F>(function)) {}

  // Calls the wrapped function with the three arguments. With a non-empty `result` (a
  // final result) the function is released once the call returns, or throws, so at most
  // one final result is ever delivered. With an empty `result` (progress) the function
  // is kept. Raises std::bad_function_call when no function is held; whatever the
  // function throws propagates. The function must not call this same callback from
  // within a progress report.
  void operator()(const MethodResult::PtrConstType& result, const Progress& progress = Progress(),
                  const Continuation& next = Continuation());

  // True while a function is held: not default-constructed, no final result yet. Like the
  // call itself it is not locked: asking while another thread may be delivering is a data
  // race. Whoever needs to know whether a result went out (a dispatcher racing a handler's
  // exception against its answer) must track that itself, with an atomic flag.
  explicit operator bool() const noexcept { return static_cast<bool>(function_); }

 private:
  FunctionType function_;
};

}  // namespace Core
}  // namespace Olma
