#include "olma/data/comparator.h"

#include <cmath>
#include <limits>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "data/tree_test_support.h"
#include "olma/core/message.h"
#include "olma/core/secret_string.h"
#include "olma/data/definitions.h"
#include "olma/data/values.h"

namespace {

using namespace Olma::Data;
using namespace Olma::Data::Testing;
using Olma::BaseMessage;
using Olma::MessageList;
using Olma::SecretString;
using testing::IsEmpty;

using Ptr = DataValue::PtrConstType;

const std::string kMismatch = "olma.data.type.mismatch";
const std::string kNotEqual = "olma.data.comparator.values.not.equal";
const std::string kSizes = "olma.data.value.comp.values.not.eq.sizes";
const std::string kNames = "olma.data.value.comp.struct.names.not.eq";
const std::string kMissing = "olma.data.value.comp.struct.missing.field";

template <class T>
Ptr V(const T& native) {
  return DataValue::Create<T>(native);
}
// The one message expected, as its id followed by its arguments; none at all is Texts{}.
template <class... Args>
Texts Diff(const std::string& id, const Args&... args) {
  return {id, args...};
}
Texts Single(const MessageList& messages) {
  EXPECT_LE(messages.size(), 1u) << "a comparison reports at most one difference";
  return Flatten(messages);
}

template <class Mode>
Texts Difference(const Ptr& a, const Ptr& b) {
  MessageList messages;
  const bool equal = ValueComparator<Mode>::Compare(a, b, messages);
  EXPECT_EQ(equal, messages.empty());
  return Single(messages);
}

template <class Node>
struct Case {
  const char* label;
  Node a, b;
  Texts expected;
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
using Modes = testing::Types<CompModeLoose, CompModeStrict>;
TYPED_TEST_SUITE(ValueComparatorTest, Modes);

TYPED_TEST(ValueComparatorTest, OnlyTheCallsOwnMessageDecides) {
  MessageList messages{BaseMessage("x", "x", {})};
  EXPECT_TRUE(ValueComparator<TypeParam>::Compare(nullptr, nullptr, messages));
  // An empty root against a set one differs without a message.
  EXPECT_FALSE(ValueComparator<TypeParam>::Compare(Int(1), nullptr, messages));
  EXPECT_FALSE(ValueComparator<TypeParam>::Compare(nullptr, Int(1), messages));
  EXPECT_TRUE(DataValue::Compare<TypeParam>(ListOf({Int(1)}), ListOf({Int(1)}), messages));
  EXPECT_EQ(messages.size(), 1u);
  EXPECT_FALSE(DataValue::Compare<TypeParam>(ListOf({Int(1)}), ListOf({Int(2)}), messages));
  ASSERT_EQ(messages.size(), 2u);
  EXPECT_EQ(messages.back().defaultMessage(), "Values not equal <LONG>: 1 != 2");
}

TYPED_TEST(ValueComparatorTest, FirstDifferenceInReadingOrder) {
  const Ptr pw = V(SecretString("pw")), longs = ListOf<ListValueLong>({1, 2});
  const Ptr ab = Of("s", {{"a", Int(1)}, {"b", Int(2)}});
  const Ptr abc = Of("s", {{"a", Int(1)}, {"b", Int(1)}, {"c", Int(1)}});
  const Ptr axy = Of("s", {{"a", Int(1)}, {"x", Int(1)}, {"y", Int(1)}});
  RunCases<TypeParam>({
      // Scalars: kinds, then payloads.
      {"integers", Int(7), Int(8), Diff(kNotEqual, "LONG", "7", "8")},
      {"equal blobs", V(Olma::ByteVector{1, 2}), V(Olma::ByteVector{1, 2}), {}},
      {"blobs", V(Olma::ByteVector{1}), V(Olma::ByteVector{1, 0}),
       Diff(kNotEqual, "BINARY", "0x1 ", "0x1 0 ")},
      {"equal secrets", pw, V(SecretString("pw")), {}},
      {"secrets", pw, V(SecretString("pW")), Diff(kNotEqual, "SECRET", "<secret>", "<secret>")},
      {"integer and double", Int(1), V(1.0), Diff(kMismatch, "1", "1.000000")},
      // Lists: element by element, depth first.
      {"equal lists", ListOf({Int(1), Int(2)}), ListOf({Int(1), Int(2)}), {}},
      {"second element", ListOf({Int(1), Int(2)}), ListOf({Int(1), Int(3)}),
       Diff(kNotEqual, "LONG", "2", "3")},
      {"lengths", ListOf({Int(1)}), ListOf({Int(1), Int(2)}), Diff(kSizes, "[ 1, ] ", "[ 1, 2, ] ")},
      {"empty elements", ListOf({nullptr}), ListOf({nullptr}), {}},
      {"empty and set element", ListOf({nullptr}), ListOf({Int(1)}), Diff(kMismatch, "<unset>", "1")},
      {"depth first", ListOf({Of("s", {{"a", Int(1)}}), Int(2)}), ListOf({Of("s", {{"a", Int(5)}}), Int(3)}),
       Diff(kNotEqual, "LONG", "1", "5")},
      // Typed lists: whole, under the unknown kind name; a length is a value difference.
      {"equal typed", longs, ListOf<ListValueLong>({1, 2}), {}},
      {"typed element", longs, ListOf<ListValueLong>({1, 3}),
       Diff(kNotEqual, "_UNKNOWN", "[ 1, 2, ] ", "[ 1, 3, ] ")},
      {"typed lengths", longs, ListOf<ListValueLong>({1}),
       Diff(kNotEqual, "_UNKNOWN", "[ 1, 2, ] ", "[ 1, ] ")},
      {"typed list and list", longs, ListOf({Int(1), Int(2)}), Diff(kMismatch, "[ 1, 2, ] ", "[ 1, 2, ] ")},
      // Optionals: set state, then content; never unwrapped.
      {"both unset", Unset(), Unset(), {}},
      {"set and unset", Opt(Int(5)), Unset(), Diff(kNotEqual, "OPTIONAL", "Optional< 5>", "Optional< >")},
      {"contents", Opt(Int(5)), Opt(Int(6)), Diff(kNotEqual, "LONG", "5", "6")},
      {"not unwrapped", Opt(Int(5)), Int(5), Diff(kMismatch, "Optional< 5>", "5")},
      // Compounds: field count, then fields in name order. The greatest name of the first
      // that the second lacks is named; the second's own fields never are.
      {"equal compounds", ab, Of("s", {{"b", Int(2)}, {"a", Int(1)}}), {}},
      {"two missing", abc, axy, Diff(kMissing, "c", abc->ToString(), axy->ToString())},
      {"field counts", Of("s", {{"a", Int(1)}}), ab, Diff(kSizes, "{{ s : { a : 1, } }} ", ab->ToString())},
      {"fields depth first", Of("s", {{"a", ListOf({Int(1), Int(2)})}, {"b", Int(3)}}),
       Of("s", {{"a", ListOf({Int(1), Int(3)})}, {"b", Int(4)}}), Diff(kNotEqual, "LONG", "2", "3")},
  });
}

TYPED_TEST(ValueComparatorTest, DoublesUseAnAbsoluteToleranceOfOneMillionth) {
  const double inf = std::numeric_limits<double>::infinity();
  // Absolute, not relative: large magnitudes must agree to a millionth as well.
  const struct {
    double a, b;
    bool equal;
  } cases[] = {{1.0, 1.0000005, true},     {1.0, 1.000002, false}, {0.0, 9.99e-7, true},
               {0.0, 1.0000001e-6, false}, {1e-7, -1e-7, true},    {1e12, 1e12 + 0.001, false},
               {inf, inf, true},           {inf, -inf, false},     {std::nan(""), std::nan(""), false}};
  for (const auto& c : cases) {
    SCOPED_TRACE(testing::Message() << c.a << " vs " << c.b);
    const Ptr a = V(c.a), b = V(c.b);
    const Ptr list_a = ListOf<ListValueDouble>({0.5, c.a}), list_b = ListOf<ListValueDouble>({0.5, c.b});
    EXPECT_EQ(Difference<TypeParam>(a, b),
              c.equal ? Texts{} : Diff(kNotEqual, "DOUBLE", a->ToString(), b->ToString()));
    EXPECT_EQ(Difference<TypeParam>(list_a, list_b),
              c.equal ? Texts{} : Diff(kNotEqual, "_UNKNOWN", list_a->ToString(), list_b->ToString()));
  }
}

TYPED_TEST(ValueComparatorTest, ANodeComparedWithItselfIsEqualWithoutDescending) {
  // 60 levels of [x, x] have 2^60 paths: only the short-cut makes these comparisons end.
  Ptr shared = V(std::nan(""));
  for (int level = 0; level < 60; ++level) shared = ListOf({shared, shared});
  const auto& top = static_cast<const ListValue&>(*shared);
  const Ptr copy = ListOf({top.front(), top.back()});  // another root over the same children
  EXPECT_EQ(Difference<TypeParam>(shared, shared), Texts{});
  EXPECT_EQ(Difference<TypeParam>(shared, copy), Texts{});
  // A NaN equals itself by the short-cut, and no other NaN.
  const Ptr nan = V(std::nan(""));
  EXPECT_EQ(Difference<TypeParam>(ListOf({nan}), ListOf({nan})), Texts{});
  EXPECT_EQ(Difference<TypeParam>(ListOf({nan}), ListOf({V(std::nan(""))})),
            Diff(kNotEqual, "DOUBLE", "nan", "nan"));
}

TYPED_TEST(ValueComparatorTest, MillionLevelsDeepNeedNoDeepCallStack) {
  // Nested a million levels deep, cycling through optional, list and structure.
  const Ptr one = Nested(Int(1), "ols");
  EXPECT_EQ(Difference<TypeParam>(one, Nested(Int(1), "ols")), Texts{});
  EXPECT_EQ(Difference<TypeParam>(one, Nested(Int(2), "ols")), Diff(kNotEqual, "LONG", "1", "2"));
}

TYPED_TEST(ValueComparatorTest, DeepTreesWithASiblingAfterEveryLevel) {
  // Each level holds the next one first and a leaf after it, alternating between lists and
  // structures, so a walk must remember its place at every level on the way down.
  const auto build = [](long long top, long long bottom) {
    Ptr tree = Int(bottom);
    for (int level = 1; level <= 1000; ++level) {
      const Ptr leaf = Int(level == 1000 ? top : level);
      tree = level % 2 == 0 ? ListOf({tree, leaf}) : Of("s", {{"a", tree}, {"b", leaf}});
    }
    return tree;
  };
  EXPECT_EQ(Difference<TypeParam>(build(1, 2), build(1, 2)), Texts{});
  EXPECT_EQ(Difference<TypeParam>(build(1, 2), build(1, 3)), Diff(kNotEqual, "LONG", "2", "3"));
  EXPECT_EQ(Difference<TypeParam>(build(1, 2), build(5, 2)), Diff(kNotEqual, "LONG", "1", "5"));
}

TEST(ValueComparator, LooseMixesStructuresAndErrorsAndIgnoresNames) {
  const Ptr structure = Of("a", {{"x", Int(1)}}), error = Of<ErrorValue>("b", {{"x", Int(1)}});
  const Ptr x = Of("x", {{"f", Int(1)}}), y = Of("y", {{"f", Int(1)}}),
            longer = Of("y", {{"f", Int(1)}, {"g", Int(1)}});
  RunCases<CompModeLoose>({
      {"structure and error", structure, error, {}},
      {"error and structure", error, structure, {}},
      {"fields still count", structure, Of<ErrorValue>("b", {{"x", Int(2)}}),
       Diff(kNotEqual, "LONG", "1", "2")},
      {"names", x, y, {}},
      {"counts", x, longer, Diff(kSizes, x->ToString(), longer->ToString())},
  });
  RunCases<CompModeStrict>({
      {"structure and error", structure, error, Diff(kMismatch, structure->ToString(), error->ToString())},
      {"names", x, y, Diff(kNames, x->ToString(), y->ToString())},
      {"names before counts", x, longer, Diff(kNames, x->ToString(), longer->ToString())},
  });
}

// ---------------------------------------------------------------------------------------
// Definitions

const auto CaseD = [](Def element, std::string tag) -> Def {
  return UnionCaseDefinition::GetInstance(element, tag, [](const std::string&) { return true; });
};
const auto OneOfD = [](std::string allowed) -> Def {
  return IsOneOfDefinition::GetInstance([allowed](const std::string& text) { return text == allowed; });
};

void RunDefinitions(const std::vector<Case<Def>>& cases) {
  for (const auto& c : cases) {
    SCOPED_TRACE(c.label);
    MessageList messages;
    const bool equal = DefinitionComparator::Compare(c.a, c.b, messages);
    EXPECT_EQ(equal, messages.empty());
    EXPECT_EQ(Single(messages), c.expected);
    EXPECT_EQ(DataDefinition::Compare(c.a, c.b), equal);
  }
}

TEST(DefinitionComparator, FirstDifferenceByKindElementTagAndField) {
  MessageList messages;
  EXPECT_TRUE(DefinitionComparator::Compare(nullptr, nullptr, messages));
  EXPECT_FALSE(DefinitionComparator::Compare(IntD(), nullptr, messages));
  EXPECT_THAT(messages, IsEmpty());
  const Def s_ab = StructD("s", {{"a", IntD()}, {"b", StrD()}}),
            s_ac = StructD("s", {{"a", IntD()}, {"c", StrD()}});
  const Def e_unset = ErrorDefinition::GetInstance("e"),
            e_a = ErrorDefinition::GetInstance("e", {{"a", IntD()}});
  const Def dyn_a = DynamicStructureDefinition::GetInstance({{"a", IntD()}});
  RunDefinitions({
      {"integer and double", IntD(), DoubleDefinition::GetInstance(), Diff(kMismatch, "INTEGER", "DOUBLE")},
      // Both render "VOID", yet the kinds differ.
      {"opaque and void", OpaqueDefinition::GetInstance(), VoidDefinition::GetInstance(),
       Diff(kMismatch, "VOID", "VOID")},
      {"string and is-one-of", StrD(), OneOfD("x"), {}},
      {"predicates are not compared", OneOfD("x"), OneOfD("y"), {}},
      {"elements two levels down", ListD(OptD(IntD())), ListD(OptD(StrD())),
       Diff(kMismatch, "INTEGER", "STRING")},
      {"empty element", OptD(nullptr), OptD(IntD()), Diff(kMismatch, "<unset>", "INTEGER")},
      {"union cases", CaseD(IntD(), "kind"), CaseD(IntD(), "kind"), {}},
      {"union case elements", CaseD(IntD(), "kind"), CaseD(StrD(), "kind"),
       Diff(kMismatch, "INTEGER", "STRING")},
      {"union case tags", CaseD(IntD(), "kind"), CaseD(IntD(), "type"),
       Diff(kMismatch, "OPTIONAL", "OPTIONAL")},
      // An optional matches a union case on its element; a union case, having a tag field,
      // never matches a plain optional.
      {"optional and union case", OptD(IntD()), CaseD(IntD(), "kind"), {}},
      {"union case and optional", CaseD(IntD(), "kind"), OptD(IntD()),
       Diff(kMismatch, "OPTIONAL", "OPTIONAL<INTEGER>")},
      // Compounds: names, then counts, then fields in name order.
      {"names", s_ab, StructD("t", {{"a", IntD()}, {"b", StrD()}}),
       Diff(kNames, s_ab->ToString(), "{sd{ t : { a : INTEGER, b : STRING, } }} ")},
      {"field counts", StructD("s", {{"a", IntD()}}), s_ab,
       Diff(kSizes, "{sd{ s : { a : INTEGER, } }} ", s_ab->ToString())},
      {"missing field", s_ac, s_ab, Diff(kMissing, "c", s_ac->ToString(), s_ab->ToString())},
      {"first field first", s_ab, StructD("s", {{"a", StrD()}, {"b", IntD()}}),
       Diff(kMismatch, "INTEGER", "STRING")},
      {"unset name and fields count as empty", StructDefinition::GetInstance(), StructD("", {}), {}},
      {"error field counts", e_unset, e_a, Diff(kSizes, e_unset->ToString(), e_a->ToString())},
      {"structure and error", StructD("e", {}), ErrorDefinition::GetInstance("e", {}),
       Diff(kMismatch, "{sd{ e : { } }} ", "{ed{ e : { } }} ")},
      {"dynamic missing field", dyn_a, DynamicStructureDefinition::GetInstance({{"b", IntD()}}),
       Diff(kMissing, "a", "DynamicStructureDefinition", "DynamicStructureDefinition")},
      {"dynamic errors", DynamicErrorDefinition::GetInstance({{"a", IntD()}}),
       DynamicErrorDefinition::GetInstance(),
       Diff(kSizes, "DynamicErrorDefinition", "DynamicErrorDefinition")},
      {"dynamic structure and error", dyn_a, DynamicErrorDefinition::GetInstance(),
       Diff(kMismatch, "DynamicStructureDefinition", "DynamicErrorDefinition")},
  });
}

TEST(DefinitionComparator, ReferencesCompareNamesAndLivenessWithoutFollowingTargets) {
  const auto node = Node(IntD()), other = Node(IntD());
  const Def dead = StructRefDefinition::GetInstance(Node(IntD())),
            live = StructRefDefinition::GetInstance(node);
  ASSERT_FALSE(std::static_pointer_cast<const StructRefDefinition>(dead)->target());
  const Texts refs = Diff(kMismatch, "StructRefDefinition", "StructRefDefinition");
  RunDefinitions({
      {"recursive structures", node, other, {}},
      {"recursive structures differ", node, Node(StrD()), Diff(kMismatch, "INTEGER", "STRING")},
      {"both live", live, StructRefDefinition::GetInstance(other), {}},
      {"both dead", dead, StructRefDefinition::GetInstance("node"), {}},
      {"live and dead", live, dead, refs},
      {"names", StructRefDefinition::GetInstance("a"), StructRefDefinition::GetInstance("b"), refs},
  });
}

TEST(DefinitionComparator, MillionLevelsDeepNeedNoDeepCallStack) {
  const Def integers = Nested(IntD(), "ol");
  RunDefinitions({{"equal", integers, Nested(IntD(), "ol"), {}},
                  {"leaves", integers, Nested(StrD(), "ol"), Diff(kMismatch, "INTEGER", "STRING")}});
}

}  // namespace
