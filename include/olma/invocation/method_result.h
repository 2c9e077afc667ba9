// The outcome of one call: an output value, an error value, or neither.
//
// A successful call carries its output; a failed one carries an error value (whose
// "messages" field lists what went wrong). A result with neither is the terminal result
// of a stream: the marker that a streamed call has delivered its last item.
//
//   auto ok = Olma::Core::MethodResult::GetInstance(Olma::Data::IntegerValue::GetInstance(42));
//   ok->ToString();     // "MR [SUCCESS] Output: 42"
//   auto failed = Olma::Core::MethodResult::GetErrorInstance(error);
//   failed->isError();  // true
//
// Results are immutable once built and handled as shared pointers to const; any number
// of threads may read them. Texts are rendered only when ToString is called. Factories
// throw std::bad_alloc, and GetErrorInstance std::invalid_argument for an empty error.
#pragma once

#include <memory>
#include <string>
#include <utility>

#include "olma/core/export.h"
#include "olma/data/compound_values.h"
#include "olma/data/value.h"

namespace Olma {
namespace Core {

class OLMA_API MethodResult {
  struct PrivateTag {
    explicit PrivateTag() = default;
  };

 public:
  using PtrType = std::shared_ptr<MethodResult>;
  using PtrConstType = std::shared_ptr<const MethodResult>;
  using ErrorPtrConstType = Data::ErrorValue::PtrConstType;

  // A success: `output` set, no error, isError() false. An empty `output` makes the
  // terminal result of a stream.
  static PtrConstType GetInstance(Data::DataValue::PtrConstType output);
  // A failure: no output, `error` set, isError() true. An empty `error` breaks the
  // precondition and throws std::invalid_argument: a result must not claim a failure it
  // cannot name (it would be an error and a stream's terminal result at once).
  static PtrConstType GetErrorInstance(ErrorPtrConstType error);
  // The terminal result of a stream: neither output nor error, isError() false.
  static PtrConstType GetStreamTerminalInstance();
  // Both pointers as given; isError() is true when `error` is set. A result holding an
  // output and an error counts (and prints) as a failure.
  static PtrConstType GetInstance(Data::DataValue::PtrConstType output, ErrorPtrConstType error);

  const Data::DataValue::PtrConstType& output() const noexcept { return output_; }
  const ErrorPtrConstType& error() const noexcept { return error_; }
  // True exactly when an error is set: for every result built by GetErrorInstance, and
  // for GetInstance(output, error) with an error.
  bool isError() const noexcept { return static_cast<bool>(error_); }
  // Neither output nor error.
  bool isStreamTerminal() const noexcept { return !output_ && !error_; }

  // Chosen by the two pointers, error first:
  //   error set (whatever the output): "MR [FAIL] Error: <error text>"
  //   output set:                      "MR [SUCCESS] Output: <output text>"
  //   neither:                         "MR [SUCCESS] Stream Terminal Result"
  std::string ToString() const;

  virtual ~MethodResult();

  // Only the factories can name the tag.
  MethodResult(PrivateTag, Data::DataValue::PtrConstType output, ErrorPtrConstType error) noexcept
      : output_(std::move(output)), error_(std::move(error)) {}

  MethodResult(const MethodResult&) = delete;
  MethodResult& operator=(const MethodResult&) = delete;

 private:
  Data::DataValue::PtrConstType output_;
  ErrorPtrConstType error_;
};

}  // namespace Core
}  // namespace Olma
