#include "olma/data/validator.h"

#include <algorithm>
#include <initializer_list>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <boost/logic/tribool.hpp>

#include "olma/core/secret_string.h"
#include "olma/data/definitions.h"
#include "olma/data/values.h"

namespace {

using namespace Olma;
using namespace Olma::Data;
using ::testing::ElementsAre;
using ::testing::ElementsAreArray;
using ::testing::IsEmpty;
using ::testing::Property;

using DefPtr = DataDefinition::PtrConstType;
using ValPtr = DataValue::PtrConstType;
using MessageMatcher = ::testing::Matcher<const BaseMessage&>;
using Fields = std::initializer_list<std::pair<std::string, ValPtr>>;

const auto IntDef = []() -> DefPtr { return IntegerDefinition::GetInstance(); };
const auto StrDef = []() -> DefPtr { return StringDefinition::GetInstance(); };
const auto OptDef = [](DefPtr element) -> DefPtr { return OptionalDefinition::GetInstance(element); };
const auto ListDef = [](DefPtr element) -> DefPtr { return ListDefinition::GetInstance(element); };
const auto StructDef = [](const std::string& name, DataDefinition::FieldMap fields) -> DefPtr {
  return StructDefinition::GetInstance(name, std::move(fields));
};
const auto Int = [](long long value) -> ValPtr { return IntegerValue::GetInstance(value); };
const auto Str = [](const std::string& value) -> ValPtr { return StringValue::GetInstance(value); };
const auto Opt = [](ValPtr content) -> ValPtr { return OptionalValue::GetInstance(std::move(content)); };
const auto Unset = []() -> ValPtr { return OptionalValue::GetInstance(); };

template <class Compound = StructValue>
ValPtr Struct(const std::string& name, Fields fields) {
  auto value = Compound::GetInstance(name);
  for (const auto& field : fields) value->SetField(field.first, field.second);
  return value;
}
template <class Packed = ListValue, class T = ValPtr>
ValPtr List(std::initializer_list<T> elements) {
  auto list = Packed::GetInstance();
  list->assign(elements.begin(), elements.end());
  return list;
}

MessageMatcher Msg(const std::string& id, const std::string& text, const std::vector<std::string>& args) {
  return AllOf(Property("id", &BaseMessage::id, id),
               Property("defaultMessage", &BaseMessage::defaultMessage, text),
               Property("args", &BaseMessage::args, ElementsAreArray(args)));
}
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
// The union-case messages about the case field "payload" of structure "u" with the tag
// field "kind": set to `tag`, which forbids it, or to "A", which requires it.
MessageMatcher IsSet(const std::string& tag) {
  return Msg("olma.data.union.invalid.case.state.isset",
             "In the structure 'u', the field 'kind' is set to '" + tag +
                 "'. Therefore, the field 'payload' must not be set, but it is.",
             {"u", "kind", tag, "payload"});
}
// For a structure named `name`.
MessageMatcher IsNotSet(const std::string& name) {
  return Msg(
      "olma.data.union.invalid.case.state.isnotset",
      "In the structure '" + name +
          "', the field 'kind' is set to 'A'. Therefore, the field 'payload' must be set, but it is not.",
      {name, "kind", "A", "payload"});
}
template <class... M>
std::vector<MessageMatcher> Msgs(M... matchers) {
  return {matchers...};
}
const MessageMatcher kNotAString = Msg("olma.data.bad.cast2", "Bad cast: Long -> String", {"Long", "String"});

// A union case "payload" governed by the tag field "kind": "A" requires it, "B" forbids
// it, anything else leaves it open.
DefPtr PayloadDef() {
  using boost::logic::tribool;
  return UnionCaseDefinition::GetInstance(IntDef(), "kind", [](const std::string& tag) {
    return tag == "A" ? tribool(true) : tag == "B" ? tribool(false) : tribool(boost::logic::indeterminate);
  });
}
// A structure "u" with the tag field "kind" and the case field "payload"; a null field is
// left out.
DefPtr UnionDef(DefPtr tag) {
  return StructDef("u", {{"kind", std::move(tag)}, {"payload", PayloadDef()}});
}
ValPtr UnionValue(ValPtr tag, ValPtr payload) {
  auto value = StructValue::GetInstance("u");
  if (tag) value->SetField("kind", tag);
  if (payload) value->SetField("payload", payload);
  return value;
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
struct ModeNames {
  template <class T>
  static std::string GetName(int) {
    return std::string(kStrictMatch<T> ? "StrictMatch" : "LooseMatch") +
           (kPermissive<T> ? "Permissive" : "Strict");
  }
};

template <class T>
class ValidatorTest : public ::testing::Test {
 protected:
  static bool Validate(const DefPtr& definition, const ValPtr& value, MessageList& errors) {
    return DataValidator::Validate<typename T::first_type, typename T::second_type>(definition, value,
                                                                                    errors);
  }
  static void ExpectMessages(const DefPtr& definition, const ValPtr& value,
                             const std::vector<MessageMatcher>& expected) {
    MessageList errors;
    EXPECT_EQ(Validate(definition, value, errors), expected.empty());
    EXPECT_THAT(errors, ElementsAreArray(expected));
  }
};
TYPED_TEST_SUITE(ValidatorTest, AllModes, ModeNames);

TYPED_TEST(ValidatorTest, NullsAndMessagesFromBefore) {
  MessageList errors;
  EXPECT_TRUE(this->Validate(nullptr, nullptr, errors));
  EXPECT_FALSE(this->Validate(IntDef(), nullptr, errors));
  EXPECT_FALSE(this->Validate(nullptr, Int(1), errors));
  EXPECT_THAT(errors, IsEmpty());
  // Only messages appended by the call itself decide its result.
  errors.push_back(Message<CoreTag>("olma.data.invalid.type"));
  EXPECT_TRUE(this->Validate(IntDef(), Int(1), errors));
  EXPECT_FALSE(this->Validate(IntDef(), Str("x"), errors));
  EXPECT_THAT(errors,
              ElementsAre(Property(&BaseMessage::id, "olma.data.invalid.type"), Mismatch("INTEGER", "x")));
}

TYPED_TEST(ValidatorTest, RulesSharedByAllModes) {
  const DefPtr rst = StructDef("s", {{"a", IntDef()}, {"b", IntDef()}, {"c", IntDef()}});
  const DefPtr colour = IsOneOfDefinition::GetInstance(
      [](const std::string& text) { return text == "red" || text == "green"; });
  const DefPtr known = DynamicStructureDefinition::GetInstance(
      {{"id", IntDef()}, {"inner", StructDef("i", {{"a", IntDef()}})}});
  const DefPtr dangling = StructRefDefinition::GetInstance(StructDefinition::GetInstance("node", {}));
  const DefPtr tagged = UnionDef(OptDef(StrDef())), plainTag = UnionDef(StrDef());
  const MessageMatcher notag = Msg("olma.data.union.invalid.case.state.notag",
                                   "In the structure 'u', the field 'kind' is not set. Therefore, the field "
                                   "'payload' also must not be set, but it is.",
                                   {"u", "kind", "payload"});
  struct Row {
    const char* label;
    DefPtr definition;
    ValPtr value;
    std::vector<MessageMatcher> expected;
  };
  const std::vector<Row> rows = {
      {"no widening", DoubleDefinition::GetInstance(), Int(1), Msgs(Mismatch("DOUBLE", "1"))},
      {"secret is no string, nor shown", StrDef(), SecretValue::GetInstance(SecretString("pw")),
       Msgs(Mismatch("STRING", "<secret>"))},
      {"opaque takes a structure", OpaqueDefinition::GetInstance(), Struct("s", {{"a", Int(1)}}), Msgs()},
      {"opaque takes an empty pointer", ListDef(OpaqueDefinition::GetInstance()), List({ValPtr()}), Msgs()},
      {"empty pointer", ListDef(IntDef()), List({Int(1), ValPtr()}), Msgs(Mismatch("INTEGER", "<unset>"))},
      {"unset optional", OptDef(IntDef()), Unset(), Msgs()},
      {"optional content", OptDef(IntDef()), Opt(Str("x")), Msgs(Mismatch("INTEGER", "x"))},
      {"list elements in order", ListDef(IntDef()), List({Str("x"), Int(1), Str("y")}),
       Msgs(Mismatch("INTEGER", "x"), Mismatch("INTEGER", "y"))},
      {"structure by another name", rst, Struct("t", {{"a", Int(1)}, {"b", Int(2)}, {"c", Int(3)}}), Msgs()},
      {"missing fields: the last one is named", rst, Struct("s", {{"b", Int(1)}}),
       Msgs(Field("missing", "c", "{sd{ s : { a : INTEGER, b : INTEGER, c : INTEGER, } }} ",
                  "{{ s : { b : 1, } }} "))},
      {"sibling scalars: later name first", rst,
       Struct("s", {{"a", Str("x")}, {"b", Int(1)}, {"c", Str("y")}}),
       Msgs(Mismatch("INTEGER", "y"), Mismatch("INTEGER", "x"))},
      {"a nested error abandons queued work",
       StructDef("r", {{"a", StructDef("in", {{"x", IntDef()}})}, {"b", ListDef(IntDef())}}),
       Struct("r", {{"a", Struct("in", {{"x", Str("bad")}})}, {"b", List({Str("bad2")})}}),
       Msgs(Mismatch("INTEGER", "bad"))},
      {"work queued after an error still runs", StructDef("r", {{"a", ListDef(IntDef())}, {"b", IntDef()}}),
       Struct("r", {{"a", List({Str("x")})}, {"b", Str("y")}}),
       Msgs(Mismatch("INTEGER", "y"), Mismatch("INTEGER", "x"))},
      {"error field", ErrorDefinition::GetInstance("e", {{"code", IntDef()}}),
       Struct<ErrorValue>("e", {{"code", Str("x")}}), Msgs(Mismatch("INTEGER", "x"))},
      {"enumeration refuses", ListDef(colour), List({Str("blue"), Str("red"), Str("pink")}),
       Msgs(Msg("olma.data.value.unknown", "Unknown value: blue", {"blue"}),
            Msg("olma.data.value.unknown", "Unknown value: pink", {"pink"}))},
      {"enumeration of no string", colour, Int(5), Msgs(kNotAString)},
      {"dynamic structure for an integer", DynamicStructureDefinition::GetInstance(), Int(5),
       Msgs(Mismatch("DynamicStructureDefinition", "5"))},
      {"dynamic fields are matched loosely, also below", known,
       Struct("d",
              {{"id", Int(1)}, {"inner", Struct("i", {{"a", Int(1)}, {"b", Int(2)}})}, {"more", Int(2)}}),
       Msgs()},
      {"dynamic field missing", known, Struct("d", {}),
       Msgs(Field("missing", "inner", "DynamicStructureDefinition", "{{ d : { } }} "))},
      {"dynamic error field", DynamicErrorDefinition::GetInstance({{"code", StrDef()}}),
       Struct<ErrorValue>("e", {{"code", Int(4)}}), Msgs(Mismatch("STRING", "4"))},
      {"dynamic error for an integer", DynamicErrorDefinition::GetInstance(), Int(1),
       Msgs(Mismatch("DynamicErrorDefinition", "1"))},
      {"reference to a structure gone", dangling, Struct("node", {}),
       Msgs(Mismatch("StructRefDefinition", "{{ node : { } }} "))},
      {"union case outside a structure", PayloadDef(), Opt(Str("x")), Msgs(Mismatch("INTEGER", "x"))},
      // The case field "payload" against its tag "kind": "A" requires it, "B" forbids it.
      {"tag unset, case unset", tagged, UnionValue(Unset(), Unset()), Msgs()},
      {"tag unset, case set", tagged, UnionValue(Unset(), Opt(Int(1))), Msgs(notag)},
      {"required and set", tagged, UnionValue(Opt(Str("A")), Opt(Int(1))), Msgs()},
      {"required but unset", tagged, UnionValue(Opt(Str("A")), Unset()), Msgs(IsNotSet("u"))},
      {"forbidden but set", tagged, UnionValue(Opt(Str("B")), Opt(Int(1))), Msgs(IsSet("B"))},
      {"open, set", tagged, UnionValue(Opt(Str("C")), Opt(Int(1))), Msgs()},
      {"tag that is no optional", plainTag, UnionValue(Str("B"), Opt(Int(1))), Msgs(IsSet("B"))},
      {"an absent case is not checked", plainTag, UnionValue(Str("A"), nullptr), Msgs()},
      {"tag that is no string", UnionDef(OptDef(IntDef())), UnionValue(Opt(Int(5)), Unset()),
       Msgs(kNotAString)},
      {"case content checked", tagged, UnionValue(Opt(Str("A")), Opt(Str("x"))),
       Msgs(Mismatch("INTEGER", "x"))},
      {"union case under a dynamic structure",
       DynamicStructureDefinition::GetInstance({{"kind", StrDef()}, {"payload", PayloadDef()}}),
       UnionValue(Str("A"), Unset()), Msgs(IsNotSet("_dynS"))},
      {"no tag field", tagged, UnionValue(nullptr, Opt(Int(1))),
       Msgs(Field("missing", "kind", "OPTIONAL", "Optional< 1>"))},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.label);
    this->ExpectMessages(row.definition, row.value, row.expected);
  }
}

TYPED_TEST(ValidatorTest, FieldsOnlyInTheValue) {
  const DefPtr definition = StructDef("s", {{"a", IntDef()}, {"c", IntDef()}});
  const std::string text = "{sd{ s : { a : INTEGER, c : INTEGER, } }} ";
  const bool strict = kStrictMatch<TypeParam>;
  // More fields than the definition: "c" is missing, and StrictMatch names the first extra.
  ValPtr value = Struct("s", {{"a", Int(1)}, {"b", Int(2)}, {"zz", Int(3)}});
  std::vector<MessageMatcher> expected{Field("missing", "c", text, value->ToString())};
  if (strict) expected.push_back(Field("extra", "b", text, value->ToString()));
  this->ExpectMessages(definition, value, expected);
  // No more fields than the definition: never an extra field.
  value = Struct("s", {{"a", Int(1)}, {"zz", Int(3)}});
  this->ExpectMessages(definition, value, {Field("missing", "c", text, value->ToString())});
  this->ExpectMessages(StructDef("s", {{"a", IntDef()}, {"c", OptDef(IntDef())}}), value, {});
  // An error definition without a field map has no fields.
  value = Struct<ErrorValue>("e", {{"code", Int(4)}});
  expected = {Field("extra", "code", "{ed{ e : { } }} ", value->ToString())};
  this->ExpectMessages(ErrorDefinition::GetInstance("e"), value, strict ? expected : decltype(expected){});
}

TYPED_TEST(ValidatorTest, DefinitionValidateRunsLooseMatchPermissively) {
  using Match = typename TypeParam::first_type;
  using Mode = typename TypeParam::second_type;
  MessageList errors;
  EXPECT_EQ((DataDefinition::Validate<Match, Mode>(SecretDefinition::GetInstance(), Str("pw"), errors)),
            !kStrictMatch<TypeParam> || kPermissive<TypeParam>);
  EXPECT_EQ((DataDefinition::Validate<Match, Mode>(StructDef("s", {{"a", IntDef()}}),
                                                   Struct("s", {{"a", Int(1)}, {"b", Int(2)}}), errors)),
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
  const DefPtr codeError = ErrorDefinition::GetInstance("e", {{"code", IntDef()}});
  const DefPtr secret = SecretDefinition::GetInstance(), blob = BlobDefinition::GetInstance();
  const DefPtr bareCase = UnionDef(StrDef());
  struct Row {
    const char* label;
    DefPtr definition;
    ValPtr value;
    std::vector<MessageMatcher> permissive;
  };
  const Row rows[] = {
      {"string for secret", secret, Str("pw"), Msgs()},
      {"string for blob", blob, Str("AAEC"), Msgs()},
      {"bare value for optional", OptDef(IntDef()), Int(5), Msgs()},
      {"bare value of the wrong kind", OptDef(IntDef()), Str("x"), Msgs(Mismatch("INTEGER", "x"))},
      // A bare case field counts as set; its content is checked first, alone.
      {"bare case, required", bareCase, UnionValue(Str("A"), Int(1)), Msgs()},
      {"bare case, open", bareCase, UnionValue(Str("C"), Int(1)), Msgs()},
      {"bare case, forbidden", bareCase, UnionValue(Str("B"), Int(1)), Msgs(IsSet("B"))},
      {"bare case, forbidden, bad content", bareCase, UnionValue(Str("B"), Str("x")),
       Msgs(Mismatch("INTEGER", "x"))},
      {"strings for secrets", ListDef(secret), List<ListValueString, std::string>({"a", "b"}), Msgs()},
      {"strings for blobs", ListDef(blob), List<ListValueString, std::string>({"a"}), Msgs()},
      {"strings", ListDef(StrDef()), List<ListValueString, std::string>({"a"}), Msgs()},
      {"booleans", ListDef(BooleanDefinition::GetInstance()), List<ListValueBool>({true}), Msgs()},
      {"longs", ListDef(IntDef()), List<ListValueLong>({1LL, 2LL}), Msgs()},
      {"doubles", ListDef(DoubleDefinition::GetInstance()), List<ListValueDouble>({1.5}), Msgs()},
      {"blobs", ListDef(blob), List<ListValueBlob>({ByteVector{1}}), Msgs()},
      {"secrets", ListDef(secret), List<ListValueSecret>({SecretString("s")}), Msgs()},
      {"longs for strings", ListDef(StrDef()), List<ListValueLong>({1LL}),
       Msgs(Mismatch("LIST[STRING]", "[ 1, ] "))},
      {"secrets for strings", ListDef(StrDef()), List<ListValueSecret>({SecretString("s")}),
       Msgs(Mismatch("LIST[STRING]", "[ <secret>, ] "))},
      {"map for a list of structures", ListDef(StructDef("s", {{"a", IntDef()}})),
       Struct("m", {{"k", Int(1)}}), Msgs()},
      {"map for a list of integers", ListDef(IntDef()), Struct("m", {}),
       Msgs(Mismatch("LIST[INTEGER]", "{{ m : { } }} "))},
      {"structure for an error", codeError, Struct("e", {{"code", Int(1)}}), Msgs()},
      {"structure for an error, checked", codeError, Struct("e", {{"code", Str("x")}}),
       Msgs(Mismatch("INTEGER", "x"))},
      {"structure for a dynamic error, checked", DynamicErrorDefinition::GetInstance({{"code", IntDef()}}),
       Struct("e", {}), Msgs(Field("missing", "code", "DynamicErrorDefinition", "{{ e : { } }} "))},
  };
  const MessageMatcher mismatch = Property(&BaseMessage::id, "olma.data.type.mismatch");
  for (const Row& row : rows) {
    SCOPED_TRACE(row.label);
    // A message from before must not hide this call's own, nor make it fail.
    MessageList permissive{Message<CoreTag>("olma.data.invalid.type")}, strict;
    std::vector<MessageMatcher> expected{::testing::_};
    expected.insert(expected.end(), row.permissive.begin(), row.permissive.end());
    EXPECT_EQ((DataValidator::Validate<StrictMatch, ValidatorModePermissive>(row.definition, row.value,
                                                                             permissive)),
              row.permissive.empty());
    EXPECT_THAT(permissive, ElementsAreArray(expected));
    EXPECT_FALSE(
        (DataValidator::Validate<StrictMatch, ValidatorModeStrict>(row.definition, row.value, strict)));
    EXPECT_THAT(strict, ElementsAre(mismatch));
  }
}

TEST(Validator, NarrowDataTypeIntFollowsTheKind) {
  const ValPtr list = List({Int(1)});
  EXPECT_EQ((NarrowDataTypeInt<DataType::LIST, ListValue>(list)).get(), list.get());
  EXPECT_EQ((NarrowDataTypeInt<DataType::OPTIONAL, OptionalValue>(list)), nullptr);
  // The compound base is reached from errors as well as structures.
  EXPECT_NE((NarrowDataTypeInt<DataType::INTERNALC, CompoundValue>(Struct<ErrorValue>("e", {}))), nullptr);
}

// ---------------------------------------------------------------------------------------
// Depth: nesting costs work-stack entries, not call depth.

constexpr int kDepth = 1000000;

TEST(Validator, MillionLevelsDeep) {
  DefPtr optionalDef = IntDef(), listDef = IntDef();
  ValPtr optional = Str("x"), list = Int(1);
  // A structure "node" with an integer "v" and an optional reference to itself, "next".
  const auto node = StructDefinition::GetInstance("node", {{"v", IntDef()}});
  node->SetField("next", OptDef(StructRefDefinition::GetInstance(node)));
  ValPtr chain = Struct("node", {{"v", Str("z")}});
  for (int i = 0; i < 1000000; ++i) {
    optionalDef = OptDef(optionalDef);
    listDef = ListDef(listDef);
    optional = Opt(optional);
    list = List({list});
    chain = Struct("node", {{"v", Int(i)}, {"next", Opt(chain)}});
  }
  MessageList errors;
  EXPECT_TRUE((DataValidator::Validate<LooseMatch, ValidatorModeStrict>(listDef, list, errors)));
  EXPECT_FALSE((DataValidator::Validate<StrictMatch, ValidatorModeStrict>(optionalDef, optional, errors)));
  // A bare value against a million optionals unwraps the whole chain in permissive mode.
  EXPECT_TRUE((DataValidator::Validate<StrictMatch, ValidatorModePermissive>(optionalDef, Int(1), errors)));
  EXPECT_FALSE(
      (DataValidator::Validate<StrictMatch, ValidatorModePermissive>(optionalDef, Str("y"), errors)));
  EXPECT_FALSE((DataValidator::Validate<StrictMatch, ValidatorModeStrict>(node, chain, errors)));
  EXPECT_THAT(errors,
              ElementsAre(Mismatch("INTEGER", "x"), Mismatch("INTEGER", "y"), Mismatch("INTEGER", "z")));
}

}  // namespace
