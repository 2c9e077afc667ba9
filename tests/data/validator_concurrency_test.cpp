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

// A catalogue of items: enumerations, a union case, a recursive reference and nested
// lists, so that every kind of step runs while other threads walk the same nodes.
struct Catalogue {
  StructDefinition::PtrType item;  // keeps the target of the references alive
  DataDefinition::PtrConstType definition;
  DataValue::PtrConstType valid;
  DataValue::PtrConstType invalid;
};

Catalogue MakeCatalogue() {
  Catalogue c;
  const auto colour =
      IsOneOfDefinition::GetInstance([](const std::string& text) { return text == "red" || text == "blue"; });
  const auto discountCase =
      UnionCaseDefinition::GetInstance(DoubleDefinition::GetInstance(), "kind", [](const std::string& kind) {
        return kind == "sale" ? boost::logic::tribool(true) : boost::logic::tribool(false);
      });
  c.item = StructDefinition::GetInstance(
      "item", {{"id", IntegerDefinition::GetInstance()},
               {"colour", colour},
               {"kind", StringDefinition::GetInstance()},
               {"discount", discountCase},
               {"tags", ListDefinition::GetInstance(StringDefinition::GetInstance())}});
  c.item->SetField("parts", ListDefinition::GetInstance(StructRefDefinition::GetInstance(c.item)));
  c.definition = ListDefinition::GetInstance(c.item);

  const auto makeItem = [](long long id, const std::string& colourText, bool sale, int depth) {
    DataValue::PtrConstType parts = ListValue::GetInstance();
    for (int level = 0; level < depth; ++level) {
      auto part = StructValue::GetInstance("item");
      part->SetField("id", IntegerValue::GetInstance(level));
      part->SetField("colour", StringValue::GetInstance("blue"));
      part->SetField("kind", StringValue::GetInstance("plain"));
      part->SetField("tags", ListValue::GetInstance());
      part->SetField("parts", parts);
      auto list = ListValue::GetInstance();
      list->push_back(part);
      parts = list;
    }
    auto item = StructValue::GetInstance("item");
    item->SetField("id", IntegerValue::GetInstance(id));
    item->SetField("colour", StringValue::GetInstance(colourText));
    item->SetField("kind", StringValue::GetInstance(sale ? "sale" : "plain"));
    if (sale) item->SetField("discount", OptionalValue::GetInstance(DoubleValue::GetInstance(0.1)));
    auto tags = ListValue::GetInstance();
    tags->push_back(StringValue::GetInstance("a"));
    tags->push_back(StringValue::GetInstance("b"));
    item->SetField("tags", tags);
    item->SetField("parts", parts);
    return item;
  };
  auto valid = ListValue::GetInstance();
  auto invalid = ListValue::GetInstance();
  for (int i = 0; i < 50; ++i) {
    valid->push_back(makeItem(i, i % 2 ? "red" : "blue", i % 3 == 0, i % 5));
    invalid->push_back(makeItem(i, i == 17 ? "green" : "red", i % 3 == 0, i % 5));
  }
  invalid->push_front(StringValue::GetInstance("not an item"));
  c.valid = valid;
  c.invalid = invalid;
  return c;
}

std::vector<std::string> Texts(const MessageList& messages) {
  std::vector<std::string> texts;
  for (const auto& message : messages) texts.push_back(message.id() + ": " + message.defaultMessage());
  return texts;
}

template <class Match, class Mode>
std::pair<bool, std::vector<std::string>> ValidateOnce(const Catalogue& c,
                                                       const DataValue::PtrConstType& value) {
  MessageList errors;
  const bool ok = DataValidator::Validate<Match, Mode>(c.definition, value, errors);
  return {ok, Texts(errors)};
}

TEST(ValidatorConcurrency, ThreadsShareDefinitionsAndValues) {
  const Catalogue catalogue = MakeCatalogue();
  using Outcome = std::pair<bool, std::vector<std::string>>;
  const auto runAll = [&catalogue]() {
    std::vector<Outcome> outcomes;
    for (const auto& value : {catalogue.valid, catalogue.invalid}) {
      outcomes.push_back(ValidateOnce<LooseMatch, ValidatorModeStrict>(catalogue, value));
      outcomes.push_back(ValidateOnce<StrictMatch, ValidatorModeStrict>(catalogue, value));
      outcomes.push_back(ValidateOnce<LooseMatch, ValidatorModePermissive>(catalogue, value));
      outcomes.push_back(ValidateOnce<StrictMatch, ValidatorModePermissive>(catalogue, value));
    }
    return outcomes;
  };
  const std::vector<Outcome> expected = runAll();
  for (std::size_t i = 0; i < 4; ++i) {
    EXPECT_TRUE(expected[i].first);
    EXPECT_FALSE(expected[4 + i].first);
    // The item that is no structure, then the unknown colour of item 17.
    EXPECT_EQ(expected[4 + i].second.size(), 2u);
  }

  constexpr int kThreads = 8;
  constexpr int kRounds = 40;
  std::atomic<int> differing{0};
  std::atomic<bool> go{false};
  std::vector<std::thread> threads;
  for (int t = 0; t < kThreads; ++t) {
    threads.emplace_back([&]() {
      while (!go.load()) std::this_thread::yield();
      for (int round = 0; round < kRounds; ++round) {
        if (runAll() != expected) differing.fetch_add(1);
      }
    });
  }
  go.store(true);
  for (auto& thread : threads) thread.join();
  EXPECT_EQ(differing.load(), 0);
}

}  // namespace
