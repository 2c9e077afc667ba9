#include <optional>
#include <string>
#include <string_view>

#include "definition_parts.h"
#include "olma/data/adapter.h"
#include "olma/data/definitions.h"
#include "olma/data/introspection.h"

namespace Olma {
namespace Data {
namespace {

// The text under construction: each piece is preceded by the separator unless it is the
// first one or there is no separator.
struct Writer {
  std::string& out;
  char separator;
  bool first = true;

  void Piece(std::string_view piece) {
    if (!first && separator != '\0') out.push_back(separator);
    out.append(piece);
    first = false;
  }
};

// An entry writes either a definition (`src` set) or the literal piece `dst`.
using Engine = DataAdapter<const DataDefinition*, std::string_view, Writer>;

void WriteMethod(const DataDefinition* const& definition, const std::string_view& piece, Engine& engine,
                 Writer& writer);

// Kinds that are written as their name alone: written at once instead of queued, which
// spares an entry for most nodes of a typical definition.
bool IsLeaf(const DataDefinition& definition) {
  switch (definition.type()) {
    case DataType::VOID:
    case DataType::INTEGER:
    case DataType::DOUBLE:
    case DataType::BOOLEAN:
    case DataType::BLOB:
    case DataType::STRING:
    case DataType::OPAQUE:
    case DataType::SECRET:
      return true;
    default:
      return false;
  }
}

// "<", then each field's name and definition in ascending name order, then ">". Leading
// fields whose definitions are leaves are written at once; from the first field that has
// children on, the rest is queued: the closing piece first and the fields in descending
// order, so that they come out ascending with ">" last.
void WriteFields(const DataDefinition::FieldMap& fields, Engine& engine, Writer& writer) {
  writer.Piece("<");
  auto field = fields.begin();
  for (; field != fields.end() && (!field->second || IsLeaf(*field->second)); ++field) {
    writer.Piece(field->first);
    if (field->second) writer.Piece(Detail::KindName(field->second->type()));
  }
  if (field == fields.end()) return writer.Piece(">");
  engine.Push(nullptr, ">", &WriteMethod);
  for (auto last = fields.end(); last != field;) {
    --last;
    if (last->second) engine.Push(last->second.get(), {}, &WriteMethod);
    engine.Push(nullptr, last->first, &WriteMethod);
  }
}

std::string_view NameOf(const std::optional<std::string>& name) {
  return name ? std::string_view(*name) : std::string_view();
}

void WriteMethod(const DataDefinition* const& definition, const std::string_view& piece, Engine& engine,
                 Writer& writer) {
  if (definition == nullptr) return writer.Piece(piece);
  writer.Piece(Detail::KindName(definition->type()));
  // Every kind but OPTIONAL has one class; an OPTIONAL may also be a union case.
  switch (definition->type()) {
    case DataType::OPTIONAL: {
      const Detail::DefinitionParts parts(*definition);
      if (*parts.element) engine.Push(parts.element->get(), {}, &WriteMethod);
      return;
    }
    case DataType::LIST: {
      const DataDefinition::PtrConstType& element = static_cast<const ListDefinition&>(*definition).element();
      if (element) engine.Push(element.get(), {}, &WriteMethod);
      return;
    }
    case DataType::STRUCTURE_REF:
      return writer.Piece(NameOf(static_cast<const StructRefDefinition&>(*definition).name()));
    case DataType::STRUCTURE: {
      const auto& structure = static_cast<const StructDefinition&>(*definition);
      writer.Piece(NameOf(structure.name()));
      if (structure.fields() && !structure.fields()->empty())
        WriteFields(*structure.fields(), engine, writer);
      return;
    }
    case DataType::ERROR: {
      const auto& error = static_cast<const ErrorDefinition&>(*definition);
      writer.Piece(NameOf(error.name()));
      if (error.fields() && !error.fields()->empty()) WriteFields(*error.fields(), engine, writer);
      return;
    }
    case DataType::DYNAMIC_STRUCTURE: {
      const auto& fields = static_cast<const DynamicStructureDefinition&>(*definition).fields();
      if (fields && !fields->empty()) WriteFields(*fields, engine, writer);
      return;
    }
    case DataType::ANY_ERROR: {
      const auto& fields = static_cast<const DynamicErrorDefinition&>(*definition).fields();
      if (fields && !fields->empty()) WriteFields(*fields, engine, writer);
      return;
    }
    default:
      return;
  }
}

}  // namespace

void RawDefinitionAdapter::Append(const DataDefinition::PtrConstType& definition, char separator,
                                  std::string& out) {
  if (!definition) return;
  Writer writer{out, separator};
  Engine engine(&WriteMethod);
  engine.Adapt(definition.get(), {}, writer);
}

}  // namespace Data
}  // namespace Olma
