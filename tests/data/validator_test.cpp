#include "olma/data/validator.h"

#include <algorithm>
#include <cstddef>
#include <iterator>
#include <memory>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <boost/logic/tribool.hpp>

#include "data/tree_test_support.h"
#include "olma/core/secret_string.h"
#include "olma/data/definitions.h"
#include "olma/data/values.h"

namespace {

using namespace Olma;
using namespace Olma::Data;
using namespace Olma::Data::Testing;
using ::testing::ElementsAre;
using ::testing::ElementsAreArray;
using ::testing::IsEmpty;
using ::testing::Property;
using MessageMatcher = ::testing::Matcher<const BaseMessage&>;

MessageMatcher Mismatch(const std::string& definition, const std::string& value) {
  return Msg("olma.data.type.mismatch", "Type mismatch: " + definition + " != " + value, {definition, value});
}
MessageMatcher Field(const std::string& which, const std::string& field, const std::string& definition,
                     const std::string& value) {
  return Msg("olma.data.compound.field." + which,
             (which == "missing" ? "Missing" : "Extra") + (" field in compound: [" + field + "] ") +
                 definition + ": " + value,
             {field, definition, value});
}
// A union-case message about the case field "payload" of structure `name`, whose tag field
// "kind" is set to `tag`: "A" requires the case, any other tag here forbids it.
MessageMatcher CaseState(const std::string& name, const std::string& tag) {
  const bool forbidden = tag != "A";
  return Msg(std::string("olma.data.union.invalid.case.state.is") + (forbidden ? "set" : "notset"),
             "In the structure '" + name + "', the field 'kind' is set to '" + tag +
                 "'. Therefore, the field 'payload' must " +
                 (forbidden ? "not be set, but it is." : "be set, but it is not."),
             {name, "kind", tag, "payload"});
}
template <class... M>
std::vector<MessageMatcher> Msgs(M... matchers) {
  return {matchers...};
}
const MessageMatcher kNotAString = Msg("olma.data.bad.cast2", "Bad cast: Long -> String", {"Long", "String"});

// A union case "payload" governed by the tag field "kind": "A" requires it, "B" forbids
// it, anything else leaves it open.
Def PayloadDef() {
  using boost::logic::tribool;
  return UnionCaseDefinition::GetInstance(IntD(), "kind", [](const std::string& tag) {
    return tag == "A" ? tribool(true) : tag == "B" ? tribool(false) : tribool(boost::logic::indeterminate);
  });
}
// A structure "u" with the tag field "kind" and the case field "payload"; a null field is
// left out.
Def UnionDef(Def tag) {
  return StructD("u", {{"kind", std::move(tag)}, {"payload", PayloadDef()}});
}
Val UnionValue(Val tag, Val payload) {
  if (!tag) return Of("u", {{"payload", payload}});
  return payload ? Of("u", {{"kind", tag}, {"payload", payload}}) : Of("u", {{"kind", tag}});
}

// ---------------------------------------------------------------------------------------
// Behaviour shared by all four combinations of match and validator mode.

using AllModes =
    ::testing::Types<std::pair<LooseMatch, ValidatorModeStrict>, std::pair<StrictMatch, ValidatorModeStrict>,
                     std::pair<LooseMatch, ValidatorModePermissive>,
                     std::pair<StrictMatch, ValidatorModePermissive>>;
template <class T>
constexpr bool kStrictMatch = std::is_same_v<typename T::first_type, StrictMatch>;
template <class T>
constexpr bool kPermissive = std::is_same_v<typename T::second_type, ValidatorModePermissive>;

template <class T>
class ValidatorTest : public ::testing::Test {
 protected:
  static bool Validate(const Def& definition, const Val& value, MessageList& errors) {
    return DataValidator::Validate<typename T::first_type, typename T::second_type>(definition, value,
                                                                                    errors);
  }
  static void ExpectMessages(const Def& definition, const Val& value,
                             const std::vector<MessageMatcher>& expected) {
    MessageList errors;
    EXPECT_EQ(Validate(definition, value, errors), expected.empty());
    EXPECT_THAT(errors, ElementsAreArray(expected));
  }
};
TYPED_TEST_SUITE(ValidatorTest, AllModes);

TYPED_TEST(ValidatorTest, NullsAndMessagesFromBefore) {
  MessageList errors;
  EXPECT_TRUE(this->Validate(nullptr, nullptr, errors));
  EXPECT_FALSE(this->Validate(IntD(), nullptr, errors));
  EXPECT_FALSE(this->Validate(nullptr, Int(1), errors));
  EXPECT_THAT(errors, IsEmpty());
  // Only messages appended by the call itself decide its result.
  errors.push_back(Message<CoreTag>("olma.data.invalid.type"));
  EXPECT_TRUE(this->Validate(IntD(), Int(1), errors));
  EXPECT_FALSE(this->Validate(IntD(), Str("x"), errors));
  EXPECT_THAT(errors,
              ElementsAre(Property(&BaseMessage::id, "olma.data.invalid.type"), Mismatch("INTEGER", "x")));
}

TYPED_TEST(ValidatorTest, RulesSharedByAllModes) {
  const Def rst = StructD("s", {{"a", IntD()}, {"b", IntD()}, {"c", IntD()}});
  const Def colour = IsOneOfDefinition::GetInstance(
      [](const std::string& text) { return text == "red" || text == "green"; });
  const Def known =
      DynamicStructureDefinition::GetInstance({{"id", IntD()}, {"inner", StructD("i", {{"a", IntD()}})}});
  const Def dangling = StructRefDefinition::GetInstance(StructDefinition::GetInstance("node", {}));
  const Def tagged = UnionDef(OptD(StrD())), plainTag = UnionDef(StrD());
  const MessageMatcher notag = Msg("olma.data.union.invalid.case.state.notag",
                                   "In the structure 'u', the field 'kind' is not set. Therefore, the field "
                                   "'payload' also must not be set, but it is.",
                                   {"u", "kind", "payload"});
  struct Row {
    const char* label;
    Def definition;
    Val value;
    std::vector<MessageMatcher> expected;
  };
  const std::vector<Row> rows = {
      {"no widening", DoubleDefinition::GetInstance(), Int(1), Msgs(Mismatch("DOUBLE", "1"))},
      {"secret is no string, nor shown", StrD(), SecretValue::GetInstance(SecretString("pw")),
       Msgs(Mismatch("STRING", "<secret>"))},
      {"opaque takes a structure", OpaqueDefinition::GetInstance(), Of("s", {{"a", Int(1)}}), Msgs()},
      {"opaque takes an empty pointer", ListD(OpaqueDefinition::GetInstance()), ListOf({Val()}), Msgs()},
      {"empty pointer", ListD(IntD()), ListOf({Int(1), Val()}), Msgs(Mismatch("INTEGER", "<unset>"))},
      {"unset optional", OptD(IntD()), Unset(), Msgs()},
      {"optional content", OptD(IntD()), Opt(Str("x")), Msgs(Mismatch("INTEGER", "x"))},
      {"list elements in order", ListD(IntD()), ListOf({Str("x"), Int(1), Str("y")}),
       Msgs(Mismatch("INTEGER", "x"), Mismatch("INTEGER", "y"))},
      {"structure by another name", rst, Of("t", {{"a", Int(1)}, {"b", Int(2)}, {"c", Int(3)}}), Msgs()},
      {"missing fields: the last one is named", rst, Of("s", {{"b", Int(1)}}),
       Msgs(Field("missing", "c", "{sd{ s : { a : INTEGER, b : INTEGER, c : INTEGER, } }} ",
                  "{{ s : { b : 1, } }} "))},
      {"sibling scalars: later name first", rst, Of("s", {{"a", Str("x")}, {"b", Int(1)}, {"c", Str("y")}}),
       Msgs(Mismatch("INTEGER", "y"), Mismatch("INTEGER", "x"))},
      {"a nested error abandons queued work",
       StructD("r", {{"a", StructD("in", {{"x", IntD()}})}, {"b", ListD(IntD())}}),
       Of("r", {{"a", Of("in", {{"x", Str("bad")}})}, {"b", ListOf({Str("bad2")})}}),
       Msgs(Mismatch("INTEGER", "bad"))},
      {"work queued after an error still runs", StructD("r", {{"a", ListD(IntD())}, {"b", IntD()}}),
       Of("r", {{"a", ListOf({Str("x")})}, {"b", Str("y")}}),
       Msgs(Mismatch("INTEGER", "y"), Mismatch("INTEGER", "x"))},
      {"error field", ErrorDefinition::GetInstance("e", {{"code", IntD()}}),
       Of<ErrorValue>("e", {{"code", Str("x")}}), Msgs(Mismatch("INTEGER", "x"))},
      {"enumeration refuses", ListD(colour), ListOf({Str("blue"), Str("red"), Str("pink")}),
       Msgs(Msg("olma.data.value.unknown", "Unknown value: blue", {"blue"}),
            Msg("olma.data.value.unknown", "Unknown value: pink", {"pink"}))},
      {"enumeration of no string", colour, Int(5), Msgs(kNotAString)},
      {"dynamic structure for an integer", DynamicStructureDefinition::GetInstance(), Int(5),
       Msgs(Mismatch("DynamicStructureDefinition", "5"))},
      {"dynamic fields are matched loosely, also below", known,
       Of("d", {{"id", Int(1)}, {"inner", Of("i", {{"a", Int(1)}, {"b", Int(2)}})}, {"more", Int(2)}}),
       Msgs()},
      {"dynamic field missing", known, Of("d", {}),
       Msgs(Field("missing", "inner", "DynamicStructureDefinition", "{{ d : { } }} "))},
      {"dynamic error field", DynamicErrorDefinition::GetInstance({{"code", StrD()}}),
       Of<ErrorValue>("e", {{"code", Int(4)}}), Msgs(Mismatch("STRING", "4"))},
      {"dynamic error for an integer", DynamicErrorDefinition::GetInstance(), Int(1),
       Msgs(Mismatch("DynamicErrorDefinition", "1"))},
      {"reference to a structure gone", dangling, Of("node", {}),
       Msgs(Mismatch("StructRefDefinition", "{{ node : { } }} "))},
      {"union case outside a structure", PayloadDef(), Opt(Str("x")), Msgs(Mismatch("INTEGER", "x"))},
      // The case field "payload" against its tag "kind": "A" requires it, "B" forbids it.
      {"tag unset, case unset", tagged, UnionValue(Unset(), Unset()), Msgs()},
      {"tag unset, case set", tagged, UnionValue(Unset(), Opt(Int(1))), Msgs(notag)},
      {"required and set", tagged, UnionValue(Opt(Str("A")), Opt(Int(1))), Msgs()},
      {"required but unset", tagged, UnionValue(Opt(Str("A")), Unset()), Msgs(CaseState("u", "A"))},
      {"forbidden but set", tagged, UnionValue(Opt(Str("B")), Opt(Int(1))), Msgs(CaseState("u", "B"))},
      {"open, set", tagged, UnionValue(Opt(Str("C")), Opt(Int(1))), Msgs()},
      {"tag that is no optional", plainTag, UnionValue(Str("B"), Opt(Int(1))), Msgs(CaseState("u", "B"))},
      {"an absent case is not checked", plainTag, UnionValue(Str("A"), nullptr), Msgs()},
      {"tag that is no string", UnionDef(OptD(IntD())), UnionValue(Opt(Int(5)), Unset()), Msgs(kNotAString)},
      {"case content checked", tagged, UnionValue(Opt(Str("A")), Opt(Str("x"))),
       Msgs(Mismatch("INTEGER", "x"))},
      {"union case under a dynamic structure",
       DynamicStructureDefinition::GetInstance({{"kind", StrD()}, {"payload", PayloadDef()}}),
       UnionValue(Str("A"), Unset()), Msgs(CaseState("_dynS", "A"))},
      {"no tag field", tagged, UnionValue(nullptr, Opt(Int(1))),
       Msgs(Field("missing", "kind", "OPTIONAL", "Optional< 1>"))},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.label);
    this->ExpectMessages(row.definition, row.value, row.expected);
  }
}

TYPED_TEST(ValidatorTest, FieldsOnlyInTheValue) {
  const Def definition = StructD("s", {{"a", IntD()}, {"c", IntD()}});
  const std::string text = "{sd{ s : { a : INTEGER, c : INTEGER, } }} ";
  const bool strict = kStrictMatch<TypeParam>;
  // More fields than the definition: "c" is missing, and StrictMatch names the first extra.
  Val value = Of("s", {{"a", Int(1)}, {"b", Int(2)}, {"zz", Int(3)}});
  std::vector<MessageMatcher> expected{Field("missing", "c", text, value->ToString())};
  if (strict) expected.push_back(Field("extra", "b", text, value->ToString()));
  this->ExpectMessages(definition, value, expected);
  // No more fields than the definition: never an extra field.
  value = Of("s", {{"a", Int(1)}, {"zz", Int(3)}});
  this->ExpectMessages(definition, value, {Field("missing", "c", text, value->ToString())});
  this->ExpectMessages(StructD("s", {{"a", IntD()}, {"c", OptD(IntD())}}), value, {});
  // An error definition without a field map has no fields.
  value = Of<ErrorValue>("e", {{"code", Int(4)}});
  expected = {Field("extra", "code", "{ed{ e : { } }} ", value->ToString())};
  this->ExpectMessages(ErrorDefinition::GetInstance("e"), value, strict ? expected : decltype(expected){});
}

TYPED_TEST(ValidatorTest, DefinitionValidateRunsLooseMatchPermissively) {
  using Match = typename TypeParam::first_type;
  using Mode = typename TypeParam::second_type;
  MessageList errors;
  EXPECT_EQ((DataDefinition::Validate<Match, Mode>(SecretDefinition::GetInstance(), Str("pw"), errors)),
            !kStrictMatch<TypeParam> || kPermissive<TypeParam>);
  EXPECT_EQ((DataDefinition::Validate<Match, Mode>(StructD("s", {{"a", IntD()}}),
                                                   Of("s", {{"a", Int(1)}, {"b", Int(2)}}), errors)),
            !kStrictMatch<TypeParam>);
}

// ---------------------------------------------------------------------------------------
// The permissive rules.

TEST(Validator, PermissiveKindTable) {
  using K = DataType;
  // Besides its own kind and, for OPTIONAL, every kind but UNKNOWN.
  const std::vector<std::pair<K::EnumType, std::vector<K::EnumType>>> alsoAccepted = {
      {K::BLOB, {K::STRING}},
      {K::SECRET, {K::STRING}},
      {K::ERROR, {K::STRUCTURE}},
      {K::LIST,
       {K::LIST_BOOL, K::LIST_LONG, K::LIST_DOUBLE, K::LIST_BLOB, K::LIST_STRING, K::LIST_SECRET,
        K::STRUCTURE}}};
  for (int d = K::VOID; d <= K::UNKNOWN; ++d) {
    for (int v = K::VOID; v <= K::UNKNOWN; ++v) {
      SCOPED_TRACE(std::to_string(d) + " <- " + std::to_string(v));
      bool expected = d == v || (d == K::OPTIONAL && v != K::UNKNOWN);
      for (const auto& [declared, accepted] : alsoAccepted) {
        if (d == declared) expected = expected || std::count(accepted.begin(), accepted.end(), v) != 0;
      }
      const DataType definition(static_cast<K::EnumType>(d)), value(static_cast<K::EnumType>(v));
      EXPECT_EQ(ValidatorModePermissive::CompareTypesInt(definition, value), expected);
      EXPECT_EQ(ValidatorModeStrict::CompareTypesInt(definition, value), d == v);
    }
  }
}

TEST(Validator, PermissiveShapesAreRefusedByTheStrictMode) {
  const Def codeError = ErrorDefinition::GetInstance("e", {{"code", IntD()}});
  const Def secret = SecretDefinition::GetInstance(), blob = BlobDefinition::GetInstance();
  const Def bareCase = UnionDef(StrD());
  struct Row {
    const char* label;
    Def definition;
    Val value;
    std::vector<MessageMatcher> permissive;
  };
  const Row rows[] = {
      {"string for secret", secret, Str("pw"), Msgs()},
      {"string for blob", blob, Str("AAEC"), Msgs()},
      {"bare value for optional", OptD(IntD()), Int(5), Msgs()},
      {"bare value of the wrong kind", OptD(IntD()), Str("x"), Msgs(Mismatch("INTEGER", "x"))},
      // A bare case field counts as set; its content is checked first, alone.
      {"bare case, required", bareCase, UnionValue(Str("A"), Int(1)), Msgs()},
      {"bare case, open", bareCase, UnionValue(Str("C"), Int(1)), Msgs()},
      {"bare case, forbidden", bareCase, UnionValue(Str("B"), Int(1)), Msgs(CaseState("u", "B"))},
      {"bare case, forbidden, bad content", bareCase, UnionValue(Str("B"), Str("x")),
       Msgs(Mismatch("INTEGER", "x"))},
      {"strings for secrets", ListD(secret), ListOf<ListValueString>({"a", "b"}), Msgs()},
      {"strings for blobs", ListD(blob), ListOf<ListValueString>({"a"}), Msgs()},
      {"strings", ListD(StrD()), ListOf<ListValueString>({"a"}), Msgs()},
      {"booleans", ListD(BooleanDefinition::GetInstance()), ListOf<ListValueBool>({true}), Msgs()},
      {"longs", ListD(IntD()), ListOf<ListValueLong>({1LL, 2LL}), Msgs()},
      {"doubles", ListD(DoubleDefinition::GetInstance()), ListOf<ListValueDouble>({1.5}), Msgs()},
      {"blobs", ListD(blob), ListOf<ListValueBlob>({ByteVector{1}}), Msgs()},
      {"secrets", ListD(secret), ListOf<ListValueSecret>({SecretString("s")}), Msgs()},
      {"longs for strings", ListD(StrD()), ListOf<ListValueLong>({1LL}),
       Msgs(Mismatch("LIST[STRING]", "[ 1, ] "))},
      {"secrets for strings", ListD(StrD()), ListOf<ListValueSecret>({SecretString("s")}),
       Msgs(Mismatch("LIST[STRING]", "[ <secret>, ] "))},
      {"map for a list of structures", ListD(StructD("s", {{"a", IntD()}})), Of("m", {{"k", Int(1)}}),
       Msgs()},
      {"map for a list of integers", ListD(IntD()), Of("m", {}),
       Msgs(Mismatch("LIST[INTEGER]", "{{ m : { } }} "))},
      {"structure for an error", codeError, Of("e", {{"code", Int(1)}}), Msgs()},
      {"structure for an error, checked", codeError, Of("e", {{"code", Str("x")}}),
       Msgs(Mismatch("INTEGER", "x"))},
      {"structure for a dynamic error, checked", DynamicErrorDefinition::GetInstance({{"code", IntD()}}),
       Of("e", {}), Msgs(Field("missing", "code", "DynamicErrorDefinition", "{{ e : { } }} "))},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.label);
    MessageList permissive, strict;
    EXPECT_EQ((DataValidator::Validate<StrictMatch, ValidatorModePermissive>(row.definition, row.value,
                                                                             permissive)),
              row.permissive.empty());
    EXPECT_THAT(permissive, ElementsAreArray(row.permissive));
    EXPECT_FALSE(
        (DataValidator::Validate<StrictMatch, ValidatorModeStrict>(row.definition, row.value, strict)));
    EXPECT_THAT(strict, ElementsAre(Property(&BaseMessage::id, "olma.data.type.mismatch")));
  }
}

TEST(Validator, NarrowDataTypeIntFollowsTheKind) {
  const Val list = ListOf({Int(1)});
  EXPECT_EQ((NarrowDataTypeInt<DataType::LIST, ListValue>(list)).get(), list.get());
  EXPECT_EQ((NarrowDataTypeInt<DataType::OPTIONAL, OptionalValue>(list)), nullptr);
  // The compound base is reached from errors as well as structures.
  EXPECT_NE((NarrowDataTypeInt<DataType::INTERNALC, CompoundValue>(Of<ErrorValue>("e", {}))), nullptr);
}

// ---------------------------------------------------------------------------------------
// Depth: nesting costs work-stack entries, not call depth.

TEST(Validator, MillionLevelsDeep) {
  const Def optionalDef = Nested(IntD(), "o"), listDef = Nested(IntD(), "l"), node = Node(IntD());
  Val chain = Of("node", {{"value", Str("z")}});
  for (int i = 0; i < 1000000; ++i) chain = Of("node", {{"value", Int(i)}, {"next", Opt(std::move(chain))}});
  MessageList errors;
  EXPECT_TRUE(
      (DataValidator::Validate<LooseMatch, ValidatorModeStrict>(listDef, Nested(Int(1), "l"), errors)));
  EXPECT_FALSE((
      DataValidator::Validate<StrictMatch, ValidatorModeStrict>(optionalDef, Nested(Str("x"), "o"), errors)));
  // A bare value against a million optionals unwraps the whole chain in permissive mode.
  EXPECT_TRUE((DataValidator::Validate<StrictMatch, ValidatorModePermissive>(optionalDef, Int(1), errors)));
  EXPECT_FALSE(
      (DataValidator::Validate<StrictMatch, ValidatorModePermissive>(optionalDef, Str("y"), errors)));
  EXPECT_FALSE((DataValidator::Validate<StrictMatch, ValidatorModeStrict>(node, chain, errors)));
  EXPECT_THAT(errors,
              ElementsAre(Mismatch("INTEGER", "x"), Mismatch("INTEGER", "y"), Mismatch("INTEGER", "z")));
}

// An INTEGER definition that counts its renderings.
class CountedInteger final : public DataDefinition, public std::enable_shared_from_this<CountedInteger> {
 public:
  explicit CountedInteger(PrivConstructor) : DataDefinition(DataType::INTEGER) {}
  static std::shared_ptr<CountedInteger> Make() {
    return std::make_shared<CountedInteger>(PrivConstructor{});
  }

  void AcceptVisitor(DefinitionVisitor&) const override { ADD_FAILURE() << "the kind test needs no visit"; }
  std::string ToString() const override {
    ++renderings;
    return "INTEGER";
  }
  PtrType GetPtr() override { return shared_from_this(); }
  PtrConstType GetConstPtr() const override { return shared_from_this(); }

  mutable int renderings = 0;
};

// A list of `count` values made by `make(i)`.
template <class Make>
Val ListOfMany(int count, Make make) {
  auto list = ListValue::GetInstance();
  for (int i = 0; i < count; ++i) list->push_back(make(i));
  return list;
}

// A structure "wide" of `count` INTEGER fields "f000"...
Def WideStructD(int count) {
  DataDefinition::FieldMap fields;
  for (int i = 0; i < count; ++i) {
    std::string name = std::to_string(1000 + i);
    name[0] = 'f';
    fields.emplace(std::move(name), IntD());
  }
  return StructD("wide", std::move(fields));
}

MessageMatcher Truncated(const std::string& failures, const std::string& unchecked) {
  return Msg(
      "olma.data.validation.truncated",
      "Validation stopped after " + failures + " failures; " + unchecked + " more values were not checked",
      {failures, unchecked});
}

TYPED_TEST(ValidatorTest, ManyFailuresAgainstOneDefinitionRenderItOnce) {
  const auto counted = CountedInteger::Make();
  MessageList errors;
  EXPECT_FALSE(this->Validate(ListD(counted), ListOfMany(300, [](int) { return Str("s"); }), errors));
  EXPECT_EQ(errors.size(), 300u);
  EXPECT_EQ(counted->renderings, 1);
  EXPECT_THAT(errors, ::testing::Each(Mismatch("INTEGER", "s")));

  // The wide case: every element of the list fails against the whole structure, and every
  // message still carries its exact text.
  const Def wide = WideStructD(100);
  errors.clear();
  EXPECT_FALSE(this->Validate(ListD(wide), ListOfMany(2000, Int), errors));
  ASSERT_EQ(errors.size(), 2000u);
  EXPECT_THAT(errors.front(), Mismatch(wide->ToString(), "0"));
  EXPECT_THAT(errors.back(), Mismatch(wide->ToString(), "1999"));
}

TYPED_TEST(ValidatorTest, FailureLimitStopsWithOneClosingMessage) {
  const auto validate = [](const Def& definition, const Val& value, std::size_t limit) {
    MessageList errors;
    EXPECT_FALSE((DataValidator::Validate<typename TypeParam::first_type, typename TypeParam::second_type>(
        definition, value, errors, limit)));
    return errors;
  };
  const Def wide = WideStructD(100);
  const Val ints = ListOfMany(2000, Int);
  MessageList errors = validate(ListD(wide), ints, 10);
  ASSERT_EQ(errors.size(), 11u);
  EXPECT_THAT(*std::next(errors.begin(), 9), Mismatch(wide->ToString(), "9"));
  EXPECT_THAT(errors.back(), Truncated("10", "1990"));

  // Fields are checked from the greatest name down; the three not reached are counted.
  const Def five =
      StructD("five", {{"a", IntD()}, {"b", IntD()}, {"c", IntD()}, {"d", IntD()}, {"e", IntD()}});
  const Val strings =
      Of("five", {{"a", Str("a")}, {"b", Str("b")}, {"c", Str("c")}, {"d", Str("d")}, {"e", Str("e")}});
  EXPECT_THAT(validate(five, strings, 2),
              ElementsAre(Mismatch("INTEGER", "e"), Mismatch("INTEGER", "d"), Truncated("2", "3")));

  // Nothing left unchecked, no closing message; 0 is no limit at all.
  const Val three = ListOfMany(3, [](int) { return Str("s"); });
  EXPECT_EQ(validate(ListD(IntD()), three, 3).size(), 3u);
  EXPECT_EQ(validate(ListD(IntD()), three, 5).size(), 3u);
  EXPECT_EQ(validate(ListD(wide), ints, 0).size(), 2000u);
}

}  // namespace
