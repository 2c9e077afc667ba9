#include "olma/data/value_access.h"

#include <memory>
#include <string_view>

#include "olma/data/values.h"

namespace Olma {
namespace Data {
namespace DataValueHelpersHelper {
namespace {

// One step of a path walk per visit. A visit either ends the walk (with the value found,
// or with nothing) or names the child to visit next and the path left for it; the caller
// loops, so a long chain of optionals costs no call depth.
class GetValueVisitor final : public ValueVisitor {
 public:
  GetValueVisitor(std::string_view path, MessageList& messages) noexcept : path_(path), messages_(messages) {}

  // The child to visit next, or null when the walk has ended.
  const DataValue::PtrConstType* next() const noexcept { return next_; }
  const DataValue::PtrConstType& result() const noexcept { return result_; }

  void Reset() noexcept { next_ = nullptr; }

  void VisitVoid(std::shared_ptr<const VoidValue> value) override { Leaf(std::move(value)); }
  void VisitInteger(std::shared_ptr<const IntegerValue> value) override { Leaf(std::move(value)); }
  void VisitDouble(std::shared_ptr<const DoubleValue> value) override { Leaf(std::move(value)); }
  void VisitBoolean(std::shared_ptr<const BooleanValue> value) override { Leaf(std::move(value)); }
  void VisitBlob(std::shared_ptr<const BlobValue> value) override { Leaf(std::move(value)); }
  void VisitString(std::shared_ptr<const StringValue> value) override { Leaf(std::move(value)); }
  void VisitSecret(std::shared_ptr<const SecretValue> value) override { Leaf(std::move(value)); }

  void VisitError(std::shared_ptr<const ErrorValue> value) override { Compound(std::move(value)); }
  void VisitStruct(std::shared_ptr<const StructValue> value) override { Compound(std::move(value)); }

  // Optionals are transparent: a set one is entered with the same path.
  void VisitOptional(std::shared_ptr<const OptionalValue> value) override {
    if (path_.empty()) {
      result_ = std::move(value);
    } else if (value->isSet()) {
      next_ = &value->value();
    }
  }

  void VisitList(std::shared_ptr<const ListValue> value) override { List(std::move(value)); }
  void VisitListBool(std::shared_ptr<const ListValueBool> value) override { List(std::move(value)); }
  void VisitListLong(std::shared_ptr<const ListValueLong> value) override { List(std::move(value)); }
  void VisitListDouble(std::shared_ptr<const ListValueDouble> value) override { List(std::move(value)); }
  void VisitListBlob(std::shared_ptr<const ListValueBlob> value) override { List(std::move(value)); }
  void VisitListString(std::shared_ptr<const ListValueString> value) override { List(std::move(value)); }
  void VisitListSecret(std::shared_ptr<const ListValueSecret> value) override { List(std::move(value)); }

 private:
  // A scalar is found only when the path ends on it; there is nothing inside to enter.
  void Leaf(DataValue::PtrConstType value) {
    if (path_.empty()) result_ = std::move(value);
  }

  // Structures and errors are entered through the field named by the path's first
  // segment; a missing field ends the walk with nothing.
  void Compound(std::shared_ptr<const CompoundValue> value) {
    if (path_.empty()) {
      result_ = std::move(value);
      return;
    }
    const std::size_t dot = path_.find('.');
    const std::string_view segment = path_.substr(0, dot);
    const auto field = value->fields().find(segment);
    if (field == value->fields().end()) return;
    path_ = dot == std::string_view::npos ? std::string_view() : path_.substr(dot + 1);
    next_ = &field->second;
  }

  // Paths never index into lists.
  void List(DataValue::PtrConstType value) {
    if (path_.empty()) {
      result_ = std::move(value);
    } else {
      messages_.push_back(Message<CoreTag>("olma.data.getvaluebypath.list.not.last", path_));
    }
  }

  std::string_view path_;
  MessageList& messages_;
  DataValue::PtrConstType result_;
  const DataValue::PtrConstType* next_ = nullptr;
};

}  // namespace
}  // namespace DataValueHelpersHelper

namespace DataValueHelpers {

DataValue::PtrConstType GetValueByPath(std::string_view path, const DataValue::PtrConstType& value,
                                       MessageList& messages) {
  if (!value) return nullptr;
  if (!path.empty() && path.front() == '.') path.remove_prefix(1);
  DataValueHelpersHelper::GetValueVisitor visitor(path, messages);
  // The children named by next() belong to `value`'s tree, which the caller keeps alive.
  // An empty child pointer ends the walk with nothing.
  for (const DataValue::PtrConstType* node = &value; node != nullptr && *node; node = visitor.next()) {
    visitor.Reset();
    (*node)->AcceptVisitor(visitor);
  }
  return visitor.result();
}

DataValue::PtrConstType GetValueByPath(std::string_view path, const DataValue::PtrConstType& value) {
  MessageList discarded;
  return GetValueByPath(path, value, discarded);
}

}  // namespace DataValueHelpers

}  // namespace Data
}  // namespace Olma
