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
using Olma::BaseMessage;
using Olma::MessageList;
using Olma::SecretString;
using testing::AllOf;
using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::IsEmpty;
using testing::Matcher;
using testing::Property;

using Ptr = DataValue::PtrConstType;

// ---------------------------------------------------------------------------------------
// Builders

Ptr Int(long long value) {
  return IntegerValue::GetInstance(value);
}
Ptr Dbl(double value) {
  return DoubleValue::GetInstance(value);
}
Ptr Bool(bool value) {
  return BooleanValue::GetInstance(value);
}
Ptr Str(std::string value) {
  return StringValue::GetInstance(std::move(value));
}
Ptr Blob(Olma::ByteVector bytes) {
  return BlobValue::GetInstance(std::move(bytes));
}
Ptr Secret(const char* text) {
  return SecretValue::GetInstance(SecretString(text));
}
Ptr Unset() {
  return OptionalValue::GetInstance();
}
Ptr Opt(Ptr content) {
  return OptionalValue::GetInstance(std::move(content));
}

Ptr ListOf(std::initializer_list<Ptr> elements) {
  ListValue::PtrType list = ListValue::GetInstance();
  list->assign(elements.begin(), elements.end());
  return list;
}

template <class List>
Ptr TypedList(std::initializer_list<typename List::ElementType> elements) {
  std::shared_ptr<List> list = List::GetInstance();
  list->assign(elements.begin(), elements.end());
  return list;
}

using Fields = std::initializer_list<std::pair<const char*, Ptr>>;

template <class Compound>
Ptr CompoundOf(std::string name, Fields fields) {
  auto compound = Compound::GetInstance(std::move(name));
  for (const auto& field : fields) compound->SetField(field.first, field.second);
  return compound;
}
Ptr StructOf(std::string name, Fields fields) {
  return CompoundOf<StructValue>(std::move(name), fields);
}
Ptr ErrorOf(std::string name, Fields fields) {
  return CompoundOf<ErrorValue>(std::move(name), fields);
}

// ---------------------------------------------------------------------------------------
// Matchers

Matcher<const BaseMessage&> IsMessage(const std::string& id, const std::vector<std::string>& args) {
  return AllOf(Property("id", &BaseMessage::id, id),
               Property("args", &BaseMessage::args, ElementsAreArray(args)));
}

Matcher<const BaseMessage&> NotEqual(const std::string& kind, const Ptr& a, const Ptr& b) {
  return IsMessage("olma.data.comparator.values.not.equal", {kind, a->ToString(), b->ToString()});
}

Matcher<const BaseMessage&> Mismatch(const std::string& a, const std::string& b) {
  return IsMessage("olma.data.type.mismatch", {a, b});
}

Matcher<const BaseMessage&> Sizes(const Ptr& a, const Ptr& b) {
  return IsMessage("olma.data.value.comp.values.not.eq.sizes", {a->ToString(), b->ToString()});
}

// The messages of one comparison; checks that the result agrees with them.
template <class Mode>
MessageList Differences(const Ptr& a, const Ptr& b) {
  MessageList messages;
  const bool equal = ValueComparator<Mode>::Compare(a, b, messages);
  EXPECT_EQ(equal, messages.empty());
  return messages;
}

// ---------------------------------------------------------------------------------------
// Behaviour shared by both modes

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

struct Case {
  const char* label;
  Ptr a, b;
  std::vector<Matcher<const BaseMessage&>> expected;  // empty: equal
};

template <class Mode>
void RunCases(const std::vector<Case>& cases) {
  for (const Case& c : cases) {
    SCOPED_TRACE(c.label);
    EXPECT_THAT(Differences<Mode>(c.a, c.b), ElementsAreArray(c.expected));
  }
}

TYPED_TEST(ValueComparatorTest, EmptyRootsAreEqualOnlyToEachOtherAndNeverReport) {
  MessageList messages;
  EXPECT_TRUE(ValueComparator<TypeParam>::Compare(nullptr, nullptr, messages));
  EXPECT_FALSE(ValueComparator<TypeParam>::Compare(Int(1), nullptr, messages));
  EXPECT_FALSE(ValueComparator<TypeParam>::Compare(nullptr, Int(1), messages));
  EXPECT_THAT(messages, IsEmpty());
}

TYPED_TEST(ValueComparatorTest, ScalarsCompareByKindThenPayload) {
  const Ptr seven = Int(7), eight = Int(8), yes = Bool(true), no = Bool(false), abc = Str("abc"),
            abd = Str("abd");
  const Ptr blob = Blob({1, 2}), longer = Blob({1, 2, 0}), pw = Secret("pw"), pW = Secret("pW");
  RunCases<TypeParam>({
      {"void", VoidValue::GetInstance(), VoidValue::GetInstance(), {}},
      {"equal integers", seven, Int(7), {}},
      {"integers", seven, eight, {NotEqual("LONG", seven, eight)}},
      {"extreme integers",
       Int(std::numeric_limits<long long>::min()),
       Int(std::numeric_limits<long long>::max()),
       {IsMessage("olma.data.comparator.values.not.equal",
                  {"LONG", "-9223372036854775808", "9223372036854775807"})}},
      {"booleans", yes, no, {NotEqual("BOOLEAN", yes, no)}},
      {"equal strings", abc, Str("abc"), {}},
      {"strings", abc, abd, {NotEqual("STRING", abc, abd)}},
      {"strings are compared byte-wise",
       Str(std::string("a\0b", 3)),
       Str(std::string("a\0c", 3)),
       {testing::_}},
      {"equal blobs", blob, Blob({1, 2}), {}},
      {"blobs of different length", blob, longer, {NotEqual("BINARY", blob, longer)}},
      {"equal empty blobs", BlobValue::GetInstance(), BlobValue::GetInstance(), {}},
      {"equal secrets", pw, Secret("pw"), {}},
      {"secrets never show",
       pw,
       pW,
       {IsMessage("olma.data.comparator.values.not.equal", {"SECRET", "<secret>", "<secret>"})}},
      {"integer and double", Int(1), Dbl(1.0), {Mismatch("1", "1.000000")}},
      {"text and integer", Str("1"), Int(1), {Mismatch("1", "1")}},
      {"secret and string", Secret("pw"), Str("pw"), {Mismatch("<secret>", "pw")}},
      {"void and unset optional", VoidValue::GetInstance(), Unset(), {Mismatch("NULL", "Optional< >")}},
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
      {1e-7, -1e-7, true},
      {-0.0, 0.0, true},
      // Absolute, not relative: large magnitudes must agree to a millionth as well.
      {1e12, 1e12 + 0.001, false},
      {1e15, 1e15 + 0.125, false},
      {1e9, std::nextafter(1e9, 2e9), true},  // one step of 1.2e-7
      {1e300, 1e300, true},
      {inf, inf, true},
      {inf, -inf, false},
      {std::nan(""), std::nan(""), false},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(testing::Message() << c.a << " vs " << c.b);
    const Ptr a = Dbl(c.a), b = Dbl(c.b);
    if (c.equal) {
      EXPECT_THAT(Differences<TypeParam>(a, b), IsEmpty());
      EXPECT_THAT(Differences<TypeParam>(TypedList<ListValueDouble>({0.5, c.a}),
                                         TypedList<ListValueDouble>({0.5, c.b})),
                  IsEmpty());
    } else {
      EXPECT_THAT(Differences<TypeParam>(a, b), ElementsAre(NotEqual("DOUBLE", a, b)));
      EXPECT_THAT(
          Differences<TypeParam>(TypedList<ListValueDouble>({c.a}), TypedList<ListValueDouble>({c.b})),
          ElementsAre(testing::_));
    }
  }
}

TYPED_TEST(ValueComparatorTest, ListsReportTheFirstDifferingElementOnly) {
  const Ptr one = ListOf({Int(1)}), one_two = ListOf({Int(1), Int(2)});
  const Ptr nested = ListOf({ListOf({Int(1), Int(2)})}),
            nested_longer = ListOf({ListOf({Int(1), Int(2), Int(3)})});
  RunCases<TypeParam>({
      {"empty", ListOf({}), ListOf({}), {}},
      {"equal", one_two, ListOf({Int(1), Int(2)}), {}},
      {"second element",
       one_two,
       ListOf({Int(1), Int(3)}),
       {IsMessage("olma.data.comparator.values.not.equal", {"LONG", "2", "3"})}},
      {"every element differs: the first is named",
       ListOf({Int(1), Int(2), Int(3)}),
       ListOf({Int(4), Int(5), Int(6)}),
       {IsMessage("olma.data.comparator.values.not.equal", {"LONG", "1", "4"})}},
      {"lengths", one, one_two, {Sizes(one, one_two)}},
      {"lengths of a nested list",
       nested,
       nested_longer,
       {IsMessage("olma.data.value.comp.values.not.eq.sizes", {"[ 1, 2, ] ", "[ 1, 2, 3, ] "})}},
      {"element kinds", ListOf({Int(1), Str("a")}), ListOf({Int(1), Int(2)}), {Mismatch("a", "2")}},
      {"empty elements are equal", ListOf({nullptr}), ListOf({nullptr}), {}},
      {"empty element first", ListOf({nullptr}), ListOf({Int(1)}), {Mismatch("<unset>", "1")}},
      {"empty element second", ListOf({Int(1)}), ListOf({nullptr}), {Mismatch("1", "<unset>")}},
      // Depth first in reading order: the first element's inner difference comes before the
      // second element's.
      {"depth first",
       ListOf({StructOf("s", {{"a", Int(1)}}), Int(2)}),
       ListOf({StructOf("s", {{"a", Int(5)}}), Int(3)}),
       {IsMessage("olma.data.comparator.values.not.equal", {"LONG", "1", "5"})}},
  });
}

TYPED_TEST(ValueComparatorTest, TypedListsCompareAsWholesUnderTheUnknownKindName) {
  const Ptr longs = TypedList<ListValueLong>({1, 2}), other = TypedList<ListValueLong>({1, 3});
  const Ptr shorter = TypedList<ListValueLong>({1});
  const Ptr secrets = TypedList<ListValueSecret>({SecretString("a")});
  const Ptr other_secrets = TypedList<ListValueSecret>({SecretString("b")});
  RunCases<TypeParam>({
      {"equal longs", longs, TypedList<ListValueLong>({1, 2}), {}},
      {"longs", longs, other, {NotEqual("_UNKNOWN", longs, other)}},
      // A different length is a value difference here, not a size message.
      {"lengths", longs, shorter, {NotEqual("_UNKNOWN", longs, shorter)}},
      {"equal empty", TypedList<ListValueString>({}), TypedList<ListValueString>({}), {}},
      {"strings",
       TypedList<ListValueString>({"a", "b"}),
       TypedList<ListValueString>({"a", "c"}),
       {testing::_}},
      {"booleans", TypedList<ListValueBool>({true}), TypedList<ListValueBool>({false}), {testing::_}},
      {"blobs", TypedList<ListValueBlob>({{1}, {2}}), TypedList<ListValueBlob>({{1}, {2}}), {}},
      {"secrets",
       secrets,
       other_secrets,
       {IsMessage("olma.data.comparator.values.not.equal",
                  {"_UNKNOWN", "[ <secret>, ] ", "[ <secret>, ] "})}},
      {"typed list and list", longs, ListOf({Int(1), Int(2)}), {Mismatch("[ 1, 2, ] ", "[ 1, 2, ] ")}},
      {"list and typed list", ListOf({Int(1), Int(2)}), longs, {Mismatch("[ 1, 2, ] ", "[ 1, 2, ] ")}},
      {"typed lists of different kinds",
       TypedList<ListValueLong>({}),
       TypedList<ListValueDouble>({}),
       {Mismatch("[ ] ", "[ ] ")}},
  });
}

TYPED_TEST(ValueComparatorTest, OptionalsCompareTheirSetStateThenTheirContent) {
  const Ptr five = Opt(Int(5)), unset = Unset();
  RunCases<TypeParam>({
      {"both unset", unset, Unset(), {}},
      {"both set", five, Opt(Int(5)), {}},
      {"set and unset", five, unset, {NotEqual("OPTIONAL", five, unset)}},
      {"unset and set", unset, five, {NotEqual("OPTIONAL", unset, five)}},
      {"contents",
       five,
       Opt(Int(6)),
       {IsMessage("olma.data.comparator.values.not.equal", {"LONG", "5", "6"})}},
      {"set to nothing", Opt(nullptr), Opt(nullptr), {}},
      {"set to nothing and to a value", Opt(nullptr), five, {Mismatch("<unset>", "5")}},
      {"not unwrapped", five, Int(5), {Mismatch("Optional< 5>", "5")}},
  });
}

TYPED_TEST(ValueComparatorTest, StructuresCompareFieldCountsThenNamesThenValuesInNameOrder) {
  const Ptr ac = StructOf("s", {{"a", Int(1)}, {"c", Int(2)}}),
            ab = StructOf("s", {{"a", Int(1)}, {"b", Int(2)}});
  const Ptr a = StructOf("s", {{"a", Int(1)}});
  RunCases<TypeParam>({
      {"equal", ac, StructOf("s", {{"c", Int(2)}, {"a", Int(1)}}), {}},
      {"empty", StructOf("s", {}), StructOf("s", {}), {}},
      // The greatest name of the first that the second lacks; the extra "b" is never named.
      {"missing field",
       ac,
       ab,
       {IsMessage("olma.data.value.comp.struct.missing.field", {"c", ac->ToString(), ab->ToString()})}},
      {"missing field the other way",
       ab,
       ac,
       {IsMessage("olma.data.value.comp.struct.missing.field", {"b", ab->ToString(), ac->ToString()})}},
      {"missing among several",
       StructOf("s", {{"a", Int(1)}, {"b", Int(1)}, {"d", Int(1)}, {"e", Int(1)}}),
       StructOf("s", {{"a", Int(1)}, {"c", Int(1)}, {"d", Int(1)}, {"e", Int(1)}}),
       {Property("args", &BaseMessage::args, testing::ElementsAre("b", testing::_, testing::_))}},
      {"two missing: the greater is named",
       StructOf("s", {{"a", Int(1)}, {"b", Int(1)}, {"c", Int(1)}}),
       StructOf("s", {{"a", Int(1)}, {"x", Int(1)}, {"y", Int(1)}}),
       {Property("args", &BaseMessage::args, testing::ElementsAre("c", testing::_, testing::_))}},
      // Counts are compared before names, so the extra field shows as a size difference.
      {"field counts", a, ab, {Sizes(a, ab)}},
      {"first field in name order",
       StructOf("s", {{"b", Int(2)}, {"a", Int(1)}}),
       StructOf("s", {{"b", Int(8)}, {"a", Int(9)}}),
       {IsMessage("olma.data.comparator.values.not.equal", {"LONG", "1", "9"})}},
      {"depth first",
       StructOf("s", {{"a", ListOf({Int(1), Int(2)})}, {"b", Int(3)}}),
       StructOf("s", {{"a", ListOf({Int(1), Int(3)})}, {"b", Int(4)}}),
       {IsMessage("olma.data.comparator.values.not.equal", {"LONG", "2", "3"})}},
      {"empty field values", StructOf("s", {{"a", nullptr}}), StructOf("s", {{"a", nullptr}}), {}},
      {"equal errors", ErrorOf("e", {{"a", Int(1)}}), ErrorOf("e", {{"a", Int(1)}}), {}},
  });
}

TYPED_TEST(ValueComparatorTest, MessagesAlreadyInTheListDoNotCount) {
  MessageList messages{BaseMessage("x", "x", {}), BaseMessage("y", "y", {})};
  EXPECT_TRUE(ValueComparator<TypeParam>::Compare(ListOf({Int(1)}), ListOf({Int(1)}), messages));
  EXPECT_EQ(messages.size(), 2u);
  EXPECT_FALSE(ValueComparator<TypeParam>::Compare(ListOf({Int(1)}), ListOf({Int(2)}), messages));
  ASSERT_EQ(messages.size(), 3u);
  EXPECT_EQ(messages.front().id(), "x");
  EXPECT_THAT(messages.back(), IsMessage("olma.data.comparator.values.not.equal", {"LONG", "1", "2"}));
  EXPECT_EQ(messages.back().defaultMessage(), "Values not equal <LONG>: 1 != 2");
}

TYPED_TEST(ValueComparatorTest, DataValueCompareIsTheComparator) {
  MessageList messages;
  EXPECT_TRUE(DataValue::Compare<TypeParam>(Str("a"), Str("a"), messages));
  EXPECT_FALSE(DataValue::Compare<TypeParam>(Str("a"), Str("b"), messages));
  EXPECT_THAT(messages,
              ElementsAre(IsMessage("olma.data.comparator.values.not.equal", {"STRING", "a", "b"})));
}

// A chain nested a million levels deep, cycling through optional, list and structure,
// with an integer at the bottom.
Ptr DeepValue(long long leaf) {
  constexpr int kDepth = 1000000;
  Ptr node = Int(leaf);
  for (int i = 0; i < kDepth; ++i) {
    switch (i % 3) {
      case 0:
        node = Opt(std::move(node));
        break;
      case 1:
        node = ListOf({std::move(node)});
        break;
      default:
        node = StructOf("s", {{"f", std::move(node)}});
        break;
    }
  }
  return node;
}

TYPED_TEST(ValueComparatorTest, MillionLevelsDeepNeedNoDeepCallStack) {
  const Ptr one = DeepValue(1);
  EXPECT_THAT(Differences<TypeParam>(one, DeepValue(1)), IsEmpty());
  EXPECT_THAT(Differences<TypeParam>(one, DeepValue(2)),
              ElementsAre(IsMessage("olma.data.comparator.values.not.equal", {"LONG", "1", "2"})));
}

// ---------------------------------------------------------------------------------------
// What tells the modes apart

TEST(ValueComparator, LooseTreatsStructuresAndErrorsAlikeAndIgnoresNames) {
  const Ptr structure = StructOf("a", {{"x", Int(1)}}), error = ErrorOf("b", {{"x", Int(1)}});
  EXPECT_THAT(Differences<CompModeLoose>(structure, error), IsEmpty());
  EXPECT_THAT(Differences<CompModeLoose>(error, structure), IsEmpty());
  EXPECT_THAT(Differences<CompModeStrict>(structure, error),
              ElementsAre(Mismatch(structure->ToString(), error->ToString())));

  // Interchangeable kinds still compare their fields.
  EXPECT_THAT(Differences<CompModeLoose>(structure, ErrorOf("b", {{"x", Int(2)}})),
              ElementsAre(IsMessage("olma.data.comparator.values.not.equal", {"LONG", "1", "2"})));

  const Ptr x = StructOf("x", {{"f", Int(1)}}), y = StructOf("y", {{"f", Int(1)}});
  EXPECT_THAT(Differences<CompModeLoose>(x, y), IsEmpty());
  EXPECT_THAT(
      Differences<CompModeStrict>(x, y),
      ElementsAre(IsMessage("olma.data.value.comp.struct.names.not.eq", {x->ToString(), y->ToString()})));
  EXPECT_THAT(Differences<CompModeStrict>(ErrorOf("e1", {}), ErrorOf("e2", {})),
              ElementsAre(Property("id", &BaseMessage::id, "olma.data.value.comp.struct.names.not.eq")));

  // Names are compared before field counts.
  const Ptr longer = StructOf("y", {{"f", Int(1)}, {"g", Int(1)}});
  EXPECT_THAT(Differences<CompModeStrict>(x, longer),
              ElementsAre(Property("id", &BaseMessage::id, "olma.data.value.comp.struct.names.not.eq")));
  EXPECT_THAT(Differences<CompModeLoose>(x, longer), ElementsAre(Sizes(x, longer)));
}

TEST(ValueComparator, ModesAgreeOnWhatNoOtherKindsMix) {
  static_assert(CompModeLoose::CompareTypes(DataType::STRUCTURE, DataType::ERROR));
  static_assert(CompModeLoose::CompareTypes(DataType::ERROR, DataType::STRUCTURE));
  static_assert(!CompModeStrict::CompareTypes(DataType::STRUCTURE, DataType::ERROR));
  for (int a = DataType::VOID; a <= DataType::UNKNOWN; ++a) {
    for (int b = DataType::VOID; b <= DataType::UNKNOWN; ++b) {
      const DataType x = static_cast<DataType::EnumType>(a), y = static_cast<DataType::EnumType>(b);
      const bool compounds = (a == DataType::STRUCTURE || a == DataType::ERROR) &&
                             (b == DataType::STRUCTURE || b == DataType::ERROR);
      SCOPED_TRACE(testing::Message() << a << " vs " << b);
      EXPECT_EQ(CompModeStrict::CompareTypes(x, y), a == b);
      EXPECT_EQ(CompModeLoose::CompareTypes(x, y), a == b || compounds);
    }
  }
}

// ---------------------------------------------------------------------------------------
// Definitions

using Def = DataDefinition::PtrConstType;

Def IntD() {
  return IntegerDefinition::GetInstance();
}
Def StrD() {
  return StringDefinition::GetInstance();
}
Def DblD() {
  return DoubleDefinition::GetInstance();
}
Def OptD(Def element) {
  return OptionalDefinition::GetInstance(std::move(element));
}
Def ListD(Def element) {
  return ListDefinition::GetInstance(std::move(element));
}
Def CaseD(Def element, std::string tag) {
  return UnionCaseDefinition::GetInstance(std::move(element), std::move(tag),
                                          [](const std::string&) { return boost::logic::tribool(true); });
}
Def OneOfD(std::string allowed) {
  return IsOneOfDefinition::GetInstance([allowed](const std::string& text) { return text == allowed; });
}

struct DefinitionCase {
  const char* label;
  Def a, b;
  std::vector<Matcher<const BaseMessage&>> expected;  // empty: equal
};

MessageList DefinitionDifferences(const Def& a, const Def& b) {
  MessageList messages;
  const bool equal = DefinitionComparator::Compare(a, b, messages);
  EXPECT_EQ(equal, messages.empty());
  EXPECT_EQ(DataDefinition::Compare(a, b), equal);
  return messages;
}

void RunDefinitionCases(const std::vector<DefinitionCase>& cases) {
  for (const DefinitionCase& c : cases) {
    SCOPED_TRACE(c.label);
    EXPECT_THAT(DefinitionDifferences(c.a, c.b), ElementsAreArray(c.expected));
  }
}

Matcher<const BaseMessage&> DefMessage(const std::string& id, const Def& a, const Def& b) {
  return IsMessage(id, {a->ToString(), b->ToString()});
}

TEST(DefinitionComparator, EmptyRootsAreEqualOnlyToEachOtherAndNeverReport) {
  MessageList messages;
  EXPECT_TRUE(DefinitionComparator::Compare(nullptr, nullptr, messages));
  EXPECT_FALSE(DefinitionComparator::Compare(IntD(), nullptr, messages));
  EXPECT_FALSE(DefinitionComparator::Compare(nullptr, IntD(), messages));
  EXPECT_FALSE(DataDefinition::Compare(nullptr, IntD()));
  EXPECT_THAT(messages, IsEmpty());
}

TEST(DefinitionComparator, ScalarsAndWrappersCompareByKind) {
  RunDefinitionCases({
      {"integers", IntD(), IntD(), {}},
      {"integer and double", IntD(), DblD(), {Mismatch("INTEGER", "DOUBLE")}},
      // Both render "VOID", yet the kinds differ.
      {"opaque and void",
       OpaqueDefinition::GetInstance(),
       VoidDefinition::GetInstance(),
       {Mismatch("VOID", "VOID")}},
      {"secret and blob",
       SecretDefinition::GetInstance(),
       BlobDefinition::GetInstance(),
       {Mismatch("SECRET", "BLOB")}},
      {"string and is-one-of", StrD(), OneOfD("x"), {}},
      {"is-one-of and string", OneOfD("x"), StrD(), {}},
      {"predicates are not compared", OneOfD("x"), OneOfD("y"), {}},
      {"optionals", OptD(IntD()), OptD(IntD()), {}},
      {"optional elements", OptD(IntD()), OptD(StrD()), {Mismatch("INTEGER", "STRING")}},
      {"list elements two levels down",
       ListD(ListD(IntD())),
       ListD(ListD(DblD())),
       {Mismatch("INTEGER", "DOUBLE")}},
      {"optional and list", OptD(IntD()), ListD(IntD()), {Mismatch("OPTIONAL<INTEGER>", "LIST[INTEGER]")}},
      {"empty elements", OptD(nullptr), OptD(nullptr), {}},
      {"empty element and integer", OptD(nullptr), OptD(IntD()), {Mismatch("<unset>", "INTEGER")}},
  });
}

TEST(DefinitionComparator, UnionCasesCompareTagFieldNamesThenElements) {
  RunDefinitionCases({
      {"same tag and element", CaseD(IntD(), "kind"), CaseD(IntD(), "kind"), {}},
      {"same tag, other element",
       CaseD(IntD(), "kind"),
       CaseD(StrD(), "kind"),
       {Mismatch("INTEGER", "STRING")}},
      {"other tag", CaseD(IntD(), "kind"), CaseD(IntD(), "type"), {Mismatch("OPTIONAL", "OPTIONAL")}},
      // An optional has no tag: it matches a union case on its element alone, but a union
      // case is never equal to a plain optional.
      {"optional and union case", OptD(IntD()), CaseD(IntD(), "kind"), {}},
      {"optional and union case of another element",
       OptD(IntD()),
       CaseD(StrD(), "kind"),
       {Mismatch("INTEGER", "STRING")}},
      {"union case and optional",
       CaseD(IntD(), "kind"),
       OptD(IntD()),
       {Mismatch("OPTIONAL", "OPTIONAL<INTEGER>")}},
  });
}

TEST(DefinitionComparator, CompoundsCompareNamesThenCountsThenFieldsInNameOrder) {
  const Def s_ab = StructDefinition::GetInstance("s", {{"a", IntD()}, {"b", ListD(StrD())}});
  const Def s_ac = StructDefinition::GetInstance("s", {{"a", IntD()}, {"c", ListD(StrD())}});
  const Def s_a = StructDefinition::GetInstance("s", {{"a", IntD()}});
  const Def t_ab = StructDefinition::GetInstance("t", {{"a", IntD()}, {"b", ListD(StrD())}});
  const Def e_unset = ErrorDefinition::GetInstance("e"),
            e_a = ErrorDefinition::GetInstance("e", {{"a", IntD()}});
  const Def dyn_a = DynamicStructureDefinition::GetInstance({{"a", IntD()}});
  const Def dyn_b = DynamicStructureDefinition::GetInstance({{"b", IntD()}});
  const Def dyn_err = DynamicErrorDefinition::GetInstance({{"a", IntD()}});
  RunDefinitionCases({
      {"equal", s_ab, StructDefinition::GetInstance("s", {{"a", IntD()}, {"b", ListD(StrD())}}), {}},
      {"names", s_ab, t_ab, {DefMessage("olma.data.value.comp.struct.names.not.eq", s_ab, t_ab)}},
      {"field counts", s_a, s_ab, {DefMessage("olma.data.value.comp.values.not.eq.sizes", s_a, s_ab)}},
      {"missing field",
       s_ac,
       s_ab,
       {IsMessage("olma.data.value.comp.struct.missing.field", {"c", s_ac->ToString(), s_ab->ToString()})}},
      {"two missing: the greater is named",
       StructDefinition::GetInstance("s", {{"a", IntD()}, {"b", IntD()}, {"c", IntD()}}),
       StructDefinition::GetInstance("s", {{"a", IntD()}, {"x", IntD()}, {"y", IntD()}}),
       {Property("args", &BaseMessage::args, testing::ElementsAre("c", testing::_, testing::_))}},
      {"first field in name order",
       StructDefinition::GetInstance("s", {{"a", IntD()}, {"b", IntD()}}),
       StructDefinition::GetInstance("s", {{"a", StrD()}, {"b", DblD()}}),
       {Mismatch("INTEGER", "STRING")}},
      {"unset name and map count as empty",
       StructDefinition::GetInstance(),
       StructDefinition::GetInstance("", {}),
       {}},
      {"unset field map of an error", e_unset, ErrorDefinition::GetInstance("e", {}), {}},
      {"error field counts",
       e_unset,
       e_a,
       {DefMessage("olma.data.value.comp.values.not.eq.sizes", e_unset, e_a)}},
      {"structure and error",
       StructDefinition::GetInstance("e", {}),
       ErrorDefinition::GetInstance("e", {}),
       {Mismatch("{sd{ e : { } }} ", "{ed{ e : { } }} ")}},
      {"dynamic structures", dyn_a, DynamicStructureDefinition::GetInstance({{"a", IntD()}}), {}},
      {"dynamic field maps unset and empty",
       DynamicStructureDefinition::GetInstance(),
       DynamicStructureDefinition::GetInstance({}),
       {}},
      {"dynamic fields",
       dyn_a,
       DynamicStructureDefinition::GetInstance({{"a", StrD()}}),
       {Mismatch("INTEGER", "STRING")}},
      {"dynamic missing field",
       dyn_a,
       dyn_b,
       {IsMessage("olma.data.value.comp.struct.missing.field",
                  {"a", "DynamicStructureDefinition", "DynamicStructureDefinition"})}},
      {"dynamic error counts",
       dyn_err,
       DynamicErrorDefinition::GetInstance(),
       {IsMessage("olma.data.value.comp.values.not.eq.sizes",
                  {"DynamicErrorDefinition", "DynamicErrorDefinition"})}},
      {"dynamic structure and dynamic error",
       dyn_a,
       dyn_err,
       {Mismatch("DynamicStructureDefinition", "DynamicErrorDefinition")}},
  });
}

// A structure "node" with a field "next" that refers back to the structure itself, and a
// field "value" of the given definition.
StructDefinition::PtrType RecursiveNode(Def value) {
  StructDefinition::PtrType node = StructDefinition::GetInstance("node", {});
  node->SetField("next", OptD(StructRefDefinition::GetInstance(node)));
  node->SetField("value", std::move(value));
  return node;
}

TEST(DefinitionComparator, ReferencesCompareNamesAndLivenessWithoutFollowingTargets) {
  const auto node = RecursiveNode(IntD()), other_node = RecursiveNode(IntD());
  const auto string_node = RecursiveNode(StrD());
  const auto dead = [] { return StructRefDefinition::GetInstance(RecursiveNode(IntD())); }();
  ASSERT_FALSE(dead->target());
  const Def live = StructRefDefinition::GetInstance(node);
  RunDefinitionCases({
      {"recursive structures", node, other_node, {}},
      {"recursive structures differ beside the reference",
       node,
       string_node,
       {Mismatch("INTEGER", "STRING")}},
      {"both live", live, StructRefDefinition::GetInstance(other_node), {}},
      {"both dead", dead, StructRefDefinition::GetInstance("node"), {}},
      {"live and dead", live, dead, {Mismatch("StructRefDefinition", "StructRefDefinition")}},
      {"dead and live", dead, live, {Mismatch("StructRefDefinition", "StructRefDefinition")}},
      {"names",
       StructRefDefinition::GetInstance("a"),
       StructRefDefinition::GetInstance("b"),
       {Mismatch("StructRefDefinition", "StructRefDefinition")}},
  });
}

TEST(DefinitionComparator, MillionLevelsDeepNeedNoDeepCallStack) {
  constexpr int kDepth = 1000000;
  const auto deep = [](Def leaf) {
    for (int i = 0; i < kDepth; ++i) leaf = i % 2 == 0 ? OptD(std::move(leaf)) : ListD(std::move(leaf));
    return leaf;
  };
  const Def integers = deep(IntD());
  EXPECT_THAT(DefinitionDifferences(integers, deep(IntD())), IsEmpty());
  EXPECT_THAT(DefinitionDifferences(integers, deep(StrD())), ElementsAre(Mismatch("INTEGER", "STRING")));
}

}  // namespace
