// Native stand-ins for the data kinds that have no ordinary C++ type.
//
// Native code names these types where a field, argument or result is void, opaque, or a
// structure or error whose fields are only known at run time. Type-driven code (creating a
// definition or a value for a native type, converting between the two worlds) selects its
// behaviour on them:
//
//   auto nothing = Olma::Data::DataDefinition::Create<Olma::Data::Void>();       // VOID
//   auto anything = Olma::Data::DataDefinition::Create<Olma::Data::Opaque>();    // OPAQUE
//
// Opaque, DynamicStructure and DynamicError carry the dynamic value itself, because a native
// object of such a type can only be filled from, or turned back into, the value it wraps.
// The types are plain aggregates with no synchronisation of their own.
#pragma once

#include <memory>

namespace Olma {
namespace Data {

class DataValue;

// The native form of "no value".
struct Void {};

constexpr bool operator==(Void, Void) noexcept {
  return true;
}
constexpr bool operator!=(Void, Void) noexcept {
  return false;
}

// Any value at all, passed through unchanged.
struct Opaque {
  std::shared_ptr<const DataValue> value;
};

// A structure value whose fields are not declared natively.
struct DynamicStructure {
  std::shared_ptr<const DataValue> value;
};

// An error value of any error type.
struct DynamicError {
  std::shared_ptr<const DataValue> value;
};

}  // namespace Data
}  // namespace Olma
