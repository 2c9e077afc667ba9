#include "olma/invocation/identifiers.h"

#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using Olma::Core::InterfaceIdentifier;
using Olma::Core::MethodIdentifier;
using Olma::Core::MethodIdentifierSet;
using Olma::Core::PointeeLess;

TEST(MethodIdentifier, SplitsFullNameAtLastPointAndRendersItBack) {
  struct Case {
    const char* fullName;
    const char* interfaceName;
    const char* methodName;
    const char* text;
  };
  const Case cases[] = {
      {"a.b.c", "a.b", "c", "a.b.c"}, {"ping", "", "ping", ".ping"},
      {"a.b.", "a.b", "", "a.b."},    {"", "", "", "."},
      {".ping", "", "ping", ".ping"}, {"com.acme..run", "com.acme.", "run", "com.acme..run"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.fullName);
    const auto id = MethodIdentifier::GetInstance(c.fullName);
    ASSERT_TRUE(id->interfaceIdentifier());
    EXPECT_EQ(id->interfaceIdentifier()->name(), c.interfaceName);
    EXPECT_EQ(id->name(), c.methodName);
    EXPECT_EQ(id->ToString(), c.text);
  }
}

TEST(MethodIdentifier, BuiltFromPartsKeepsTheInterfaceObject) {
  const auto tasks = InterfaceIdentifier::GetInstance("com.acme.tasks");
  const auto list = MethodIdentifier::GetInstance(tasks, "list");
  EXPECT_EQ(list->interfaceIdentifier(), tasks);
  EXPECT_EQ(list->ToString(), "com.acme.tasks.list");

  const auto bare = MethodIdentifier::GetInstance(nullptr, "ping");
  ASSERT_TRUE(bare->interfaceIdentifier());
  EXPECT_EQ(bare->ToString(), ".ping");
  EXPECT_EQ(*bare, *MethodIdentifier::GetInstance("ping"));
}

TEST(MethodIdentifier, InterfaceNameDecidesBeforeMethodName) {
  const auto xb = MethodIdentifier::GetInstance("x.b");
  const auto az = MethodIdentifier::GetInstance("a.z");
  EXPECT_LT(*az, *xb);
  EXPECT_GT(*xb, *az);
  // Comparing the joined texts would put "a.b.c" first; the interface "a" sorts before "a.b".
  const auto abc = MethodIdentifier::GetInstance("a.b.c");
  EXPECT_LT(*az, *abc);
  EXPECT_LE(*az, *MethodIdentifier::GetInstance("a.z"));
  EXPECT_GE(*az, *MethodIdentifier::GetInstance("a.z"));
  EXPECT_NE(*az, *abc);

  EXPECT_LT(*InterfaceIdentifier::GetInstance("A"), *InterfaceIdentifier::GetInstance("a"));
  // Byte-wise: a high byte sorts after ASCII, as unsigned.
  EXPECT_LT(*InterfaceIdentifier::GetInstance("z"), *InterfaceIdentifier::GetInstance("\xc3\xa9"));
}

TEST(MethodIdentifierSet, OrdersByPointeeWithEmptyPointerFirst) {
  MethodIdentifierSet set;
  set.insert(MethodIdentifier::GetInstance("x.b"));
  set.insert(MethodIdentifier::GetInstance("a.z"));
  set.insert(nullptr);
  set.insert(MethodIdentifier::GetInstance("a.b.c"));
  // Equal names from distinct objects meet in one entry, as does a second empty pointer.
  EXPECT_FALSE(set.insert(MethodIdentifier::GetInstance("a.z")).second);
  EXPECT_FALSE(set.insert(nullptr).second);

  std::vector<std::string> order;
  for (const auto& id : set) order.push_back(id ? id->ToString() : "<empty>");
  EXPECT_THAT(order, testing::ElementsAre("<empty>", "a.z", "a.b.c", "x.b"));
  EXPECT_EQ(set.count(MethodIdentifier::GetInstance("x.b")), 1u);

  const PointeeLess less;
  const auto a = InterfaceIdentifier::GetInstance("a");
  EXPECT_FALSE(less(a, InterfaceIdentifier::GetInstance("a")));
  EXPECT_FALSE(less(a, InterfaceIdentifier::PtrConstType()));
}

}  // namespace
