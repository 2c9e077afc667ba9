#include "olma/data/definitions.h"

#include <cstddef>
#include <functional>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "data/tree_test_support.h"
#include "olma/core/byte_vector.h"
#include "olma/data/data_type.h"

namespace {

using namespace Olma::Data;
using namespace Olma::Data::Testing;
using Olma::MessageList;
using testing::ElementsAre;
using testing::Pair;

using Def = DataDefinition::PtrConstType;

// The table names integers "LONG" and blobs "BINARY"; kinds 16 to 22 have no name of their own.
TEST(DataType, NamesAndReverseLookup) {
  const char* const names[] = {
      "VOID",      "LONG",     "DOUBLE",    "BOOLEAN", "BINARY", "STRING",        "ERROR",
      "OPTIONAL",  "LIST",     "STRUCTURE", "OPAQUE",  "SECRET", "STRUCTURE_REF", "DYNAMIC_STRUCTURE",
      "ANY_ERROR", "INTERNALC"};
  for (int number = 0; number <= DataType::UNKNOWN; ++number) {
    const DataType kind = static_cast<DataType::EnumType>(number);
    const std::string name = number < 16 ? names[number] : "_UNKNOWN";
    SCOPED_TRACE(name);
    EXPECT_EQ(to_string(kind), name);
    DataType parsed = DataType::UNKNOWN;
    EXPECT_EQ(EnumConverter::Convert<DataType::Strings>(name, parsed), number < 16);
    EXPECT_EQ(parsed, number < 16 ? kind : DataType(DataType::UNKNOWN)) << "unchanged when not found";
  }
  DataType parsed = DataType::VOID;
  EXPECT_FALSE(EnumConverter::Convert<DataType::Strings>("INTEGER", parsed));

  const std::string saved = DataType::_unkStr;
  DataType::_unkStr = "custom";
  EXPECT_EQ(to_string(DataType::UNKNOWN), "custom");
  EXPECT_EQ(to_string(DataType::LIST_STRING), "_UNKNOWN");
  DataType::_unkStr = saved;
}

struct ClassCase {
  const char* label;
  Def definition;
  DataType::EnumType kind;
  std::string text;
  const char* slot;  // the visitor slot of the class
};

std::vector<ClassCase> ClassCases() {
  auto integer = IntegerDefinition::GetInstance();
  auto strings = ListDefinition::GetInstance(StringDefinition::GetInstance());
  auto always = [](const std::string&) { return boost::logic::tribool(true); };
  return {
      {"Void", DataDefinition::Create<Void>(), DataType::VOID, "VOID", "Void"},
      {"void", DataDefinition::Create<void>(), DataType::VOID, "VOID", "Void"},
      {"Opaque", DataDefinition::Create<Opaque>(), DataType::OPAQUE, "VOID", "Opaque"},
      {"long long", DataDefinition::Create<long long>(), DataType::INTEGER, "INTEGER", "Integer"},
      {"double", DataDefinition::Create<double>(), DataType::DOUBLE, "DOUBLE", "Double"},
      {"bool", DataDefinition::Create<bool>(), DataType::BOOLEAN, "BOOLEAN", "Boolean"},
      {"ByteVector", DataDefinition::Create<Olma::ByteVector>(), DataType::BLOB, "BLOB", "Blob"},
      {"string", DataDefinition::Create<std::string>(), DataType::STRING, "STRING", "String"},
      {"DateTime", DataDefinition::Create<Olma::DateTime>(), DataType::STRING, "STRING", "String"},
      {"SecretString", DataDefinition::Create<Olma::SecretString>(), DataType::SECRET, "SECRET", "Secret"},
      {"DynamicStructure", DataDefinition::Create<DynamicStructure>(), DataType::DYNAMIC_STRUCTURE,
       "DynamicStructureDefinition", "DynamicStructure"},
      {"DynamicError", DataDefinition::Create<DynamicError>(), DataType::ANY_ERROR, "DynamicErrorDefinition",
       "DynamicError"},
      {"is one of", IsOneOfDefinition::GetInstance(nullptr), DataType::STRING, "STRING", "IsOneOf"},
      {"union case", UnionCaseDefinition::GetInstance(integer, "tag", always), DataType::OPTIONAL, "OPTIONAL",
       "UnionCase"},
      {"optional", OptionalDefinition::GetInstance(integer), DataType::OPTIONAL, "OPTIONAL<INTEGER>",
       "Optional"},
      {"unset element", OptionalDefinition::GetInstance(nullptr), DataType::OPTIONAL, "OPTIONAL<<unset>>",
       "Optional"},
      {"list", strings, DataType::LIST, "LIST[STRING]", "List"},
      // Fields come in byte-wise name order.
      {"structure",
       StructDefinition::GetInstance(
           "s", {{"b", strings}, {"a", integer}, {"B", BooleanDefinition::GetInstance()}}),
       DataType::STRUCTURE, "{sd{ s : { B : BOOLEAN, a : INTEGER, b : LIST[STRING], } }} ", "Struct"},
      {"empty structure", StructDefinition::GetInstance("s", {}), DataType::STRUCTURE, "{sd{ s : { } }} ",
       "Struct"},
      {"unset structure", StructDefinition::GetInstance(), DataType::STRUCTURE, "{sd{ <noname> : { } }} ",
       "Struct"},
      {"unset field", StructDefinition::GetInstance("s", {{"x", nullptr}}), DataType::STRUCTURE,
       "{sd{ s : { x : <unset>, } }} ", "Struct"},
      {"error without fields", ErrorDefinition::GetInstance("e"), DataType::ERROR, "{ed{ e : { } }} ",
       "Error"},
      {"unset error", ErrorDefinition::GetInstance(), DataType::ERROR, "{ed{ <noname> : { } }} ", "Error"},
      {"nested",
       ListDefinition::GetInstance(OptionalDefinition::GetInstance(
           StructDefinition::GetInstance("p", {{"q", ErrorDefinition::GetInstance("e", {{"m", strings}})},
                                               {"r", DoubleDefinition::GetInstance()}}))),
       DataType::LIST, "LIST[OPTIONAL<{sd{ p : { q : {ed{ e : { m : LIST[STRING], } }} , r : DOUBLE, } }} >]",
       "List"},
      {"reference", StructRefDefinition::GetInstance("s"), DataType::STRUCTURE_REF, "StructRefDefinition",
       "StructRef"},
  };
}

TEST(DataDefinition, EveryClassRendersExactlyReportsItsKindAndVisitsItsOwnSlot) {
  for (const ClassCase& c : ClassCases()) {
    SCOPED_TRACE(c.label);
    EXPECT_EQ(c.definition->type(), c.kind);
    EXPECT_EQ(c.definition->ToString(), c.text);
    EXPECT_EQ(c.definition->GetConstPtr(), c.definition);
    DefinitionRecorder visitor;
    c.definition->AcceptVisitor(visitor);
    EXPECT_THAT(visitor.calls, ElementsAre(Pair(c.slot, c.definition.get())));
  }
}

TEST(DataDefinition, BuilderNamesAndInsertsOrReplacesFields) {
  auto structure = StructDefinition::GetInstance();
  structure->SetName("later");
  structure->SetField("f", IntegerDefinition::GetInstance());
  structure->SetField("a", BlobDefinition::GetInstance());
  structure->SetField("f", StringDefinition::GetInstance());
  EXPECT_EQ(structure->ToString(), "{sd{ later : { a : BLOB, f : STRING, } }} ");
}

// A missing field (also in an unset map) reports its name and the whole definition.
template <class Compound>
void ExpectLookup(const Compound& compound, const std::string& name, const Def& stored, bool present) {
  SCOPED_TRACE(compound.ToString() + " / " + name);
  MessageList messages;
  EXPECT_EQ(compound.HasField(name), present);
  EXPECT_EQ(compound.field(name, messages), stored);
  if (present) {
    EXPECT_TRUE(messages.empty());
    return;
  }
  ASSERT_EQ(messages.size(), 1u);
  EXPECT_EQ(messages.front().id(), "olma.data.struct.missing.fields");
  EXPECT_EQ(messages.front().defaultMessage(), "Missing fields: " + name + ", " + compound.ToString());
  EXPECT_THAT(messages.front().args(), ElementsAre(name, compound.ToString()));
}

TEST(DataDefinition, FieldLookupFindsStoredPointersOrReportsTheNameAndTheWholeDefinition) {
  const Def integer = IntegerDefinition::GetInstance();
  auto structure = StructDefinition::GetInstance("s", {{"a", integer}, {"x", nullptr}});
  ExpectLookup(*structure, "a", integer, true);
  ExpectLookup(*structure, "x", nullptr, true);
  ExpectLookup(*structure, "zz", nullptr, false);
  ExpectLookup(*StructDefinition::GetInstance(), "a", nullptr, false);
  auto error = ErrorDefinition::GetInstance("e", {{"a", integer}});
  ExpectLookup(*error, "a", integer, true);
  ExpectLookup(*error, "zz", nullptr, false);
  ExpectLookup(*ErrorDefinition::GetInstance("e"), "a", nullptr, false);

  MessageList messages;
  structure->field("zz", messages);
  ASSERT_EQ(messages.size(), 1u);
  EXPECT_EQ(messages.front().defaultMessage(),
            "Missing fields: zz, {sd{ s : { a : INTEGER, x : <unset>, } }} ");
}

TEST(RestrictedDefinitions, CheckAsksThePredicateAndCompareIgnoresIt) {
  auto red = IsOneOfDefinition::GetInstance([](const std::string& s) { return s == "red"; });
  auto none = IsOneOfDefinition::GetInstance(nullptr);
  EXPECT_TRUE(red->Check("red"));
  EXPECT_FALSE(red->Check("Red"));
  EXPECT_TRUE(IsOneOfDefinition::Compare(red, none));
  EXPECT_THROW(none->Check("red"), std::bad_function_call);

  auto byKind =
      UnionCaseDefinition::GetInstance(IntegerDefinition::GetInstance(), "kind", [](const std::string& tag) {
        return tag == "text" ? boost::logic::tribool(false) : boost::logic::indeterminate;
      });
  EXPECT_TRUE(!byKind->Check("text"));
  EXPECT_TRUE(boost::logic::indeterminate(byKind->Check("other")));
  // Only the tag field names count: not the element, not the predicate.
  auto sameTag = UnionCaseDefinition::GetInstance(StringDefinition::GetInstance(), "kind", nullptr);
  auto otherTag =
      UnionCaseDefinition::GetInstance(IntegerDefinition::GetInstance(), "Kind", byKind->predicate());
  EXPECT_TRUE(UnionCaseDefinition::Compare(byKind, sameTag));
  EXPECT_FALSE(UnionCaseDefinition::Compare(byKind, otherTag));
  EXPECT_FALSE(UnionCaseDefinition::Compare(byKind, nullptr));
  EXPECT_FALSE(UnionCaseDefinition::Compare(nullptr, byKind));
  EXPECT_TRUE(UnionCaseDefinition::Compare(nullptr, nullptr));
  EXPECT_THROW(sameTag->Check("text"), std::bad_function_call);
}

TEST(StructRefDefinition, RecursiveStructureRendersFinitelyAndReferencesDoNotOwnIt) {
  auto self = StructRefDefinition::GetInstance("pending");
  std::weak_ptr<const StructDefinition> watch;
  {
    auto node = StructDefinition::GetInstance("node", {{"value", IntegerDefinition::GetInstance()}});
    self->SetTarget(node);
    auto child = StructRefDefinition::GetInstance(node);
    node->SetField("next", OptionalDefinition::GetInstance(self));
    node->SetField("children", ListDefinition::GetInstance(child));
    EXPECT_EQ(node->ToString(),
              "{sd{ node : { children : LIST[StructRefDefinition], next : OPTIONAL<StructRefDefinition>, "
              "value : INTEGER, } }} ");
    EXPECT_EQ(self->target(), node);
    EXPECT_EQ(child->name(), "node");
    watch = node;
  }
  EXPECT_TRUE(watch.expired()) << "no ownership cycle";
  EXPECT_EQ(self->target(), nullptr);
  EXPECT_EQ(self->name(), "node");
  EXPECT_FALSE(StructRefDefinition::GetInstance(StructDefinition::GetInstance())->name().has_value());
}

// Only references may close a cycle: a setter asked to make a definition own itself, at
// any depth, refuses and leaves it as it was, and the tree still renders and is freed.
TEST(DataDefinition, SettersRefuseCyclesOfOwnership) {
  std::weak_ptr<const DataDefinition> watch;
  {
    auto optional = OptionalDefinition::GetInstance(IntegerDefinition::GetInstance());
    EXPECT_FALSE(optional->SetElement(optional));
    EXPECT_EQ(optional->ToString(), "OPTIONAL<INTEGER>");

    auto node = StructDefinition::GetInstance("node", {{"value", IntegerDefinition::GetInstance()}});
    const auto list = ListDefinition::GetInstance(node);
    const auto outer =
        DynamicStructureDefinition::GetInstance({{"items", OptionalDefinition::GetInstance(list)}});
    EXPECT_FALSE(node->SetField("value", outer));
    EXPECT_FALSE(node->SetField("self", node));
    auto unionCase = UnionCaseDefinition::GetInstance(IntegerDefinition::GetInstance(), "tag", nullptr);
    auto holder = ErrorDefinition::GetInstance("e", {{"case", unionCase}});
    EXPECT_FALSE(unionCase->SetElement(holder));
    EXPECT_EQ(node->ToString(), "{sd{ node : { value : INTEGER, } }} ");
    EXPECT_EQ(unionCase->element()->type(), DataType::INTEGER);

    // References, shared sub-trees and replacements are fine.
    EXPECT_TRUE(
        node->SetField("next", OptionalDefinition::GetInstance(StructRefDefinition::GetInstance(node))));
    const Def shared = OptionalDefinition::GetInstance(IntegerDefinition::GetInstance());
    EXPECT_TRUE(node->SetField("a", shared));
    EXPECT_TRUE(node->SetField("b", shared));
    EXPECT_TRUE(optional->SetElement(shared));
    watch = node;
  }
  EXPECT_TRUE(watch.expired());
}

// A chain of nested definitions around an integer, far deeper than a call stack could follow.
struct DeepCase {
  const char* label;
  std::function<Def(Def)> wrap;
  std::string open, close;  // what each level writes before and after its element
  std::size_t depth;
};

class DeepDefinition : public testing::TestWithParam<DeepCase> {};

// Freeing the root keeps the half of the chain that someone else still holds.
TEST_P(DeepDefinition, RendersAndFreesWithoutRecursionKeepingSharedParts) {
  const DeepCase& shape = GetParam();
  Def root = IntegerDefinition::GetInstance();
  Def middle;
  for (std::size_t i = 0; i < shape.depth; ++i) {
    root = shape.wrap(std::move(root));
    if (i == shape.depth / 2) middle = root;
  }
  EXPECT_TRUE(SameText(root->ToString(),
                       Repeat(shape.open, shape.depth) + "INTEGER" + Repeat(shape.close, shape.depth)));
  root.reset();
  ASSERT_EQ(middle.use_count(), 1);
  const std::size_t kept = shape.depth / 2 + 1;
  EXPECT_TRUE(SameText(middle->ToString(), Repeat(shape.open, kept) + "INTEGER" + Repeat(shape.close, kept)));
}

// Wrappers go to a million levels, compounds (dearer to build) to a quarter of that.
const DeepCase kDeepCases[] = {
    {"Optional", [](Def e) -> Def { return OptionalDefinition::GetInstance(std::move(e)); }, "OPTIONAL<", ">",
     1000000},
    {"List", [](Def e) -> Def { return ListDefinition::GetInstance(std::move(e)); }, "LIST[", "]", 1000000},
    {"Struct",
     [](Def e) -> Def {
       return StructDefinition::GetInstance("s", {{"f", std::move(e)}});
     },
     "{sd{ s : { f : ", ", } }} ", 250000},
    {"Error",
     [](Def e) -> Def {
       return ErrorDefinition::GetInstance("e", {{"f", std::move(e)}});
     },
     "{ed{ e : { f : ", ", } }} ", 250000},
};

INSTANTIATE_TEST_SUITE_P(Chains, DeepDefinition, testing::ValuesIn(kDeepCases),
                         [](const testing::TestParamInfo<DeepCase>& shape) { return shape.param.label; });

// Composites that render without their children still own them and free them without
// recursion as well.
TEST(DataDefinition, OpaqueRenderingCompositesFreeDeepContentsWithoutRecursion) {
  Def tree = IntegerDefinition::GetInstance();
  for (std::size_t i = 0; i < 250000; ++i) {
    if (i % 3 == 0) tree = UnionCaseDefinition::GetInstance(std::move(tree), "tag", nullptr);
    if (i % 3 == 1) tree = DynamicStructureDefinition::GetInstance({{"d", std::move(tree)}});
    if (i % 3 == 2) tree = DynamicErrorDefinition::GetInstance({{"d", std::move(tree)}});
  }
  EXPECT_EQ(tree->ToString(), "OPTIONAL");
  tree.reset();
}

}  // namespace
