#include "olma/data/value.h"

#include <utility>
#include <vector>

#include "data/value_tree.h"
#include "olma/core/date_time.h"
#include "olma/core/secret_string.h"
#include "olma/data/detail/tree_release.h"
#include "olma/data/values.h"

namespace Olma {
namespace Data {

// Reaches into the composite values to take their children when the tree is released.
struct ValueTreeAccess {
  static bool HasChildren(const DataValue& value) {
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

  // Moves `child` into `pending` if it may own children of its own. Leaves stay where they
  // are: their destructors never reach further, so freeing them in place is safe.
  static void Collect(DataValue::PtrConstType& child, std::vector<DataValue::PtrConstType>& pending) {
    if (child && HasChildren(*child)) pending.push_back(std::move(child));
  }

  static void CollectChildren(OptionalValue& optional, std::vector<DataValue::PtrConstType>& pending) {
    Collect(optional.value_, pending);
  }

  static void CollectChildren(ListValue& list, std::vector<DataValue::PtrConstType>& pending) {
    for (DataValue::PtrConstType& element : list) Collect(element, pending);
  }

  static void CollectChildren(CompoundValue& compound, std::vector<DataValue::PtrConstType>& pending) {
    for (auto& field : compound.fields_) Collect(field.second, pending);
  }

  // The detach step of the release: hands the children of a node nobody else owns to the
  // work list.
  static void Detach(DataValue& node, std::vector<DataValue::PtrConstType>& pending) {
    switch (node.type()) {
      case DataType::OPTIONAL:
        CollectChildren(static_cast<OptionalValue&>(node), pending);
        break;
      case DataType::LIST:
        CollectChildren(static_cast<ListValue&>(node), pending);
        break;
      case DataType::STRUCTURE:
      case DataType::ERROR:
      case DataType::INTERNALC:
        CollectChildren(static_cast<CompoundValue&>(node), pending);
        break;
      default:
        break;
    }
  }

  // Run by the destructors of the composites (where type() no longer names the most
  // derived class, hence the overloads instead of Detach).
  template <class Composite>
  static void ReleaseChildren(Composite& node) {
    std::vector<DataValue::PtrConstType> pending;
    CollectChildren(node, pending);
    if (!pending.empty()) Detail::ReleaseValues(pending);
  }
};

namespace Detail {

void ReleaseValues(std::vector<DataValue::PtrConstType>& pending) {
  ReleaseTree(pending, &ValueTreeAccess::Detach);
}

}  // namespace Detail

DataValue::~DataValue() = default;

OptionalValue::~OptionalValue() {
  ValueTreeAccess::ReleaseChildren(*this);
}

ListValue::~ListValue() {
  ValueTreeAccess::ReleaseChildren(*this);
}

CompoundValue::~CompoundValue() {
  ValueTreeAccess::ReleaseChildren(*this);
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
