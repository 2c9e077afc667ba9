#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "data/tree_test_support.h"
#include "olma/data/compatibility.h"
#include "olma/data/native_to_definition.h"

namespace Olma {
namespace Data {
namespace {

using namespace Testing;

Def Enumeration(std::vector<std::string> names) {
  return IsOneOfDefinition::GetInstance(EnumValueSet{std::move(names)});
}

// `task` with an `owner` structure, whose fields are `ownerFields`, plus `extra` fields.
Def Task(DataDefinition::FieldMap ownerFields, DataDefinition::FieldMap extra = {}) {
  extra.emplace("owner", StructD("owner", std::move(ownerFields)));
  return StructD("root", {{"task", StructD("task", std::move(extra))}});
}

std::vector<std::string> Texts(const MessageList& messages) {
  std::vector<std::string> texts;
  for (const BaseMessage& message : messages) texts.push_back(message.id() + ": " + message.defaultMessage());
  return texts;
}

TEST(CheckCompatibility, ReportsEveryBreakWithItsPath) {
  const Def base =
      Task({{"name", StrD()}, {"mail", OptD(StrD())}, {"level", Enumeration({"a", "b"})}}, {{"due", IntD()}});
  const struct {
    const char* what;
    Def changed;
    std::vector<std::string> input;
    std::vector<std::string> output;
  } cases[] = {
      {"same", base, {}, {}},
      {"optional input field added",
       Task({{"name", StrD()},
             {"mail", OptD(StrD())},
             {"level", Enumeration({"a", "b"})},
             {"x", OptD(IntD())}},
            {{"due", IntD()}}),
       {},
       {}},
      {"required field added",
       Task({{"name", StrD()}, {"mail", OptD(StrD())}, {"level", Enumeration({"a", "b"})}, {"id", IntD()}},
            {{"due", IntD()}}),
       {"olma.data.compat.input.field.added: Required input field added: task.owner.id"},
       {}},
      {"fields removed",
       Task({{"name", StrD()}, {"level", Enumeration({"a", "b"})}}),
       {"olma.data.compat.input.field.removed: Input field removed: task.due",
        "olma.data.compat.input.field.removed: Input field removed: task.owner.mail"},
       {"olma.data.compat.output.field.removed: Output field removed: task.due"}},
      {"kind changed and optionality swapped",
       Task({{"name", OptD(IntD())}, {"mail", StrD()}, {"level", Enumeration({"a", "b"})}},
            {{"due", IntD()}}),
       {"olma.data.compat.optional.made.required: Optional made required: task.owner.mail",
        "olma.data.compat.kind.changed: Kind changed: task.owner.name: STRING -> LONG"},
       {"olma.data.compat.required.made.optional: Required made optional: task.owner.name",
        "olma.data.compat.kind.changed: Kind changed: task.owner.name: STRING -> LONG"}},
      {"enumeration narrowed and widened",
       Task({{"name", StrD()}, {"mail", OptD(StrD())}, {"level", Enumeration({"b", "c"})}},
            {{"due", IntD()}}),
       {"olma.data.compat.enum.narrowed: Enumeration narrowed: task.owner.level: a no longer accepted"},
       {"olma.data.compat.enum.widened: Enumeration widened: task.owner.level: c unknown to older clients"}},
      {"whole value changed",
       ListD(IntD()),
       {"olma.data.compat.kind.changed: Kind changed: (root): STRUCTURE -> LIST"},
       {"olma.data.compat.kind.changed: Kind changed: (root): STRUCTURE -> LIST"}},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.what);
    MessageList input, output;
    EXPECT_EQ(CheckCompatibility(base, c.changed, CompatibilityDirection::Input, input), c.input.empty());
    EXPECT_EQ(CheckCompatibility(base, c.changed, CompatibilityDirection::Output, output), c.output.empty());
    EXPECT_THAT(Texts(input), ::testing::UnorderedElementsAreArray(c.input));
    EXPECT_THAT(Texts(output), ::testing::UnorderedElementsAreArray(c.output));
  }
}

TEST(CheckCompatibility, FollowsRecursiveReferencesWithoutLooping) {
  const Def before = Node(IntD());
  const Def after = Node(StrD());
  MessageList messages;
  EXPECT_FALSE(CheckCompatibility(before, after, CompatibilityDirection::Output, messages));
  EXPECT_THAT(Texts(messages),
              ::testing::ElementsAre("olma.data.compat.kind.changed: Kind changed: value: LONG -> STRING"));
  messages.clear();
  EXPECT_TRUE(CheckCompatibility(before, Node(IntD()), CompatibilityDirection::Input, messages));
}

TEST(CheckCompatibility, OpaqueAcceptsAnythingOnInputAndExpectsAnythingOnOutput) {
  MessageList messages;
  const Def opaque = DataDefinition::Create<Opaque>();
  EXPECT_TRUE(CheckCompatibility(IntD(), opaque, CompatibilityDirection::Input, messages));
  EXPECT_TRUE(CheckCompatibility(opaque, IntD(), CompatibilityDirection::Output, messages));
  EXPECT_FALSE(CheckCompatibility(IntD(), opaque, CompatibilityDirection::Output, messages));
}

TEST(CheckCompatibility, MillionDeepDefinitionsCompareWithAFlatStack) {
  MessageList messages;
  EXPECT_FALSE(CheckCompatibility(Nested(IntD(), "ol"), Nested(StrD(), "ol"), CompatibilityDirection::Input,
                                  messages));
  EXPECT_EQ(messages.size(), 1u);
}

}  // namespace
}  // namespace Data
}  // namespace Olma
