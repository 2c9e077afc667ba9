#include "olma/data/compatibility.h"

#include <set>
#include <string>
#include <string_view>
#include <utility>

#include "definition_parts.h"
#include "olma/data/adapter.h"
#include "olma/data/definitions.h"
#include "olma/data/native_to_definition.h"

namespace Olma {
namespace Data {
namespace {

struct Target {
  const DataDefinition* definition;
  std::string path;
};

struct Context {
  MessageList& messages;
  CompatibilityDirection direction;
  // Pairs of structures already compared (old, new): what stops recursive definitions.
  std::set<std::pair<const DataDefinition*, const DataDefinition*>> compared;

  bool input() const { return direction == CompatibilityDirection::Input; }
};

using Engine = DataAdapter<const DataDefinition*, Target, Context>;

std::string Shown(const std::string& path) {
  return path.empty() ? std::string("(root)") : path;
}
std::string Join(const std::string& path, const std::string& name) {
  return path.empty() ? name : path + "." + name;
}

// A reference stands for its target; an empty pointer (a broken tree or a vanished target)
// for nothing.
std::shared_ptr<const DataDefinition> Resolve(const DataDefinition* definition) {
  if (definition == nullptr) return nullptr;
  if (definition->type() != DataType::STRUCTURE_REF) return definition->GetConstPtr();
  return static_cast<const StructRefDefinition&>(*definition).target();
}

// The allowed names of an enumeration built from a native Enum, or null.
const EnumValueSet* Names(const Detail::DefinitionParts& parts) {
  return parts.isOneOf != nullptr ? parts.isOneOf->predicate().target<EnumValueSet>() : nullptr;
}

// Names of `from` that `to` does not accept; `to` may be a plain string (accepts all).
void CompareEnumerations(const Detail::DefinitionParts& from, const Detail::DefinitionParts& to,
                         std::string_view id, std::string_view text, const std::string& path,
                         Context& context) {
  if (to.isOneOf == nullptr) return;
  const EnumValueSet* names = Names(from);
  if (from.isOneOf == nullptr) {
    context.messages.push_back(MakeMessage(id, text, Shown(path), "<any text>"));
    return;
  }
  if (names == nullptr) return;
  for (const std::string& name : names->names) {
    if (!to.isOneOf->predicate() || !to.isOneOf->Check(name)) {
      context.messages.push_back(MakeMessage(id, text, Shown(path), name));
    }
  }
}

void CompareMethod(const DataDefinition* const& oldRaw, const Target& target, Engine& engine,
                   Context& context);

void CompareFields(const DataDefinition::FieldMap* oldFields, const DataDefinition::FieldMap* newFields,
                   const std::string& path, Engine& engine, Context& context) {
  static const DataDefinition::FieldMap kNone;
  const DataDefinition::FieldMap& before = oldFields != nullptr ? *oldFields : kNone;
  const DataDefinition::FieldMap& after = newFields != nullptr ? *newFields : kNone;
  const auto optional = [](const DataDefinition::PtrConstType& field) {
    return field && field->type() == DataType::OPTIONAL;
  };
  for (const auto& [name, field] : after) {
    if (before.count(name) == 0 && context.input() && !optional(field)) {
      context.messages.push_back(MakeMessage("olma.data.compat.input.field.added",
                                             "Required input field added: {1}", Join(path, name)));
    }
  }
  for (const auto& [name, field] : before) {
    if (after.count(name) != 0) continue;
    if (context.input()) {
      context.messages.push_back(
          MakeMessage("olma.data.compat.input.field.removed", "Input field removed: {1}", Join(path, name)));
    } else if (!optional(field)) {
      context.messages.push_back(MakeMessage("olma.data.compat.output.field.removed",
                                             "Output field removed: {1}", Join(path, name)));
    }
  }
  // Queued in descending name order so that the fields are compared in ascending order.
  for (auto field = before.rbegin(); field != before.rend(); ++field) {
    const auto counterpart = after.find(field->first);
    if (counterpart == after.end()) continue;
    engine.Push(field->second.get(), Target{counterpart->second.get(), Join(path, field->first)},
                &CompareMethod);
  }
}

void CompareMethod(const DataDefinition* const& oldRaw, const Target& target, Engine& engine,
                   Context& context) {
  const std::shared_ptr<const DataDefinition> before = Resolve(oldRaw);
  const std::shared_ptr<const DataDefinition> after = Resolve(target.definition);
  if (!before || !after) return;
  const Detail::DefinitionParts oldParts(*before);
  const Detail::DefinitionParts newParts(*after);
  const bool oldOptional = before->type() == DataType::OPTIONAL;
  const bool newOptional = after->type() == DataType::OPTIONAL;
  if (oldOptional || newOptional) {
    if (oldOptional && !newOptional && context.input()) {
      context.messages.push_back(MakeMessage("olma.data.compat.optional.made.required",
                                             "Optional made required: {1}", Shown(target.path)));
    } else if (!oldOptional && newOptional && !context.input()) {
      context.messages.push_back(MakeMessage("olma.data.compat.required.made.optional",
                                             "Required made optional: {1}", Shown(target.path)));
    }
    const DataDefinition* oldContent = oldOptional ? oldParts.element->get() : before.get();
    const DataDefinition* newContent = newOptional ? newParts.element->get() : after.get();
    engine.Push(oldContent, Target{newContent, target.path}, &CompareMethod);
    return;
  }
  if (context.input() ? after->type() == DataType::OPAQUE : before->type() == DataType::OPAQUE) return;
  if (before->type() != after->type()) {
    context.messages.push_back(MakeMessage("olma.data.compat.kind.changed", "Kind changed: {1}: {2} -> {3}",
                                           Shown(target.path), Detail::KindName(before->type()),
                                           Detail::KindName(after->type())));
    return;
  }
  switch (before->type()) {
    case DataType::STRING:
      if (context.input()) {
        CompareEnumerations(oldParts, newParts, "olma.data.compat.enum.narrowed",
                            "Enumeration narrowed: {1}: {2} no longer accepted", target.path, context);
      } else {
        CompareEnumerations(newParts, oldParts, "olma.data.compat.enum.widened",
                            "Enumeration widened: {1}: {2} unknown to older clients", target.path, context);
      }
      return;
    case DataType::LIST:
      engine.Push(oldParts.element->get(), Target{newParts.element->get(), target.path}, &CompareMethod);
      return;
    case DataType::STRUCTURE:
    case DataType::ERROR:
    case DataType::DYNAMIC_STRUCTURE:
    case DataType::ANY_ERROR:
      if (context.compared.emplace(before.get(), after.get()).second) {
        CompareFields(oldParts.fieldMap(), newParts.fieldMap(), target.path, engine, context);
      }
      return;
    default:
      return;
  }
}

}  // namespace

bool CheckCompatibility(const DataDefinition::PtrConstType& oldDefinition,
                        const DataDefinition::PtrConstType& newDefinition, CompatibilityDirection direction,
                        MessageList& messages) {
  const std::size_t before = messages.size();
  Context context{messages, direction, {}};
  Engine engine(&CompareMethod);
  engine.Adapt(oldDefinition.get(), Target{newDefinition.get(), std::string()}, context);
  return messages.size() == before;
}

}  // namespace Data
}  // namespace Olma
