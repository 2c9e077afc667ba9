#include <cstddef>
#include <string_view>

#include "olma/core/message.h"

namespace Olma {

namespace {

struct CatalogueEntry {
  const char* id;
  const char* text;
};

// Clients key their translations on these identifiers, so they stay exactly as they are,
// "olma.trasport.io.failed" included. Searched front to back; the first match wins.
constexpr CatalogueEntry kCoreCatalogue[] = {
    {"olma.data.unset.non.optional.field", "Unset required field: {1}"},
    {"olma.data.bad.cast1", "Bad cast: {1}"},
    {"olma.data.bad.cast2", "Bad cast: {1} -> {2}"},
    {"olma.data.bad.cast3", "Bad cast: {1} -> {2} : {3}"},
    {"olma.data.duplicate.map.element", "Duplicate map element: {1}"},
    {"olma.data.duplicate.set.element", "Duplicate set element: {1}"},
    {"olma.data.invalid.type", "Invalid type"},
    {"olma.data.type.mismatch", "Type mismatch: {1} != {2}"},
    {"olma.data.value.unknown", "Unknown value: {1}"},
    {"olma.data.comparator.values.not.equal", "Values not equal <{1}>: {2} != {3}"},
    {"olma.data.value.comp.values.not.eq.sizes", "Values not equal size: {1} != {2}"},
    {"olma.data.value.comp.struct.names.not.eq", "Struct names not equal: {1} != {2}"},
    {"olma.data.value.comp.struct.missing.field", "Missing struct field[{1}]: {2},{3}"},
    {"olma.data.error.getfield.unknown", "GetField unknown field: {1}"},
    {"olma.data.structure.getfield.unknown", "GetField unknown field: {1}"},
    {"olma.data.structure.isoneof.value.invalid", "IsOneOf invalid value: {1}"},
    {"olma.data.compound.field.missing", "Missing field in compound: [{1}] {2}: {3}"},
    {"olma.data.compound.field.extra", "Extra field in compound: [{1}] {2}: {3}"},
    {"olma.data.struct.missing.fields", "Missing fields: {1}, {2}"},
    {"olma.data.union.missing.tag.field", "Missing UnionCase tag field: {1}"},
    {"olma.data.union.invalid.case.state.isnotset",
     "In the structure '{1}', the field '{2}' is set to '{3}'. Therefore, the field '{4}' must be set, but "
     "it is "
     "not."},
    {"olma.data.union.invalid.case.state.isnotset.short",
     "In the structure '{1}', the field '{2}' must be set, but it is not."},
    {"olma.data.union.invalid.case.state.isset",
     "In the structure '{1}', the field '{2}' is set to '{3}'. Therefore, the field '{4}' must not be set, "
     "but it "
     "is."},
    {"olma.data.union.invalid.case.state.isset.short",
     "In the structure '{1}', the field '{2}' must not be set, but it is."},
    {"olma.data.union.invalid.case.state.notag",
     "In the structure '{1}', the field '{2}' is not set. Therefore, the field '{3}' also must not be set, "
     "but it "
     "is."},
    {"olma.data.validation.truncated",
     "Validation stopped after {1} failures; {2} more values were not checked"},
    {"olma.data.getvaluebypath.list.not.last", "List value is not last in path. Remaining path: {1}"},
    {"olma.async.api.interface.missing.method", "Interface missing method: {1}[{2}]"},
    {"olma.invoke.invalid.input", "Invalid input for method: {1}"},
    {"olma.invoke.invalid.output", "Invalid output for method: {1}"},
    {"olma.invoke.invalid.error", "Invalid error for method: {1} -> {2}"},
    {"olma.invoke.unknown.error", "Unknown error for method: {1} -> {2}"},
    {"olma.provider.interface.already.registered", "Interface already registered: {1}"},
    {"olma.provider.interface.unknown", "Unknown interface: {1}"},
    {"olma.provider.invalid.response", "Invalid response for method: {1}"},
    {"olma.provider.method.signal.not.connected", "Method signal not connected."},
    {"olma.unknown.request.id", "Unknown request id[{1}]: {2}"},
    {"olma.async.provider.duplicate.id", "Duplicate Id: {1}"},
    {"olma.recv.failed", "Receive of frame failed: {1}"},
    {"olma.send.failed", "Send of frame failed: {1}"},
    {"olma.invalid.result.code", "Recv of frame failed with code: {1} {2}"},
    {"olma.invalid.content.type", "Unsupported content type: {1}"},
    {"olma.request.exceeds.max.size", "Request exceeds max size"},
    {"olma.invalid.request", "Invalid Request"},
    {"olma.connect.failed", "Connection to remote endpoint failed: {1}"},
    {"olma.trasport.io.failed", "IO failure: {1}"},
    {"olma.bindings.method.impl.unexpected", "Unexpected error for method: {1} -> {2}"},
    {"olma.compress.invalid.level", "Invalid compression level {1}, must be between 0 and 9."},
    {"olma.compress.init.failed", "Deflate init failed with error: {1}, giving up on compression."},
    {"olma.compress.failed", "Error occurred during zlib compression: ({1}) {2}"},
    {"olma.decompress.init.failed", "Stream init failed: {1}"},
    {"olma.decompress.failed", "Error occurred during zlib decompression: ({1}) {2}"},
    {"olma.decompress.limit.exceeded", "Decompressed data exceeds the limit of {1} bytes."},
    {"olma.core.extractor", "Error: Invalid header"},
    {"olma.core.extractor.arg", "Error: {1}"},
    {nullptr, nullptr},
};

}  // namespace

template <>
const char* Message<CoreTag>::DefaultMessageForId(std::string_view id) {
  for (const CatalogueEntry* entry = kCoreCatalogue; entry->id != nullptr; ++entry) {
    if (id == entry->id) return entry->text;
  }
  return "Unknown message.";
}

}  // namespace Olma
