// The validator in its four modes and both comparators on a decoded definition and value.
// Each walk must answer the same twice, and a value or definition compared with itself is
// equal.
#include <cstdint>
#include <string>

#include "fuzz/fuzz_input.h"
#include "fuzz/tree_decoder.h"
#include "olma/data/comparator.h"
#include "olma/data/validator.h"

namespace {

using Olma::MessageList;
using namespace Olma::Data;

std::string Ids(const MessageList& messages) {
  std::string ids;
  for (const auto& message : messages) ids.append(message.id()).push_back('\n');
  return ids;
}

template <class Match, class Mode>
void CheckValidate(const DataDefinition::PtrConstType& definition, const DataValue::PtrConstType& value) {
  MessageList first, second;
  const bool valid = DataValidator::Validate<Match, Mode>(definition, value, first);
  const bool again = DataValidator::Validate<Match, Mode>(definition, value, second);
  OLMA_FUZZ_CHECK(again == valid);
  OLMA_FUZZ_CHECK(valid == first.empty() || (!definition != !value && first.empty()));
  OLMA_FUZZ_CHECK(Ids(first) == Ids(second));
}

template <class Mode>
void CheckSelfComparison(const DataValue::PtrConstType& value, const DataValue::PtrConstType& other) {
  MessageList messages;
  OLMA_FUZZ_CHECK(ValueComparator<Mode>::Compare(value, value, messages) && messages.empty());
  MessageList first, second;
  const bool equal = ValueComparator<Mode>::Compare(value, other, first);
  OLMA_FUZZ_CHECK(ValueComparator<Mode>::Compare(value, other, second) == equal && Ids(first) == Ids(second));
  OLMA_FUZZ_CHECK(equal == first.empty());
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  OlmaFuzz::Input input(data, size);
  OlmaFuzz::TreeDecoder decoder(input);
  const auto definition = decoder.DecodeDefinition();
  const auto value = decoder.DecodeValue();
  const auto other = decoder.DecodeValue();

  CheckValidate<LooseMatch, ValidatorModeStrict>(definition, value);
  CheckValidate<StrictMatch, ValidatorModeStrict>(definition, value);
  CheckValidate<LooseMatch, ValidatorModePermissive>(definition, value);
  CheckValidate<StrictMatch, ValidatorModePermissive>(definition, value);

  CheckSelfComparison<CompModeStrict>(value, other);
  CheckSelfComparison<CompModeLoose>(value, other);

  MessageList messages;
  OLMA_FUZZ_CHECK(DefinitionComparator::Compare(definition, definition, messages) && messages.empty());
  return 0;
}
