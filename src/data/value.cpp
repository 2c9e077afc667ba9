#include "olma/data/value.h"

#include "data/tree_release.h"
#include "olma/core/date_time.h"
#include "olma/core/secret_string.h"
#include "olma/data/values.h"

namespace Olma {
namespace Data {

namespace {

bool IsCompositeValue(const DataValue& value) noexcept {
  switch (value.type()) {
    case DataType::OPTIONAL:
    case DataType::LIST:
    case DataType::STRUCTURE:
    case DataType::ERROR:
    case DataType::INTERNALC:
      return true;
    default:
      return false;
  }
}

using ValueRelease = Detail::TreeRelease<DataValue, CompoundValue::FieldMap, &IsCompositeValue>;

}  // namespace

// Reaches into the composite values to hand their children to the release.
struct ValueTreeAccess {
  static void Release(OptionalValue& optional) noexcept { ValueRelease::ReleaseChild(optional.value_); }
  static void Release(ListValue& list) noexcept { ValueRelease::ReleaseList(list); }
  static void Release(CompoundValue& compound) noexcept { ValueRelease::ReleaseFields(compound.fields_); }
};

DataValue::~DataValue() = default;

OptionalValue::~OptionalValue() {
  ValueTreeAccess::Release(*this);
}

ListValue::~ListValue() {
  ValueTreeAccess::Release(*this);
}

CompoundValue::~CompoundValue() {
  ValueTreeAccess::Release(*this);
}

ValueVisitor::~ValueVisitor() = default;

MutableValueVisitor::~MutableValueVisitor() = default;

template <>
DataValue::PtrConstType DataValue::Create<long long>(const long long& value) {
  return IntegerValue::GetInstance(value);
}

template <>
DataValue::PtrConstType DataValue::Create<double>(const double& value) {
  return DoubleValue::GetInstance(value);
}

template <>
DataValue::PtrConstType DataValue::Create<bool>(const bool& value) {
  return BooleanValue::GetInstance(value);
}

template <>
DataValue::PtrConstType DataValue::Create<ByteVector>(const ByteVector& value) {
  return BlobValue::GetInstance(value);
}

template <>
DataValue::PtrConstType DataValue::Create<std::string>(const std::string& value) {
  return StringValue::GetInstance(value);
}

template <>
DataValue::PtrConstType DataValue::Create<SecretString>(const SecretString& value) {
  return SecretValue::GetInstance(value);
}

template <>
DataValue::PtrConstType DataValue::Create<DateTime>(const DateTime& value) {
  return StringValue::GetInstance(value.text());
}

template <>
DataValue::PtrConstType DataValue::Create<Void>(const Void&) {
  return VoidValue::GetInstance();
}

template <>
DataValue::PtrConstType DataValue::Create<void>() {
  return VoidValue::GetInstance();
}

template <>
DataValue::PtrConstType DataValue::Create<Void>() {
  return VoidValue::GetInstance();
}

}  // namespace Data
}  // namespace Olma
