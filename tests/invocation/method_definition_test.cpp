#include "olma/invocation/method_definition.h"

#include <gtest/gtest.h>

#include "olma/data/definitions.h"

namespace {

using namespace Olma::Core;

TEST(MethodDefinition, RendersWithABlankBeforeEachLineBreak) {
  using namespace Olma::Data;
  const auto input = StructDefinition::GetInstance("in", {{"x", IntegerDefinition::GetInstance()}});
  const auto output = ListDefinition::GetInstance(StringDefinition::GetInstance());
  EXPECT_EQ(
      MethodDefinition::GetInstance(MethodIdentifier::GetInstance("ping"), input, output, {})->ToString(),
      ".ping\nInput: " + input->ToString() + " \nOutput: LIST[STRING] \n");
  EXPECT_EQ(MethodDefinition::GetInstance(nullptr, nullptr, nullptr, {})->ToString(),
            "<unset>\nInput: <unset> \nOutput: <unset> \n");
}

}  // namespace
