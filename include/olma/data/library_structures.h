// The library's own native structures as the native adapters see them: a message
// (BaseMessage, "com.zorvex.olma.std.localizable_message"), one element of a map
// (MapEntry, "map-entry").
//
//   DataValue::PtrConstType wire;
//   NativeToValueAdapter::Adapt(messages, wire, errors);   // a list of message structures
//   MessageList back;
//   ValueToNativeAdapter::Adapt(wire, back, errors);
//
// A message structure has the fields "id" and "default_message" (strings) and "args" (a
// list of strings). Reading one back needs all three; the message is replaced only when
// they all convert.
#pragma once

#include <list>
#include <string>
#include <string_view>

#include "olma/core/message.h"
#include "olma/data/compound_values.h"
#include "olma/data/native_to_definition.h"
#include "olma/data/native_to_value.h"
#include "olma/data/value_to_native.h"

namespace Olma {
namespace Data {

template <>
struct TypeInfo<BaseMessage> {
  static constexpr std::string_view name() noexcept { return ErrorValue::kMessageStructName; }
};

template <>
struct AdapterHelperOf<BaseMessage> {
  struct type {
    static void AddFields(NativeToValueAdapter::CompoundHelper<StructValue>& helper,
                          const BaseMessage& message) {
      helper.AddField("id", &message.id());
      helper.AddField("default_message", &message.defaultMessage());
      helper.AddField("args", &message.args());
    }
    // A message is immutable once built: its parts are read first, then it is replaced.
    static void AddFields(ValueToNativeAdapter::CompoundHelper<StructValue>& helper, BaseMessage& message) {
      std::string id;
      std::string defaultMessage;
      std::list<std::string> args;
      if (helper.ReadField("id", id) && helper.ReadField("default_message", defaultMessage) &&
          helper.ReadField("args", args)) {
        message = BaseMessage(std::move(id), std::move(defaultMessage), std::move(args));
      }
    }
    template <class Helper>
    static void AddDefinitionFields(Helper& helper) {
      helper.template AddField<std::string>("id");
      helper.template AddField<std::string>("default_message");
      helper.template AddField<std::list<std::string>>("args");
    }
  };
};

// One element of a map as a structure of its own, for code that handles entries singly.
template <class K, class V>
struct MapEntry {
  static constexpr std::string_view kTypeName = NativeToValueAdapter::kMapEntryName;
  K key{};
  V value{};

  struct AdapterHelper {
    template <class Helper, class Object>
    static void AddFields(Helper& helper, Object& entry) {
      helper.AddField("key", &entry.key);
      helper.AddField("value", &entry.value);
    }
    template <class Helper>
    static void AddDefinitionFields(Helper& helper) {
      helper.template AddField<K>("key");
      helper.template AddField<V>("value");
    }
  };
};

}  // namespace Data
}  // namespace Olma
