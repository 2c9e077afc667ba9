// NativeToDefinitionAdapter: the definition that describes the values of a native type.
//
//   Olma::Data::DataDefinition::PtrConstType input = Olma::Data::NativeToDefinitionAdapter::Adapt<Order>();
//
// Scalars map to their kinds (integers of any width to LONG, DateTime and DataType to
// STRING), an Enum to an enumeration over its names (an IsOneOfDefinition holding an
// EnumValueSet), optionals to OPTIONAL, sequences and sets to LIST, a map to a LIST of
// "map-entry" structures with "key" and "value", a shared pointer to its pointee, Opaque
// and values to OPAQUE, DynamicStructure to DYNAMIC_STRUCTURE, DynamicError to ANY_ERROR,
// and a declared structure to a StructDefinition named by TypeInfo<T>::name() with the
// fields its AdapterHelper::AddDefinitionFields lists. A structure met again inside itself
// (through a shared pointer or optional) becomes a STRUCTURE_REF to the enclosing one, so
// recursive native types give finite definitions. Never fails.
//
// Stateless: any number of threads may build definitions at once.
#pragma once

#include <functional>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "olma/core/export.h"
#include "olma/data/adapter.h"
#include "olma/data/definitions.h"
#include "olma/data/detail/native_traits.h"

namespace Olma {
namespace Data {

// The predicate of an enumeration built from a native Enum: its allowed names, in
// enumerator order. Tools that need the names back (compatibility checks) find this
// object through IsOneOfDefinition::predicate().target<EnumValueSet>().
struct OLMA_API EnumValueSet {
  std::vector<std::string> names;
  bool operator()(const std::string& name) const;
};

// Where a built definition goes: the result slot, an element or a field of a definition
// under construction.
struct DefinitionSink {
  using PutFunction = void (*)(void* target, std::string_view name, DataDefinition::PtrConstType definition);
  void* target = nullptr;
  std::string_view name;
  PutFunction put = nullptr;

  void Put(DataDefinition::PtrConstType definition) const { put(target, name, std::move(definition)); }
};

class NativeToDefinitionAdapter {
 public:
  // The structures being built around the current entry, by name, with how often each is
  // open: a structure met while open becomes a reference to it.
  struct Context {
    std::map<std::string_view, std::pair<StructDefinition::PtrType, int>> open;
  };
  using Engine = DataAdapter<const void*, DefinitionSink, Context>;

  template <class T>
  static DataDefinition::PtrConstType Adapt() {
    DataDefinition::PtrConstType result;
    Context context;
    Engine engine(&Method<T>);
    engine.Adapt(nullptr, DefinitionSink{&result, {}, &PutSlot}, context);
    return result;
  }

  // Lists the fields of one structure; handed to AdapterHelper::AddDefinitionFields.
  template <class Compound>
  class CompoundHelper {
   public:
    CompoundHelper(Compound& target, Engine& engine, Context& context) noexcept
        : target_(target), engine_(engine), context_(context) {}

    // Adds the field `name` of native type F.
    template <class F>
    void AddField(std::string_view name) {
      Add<F>(DefinitionSink{&target_, name, &PutField<Compound>}, engine_, context_);
    }
    // The same, with the type taken from a member pointer.
    template <class C, class F>
    void AddField(std::string_view name, F C::*) {
      AddField<F>(name);
    }
    template <class F>
    void AddFieldInt(std::string_view name) {
      static_assert(std::is_integral_v<F>, "AddFieldInt takes integer fields");
      AddField<F>(name);
    }
    template <class C, class F>
    void AddFieldInt(std::string_view name, F C::*) {
      AddFieldInt<F>(name);
    }

   private:
    Compound& target_;
    Engine& engine_;
    Context& context_;
  };

  template <class T>
  static void Method(const void* const&, const DefinitionSink& dst, Engine& engine, Context& context) {
    if constexpr (Detail::kIsPrimitive<T> || std::is_same_v<T, DynamicStructure> ||
                  std::is_same_v<T, DynamicError> || std::is_same_v<T, Opaque>) {
      DefinitionMethod<T>(dst);
    } else if constexpr (Detail::kIsNarrowInt<T>) {
      DefinitionMethod<long long>(dst);
    } else if constexpr (std::is_same_v<T, DataType>) {
      DefinitionMethod<std::string>(dst);
    } else if constexpr (std::is_same_v<T, std::shared_ptr<const DataValue>>) {
      DefinitionMethod<Opaque>(dst);
    } else if constexpr (Detail::kIsEnum<T>) {
      EnumValueSet names;
      for (std::string_view name : T::kNames) names.names.emplace_back(name);
      dst.Put(IsOneOfDefinition::GetInstance(std::move(names)));
    } else if constexpr (Detail::kIsDefinition<T>) {
      CompoundBeginMethod<DataDefinition>(dst, engine, context);
    } else if constexpr (Detail::Optional<T>::value) {
      CompositeBeginMethod<typename Detail::Optional<T>::Element, OptionalEnd>(dst, engine, context);
    } else if constexpr (Detail::Sequence<T>::value) {
      CompositeBeginMethod<typename Detail::Sequence<T>::Element, ListEnd>(dst, engine, context);
    } else if constexpr (Detail::Set<T>::value) {
      CompositeBeginMethod<typename Detail::Set<T>::Element, ListEnd>(dst, engine, context);
    } else if constexpr (Detail::Map<T>::value) {
      MapBeginMethod<typename Detail::Map<T>::Key, typename Detail::Map<T>::Mapped>(dst, engine, context);
    } else if constexpr (Detail::SharedPtr<T>::value) {
      Method<typename Detail::SharedPtr<T>::Element>(nullptr, dst, engine, context);
    } else if constexpr (Detail::kIsStruct<T>) {
      CompoundBeginMethod<T>(dst, engine, context);
    } else {
      static_assert(Detail::kIsStruct<T>, "NativeToDefinitionAdapter: no definition for this native type");
    }
  }

  template <class T>
  static void DefinitionMethod(const DefinitionSink& dst) {
    dst.Put(DataDefinition::Create<T>());
  }

  // End markers: which wrapper a composite builds around its element.
  struct OptionalEnd {
    using Definition = OptionalDefinition;
  };
  struct ListEnd {
    using Definition = ListDefinition;
  };

  template <class E, class End>
  static void CompositeBeginMethod(const DefinitionSink& dst, Engine& engine, Context& context) {
    using Definition = typename End::Definition;
    typename Definition::PtrType wrapper = Definition::GetInstance(nullptr);
    Definition& target = *wrapper;
    dst.Put(std::move(wrapper));
    Add<E>(DefinitionSink{&target, {}, &PutElement<Definition>}, engine, context);
  }

  template <class K, class V>
  static void MapBeginMethod(const DefinitionSink& dst, Engine& engine, Context& context) {
    StructDefinition::PtrType entry = StructDefinition::GetInstance(std::string(kMapEntryName), {});
    StructDefinition& target = *entry;
    dst.Put(ListDefinition::GetInstance(std::move(entry)));
    Add<K>(DefinitionSink{&target, "key", &PutField<StructDefinition>}, engine, context);
    Add<V>(DefinitionSink{&target, "value", &PutField<StructDefinition>}, engine, context);
  }

  template <class T>
  static void CompoundBeginMethod(const DefinitionSink& dst, Engine& engine, Context& context) {
    static_assert(kHasTypeName<T>, "a declared structure needs kTypeName or a TypeInfo specialisation");
    constexpr std::string_view name = TypeInfo<T>::name();
    auto& open = context.open[name];
    if (open.second > 0) {
      dst.Put(StructRefDefinition::GetInstance(open.first));
      return;
    }
    StructDefinition::PtrType structure = StructDefinition::GetInstance(std::string(name), {});
    StructDefinition& target = *structure;
    open = {structure, 1};
    dst.Put(std::move(structure));
    // Runs once every field below has been built.
    engine.Push(nullptr, DefinitionSink{nullptr, name, nullptr}, &UnmapMethod);
    CompoundHelper<StructDefinition> helper(target, engine, context);
    AdapterHelperOf<T>::type::AddDefinitionFields(helper);
  }

  static void UnmapMethod(const void* const&, const DefinitionSink& dst, Engine&, Context& context) {
    auto found = context.open.find(dst.name);
    if (--found->second.second == 0) context.open.erase(found);
  }

  static constexpr std::string_view kMapEntryName = "map-entry";

 private:
  template <class T>
  static void Add(const DefinitionSink& dst, Engine& engine, Context& context) {
    if constexpr (Detail::kIsShallow<T>) {
      Method<T>(nullptr, dst, engine, context);
    } else {
      engine.Push(nullptr, dst, &Method<T>);
    }
  }

  static void PutSlot(void* target, std::string_view, DataDefinition::PtrConstType definition) {
    *static_cast<DataDefinition::PtrConstType*>(target) = std::move(definition);
  }
  template <class Definition>
  static void PutElement(void* target, std::string_view, DataDefinition::PtrConstType definition) {
    static_cast<Definition*>(target)->SetElement(std::move(definition));
  }
  template <class Compound>
  static void PutField(void* target, std::string_view name, DataDefinition::PtrConstType definition) {
    static_cast<Compound*>(target)->SetField(std::string(name), std::move(definition));
  }
};

}  // namespace Data
}  // namespace Olma
