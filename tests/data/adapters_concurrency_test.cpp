#include <string>

#include <gtest/gtest.h>

#include "data/tree_test_support.h"
#include "olma/data/introspection.h"
#include "olma/data/native_to_value.h"
#include "olma/data/validator.h"
#include "olma/data/value_to_native.h"

namespace Olma {
namespace Data {
namespace {

using namespace Testing;

// Introspection shares its leaf values (kind names, unset optionals) and the definition of
// the introspection structure between all callers; threads converting shared definitions at
// once must each get the same, intact result.
TEST(AdaptersConcurrency, ThreadsConvertAndRenderSharedDefinitionsAtOnce) {
  const Def shared = Node(ListD(OptD(StrD())));
  std::string expected;
  RawDefinitionAdapter::Adapt(shared, expected);
  const int wrong = RunTogether(4, 200, [&](int) {
    MessageList messages;
    Val value;
    Def back;
    std::string text;
    const bool converted = NativeToValueAdapter::Adapt(shared, value, messages) &&
                           ValueToNativeAdapter::Adapt(value, back, messages) &&
                           DataDefinition::Validate<StrictMatch, ValidatorModePermissive>(
                               DefinitionToValueHelper::IntrospectionDefinition(), value, messages);
    RawDefinitionAdapter::Adapt(back, text);
    return !converted || text != expected;
  });
  EXPECT_EQ(wrong, 0);
}

}  // namespace
}  // namespace Data
}  // namespace Olma
