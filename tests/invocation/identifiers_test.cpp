#include "olma/invocation/identifiers.h"

#include <tuple>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using namespace Olma::Core;

TEST(MethodIdentifier, SplitsFullNameAtLastPointAndRendersItBack) {
  const std::tuple<const char*, const char*, const char*, const char*> cases[] = {
      {"a.b.c", "a.b", "c", "a.b.c"}, {"ping", "", "ping", ".ping"},
      {"a.b.", "a.b", "", "a.b."},    {"", "", "", "."},
      {".ping", "", "ping", ".ping"}, {"com.acme..run", "com.acme.", "run", "com.acme..run"},
  };
  for (const auto& [fullName, interfaceName, methodName, text] : cases) {
    const auto id = MethodIdentifier::GetInstance(fullName);
    EXPECT_EQ(id->interfaceIdentifier()->name(), interfaceName) << fullName;
    EXPECT_EQ(id->name(), methodName) << fullName;
    EXPECT_EQ(id->ToString(), text) << fullName;
  }
  EXPECT_EQ(*MethodIdentifier::GetInstance(nullptr, "ping"), *MethodIdentifier::GetInstance("ping"));
}

TEST(MethodIdentifierSet, OrdersByInterfaceThenMethodWithTheEmptyPointerFirst) {
  MethodIdentifierSet set{MethodIdentifier::GetInstance("x.b"), nullptr,
                          MethodIdentifier::GetInstance("\xc3\xa9.a"), MethodIdentifier::GetInstance("a.b.c"),
                          MethodIdentifier::GetInstance("a.z")};
  // Equal names from distinct objects meet in one entry, as does a second empty pointer.
  EXPECT_FALSE(set.insert(MethodIdentifier::GetInstance("a.z")).second);
  EXPECT_FALSE(set.insert(nullptr).second);
  std::vector<std::string> order;
  for (const auto& id : set) order.push_back(id ? id->ToString() : "<empty>");
  // Joined texts would put "a.b.c" first; bytes compare unsigned, so a high byte sorts last.
  EXPECT_THAT(order, testing::ElementsAre("<empty>", "a.z", "a.b.c", "x.b", "\xc3\xa9.a"));
  EXPECT_LT(*InterfaceIdentifier::GetInstance("z"), *InterfaceIdentifier::GetInstance("\xc3\xa9"));
}

}  // namespace
