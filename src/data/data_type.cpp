#include "olma/data/data_type.h"

#include <ostream>

namespace Olma {
namespace Data {

const char* const DataType::Strings[] = {
    "VOID",      "LONG",      "DOUBLE",    "BOOLEAN", "BINARY", "STRING",        "ERROR",
    "OPTIONAL",  "LIST",      "STRUCTURE", "OPAQUE",  "SECRET", "STRUCTURE_REF", "DYNAMIC_STRUCTURE",
    "ANY_ERROR", "INTERNALC", "_UNKNOWN",  nullptr,
};

std::string DataType::_unkStr;

namespace {
constexpr int kNamedKinds = 16;
constexpr const char* kUnnamed = "_UNKNOWN";
}  // namespace

template <>
std::string EnumConverter::Convert<DataType::Strings, DataType>(DataType value) {
  const int number = static_cast<int>(value.value());
  if (value == DataType::UNKNOWN && !DataType::_unkStr.empty()) return DataType::_unkStr;
  if (number >= 0 && number < kNamedKinds) return DataType::Strings[number];
  return kUnnamed;
}

template <>
bool EnumConverter::Convert<DataType::Strings, DataType>(std::string_view name, DataType& out) {
  for (int number = 0; number < kNamedKinds; ++number) {
    if (name == DataType::Strings[number]) {
      out = static_cast<DataType::EnumType>(number);
      return true;
    }
  }
  return false;
}

std::string to_string(DataType type) {
  return EnumConverter::Convert<DataType::Strings>(type);
}

std::ostream& operator<<(std::ostream& out, DataType type) {
  return out << to_string(type);
}

}  // namespace Data
}  // namespace Olma
