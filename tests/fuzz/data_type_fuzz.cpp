// DataType names: any text either names a kind, whose name is that text again, or is refused;
// any number renders without harm.
#include <cstdint>
#include <sstream>
#include <string>

#include "fuzz/fuzz_input.h"
#include "olma/data/data_type.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using Olma::Data::DataType;
  OlmaFuzz::Input input(data, size);
  const auto number = input.Number<std::int32_t>();
  const std::string_view name = input.Rest();

  const DataType any(static_cast<DataType::EnumType>(number));
  std::ostringstream out;
  out << any;
  OLMA_FUZZ_CHECK(out.str() == Olma::Data::to_string(any));

  DataType parsed = DataType::UNKNOWN;
  if (Olma::Data::EnumConverter::Convert<DataType::Strings>(name, parsed)) {
    OLMA_FUZZ_CHECK(Olma::Data::to_string(parsed) == name);
  } else {
    OLMA_FUZZ_CHECK(parsed == DataType::UNKNOWN);
  }
  return 0;
}
