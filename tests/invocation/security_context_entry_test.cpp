#include <stdexcept>
#include <string>
#include <utility>

#include <gtest/gtest.h>

#include "olma/invocation/execution_context.h"

namespace {

using namespace Olma::Core;

// A chain of `depth` nested groups under the key "n", alternating between the plain and the
// override slot, ending in the string `leaf`. Returns the innermost entry through `last`.
SecurityContextEntry Chain(int depth, const std::string& leaf, SecurityContextEntry** last = nullptr) {
  SecurityContextEntry root;
  SecurityContextEntry* node = &root;
  for (int i = 0; i < depth; ++i) {
    SecurityContextWrappedEntry& child = node->entries["n"];
    node = i % 2 == 0 ? &child.value : &child.override.emplace();
  }
  *node = SecurityContextEntry(leaf);
  if (last != nullptr) *last = node;
  return root;
}

TEST(SecurityContextEntry, DeepChainIsCopiedComparedAndDestroyedWithoutRecursion) {
  constexpr int kDepth = 200000;
  SecurityContextEntry* leaf = nullptr;
  SecurityContextEntry original = Chain(kDepth, "token", &leaf);
  SecurityContextEntry copy = original;
  EXPECT_TRUE(copy == original);

  leaf->value = "changed";  // the difference sits at the very bottom
  EXPECT_FALSE(copy == original);
  leaf->value = "token";
  EXPECT_TRUE(copy == original);

  SecurityContextEntry assigned("plain");
  assigned = copy;
  EXPECT_TRUE(assigned == original);
  assigned = SecurityContextEntry("plain");  // drops a deep tree through move assignment
  EXPECT_EQ(assigned, SecurityContextEntry("plain"));

  SecurityContext context;
  context["signature"] = std::move(copy);
  ExecutionContext holder(*ExecutionContext::GetInstance());
  holder.securityContext() = context;
  EXPECT_EQ(holder.securityContext(), context);
}

TEST(SecurityContextEntry, EqualityLooksAtKeysSlotsFlagsAndStrings) {
  SecurityContextEntry base;
  base.entries["alg"] = "RS256";
  base.entries["key"].override = SecurityContextEntry("k1");

  struct Case {
    const char* name;
    void (*change)(SecurityContextEntry&);
  };
  const Case cases[] = {
      {"other key",
       [](SecurityContextEntry& e) {
         e.entries.emplace("alh", e.entries.at("alg")), e.entries.erase("alg");
       }},
      {"other string", [](SecurityContextEntry& e) { e.entries.at("alg") = "ES256"; }},
      {"override dropped", [](SecurityContextEntry& e) { e.entries.at("key").override.reset(); }},
      {"override differs",
       [](SecurityContextEntry& e) { e.entries.at("key").override = SecurityContextEntry("k2"); }},
      {"group instead of string", [](SecurityContextEntry& e) { e.entries.at("alg").value.isValue = false; }},
      {"extra entry", [](SecurityContextEntry& e) { e.entries["x"]; }},
      {"own string", [](SecurityContextEntry& e) { e.value = "v"; }},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    SecurityContextEntry changed = base;
    ASSERT_EQ(changed, base);
    c.change(changed);
    EXPECT_NE(changed, base);
    EXPECT_NE(base, changed);
  }
}

TEST(SecurityContextEntry, NestedEntriesActAsAMapWhetherEverFilledOrNot) {
  const SecurityContextEntry plain("token");
  const SecurityContextEntries& none = plain.entries;
  EXPECT_TRUE(none.empty());
  EXPECT_EQ(none.size(), 0u);
  EXPECT_EQ(none.count("a"), 0u);
  EXPECT_TRUE(none.begin() == none.end());
  EXPECT_TRUE(none.find("a") == none.end());
  EXPECT_THROW(none.at("a"), std::out_of_range);

  SecurityContextEntry group;
  EXPECT_TRUE(group.entries.insert({"b", SecurityContextEntry("2")}).second);
  EXPECT_TRUE(group.entries.emplace("a", "1").second);
  EXPECT_FALSE(group.entries.emplace("a", "other").second);
  group.entries["c"].override = SecurityContextEntry("3");
  std::string keys;
  for (const auto& [key, entry] : std::as_const(group).entries) keys += key + entry.effective().value;
  EXPECT_EQ(keys, "a1b2c3");
  EXPECT_EQ(group.entries.find("b")->second.effective().value, "2");
  EXPECT_EQ(group.entries.count("c"), 1u);
  EXPECT_EQ(group.entries.erase("b"), 1u);
  EXPECT_EQ(group.entries.erase("b"), 0u);
  EXPECT_EQ(group.entries.size(), 2u);

  // A group emptied again equals one that never held anything, in both directions.
  SecurityContextEntry emptied = group;
  EXPECT_EQ(emptied, group);
  emptied.entries.clear();
  EXPECT_EQ(emptied, SecurityContextEntry());
  EXPECT_EQ(SecurityContextEntry(), emptied);
  EXPECT_TRUE(std::as_const(emptied).entries.begin() == std::as_const(emptied).entries.end());
}

}  // namespace
