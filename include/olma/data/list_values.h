// List values: the general ListValue and the six packed typed lists of primitives.
//
// A ListValue is a standard doubly linked list of shared pointers to const values (append,
// iterate, size and clear it as any std::list), plus a Kind tag recording which native
// container shape it came from. Elements may be of different kinds, and may be empty
// pointers (rendered as "<unset>").
//
//   auto list = Olma::Data::ListValue::GetInstance();
//   list->push_back(Olma::Data::IntegerValue::GetInstance(1));
//   list->push_back(Olma::Data::IntegerValue::GetInstance(2));
//   list->ToString();   // "[ 1, 2, ] "
//
// The typed lists (ListValueBool, ListValueLong, ListValueDouble, ListValueBlob,
// ListValueString, ListValueSecret) are compact forms of a list of primitives: each is a
// std::list of the native elements, through ListValueMixin<T>. The native adapters produce
// them; every consumer treats them as lists, reading them through their own visitor slot.
// There is no conversion between a typed list and a ListValue.
//
// Thread safety: fill a list before sharing it; reading is safe from any number of threads.
#pragma once

#include <list>
#include <memory>
#include <string>

#include "olma/core/byte_vector.h"
#include "olma/core/export.h"
#include "olma/core/secret_string.h"
#include "olma/data/value.h"
#include "olma/data/value_visitor.h"

namespace Olma {
namespace Data {

class OLMA_API ListValue final : public DataValue, public std::list<DataValue::PtrConstType> {
 public:
  using PtrType = std::shared_ptr<ListValue>;
  using PtrConstType = std::shared_ptr<const ListValue>;

  // Which native container shape a list came from. It takes no part in rendering.
  using Kind = unsigned int;
  static constexpr Kind kDefaultKind = 0;
  // A native doubly linked list (set by the native adapters).
  static constexpr Kind kNativeListKind = 1;

  // An empty list of kind kDefaultKind.
  static PtrType GetInstance();
  // An empty list of the given kind.
  static PtrType GetInstance(Kind kind);

  ListValue(PrivConstructor tag, Kind kind) noexcept : DataValue(tag), kind_(kind) {}
  // Frees the elements without recursion.
  ~ListValue() override;

  Kind kind() const noexcept { return kind_; }

  DataType type() const override { return DataType::LIST; }
  void AcceptVisitor(ValueVisitor& visitor) const override;
  void AcceptVisitor(MutableValueVisitor& visitor) override;
  // "[ ", each element's rendering (or "<unset>") followed by ", ", then "] ":
  // "[ 1, 2, ] ", and "[ ] " when empty.
  std::string ToString() const override;

 private:
  Kind kind_;
};

// The element storage of a typed list: a plain std::list of native T, in insertion order.
template <class T>
class ListValueMixin : public std::list<T> {
 public:
  using ElementType = T;
  using std::list<T>::list;
};

// A packed typed list of kind Kind over native elements T. The six instantiations are
// ListValueBool, ListValueLong, ListValueDouble, ListValueBlob, ListValueString and
// ListValueSecret; each is visited through its own slot. They render like a ListValue of
// the corresponding scalars: "[ 1, 0, ] " for booleans, each blob as its bytes, each
// secret as "<secret>".
template <class T, DataType::EnumType Kind>
class OLMA_API TypedListValue final : public DataValue, public ListValueMixin<T> {
 public:
  using PtrType = std::shared_ptr<TypedListValue>;
  using PtrConstType = std::shared_ptr<const TypedListValue>;

  static PtrType GetInstance() { return std::make_shared<TypedListValue>(PrivConstructor()); }
  explicit TypedListValue(PrivConstructor tag) noexcept : DataValue(tag) {}

  DataType type() const override { return Kind; }
  void AcceptVisitor(ValueVisitor& visitor) const override;
  void AcceptVisitor(MutableValueVisitor& visitor) override;
  std::string ToString() const override;
};

extern template class OLMA_EXTERN_TEMPLATE_API TypedListValue<bool, DataType::LIST_BOOL>;
extern template class OLMA_EXTERN_TEMPLATE_API TypedListValue<long long, DataType::LIST_LONG>;
extern template class OLMA_EXTERN_TEMPLATE_API TypedListValue<double, DataType::LIST_DOUBLE>;
extern template class OLMA_EXTERN_TEMPLATE_API TypedListValue<ByteVector, DataType::LIST_BLOB>;
extern template class OLMA_EXTERN_TEMPLATE_API TypedListValue<std::string, DataType::LIST_STRING>;
extern template class OLMA_EXTERN_TEMPLATE_API TypedListValue<SecretString, DataType::LIST_SECRET>;

}  // namespace Data
}  // namespace Olma
