// Definitions as data: the introspection structure that carries a definition over the wire,
// and the canonical text over which API checksums are computed.
//
// The introspection structure "com.zorvex.olma.std.introspection.operation.data_definition"
// has four fields, each present in every instance:
//
//   "type"                the kind's name: "VOID", "LONG", "DOUBLE", "BOOLEAN", "BINARY",
//                         "STRING", "ERROR", "OPTIONAL", "LIST", "STRUCTURE", "OPAQUE",
//                         "SECRET", "STRUCTURE_REF", "DYNAMIC_STRUCTURE", "ANY_ERROR"
//   "element_definition"  optional: the element of an OPTIONAL, LIST or union case
//   "name"                optional: a structure's or error's name, a reference's target name
//   "fields"              optional: a STRUCTURE's or ERROR's fields, as a list of
//                         "map-entry" structures ("key" the field name, "value" its
//                         introspection structure) in name order
//
// The form is lossy on purpose: an enumeration travels as STRING without its names, a union
// case as a plain OPTIONAL, a dynamic structure without its known fields.
//
//   DataValue::PtrConstType wire;
//   NativeToValueAdapter::Adapt(definition, wire, messages);         // definition -> value
//   DataDefinition::PtrConstType back;
//   ValueToNativeAdapter::Adapt(wire, back, messages);               // value -> definition
//
// Back from a value, an unknown "type" gives a LONG definition without a message, and a
// STRUCTURE_REF links to the innermost enclosing structure of that name in the same value;
// when there is none it reports "olma.adapt.missing.reference" with the name.
//
// The canonical text (RawDefinitionAdapter) is a sequence of pieces: a kind's name; for
// OPTIONAL, LIST and union cases the element; for STRUCTURE_REF the target's name; for
// STRUCTURE and ERROR the name, then, when there are fields, "<", each field's name and
// definition in ascending name order, and ">"; DYNAMIC_STRUCTURE and ANY_ERROR list their
// known fields the same way. With a separator character, it stands between every two
// adjacent pieces; with 0, nothing does:
//
//   std::string text;
//   RawDefinitionAdapter::Adapt(point, text);   // "STRUCTUREPt<aLONGbOPTIONALSTRING>"
//
// Every walk here runs on the adaptation engine: definitions and introspection values nested
// a million levels deep convert and render with a flat call stack. Stateless: any number of
// threads may convert and render shared definitions at once.
#pragma once

#include <cstddef>
#include <ios>
#include <memory>
#include <string>
#include <string_view>
#include <type_traits>

#include "olma/core/export.h"
#include "olma/core/message.h"
#include "olma/data/definition.h"
#include "olma/data/value.h"

namespace Olma {
namespace Data {

namespace DefinitionToValueHelper {

// The introspection structure of `definition`; empty for an empty pointer.
OLMA_API DataValue::PtrConstType Convert(const DataDefinition::PtrConstType& definition);

// The definition an introspection structure describes. Returns false, with the reason in
// `errors` ("olma.data.invalid.type" for a value of the wrong shape,
// "olma.adapt.missing.reference" for a reference to no enclosing structure), when it is
// not one; `out` then holds what was built so far.
OLMA_API bool ConvertBack(const DataValue::PtrConstType& value, DataDefinition::PtrConstType& out,
                          MessageList& errors);

// The definition of the introspection structure itself (built once, shared).
OLMA_API const DataDefinition::PtrConstType& IntrospectionDefinition();

}  // namespace DefinitionToValueHelper

// Writes the canonical text of a definition (see the top of this file). Never fails: an
// empty pointer, also as a child, writes nothing.
class OLMA_API RawDefinitionAdapter {
 public:
  // Appends the text to `out`.
  static void Adapt(const DataDefinition::PtrConstType& definition, std::string& out) {
    Append(definition, '\0', out);
  }
  static void Adapt(const DataDefinition::PtrConstType& definition, char separator, std::string& out,
                    MessageList&) {
    Append(definition, separator, out);
  }

  // Writes the text to an output range: anything with put(char) and
  // write(const char*, std::size_t), such as a std::ostream.
  template <class ORange, class = std::enable_if_t<!std::is_same_v<ORange, std::string>>>
  static void Adapt(const DataDefinition::PtrConstType& definition, ORange& output) {
    Write(definition, '\0', output);
  }
  template <class ORange, class = std::enable_if_t<!std::is_same_v<ORange, std::string>>>
  static void Adapt(const DataDefinition::PtrConstType& definition, char separator, ORange& output,
                    MessageList&) {
    Write(definition, separator, output);
  }

  // Appends the text to `out`: what every form above does.
  static void Append(const DataDefinition::PtrConstType& definition, char separator, std::string& out);

 private:
  template <class ORange>
  static void Write(const DataDefinition::PtrConstType& definition, char separator, ORange& output) {
    std::string text;
    Append(definition, separator, text);
    output.write(text.data(), static_cast<std::streamsize>(text.size()));
  }
};

}  // namespace Data
}  // namespace Olma
