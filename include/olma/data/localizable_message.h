// The wire form of a message: the structure "com.zorvex.olma.std.localizable_message".
//
// Messages travel inside error values (the field "messages" of an ErrorValue) as a list of
// these structures, so that a client can show the default text or localise the message
// from its identifier and arguments. This is the one place that knows the shape: the
// error factory builds it, the provider reads it back from a handler's error, the
// renderer shows it, and the localising builders add their fields to what Build makes.
//
//   Olma::MessageList messages;
//   messages.push_back(Olma::Message<Olma::CoreTag>("olma.invalid.request"));
//   auto list = Olma::Data::LocalizableMessage::BuildList(messages);
//   // [ {{ com.zorvex.olma.std.localizable_message : { args : [ ] , default_message :
//   //      Invalid Request, id : olma.invalid.request, } }} , ]
//
// The functions keep no state; any number of threads may call them at once.
#pragma once

#include <string_view>

#include "olma/core/export.h"
#include "olma/core/message.h"
#include "olma/data/compound_values.h"
#include "olma/data/list_values.h"

namespace Olma {
namespace Data {

struct OLMA_API LocalizableMessage {
  static constexpr std::string_view kStructName = ErrorValue::kMessageStructName;
  // The fields every message carries: the identifier, the text for the default locale and
  // the arguments as texts.
  static constexpr std::string_view kId = "id";
  static constexpr std::string_view kDefaultMessage = "default_message";
  static constexpr std::string_view kArgs = "args";

  // The structure of `message`: "id" and "default_message" as strings, "args" as a
  // ListValueString. Returned mutable so that a localising builder can add its own
  // fields before sharing it.
  static StructValue::PtrType Build(const BaseMessage& message);

  // A ListValue holding Build of each message, in order.
  static ListValue::PtrType BuildList(const MessageList& messages);

  // Reads a list of message structures back: each element must be a structure with the
  // string fields "id" and "default_message" and the field "args", a typed list of
  // strings or a list of string values (its name and any further fields are not looked
  // at). Appends the messages in order to `messages` and returns true; when any element
  // has another shape, appends nothing and returns false.
  static bool ReadList(const ListValue& list, MessageList& messages);
};

}  // namespace Data
}  // namespace Olma
