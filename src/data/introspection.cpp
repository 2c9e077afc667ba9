#include "olma/data/introspection.h"

#include <map>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "definition_parts.h"
#include "olma/data/adapter.h"
#include "olma/data/definitions.h"
#include "olma/data/native_to_definition.h"
#include "olma/data/native_to_value.h"
#include "olma/data/values.h"

namespace Olma {
namespace Data {
namespace DefinitionToValueHelper {
namespace {

constexpr std::string_view kStructName = TypeInfo<DataDefinition>::name();
constexpr std::string_view kUninitialized = "_uninitialized";

// ---------------------------------------------------------------------------------------
// Definition to value.

using ToValueEngine = DataAdapter<const DataDefinition*, ValueSink, MessageList>;

// Leaves are shared between all the structures built: values are immutable, and a million
// nodes then cost a million structures, not four million.
const DataValue::PtrConstType& UnsetOptional() {
  static const DataValue::PtrConstType unset = OptionalValue::GetInstance();
  return unset;
}
const DataValue::PtrConstType& KindText(DataType type) {
  static const std::vector<DataValue::PtrConstType> texts = [] {
    std::vector<DataValue::PtrConstType> all;
    for (int kind = DataType::VOID; kind <= DataType::ANY_ERROR; ++kind) {
      all.push_back(StringValue::GetInstance(DataType::Strings[kind]));
    }
    return all;
  }();
  return texts[static_cast<std::size_t>(type.value())];
}

void DefinitionMethod(const DataDefinition* const& definition, const ValueSink& dst, ToValueEngine& engine,
                      MessageList& errors);

// Fills the four fields of one introspection structure and queues its nested definitions.
class DefinitionToEntriesVisitor {
 public:
  DefinitionToEntriesVisitor(StructValue& target, ToValueEngine& engine) : target_(target), engine_(engine) {}

  void AddFields(const DataDefinition& definition) {
    const Detail::DefinitionParts parts(definition);
    // Enumerations, union cases and dynamic kinds keep only their base kind's fields.
    const bool named = definition.type() == DataType::STRUCTURE || definition.type() == DataType::ERROR ||
                       definition.type() == DataType::STRUCTURE_REF;
    const bool compound = definition.type() == DataType::STRUCTURE || definition.type() == DataType::ERROR;
    target_.SetField("type", KindText(definition.type()));
    if (parts.element != nullptr && *parts.element) {
      AddElementDef(**parts.element);
    } else {
      AddUnsetElementDef();
    }
    if (named && parts.name != nullptr && *parts.name) {
      target_.SetField("name", OptionalValue::GetInstance(StringValue::GetInstance(**parts.name)));
    } else {
      AddUnsetName();
    }
    if (compound && parts.fieldMap() != nullptr) {
      AddCompoundFields(*parts.fieldMap());
    } else {
      AddUnsetCompoundFields();
    }
  }

  void AddUnsetElementDef() { target_.SetField("element_definition", UnsetOptional()); }
  void AddUnsetName() { target_.SetField("name", UnsetOptional()); }
  void AddUnsetCompoundFields() { target_.SetField("fields", UnsetOptional()); }

 private:
  void AddElementDef(const DataDefinition& element) {
    OptionalValue::PtrType optional = OptionalValue::GetInstance();
    engine_.Push(&element, ValueSink{&optional->value(nullptr)}, &DefinitionMethod);
    target_.SetField("element_definition", std::move(optional));
  }

  void AddCompoundFields(const DataDefinition::FieldMap& fields) {
    ListValue::PtrType list = ListValue::GetInstance(ListValue::kNativeListKind);
    for (const auto& [name, field] : fields) {
      StructValue::PtrType entry = StructValue::GetInstance(std::string(NativeToValueAdapter::kMapEntryName));
      entry->SetField("key", StringValue::GetInstance(name));
      if (field) {
        entry->SetField("value", nullptr);
        engine_.Push(field.get(), ValueSink{entry.get(), "value"}, &DefinitionMethod);
      }
      list->push_back(std::move(entry));
    }
    target_.SetField("fields", OptionalValue::GetInstance(std::move(list)));
  }

  StructValue& target_;
  ToValueEngine& engine_;
};

void DefinitionMethod(const DataDefinition* const& definition, const ValueSink& dst, ToValueEngine& engine,
                      MessageList&) {
  StructValue::PtrType structure = StructValue::GetInstance(std::string(kStructName));
  DefinitionToEntriesVisitor(*structure, engine).AddFields(*definition);
  dst.Put(std::move(structure));
}

// ---------------------------------------------------------------------------------------
// Value to definition.

struct BackContext {
  MessageList& errors;
  // The structures enclosing the current entry, by name; the innermost last.
  std::map<std::string_view, std::vector<StructDefinition::PtrConstType>> open;
};

using BackEngine = DataAdapter<const DataValue*, DefinitionSink, BackContext>;

void Fail(BackEngine& engine, BackContext& context, BaseMessage message) {
  context.errors.push_back(std::move(message));
  engine.Clear();
}

// A field of the introspection structure: the content of a set optional, or a bare value.
// Null when absent or unset.
const DataValue* FieldContent(const CompoundValue::FieldMap& fields, std::string_view name) {
  const auto found = fields.find(name);
  if (found == fields.end() || !found->second) return nullptr;
  const DataValue* value = found->second.get();
  if (value->type() != DataType::OPTIONAL) return value;
  const auto& optional = static_cast<const OptionalValue&>(*value);
  return optional.isSet() ? optional.value().get() : nullptr;
}

// The text of a field that must be a string when present; false when it is something else.
bool TextField(const CompoundValue::FieldMap& fields, std::string_view name, const std::string*& out) {
  const DataValue* value = FieldContent(fields, name);
  out = value != nullptr && value->type() == DataType::STRING
            ? &static_cast<const StringValue&>(*value).value()
            : nullptr;
  return value == nullptr || out != nullptr;
}

void PutSlot(void* target, std::string_view, DataDefinition::PtrConstType definition) {
  *static_cast<DataDefinition::PtrConstType*>(target) = std::move(definition);
}
template <class Definition>
void PutElement(void* target, std::string_view, DataDefinition::PtrConstType definition) {
  static_cast<Definition*>(target)->SetElement(std::move(definition));
}
template <class Definition>
void PutField(void* target, std::string_view name, DataDefinition::PtrConstType definition) {
  static_cast<Definition*>(target)->SetField(std::string(name), std::move(definition));
}

void ValueMethod(const DataValue* const& value, const DefinitionSink& dst, BackEngine& engine,
                 BackContext& context);

void UnmapMethod(const DataValue* const&, const DefinitionSink& dst, BackEngine&, BackContext& context) {
  auto found = context.open.find(dst.name);
  found->second.pop_back();
  if (found->second.empty()) context.open.erase(found);
}

// Registers a structure under its name for the references inside it; the matching unmap
// entry runs once everything queued after it is done.
void MapMethod(std::string_view name, const StructDefinition::PtrConstType& structure, BackEngine& engine,
               BackContext& context) {
  context.open[name].push_back(structure);
  engine.Push(nullptr, DefinitionSink{nullptr, name, nullptr}, &UnmapMethod);
}

void ResolveMethod(StructRefDefinition& reference, std::string_view name, BackEngine& engine,
                   BackContext& context) {
  const auto found = context.open.find(name);
  if (found == context.open.end()) {
    return Fail(engine, context, Message<CoreTag>("olma.adapt.missing.reference", name));
  }
  reference.SetTarget(found->second.back());
}

template <class Definition>
void FillCompound(Definition& target, const CompoundValue::FieldMap& fields, const std::string* name,
                  BackEngine& engine, BackContext& context) {
  if (name != nullptr) target.SetName(*name);
  const DataValue* list = FieldContent(fields, "fields");
  if (list == nullptr) return;
  if (list->type() != DataType::LIST)
    return Fail(engine, context, Message<CoreTag>("olma.data.invalid.type"));
  for (const DataValue::PtrConstType& element : static_cast<const ListValue&>(*list)) {
    if (!element || element->type() != DataType::STRUCTURE) {
      return Fail(engine, context, Message<CoreTag>("olma.data.invalid.type"));
    }
    const CompoundValue::FieldMap& entry = static_cast<const StructValue&>(*element).fields();
    const std::string* key = nullptr;
    const DataValue* value = FieldContent(entry, "value");
    if (!TextField(entry, "key", key) || key == nullptr || value == nullptr) {
      return Fail(engine, context, Message<CoreTag>("olma.data.invalid.type"));
    }
    target.SetField(*key, nullptr);
    engine.Push(value, DefinitionSink{&target, *key, &PutField<Definition>}, &ValueMethod);
  }
}

template <class Definition>
void FillElement(Definition& target, const CompoundValue::FieldMap& fields, BackEngine& engine) {
  const DataValue* element = FieldContent(fields, "element_definition");
  if (element != nullptr)
    engine.Push(element, DefinitionSink{&target, {}, &PutElement<Definition>}, &ValueMethod);
}

void ValueMethod(const DataValue* const& value, const DefinitionSink& dst, BackEngine& engine,
                 BackContext& context) {
  if (value == nullptr || value->type() != DataType::STRUCTURE) {
    return Fail(engine, context, Message<CoreTag>("olma.data.invalid.type"));
  }
  const CompoundValue::FieldMap& fields = static_cast<const StructValue&>(*value).fields();
  const std::string* name = nullptr;
  if (!TextField(fields, "name", name))
    return Fail(engine, context, Message<CoreTag>("olma.data.invalid.type"));
  DataDefinition::PtrType definition = TypeInfo<DataDefinition>::defaultInstance(value->shared_from_this());
  DataDefinition* raw = definition.get();
  dst.Put(std::move(definition));
  switch (raw->type()) {
    case DataType::OPTIONAL:
      return FillElement(static_cast<OptionalDefinition&>(*raw), fields, engine);
    case DataType::LIST:
      return FillElement(static_cast<ListDefinition&>(*raw), fields, engine);
    case DataType::ERROR:
      return FillCompound(static_cast<ErrorDefinition&>(*raw), fields, name, engine, context);
    case DataType::STRUCTURE: {
      auto& structure = static_cast<StructDefinition&>(*raw);
      if (name != nullptr) {
        MapMethod(*name, std::static_pointer_cast<const StructDefinition>(structure.GetConstPtr()), engine,
                  context);
      }
      return FillCompound(structure, fields, name, engine, context);
    }
    case DataType::STRUCTURE_REF:
      return ResolveMethod(static_cast<StructRefDefinition&>(*raw), name != nullptr ? *name : kUninitialized,
                           engine, context);
    default:
      return;
  }
}

}  // namespace

DataValue::PtrConstType Convert(const DataDefinition::PtrConstType& definition) {
  if (!definition) return nullptr;
  DataValue::PtrConstType result;
  MessageList unused;
  ToValueEngine engine(&DefinitionMethod);
  engine.Adapt(definition.get(), ValueSink{&result}, unused);
  return result;
}

bool ConvertBack(const DataValue::PtrConstType& value, DataDefinition::PtrConstType& out,
                 MessageList& errors) {
  const std::size_t before = errors.size();
  BackContext context{errors, {}};
  BackEngine engine(&ValueMethod);
  engine.Adapt(value.get(), DefinitionSink{&out, {}, &PutSlot}, context);
  return errors.size() == before;
}

const DataDefinition::PtrConstType& IntrospectionDefinition() {
  static const DataDefinition::PtrConstType definition =
      NativeToDefinitionAdapter::Adapt<DataDefinition::PtrConstType>();
  return definition;
}

}  // namespace DefinitionToValueHelper

DataDefinition::PtrType TypeInfo<DataDefinition>::defaultInstance(const DataValue::PtrConstType& value) {
  std::string_view text;
  if (value && (value->type() == DataType::STRUCTURE || value->type() == DataType::ERROR)) {
    const CompoundValue::FieldMap& fields = static_cast<const CompoundValue&>(*value).fields();
    const DataValue* type = DefinitionToValueHelper::FieldContent(fields, "type");
    if (type != nullptr && type->type() == DataType::STRING)
      text = static_cast<const StringValue&>(*type).value();
  }
  int kind = 0;
  while (DataType::Strings[kind] != nullptr && text != DataType::Strings[kind]) ++kind;
  const std::string placeholder(DefinitionToValueHelper::kUninitialized);
  switch (kind) {
    case DataType::VOID:
      return DataDefinition::Create<Void>();
    case DataType::DOUBLE:
      return DataDefinition::Create<double>();
    case DataType::BOOLEAN:
      return DataDefinition::Create<bool>();
    case DataType::BLOB:
      return DataDefinition::Create<ByteVector>();
    case DataType::STRING:
      return DataDefinition::Create<std::string>();
    case DataType::OPAQUE:
      return DataDefinition::Create<Opaque>();
    case DataType::SECRET:
      return DataDefinition::Create<SecretString>();
    case DataType::ERROR:
      return ErrorDefinition::GetInstance(placeholder, {});
    case DataType::STRUCTURE:
      return StructDefinition::GetInstance(placeholder, {});
    case DataType::OPTIONAL:
      return OptionalDefinition::GetInstance(DataDefinition::Create<Void>());
    case DataType::LIST:
      return ListDefinition::GetInstance(DataDefinition::Create<Void>());
    case DataType::STRUCTURE_REF:
      return StructRefDefinition::GetInstance(placeholder);
    case DataType::DYNAMIC_STRUCTURE:
      return DynamicStructureDefinition::GetInstance();
    case DataType::ANY_ERROR:
      return DynamicErrorDefinition::GetInstance();
    default:
      // LONG itself, a name past ANY_ERROR in the table, or no name at all.
      return DataDefinition::Create<long long>();
  }
}

}  // namespace Data
}  // namespace Olma
