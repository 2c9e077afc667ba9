#include "olma/data/definitions.h"

#include <memory>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "data/tree_test_support.h"

namespace {

using namespace Olma::Data;
using Def = DataDefinition::PtrConstType;

// One node of every class, a reference back to the root, and `shared` on three paths.
StructDefinition::PtrType BuildTree(const Def& shared) {
  auto root = StructDefinition::GetInstance(
      "root", {{"void", VoidDefinition::GetInstance()},
               {"opaque", OpaqueDefinition::GetInstance()},
               {"numbers", ListDefinition::GetInstance(IntegerDefinition::GetInstance())},
               {"ratio", OptionalDefinition::GetInstance(DoubleDefinition::GetInstance())},
               {"flag", BooleanDefinition::GetInstance()},
               {"bytes", BlobDefinition::GetInstance()},
               {"password", SecretDefinition::GetInstance()},
               {"colour", IsOneOfDefinition::GetInstance([](const std::string& s) { return s == "red"; })},
               {"case", UnionCaseDefinition::GetInstance(shared, "colour", nullptr)},
               {"dynamic", DynamicStructureDefinition::GetInstance({{"names", shared}})},
               {"anyError", DynamicErrorDefinition::GetInstance()},
               {"failure", ErrorDefinition::GetInstance("failure", {{"detail", shared}})}});
  root->SetField("self", StructRefDefinition::GetInstance(root));
  return root;
}

// Half the threads hold the whole tree, half only the shared subtree; each renders and walks
// what it holds and then drops it. Whoever drops last frees the shared parts, and that must be
// ordered after the reads of the threads that dropped theirs before; the rounds vary who is last.
TEST(DefinitionConcurrency, ThreadsReadAndReleaseOneSharedTree) {
  for (int round = 0; round < 100; ++round) {
    Def shared =
        ListDefinition::GetInstance(OptionalDefinition::GetInstance(StringDefinition::GetInstance()));
    Def root = BuildTree(shared);
    const std::weak_ptr<const DataDefinition> watch = shared;
    std::vector<Def> held{root, shared, root, shared};
    root.reset();
    shared.reset();
    EXPECT_EQ(
        Olma::Data::Testing::ReadAndReleaseTogether<Olma::Data::Testing::DefinitionRecorder>(std::move(held)),
        0);
    EXPECT_TRUE(watch.expired());
  }
}

}  // namespace
