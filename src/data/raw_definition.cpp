#include <string>
#include <string_view>

#include "definition_parts.h"
#include "olma/data/adapter.h"
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

// "<", then each field's name and definition in ascending name order, then ">". The closing
// piece is queued first and the fields in descending order, so they come out ascending.
void WriteFields(const DataDefinition::FieldMap& fields, Engine& engine, Writer& writer) {
  writer.Piece("<");
  engine.Push(nullptr, ">", &WriteMethod);
  for (auto field = fields.rbegin(); field != fields.rend(); ++field) {
    if (field->second) engine.Push(field->second.get(), {}, &WriteMethod);
    engine.Push(nullptr, field->first, &WriteMethod);
  }
}

void WriteMethod(const DataDefinition* const& definition, const std::string_view& piece, Engine& engine,
                 Writer& writer) {
  if (definition == nullptr) return writer.Piece(piece);
  const Detail::DefinitionParts parts(*definition);
  writer.Piece(Detail::KindName(definition->type()));
  switch (definition->type()) {
    case DataType::OPTIONAL:
    case DataType::LIST:
      if (*parts.element) engine.Push(parts.element->get(), {}, &WriteMethod);
      return;
    case DataType::STRUCTURE_REF:
      writer.Piece(*parts.name ? std::string_view(**parts.name) : std::string_view());
      return;
    case DataType::STRUCTURE:
    case DataType::ERROR:
      writer.Piece(*parts.name ? std::string_view(**parts.name) : std::string_view());
      [[fallthrough]];
    case DataType::DYNAMIC_STRUCTURE:
    case DataType::ANY_ERROR:
      if (parts.fieldMap() != nullptr && !parts.fieldMap()->empty())
        WriteFields(*parts.fieldMap(), engine, writer);
      return;
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
