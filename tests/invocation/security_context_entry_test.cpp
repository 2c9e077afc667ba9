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

}  // namespace
