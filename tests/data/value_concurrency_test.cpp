#include "olma/data/values.h"

#include <array>
#include <atomic>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "olma/core/message.h"
#include "olma/core/secret_string.h"

namespace {

using namespace Olma::Data;
using Ptr = DataValue::PtrConstType;

// Counts the nodes of a tree by kind, descending through its own work list.
class CountingWalker : public ValueVisitor {
 public:
  std::array<int, DataType::UNKNOWN + 1> counts{};

  void Walk(const Ptr& root) {
    pending_.push_back(root);
    while (!pending_.empty()) {
      const Ptr value = std::move(pending_.back());
      pending_.pop_back();
      if (value) value->AcceptVisitor(*this);
    }
  }

  void VisitVoid(std::shared_ptr<const VoidValue> value) override { Count(*value); }
  void VisitInteger(std::shared_ptr<const IntegerValue> value) override { Count(*value); }
  void VisitDouble(std::shared_ptr<const DoubleValue> value) override { Count(*value); }
  void VisitBoolean(std::shared_ptr<const BooleanValue> value) override { Count(*value); }
  void VisitBlob(std::shared_ptr<const BlobValue> value) override { Count(*value); }
  void VisitString(std::shared_ptr<const StringValue> value) override { Count(*value); }
  void VisitSecret(std::shared_ptr<const SecretValue> value) override { Count(*value); }
  void VisitListBool(std::shared_ptr<const ListValueBool> value) override { Count(*value); }
  void VisitListLong(std::shared_ptr<const ListValueLong> value) override { Count(*value); }
  void VisitListDouble(std::shared_ptr<const ListValueDouble> value) override { Count(*value); }
  void VisitListBlob(std::shared_ptr<const ListValueBlob> value) override { Count(*value); }
  void VisitListString(std::shared_ptr<const ListValueString> value) override { Count(*value); }
  void VisitListSecret(std::shared_ptr<const ListValueSecret> value) override { Count(*value); }
  void VisitOptional(std::shared_ptr<const OptionalValue> value) override {
    Count(*value);
    if (value->isSet()) pending_.push_back(value->value());
  }
  void VisitList(std::shared_ptr<const ListValue> value) override {
    Count(*value);
    pending_.insert(pending_.end(), value->begin(), value->end());
  }
  void VisitStruct(std::shared_ptr<const StructValue> value) override { CountFields(*value); }
  void VisitError(std::shared_ptr<const ErrorValue> value) override { CountFields(*value); }

 private:
  void Count(const DataValue& value) { ++counts[value.type()]; }
  void CountFields(const CompoundValue& value) {
    Count(value);
    for (const auto& field : value.fields()) pending_.push_back(field.second);
  }

  std::vector<Ptr> pending_;
};

// A tree with every kind of value, some sub-trees shared between several parents.
Ptr BuildTree() {
  auto shared = ListValueString::GetInstance();
  shared->assign({"a", "b"});
  auto root = StructValue::GetInstance("root");
  auto items = ListValue::GetInstance();
  for (int i = 0; i < 200; ++i) {
    auto item = StructValue::GetInstance("item");
    item->SetField("id", IntegerValue::GetInstance(i));
    item->SetField("ratio", DoubleValue::GetInstance(i / 4.0));
    item->SetField("flag", BooleanValue::GetInstance(i % 2 == 0));
    item->SetField("bytes", BlobValue::GetInstance(Olma::ByteVector{static_cast<std::uint8_t>(i), 0}));
    item->SetField("token", SecretValue::GetInstance(Olma::SecretString("pw")));
    item->SetField("maybe", i % 3 == 0 ? OptionalValue::GetInstance() : OptionalValue::GetInstance(shared));
    item->SetField("none", VoidValue::GetInstance());
    auto longs = ListValueLong::GetInstance();
    longs->assign({i, -i});
    item->SetField("longs", longs);
    items->push_back(item);
  }
  root->SetField("items", items);
  root->SetField("error",
                 ErrorValue::Create("failure", {Olma::Message<Olma::CoreTag>("olma.invalid.request")}));
  root->SetField("flags", ListValueBool::GetInstance());
  root->SetField("doubles", ListValueDouble::GetInstance());
  root->SetField("blobs", ListValueBlob::GetInstance());
  root->SetField("secrets", ListValueSecret::GetInstance());
  return root;
}

TEST(ValueConcurrency, ThreadsRenderVisitAndReleaseOneSharedTree) {
  Ptr tree = BuildTree();
  const std::string expected_text = tree->ToString();
  CountingWalker reference;
  reference.Walk(tree);

  constexpr int kThreads = 4;
  constexpr int kRounds = 20;
  std::atomic<int> ready{0};
  std::atomic<int> mismatches{0};
  std::vector<std::thread> threads;
  for (int t = 0; t < kThreads; ++t) {
    // Each thread owns references to the tree and to one of its sub-trees, and drops them
    // when done, racing the others to release the last reference.
    threads.emplace_back(
        [&, mine = tree, part = static_cast<const StructValue&>(*tree).fields().at("items")]() mutable {
          ++ready;
          while (ready.load() < kThreads) {
          }
          for (int round = 0; round < kRounds; ++round) {
            if (mine->ToString() != expected_text) ++mismatches;
            CountingWalker walker;
            walker.Walk(mine);
            if (walker.counts != reference.counts) ++mismatches;
          }
          mine.reset();
          part.reset();
        });
  }
  tree.reset();
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(mismatches.load(), 0);
  EXPECT_EQ(reference.counts[DataType::STRUCTURE], 1 + 200 + 1);
  EXPECT_EQ(reference.counts[DataType::OPTIONAL], 200);
  EXPECT_EQ(reference.counts[DataType::LIST_STRING], 133 + 1);
}

// One thread reads a sub-tree and drops its reference while another releases the tree
// that holds it: whichever is last frees the sub-tree, and the release that takes it
// apart must be ordered after the other thread's reads.
TEST(ValueConcurrency, ReleaseRacesAReaderOfASharedSubtree) {
  for (int round = 0; round < 1000; ++round) {
    auto root = StructValue::GetInstance("root");
    auto part = ListValue::GetInstance();
    for (int i = 0; i < 4; ++i) part->push_back(OptionalValue::GetInstance(IntegerValue::GetInstance(i)));
    root->SetField("part", part);
    std::atomic<bool> started{false};
    std::string seen;
    std::thread reader([&started, &seen, mine = Ptr(std::move(part))]() mutable {
      started = true;
      seen = mine->ToString();
      mine.reset();
    });
    while (!started.load()) {
    }
    // A varying delay moves the release across the reader's render and drop.
    for (volatile int spin = 0; spin < round % 200 * 100; spin = spin + 1) {
    }
    root.reset();
    reader.join();
    EXPECT_EQ(seen, "[ Optional< 0>, Optional< 1>, Optional< 2>, Optional< 3>, ] ");
  }
}

}  // namespace
