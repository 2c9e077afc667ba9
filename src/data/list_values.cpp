#include "olma/data/list_values.h"

#include <memory>

#include "data/value_tree.h"
#include "olma/data/value_visitor.h"

namespace Olma {
namespace Data {

namespace {

template <class List>
std::string Render(const List& list) {
  std::string out;
  Detail::RenderValue(&list, out);
  return out;
}

}  // namespace

ListValue::PtrType ListValue::GetInstance() {
  return std::make_shared<ListValue>(PrivConstructor(), kDefaultKind);
}

ListValue::PtrType ListValue::GetInstance(Kind kind) {
  return std::make_shared<ListValue>(PrivConstructor(), kind);
}

void ListValue::AcceptVisitor(ValueVisitor& visitor) const {
  visitor.VisitList(std::static_pointer_cast<const ListValue>(shared_from_this()));
}

void ListValue::AcceptVisitor(MutableValueVisitor& visitor) {
  visitor.VisitList(std::static_pointer_cast<ListValue>(shared_from_this()));
}

std::string ListValue::ToString() const {
  return Render(*this);
}

namespace {

// The visitor slot of each typed list.
void VisitSlot(ValueVisitor& v, ListValueBool::PtrConstType list) {
  v.VisitListBool(std::move(list));
}
void VisitSlot(ValueVisitor& v, ListValueLong::PtrConstType list) {
  v.VisitListLong(std::move(list));
}
void VisitSlot(ValueVisitor& v, ListValueDouble::PtrConstType list) {
  v.VisitListDouble(std::move(list));
}
void VisitSlot(ValueVisitor& v, ListValueBlob::PtrConstType list) {
  v.VisitListBlob(std::move(list));
}
void VisitSlot(ValueVisitor& v, ListValueString::PtrConstType list) {
  v.VisitListString(std::move(list));
}
void VisitSlot(ValueVisitor& v, ListValueSecret::PtrConstType list) {
  v.VisitListSecret(std::move(list));
}
void VisitSlot(MutableValueVisitor& v, ListValueBool::PtrType list) {
  v.VisitListBool(std::move(list));
}
void VisitSlot(MutableValueVisitor& v, ListValueLong::PtrType list) {
  v.VisitListLong(std::move(list));
}
void VisitSlot(MutableValueVisitor& v, ListValueDouble::PtrType list) {
  v.VisitListDouble(std::move(list));
}
void VisitSlot(MutableValueVisitor& v, ListValueBlob::PtrType list) {
  v.VisitListBlob(std::move(list));
}
void VisitSlot(MutableValueVisitor& v, ListValueString::PtrType list) {
  v.VisitListString(std::move(list));
}
void VisitSlot(MutableValueVisitor& v, ListValueSecret::PtrType list) {
  v.VisitListSecret(std::move(list));
}

}  // namespace

template <class T, DataType::EnumType Kind>
void TypedListValue<T, Kind>::AcceptVisitor(ValueVisitor& visitor) const {
  VisitSlot(visitor, std::static_pointer_cast<const TypedListValue>(shared_from_this()));
}

template <class T, DataType::EnumType Kind>
void TypedListValue<T, Kind>::AcceptVisitor(MutableValueVisitor& visitor) {
  VisitSlot(visitor, std::static_pointer_cast<TypedListValue>(shared_from_this()));
}

template <class T, DataType::EnumType Kind>
std::string TypedListValue<T, Kind>::ToString() const {
  return Render(*this);
}

template class TypedListValue<bool, DataType::LIST_BOOL>;
template class TypedListValue<long long, DataType::LIST_LONG>;
template class TypedListValue<double, DataType::LIST_DOUBLE>;
template class TypedListValue<ByteVector, DataType::LIST_BLOB>;
template class TypedListValue<std::string, DataType::LIST_STRING>;
template class TypedListValue<SecretString, DataType::LIST_SECRET>;

}  // namespace Data
}  // namespace Olma
