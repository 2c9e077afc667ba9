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

ListValueBool::PtrType ListValueBool::GetInstance() {
  return std::make_shared<ListValueBool>(PrivConstructor());
}

void ListValueBool::AcceptVisitor(ValueVisitor& visitor) const {
  visitor.VisitListBool(std::static_pointer_cast<const ListValueBool>(shared_from_this()));
}

void ListValueBool::AcceptVisitor(MutableValueVisitor& visitor) {
  visitor.VisitListBool(std::static_pointer_cast<ListValueBool>(shared_from_this()));
}

std::string ListValueBool::ToString() const {
  return Render(*this);
}

ListValueLong::PtrType ListValueLong::GetInstance() {
  return std::make_shared<ListValueLong>(PrivConstructor());
}

void ListValueLong::AcceptVisitor(ValueVisitor& visitor) const {
  visitor.VisitListLong(std::static_pointer_cast<const ListValueLong>(shared_from_this()));
}

void ListValueLong::AcceptVisitor(MutableValueVisitor& visitor) {
  visitor.VisitListLong(std::static_pointer_cast<ListValueLong>(shared_from_this()));
}

std::string ListValueLong::ToString() const {
  return Render(*this);
}

ListValueDouble::PtrType ListValueDouble::GetInstance() {
  return std::make_shared<ListValueDouble>(PrivConstructor());
}

void ListValueDouble::AcceptVisitor(ValueVisitor& visitor) const {
  visitor.VisitListDouble(std::static_pointer_cast<const ListValueDouble>(shared_from_this()));
}

void ListValueDouble::AcceptVisitor(MutableValueVisitor& visitor) {
  visitor.VisitListDouble(std::static_pointer_cast<ListValueDouble>(shared_from_this()));
}

std::string ListValueDouble::ToString() const {
  return Render(*this);
}

ListValueBlob::PtrType ListValueBlob::GetInstance() {
  return std::make_shared<ListValueBlob>(PrivConstructor());
}

void ListValueBlob::AcceptVisitor(ValueVisitor& visitor) const {
  visitor.VisitListBlob(std::static_pointer_cast<const ListValueBlob>(shared_from_this()));
}

void ListValueBlob::AcceptVisitor(MutableValueVisitor& visitor) {
  visitor.VisitListBlob(std::static_pointer_cast<ListValueBlob>(shared_from_this()));
}

std::string ListValueBlob::ToString() const {
  return Render(*this);
}

ListValueString::PtrType ListValueString::GetInstance() {
  return std::make_shared<ListValueString>(PrivConstructor());
}

void ListValueString::AcceptVisitor(ValueVisitor& visitor) const {
  visitor.VisitListString(std::static_pointer_cast<const ListValueString>(shared_from_this()));
}

void ListValueString::AcceptVisitor(MutableValueVisitor& visitor) {
  visitor.VisitListString(std::static_pointer_cast<ListValueString>(shared_from_this()));
}

std::string ListValueString::ToString() const {
  return Render(*this);
}

ListValueSecret::PtrType ListValueSecret::GetInstance() {
  return std::make_shared<ListValueSecret>(PrivConstructor());
}

void ListValueSecret::AcceptVisitor(ValueVisitor& visitor) const {
  visitor.VisitListSecret(std::static_pointer_cast<const ListValueSecret>(shared_from_this()));
}

void ListValueSecret::AcceptVisitor(MutableValueVisitor& visitor) {
  visitor.VisitListSecret(std::static_pointer_cast<ListValueSecret>(shared_from_this()));
}

std::string ListValueSecret::ToString() const {
  return Render(*this);
}

}  // namespace Data
}  // namespace Olma
