#include "olma/data/optional_value.h"

#include <memory>
#include <utility>

#include "data/value_tree.h"
#include "olma/data/value_visitor.h"

namespace Olma {
namespace Data {

OptionalValue::PtrType OptionalValue::GetInstance() {
  return std::make_shared<OptionalValue>(PrivConstructor(), false, nullptr);
}

OptionalValue::PtrType OptionalValue::GetInstance(DataValue::PtrConstType value) {
  return std::make_shared<OptionalValue>(PrivConstructor(), true, std::move(value));
}

OptionalValue::OptionalValue(PrivConstructor tag, bool is_set, DataValue::PtrConstType value) noexcept
    : DataValue(tag), is_set_(is_set), value_(std::move(value)) {}

DataValue::PtrConstType& OptionalValue::value(DataValue::PtrConstType value) {
  value_ = std::move(value);
  is_set_ = true;
  return value_;
}

void OptionalValue::AcceptVisitor(ValueVisitor& visitor) const {
  visitor.VisitOptional(std::static_pointer_cast<const OptionalValue>(shared_from_this()));
}

void OptionalValue::AcceptVisitor(MutableValueVisitor& visitor) {
  visitor.VisitOptional(std::static_pointer_cast<OptionalValue>(shared_from_this()));
}

std::string OptionalValue::ToString() const {
  std::string out;
  Detail::RenderValue(this, out);
  return out;
}

}  // namespace Data
}  // namespace Olma
