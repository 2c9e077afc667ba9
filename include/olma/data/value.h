// DataValue: the dynamic value that crosses every API boundary.
//
// Method inputs, outputs, errors and message arguments are trees of DataValues. Each node
// is one of a fixed set of kinds (void, integer, double, boolean, blob, string, secret,
// optional, list, six typed lists of primitives, structure, error); its kind is type().
// Values know nothing of the type they are meant to have: definitions, the validator and
// the comparators decide that.
//
// Values are created only by the static GetInstance factories of the concrete classes
// (one allocation for object and reference count), filled by their creator, and then
// shared as pointers to const. Children are shared pointers to const values, so a
// sub-tree may hang under several parents and is never copied by the value classes.
//
//   Olma::Data::StructValue::PtrType point = Olma::Data::StructValue::GetInstance("point");
//   point->SetField("x", Olma::Data::IntegerValue::GetInstance(3));
//   point->SetField("y", Olma::Data::DataValue::Create<double>(1.5));
//   point->ToString();   // "{{ point : { x : 3, y : 1.500000, } }} "
//
// Code that walks values does so through AcceptVisitor (see value_visitor.h) or through
// a type() test followed by std::static_pointer_cast; there is no dynamic_cast.
//
// Thread safety: values carry no locks. Once published (no longer mutated), any number of
// threads may read, visit, render and release a value tree at once.
#pragma once

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

class ValueVisitor;
class MutableValueVisitor;

class OLMA_API DataValue : public std::enable_shared_from_this<DataValue> {
 public:
  using PtrType = std::shared_ptr<DataValue>;
  using PtrConstType = std::shared_ptr<const DataValue>;

  DataValue(const DataValue&) = delete;
  DataValue& operator=(const DataValue&) = delete;

  // The kind of the value. Kinds OPAQUE, STRUCTURE_REF, DYNAMIC_STRUCTURE and ANY_ERROR
  // belong to definitions only and are never reported here.
  virtual DataType type() const = 0;

  // Calls exactly the visitor's slot for the concrete class, with a shared pointer to this
  // value; children are not visited (the visitor descends itself if it wants to). Raises
  // std::bad_weak_ptr when the value is not owned by a shared pointer, which the factories
  // rule out.
  virtual void AcceptVisitor(ValueVisitor& visitor) const = 0;
  virtual void AcceptVisitor(MutableValueVisitor& visitor) = 0;

  // The diagnostic text of the value and its whole sub-tree (logs, message arguments).
  // Never fails; an empty child pointer shows as "<unset>" and a secret as "<secret>".
  // Any depth of nesting is rendered without recursion. Cost: linear in the text, and a
  // sub-tree shared by several parents is rendered once per path to it (22 levels of
  // [x, x] render 37 MB). For text that leaves the process, RenderValue
  // (olma/data/value_rendering.h) also masks what a definition declares SECRET.
  virtual std::string ToString() const = 0;

  // Frees the sub-tree without recursion: only children no one else holds are freed.
  virtual ~DataValue();

  // A new value holding a native one: long long gives an IntegerValue, double a
  // DoubleValue, bool a BooleanValue, ByteVector a BlobValue, std::string a StringValue,
  // SecretString a SecretValue, DateTime a StringValue of its text, Void a VoidValue.
  // Any other type is refused at compile time.
  template <class T>
  static PtrConstType Create(const T& value);
  // A VoidValue, for T = void or Void.
  template <class T>
  static PtrConstType Create();

  // Whether two values are equal (CompModeLoose or CompModeStrict). The differences found
  // are appended to `messages`.
  template <class Mode>
  static bool Compare(const PtrConstType& a, const PtrConstType& b, MessageList& messages);

  // Converts `value` to the native type T with the strict rules: the kinds must match.
  // Returns false, appends the reason to `messages` and leaves `out` unchanged on failure.
  // T is one of Void, long long, double, bool, ByteVector, std::string, DateTime,
  // SecretString.
  template <class T>
  static bool Value(const PtrConstType& value, T& out, MessageList& messages);

  // As Value, with the lenient conversion rules.
  template <class T>
  static bool ToPrimitive(const PtrConstType& value, T& out, MessageList& messages);

 protected:
  // The constructor tag: only the classes of this hierarchy can make one, so values are
  // built by their factories alone and are always owned by a shared pointer.
  struct PrivConstructor {
    explicit PrivConstructor() = default;
  };

  explicit DataValue(PrivConstructor) noexcept {}
};

namespace Detail {
template <class>
inline constexpr bool kNoValueKindFor = false;
}  // namespace Detail

template <class T>
DataValue::PtrConstType DataValue::Create(const T&) {
  static_assert(Detail::kNoValueKindFor<T>, "DataValue::Create: no value kind holds this native type");
  return nullptr;
}

template <class T>
DataValue::PtrConstType DataValue::Create() {
  static_assert(Detail::kNoValueKindFor<T>, "DataValue::Create<T>(): only void and Void need no argument");
  return nullptr;
}

template <>
OLMA_API DataValue::PtrConstType DataValue::Create<long long>(const long long& value);
template <>
OLMA_API DataValue::PtrConstType DataValue::Create<double>(const double& value);
template <>
OLMA_API DataValue::PtrConstType DataValue::Create<bool>(const bool& value);
template <>
OLMA_API DataValue::PtrConstType DataValue::Create<ByteVector>(const ByteVector& value);
template <>
OLMA_API DataValue::PtrConstType DataValue::Create<std::string>(const std::string& value);
template <>
OLMA_API DataValue::PtrConstType DataValue::Create<SecretString>(const SecretString& value);
template <>
OLMA_API DataValue::PtrConstType DataValue::Create<DateTime>(const DateTime& value);
template <>
OLMA_API DataValue::PtrConstType DataValue::Create<Void>(const Void& value);
template <>
OLMA_API DataValue::PtrConstType DataValue::Create<void>();
template <>
OLMA_API DataValue::PtrConstType DataValue::Create<Void>();

// Comparison and conversion are built with the comparators and the value-access helpers;
// their instantiations live in the library.
extern template OLMA_API bool DataValue::Compare<CompModeLoose>(const DataValue::PtrConstType&,
                                                                const DataValue::PtrConstType&, MessageList&);
extern template OLMA_API bool DataValue::Compare<CompModeStrict>(const DataValue::PtrConstType&,
                                                                 const DataValue::PtrConstType&,
                                                                 MessageList&);

extern template OLMA_API bool DataValue::Value<Void>(const DataValue::PtrConstType&, Void&, MessageList&);
extern template OLMA_API bool DataValue::Value<long long>(const DataValue::PtrConstType&, long long&,
                                                          MessageList&);
extern template OLMA_API bool DataValue::Value<double>(const DataValue::PtrConstType&, double&, MessageList&);
extern template OLMA_API bool DataValue::Value<bool>(const DataValue::PtrConstType&, bool&, MessageList&);
extern template OLMA_API bool DataValue::Value<ByteVector>(const DataValue::PtrConstType&, ByteVector&,
                                                           MessageList&);
extern template OLMA_API bool DataValue::Value<std::string>(const DataValue::PtrConstType&, std::string&,
                                                            MessageList&);
extern template OLMA_API bool DataValue::Value<DateTime>(const DataValue::PtrConstType&, DateTime&,
                                                         MessageList&);
extern template OLMA_API bool DataValue::Value<SecretString>(const DataValue::PtrConstType&, SecretString&,
                                                             MessageList&);

extern template OLMA_API bool DataValue::ToPrimitive<Void>(const DataValue::PtrConstType&, Void&,
                                                           MessageList&);
extern template OLMA_API bool DataValue::ToPrimitive<long long>(const DataValue::PtrConstType&, long long&,
                                                                MessageList&);
extern template OLMA_API bool DataValue::ToPrimitive<double>(const DataValue::PtrConstType&, double&,
                                                             MessageList&);
extern template OLMA_API bool DataValue::ToPrimitive<bool>(const DataValue::PtrConstType&, bool&,
                                                           MessageList&);
extern template OLMA_API bool DataValue::ToPrimitive<ByteVector>(const DataValue::PtrConstType&, ByteVector&,
                                                                 MessageList&);
extern template OLMA_API bool DataValue::ToPrimitive<std::string>(const DataValue::PtrConstType&,
                                                                  std::string&, MessageList&);
extern template OLMA_API bool DataValue::ToPrimitive<DateTime>(const DataValue::PtrConstType&, DateTime&,
                                                               MessageList&);
extern template OLMA_API bool DataValue::ToPrimitive<SecretString>(const DataValue::PtrConstType&,
                                                                   SecretString&, MessageList&);

}  // namespace Data
}  // namespace Olma
