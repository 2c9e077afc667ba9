// NativeToValueAdapter: turns a native object into a dynamic value.
//
//   Olma::MessageList messages;
//   Olma::Data::DataValue::PtrConstType value;
//   if (Olma::Data::NativeToValueAdapter::Adapt(order, value, messages)) Send(value);
//
// What each native type becomes:
//
//   Void, bool, long long, double, ByteVector, std::string, SecretString
//                        the scalar value of that kind (other integers become LONG)
//   DateTime             a StringValue of its text; an Enum a StringValue of its
//                        enumerator's name; DataType a StringValue of its table name
//   std::optional<T>     an OptionalValue, unset when empty
//   std::vector, std::list, std::set of T
//                        a packed list when T is bool, long long, double, ByteVector,
//                        std::string or SecretString, else a ListValue in order
//   std::map<K, V>       a ListValue of "map-entry" structures, "key" and "value", in map order
//   std::shared_ptr<T>   as T; a null one reports "olma.data.unset.non.optional.field"
//                        (inside an optional it gives an unset optional instead)
//   Opaque, DynamicStructure, DynamicError, shared_ptr<const DataValue>
//                        the value they carry, unchanged
//   shared_ptr<const DataDefinition>
//                        its introspection structure (see introspection.h)
//   a declared structure a StructValue named by TypeInfo<T>::name(), with the fields its
//                        AdapterHelper (or its Boost.Describe description) lists
//
// Declaring a structure by hand: a nested AdapterHelper lists the fields, in the same order,
// for the two value directions (AddFields) and for the definition (AddDefinitionFields):
//
//   struct Point {
//     static constexpr std::string_view kTypeName = "com.example.point";
//     long long x = 0;
//     std::optional<std::string> label;
//     struct AdapterHelper {
//       template <class Helper, class Object>
//       static void AddFields(Helper& helper, Object& point) {
//         helper.AddField("x", &point.x);
//         helper.AddField("label", &point.label);
//       }
//       template <class Helper>
//       static void AddDefinitionFields(Helper& helper) {
//         helper.AddField("x", &Point::x);
//         helper.AddField("label", &Point::label);
//       }
//     };
//   };
//
// Field names must outlive the conversion (string literals do). The walk runs on the
// adaptation engine: nested structures, lists and optionals are queued, never recursed into,
// so a chain of a hundred thousand shared pointers converts with a flat call stack.
//
// Stateless: any number of threads may convert at once, each its own objects.
#pragma once

#include <memory>
#include <string>
#include <string_view>
#include <utility>

#include "olma/core/export.h"
#include "olma/core/message.h"
#include "olma/data/adapter.h"
#include "olma/data/compound_values.h"
#include "olma/data/detail/native_traits.h"
#include "olma/data/introspection.h"
#include "olma/data/list_values.h"
#include "olma/data/optional_value.h"
#include "olma/data/scalar_values.h"
#include "olma/data/value.h"

namespace Olma {
namespace Data {

// Where a converted value goes: into a slot (a list element, an optional's content, the
// result), or into a field of a compound under construction.
struct ValueSink {
  ValueSink(DataValue::PtrConstType* target) noexcept : slot(target) {}
  ValueSink(CompoundValue* compound, std::string_view name) noexcept : parent(compound), field(name) {}

  DataValue::PtrConstType* slot = nullptr;
  CompoundValue* parent = nullptr;
  std::string_view field;

  void Put(DataValue::PtrConstType value) const {
    if (slot != nullptr) {
      *slot = std::move(value);
    } else {
      parent->SetField(field, std::move(value));
    }
  }
};

class NativeToValueAdapter {
 public:
  using Engine = DataAdapter<const void*, ValueSink, MessageList>;

  // Converts `object`. Returns true and sets `out` when nothing was appended to `errors`;
  // otherwise `out` is left unchanged and the reason is in `errors`.
  template <class T>
  static bool Adapt(const T& object, DataValue::PtrConstType& out, MessageList& errors) {
    const std::size_t before = errors.size();
    DataValue::PtrConstType result;
    Engine engine(&Method<T>);
    engine.Adapt(&object, ValueSink{&result}, errors);
    if (errors.size() != before) return false;
    out = std::move(result);
    return true;
  }

  // Lists the fields of one structure; handed to AdapterHelper::AddFields.
  template <class Compound>
  class CompoundHelper {
   public:
    CompoundHelper(Compound& target, Engine& engine, MessageList& errors) noexcept
        : target_(target), engine_(engine), errors_(errors) {}

    // Adds the field `name` holding `*member`.
    template <class F>
    void AddField(std::string_view name, const F* member) {
      Add(*member, ValueSink{&target_, name}, engine_, errors_);
    }
    // The same for an integer field narrower than 64 bits.
    template <class F>
    void AddFieldInt(std::string_view name, const F* member) {
      static_assert(std::is_integral_v<F>, "AddFieldInt takes integer fields");
      AddField(name, member);
    }

   private:
    Compound& target_;
    Engine& engine_;
    MessageList& errors_;
  };

  // The method of an entry: converts the native T at `src` into `dst`.
  template <class T>
  static void Method(const void* const& src, const ValueSink& dst, Engine& engine, MessageList& errors) {
    const T& object = *static_cast<const T*>(src);
    if constexpr (Detail::kIsPrimitive<T>) {
      PrimitiveMethod<T>(object, dst);
    } else if constexpr (Detail::kIsNarrowInt<T>) {
      dst.Put(IntegerValue::GetInstance(static_cast<long long>(object)));
    } else if constexpr (Detail::kIsEnum<T>) {
      EnumMethod<T>(object, dst);
    } else if constexpr (std::is_same_v<T, DataType>) {
      dst.Put(StringValue::GetInstance(to_string(object)));
    } else if constexpr (Detail::kIsValue<T>) {
      ValueMethod(object, dst);
    } else if constexpr (Detail::kIsDefinition<T>) {
      dst.Put(DefinitionToValueHelper::Convert(object));
    } else if constexpr (Detail::Optional<T>::value) {
      OptionalBeginMethod(object, dst, engine, errors);
    } else if constexpr (Detail::Sequence<T>::value) {
      ListBeginMethod<T, typename Detail::Sequence<T>::Element>(object, dst, engine, errors);
    } else if constexpr (Detail::Set<T>::value) {
      ListBeginMethod<T, typename Detail::Set<T>::Element>(object, dst, engine, errors);
    } else if constexpr (Detail::Map<T>::value) {
      MapBeginMethod(object, dst, engine, errors);
    } else if constexpr (Detail::SharedPtr<T>::value) {
      SharedPtrMethod(object, dst, engine, errors);
    } else if constexpr (Detail::kIsStruct<T>) {
      StructMethod<T>(object, dst, engine, errors);
    } else {
      static_assert(Detail::kIsStruct<T>, "NativeToValueAdapter: no value form for this native type");
    }
  }

  template <class T>
  static void PrimitiveMethod(const T& object, const ValueSink& dst) {
    dst.Put(DataValue::Create<T>(object));
  }

  template <class T>
  static void EnumMethod(const T& object, const ValueSink& dst) {
    dst.Put(StringValue::GetInstance(std::string(object.name())));
  }

  template <class T>
  static void StructMethod(const T& object, const ValueSink& dst, Engine& engine, MessageList& errors) {
    static_assert(kHasTypeName<T>, "a declared structure needs kTypeName or a TypeInfo specialisation");
    StructValue::PtrType structure = StructValue::GetInstance(std::string(Detail::NameOf<T>()));
    StructValue& target = *structure;
    dst.Put(std::move(structure));
    CompoundHelper<StructValue> helper(target, engine, errors);
    AdapterHelperOf<T>::type::AddFields(helper, object);
  }

  template <class C, class E>
  static void ListBeginMethod(const C& container, const ValueSink& dst, Engine& engine, MessageList& errors) {
    if constexpr (!std::is_void_v<typename Detail::Packed<E>::type>) {
      ListPrimBeginMethod<C, typename Detail::Packed<E>::type>(container, dst);
    } else if constexpr (Detail::kIsNarrowInt<E>) {
      auto packed = Detail::Packed<long long>::type::GetInstance();
      for (const E& element : container) packed->push_back(static_cast<long long>(element));
      dst.Put(std::move(packed));
    } else {
      ListValue::PtrType list = ListValue::GetInstance(ListValue::kNativeListKind);
      ListValue& target = *list;
      dst.Put(std::move(list));
      for (const E& element : container) {
        target.emplace_back();
        Add(element, ValueSink{&target.back()}, engine, errors);
      }
    }
  }

  template <class C, class PackedList>
  static void ListPrimBeginMethod(const C& container, const ValueSink& dst) {
    auto packed = PackedList::GetInstance();
    packed->assign(container.begin(), container.end());
    dst.Put(std::move(packed));
  }

  template <class M>
  static void MapBeginMethod(const M& map, const ValueSink& dst, Engine& engine, MessageList& errors) {
    ListValue::PtrType list = ListValue::GetInstance(ListValue::kNativeListKind);
    ListValue& target = *list;
    dst.Put(std::move(list));
    for (const auto& element : map) {
      target.emplace_back();
      AdaptMapEntryOp(element.first, element.second, ValueSink{&target.back()}, engine, errors);
    }
  }

  // One map element as a "map-entry" structure with the fields "key" and "value".
  template <class K, class V>
  static void AdaptMapEntryOp(const K& key, const V& mapped, const ValueSink& dst, Engine& engine,
                              MessageList& errors) {
    StructValue::PtrType entry = StructValue::GetInstance(std::string(kMapEntryName));
    StructValue& target = *entry;
    dst.Put(std::move(entry));
    Add(key, ValueSink{&target, "key"}, engine, errors);
    Add(mapped, ValueSink{&target, "value"}, engine, errors);
  }

  template <class T>
  static void OptionalBeginMethod(const std::optional<T>& object, const ValueSink& dst, Engine& engine,
                                  MessageList& errors) {
    bool empty = !object.has_value();
    if constexpr (Detail::SharedPtr<T>::value) empty = empty || !*object;
    if (empty) {
      dst.Put(OptionalValue::GetInstance());
      return;
    }
    OptionalValue::PtrType optional = OptionalValue::GetInstance();
    DataValue::PtrConstType& content = optional->value(nullptr);
    dst.Put(std::move(optional));
    Add(*object, ValueSink{&content}, engine, errors);
  }

  template <class T>
  static void SharedPtrMethod(const std::shared_ptr<T>& pointer, const ValueSink& dst, Engine& engine,
                              MessageList& errors) {
    using Element = std::remove_const_t<T>;
    if (!pointer) {
      errors.push_back(
          Message<CoreTag>("olma.data.unset.non.optional.field", std::string(Detail::NameOf<Element>())));
      engine.Clear();
      return;
    }
    Method<Element>(static_cast<const void*>(pointer.get()), dst, engine, errors);
  }

  template <class T>
  static void ValueMethod(const T& object, const ValueSink& dst) {
    if constexpr (std::is_same_v<T, std::shared_ptr<const DataValue>>) {
      dst.Put(object);
    } else {
      dst.Put(object.value);
    }
  }

  // The name of the structures that carry map elements.
  static constexpr std::string_view kMapEntryName = "map-entry";

 private:
  // Converts `object` now when that needs no further entry, else queues it.
  template <class T>
  static void Add(const T& object, const ValueSink& dst, Engine& engine, MessageList& errors) {
    if constexpr (Detail::kIsShallow<T>) {
      Method<T>(static_cast<const void*>(&object), dst, engine, errors);
    } else {
      engine.Push(static_cast<const void*>(&object), dst, &Method<T>);
    }
  }
};

}  // namespace Data
}  // namespace Olma
