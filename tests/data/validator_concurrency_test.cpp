// Many threads validating the same shared definitions and values at once, in all four
// modes. Run under ThreadSanitizer: validation must only read the trees.
#include <atomic>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "olma/data/definitions.h"
#include "olma/data/validator.h"
#include "olma/data/values.h"

namespace {

using namespace Olma;
using namespace Olma::Data;

// An item with an enumeration, a union case and parts nested through a reference to the
// item itself, so that every kind of step runs while other threads walk the same nodes.
StructDefinition::PtrType ItemDefinition() {
  auto item = StructDefinition::GetInstance(
      "item",
      {{"colour", IsOneOfDefinition::GetInstance([](const std::string& text) { return text != "green"; })},
       {"kind", StringDefinition::GetInstance()},
       {"discount",
        UnionCaseDefinition::GetInstance(DoubleDefinition::GetInstance(), "kind",
                                         [](const std::string& kind) { return kind == "sale"; })}});
  item->SetField("parts", ListDefinition::GetInstance(StructRefDefinition::GetInstance(item)));
  return item;
}

DataValue::PtrConstType Item(const std::string& colour, bool sale, int depth) {
  auto item = StructValue::GetInstance("item");
  item->SetField("colour", StringValue::GetInstance(colour));
  item->SetField("kind", StringValue::GetInstance(sale ? "sale" : "plain"));
  if (sale) item->SetField("discount", OptionalValue::GetInstance(DoubleValue::GetInstance(0.1)));
  auto parts = ListValue::GetInstance();
  if (depth > 0) parts->push_back(Item("red", !sale, depth - 1));
  item->SetField("parts", parts);
  return item;
}

// The messages of validating `value` in all four modes, in that order.
std::vector<std::string> ValidateInAllModes(const DataDefinition::PtrConstType& definition,
                                            const DataValue::PtrConstType& value) {
  MessageList errors;
  DataValidator::Validate<LooseMatch, ValidatorModeStrict>(definition, value, errors);
  DataValidator::Validate<StrictMatch, ValidatorModeStrict>(definition, value, errors);
  DataValidator::Validate<LooseMatch, ValidatorModePermissive>(definition, value, errors);
  DataValidator::Validate<StrictMatch, ValidatorModePermissive>(definition, value, errors);
  std::vector<std::string> texts;
  for (const auto& message : errors) texts.push_back(message.id() + ": " + message.defaultMessage());
  return texts;
}

TEST(ValidatorConcurrency, ThreadsShareDefinitionsAndValues) {
  const auto item = ItemDefinition();  // also keeps the references' target alive
  const DataDefinition::PtrConstType definition = ListDefinition::GetInstance(item);
  auto valid = ListValue::GetInstance(), invalid = ListValue::GetInstance();
  invalid->push_back(StringValue::GetInstance("not an item"));
  for (int i = 0; i < 50; ++i) {
    valid->push_back(Item(i % 2 ? "red" : "blue", i % 3 == 0, i % 5));
    invalid->push_back(Item(i == 17 ? "green" : "red", i % 3 == 0, i % 5));
  }
  // In each mode: the element that is no item, then the unknown colour of item 17.
  const std::vector<std::string> expected = ValidateInAllModes(definition, invalid);
  ASSERT_EQ(expected.size(), 8u);
  ASSERT_TRUE(ValidateInAllModes(definition, valid).empty());

  std::atomic<int> wrong{0};
  std::atomic<bool> go{false};
  std::vector<std::thread> threads;
  for (int t = 0; t < 8; ++t) {
    threads.emplace_back([&]() {
      while (!go.load()) std::this_thread::yield();
      for (int round = 0; round < 40; ++round) {
        wrong += ValidateInAllModes(definition, invalid) != expected;
        wrong += !ValidateInAllModes(definition, valid).empty();
      }
    });
  }
  go = true;
  for (auto& thread : threads) thread.join();
  EXPECT_EQ(wrong.load(), 0);
}

}  // namespace
