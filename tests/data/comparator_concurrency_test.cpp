// Many threads comparing, converting and looking up in the same shared trees at once. Run
// under ThreadSanitizer: the walks must only read the trees.
#include <atomic>
#include <memory>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "olma/core/message.h"
#include "olma/data/comparator.h"
#include "olma/data/definitions.h"
#include "olma/data/value_access.h"
#include "olma/data/values.h"

namespace {

using namespace Olma::Data;
using Olma::MessageList;
using Ptr = DataValue::PtrConstType;

constexpr int kThreads = 8;
constexpr int kRounds = 40;

// A document of `records` structures; `shared_tags` hangs under every record, so that
// both documents built with it share nodes as well as hold equal ones.
Ptr Document(int records, const Ptr& shared_tags, long long last_price) {
  ListValue::PtrType list = ListValue::GetInstance();
  for (int i = 0; i < records; ++i) {
    StructValue::PtrType owner = StructValue::GetInstance("owner");
    owner->SetField("first", StringValue::GetInstance("Ada"));
    owner->SetField("last", StringValue::GetInstance("Lovelace"));
    StructValue::PtrType record = StructValue::GetInstance("record");
    record->SetField("id", IntegerValue::GetInstance(i));
    record->SetField("price", DoubleValue::GetInstance(i == records - 1 ? last_price : 2.5));
    record->SetField("tags", shared_tags);
    record->SetField("owner", std::move(owner));
    record->SetField("note", i % 2 == 0 ? OptionalValue::GetInstance(StringValue::GetInstance("n"))
                                        : OptionalValue::GetInstance());
    list->push_back(std::move(record));
  }
  StructValue::PtrType document = StructValue::GetInstance("document");
  document->SetField("records", std::move(list));
  return document;
}

DataDefinition::PtrConstType RecordDefinition() {
  StructDefinition::PtrType node = StructDefinition::GetInstance("record", {});
  node->SetField("id", IntegerDefinition::GetInstance());
  node->SetField("next", OptionalDefinition::GetInstance(StructRefDefinition::GetInstance(node)));
  node->SetField("tags", ListDefinition::GetInstance(StringDefinition::GetInstance()));
  return node;
}

template <class Work>
void RunTogether(Work work) {
  std::atomic<bool> go{false};
  std::vector<std::thread> threads;
  for (int t = 0; t < kThreads; ++t) {
    threads.emplace_back([&] {
      while (!go.load(std::memory_order_acquire)) std::this_thread::yield();
      work();
    });
  }
  go.store(true, std::memory_order_release);
  for (std::thread& thread : threads) thread.join();
}

TEST(ComparatorConcurrency, ThreadsShareTreesWhileComparingConvertingAndLookingUp) {
  ListValueString::PtrType tags = ListValueString::GetInstance();
  tags->assign({"a", "b", "c"});
  const Ptr a = Document(50, tags, 7), b = Document(50, tags, 7), different = Document(50, tags, 8);
  const DataDefinition::PtrConstType record = RecordDefinition(), other_record = RecordDefinition();

  std::atomic<int> wrong{0};
  RunTogether([&] {
    for (int round = 0; round < kRounds; ++round) {
      MessageList messages;
      if (!ValueComparator<CompModeStrict>::Compare(a, b, messages)) ++wrong;
      if (!ValueComparator<CompModeLoose>::Compare(b, a, messages)) ++wrong;
      if (ValueComparator<CompModeStrict>::Compare(a, different, messages)) ++wrong;
      if (!DataDefinition::Compare(record, other_record, messages)) ++wrong;
      if (messages.size() != 1 || messages.front().id() != "olma.data.comparator.values.not.equal") ++wrong;

      const Ptr first = DataValueHelpers::GetValueByPath("records", a, messages);
      const Ptr name = first ? DataValueHelpers::GetValueByPath(
                                   "owner.first", std::static_pointer_cast<const ListValue>(first)->front())
                             : nullptr;
      std::string text;
      if (!DataValue::Value<std::string>(name, text, messages) || text != "Ada") ++wrong;
    }
  });
  EXPECT_EQ(wrong.load(), 0);
}

}  // namespace
