#include "olma/data/definitions.h"

#include <array>
#include <atomic>
#include <cstddef>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using namespace Olma::Data;

constexpr int kThreads = 4;

// Starts all threads together so that their work overlaps as much as possible.
template <class Work>
void RunTogether(Work work) {
  std::atomic<int> ready{0};
  std::vector<std::thread> threads;
  for (int t = 0; t < kThreads; ++t) {
    threads.emplace_back([&ready, &work, t] {
      ready.fetch_add(1);
      while (ready.load() < kThreads) std::this_thread::yield();
      work(t);
    });
  }
  for (std::thread& thread : threads) thread.join();
}

// Counts the nodes of a tree per slot, walking it with its own work list.
class CountingVisitor final : public DefinitionVisitor {
 public:
  std::array<int, 17> counts{};

  void Walk(const DataDefinition::PtrConstType& root) {
    pending_.push_back(root);
    while (!pending_.empty()) {
      DataDefinition::PtrConstType next = std::move(pending_.back());
      pending_.pop_back();
      if (next) next->AcceptVisitor(*this);
    }
  }

  void VisitVoid(const std::shared_ptr<const VoidDefinition>&) override { ++counts[0]; }
  void VisitOpaque(const std::shared_ptr<const OpaqueDefinition>&) override { ++counts[1]; }
  void VisitDynamicStructure(const std::shared_ptr<const DynamicStructureDefinition>& d) override {
    ++counts[2];
    Fields(d->fields());
  }
  void VisitDynamicError(const std::shared_ptr<const DynamicErrorDefinition>& d) override {
    ++counts[3];
    Fields(d->fields());
  }
  void VisitInteger(const std::shared_ptr<const IntegerDefinition>&) override { ++counts[4]; }
  void VisitDouble(const std::shared_ptr<const DoubleDefinition>&) override { ++counts[5]; }
  void VisitBoolean(const std::shared_ptr<const BooleanDefinition>&) override { ++counts[6]; }
  void VisitBlob(const std::shared_ptr<const BlobDefinition>&) override { ++counts[7]; }
  void VisitString(const std::shared_ptr<const StringDefinition>&) override { ++counts[8]; }
  void VisitSecret(const std::shared_ptr<const SecretDefinition>&) override { ++counts[9]; }
  void VisitError(const std::shared_ptr<const ErrorDefinition>& d) override {
    ++counts[10];
    Fields(d->fields());
  }
  void VisitOptional(const std::shared_ptr<const OptionalDefinition>& d) override {
    ++counts[11];
    pending_.push_back(d->element());
  }
  void VisitList(const std::shared_ptr<const ListDefinition>& d) override {
    ++counts[12];
    pending_.push_back(d->element());
  }
  void VisitStruct(const std::shared_ptr<const StructDefinition>& d) override {
    ++counts[13];
    Fields(d->fields());
  }
  void VisitStructRef(const std::shared_ptr<const StructRefDefinition>&) override { ++counts[14]; }
  void VisitIsOneOf(const std::shared_ptr<const IsOneOfDefinition>&) override { ++counts[15]; }
  void VisitUnionCase(const std::shared_ptr<const UnionCaseDefinition>& d) override {
    ++counts[16];
    pending_.push_back(d->element());
  }

 private:
  void Fields(const std::optional<DataDefinition::FieldMap>& fields) {
    if (!fields) return;
    for (const auto& field : *fields) pending_.push_back(field.second);
  }

  std::vector<DataDefinition::PtrConstType> pending_;
};

// One node of every class, a reference back to the root, and a shared subtree reached
// along two paths.
StructDefinition::PtrType BuildTree() {
  auto shared = ListDefinition::GetInstance(OptionalDefinition::GetInstance(StringDefinition::GetInstance()));
  auto root = StructDefinition::GetInstance(
      "root", {{"void", VoidDefinition::GetInstance()},
               {"opaque", OpaqueDefinition::GetInstance()},
               {"numbers", ListDefinition::GetInstance(IntegerDefinition::GetInstance())},
               {"ratio", OptionalDefinition::GetInstance(DoubleDefinition::GetInstance())},
               {"flag", BooleanDefinition::GetInstance()},
               {"bytes", BlobDefinition::GetInstance()},
               {"password", SecretDefinition::GetInstance()},
               {"colour", IsOneOfDefinition::GetInstance([](const std::string& s) { return s == "red"; })},
               {"case", UnionCaseDefinition::GetInstance(
                            shared, "colour",
                            [](const std::string& s) { return boost::logic::tribool(s == "red"); })},
               {"dynamic", DynamicStructureDefinition::GetInstance({{"names", shared}})},
               {"anyError", DynamicErrorDefinition::GetInstance()},
               {"failure", ErrorDefinition::GetInstance("failure", {{"detail", shared}})}});
  root->SetField("self", StructRefDefinition::GetInstance(root));
  return root;
}

TEST(DefinitionConcurrency, ThreadsRenderAndVisitOneSharedTree) {
  const StructDefinition::PtrConstType root = BuildTree();
  const std::string expected = root->ToString();
  CountingVisitor reference;
  reference.Walk(root);
  const std::string missingText = "Missing fields: nope, " + expected;

  std::atomic<int> failures{0};
  RunTogether([&](int) {
    for (int i = 0; i < 50; ++i) {
      if (root->ToString() != expected) ++failures;
      CountingVisitor visitor;
      visitor.Walk(root);
      if (visitor.counts != reference.counts) ++failures;
      Olma::MessageList messages;
      if (root->field("nope", messages) != nullptr || messages.size() != 1 ||
          messages.front().defaultMessage() != missingText)
        ++failures;
      const auto& self = static_cast<const StructRefDefinition&>(*root->fields()->at("self"));
      if (self.target() != root) ++failures;
      const auto& colour = static_cast<const IsOneOfDefinition&>(*root->fields()->at("colour"));
      if (!colour.Check("red") || colour.Check("blue")) ++failures;
    }
  });
  EXPECT_EQ(failures.load(), 0);
  EXPECT_THAT(reference.counts, testing::Each(testing::Ge(1)));
}

// Each thread owns a chain on top of one common subtree, renders it, and drops it while the
// others drop theirs: whichever thread releases the common part last frees it, once.
void ReleaseChainsSharingOneSubtree() {
  DataDefinition::PtrConstType common = IntegerDefinition::GetInstance();
  for (int i = 0; i < 2000; ++i) common = OptionalDefinition::GetInstance(std::move(common));
  const std::weak_ptr<const DataDefinition> watch = common;

  std::vector<DataDefinition::PtrConstType> chains;
  for (int t = 0; t < kThreads; ++t) {
    DataDefinition::PtrConstType chain = common;
    for (int i = 0; i < 2000; ++i) {
      chain = (i % 2 == 0) ? DataDefinition::PtrConstType(ListDefinition::GetInstance(std::move(chain)))
                           : StructDefinition::GetInstance("s", {{"f", std::move(chain)}});
    }
    chains.push_back(std::move(chain));
  }
  common.reset();

  std::atomic<std::size_t> rendered{0};
  RunTogether([&](int t) {
    rendered += chains[t]->ToString().size();
    chains[t].reset();
  });
  EXPECT_GT(rendered.load(), 0u);
  EXPECT_TRUE(watch.expired());
}

TEST(DefinitionConcurrency, ThreadsReleaseChainsSharingOneSubtree) {
  for (int round = 0; round < 10; ++round) {
    SCOPED_TRACE(round);
    ReleaseChainsSharingOneSubtree();
  }
}

}  // namespace
