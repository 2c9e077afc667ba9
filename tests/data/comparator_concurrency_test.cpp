// Many threads comparing, converting and looking up in the same shared trees at once. Run
// under ThreadSanitizer: the walks must only read the trees.
#include <atomic>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "olma/data/comparator.h"
#include "olma/data/definitions.h"
#include "olma/data/value_access.h"
#include "olma/data/values.h"

namespace {

using namespace Olma::Data;
using Ptr = DataValue::PtrConstType;

// A list of records; `tags` hangs under every record of every document, so documents
// built with it share nodes as well as hold equal ones.
Ptr Document(const Ptr& tags, double last_price) {
  ListValue::PtrType records = ListValue::GetInstance();
  for (int i = 0; i < 50; ++i) {
    StructValue::PtrType owner = StructValue::GetInstance("owner"),
                         record = StructValue::GetInstance("record");
    owner->SetField("first", StringValue::GetInstance("Ada"));
    record->SetField("price", DoubleValue::GetInstance(i == 49 ? last_price : 2.5));
    record->SetField("tags", tags);
    record->SetField("owner", owner);
    record->SetField("note", OptionalValue::GetInstance());
    records->push_back(record);
  }
  StructValue::PtrType document = StructValue::GetInstance("document");
  document->SetField("records", records);
  return document;
}

DataDefinition::PtrConstType Recursive() {
  StructDefinition::PtrType node =
      StructDefinition::GetInstance("node", {{"id", IntegerDefinition::GetInstance()}});
  node->SetField("next", OptionalDefinition::GetInstance(StructRefDefinition::GetInstance(node)));
  return node;
}

TEST(ComparatorConcurrency, ThreadsShareTreesWhileComparingConvertingAndLookingUp) {
  ListValueString::PtrType tags = ListValueString::GetInstance();
  tags->assign({"a", "b", "c"});
  const Ptr a = Document(tags, 7), b = Document(tags, 7), different = Document(tags, 8);
  const DataDefinition::PtrConstType node = Recursive(), other_node = Recursive();

  std::atomic<bool> go{false};
  std::atomic<int> wrong{0};
  std::vector<std::thread> threads;
  for (int t = 0; t < 8; ++t) {
    threads.emplace_back([&] {
      while (!go.load()) std::this_thread::yield();
      for (int round = 0; round < 40; ++round) {
        Olma::MessageList messages;
        wrong += !ValueComparator<CompModeStrict>::Compare(a, b, messages);
        wrong += !ValueComparator<CompModeLoose>::Compare(b, a, messages);
        wrong += ValueComparator<CompModeStrict>::Compare(a, different, messages);
        wrong += !DataDefinition::Compare(node, other_node, messages);
        wrong += messages.size() != 1 || messages.front().id() != "olma.data.comparator.values.not.equal";
        const auto records =
            std::static_pointer_cast<const ListValue>(DataValueHelpers::GetValueByPath("records", a));
        std::string first;
        wrong += !DataValue::Value<std::string>(
                     DataValueHelpers::GetValueByPath(".owner.first", records->back()), first, messages) ||
                 first != "Ada";
      }
    });
  }
  go = true;
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(wrong.load(), 0);
}

}  // namespace
