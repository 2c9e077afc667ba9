// OptionalValue: a value that may be absent.
//
// An optional is either unset, or set and holding a content value. The is-set flag is
// what counts: an optional set with an empty pointer is set (its content renders as
// "<unset>").
//
//   auto maybe = Olma::Data::OptionalValue::GetInstance();       // unset: "Optional< >"
//   maybe->value(Olma::Data::IntegerValue::GetInstance(5));       // set:   "Optional< 5>"
//   if (maybe->isSet()) Use(maybe->value());
//
// Thread safety: the setter is for the creator only, before the value is shared; reading
// is safe from any number of threads.
#pragma once

#include <memory>
#include <string>

#include "olma/core/export.h"
#include "olma/data/value.h"

namespace Olma {
namespace Data {

class OLMA_API OptionalValue final : public DataValue {
 public:
  using PtrType = std::shared_ptr<OptionalValue>;
  using PtrConstType = std::shared_ptr<const OptionalValue>;

  // An unset optional with an empty content pointer.
  [[nodiscard]] static PtrType GetInstance();
  // A set optional holding `value`; set even when `value` is empty.
  [[nodiscard]] static PtrType GetInstance(DataValue::PtrConstType value);

  OptionalValue(PrivConstructor tag, bool is_set, DataValue::PtrConstType value) noexcept;
  // Frees the content without recursion.
  ~OptionalValue() override;

  bool isSet() const noexcept { return is_set_; }
  // The content; empty when unset.
  const DataValue::PtrConstType& value() const noexcept { return value_; }
  // Stores `value` as the content, marks the optional set and returns the stored pointer.
  DataValue::PtrConstType& value(DataValue::PtrConstType value);

  DataType type() const override { return DataType::OPTIONAL; }
  void AcceptVisitor(ValueVisitor& visitor) const override;
  void AcceptVisitor(MutableValueVisitor& visitor) override;
  // "Optional< " then the content's rendering when set, then ">": "Optional< 5>", and
  // "Optional< >" when unset.
  std::string ToString() const override;

 private:
  friend struct ValueTreeAccess;

  bool is_set_;
  DataValue::PtrConstType value_;
};

}  // namespace Data
}  // namespace Olma
