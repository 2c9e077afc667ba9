#include <map>
#include <optional>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <boost/describe/class.hpp>

#include "data/tree_test_support.h"
#include "olma/data/introspection.h"
#include "olma/data/native_to_definition.h"
#include "olma/data/native_to_value.h"
#include "olma/data/value_to_native.h"

namespace Olma {
namespace Data {
namespace {

using namespace Testing;

// The same two structures, once described with Boost.Describe, once declared by hand.
struct Leaf {
  static constexpr std::string_view kTypeName = "test.leaf";
  std::string label;
  int weight = 0;
};
BOOST_DESCRIBE_STRUCT(Leaf, (), (label, weight))

struct Tree {
  static constexpr std::string_view kTypeName = "test.tree";
  long long id = 0;
  std::optional<Leaf> first;
  std::vector<Leaf> leaves;
  std::map<std::string, Leaf> byName;
  std::optional<std::vector<std::string>> notes;
};
BOOST_DESCRIBE_STRUCT(Tree, (), (id, first, leaves, byName, notes))

struct HandLeaf {
  static constexpr std::string_view kTypeName = "test.leaf";
  std::string label;
  int weight = 0;
  struct AdapterHelper {
    template <class Helper, class Object>
    static void AddFields(Helper& helper, Object& leaf) {
      helper.AddField("label", &leaf.label);
      helper.AddFieldInt("weight", &leaf.weight);
    }
    template <class Helper>
    static void AddDefinitionFields(Helper& helper) {
      helper.AddField("label", &HandLeaf::label);
      helper.AddFieldInt("weight", &HandLeaf::weight);
    }
  };
};

struct HandTree {
  static constexpr std::string_view kTypeName = "test.tree";
  long long id = 0;
  std::optional<HandLeaf> first;
  std::vector<HandLeaf> leaves;
  std::map<std::string, HandLeaf> byName;
  std::optional<std::vector<std::string>> notes;
  struct AdapterHelper {
    template <class Helper, class Object>
    static void AddFields(Helper& helper, Object& tree) {
      helper.AddField("id", &tree.id);
      helper.AddField("first", &tree.first);
      helper.AddField("leaves", &tree.leaves);
      helper.AddField("byName", &tree.byName);
      helper.AddField("notes", &tree.notes);
    }
    template <class Helper>
    static void AddDefinitionFields(Helper& helper) {
      helper.AddField("id", &HandTree::id);
      helper.AddField("first", &HandTree::first);
      helper.AddField("leaves", &HandTree::leaves);
      helper.AddField("byName", &HandTree::byName);
      helper.AddField("notes", &HandTree::notes);
    }
  };
};

template <class T>
Val ToValue(const T& object) {
  MessageList messages;
  Val value;
  EXPECT_TRUE(NativeToValueAdapter::Adapt(object, value, messages));
  return value;
}
std::string Text(const Def& definition) {
  std::string text;
  RawDefinitionAdapter::Adapt(definition, text);
  return text;
}

TEST(DescribedStruct, GivesTheSameValuesDefinitionAndTextAsTheHandDeclaredOne) {
  Tree described{7, Leaf{"f", 1}, {Leaf{"a", 2}, Leaf{"b", 3}}, {{"k", Leaf{"m", 4}}}, std::nullopt};
  HandTree hand{
      7, HandLeaf{"f", 1}, {HandLeaf{"a", 2}, HandLeaf{"b", 3}}, {{"k", HandLeaf{"m", 4}}}, std::nullopt};
  const Val value = ToValue(described);
  MessageList messages;
  EXPECT_TRUE(DataValue::Compare<CompModeStrict>(value, ToValue(hand), messages)) << value->ToString();

  const Def describedDefinition = NativeToDefinitionAdapter::Adapt<Tree>();
  const Def handDefinition = NativeToDefinitionAdapter::Adapt<HandTree>();
  EXPECT_TRUE(DataDefinition::Compare(describedDefinition, handDefinition, messages));
  EXPECT_EQ(Text(describedDefinition), Text(handDefinition));
  EXPECT_EQ(Text(describedDefinition),
            "STRUCTUREtest.tree<byNameLISTSTRUCTUREmap-entry<keySTRINGvalueSTRUCTUREtest.leaf<"
            "labelSTRINGweightLONG>>"
            "firstOPTIONALSTRUCTUREtest.leaf<labelSTRINGweightLONG>idLONG"
            "leavesLISTSTRUCTUREtest.leaf<labelSTRINGweightLONG>notesOPTIONALLISTSTRING>");

  Tree back;
  ASSERT_TRUE(ValueToNativeAdapter::Adapt(value, back, messages));
  EXPECT_TRUE(DataValue::Compare<CompModeStrict>(value, ToValue(back), messages));
  EXPECT_EQ(back.leaves.size(), 2u);
  EXPECT_EQ(back.byName.at("k").weight, 4);
  EXPECT_FALSE(back.notes);
  EXPECT_TRUE(messages.empty());
}

TEST(DescribedStruct, BadNestedFieldReportsLikeADeclaredOne) {
  MessageList messages;
  Tree back;
  EXPECT_FALSE(ValueToNativeAdapter::Adapt(
      Of("test.tree", {{"id", Int(1)},
                       {"byName", ListOf({})},
                       {"leaves", ListOf({Of("test.leaf", {{"label", Str("x")}})})}}),
      back, messages));
  EXPECT_THAT(messages, ::testing::ElementsAre(Msg("olma.data.unset.non.optional.field",
                                                   "Unset required field: weight", {"weight"})));
}

}  // namespace
}  // namespace Data
}  // namespace Olma
