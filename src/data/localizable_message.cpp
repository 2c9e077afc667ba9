#include "olma/data/localizable_message.h"

#include <list>
#include <string>
#include <utility>

#include "olma/data/scalar_values.h"

namespace Olma {
namespace Data {
namespace {

// The string held by field `name`, or null when the field is absent or not a string.
const std::string* StringField(const CompoundValue::FieldMap& fields, std::string_view name) {
  const auto found = fields.find(name);
  if (found == fields.end() || !found->second || found->second->type() != DataType::STRING) return nullptr;
  return &static_cast<const StringValue&>(*found->second).value();
}

// The field "args" as strings: a typed list of strings, or a list whose elements are all
// string values. False for anything else.
bool ReadArgs(const CompoundValue::FieldMap& fields, std::list<std::string>& args) {
  const auto found = fields.find(LocalizableMessage::kArgs);
  if (found == fields.end() || !found->second) return false;
  const DataValue& value = *found->second;
  if (value.type() == DataType::LIST_STRING) {
    const auto& strings = static_cast<const ListValueString&>(value);
    args.assign(strings.begin(), strings.end());
    return true;
  }
  if (value.type() != DataType::LIST) return false;
  for (const DataValue::PtrConstType& element : static_cast<const ListValue&>(value)) {
    if (!element || element->type() != DataType::STRING) return false;
    args.push_back(static_cast<const StringValue&>(*element).value());
  }
  return true;
}

}  // namespace

StructValue::PtrType LocalizableMessage::Build(const BaseMessage& message) {
  StructValue::PtrType entry = StructValue::GetInstance(std::string(kStructName));
  entry->SetField(kId, StringValue::GetInstance(message.id()));
  entry->SetField(kDefaultMessage, StringValue::GetInstance(message.defaultMessage()));
  ListValueString::PtrType args = ListValueString::GetInstance();
  args->assign(message.args().begin(), message.args().end());
  entry->SetField(kArgs, std::move(args));
  return entry;
}

ListValue::PtrType LocalizableMessage::BuildList(const MessageList& messages) {
  ListValue::PtrType list = ListValue::GetInstance();
  for (const BaseMessage& message : messages) list->push_back(Build(message));
  return list;
}

bool LocalizableMessage::ReadList(const ListValue& list, MessageList& messages) {
  // Converted aside and spliced in at the end, so a malformed element leaves `messages`
  // exactly as it was.
  MessageList converted;
  for (const DataValue::PtrConstType& element : list) {
    if (!element || element->type() != DataType::STRUCTURE) return false;
    const CompoundValue::FieldMap& fields = static_cast<const StructValue&>(*element).fields();
    const std::string* id = StringField(fields, kId);
    const std::string* defaultMessage = StringField(fields, kDefaultMessage);
    std::list<std::string> args;
    if (id == nullptr || defaultMessage == nullptr || !ReadArgs(fields, args)) return false;
    converted.emplace_back(*id, *defaultMessage, std::move(args));
  }
  messages.splice(messages.end(), converted);
  return true;
}

}  // namespace Data
}  // namespace Olma
