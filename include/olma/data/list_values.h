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

// The typed lists render like a ListValue of the corresponding scalars: "[ 1, 0, ] " for
// booleans, each blob as its bytes, each secret as "<secret>".

class OLMA_API ListValueBool final : public DataValue, public ListValueMixin<bool> {
 public:
  using PtrType = std::shared_ptr<ListValueBool>;
  using PtrConstType = std::shared_ptr<const ListValueBool>;

  static PtrType GetInstance();
  explicit ListValueBool(PrivConstructor tag) noexcept : DataValue(tag) {}

  DataType type() const override { return DataType::LIST_BOOL; }
  void AcceptVisitor(ValueVisitor& visitor) const override;
  void AcceptVisitor(MutableValueVisitor& visitor) override;
  std::string ToString() const override;
};

class OLMA_API ListValueLong final : public DataValue, public ListValueMixin<long long> {
 public:
  using PtrType = std::shared_ptr<ListValueLong>;
  using PtrConstType = std::shared_ptr<const ListValueLong>;

  static PtrType GetInstance();
  explicit ListValueLong(PrivConstructor tag) noexcept : DataValue(tag) {}

  DataType type() const override { return DataType::LIST_LONG; }
  void AcceptVisitor(ValueVisitor& visitor) const override;
  void AcceptVisitor(MutableValueVisitor& visitor) override;
  std::string ToString() const override;
};

class OLMA_API ListValueDouble final : public DataValue, public ListValueMixin<double> {
 public:
  using PtrType = std::shared_ptr<ListValueDouble>;
  using PtrConstType = std::shared_ptr<const ListValueDouble>;

  static PtrType GetInstance();
  explicit ListValueDouble(PrivConstructor tag) noexcept : DataValue(tag) {}

  DataType type() const override { return DataType::LIST_DOUBLE; }
  void AcceptVisitor(ValueVisitor& visitor) const override;
  void AcceptVisitor(MutableValueVisitor& visitor) override;
  std::string ToString() const override;
};

class OLMA_API ListValueBlob final : public DataValue, public ListValueMixin<ByteVector> {
 public:
  using PtrType = std::shared_ptr<ListValueBlob>;
  using PtrConstType = std::shared_ptr<const ListValueBlob>;

  static PtrType GetInstance();
  explicit ListValueBlob(PrivConstructor tag) noexcept : DataValue(tag) {}

  DataType type() const override { return DataType::LIST_BLOB; }
  void AcceptVisitor(ValueVisitor& visitor) const override;
  void AcceptVisitor(MutableValueVisitor& visitor) override;
  std::string ToString() const override;
};

class OLMA_API ListValueString final : public DataValue, public ListValueMixin<std::string> {
 public:
  using PtrType = std::shared_ptr<ListValueString>;
  using PtrConstType = std::shared_ptr<const ListValueString>;

  static PtrType GetInstance();
  explicit ListValueString(PrivConstructor tag) noexcept : DataValue(tag) {}

  DataType type() const override { return DataType::LIST_STRING; }
  void AcceptVisitor(ValueVisitor& visitor) const override;
  void AcceptVisitor(MutableValueVisitor& visitor) override;
  std::string ToString() const override;
};

class OLMA_API ListValueSecret final : public DataValue, public ListValueMixin<SecretString> {
 public:
  using PtrType = std::shared_ptr<ListValueSecret>;
  using PtrConstType = std::shared_ptr<const ListValueSecret>;

  static PtrType GetInstance();
  explicit ListValueSecret(PrivConstructor tag) noexcept : DataValue(tag) {}

  DataType type() const override { return DataType::LIST_SECRET; }
  void AcceptVisitor(ValueVisitor& visitor) const override;
  void AcceptVisitor(MutableValueVisitor& visitor) override;
  std::string ToString() const override;
};

}  // namespace Data
}  // namespace Olma
