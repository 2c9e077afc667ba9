// Visitors over data values: the double dispatch through which code walks a value tree.
//
// value->AcceptVisitor(visitor) calls exactly one slot of the visitor, the one of the
// value's concrete class, with a shared pointer to the value. Visiting never descends on
// its own: a visitor that needs the children reads them from the value it was given and
// queues them on its own work stack (never by recursing, so that deep trees cannot
// exhaust the call stack).
//
//   class CountIntegers : public Olma::Data::ValueVisitor {
//     void VisitInteger(std::shared_ptr<const IntegerValue>) override { ++count; }
//     ... every other slot ...
//   };
//
// The typed lists of primitives have slots of their own; a visitor that treats every list
// alike handles them in VisitList and the six VisitList* slots.
//
// Thread safety: a visitor is one walker's state; the values it visits may be shared.
#pragma once

#include <memory>
#include <string>

#include "olma/core/byte_vector.h"
#include "olma/core/export.h"
#include "olma/core/secret_string.h"
#include "olma/data/data_type.h"

namespace Olma {
namespace Data {

class VoidValue;
class IntegerValue;
class DoubleValue;
class BooleanValue;
class BlobValue;
class StringValue;
class SecretValue;
class ErrorValue;
class OptionalValue;
class ListValue;
template <class T, DataType::EnumType Kind>
class TypedListValue;
using ListValueBool = TypedListValue<bool, DataType::LIST_BOOL>;
using ListValueLong = TypedListValue<long long, DataType::LIST_LONG>;
using ListValueDouble = TypedListValue<double, DataType::LIST_DOUBLE>;
using ListValueBlob = TypedListValue<ByteVector, DataType::LIST_BLOB>;
using ListValueString = TypedListValue<std::string, DataType::LIST_STRING>;
using ListValueSecret = TypedListValue<SecretString, DataType::LIST_SECRET>;
class StructValue;

// Visits values as const.
class OLMA_API ValueVisitor {
 public:
  virtual void VisitVoid(std::shared_ptr<const VoidValue> value) = 0;
  virtual void VisitInteger(std::shared_ptr<const IntegerValue> value) = 0;
  virtual void VisitDouble(std::shared_ptr<const DoubleValue> value) = 0;
  virtual void VisitBoolean(std::shared_ptr<const BooleanValue> value) = 0;
  virtual void VisitBlob(std::shared_ptr<const BlobValue> value) = 0;
  virtual void VisitString(std::shared_ptr<const StringValue> value) = 0;
  virtual void VisitSecret(std::shared_ptr<const SecretValue> value) = 0;
  virtual void VisitError(std::shared_ptr<const ErrorValue> value) = 0;
  virtual void VisitOptional(std::shared_ptr<const OptionalValue> value) = 0;
  virtual void VisitList(std::shared_ptr<const ListValue> value) = 0;
  virtual void VisitListBool(std::shared_ptr<const ListValueBool> value) = 0;
  virtual void VisitListLong(std::shared_ptr<const ListValueLong> value) = 0;
  virtual void VisitListDouble(std::shared_ptr<const ListValueDouble> value) = 0;
  virtual void VisitListBlob(std::shared_ptr<const ListValueBlob> value) = 0;
  virtual void VisitListString(std::shared_ptr<const ListValueString> value) = 0;
  virtual void VisitListSecret(std::shared_ptr<const ListValueSecret> value) = 0;
  virtual void VisitStruct(std::shared_ptr<const StructValue> value) = 0;
  virtual ~ValueVisitor();
};

// Visits values that the visitor may change (only while they are not yet shared).
class OLMA_API MutableValueVisitor {
 public:
  virtual void VisitVoid(std::shared_ptr<VoidValue> value) = 0;
  virtual void VisitInteger(std::shared_ptr<IntegerValue> value) = 0;
  virtual void VisitDouble(std::shared_ptr<DoubleValue> value) = 0;
  virtual void VisitBoolean(std::shared_ptr<BooleanValue> value) = 0;
  virtual void VisitBlob(std::shared_ptr<BlobValue> value) = 0;
  virtual void VisitString(std::shared_ptr<StringValue> value) = 0;
  virtual void VisitSecret(std::shared_ptr<SecretValue> value) = 0;
  virtual void VisitError(std::shared_ptr<ErrorValue> value) = 0;
  virtual void VisitOptional(std::shared_ptr<OptionalValue> value) = 0;
  virtual void VisitList(std::shared_ptr<ListValue> value) = 0;
  virtual void VisitListBool(std::shared_ptr<ListValueBool> value) = 0;
  virtual void VisitListLong(std::shared_ptr<ListValueLong> value) = 0;
  virtual void VisitListDouble(std::shared_ptr<ListValueDouble> value) = 0;
  virtual void VisitListBlob(std::shared_ptr<ListValueBlob> value) = 0;
  virtual void VisitListString(std::shared_ptr<ListValueString> value) = 0;
  virtual void VisitListSecret(std::shared_ptr<ListValueSecret> value) = 0;
  virtual void VisitStruct(std::shared_ptr<StructValue> value) = 0;
  virtual ~MutableValueVisitor();
};

}  // namespace Data
}  // namespace Olma
