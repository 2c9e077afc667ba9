#include "olma/data/compound_values.h"

#include <memory>
#include <utility>

#include "data/value_tree.h"
#include "olma/data/localizable_message.h"
#include "olma/data/value_visitor.h"

namespace Olma {
namespace Data {

CompoundValue::CompoundValue(PrivConstructor tag, std::string name) noexcept
    : DataValue(tag), name_(std::move(name)) {}

bool CompoundValue::HasField(std::string_view name) const {
  return fields_.find(name) != fields_.end();
}

bool CompoundValue::GetField(std::string_view name, DataValue::PtrConstType& out,
                             MessageList& messages) const {
  const auto found = fields_.find(name);
  if (found == fields_.end()) {
    messages.push_back(Message<CoreTag>("olma.data.error.getfield.unknown", name));
    return false;
  }
  out = found->second;
  return true;
}

void CompoundValue::SetField(std::string_view name, DataValue::PtrConstType value) {
  const auto position = fields_.lower_bound(name);
  if (position != fields_.end() && position->first == name) {
    position->second = std::move(value);
  } else {
    fields_.emplace_hint(position, std::string(name), std::move(value));
  }
}

bool CompoundValue::DeleteField(std::string_view name) {
  const auto found = fields_.find(name);
  if (found == fields_.end()) return false;
  fields_.erase(found);
  return true;
}

StructValue::PtrType StructValue::GetInstance(std::string name) {
  return std::make_shared<StructValue>(PrivConstructor(), std::move(name));
}

void StructValue::AcceptVisitor(ValueVisitor& visitor) const {
  visitor.VisitStruct(std::static_pointer_cast<const StructValue>(shared_from_this()));
}

void StructValue::AcceptVisitor(MutableValueVisitor& visitor) {
  visitor.VisitStruct(std::static_pointer_cast<StructValue>(shared_from_this()));
}

std::string StructValue::ToString() const {
  std::string out;
  Detail::RenderValue(this, out);
  return out;
}

namespace {
constexpr std::string_view kMessagesField = "messages";
}  // namespace

ErrorValue::PtrType ErrorValue::GetInstance(std::string name) {
  return std::make_shared<ErrorValue>(PrivConstructor(), std::move(name));
}

ErrorValue::PtrType ErrorValue::GetInstance(std::string name, ListValue::PtrConstType messages) {
  PtrType error = GetInstance(std::move(name));
  error->SetField(kMessagesField, std::move(messages));
  return error;
}

ErrorValue::PtrType ErrorValue::Create(std::string name, const MessageList& messages) {
  return GetInstance(std::move(name), LocalizableMessage::BuildList(messages));
}

ListValue::PtrConstType ErrorValue::messages() const {
  const auto found = fields().find(kMessagesField);
  if (found == fields().end() || !found->second || found->second->type() != DataType::LIST) return nullptr;
  return std::static_pointer_cast<const ListValue>(found->second);
}

void ErrorValue::AcceptVisitor(ValueVisitor& visitor) const {
  visitor.VisitError(std::static_pointer_cast<const ErrorValue>(shared_from_this()));
}

void ErrorValue::AcceptVisitor(MutableValueVisitor& visitor) {
  visitor.VisitError(std::static_pointer_cast<ErrorValue>(shared_from_this()));
}

std::string ErrorValue::ToString() const {
  std::string out;
  Detail::RenderValue(this, out);
  return out;
}

}  // namespace Data
}  // namespace Olma
