#include "olma/data/comparator.h"

#include <cmath>
#include <limits>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "olma/core/message.h"
#include "olma/core/secret_string.h"
#include "olma/data/definitions.h"
#include "olma/data/values.h"

namespace {

using namespace Olma::Data;
using namespace std::string_literals;
using Olma::BaseMessage;
using Olma::MessageList;
using Olma::SecretString;
using testing::ElementsAre;
using testing::IsEmpty;

using Ptr = DataValue::PtrConstType;
using Def = DataDefinition::PtrConstType;

const std::string kMismatch = "olma.data.type.mismatch";
const std::string kNotEqual = "olma.data.comparator.values.not.equal";
const std::string kSizes = "olma.data.value.comp.values.not.eq.sizes";
const std::string kNames = "olma.data.value.comp.struct.names.not.eq";
const std::string kMissing = "olma.data.value.comp.struct.missing.field";

template <class T>
Ptr V(const T& native) {
  return DataValue::Create<T>(native);
}
const auto Opt = [](Ptr content) -> Ptr { return OptionalValue::GetInstance(std::move(content)); };
const auto Unset = []() -> Ptr { return OptionalValue::GetInstance(); };
Ptr ListOf(std::initializer_list<Ptr> elements) {
  ListValue::PtrType list = ListValue::GetInstance();
  list->assign(elements.begin(), elements.end());
  return list;
}
template <class List>
Ptr Typed(std::initializer_list<typename List::ElementType> elements) {
  std::shared_ptr<List> list = List::GetInstance();
  list->assign(elements.begin(), elements.end());
  return list;
}
template <class Compound = StructValue>
Ptr Of(std::string name, std::initializer_list<std::pair<const char*, Ptr>> fields) {
  auto compound = Compound::GetInstance(std::move(name));
  for (const auto& [field, value] : fields) compound->SetField(field, value);
  return compound;
}

// A message as its id followed by its arguments; no message at all is written {}.
std::vector<std::string> Flatten(const MessageList& messages) {
  EXPECT_LE(messages.size(), 1u) << "a comparison reports at most one difference";
  if (messages.empty()) return {};
  std::vector<std::string> flat{messages.front().id()};
  flat.insert(flat.end(), messages.front().args().begin(), messages.front().args().end());
  return flat;
}

template <class Mode>
std::vector<std::string> Difference(const Ptr& a, const Ptr& b) {
  MessageList messages;
  const bool equal = ValueComparator<Mode>::Compare(a, b, messages);
  EXPECT_EQ(equal, messages.empty());
  return Flatten(messages);
}

template <class Node>
struct Case {
  const char* label;
  Node a, b;
  std::vector<std::string> expected;
};

template <class Mode>
void RunCases(const std::vector<Case<Ptr>>& cases) {
  for (const auto& c : cases) {
    SCOPED_TRACE(c.label);
    EXPECT_EQ(Difference<Mode>(c.a, c.b), c.expected);
  }
}

template <class Mode>
class ValueComparatorTest : public testing::Test {};
struct ModeNames {
  template <class Mode>
  static std::string GetName(int) {
    return std::is_same_v<Mode, CompModeStrict> ? "Strict" : "Loose";
  }
};
using Modes = testing::Types<CompModeLoose, CompModeStrict>;
TYPED_TEST_SUITE(ValueComparatorTest, Modes, ModeNames);

TYPED_TEST(ValueComparatorTest, EmptyRootsAreEqualOnlyToEachOtherWithoutMessage) {
  MessageList messages;
  EXPECT_TRUE(ValueComparator<TypeParam>::Compare(nullptr, nullptr, messages));
  EXPECT_FALSE(ValueComparator<TypeParam>::Compare(V(1LL), nullptr, messages));
  EXPECT_FALSE(ValueComparator<TypeParam>::Compare(nullptr, V(1LL), messages));
  EXPECT_THAT(messages, IsEmpty());
}

TYPED_TEST(ValueComparatorTest, ScalarsCompareKindsThenPayloads) {
  const Ptr pw = V(SecretString("pw"));
  RunCases<TypeParam>({
      {"void", V(Void{}), V(Void{}), {}},
      {"integers", V(7LL), V(8LL), {kNotEqual, "LONG", "7", "8"}},
      {"booleans", V(true), V(false), {kNotEqual, "BOOLEAN", "1", "0"}},
      {"strings", V("abc"s), V("abd"s), {kNotEqual, "STRING", "abc", "abd"}},
      {"equal blobs", V(Olma::ByteVector{1, 2}), V(Olma::ByteVector{1, 2}), {}},
      {"blobs", V(Olma::ByteVector{1}), V(Olma::ByteVector{1, 0}), {kNotEqual, "BINARY", "0x1 ", "0x1 0 "}},
      {"equal secrets", pw, V(SecretString("pw")), {}},
      {"secrets", pw, V(SecretString("pW")), {kNotEqual, "SECRET", "<secret>", "<secret>"}},
      {"integer and double", V(1LL), V(1.0), {kMismatch, "1", "1.000000"}},
      {"text and integer", V("1"s), V(1LL), {kMismatch, "1", "1"}},
      {"void and optional", V(Void{}), Unset(), {kMismatch, "NULL", "Optional< >"}},
  });
}

TYPED_TEST(ValueComparatorTest, DoublesUseAnAbsoluteToleranceOfOneMillionth) {
  const double inf = std::numeric_limits<double>::infinity();
  const struct {
    double a, b;
    bool equal;
  } cases[] = {
      {1.0, 1.0000005, true},
      {1.0, 1.000002, false},
      {0.0, 9.99e-7, true},
      {0.0, 1.0000001e-6, false},
      {-0.0, 0.0, true},
      {1e-7, -1e-7, true},
      // Absolute, not relative: large magnitudes must agree to a millionth as well.
      {1e12, 1e12 + 0.001, false},
      {1e15, 1e15 + 0.125, false},
      {1e9, std::nextafter(1e9, 2e9), true},
      {inf, inf, true},
      {inf, -inf, false},
      {std::nan(""), std::nan(""), false},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(testing::Message() << c.a << " vs " << c.b);
    const Ptr a = V(c.a), b = V(c.b);
    const Ptr list_a = Typed<ListValueDouble>({0.5, c.a}), list_b = Typed<ListValueDouble>({0.5, c.b});
    using Expected = std::vector<std::string>;
    EXPECT_EQ(Difference<TypeParam>(a, b),
              (c.equal ? Expected{} : Expected{kNotEqual, "DOUBLE", a->ToString(), b->ToString()}));
    EXPECT_EQ(
        Difference<TypeParam>(list_a, list_b),
        (c.equal ? Expected{} : Expected{kNotEqual, "_UNKNOWN", list_a->ToString(), list_b->ToString()}));
  }
}

TYPED_TEST(ValueComparatorTest, ListsReportTheFirstDifferenceInReadingOrder) {
  RunCases<TypeParam>({
      {"equal", ListOf({V(1LL), V(2LL)}), ListOf({V(1LL), V(2LL)}), {}},
      {"second element", ListOf({V(1LL), V(2LL)}), ListOf({V(1LL), V(3LL)}), {kNotEqual, "LONG", "2", "3"}},
      {"every element differs",
       ListOf({V(1LL), V(2LL)}),
       ListOf({V(4LL), V(5LL)}),
       {kNotEqual, "LONG", "1", "4"}},
      {"lengths", ListOf({V(1LL)}), ListOf({V(1LL), V(2LL)}), {kSizes, "[ 1, ] ", "[ 1, 2, ] "}},
      {"element kinds", ListOf({V("a"s)}), ListOf({V(2LL)}), {kMismatch, "a", "2"}},
      {"empty elements", ListOf({nullptr}), ListOf({nullptr}), {}},
      {"empty and set element", ListOf({nullptr}), ListOf({V(1LL)}), {kMismatch, "<unset>", "1"}},
      // Depth first: the first element's inner difference precedes the second element's.
      {"depth first",
       ListOf({Of("s", {{"a", V(1LL)}}), V(2LL)}),
       ListOf({Of("s", {{"a", V(5LL)}}), V(3LL)}),
       {kNotEqual, "LONG", "1", "5"}},
  });
}

TYPED_TEST(ValueComparatorTest, TypedListsCompareWholeUnderTheUnknownKindName) {
  const Ptr longs = Typed<ListValueLong>({1, 2});
  RunCases<TypeParam>({
      {"equal", longs, Typed<ListValueLong>({1, 2}), {}},
      {"element", longs, Typed<ListValueLong>({1, 3}), {kNotEqual, "_UNKNOWN", "[ 1, 2, ] ", "[ 1, 3, ] "}},
      // A different length is a value difference here, not a size message.
      {"lengths", longs, Typed<ListValueLong>({1}), {kNotEqual, "_UNKNOWN", "[ 1, 2, ] ", "[ 1, ] "}},
      {"strings",
       Typed<ListValueString>({"a"}),
       Typed<ListValueString>({"b"}),
       {kNotEqual, "_UNKNOWN", "[ a, ] ", "[ b, ] "}},
      {"secrets",
       Typed<ListValueSecret>({SecretString("a")}),
       Typed<ListValueSecret>({SecretString("b")}),
       {kNotEqual, "_UNKNOWN", "[ <secret>, ] ", "[ <secret>, ] "}},
      {"typed list and list", longs, ListOf({V(1LL), V(2LL)}), {kMismatch, "[ 1, 2, ] ", "[ 1, 2, ] "}},
      {"two typed kinds", Typed<ListValueLong>({}), Typed<ListValueDouble>({}), {kMismatch, "[ ] ", "[ ] "}},
  });
}

TYPED_TEST(ValueComparatorTest, OptionalsCompareSetStateThenContent) {
  RunCases<TypeParam>({
      {"both unset", Unset(), Unset(), {}},
      {"set and unset", Opt(V(5LL)), Unset(), {kNotEqual, "OPTIONAL", "Optional< 5>", "Optional< >"}},
      {"contents", Opt(V(5LL)), Opt(V(6LL)), {kNotEqual, "LONG", "5", "6"}},
      {"set to nothing", Opt(nullptr), Opt(nullptr), {}},
      {"not unwrapped", Opt(V(5LL)), V(5LL), {kMismatch, "Optional< 5>", "5"}},
  });
}

TYPED_TEST(ValueComparatorTest, CompoundsCompareFieldCountThenNamesThenValuesInNameOrder) {
  const Ptr ac = Of("s", {{"a", V(1LL)}, {"c", V(2LL)}}), ab = Of("s", {{"a", V(1LL)}, {"b", V(2LL)}});
  const Ptr abc = Of("s", {{"a", V(1LL)}, {"b", V(1LL)}, {"c", V(1LL)}});
  const Ptr axy = Of("s", {{"a", V(1LL)}, {"x", V(1LL)}, {"y", V(1LL)}});
  RunCases<TypeParam>({
      {"equal", ac, Of("s", {{"c", V(2LL)}, {"a", V(1LL)}}), {}},
      // The greatest name of the first that the second lacks; the extra "b" is never named.
      {"missing field", ac, ab, {kMissing, "c", ac->ToString(), ab->ToString()}},
      {"missing field, reversed", ab, ac, {kMissing, "b", ab->ToString(), ac->ToString()}},
      {"two missing", abc, axy, {kMissing, "c", abc->ToString(), axy->ToString()}},
      {"field counts", Of("s", {{"a", V(1LL)}}), ab, {kSizes, "{{ s : { a : 1, } }} ", ab->ToString()}},
      {"first field first",
       Of("s", {{"b", V(2LL)}, {"a", V(1LL)}}),
       Of("s", {{"b", V(8LL)}, {"a", V(9LL)}}),
       {kNotEqual, "LONG", "1", "9"}},
      {"depth first",
       Of("s", {{"a", ListOf({V(1LL), V(2LL)})}, {"b", V(3LL)}}),
       Of("s", {{"a", ListOf({V(1LL), V(3LL)})}, {"b", V(4LL)}}),
       {kNotEqual, "LONG", "2", "3"}},
      {"empty field values", Of("s", {{"a", nullptr}}), Of("s", {{"a", nullptr}}), {}},
      {"errors",
       Of<ErrorValue>("e", {{"a", V(1LL)}}),
       Of<ErrorValue>("e", {{"a", V(2LL)}}),
       {kNotEqual, "LONG", "1", "2"}},
  });
}

TYPED_TEST(ValueComparatorTest, MessagesAlreadyInTheListDoNotCount) {
  MessageList messages{BaseMessage("x", "x", {}), BaseMessage("y", "y", {})};
  EXPECT_TRUE(DataValue::Compare<TypeParam>(ListOf({V(1LL)}), ListOf({V(1LL)}), messages));
  EXPECT_EQ(messages.size(), 2u);
  EXPECT_FALSE(DataValue::Compare<TypeParam>(ListOf({V(1LL)}), ListOf({V(2LL)}), messages));
  ASSERT_EQ(messages.size(), 3u);
  EXPECT_EQ(messages.back().defaultMessage(), "Values not equal <LONG>: 1 != 2");
}

// Nested a million levels deep, cycling through optional, list and structure.
Ptr Deep(long long leaf) {
  Ptr node = V(leaf);
  for (int i = 0; i < 1000000; ++i) {
    node = i % 3 == 0   ? Opt(std::move(node))
           : i % 3 == 1 ? ListOf({std::move(node)})
                        : Of("s", {{"f", std::move(node)}});
  }
  return node;
}

TYPED_TEST(ValueComparatorTest, MillionLevelsDeepNeedNoDeepCallStack) {
  const Ptr one = Deep(1);
  EXPECT_EQ(Difference<TypeParam>(one, Deep(1)), std::vector<std::string>{});
  EXPECT_EQ(Difference<TypeParam>(one, Deep(2)), (std::vector<std::string>{kNotEqual, "LONG", "1", "2"}));
}

TEST(ValueComparator, LooseMixesStructuresAndErrorsAndIgnoresNames) {
  const Ptr structure = Of("a", {{"x", V(1LL)}}), error = Of<ErrorValue>("b", {{"x", V(1LL)}});
  const Ptr x = Of("x", {{"f", V(1LL)}}), y = Of("y", {{"f", V(1LL)}}),
            longer = Of("y", {{"f", V(1LL)}, {"g", V(1LL)}});
  RunCases<CompModeLoose>({
      {"structure and error", structure, error, {}},
      {"error and structure", error, structure, {}},
      {"fields still count", structure, Of<ErrorValue>("b", {{"x", V(2LL)}}), {kNotEqual, "LONG", "1", "2"}},
      {"names", x, y, {}},
      {"counts", x, longer, {kSizes, x->ToString(), longer->ToString()}},
  });
  RunCases<CompModeStrict>({
      {"structure and error", structure, error, {kMismatch, structure->ToString(), error->ToString()}},
      {"names", x, y, {kNames, x->ToString(), y->ToString()}},
      {"names before counts", x, longer, {kNames, x->ToString(), longer->ToString()}},
  });
}

// ---------------------------------------------------------------------------------------
// Definitions

const auto IntD = []() -> Def { return IntegerDefinition::GetInstance(); };
const auto StrD = []() -> Def { return StringDefinition::GetInstance(); };
const auto OptD = [](Def element) -> Def { return OptionalDefinition::GetInstance(std::move(element)); };
const auto ListD = [](Def element) -> Def { return ListDefinition::GetInstance(std::move(element)); };
const auto StructD = [](std::string name, DataDefinition::FieldMap fields) -> Def {
  return StructDefinition::GetInstance(std::move(name), std::move(fields));
};
Def CaseD(Def element, std::string tag) {
  return UnionCaseDefinition::GetInstance(std::move(element), std::move(tag),
                                          [](const std::string&) { return boost::logic::tribool(true); });
}
Def OneOfD(std::string allowed) {
  return IsOneOfDefinition::GetInstance([allowed](const std::string& text) { return text == allowed; });
}

void RunDefinitions(const std::vector<Case<Def>>& cases) {
  for (const auto& c : cases) {
    SCOPED_TRACE(c.label);
    MessageList messages;
    const bool equal = DefinitionComparator::Compare(c.a, c.b, messages);
    EXPECT_EQ(equal, messages.empty());
    EXPECT_EQ(Flatten(messages), c.expected);
    EXPECT_EQ(DataDefinition::Compare(c.a, c.b), equal);
  }
}

TEST(DefinitionComparator, KindsElementsAndUnionCaseTags) {
  MessageList messages;
  EXPECT_TRUE(DefinitionComparator::Compare(nullptr, nullptr, messages));
  EXPECT_FALSE(DefinitionComparator::Compare(IntD(), nullptr, messages));
  EXPECT_THAT(messages, IsEmpty());
  RunDefinitions({
      {"integer and double", IntD(), DoubleDefinition::GetInstance(), {kMismatch, "INTEGER", "DOUBLE"}},
      // Both render "VOID", yet the kinds differ.
      {"opaque and void",
       OpaqueDefinition::GetInstance(),
       VoidDefinition::GetInstance(),
       {kMismatch, "VOID", "VOID"}},
      {"string and is-one-of", StrD(), OneOfD("x"), {}},
      {"predicates are not compared", OneOfD("x"), OneOfD("y"), {}},
      {"elements two levels down",
       ListD(OptD(IntD())),
       ListD(OptD(StrD())),
       {kMismatch, "INTEGER", "STRING"}},
      {"optional and list", OptD(IntD()), ListD(IntD()), {kMismatch, "OPTIONAL<INTEGER>", "LIST[INTEGER]"}},
      {"empty element", OptD(nullptr), OptD(IntD()), {kMismatch, "<unset>", "INTEGER"}},
      {"union cases", CaseD(IntD(), "kind"), CaseD(IntD(), "kind"), {}},
      {"union case elements", CaseD(IntD(), "kind"), CaseD(StrD(), "kind"), {kMismatch, "INTEGER", "STRING"}},
      {"union case tags", CaseD(IntD(), "kind"), CaseD(IntD(), "type"), {kMismatch, "OPTIONAL", "OPTIONAL"}},
      // An optional matches a union case on its element; a union case, having a tag field,
      // never matches a plain optional.
      {"optional and union case", OptD(IntD()), CaseD(IntD(), "kind"), {}},
      {"union case and optional",
       CaseD(IntD(), "kind"),
       OptD(IntD()),
       {kMismatch, "OPTIONAL", "OPTIONAL<INTEGER>"}},
  });
}

TEST(DefinitionComparator, CompoundsCompareNamesThenCountsThenFieldsInNameOrder) {
  const Def s_ab = StructD("s", {{"a", IntD()}, {"b", StrD()}}),
            s_ac = StructD("s", {{"a", IntD()}, {"c", StrD()}});
  const Def e_unset = ErrorDefinition::GetInstance("e"),
            e_a = ErrorDefinition::GetInstance("e", {{"a", IntD()}});
  const Def dyn_a = DynamicStructureDefinition::GetInstance({{"a", IntD()}});
  RunDefinitions({
      {"equal", s_ab, StructD("s", {{"a", IntD()}, {"b", StrD()}}), {}},
      {"names",
       s_ab,
       StructD("t", {{"a", IntD()}, {"b", StrD()}}),
       {kNames, s_ab->ToString(), "{sd{ t : { a : INTEGER, b : STRING, } }} "}},
      {"field counts",
       StructD("s", {{"a", IntD()}}),
       s_ab,
       {kSizes, "{sd{ s : { a : INTEGER, } }} ", s_ab->ToString()}},
      {"missing field", s_ac, s_ab, {kMissing, "c", s_ac->ToString(), s_ab->ToString()}},
      {"first field first",
       s_ab,
       StructD("s", {{"a", StrD()}, {"b", IntD()}}),
       {kMismatch, "INTEGER", "STRING"}},
      {"unset name and fields count as empty", StructDefinition::GetInstance(), StructD("", {}), {}},
      {"error with unset fields", e_unset, ErrorDefinition::GetInstance("e", {}), {}},
      {"error field counts", e_unset, e_a, {kSizes, e_unset->ToString(), e_a->ToString()}},
      {"structure and error",
       StructD("e", {}),
       ErrorDefinition::GetInstance("e", {}),
       {kMismatch, "{sd{ e : { } }} ", "{ed{ e : { } }} "}},
      {"dynamic, unset and empty",
       DynamicStructureDefinition::GetInstance(),
       DynamicStructureDefinition::GetInstance({}),
       {}},
      {"dynamic fields",
       dyn_a,
       DynamicStructureDefinition::GetInstance({{"a", StrD()}}),
       {kMismatch, "INTEGER", "STRING"}},
      {"dynamic missing field",
       dyn_a,
       DynamicStructureDefinition::GetInstance({{"b", IntD()}}),
       {kMissing, "a", "DynamicStructureDefinition", "DynamicStructureDefinition"}},
      {"dynamic errors",
       DynamicErrorDefinition::GetInstance({{"a", IntD()}}),
       DynamicErrorDefinition::GetInstance(),
       {kSizes, "DynamicErrorDefinition", "DynamicErrorDefinition"}},
      {"dynamic structure and error",
       dyn_a,
       DynamicErrorDefinition::GetInstance(),
       {kMismatch, "DynamicStructureDefinition", "DynamicErrorDefinition"}},
  });
}

// A structure "node" whose field "next" refers back to itself.
StructDefinition::PtrType Node(Def value) {
  StructDefinition::PtrType node = StructDefinition::GetInstance("node", {{"value", std::move(value)}});
  node->SetField("next", OptD(StructRefDefinition::GetInstance(node)));
  return node;
}

TEST(DefinitionComparator, ReferencesCompareNamesAndLivenessWithoutFollowingTargets) {
  const auto node = Node(IntD()), other = Node(IntD());
  const Def dead = StructRefDefinition::GetInstance(Node(IntD())),
            live = StructRefDefinition::GetInstance(node);
  ASSERT_FALSE(std::static_pointer_cast<const StructRefDefinition>(dead)->target());
  const std::vector<std::string> refs{kMismatch, "StructRefDefinition", "StructRefDefinition"};
  RunDefinitions({
      {"recursive structures", node, other, {}},
      {"recursive structures differ", node, Node(StrD()), {kMismatch, "INTEGER", "STRING"}},
      {"both live", live, StructRefDefinition::GetInstance(other), {}},
      {"both dead", dead, StructRefDefinition::GetInstance("node"), {}},
      {"live and dead", live, dead, refs},
      {"names", StructRefDefinition::GetInstance("a"), StructRefDefinition::GetInstance("b"), refs},
  });
}

TEST(DefinitionComparator, MillionLevelsDeepNeedNoDeepCallStack) {
  const auto deep = [](Def node) {
    for (int i = 0; i < 1000000; ++i) node = i % 2 == 0 ? OptD(std::move(node)) : ListD(std::move(node));
    return node;
  };
  const Def integers = deep(IntD());
  RunDefinitions({{"equal", integers, deep(IntD()), {}},
                  {"leaves", integers, deep(StrD()), {kMismatch, "INTEGER", "STRING"}}});
}

}  // namespace
