// ValueToNativeAdapter: fills a native object from a dynamic value, the reverse of
// NativeToValueAdapter (native_to_value.h) over the same native types and declared
// structures.
//
//   Order order;
//   Olma::MessageList messages;
//   if (!Olma::Data::ValueToNativeAdapter::Adapt(value, order, messages)) Reject(messages);
//
// Scalars are read with the lenient value-access rules (value_access.h): a text may fill an
// integer, a double, a boolean, a secret, a byte vector (Base64) or a date-time. Shapes:
//
//   std::optional<T>  an unset OptionalValue, a VoidValue, an empty pointer or an empty
//                     StringValue leave it empty; a set one is filled from its content;
//                     any other value fills it from the value itself
//   vector, list      from a ListValue element by element, or from a packed list whose
//                     elements convert (a string list also fills SecretString, DateTime,
//                     enumerations and Base64 byte vectors; a packed list of booleans,
//                     integers or doubles never fills Opaque elements)
//   set               likewise, elements inserted in list order; a repeated element
//                     reports "olma.data.duplicate.set.element" naming it ("<blob>" and
//                     "<secret>" stand for byte vectors and secrets); an empty StringValue
//                     gives an empty set, another text a set of that one element
//   map               from a ListValue of structures with "key" and "value" (a repeated
//                     key reports "olma.data.duplicate.map.element"), or from a structure
//                     whose fields are the entries; an empty StringValue gives an empty
//                     map, another text reports "olma.data.bad.cast1"
//   shared_ptr<T>     a new T, filled; an empty or void value reports
//                     "olma.data.unset.non.optional.field" with T's name
//   declared struct   from a StructValue or an ErrorValue, field by field; a missing field
//                     leaves an optional member empty and otherwise reports
//                     "olma.data.unset.non.optional.field" with the field's name
//
// A value of the wrong shape reports "olma.data.invalid.type"; a scalar that does not
// convert reports the value-access message ("olma.data.bad.cast2" with the source's and
// the target's names, or "olma.data.bad.cast3" with the text that failed). Every failure
// appends one message and abandons the queued work; the native object keeps what was
// filled before, and nothing is undone. Sets and map keys hold scalars, enumerations or
// DataType.
//
// Stateless: any number of threads may convert at once, each into its own objects.
#pragma once

#include <limits>
#include <memory>
#include <string>
#include <string_view>
#include <utility>

#include "olma/core/base64.h"
#include "olma/core/message.h"
#include "olma/data/adapter.h"
#include "olma/data/compound_values.h"
#include "olma/data/detail/native_traits.h"
#include "olma/data/introspection.h"
#include "olma/data/list_values.h"
#include "olma/data/optional_value.h"
#include "olma/data/scalar_values.h"
#include "olma/data/value.h"
#include "olma/data/value_access.h"

namespace Olma {
namespace Data {

class ValueToNativeAdapter {
 public:
  // A value as its parent holds it. The caller keeps the root alive for the whole
  // conversion and shared values never change, so these pointers stay valid.
  using Source = const DataValue::PtrConstType*;
  using Engine = DataAdapter<Source, void*, MessageList>;

  // Fills `out` from `value`. Returns true when nothing was appended to `errors`.
  template <class T>
  static bool Adapt(const DataValue::PtrConstType& value, T& out, MessageList& errors) {
    const std::size_t before = errors.size();
    Engine engine(&Method<T>);
    engine.Adapt(&value, static_cast<void*>(&out), errors);
    return errors.size() == before;
  }

  // Reads the fields of one structure; handed to AdapterHelper::AddFields.
  template <class Compound>
  class CompoundHelper {
   public:
    CompoundHelper(const CompoundValue& source, Engine& engine, MessageList& errors) noexcept
        : source_(source), engine_(engine), errors_(errors) {}

    // Fills `*member` from the field `name`.
    template <class F>
    void AddField(std::string_view name, F* member) {
      const auto found = source_.fields().find(name);
      if (found == source_.fields().end()) {
        if constexpr (Detail::Optional<F>::value) {
          member->reset();
        } else {
          Fail(engine_, errors_, Message<CoreTag>("olma.data.unset.non.optional.field", name));
        }
        return;
      }
      Add(&found->second, member, engine_, errors_);
    }
    // The same for an integer field narrower than 64 bits (range-checked).
    template <class F>
    void AddFieldInt(std::string_view name, F* member) {
      static_assert(std::is_integral_v<F>, "AddFieldInt takes integer fields");
      AddField(name, member);
    }
    // Reads the field `name` at once, for objects that are built from their parts rather
    // than filled in place. Only for types converted in one step (scalars and flat
    // containers of them). Returns whether it converted.
    template <class F>
    bool ReadField(std::string_view name, F& out) {
      static_assert(Detail::kIsShallow<F>, "ReadField takes scalars and flat containers of them");
      const std::size_t before = errors_.size();
      AddField(name, &out);
      return errors_.size() == before;
    }

   private:
    const CompoundValue& source_;
    Engine& engine_;
    MessageList& errors_;
  };

  // The method of an entry: fills the native T at `dst` from the value at `src`.
  template <class T>
  static void Method(const Source& src, void* const& dst, Engine& engine, MessageList& errors) {
    const DataValue::PtrConstType& value = *src;
    T& target = *static_cast<T*>(dst);
    if constexpr (Detail::kIsLeaf<T>) {
      if (!ConvertLeaf(value, target, errors)) engine.Clear();
    } else if constexpr (Detail::Optional<T>::value) {
      OptionalBeginMethod(src, target, engine, errors);
    } else if constexpr (Detail::Sequence<T>::value) {
      ListBeginMethod(value, target, engine, errors);
    } else if constexpr (Detail::Set<T>::value) {
      SetBeginMethod(value, target, engine, errors);
    } else if constexpr (Detail::Map<T>::value) {
      MapBeginMethod(value, target, engine, errors);
    } else if constexpr (Detail::SharedPtr<T>::value) {
      SharedPtrMethod(src, target, engine, errors);
    } else if constexpr (Detail::kIsStruct<T>) {
      StructMethod(value, target, engine, errors);
    } else {
      static_assert(Detail::kIsStruct<T>, "ValueToNativeAdapter: no value form for this native type");
    }
  }

  // Converts a value to a native type that has no parts (see kIsLeaf). Appends one message
  // and returns false on failure.
  template <class T>
  static bool ConvertLeaf(const DataValue::PtrConstType& value, T& out, MessageList& errors) {
    if constexpr (Detail::kIsPrimitive<T>) {
      return PrimitiveMethod(value, out, errors);
    } else if constexpr (Detail::kIsNarrowInt<T>) {
      long long wide = 0;
      return PrimitiveMethod(value, wide, errors) && Narrow(wide, out, errors);
    } else if constexpr (Detail::kIsEnum<T> || std::is_same_v<T, DataType>) {
      std::string name;
      return PrimitiveMethod(value, name, errors) && FromName(name, out, errors);
    } else if constexpr (Detail::kIsDefinition<T>) {
      return DefinitionToValueHelper::ConvertBack(value, out, errors);
    } else if constexpr (std::is_same_v<T, std::shared_ptr<const DataValue>>) {
      out = value;
      return true;
    } else {
      return ValueMethod(value, out, errors);
    }
  }

  // Scalars: the value-access conversions, reading the common exact kinds in place.
  template <class T>
  static bool PrimitiveMethod(const DataValue::PtrConstType& value, T& out, MessageList& errors) {
    if (value) {
      if constexpr (std::is_same_v<T, long long>) {
        if (value->type() == DataType::INTEGER)
          return out = static_cast<const IntegerValue&>(*value).value(), true;
      } else if constexpr (std::is_same_v<T, double>) {
        if (value->type() == DataType::DOUBLE)
          return out = static_cast<const DoubleValue&>(*value).value(), true;
      } else if constexpr (std::is_same_v<T, bool>) {
        if (value->type() == DataType::BOOLEAN)
          return out = static_cast<const BooleanValue&>(*value).value(), true;
      } else if constexpr (std::is_same_v<T, std::string>) {
        if (value->type() == DataType::STRING)
          return out = static_cast<const StringValue&>(*value).value(), true;
      }
    }
    return DataValue::ToPrimitive<T>(value, out, errors);
  }

  // Opaque values take anything; dynamic structures and errors the compound kinds.
  template <class T>
  static bool ValueMethod(const DataValue::PtrConstType& value, T& out, MessageList& errors) {
    if constexpr (!std::is_same_v<T, Opaque>) {
      const bool fits = value && (value->type() == DataType::STRUCTURE ||
                                  (std::is_same_v<T, DynamicError> && value->type() == DataType::ERROR));
      if (!fits) {
        errors.push_back(Message<CoreTag>("olma.data.invalid.type"));
        return false;
      }
    }
    out.value = value;
    return true;
  }

  template <class T>
  static void OptionalBeginMethod(const Source& src, std::optional<T>& target, Engine& engine,
                                  MessageList& errors) {
    const DataValue* value = src->get();
    Source content = src;
    if (value == nullptr || value->type() == DataType::VOID) {
      target.reset();
      return;
    }
    if (value->type() == DataType::OPTIONAL) {
      const auto& optional = static_cast<const OptionalValue&>(*value);
      if (!optional.isSet() || !optional.value()) {
        target.reset();
        return;
      }
      content = &optional.value();
    } else if (value->type() == DataType::STRING && CastStringToOptional(*value)) {
      target.reset();
      return;
    }
    target.emplace();
    Add(content, &*target, engine, errors);
  }

  // An empty text stands for an absent optional.
  static bool CastStringToOptional(const DataValue& text) {
    return static_cast<const StringValue&>(text).value().empty();
  }

  template <class C>
  static void ListBeginMethod(const DataValue::PtrConstType& value, C& target, Engine& engine,
                              MessageList& errors) {
    using E = typename Detail::Sequence<C>::Element;
    if (!value || value->type() != DataType::LIST) {
      ListPrimBeginMethod(value, target, engine, errors);
      return;
    }
    const auto& list = static_cast<const ListValue&>(*value);
    target.clear();
    if constexpr (Detail::kIsLeaf<E>) {
      for (const DataValue::PtrConstType& element : list) {
        E converted{};
        if (!ConvertLeaf(element, converted, errors)) return engine.Clear();
        target.push_back(std::move(converted));
      }
    } else {
      if constexpr (std::is_same_v<C, std::vector<E>>) target.reserve(list.size());
      for (const DataValue::PtrConstType& element : list) {
        target.emplace_back();
        Add(&element, &target.back(), engine, errors);
      }
    }
  }

  // A packed list into a sequence; any other value is refused.
  template <class C>
  static void ListPrimBeginMethod(const DataValue::PtrConstType& value, C& target, Engine& engine,
                                  MessageList& errors) {
    using E = typename Detail::Sequence<C>::Element;
    target.clear();
    const bool done = ForPacked(value, errors, [&](const auto& element) {
      E converted{};
      if (!ConvertElement(element, converted, errors)) return false;
      target.push_back(std::move(converted));
      return true;
    });
    if (!done) engine.Clear();
  }

  template <class C>
  static void SetBeginMethod(const DataValue::PtrConstType& value, C& target, Engine& engine,
                             MessageList& errors) {
    using E = typename Detail::Set<C>::Element;
    static_assert(Detail::kIsLeaf<E>, "set elements are scalars, enumerations or DataType");
    target.clear();
    const auto insert = [&](E&& converted) {
      const auto inserted = target.insert(std::move(converted));
      if (inserted.second) return true;
      errors.push_back(Message<CoreTag>("olma.data.duplicate.set.element", ElementText(*inserted.first)));
      return false;
    };
    bool done = true;
    if (value && value->type() == DataType::LIST) {
      for (const DataValue::PtrConstType& element : static_cast<const ListValue&>(*value)) {
        E converted{};
        if (!ConvertLeaf(element, converted, errors) || !insert(std::move(converted))) {
          done = false;
          break;
        }
      }
    } else if (value && value->type() == DataType::STRING) {
      done = CastStringToSet(value, target, errors);
    } else {
      done = ForPacked(value, errors, [&](const auto& element) {
        E converted{};
        return ConvertElement(element, converted, errors) && insert(std::move(converted));
      });
    }
    if (!done) engine.Clear();
  }

  // An empty text is an empty set, another text a set of the one element it converts to.
  template <class C>
  static bool CastStringToSet(const DataValue::PtrConstType& value, C& target, MessageList& errors) {
    if (static_cast<const StringValue&>(*value).value().empty()) return true;
    typename C::value_type converted{};
    if (!ConvertLeaf(value, converted, errors)) return false;
    target.insert(std::move(converted));
    return true;
  }

  template <class M>
  static void MapBeginMethod(const DataValue::PtrConstType& value, M& target, Engine& engine,
                             MessageList& errors) {
    target.clear();
    const DataType kind = value ? value->type() : DataType(DataType::UNKNOWN);
    if (kind == DataType::LIST) {
      MapVisitor(static_cast<const ListValue&>(*value), target, engine, errors);
    } else if (kind == DataType::STRUCTURE || kind == DataType::ERROR) {
      MapFromFields(static_cast<const CompoundValue&>(*value), target, engine, errors);
    } else if (kind == DataType::STRING) {
      if (!CastStringToMap(static_cast<const StringValue&>(*value), errors)) engine.Clear();
    } else {
      Fail(engine, errors, Message<CoreTag>("olma.data.invalid.type"));
    }
  }

  // Map elements from "map-entry" structures.
  template <class M>
  static void MapVisitor(const ListValue& list, M& target, Engine& engine, MessageList& errors) {
    using K = typename Detail::Map<M>::Key;
    static_assert(Detail::kIsLeaf<K>, "map keys are scalars, enumerations or DataType");
    for (const DataValue::PtrConstType& element : list) {
      if (!element || element->type() != DataType::STRUCTURE) {
        return Fail(engine, errors, Message<CoreTag>("olma.data.invalid.type"));
      }
      const CompoundValue::FieldMap& fields = static_cast<const StructValue&>(*element).fields();
      const auto key = fields.find(std::string_view("key"));
      const auto mapped = fields.find(std::string_view("value"));
      if (key == fields.end() || mapped == fields.end()) {
        return Fail(engine, errors, Message<CoreTag>("olma.data.invalid.type"));
      }
      K converted{};
      if (!ConvertLeaf(key->second, converted, errors)) return engine.Clear();
      const auto inserted = target.try_emplace(std::move(converted));
      if (!inserted.second) {
        return Fail(engine, errors,
                    Message<CoreTag>("olma.data.duplicate.map.element", ElementText(inserted.first->first)));
      }
      Add(&mapped->second, &inserted.first->second, engine, errors);
    }
  }

  // Map elements from the fields of a structure, keyed by field name.
  template <class M>
  static void MapFromFields(const CompoundValue& compound, M& target, Engine& engine, MessageList& errors) {
    using K = typename Detail::Map<M>::Key;
    for (const auto& field : compound.fields()) {
      K key{};
      if constexpr (std::is_same_v<K, std::string>) {
        key = field.first;
      } else if (!ConvertLeaf(DataValue::Create<std::string>(field.first), key, errors)) {
        return engine.Clear();
      }
      Add(&field.second, &target[std::move(key)], engine, errors);
    }
  }

  // Only the empty text reads as a map (an empty one).
  static bool CastStringToMap(const StringValue& text, MessageList& errors) {
    if (text.value().empty()) return true;
    errors.push_back(Message<CoreTag>("olma.data.bad.cast1", text.value()));
    return false;
  }

  template <class P>
  static void SharedPtrMethod(const Source& src, std::shared_ptr<P>& target, Engine& engine,
                              MessageList& errors) {
    using Element = std::remove_const_t<P>;
    const DataValue* value = src->get();
    if (value == nullptr || value->type() == DataType::VOID) {
      return Fail(
          engine, errors,
          Message<CoreTag>("olma.data.unset.non.optional.field", std::string(Detail::NameOf<Element>())));
    }
    std::shared_ptr<Element> object = std::make_shared<Element>();
    target = object;
    Method<Element>(src, static_cast<void*>(object.get()), engine, errors);
  }

  template <class T>
  static void StructMethod(const DataValue::PtrConstType& value, T& target, Engine& engine,
                           MessageList& errors) {
    if (!value || (value->type() != DataType::STRUCTURE && value->type() != DataType::ERROR)) {
      return Fail(engine, errors, Message<CoreTag>("olma.data.invalid.type"));
    }
    CompoundHelper<StructValue> helper(static_cast<const CompoundValue&>(*value), engine, errors);
    AdapterHelperOf<T>::type::AddFields(helper, target);
  }

 private:
  static void Fail(Engine& engine, MessageList& errors, BaseMessage message) {
    errors.push_back(std::move(message));
    engine.Clear();
  }

  // Converts the value at `src` into `*target` now when that needs no further entry, else
  // queues it.
  template <class T>
  static void Add(Source src, T* target, Engine& engine, MessageList& errors) {
    if constexpr (Detail::kIsShallow<T>) {
      Method<T>(src, static_cast<void*>(target), engine, errors);
    } else {
      engine.Push(src, static_cast<void*>(target), &Method<T>);
    }
  }

  template <class T>
  static bool Narrow(long long wide, T& out, MessageList& errors) {
    if (wide < static_cast<long long>(std::numeric_limits<T>::min()) ||
        (wide > 0 && static_cast<unsigned long long>(wide) > std::numeric_limits<T>::max())) {
      errors.push_back(Message<CoreTag>("olma.data.bad.cast3", "Long", "Int", wide));
      return false;
    }
    out = static_cast<T>(wide);
    return true;
  }

  template <class T>
  static bool FromName(const std::string& name, T& out, MessageList& errors) {
    bool found = false;
    if constexpr (std::is_same_v<T, DataType>) {
      found = EnumConverter::Convert<DataType::Strings>(std::string_view(name), out);
    } else {
      found = T::FromName(name, out);
    }
    if (!found) errors.push_back(Message<CoreTag>("olma.data.value.unknown", name));
    return found;
  }

  // Calls `convert` on each element of a packed list, in order, until it returns false.
  // Any other value is refused with "olma.data.invalid.type".
  template <class F>
  static bool ForPacked(const DataValue::PtrConstType& value, MessageList& errors, F convert) {
    const auto each = [&](const auto& list) {
      for (const auto& element : list) {
        if (!convert(element)) return false;
      }
      return true;
    };
    switch (value ? value->type() : DataType(DataType::UNKNOWN)) {
      case DataType::LIST_BOOL:
        return each(static_cast<const ListValueBool&>(*value));
      case DataType::LIST_LONG:
        return each(static_cast<const ListValueLong&>(*value));
      case DataType::LIST_DOUBLE:
        return each(static_cast<const ListValueDouble&>(*value));
      case DataType::LIST_BLOB:
        return each(static_cast<const ListValueBlob&>(*value));
      case DataType::LIST_STRING:
        return each(static_cast<const ListValueString&>(*value));
      case DataType::LIST_SECRET:
        return each(static_cast<const ListValueSecret&>(*value));
      default:
        errors.push_back(Message<CoreTag>("olma.data.invalid.type"));
        return false;
    }
  }

  // One element of a packed list into an element of type E.
  template <class P, class E>
  static bool ConvertElement(const P& element, E& out, MessageList& errors) {
    if constexpr (std::is_same_v<P, E>) {
      out = element;
      return true;
    } else if constexpr (std::is_same_v<P, long long> && Detail::kIsNarrowInt<E>) {
      return Narrow(element, out, errors);
    } else if constexpr (std::is_same_v<P, std::string> && std::is_same_v<E, SecretString>) {
      out = SecretString(element);
      return true;
    } else if constexpr (std::is_same_v<P, std::string> && std::is_same_v<E, DateTime>) {
      if (DateTime::Create(element, out)) return true;
      errors.push_back(Message<CoreTag>("olma.data.bad.cast3", "String", "DateTime", element));
      return false;
    } else if constexpr (std::is_same_v<P, std::string> && std::is_same_v<E, ByteVector>) {
      return DataValue::ToPrimitive<ByteVector>(DataValue::Create<std::string>(element), out, errors);
    } else if constexpr (std::is_same_v<P, std::string> &&
                         (Detail::kIsEnum<E> || std::is_same_v<E, DataType>)) {
      return FromName(element, out, errors);
    } else if constexpr (std::is_same_v<E, Opaque> || std::is_same_v<E, std::shared_ptr<const DataValue>>) {
      if constexpr (std::is_same_v<P, bool> || std::is_same_v<P, long long> || std::is_same_v<P, double>) {
        errors.push_back(Message<CoreTag>("olma.data.invalid.type"));
        return false;
      } else {
        return ConvertLeaf(DataValue::Create<P>(element), out, errors);
      }
    } else if constexpr (Detail::kIsLeaf<E> && kHasTypeName<E>) {
      errors.push_back(Message<CoreTag>("olma.data.bad.cast2", TypeInfo<P>::name(), Detail::NameOf<E>()));
      return false;
    } else {
      errors.push_back(Message<CoreTag>("olma.data.invalid.type"));
      return false;
    }
  }

  // How a set element or map key is named in a message.
  template <class E>
  static std::string ElementText(const E& element) {
    if constexpr (std::is_same_v<E, std::string>) {
      return element;
    } else if constexpr (std::is_same_v<E, ByteVector>) {
      return "<blob>";
    } else if constexpr (std::is_same_v<E, SecretString>) {
      return "<secret>";
    } else if constexpr (std::is_same_v<E, DateTime>) {
      return element.text();
    } else if constexpr (Detail::kIsEnum<E>) {
      return std::string(element.name());
    } else if constexpr (std::is_same_v<E, DataType>) {
      return to_string(element);
    } else if constexpr (std::is_same_v<E, bool>) {
      return element ? "1" : "0";
    } else {
      return Format("{1}", element);
    }
  }
};

}  // namespace Data
}  // namespace Olma
