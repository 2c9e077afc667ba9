// Messages: how the library reports problems to its callers.
//
// A message is a stable dotted identifier, an English default text with its arguments
// already filled in, and the arguments as strings, so that a client can localise it
// later. Operations that can fail take a MessageList and append to it; an empty list
// means success.
//
//   Olma::MessageList messages;
//   messages.push_back(Olma::Message<Olma::CoreTag>("olma.data.bad.cast2", "Long", "Double"));
//   messages.back().defaultMessage();   // "Bad cast: Long -> Double"
//   messages.back().args();             // {"Long", "Double"}
//
// Messages are plain values; the catalogue is a constant table. Building a message
// renders its texts, so only build one when the problem has actually happened.
#pragma once

#include <list>
#include <string>
#include <string_view>
#include <utility>

#include "olma/core/export.h"
#include "olma/core/format.h"

namespace Olma {

class BaseMessage {
 public:
  BaseMessage() = default;
  BaseMessage(std::string id, std::string default_message, std::list<std::string> args)
      : id_(std::move(id)), default_message_(std::move(default_message)), args_(std::move(args)) {}

  const std::string& id() const noexcept { return id_; }
  const std::string& defaultMessage() const noexcept { return default_message_; }
  const std::list<std::string>& args() const noexcept { return args_; }

 private:
  std::string id_;
  std::string default_message_;
  std::list<std::string> args_;
};

using MessageList = std::list<BaseMessage>;

// Renders one argument with the template "{1}" and appends it to an argument list.
struct AppendArg {
  std::list<std::string>& args;

  template <typename T>
  void operator()(const T& value) const {
    args.push_back(Format("{1}", value));
  }
};

// Builds a message from an explicit template: the default text is the template
// formatted with the arguments, and each argument is also rendered alone.
template <typename... Args>
BaseMessage MakeMessage(std::string_view id, std::string_view tmpl, const Args&... args) {
  std::list<std::string> rendered;
  (AppendArg{rendered}(args), ...);
  return BaseMessage(std::string(id), Format(tmpl, args...), std::move(rendered));
}

// The tag of the library's own message catalogue.
struct CoreTag {};

// A message whose default text comes from the catalogue chosen by Tag. An identifier
// that is not in the catalogue gets the text "Unknown message.".
template <typename Tag>
class Message : public BaseMessage {
 public:
  explicit Message(std::string_view id)
      : BaseMessage(std::string(id), DefaultMessageForId(id), std::list<std::string>()) {}

  template <typename... Args>
  Message(std::string_view id, const Args&... args)
      : BaseMessage(MakeMessage(id, DefaultMessageForId(id), args...)) {}

  // The catalogue template of `id`, or "Unknown message.".
  static const char* DefaultMessageForId(std::string_view id);
};

template <>
OLMA_API const char* Message<CoreTag>::DefaultMessageForId(std::string_view id);

}  // namespace Olma
