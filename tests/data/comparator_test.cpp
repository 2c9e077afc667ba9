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
using testing::IsEmpty;

using Ptr = DataValue::PtrConstType;
using Def = DataDefinition::PtrConstType;
using Texts = std::vector<std::string>;

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
template <class List = ListValue>
Ptr ListOf(std::initializer_list<typename List::value_type> elements) {
  auto list = List::GetInstance();
  list->assign(elements.begin(), elements.end());
  return list;
}
template <class Compound = StructValue>
Ptr Of(std::string name, std::initializer_list<std::pair<const char*, Ptr>> fields) {
  auto compound = Compound::GetInstance(std::move(name));
  for (const auto& [field, value] : fields) compound->SetField(field, value);
  return compound;
}
// The one message expected, as its id followed by its arguments; none at all is Texts{}.
template <class... Args>
Texts Diff(const std::string& id, const Args&... args) {
  return {id, args...};
}

// The message as Diff writes it; at most one is allowed.
Texts Flatten(const MessageList& messages) {
  EXPECT_LE(messages.size(), 1u) << "a comparison reports at most one difference";
  if (messages.empty()) return {};
  Texts flat{messages.front().id()};
  flat.insert(flat.end(), messages.front().args().begin(), messages.front().args().end());
  return flat;
}

template <class Mode>
Texts Difference(const Ptr& a, const Ptr& b) {
  MessageList messages;
  const bool equal = ValueComparator<Mode>::Compare(a, b, messages);
  EXPECT_EQ(equal, messages.empty());
  return Flatten(messages);
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
struct ModeNames {
  template <class Mode>
  static std::string GetName(int) {
    return std::is_same_v<Mode, CompModeStrict> ? "Strict" : "Loose";
  }
};
using Modes = testing::Types<CompModeLoose, CompModeStrict>;
TYPED_TEST_SUITE(ValueComparatorTest, Modes, ModeNames);

TYPED_TEST(ValueComparatorTest, OnlyTheCallsOwnMessageDecides) {
  MessageList messages{BaseMessage("x", "x", {})};
  EXPECT_TRUE(ValueComparator<TypeParam>::Compare(nullptr, nullptr, messages));
  // An empty root against a set one differs without a message.
  EXPECT_FALSE(ValueComparator<TypeParam>::Compare(V(1LL), nullptr, messages));
  EXPECT_FALSE(ValueComparator<TypeParam>::Compare(nullptr, V(1LL), messages));
  EXPECT_TRUE(DataValue::Compare<TypeParam>(ListOf({V(1LL)}), ListOf({V(1LL)}), messages));
  EXPECT_EQ(messages.size(), 1u);
  EXPECT_FALSE(DataValue::Compare<TypeParam>(ListOf({V(1LL)}), ListOf({V(2LL)}), messages));
  ASSERT_EQ(messages.size(), 2u);
  EXPECT_EQ(messages.back().defaultMessage(), "Values not equal <LONG>: 1 != 2");
}

TYPED_TEST(ValueComparatorTest, FirstDifferenceInReadingOrder) {
  const Ptr pw = V(SecretString("pw")), longs = ListOf<ListValueLong>({1, 2});
  const Ptr ab = Of("s", {{"a", V(1LL)}, {"b", V(2LL)}});
  const Ptr abc = Of("s", {{"a", V(1LL)}, {"b", V(1LL)}, {"c", V(1LL)}});
  const Ptr axy = Of("s", {{"a", V(1LL)}, {"x", V(1LL)}, {"y", V(1LL)}});
  RunCases<TypeParam>({
      // Scalars: kinds, then payloads.
      {"integers", V(7LL), V(8LL), Diff(kNotEqual, "LONG", "7", "8")},
      {"equal blobs", V(Olma::ByteVector{1, 2}), V(Olma::ByteVector{1, 2}), {}},
      {"blobs", V(Olma::ByteVector{1}), V(Olma::ByteVector{1, 0}),
       Diff(kNotEqual, "BINARY", "0x1 ", "0x1 0 ")},
      {"equal secrets", pw, V(SecretString("pw")), {}},
      {"secrets", pw, V(SecretString("pW")), Diff(kNotEqual, "SECRET", "<secret>", "<secret>")},
      {"integer and double", V(1LL), V(1.0), Diff(kMismatch, "1", "1.000000")},
      // Lists: element by element, depth first.
      {"equal lists", ListOf({V(1LL), V(2LL)}), ListOf({V(1LL), V(2LL)}), {}},
      {"second element", ListOf({V(1LL), V(2LL)}), ListOf({V(1LL), V(3LL)}),
       Diff(kNotEqual, "LONG", "2", "3")},
      {"lengths", ListOf({V(1LL)}), ListOf({V(1LL), V(2LL)}), Diff(kSizes, "[ 1, ] ", "[ 1, 2, ] ")},
      {"empty elements", ListOf({nullptr}), ListOf({nullptr}), {}},
      {"empty and set element", ListOf({nullptr}), ListOf({V(1LL)}), Diff(kMismatch, "<unset>", "1")},
      {"depth first", ListOf({Of("s", {{"a", V(1LL)}}), V(2LL)}), ListOf({Of("s", {{"a", V(5LL)}}), V(3LL)}),
       Diff(kNotEqual, "LONG", "1", "5")},
      // Typed lists: whole, under the unknown kind name; a length is a value difference.
      {"equal typed", longs, ListOf<ListValueLong>({1, 2}), {}},
      {"typed element", longs, ListOf<ListValueLong>({1, 3}),
       Diff(kNotEqual, "_UNKNOWN", "[ 1, 2, ] ", "[ 1, 3, ] ")},
      {"typed lengths", longs, ListOf<ListValueLong>({1}),
       Diff(kNotEqual, "_UNKNOWN", "[ 1, 2, ] ", "[ 1, ] ")},
      {"typed list and list", longs, ListOf({V(1LL), V(2LL)}), Diff(kMismatch, "[ 1, 2, ] ", "[ 1, 2, ] ")},
      // Optionals: set state, then content; never unwrapped.
      {"both unset", Unset(), Unset(), {}},
      {"set and unset", Opt(V(5LL)), Unset(), Diff(kNotEqual, "OPTIONAL", "Optional< 5>", "Optional< >")},
      {"contents", Opt(V(5LL)), Opt(V(6LL)), Diff(kNotEqual, "LONG", "5", "6")},
      {"not unwrapped", Opt(V(5LL)), V(5LL), Diff(kMismatch, "Optional< 5>", "5")},
      // Compounds: field count, then fields in name order. The greatest name of the first
      // that the second lacks is named; the second's own fields never are.
      {"equal compounds", ab, Of("s", {{"b", V(2LL)}, {"a", V(1LL)}}), {}},
      {"two missing", abc, axy, Diff(kMissing, "c", abc->ToString(), axy->ToString())},
      {"field counts", Of("s", {{"a", V(1LL)}}), ab, Diff(kSizes, "{{ s : { a : 1, } }} ", ab->ToString())},
      {"fields depth first", Of("s", {{"a", ListOf({V(1LL), V(2LL)})}, {"b", V(3LL)}}),
       Of("s", {{"a", ListOf({V(1LL), V(3LL)})}, {"b", V(4LL)}}), Diff(kNotEqual, "LONG", "2", "3")},
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
  EXPECT_EQ(Difference<TypeParam>(one, Deep(1)), Texts{});
  EXPECT_EQ(Difference<TypeParam>(one, Deep(2)), Diff(kNotEqual, "LONG", "1", "2"));
}

TEST(ValueComparator, LooseMixesStructuresAndErrorsAndIgnoresNames) {
  const Ptr structure = Of("a", {{"x", V(1LL)}}), error = Of<ErrorValue>("b", {{"x", V(1LL)}});
  const Ptr x = Of("x", {{"f", V(1LL)}}), y = Of("y", {{"f", V(1LL)}}),
            longer = Of("y", {{"f", V(1LL)}, {"g", V(1LL)}});
  RunCases<CompModeLoose>({
      {"structure and error", structure, error, {}},
      {"error and structure", error, structure, {}},
      {"fields still count", structure, Of<ErrorValue>("b", {{"x", V(2LL)}}),
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

const auto IntD = []() -> Def { return IntegerDefinition::GetInstance(); };
const auto StrD = []() -> Def { return StringDefinition::GetInstance(); };
const auto OptD = [](Def element) -> Def { return OptionalDefinition::GetInstance(std::move(element)); };
const auto ListD = [](Def element) -> Def { return ListDefinition::GetInstance(std::move(element)); };
const auto StructD = [](std::string name, DataDefinition::FieldMap fields) -> Def {
  return StructDefinition::GetInstance(std::move(name), std::move(fields));
};
const auto CaseD = [](Def element, std::string tag) -> Def {
  return UnionCaseDefinition::GetInstance(element, tag, [](const std::string&) { return true; });
};
const auto OneOfD = [](std::string allowed) -> Def {
  return IsOneOfDefinition::GetInstance([allowed](const std::string& text) { return text == allowed; });
};
// A structure "node" whose field "next" refers back to itself.
StructDefinition::PtrType Node(Def value) {
  StructDefinition::PtrType node = StructDefinition::GetInstance("node", {{"value", std::move(value)}});
  node->SetField("next", OptD(StructRefDefinition::GetInstance(node)));
  return node;
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
  const auto deep = [](Def node) {
    for (int i = 0; i < 1000000; ++i) node = i % 2 == 0 ? OptD(std::move(node)) : ListD(std::move(node));
    return node;
  };
  const Def integers = deep(IntD());
  RunDefinitions({{"equal", integers, deep(IntD()), {}},
                  {"leaves", integers, deep(StrD()), Diff(kMismatch, "INTEGER", "STRING")}});
}

}  // namespace
