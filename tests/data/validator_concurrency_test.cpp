#include <atomic>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include <gtest/gtest.h>
#include <boost/logic/tribool.hpp>

#include "olma/data/definitions.h"
#include "olma/data/validator.h"
#include "olma/data/values.h"

namespace {

using namespace Olma;
using namespace Olma::Data;

// A list of items with an enumeration, a union case and parts nested through a reference
// to the item itself, so that every kind of step runs while other threads walk the same
// nodes.
StructDefinition::PtrType ItemDefinition() {
  auto item = StructDefinition::GetInstance(
      "item",
      {{"colour", IsOneOfDefinition::GetInstance([](const std::string& text) { return text != "green"; })},
       {"kind", StringDefinition::GetInstance()},
       {"discount", UnionCaseDefinition::GetInstance(
                        DoubleDefinition::GetInstance(), "kind",
                        [](const std::string& kind) { return boost::logic::tribool(kind == "sale"); })}});
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

using Outcome = std::vector<std::pair<bool, std::vector<std::string>>>;

template <class Match, class Mode>
void ValidateInto(const DataDefinition::PtrConstType& definition, const DataValue::PtrConstType& value,
                  Outcome& outcome) {
  MessageList errors;
  const bool ok = DataValidator::Validate<Match, Mode>(definition, value, errors);
  std::vector<std::string> texts;
  for (const auto& message : errors) texts.push_back(message.id() + ": " + message.defaultMessage());
  outcome.emplace_back(ok, std::move(texts));
}

TEST(ValidatorConcurrency, ThreadsShareDefinitionsAndValues) {
  const auto item = ItemDefinition();  // also keeps the references' target alive
  const DataDefinition::PtrConstType definition = ListDefinition::GetInstance(item);
  auto valid = ListValue::GetInstance();
  auto invalid = ListValue::GetInstance();
  invalid->push_back(StringValue::GetInstance("not an item"));
  for (int i = 0; i < 50; ++i) {
    valid->push_back(Item(i % 2 ? "red" : "blue", i % 3 == 0, i % 5));
    invalid->push_back(Item(i == 17 ? "green" : "red", i % 3 == 0, i % 5));
  }
  const auto runAll = [&]() {
    Outcome outcome;
    for (const DataValue::PtrConstType& value :
         {DataValue::PtrConstType(valid), DataValue::PtrConstType(invalid)}) {
      ValidateInto<LooseMatch, ValidatorModeStrict>(definition, value, outcome);
      ValidateInto<StrictMatch, ValidatorModeStrict>(definition, value, outcome);
      ValidateInto<LooseMatch, ValidatorModePermissive>(definition, value, outcome);
      ValidateInto<StrictMatch, ValidatorModePermissive>(definition, value, outcome);
    }
    return outcome;
  };
  const Outcome expected = runAll();
  for (std::size_t i = 0; i < 4; ++i) {
    EXPECT_TRUE(expected[i].first);
    // The element that is no item, then the unknown colour of item 17.
    EXPECT_FALSE(expected[4 + i].first);
    EXPECT_EQ(expected[4 + i].second.size(), 2u);
  }

  std::atomic<int> differing{0};
  std::atomic<bool> go{false};
  std::vector<std::thread> threads;
  for (int t = 0; t < 8; ++t) {
    threads.emplace_back([&]() {
      while (!go.load()) std::this_thread::yield();
      for (int round = 0; round < 40; ++round) {
        if (runAll() != expected) differing.fetch_add(1);
      }
    });
  }
  go.store(true);
  for (auto& thread : threads) thread.join();
  EXPECT_EQ(differing.load(), 0);
}

}  // namespace
