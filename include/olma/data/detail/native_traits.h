// How the native adapters sort native types into kinds, and where a structure's field list
// comes from. Not for direct use: see native_to_value.h, value_to_native.h and
// native_to_definition.h.
#pragma once

#include <list>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <type_traits>
#include <vector>

#include <boost/describe/members.hpp>
#include <boost/describe/modifiers.hpp>
#include <boost/mp11/algorithm.hpp>

#include "olma/core/byte_vector.h"
#include "olma/core/date_time.h"
#include "olma/core/export.h"
#include "olma/core/secret_string.h"
#include "olma/data/data_type.h"
#include "olma/data/native_markers.h"
#include "olma/data/type_info.h"

namespace Olma {
namespace Data {

class DataValue;
class DataDefinition;
class ListValue;
template <class T, DataType::EnumType Kind>
class TypedListValue;

// Where the adapters find the field list of a native structure T: by default its nested
// AdapterHelper, else (for a struct described with BOOST_DESCRIBE_STRUCT) the described
// members. Specialise it to declare the fields of a type that cannot nest a helper.
template <class T, class = void>
struct AdapterHelperOf {};

namespace Detail {

// The field list of a described structure, in declaration order: the one-declaration path.
template <class T>
struct DescribedAdapterHelper {
  using Members = boost::describe::describe_members<T, boost::describe::mod_public>;

  template <class Helper, class Object>
  static void AddFields(Helper& helper, Object& object) {
    boost::mp11::mp_for_each<Members>(
        [&](auto member) { helper.AddField(member.name, &(object.*member.pointer)); });
  }
  template <class Helper>
  static void AddDefinitionFields(Helper& helper) {
    boost::mp11::mp_for_each<Members>([&](auto member) { helper.AddField(member.name, member.pointer); });
  }
};

template <class T, class = void>
struct NestedHelper {
  static constexpr bool kDescribed = boost::describe::has_describe_members<T>::value;
};
template <class T>
struct NestedHelper<T, std::void_t<typename T::AdapterHelper>> {
  using type = typename T::AdapterHelper;
};

template <class T, class = void>
struct HelperOf {};
template <class T>
struct HelperOf<T, std::void_t<typename NestedHelper<T>::type>> {
  using type = typename NestedHelper<T>::type;
};
template <class T>
struct HelperOf<T, std::enable_if_t<NestedHelper<T>::kDescribed>> {
  using type = DescribedAdapterHelper<T>;
};

}  // namespace Detail

template <class T>
struct AdapterHelperOf<T, std::void_t<typename Detail::HelperOf<T>::type>> {
  using type = typename Detail::HelperOf<T>::type;
};

// Definitions travel as the introspection structure (see introspection.h).
template <>
struct OLMA_API TypeInfo<DataDefinition> {
  static constexpr std::string_view name() noexcept {
    return "com.zorvex.olma.std.introspection.operation.data_definition";
  }
  // A placeholder definition of the kind named by the introspection structure's "type"
  // field, to be filled from its other fields: LONG for a missing or unknown name.
  static std::shared_ptr<DataDefinition> defaultInstance(const std::shared_ptr<const DataValue>& value);
};

template <>
struct AdapterHelperOf<DataDefinition> {
  struct type {
    // The fields of the introspection structure, from which its own definition is built.
    template <class Helper>
    static void AddDefinitionFields(Helper& helper) {
      using Element = std::shared_ptr<const DataDefinition>;
      helper.template AddField<std::string>("type");
      helper.template AddField<std::optional<Element>>("element_definition");
      helper.template AddField<std::optional<std::string>>("name");
      helper.template AddField<std::optional<std::map<std::string, Element>>>("fields");
    }
  };
};

namespace Detail {

template <class T, class = void>
inline constexpr bool kIsStruct = false;
template <class T>
inline constexpr bool kIsStruct<T, std::void_t<typename AdapterHelperOf<T>::type>> = true;

// Scalars with a value class of their own (DataValue::Create / DataValue::ToPrimitive).
template <class T>
inline constexpr bool kIsPrimitive =
    std::is_same_v<T, long long> || std::is_same_v<T, double> || std::is_same_v<T, bool> ||
    std::is_same_v<T, ByteVector> || std::is_same_v<T, std::string> || std::is_same_v<T, SecretString> ||
    std::is_same_v<T, DateTime> || std::is_same_v<T, Void>;

// Integers other than long long travel as LONG and are range-checked on the way back.
template <class T>
inline constexpr bool kIsNarrowInt = std::is_integral_v<T> && !std::is_same_v<T, bool> &&
                                     !std::is_same_v<T, long long> && !std::is_same_v<T, char>;

template <class T>
inline constexpr bool kIsEnum = std::is_base_of_v<EnumBase, T>;

// A dynamic value carried as it is.
template <class T>
inline constexpr bool kIsValue =
    std::is_same_v<T, Opaque> || std::is_same_v<T, DynamicStructure> || std::is_same_v<T, DynamicError> ||
    std::is_same_v<T, std::shared_ptr<const DataValue>>;

template <class T>
inline constexpr bool kIsDefinition = std::is_same_v<T, std::shared_ptr<const DataDefinition>>;

template <class T>
struct Optional : std::false_type {};
template <class T>
struct Optional<std::optional<T>> : std::true_type {
  using Element = T;
};

// Sequences: vectors and lists, converted element by element in order.
template <class T>
struct Sequence : std::false_type {};
template <class T, class A>
struct Sequence<std::vector<T, A>> : std::true_type {
  using Element = T;
};
template <class T, class A>
struct Sequence<std::list<T, A>> : std::true_type {
  using Element = T;
};

template <class T>
struct Set : std::false_type {};
template <class T, class C, class A>
struct Set<std::set<T, C, A>> : std::true_type {
  using Element = T;
};

template <class T>
struct Map : std::false_type {};
template <class K, class V, class C, class A>
struct Map<std::map<K, V, C, A>> : std::true_type {
  using Key = K;
  using Mapped = V;
};

template <class T>
struct SharedPtr : std::false_type {};
template <class T>
struct SharedPtr<std::shared_ptr<T>> : std::true_type {
  using Element = std::remove_const_t<T>;
};

// Converted in one step, with no entry on the work stack and no children.
template <class T>
inline constexpr bool kIsLeaf = kIsPrimitive<T> || kIsNarrowInt<T> || kIsEnum<T> ||
                                std::is_same_v<T, DataType> || kIsValue<T> || kIsDefinition<T>;

template <class T>
constexpr bool IsShallow() {
  if constexpr (kIsLeaf<T>) {
    return true;
  } else if constexpr (Optional<T>::value) {
    return kIsLeaf<typename Optional<T>::Element>;
  } else if constexpr (Sequence<T>::value) {
    return kIsLeaf<typename Sequence<T>::Element>;
  } else if constexpr (Set<T>::value) {
    return kIsLeaf<typename Set<T>::Element>;
  } else if constexpr (Map<T>::value) {
    return kIsLeaf<typename Map<T>::Key> && kIsLeaf<typename Map<T>::Mapped>;
  } else {
    return false;
  }
}
// A shallow type is converted in place: none of its parts needs an entry of its own, so
// converting it never pushes work and never recurses.
template <class T>
inline constexpr bool kIsShallow = IsShallow<T>();

// The packed list class that holds elements of type T, if any.
template <class T>
struct Packed {
  using type = void;
};
template <>
struct Packed<bool> {
  using type = TypedListValue<bool, DataType::LIST_BOOL>;
};
template <>
struct Packed<long long> {
  using type = TypedListValue<long long, DataType::LIST_LONG>;
};
template <>
struct Packed<double> {
  using type = TypedListValue<double, DataType::LIST_DOUBLE>;
};
template <>
struct Packed<ByteVector> {
  using type = TypedListValue<ByteVector, DataType::LIST_BLOB>;
};
template <>
struct Packed<std::string> {
  using type = TypedListValue<std::string, DataType::LIST_STRING>;
};
template <>
struct Packed<SecretString> {
  using type = TypedListValue<SecretString, DataType::LIST_SECRET>;
};

// The name of a structure or enumeration as TypeInfo gives it, "<unnamed>" otherwise.
template <class T>
constexpr std::string_view NameOf() {
  if constexpr (kHasTypeName<T>) {
    return TypeInfo<T>::name();
  } else {
    return "<unnamed>";
  }
}

}  // namespace Detail
}  // namespace Data
}  // namespace Olma
