// Value access by dotted path: a decoded value tree and any path.
#include <cstdint>
#include <string>

#include "fuzz/fuzz_input.h"
#include "fuzz/tree_decoder.h"
#include "olma/data/value_access.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using Olma::Data::DataValueHelpers::GetValueByPath;
  OlmaFuzz::Input input(data, size);
  OlmaFuzz::TreeDecoder decoder(input);
  const auto value = decoder.DecodeValue();
  const std::string path(input.Rest());

  Olma::MessageList messages;
  const auto found = GetValueByPath(path, value, messages);
  OLMA_FUZZ_CHECK(messages.size() <= 1);
  OLMA_FUZZ_CHECK(messages.empty() ||
                  (!found && messages.front().id() == "olma.data.getvaluebypath.list.not.last"));
  OLMA_FUZZ_CHECK(GetValueByPath(path, value) == found);
  if (path.empty()) OLMA_FUZZ_CHECK(found == value);
  return 0;
}
