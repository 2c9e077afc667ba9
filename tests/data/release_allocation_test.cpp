// Freeing trees must not allocate: destructors cannot report a failure, so an allocation
// made while memory is exhausted would end the process. This test binary replaces the
// global allocation functions with counting ones (over malloc and free, so the sanitizers
// still see every block) and counts what the last release of a tree asks for.
#include <cstddef>
#include <cstdlib>
#include <memory>
#include <new>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "data/tree_test_support.h"
#include "olma/data/definitions.h"
#include "olma/data/values.h"
#include "olma/l10n/message_builder.h"

namespace {

// Allocations made on this thread while counting is on.
thread_local bool counting = false;
thread_local std::size_t allocations = 0;
// Allocations on this thread fail while this is on.
thread_local bool exhausted = false;

void* Allocate(std::size_t size) {
  if (exhausted) return nullptr;
  if (counting) ++allocations;
  return std::malloc(size == 0 ? 1 : size);
}

}  // namespace

void* operator new(std::size_t size) {
  if (void* block = Allocate(size)) return block;
  throw std::bad_alloc();
}
void* operator new[](std::size_t size) {
  if (void* block = Allocate(size)) return block;
  throw std::bad_alloc();
}
void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
  return Allocate(size);
}
void* operator new[](std::size_t size, const std::nothrow_t&) noexcept {
  return Allocate(size);
}
void operator delete(void* block) noexcept {
  std::free(block);
}
void operator delete[](void* block) noexcept {
  std::free(block);
}
void operator delete(void* block, std::size_t) noexcept {
  std::free(block);
}
void operator delete[](void* block, std::size_t) noexcept {
  std::free(block);
}
void operator delete(void* block, const std::nothrow_t&) noexcept {
  std::free(block);
}
void operator delete[](void* block, const std::nothrow_t&) noexcept {
  std::free(block);
}

namespace {

using namespace Olma::Data;
using namespace Olma::Data::Testing;

// The allocations made by dropping `last`, the tree's only owner.
template <class Pointer>
std::size_t AllocationsToFree(Pointer last) {
  allocations = 0;
  counting = true;
  last.reset();
  counting = false;
  return allocations;
}

TEST(TreeRelease, FreeingValuesAndDefinitionsAllocatesNothing) {
  // Every composite kind, nested, wide and deep, with a part shared by two parents.
  const Val shared = ListOf({Int(1), Opt(Str("s"))});
  Val value = ListOf({Of("a", {{"x", shared}, {"y", Nested(Int(2), "osl", 30000)}}),
                      Of<ErrorValue>("e", {{"list", shared}, {"unset", Unset()}}),
                      Opt(Nested(Str("t"), "l", 30000))});
  EXPECT_EQ(AllocationsToFree(std::move(value)), 0u);

  const Def sharedDefinition = ListD(OptD(StrD()));
  auto node = StructDefinition::GetInstance("node", {{"value", IntD()}, {"shared", sharedDefinition}});
  EXPECT_TRUE(node->SetField("next", OptD(StructRefDefinition::GetInstance(node))));
  Def definition =
      StructD("root", {{"deep", Nested(IntD(), "ol", 30000)},
                       {"node", node},
                       {"dynamic", DynamicStructureDefinition::GetInstance({{"s", sharedDefinition}})},
                       {"error", ErrorDefinition::GetInstance("e", {{"s", sharedDefinition}})},
                       {"case", UnionCaseDefinition::GetInstance(ListD(IntD()), "tag", nullptr)},
                       {"any", DynamicErrorDefinition::GetInstance({{"n", node}})}});
  node.reset();
  EXPECT_EQ(AllocationsToFree(std::move(definition)), 0u);
  EXPECT_EQ(sharedDefinition->ToString(), "LIST[OPTIONAL<STRING>]");
  EXPECT_EQ(static_cast<const ListValue&>(*shared).size(), 2u);
}

// Nested message builders are released with a work list. With no memory left for it they
// must still all be freed (the leak check would see any that are not) and the process
// must go on.
TEST(TreeRelease, NestedMessageBuildersAreFreedWhenMemoryIsExhausted) {
  using Builder = Olma::PositionalMessageBuilder;
  auto chain = std::make_shared<const Builder>("leaf", "the end");
  const std::weak_ptr<const Builder> leaf = chain;
  for (int level = 0; level < 2000; ++level) {
    chain = std::make_shared<const Builder>("level", "{1}",
                                            std::vector<Olma::MsgArgument>{Olma::MsgArgument(chain)});
  }
  const std::weak_ptr<const Builder> root = chain;
  exhausted = true;
  chain.reset();
  exhausted = false;
  EXPECT_TRUE(root.expired());
  EXPECT_TRUE(leaf.expired());
}

}  // namespace
