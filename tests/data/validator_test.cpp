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

DefPtr IntDef() {
  return IntegerDefinition::GetInstance();
}
DefPtr StrDef() {
  return StringDefinition::GetInstance();
}
DefPtr OptDef(DefPtr element) {
  return OptionalDefinition::GetInstance(std::move(element));
}
DefPtr ListDef(DefPtr element) {
  return ListDefinition::GetInstance(std::move(element));
}
DefPtr StructDef(const std::string& name, DataDefinition::FieldMap fields) {
  return StructDefinition::GetInstance(name, std::move(fields));
}
ValPtr Int(long long value) {
  return IntegerValue::GetInstance(value);
}
ValPtr Str(const std::string& value) {
  return StringValue::GetInstance(value);
}
ValPtr Opt(ValPtr content) {
  return OptionalValue::GetInstance(std::move(content));
}
ValPtr Unset() {
  return OptionalValue::GetInstance();
}

ValPtr Struct(const std::string& name, std::initializer_list<std::pair<std::string, ValPtr>> fields) {
  auto value = StructValue::GetInstance(name);
  for (const auto& field : fields) value->SetField(field.first, field.second);
  return value;
}
ValPtr Error(const std::string& name, std::initializer_list<std::pair<std::string, ValPtr>> fields) {
  auto value = ErrorValue::GetInstance(name);
  for (const auto& field : fields) value->SetField(field.first, field.second);
  return value;
}
ValPtr List(std::initializer_list<ValPtr> elements) {
  auto list = ListValue::GetInstance();
  for (const auto& element : elements) list->push_back(element);
  return list;
}
template <class PackedList, class T>
ValPtr Packed(std::initializer_list<T> elements) {
  auto list = PackedList::GetInstance();
  for (const auto& element : elements) list->push_back(element);
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
MessageMatcher Missing(const std::string& field, const std::string& definition, const std::string& value) {
  return Msg("olma.data.compound.field.missing",
             "Missing field in compound: [" + field + "] " + definition + ": " + value,
             {field, definition, value});
}
MessageMatcher Extra(const std::string& field, const std::string& definition, const std::string& value) {
  return Msg("olma.data.compound.field.extra",
             "Extra field in compound: [" + field + "] " + definition + ": " + value,
             {field, definition, value});
}
MessageMatcher Unknown(const std::string& text) {
  return Msg("olma.data.value.unknown", "Unknown value: " + text, {text});
}
MessageMatcher NotAString() {
  return Msg("olma.data.bad.cast2", "Bad cast: Long -> String", {"Long", "String"});
}

// The union rule of a case field "payload" governed by the tag field "kind": the tag "A"
// requires the case, "B" forbids it, anything else leaves it open.
boost::logic::tribool PayloadCase(const std::string& tag) {
  if (tag == "A") return true;
  if (tag == "B") return false;
  return boost::logic::indeterminate;
}
DefPtr PayloadDef() {
  return UnionCaseDefinition::GetInstance(IntDef(), "kind", &PayloadCase);
}

// A structure "node" with an integer "v" and an optional reference to itself, "next".
StructDefinition::PtrConstType NodeDef() {
  auto node = StructDefinition::GetInstance("node", {{"v", IntDef()}});
  node->SetField("next", OptDef(StructRefDefinition::GetInstance(node)));
  return node;
}

// ---------------------------------------------------------------------------------------
// Behaviour shared by all four combinations of match and validator mode.

template <class M, class V>
struct Modes {
  using Match = M;
  using Mode = V;
  static constexpr bool kStrictMatch = std::is_same_v<M, StrictMatch>;
  static constexpr bool kPermissive = std::is_same_v<V, ValidatorModePermissive>;
};
using AllModes =
    ::testing::Types<Modes<LooseMatch, ValidatorModeStrict>, Modes<StrictMatch, ValidatorModeStrict>,
                     Modes<LooseMatch, ValidatorModePermissive>, Modes<StrictMatch, ValidatorModePermissive>>;
struct ModeNames {
  template <class T>
  static std::string GetName(int) {
    return std::string(T::kStrictMatch ? "StrictMatch" : "LooseMatch") +
           (T::kPermissive ? "Permissive" : "Strict");
  }
};

template <class T>
class ValidatorTest : public ::testing::Test {
 protected:
  static bool Validate(const DefPtr& definition, const ValPtr& value, MessageList& errors) {
    return DataValidator::Validate<typename T::Match, typename T::Mode>(definition, value, errors);
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
  const std::string rstText = "{sd{ s : { a : INTEGER, b : INTEGER, c : INTEGER, } }} ";
  const DefPtr colour = IsOneOfDefinition::GetInstance(
      [](const std::string& text) { return text == "red" || text == "green"; });
  const DefPtr known = DynamicStructureDefinition::GetInstance(
      {{"id", IntDef()}, {"inner", StructDef("i", {{"a", IntDef()}})}});
  const DefPtr codeError = ErrorDefinition::GetInstance("e", {{"code", IntDef()}});
  const auto node = NodeDef();
  DefPtr dangling;
  {
    auto gone = StructDefinition::GetInstance("node", {});
    dangling = StructRefDefinition::GetInstance(gone);
  }
  struct Row {
    const char* label;
    DefPtr definition;
    ValPtr value;
    std::vector<MessageMatcher> expected;
  };
  const std::vector<Row> rows = {
      {"void", VoidDefinition::GetInstance(), VoidValue::GetInstance(), {}},
      {"double", DoubleDefinition::GetInstance(), DoubleValue::GetInstance(1.5), {}},
      {"boolean", BooleanDefinition::GetInstance(), BooleanValue::GetInstance(true), {}},
      {"blob", BlobDefinition::GetInstance(), BlobValue::GetInstance(ByteVector{1}), {}},
      {"secret", SecretDefinition::GetInstance(), SecretValue::GetInstance(SecretString("pw")), {}},
      {"no widening", DoubleDefinition::GetInstance(), Int(1), {Mismatch("DOUBLE", "1")}},
      {"boolean is no integer", IntDef(), BooleanValue::GetInstance(true), {Mismatch("INTEGER", "1")}},
      {"secret is no string",
       StrDef(),
       SecretValue::GetInstance(SecretString("pw")),
       {Mismatch("STRING", "<secret>")}},
      {"void is no string", StrDef(), VoidValue::GetInstance(), {Mismatch("STRING", "NULL")}},
      {"opaque takes a structure", OpaqueDefinition::GetInstance(), Struct("s", {{"a", Int(1)}}), {}},
      {"opaque takes an empty pointer", ListDef(OpaqueDefinition::GetInstance()), List({nullptr}), {}},
      {"empty pointer", ListDef(IntDef()), List({Int(1), nullptr}), {Mismatch("INTEGER", "<unset>")}},
      {"unset optional", OptDef(IntDef()), Unset(), {}},
      {"optional content", OptDef(IntDef()), Opt(Str("x")), {Mismatch("INTEGER", "x")}},
      {"list elements in order",
       ListDef(IntDef()),
       List({Str("x"), Int(1), Str("y")}),
       {Mismatch("INTEGER", "x"), Mismatch("INTEGER", "y")}},
      {"structure by another name", rst, Struct("t", {{"a", Int(1)}, {"b", Int(2)}, {"c", Int(3)}}), {}},
      {"structure for an integer", IntDef(), Struct("t", {}), {Mismatch("INTEGER", "{{ t : { } }} ")}},
      {"missing fields: the last one is named",
       rst,
       Struct("s", {{"b", Int(1)}}),
       {Missing("c", rstText, "{{ s : { b : 1, } }} ")}},
      {"sibling scalars: later name first",
       rst,
       Struct("s", {{"a", Str("x")}, {"b", Int(1)}, {"c", Str("y")}}),
       {Mismatch("INTEGER", "y"), Mismatch("INTEGER", "x")}},
      {"a nested error abandons queued work",
       StructDef("r", {{"a", StructDef("in", {{"x", IntDef()}})}, {"b", ListDef(IntDef())}}),
       Struct("r", {{"a", Struct("in", {{"x", Str("bad")}})}, {"b", List({Str("bad2")})}}),
       {Mismatch("INTEGER", "bad")}},
      {"work queued after an error still runs",
       StructDef("r", {{"a", ListDef(IntDef())}, {"b", IntDef()}}),
       Struct("r", {{"a", List({Str("x")})}, {"b", Str("y")}}),
       {Mismatch("INTEGER", "y"), Mismatch("INTEGER", "x")}},
      {"error", codeError, Error("e", {{"code", Int(4)}}), {}},
      {"error field", codeError, Error("e", {{"code", Str("x")}}), {Mismatch("INTEGER", "x")}},
      {"enumeration", colour, Str("red"), {}},
      {"enumeration refuses",
       ListDef(colour),
       List({Str("blue"), Str("red"), Str("pink")}),
       {Unknown("blue"), Unknown("pink")}},
      {"enumeration of no string", colour, Int(5), {NotAString()}},
      {"dynamic structure", DynamicStructureDefinition::GetInstance(), Struct("d", {{"x", Int(1)}}), {}},
      {"dynamic structure for an integer",
       DynamicStructureDefinition::GetInstance(),
       Int(5),
       {Mismatch("DynamicStructureDefinition", "5")}},
      {"dynamic fields are matched loosely, also below",
       known,
       Struct("d",
              {{"id", Int(1)}, {"inner", Struct("i", {{"a", Int(1)}, {"b", Int(2)}})}, {"more", Int(2)}}),
       {}},
      {"dynamic field missing",
       known,
       Struct("d", {}),
       {Missing("inner", "DynamicStructureDefinition", "{{ d : { } }} ")}},
      {"dynamic error", DynamicErrorDefinition::GetInstance(), Error("e", {{"code", Int(4)}}), {}},
      {"dynamic error field",
       DynamicErrorDefinition::GetInstance({{"code", StrDef()}}),
       Error("e", {{"code", Int(4)}}),
       {Mismatch("STRING", "4")}},
      {"dynamic error for an integer",
       DynamicErrorDefinition::GetInstance(),
       Int(1),
       {Mismatch("DynamicErrorDefinition", "1")}},
      {"recursive structure",
       node,
       Struct("node", {{"v", Int(1)}, {"next", Opt(Struct("node", {{"v", Int(2)}, {"next", Unset()}}))}}),
       {}},
      {"recursive structure, deep error",
       node,
       Struct("node", {{"v", Int(1)}, {"next", Opt(Struct("node", {{"v", Str("x")}}))}}),
       {Mismatch("INTEGER", "x")}},
      {"reference by name only",
       StructRefDefinition::GetInstance("node"),
       Struct("node", {}),
       {Mismatch("StructRefDefinition", "{{ node : { } }} ")}},
      {"reference to a structure gone",
       dangling,
       Struct("node", {}),
       {Mismatch("StructRefDefinition", "{{ node : { } }} ")}},
      {"union case outside a structure", PayloadDef(), Opt(Str("x")), {Mismatch("INTEGER", "x")}},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.label);
    MessageList errors;
    EXPECT_EQ(this->Validate(row.definition, row.value, errors), row.expected.empty());
    EXPECT_THAT(errors, ElementsAreArray(row.expected));
  }
}

TYPED_TEST(ValidatorTest, FieldsOnlyInTheValue) {
  const DefPtr definition = StructDef("s", {{"a", IntDef()}, {"c", IntDef()}});
  const std::string text = "{sd{ s : { a : INTEGER, c : INTEGER, } }} ";
  const bool strict = TypeParam::kStrictMatch;
  MessageList errors;
  // More fields than the definition: "c" is missing, and StrictMatch names the first extra.
  ValPtr value = Struct("s", {{"a", Int(1)}, {"b", Int(2)}, {"zz", Int(3)}});
  EXPECT_FALSE(this->Validate(definition, value, errors));
  if (strict) {
    EXPECT_THAT(errors,
                ElementsAre(Missing("c", text, value->ToString()), Extra("b", text, value->ToString())));
  } else {
    EXPECT_THAT(errors, ElementsAre(Missing("c", text, value->ToString())));
  }
  // No more fields than the definition: never an extra field.
  errors.clear();
  value = Struct("s", {{"a", Int(1)}, {"zz", Int(3)}});
  EXPECT_FALSE(this->Validate(definition, value, errors));
  EXPECT_THAT(errors, ElementsAre(Missing("c", text, value->ToString())));
  errors.clear();
  EXPECT_TRUE(this->Validate(StructDef("s", {{"a", IntDef()}, {"c", OptDef(IntDef())}}), value, errors));
  // All declared fields and one more.
  value = Struct("s", {{"a", Int(1)}, {"c", Int(2)}, {"d", Int(3)}});
  EXPECT_EQ(this->Validate(definition, value, errors), !strict);
  // An error definition without a field map has no fields.
  const ValPtr error = Error("e", {{"code", Int(4)}});
  EXPECT_EQ(this->Validate(ErrorDefinition::GetInstance("e"), error, errors), !strict);
  if (strict) {
    EXPECT_THAT(errors, ElementsAre(Extra("d", text, value->ToString()),
                                    Extra("code", "{ed{ e : { } }} ", error->ToString())));
  } else {
    EXPECT_THAT(errors, IsEmpty());
  }
}

TYPED_TEST(ValidatorTest, UnionCaseStates) {
  const auto isset = [](const std::string& tag) {
    return Msg("olma.data.union.invalid.case.state.isset",
               "In the structure 'u', the field 'kind' is set to '" + tag +
                   "'. Therefore, the field 'payload' must not be set, but it is.",
               {"u", "kind", tag, "payload"});
  };
  const MessageMatcher isnotset =
      Msg("olma.data.union.invalid.case.state.isnotset",
          "In the structure 'u', the field 'kind' is set to 'A'. Therefore, the field "
          "'payload' must be set, but it is not.",
          {"u", "kind", "A", "payload"});
  const MessageMatcher notag =
      Msg("olma.data.union.invalid.case.state.notag",
          "In the structure 'u', the field 'kind' is not set. Therefore, the field 'payload' "
          "also must not be set, but it is.",
          {"u", "kind", "payload"});
  struct Row {
    const char* label;
    DefPtr tagDefinition;
    ValPtr tag;      // null: no tag field
    ValPtr payload;  // null: no case field
    std::vector<MessageMatcher> expected;
  };
  const std::vector<Row> rows = {
      {"tag unset, case unset", OptDef(StrDef()), Unset(), Unset(), {}},
      {"tag unset, case set", OptDef(StrDef()), Unset(), Opt(Int(1)), {notag}},
      {"required and set", OptDef(StrDef()), Opt(Str("A")), Opt(Int(1)), {}},
      {"required but unset", OptDef(StrDef()), Opt(Str("A")), Unset(), {isnotset}},
      {"forbidden but set", OptDef(StrDef()), Opt(Str("B")), Opt(Int(1)), {isset("B")}},
      {"forbidden and unset", OptDef(StrDef()), Opt(Str("B")), Unset(), {}},
      {"open, set", OptDef(StrDef()), Opt(Str("C")), Opt(Int(1)), {}},
      {"open, unset", OptDef(StrDef()), Opt(Str("C")), Unset(), {}},
      {"tag that is no optional", StrDef(), Str("B"), Opt(Int(1)), {isset("B")}},
      {"an absent case is not checked", StrDef(), Str("A"), nullptr, {}},
      {"tag that is no string", OptDef(IntDef()), Opt(Int(5)), Unset(), {NotAString()}},
      {"content checked", OptDef(StrDef()), Opt(Str("A")), Opt(Str("x")), {Mismatch("INTEGER", "x")}},
      {"no tag field", OptDef(StrDef()), nullptr, Opt(Int(1)), {Missing("kind", "OPTIONAL", "Optional< 1>")}},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.label);
    auto value = StructValue::GetInstance("u");
    if (row.tag) value->SetField("kind", row.tag);
    if (row.payload) value->SetField("payload", row.payload);
    MessageList errors;
    EXPECT_EQ(this->Validate(StructDef("u", {{"kind", row.tagDefinition}, {"payload", PayloadDef()}}), value,
                             errors),
              row.expected.empty());
    EXPECT_THAT(errors, ElementsAreArray(row.expected));
  }
}

// ---------------------------------------------------------------------------------------
// The permissive rules.

struct KindRow {
  DataType::EnumType definition;
  std::vector<DataType::EnumType> accepted;  // besides the definition's own kind
};

class PermissiveKinds : public ::testing::TestWithParam<KindRow> {};

TEST_P(PermissiveKinds, AcceptExactlyTheListedValueKinds) {
  const KindRow& row = GetParam();
  for (int kind = DataType::VOID; kind <= DataType::UNKNOWN; ++kind) {
    const DataType value(static_cast<DataType::EnumType>(kind));
    SCOPED_TRACE(kind);
    const bool listed = value == row.definition ||
                        std::find(row.accepted.begin(), row.accepted.end(), value) != row.accepted.end();
    EXPECT_EQ(ValidatorModePermissive::CompareTypesInt(row.definition, value), listed);
    EXPECT_EQ(ValidatorModeStrict::CompareTypesInt(row.definition, value), value == row.definition);
  }
}

std::vector<DataType::EnumType> AllKindsBelow(DataType::EnumType end) {
  std::vector<DataType::EnumType> kinds;
  for (int kind = DataType::VOID; kind < end; ++kind) kinds.push_back(static_cast<DataType::EnumType>(kind));
  return kinds;
}

INSTANTIATE_TEST_SUITE_P(
    Validator, PermissiveKinds,
    ::testing::Values(KindRow{DataType::VOID, {}}, KindRow{DataType::INTEGER, {}},
                      KindRow{DataType::DOUBLE, {}}, KindRow{DataType::BOOLEAN, {}},
                      KindRow{DataType::BLOB, {DataType::STRING}}, KindRow{DataType::STRING, {}},
                      KindRow{DataType::ERROR, {DataType::STRUCTURE}},
                      KindRow{DataType::OPTIONAL, AllKindsBelow(DataType::UNKNOWN)},
                      KindRow{DataType::LIST,
                              {DataType::LIST_BOOL, DataType::LIST_LONG, DataType::LIST_DOUBLE,
                               DataType::LIST_BLOB, DataType::LIST_STRING, DataType::LIST_SECRET,
                               DataType::STRUCTURE}},
                      KindRow{DataType::STRUCTURE, {}}, KindRow{DataType::OPAQUE, {}},
                      KindRow{DataType::SECRET, {DataType::STRING}}, KindRow{DataType::STRUCTURE_REF, {}},
                      KindRow{DataType::DYNAMIC_STRUCTURE, {}}, KindRow{DataType::ANY_ERROR, {}},
                      KindRow{DataType::INTERNALC, {}}),
    [](const ::testing::TestParamInfo<KindRow>& param) {
      return "Kind" + std::to_string(static_cast<int>(param.param.definition));
    });

TEST(Validator, PermissiveShapesAreRefusedByTheStrictMode) {
  const DefPtr codeError = ErrorDefinition::GetInstance("e", {{"code", IntDef()}});
  struct Row {
    const char* label;
    DefPtr definition;
    ValPtr value;
    std::string permissive;  // the one message's text in permissive mode; empty: valid
  };
  const Row rows[] = {
      {"string for secret", SecretDefinition::GetInstance(), Str("pw"), ""},
      {"string for blob", BlobDefinition::GetInstance(), Str("AAEC"), ""},
      {"bare value for optional", OptDef(IntDef()), Int(5), ""},
      {"bare value for nested optionals", OptDef(OptDef(IntDef())), Int(5), ""},
      {"bare value of the wrong kind", OptDef(IntDef()), Str("x"), "Type mismatch: INTEGER != x"},
      {"strings for secrets", ListDef(SecretDefinition::GetInstance()), Packed<ListValueString>({"a", "b"}),
       ""},
      {"strings for blobs", ListDef(BlobDefinition::GetInstance()), Packed<ListValueString>({"a"}), ""},
      {"strings", ListDef(StrDef()), Packed<ListValueString>({"a"}), ""},
      {"booleans", ListDef(BooleanDefinition::GetInstance()), Packed<ListValueBool>({true}), ""},
      {"longs", ListDef(IntDef()), Packed<ListValueLong>({1LL, 2LL}), ""},
      {"doubles", ListDef(DoubleDefinition::GetInstance()), Packed<ListValueDouble>({1.5}), ""},
      {"blobs", ListDef(BlobDefinition::GetInstance()), Packed<ListValueBlob>({ByteVector{1}}), ""},
      {"secrets", ListDef(SecretDefinition::GetInstance()), Packed<ListValueSecret>({SecretString("s")}), ""},
      {"longs for strings", ListDef(StrDef()), Packed<ListValueLong>({1LL}),
       "Type mismatch: LIST[STRING] != [ 1, ] "},
      {"secrets for strings", ListDef(StrDef()), Packed<ListValueSecret>({SecretString("s")}),
       "Type mismatch: LIST[STRING] != [ <secret>, ] "},
      {"map for a list of structures", ListDef(StructDef("s", {{"a", IntDef()}})),
       Struct("m", {{"k", Int(1)}}), ""},
      {"map for a list of integers", ListDef(IntDef()), Struct("m", {}),
       "Type mismatch: LIST[INTEGER] != {{ m : { } }} "},
      {"structure for an error", codeError, Struct("e", {{"code", Int(1)}}), ""},
      {"structure for an error, checked", codeError, Struct("e", {{"code", Str("x")}}),
       "Type mismatch: INTEGER != x"},
      {"structure for a dynamic error", DynamicErrorDefinition::GetInstance(), Struct("e", {}), ""},
      {"structure for a dynamic error, checked", DynamicErrorDefinition::GetInstance({{"code", IntDef()}}),
       Struct("e", {}), "Missing field in compound: [code] DynamicErrorDefinition: {{ e : { } }} "},
      {"integer for an error", codeError, Int(1), "Type mismatch: {ed{ e : { code : INTEGER, } }}  != 1"},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.label);
    MessageList permissive;
    EXPECT_EQ((DataValidator::Validate<StrictMatch, ValidatorModePermissive>(row.definition, row.value,
                                                                             permissive)),
              row.permissive.empty());
    if (!row.permissive.empty()) {
      EXPECT_THAT(permissive, ElementsAre(Property(&BaseMessage::defaultMessage, row.permissive)));
    }
    MessageList strict;
    EXPECT_FALSE(
        (DataValidator::Validate<StrictMatch, ValidatorModeStrict>(row.definition, row.value, strict)));
    EXPECT_THAT(strict, ElementsAre(Mismatch(row.definition->ToString(), row.value->ToString())));
  }
}

TEST(Validator, PermissiveBareUnionCase) {
  const DefPtr definition = StructDef("u", {{"kind", StrDef()}, {"payload", PayloadDef()}});
  const auto check = [&](const std::string& tag, ValPtr payload, MessageList errors = {}) {
    DataValidator::Validate<LooseMatch, ValidatorModePermissive>(
        definition, Struct("u", {{"kind", Str(tag)}, {"payload", std::move(payload)}}), errors);
    return errors;
  };
  EXPECT_THAT(check("A", Int(1)), IsEmpty());
  EXPECT_THAT(check("C", Int(1)), IsEmpty());
  // A bare value counts as a set case, also when the list held messages before.
  const MessageMatcher isset = Property(&BaseMessage::id, "olma.data.union.invalid.case.state.isset");
  EXPECT_THAT(check("B", Int(1)), ElementsAre(isset));
  EXPECT_THAT(check("B", Int(1), {Message<CoreTag>("olma.data.invalid.type")}),
              ElementsAre(::testing::_, isset));
  // A content that fails its own check is reported alone.
  EXPECT_THAT(check("B", Str("x")), ElementsAre(Mismatch("INTEGER", "x")));
}

TEST(Validator, UnionCaseUnderADynamicStructureNamesIt) {
  const DefPtr definition =
      DynamicStructureDefinition::GetInstance({{"kind", StrDef()}, {"payload", PayloadDef()}});
  MessageList errors;
  EXPECT_FALSE((DataValidator::Validate<LooseMatch, ValidatorModeStrict>(
      definition, Struct("d", {{"kind", Str("A")}, {"payload", Unset()}}), errors)));
  EXPECT_THAT(errors, ElementsAre(Msg(
                          "olma.data.union.invalid.case.state.isnotset",
                          "In the structure '_dynS', the field 'kind' is set to 'A'. Therefore, the field "
                          "'payload' must be set, but it is not.",
                          {"_dynS", "kind", "A", "payload"})));
}

TEST(Validator, DefinitionValidateRunsLooseMatchPermissively) {
  const DefPtr secret = SecretDefinition::GetInstance();
  const DefPtr single = StructDef("s", {{"a", IntDef()}});
  const ValPtr text = Str("pw");
  const ValPtr extra = Struct("s", {{"a", Int(1)}, {"b", Int(2)}});
  MessageList errors;
  EXPECT_TRUE((DataDefinition::Validate<LooseMatch, ValidatorModeStrict>(secret, text, errors)));
  EXPECT_TRUE((DataDefinition::Validate<LooseMatch, ValidatorModePermissive>(secret, text, errors)));
  EXPECT_TRUE((DataDefinition::Validate<StrictMatch, ValidatorModePermissive>(secret, text, errors)));
  EXPECT_TRUE((DataDefinition::Validate<LooseMatch, ValidatorModeStrict>(single, extra, errors)));
  EXPECT_THAT(errors, IsEmpty());
  EXPECT_FALSE((DataDefinition::Validate<StrictMatch, ValidatorModeStrict>(secret, text, errors)));
  EXPECT_FALSE((DataDefinition::Validate<StrictMatch, ValidatorModePermissive>(single, extra, errors)));
  EXPECT_THAT(errors, ElementsAre(Mismatch("SECRET", "pw"),
                                  Property(&BaseMessage::id, "olma.data.compound.field.extra")));
}

TEST(Validator, NarrowDataTypeIntFollowsTheKind) {
  const ValPtr list = List({Int(1)});
  const auto narrowed = NarrowDataTypeInt<DataType::LIST, ListValue>(list);
  EXPECT_EQ(narrowed.get(), list.get());
  EXPECT_EQ(list.use_count(), 2);
  EXPECT_EQ((NarrowDataTypeInt<DataType::OPTIONAL, OptionalValue>(list)), nullptr);
  EXPECT_EQ((NarrowDataTypeInt<DataType::LIST, ListValue>(ValPtr())), nullptr);
  EXPECT_NE((NarrowDataTypeInt<DataType::LIST_STRING, ListValueString>(Packed<ListValueString>({"a"}))),
            nullptr);
  EXPECT_NE((NarrowDataTypeInt<DataType::INTERNALC, CompoundValue>(Error("e", {}))), nullptr);
  EXPECT_EQ((NarrowDataTypeInt<DataType::INTERNALC, CompoundValue>(Int(1))), nullptr);
  EXPECT_NE((NarrowDataTypeInt<DataType::STRUCTURE, StructDefinition>(StructDef("s", {}))), nullptr);
  EXPECT_EQ((NarrowDataTypeInt<DataType::ERROR, ErrorDefinition>(StructDef("s", {}))), nullptr);
}

// ---------------------------------------------------------------------------------------
// Depth: nesting costs work-stack entries, not call depth.

constexpr int kDepth = 1000000;

TEST(Validator, MillionLevelsOfOptionalsAndLists) {
  DefPtr optionalDef = IntDef();
  DefPtr listDef = IntDef();
  ValPtr optional = Str("x");
  ValPtr list = Int(1);
  for (int i = 0; i < kDepth; ++i) {
    optionalDef = OptDef(optionalDef);
    listDef = ListDef(listDef);
    optional = Opt(optional);
    list = List({list});
  }
  MessageList errors;
  EXPECT_TRUE((DataValidator::Validate<LooseMatch, ValidatorModeStrict>(listDef, list, errors)));
  EXPECT_FALSE((DataValidator::Validate<StrictMatch, ValidatorModeStrict>(optionalDef, optional, errors)));
  // A bare value against a million optionals unwraps the whole chain in permissive mode.
  EXPECT_TRUE((DataValidator::Validate<StrictMatch, ValidatorModePermissive>(optionalDef, Int(1), errors)));
  EXPECT_FALSE(
      (DataValidator::Validate<StrictMatch, ValidatorModePermissive>(optionalDef, Str("y"), errors)));
  EXPECT_THAT(errors, ElementsAre(Mismatch("INTEGER", "x"), Mismatch("INTEGER", "y")));
}

TEST(Validator, MillionLevelsThroughARecursiveDefinition) {
  const DefPtr definition = NodeDef();
  ValPtr chain = Struct("node", {{"v", Str("x")}});
  for (int i = 0; i < kDepth; ++i) chain = Struct("node", {{"v", Int(i)}, {"next", Opt(chain)}});
  MessageList errors;
  EXPECT_FALSE((DataValidator::Validate<StrictMatch, ValidatorModeStrict>(definition, chain, errors)));
  EXPECT_THAT(errors, ElementsAre(Mismatch("INTEGER", "x")));
}

}  // namespace
