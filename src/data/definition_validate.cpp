// DataDefinition::Validate: the definition-side spelling of DataValidator::Validate.
#include "olma/data/definition.h"

#include "olma/data/validator.h"

namespace Olma {
namespace Data {

namespace {

// Which validator each combination runs. Callers of
// DataDefinition::Validate<LooseMatch, ValidatorModeStrict> get the permissive kind rules:
// existing users rely on that lenient pairing, so it is kept on purpose. The other three
// run their own combination.
template <class Match, class Mode>
struct ValidatorFor {
  using MatchType = Match;
  using ModeType = Mode;
};

template <>
struct ValidatorFor<LooseMatch, ValidatorModeStrict> {
  using MatchType = LooseMatch;
  using ModeType = ValidatorModePermissive;
};

}  // namespace

template <class Match, class Mode>
bool DataDefinition::Validate(const PtrConstType& definition, const std::shared_ptr<const DataValue>& value,
                              MessageList& errors) {
  using Target = ValidatorFor<Match, Mode>;
  return DataValidator::Validate<typename Target::MatchType, typename Target::ModeType>(definition, value,
                                                                                        errors);
}

template OLMA_API bool DataDefinition::Validate<LooseMatch, ValidatorModeStrict>(
    const DataDefinition::PtrConstType&, const std::shared_ptr<const DataValue>&, MessageList&);
template OLMA_API bool DataDefinition::Validate<StrictMatch, ValidatorModeStrict>(
    const DataDefinition::PtrConstType&, const std::shared_ptr<const DataValue>&, MessageList&);
template OLMA_API bool DataDefinition::Validate<LooseMatch, ValidatorModePermissive>(
    const DataDefinition::PtrConstType&, const std::shared_ptr<const DataValue>&, MessageList&);
template OLMA_API bool DataDefinition::Validate<StrictMatch, ValidatorModePermissive>(
    const DataDefinition::PtrConstType&, const std::shared_ptr<const DataValue>&, MessageList&);

}  // namespace Data
}  // namespace Olma
