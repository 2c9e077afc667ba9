// DataDefinition: the type that a data value must have.
//
// The declared input, output and error types of every API method are trees of
// definitions. A definition is built once through the GetInstance factory of its concrete
// class (see "olma/data/definitions.h"), is never modified once it is shared, and is
// handled as a shared pointer to const. Code that must tell the kinds apart asks type()
// and narrows with std::static_pointer_cast, or walks the tree with a DefinitionVisitor;
// a structure and a union case share their kind with other classes (STRING for
// IsOneOfDefinition, OPTIONAL for UnionCaseDefinition), so only the visitor tells those
// apart.
//
//   using namespace Olma::Data;
//   DataDefinition::FieldMap fields{{"a", IntegerDefinition::GetInstance()},
//                                   {"b", ListDefinition::GetInstance(StringDefinition::GetInstance())}};
//   DataDefinition::PtrConstType point = StructDefinition::GetInstance("s", fields);
//   point->ToString();   // "{sd{ s : { a : INTEGER, b : LIST[STRING], } }} "
//
// Trees may be nested arbitrarily deep: rendering and destruction walk them with an
// explicit work list, never by recursion.
//
// Thread safety: a shared definition is immutable; any number of threads may read, render
// and visit it at once.
#pragma once

#include <map>
#include <memory>
#include <string>

#include "olma/core/byte_vector.h"
#include "olma/core/export.h"
#include "olma/core/message.h"
#include "olma/data/data_type.h"
#include "olma/data/modes.h"
#include "olma/data/native_markers.h"

namespace Olma {

class DateTime;
class SecretString;

namespace Data {

class DefinitionVisitor;

class OLMA_API DataDefinition {
 public:
  using PtrType = std::shared_ptr<DataDefinition>;
  using PtrConstType = std::shared_ptr<const DataDefinition>;
  // The fields of a compound definition, in ascending byte-wise name order.
  using FieldMap = std::map<std::string, PtrConstType>;

  DataDefinition(const DataDefinition&) = delete;
  DataDefinition& operator=(const DataDefinition&) = delete;

  // Calls the one slot of `visitor` that belongs to the concrete class, with a shared
  // pointer to this definition; children are not visited.
  virtual void AcceptVisitor(DefinitionVisitor& visitor) const = 0;

  // The diagnostic text of the whole tree, e.g. "OPTIONAL<INTEGER>". References are not
  // followed, so recursive structures render finitely. Never fails; an empty child pointer
  // renders as "<unset>".
  virtual std::string ToString() const;

  // This definition as a shared pointer to the base class.
  virtual PtrType GetPtr() = 0;
  virtual PtrConstType GetConstPtr() const = 0;

  // Frees the children without recursion, however deep the tree, and without allocating
  // (so it cannot fail when memory is exhausted). Only children that nobody else holds
  // are freed; a node is taken apart by its own destructor only.
  virtual ~DataDefinition();

  // The kind, fixed by the concrete class.
  DataType type() const noexcept { return type_; }

  // A new definition for the native type T: Void and void give VOID, Opaque OPAQUE,
  // long long INTEGER, double DOUBLE, bool BOOLEAN, ByteVector BLOB, std::string and
  // DateTime STRING, SecretString SECRET, DynamicStructure DYNAMIC_STRUCTURE and
  // DynamicError ANY_ERROR. Any other T does not compile.
  template <class T>
  [[nodiscard]] static PtrType Create();

  // Whether two definition trees are the same. The second form appends a message naming
  // the first difference met; the first discards it.
  [[nodiscard]] static bool Compare(const PtrConstType& a, const PtrConstType& b);
  [[nodiscard]] static bool Compare(const PtrConstType& a, const PtrConstType& b, MessageList& messages);

  // Checks `value` against `definition`. Returns true when nothing was appended to
  // `errors`. Match is LooseMatch or StrictMatch, Mode ValidatorModeStrict or
  // ValidatorModePermissive; the four combinations are instantiated in the library.
  template <class Match, class Mode>
  [[nodiscard]] static bool Validate(const PtrConstType& definition,
                                     const std::shared_ptr<const DataValue>& value, MessageList& errors);

 protected:
  // Only the factories of the concrete classes can name this, so every definition is
  // owned by a shared pointer from the start (which AcceptVisitor relies on).
  struct PrivConstructor {
    explicit PrivConstructor() = default;
  };

  explicit DataDefinition(DataType type) noexcept : type_(type) {}

 private:
  const DataType type_;
};

namespace Detail {
template <class T>
struct NoDefinitionFor {
  static constexpr bool value = false;
};
}  // namespace Detail

template <class T>
DataDefinition::PtrType DataDefinition::Create() {
  static_assert(Detail::NoDefinitionFor<T>::value,
                "DataDefinition::Create: no definition for this native type");
  return nullptr;
}

template <>
OLMA_API DataDefinition::PtrType DataDefinition::Create<Void>();
template <>
OLMA_API DataDefinition::PtrType DataDefinition::Create<void>();
template <>
OLMA_API DataDefinition::PtrType DataDefinition::Create<Opaque>();
template <>
OLMA_API DataDefinition::PtrType DataDefinition::Create<long long>();
template <>
OLMA_API DataDefinition::PtrType DataDefinition::Create<double>();
template <>
OLMA_API DataDefinition::PtrType DataDefinition::Create<bool>();
template <>
OLMA_API DataDefinition::PtrType DataDefinition::Create<ByteVector>();
template <>
OLMA_API DataDefinition::PtrType DataDefinition::Create<std::string>();
template <>
OLMA_API DataDefinition::PtrType DataDefinition::Create<DateTime>();
template <>
OLMA_API DataDefinition::PtrType DataDefinition::Create<SecretString>();
template <>
OLMA_API DataDefinition::PtrType DataDefinition::Create<DynamicStructure>();
template <>
OLMA_API DataDefinition::PtrType DataDefinition::Create<DynamicError>();

// The body of Validate lives with the validator, which instantiates these four combinations
// from one template body (a specialisation could not follow these declarations).
extern template OLMA_API bool DataDefinition::Validate<LooseMatch, ValidatorModeStrict>(
    const DataDefinition::PtrConstType&, const std::shared_ptr<const DataValue>&, MessageList&);
extern template OLMA_API bool DataDefinition::Validate<StrictMatch, ValidatorModeStrict>(
    const DataDefinition::PtrConstType&, const std::shared_ptr<const DataValue>&, MessageList&);
extern template OLMA_API bool DataDefinition::Validate<LooseMatch, ValidatorModePermissive>(
    const DataDefinition::PtrConstType&, const std::shared_ptr<const DataValue>&, MessageList&);
extern template OLMA_API bool DataDefinition::Validate<StrictMatch, ValidatorModePermissive>(
    const DataDefinition::PtrConstType&, const std::shared_ptr<const DataValue>&, MessageList&);

}  // namespace Data
}  // namespace Olma
