#include "olma/invocation/method_definition.h"

#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "olma/data/definitions.h"

namespace {

using Olma::Core::InterfaceDefinition;
using Olma::Core::InterfaceIdentifier;
using Olma::Core::MethodDefinition;
using Olma::Core::MethodIdentifier;
using Olma::Core::MethodIdentifierSet;
using namespace Olma::Data;

TEST(MethodDefinition, RendersIdentifierInputAndOutputWithBlankBeforeEachLineBreak) {
  const auto input = StructDefinition::GetInstance("in", {{"x", IntegerDefinition::GetInstance()}});
  const auto output = ListDefinition::GetInstance(StringDefinition::GetInstance());
  const auto method = MethodDefinition::GetInstance(MethodIdentifier::GetInstance("ping"), input, output, {});
  EXPECT_EQ(method->ToString(), ".ping\nInput: " + input->ToString() + " \nOutput: LIST[STRING] \n");
}

TEST(MethodDefinition, KeepsDeclaredErrorsInOrderAndSharesDefinitions) {
  const auto notFound = ErrorDefinition::GetInstance("com.acme.not_found");
  const auto denied = ErrorDefinition::GetInstance("com.acme.denied");
  const auto input = StructDefinition::GetInstance("in", {});
  const auto output = VoidDefinition::GetInstance();
  const auto method = MethodDefinition::GetInstance(MethodIdentifier::GetInstance("com.acme.get"), input,
                                                    output, {denied, notFound});
  EXPECT_EQ(method->identifier()->ToString(), "com.acme.get");
  EXPECT_EQ(method->input(), input);
  EXPECT_EQ(method->output(), output);
  EXPECT_THAT(method->errors(), testing::ElementsAre(denied, notFound));
}

TEST(MethodDefinition, RendersMissingPartsAsUnset) {
  const auto method = MethodDefinition::GetInstance(nullptr, nullptr, nullptr, {});
  EXPECT_EQ(method->ToString(), "<unset>\nInput: <unset> \nOutput: <unset> \n");
}

TEST(InterfaceDefinition, HoldsAnOrderedCopyOfTheMethods) {
  const auto id = InterfaceIdentifier::GetInstance("com.acme");
  MethodIdentifierSet methods{MethodIdentifier::GetInstance(id, "zap"),
                              MethodIdentifier::GetInstance(id, "add")};
  const auto definition = InterfaceDefinition::GetInstance(id, methods);
  methods.insert(MethodIdentifier::GetInstance(id, "late"));

  EXPECT_EQ(definition->identifier(), id);
  std::vector<std::string> names;
  for (const auto& method : definition->methods()) names.push_back(method->name());
  EXPECT_THAT(names, testing::ElementsAre("add", "zap"));
}

}  // namespace
