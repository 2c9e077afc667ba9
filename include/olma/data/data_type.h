// DataType: the kind of a value or a definition.
//
// Values and definitions report their kind through DataType. Kinds 16 to 21 are the
// packed typed lists of primitives, which have no name of their own; 22 marks an
// unknown kind.
//
//   Olma::Data::DataType kind = Olma::Data::DataType::INTEGER;
//   Olma::Data::EnumConverter::Convert<Olma::Data::DataType::Strings>(kind);   // "LONG"
//
// The name table calls integers "LONG" and blobs "BINARY" (the names used in messages
// and on the wire), while definitions render themselves as "INTEGER" and "BLOB".
#pragma once

#include <cstdint>
#include <iosfwd>
#include <string>
#include <string_view>

#include "olma/core/export.h"

namespace Olma {
namespace Data {

class OLMA_API DataType {
 public:
  enum EnumType : std::int32_t {
    VOID = 0,
    INTEGER = 1,
    DOUBLE = 2,
    BOOLEAN = 3,
    BLOB = 4,
    STRING = 5,
    ERROR = 6,
    OPTIONAL = 7,
    LIST = 8,
    STRUCTURE = 9,
    OPAQUE = 10,
    SECRET = 11,
    STRUCTURE_REF = 12,
    DYNAMIC_STRUCTURE = 13,
    ANY_ERROR = 14,
    INTERNALC = 15,
    LIST_BOOL = 16,
    LIST_LONG = 17,
    LIST_DOUBLE = 18,
    LIST_BLOB = 19,
    LIST_STRING = 20,
    LIST_SECRET = 21,
    UNKNOWN = 22,
  };

  // The names of kinds 0 to 15, then "_UNKNOWN", then a null end marker.
  static const char* const Strings[];

  // The name given to UNKNOWN when not empty. Set it once at start-up, before any
  // thread names kinds: it is read without synchronisation.
  static std::string _unkStr;

  constexpr DataType(EnumType value = VOID) noexcept : value_(value) {}
  constexpr operator EnumType() const noexcept { return value_; }
  constexpr EnumType value() const noexcept { return value_; }

 private:
  EnumType value_;
};

// Conversions between an enumeration and the names of its table.
struct OLMA_API EnumConverter {
  // The name of `value`: the table entry of its number, "_UNKNOWN" for a number without
  // a name of its own, and DataType::_unkStr (when set) for DataType::UNKNOWN.
  template <const char* const* Table, typename E>
  [[nodiscard]] static std::string Convert(E value);

  // The reverse lookup: the kind named `name` (exact comparison). Returns false and
  // leaves `out` unchanged when no kind has that name.
  template <const char* const* Table, typename E>
  [[nodiscard]] static bool Convert(std::string_view name, E& out);
};

template <>
OLMA_API std::string EnumConverter::Convert<DataType::Strings, DataType>(DataType value);
template <>
OLMA_API bool EnumConverter::Convert<DataType::Strings, DataType>(std::string_view name, DataType& out);

// The kind's name, as EnumConverter gives it.
[[nodiscard]] OLMA_API std::string to_string(DataType type);
OLMA_API std::ostream& operator<<(std::ostream& out, DataType type);

}  // namespace Data
}  // namespace Olma
