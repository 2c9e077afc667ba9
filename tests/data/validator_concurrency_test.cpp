// Many threads validating the same shared definitions and values at once, in all four
// modes. Run under ThreadSanitizer: validation must only read the trees.
#include <string>

#include <gtest/gtest.h>

#include "data/tree_test_support.h"
#include "olma/data/definitions.h"
#include "olma/data/validator.h"
#include "olma/data/values.h"

namespace {

using namespace Olma;
using namespace Olma::Data;
using namespace Olma::Data::Testing;

// An item with an enumeration, a union case and parts nested through a reference to the
// item itself, so that every kind of step runs while other threads walk the same nodes.
StructDefinition::PtrType ItemDefinition() {
  auto item = StructDefinition::GetInstance(
      "item",
      {{"colour", IsOneOfDefinition::GetInstance([](const std::string& text) { return text != "green"; })},
       {"kind", StrD()},
       {"discount",
        UnionCaseDefinition::GetInstance(DoubleDefinition::GetInstance(), "kind",
                                         [](const std::string& kind) { return kind == "sale"; })}});
  item->SetField("parts", ListD(StructRefDefinition::GetInstance(item)));
  return item;
}

Val Item(const std::string& colour, bool sale, int depth) {
  return Of("item", {{"colour", Str(colour)},
                     {"kind", Str(sale ? "sale" : "plain")},
                     {"discount", sale ? Opt(DataValue::Create(0.1)) : Unset()},
                     {"parts", depth > 0 ? ListOf({Item("red", !sale, depth - 1)}) : ListOf({})}});
}

// The messages of validating `value` in all four modes, in that order.
Texts ValidateInAllModes(const Def& definition, const Val& value) {
  // The messages carry the outcome; the results only repeat whether there were any.
  MessageList errors;
  static_cast<void>(DataValidator::Validate<LooseMatch, ValidatorModeStrict>(definition, value, errors));
  static_cast<void>(DataValidator::Validate<StrictMatch, ValidatorModeStrict>(definition, value, errors));
  static_cast<void>(DataValidator::Validate<LooseMatch, ValidatorModePermissive>(definition, value, errors));
  static_cast<void>(DataValidator::Validate<StrictMatch, ValidatorModePermissive>(definition, value, errors));
  return Flatten(errors);
}

TEST(ValidatorConcurrency, ThreadsShareDefinitionsAndValues) {
  const auto item = ItemDefinition();  // also keeps the references' target alive
  const Def definition = ListD(item);
  auto valid = ListValue::GetInstance(), invalid = ListValue::GetInstance();
  invalid->push_back(Str("not an item"));
  for (int i = 0; i < 50; ++i) {
    valid->push_back(Item(i % 2 ? "red" : "blue", i % 3 == 0, i % 5));
    invalid->push_back(Item(i == 17 ? "green" : "red", i % 3 == 0, i % 5));
  }
  // In each mode: the element that is no item (3 texts), then the unknown colour of item 17 (2).
  const Texts expected = ValidateInAllModes(definition, invalid);
  ASSERT_EQ(expected.size(), 20u);
  ASSERT_TRUE(ValidateInAllModes(definition, valid).empty());
  EXPECT_EQ(RunTogether(8, 40,
                        [&](int) {
                          return (ValidateInAllModes(definition, invalid) != expected) +
                                 !ValidateInAllModes(definition, valid).empty();
                        }),
            0);
}

}  // namespace
