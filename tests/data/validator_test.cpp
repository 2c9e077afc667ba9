#include "olma/data/validator.h"

#include <algorithm>
#include <functional>
#include <initializer_list>
#include <list>
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
using ::testing::AllOf;
using ::testing::ElementsAre;
using ::testing::ElementsAreArray;
using ::testing::IsEmpty;
using ::testing::Property;

// ---------------------------------------------------------------------------------------
// Building blocks.

using DefPtr = DataDefinition::PtrConstType;
using ValPtr = DataValue::PtrConstType;

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
StructDefinition::PtrConstType StructDef(const std::string& name, DataDefinition::FieldMap fields) {
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

::testing::Matcher<const BaseMessage&> Msg(const std::string& id, const std::string& text,
                                           const std::vector<std::string>& args) {
  return AllOf(Property("id", &BaseMessage::id, id),
               Property("defaultMessage", &BaseMessage::defaultMessage, text),
               Property("args", &BaseMessage::args, ElementsAreArray(args)));
}

::testing::Matcher<const BaseMessage&> Mismatch(const std::string& definition, const std::string& value) {
  return Msg("olma.data.type.mismatch", "Type mismatch: " + definition + " != " + value, {definition, value});
}

::testing::Matcher<const BaseMessage&> Missing(const std::string& field, const std::string& definition,
                                               const std::string& value) {
  return Msg("olma.data.compound.field.missing",
             "Missing field in compound: [" + field + "] " + definition + ": " + value,
             {field, definition, value});
}

::testing::Matcher<const BaseMessage&> Extra(const std::string& field, const std::string& definition,
                                             const std::string& value) {
  return Msg("olma.data.compound.field.extra",
             "Extra field in compound: [" + field + "] " + definition + ": " + value,
             {field, definition, value});
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
           (T::kPermissive ? "Permissive" : "StrictMode");
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

TYPED_TEST(ValidatorTest, NullDefinitionOrValue) {
  MessageList errors;
  EXPECT_TRUE(this->Validate(nullptr, nullptr, errors));
  EXPECT_FALSE(this->Validate(IntDef(), nullptr, errors));
  EXPECT_FALSE(this->Validate(nullptr, Int(1), errors));
  EXPECT_THAT(errors, IsEmpty());
}

TYPED_TEST(ValidatorTest, OnlyMessagesOfThisCallCount) {
  MessageList errors{Message<CoreTag>("olma.data.invalid.type")};
  EXPECT_TRUE(this->Validate(IntDef(), Int(1), errors));
  EXPECT_EQ(errors.size(), 1u);
  EXPECT_FALSE(this->Validate(IntDef(), Str("x"), errors));
  ASSERT_EQ(errors.size(), 2u);
  EXPECT_EQ(errors.front().id(), "olma.data.invalid.type");
  EXPECT_THAT(errors.back(), Mismatch("INTEGER", "x"));
}

TYPED_TEST(ValidatorTest, ScalarKinds) {
  struct Row {
    const char* label;
    DefPtr definition;
    ValPtr value;
    bool valid;
    std::string rendering;  // of the definition, in the mismatch message
  };
  const Row rows[] = {
      {"void", VoidDefinition::GetInstance(), VoidValue::GetInstance(), true, ""},
      {"integer", IntDef(), Int(-3), true, ""},
      {"double", DoubleDefinition::GetInstance(), DoubleValue::GetInstance(1.5), true, ""},
      {"boolean", BooleanDefinition::GetInstance(), BooleanValue::GetInstance(true), true, ""},
      {"blob", BlobDefinition::GetInstance(), BlobValue::GetInstance(ByteVector{1, 2}), true, ""},
      {"string", StrDef(), Str("s"), true, ""},
      {"secret", SecretDefinition::GetInstance(), SecretValue::GetInstance(SecretString("pw")), true, ""},
      {"integer is no double", DoubleDefinition::GetInstance(), Int(1), false, "DOUBLE"},
      {"double is no integer", IntDef(), DoubleValue::GetInstance(1.5), false, "INTEGER"},
      {"boolean is no integer", IntDef(), BooleanValue::GetInstance(true), false, "INTEGER"},
      {"secret is no string", StrDef(), SecretValue::GetInstance(SecretString("pw")), false, "STRING"},
      {"void is no string", StrDef(), VoidValue::GetInstance(), false, "STRING"},
      {"optional is no integer", IntDef(), Opt(Int(1)), false, "INTEGER"},
      {"list is no blob", BlobDefinition::GetInstance(), List({}), false, "BLOB"},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.label);
    MessageList errors;
    EXPECT_EQ(this->Validate(row.definition, row.value, errors), row.valid);
    if (row.valid) {
      EXPECT_THAT(errors, IsEmpty());
    } else {
      EXPECT_THAT(errors, ElementsAre(Mismatch(row.rendering, row.value->ToString())));
    }
  }
}

TYPED_TEST(ValidatorTest, OpaqueAcceptsAnything) {
  const DefPtr opaque = OpaqueDefinition::GetInstance();
  for (const ValPtr& value : {Int(1), Struct("s", {{"a", Int(1)}}), List({nullptr}), Unset()}) {
    SCOPED_TRACE(value->ToString());
    MessageList errors;
    EXPECT_TRUE(this->Validate(opaque, value, errors));
    EXPECT_THAT(errors, IsEmpty());
  }
  MessageList errors;
  EXPECT_TRUE(this->Validate(ListDef(OpaqueDefinition::GetInstance()), List({nullptr, Str("x")}), errors));
}

TYPED_TEST(ValidatorTest, EmptyValuePointerInsideATreeIsAMismatch) {
  MessageList errors;
  EXPECT_FALSE(this->Validate(ListDef(IntDef()), List({Int(1), nullptr}), errors));
  EXPECT_THAT(errors, ElementsAre(Mismatch("INTEGER", "<unset>")));
}

TYPED_TEST(ValidatorTest, OptionalContents) {
  const DefPtr definition = OptDef(IntDef());
  MessageList errors;
  EXPECT_TRUE(this->Validate(definition, Unset(), errors));
  EXPECT_TRUE(this->Validate(definition, Opt(Int(4)), errors));
  EXPECT_THAT(errors, IsEmpty());
  EXPECT_FALSE(this->Validate(definition, Opt(Str("x")), errors));
  EXPECT_THAT(errors, ElementsAre(Mismatch("INTEGER", "x")));
}

TYPED_TEST(ValidatorTest, ListElementsAreCheckedInListOrder) {
  MessageList errors;
  EXPECT_TRUE(this->Validate(ListDef(IntDef()), List({}), errors));
  EXPECT_TRUE(this->Validate(ListDef(IntDef()), List({Int(1), Int(2)}), errors));
  EXPECT_THAT(errors, IsEmpty());
  // Each element's own check runs even after a sibling failed.
  EXPECT_FALSE(this->Validate(ListDef(IntDef()), List({Str("x"), Int(1), Str("y")}), errors));
  EXPECT_THAT(errors, ElementsAre(Mismatch("INTEGER", "x"), Mismatch("INTEGER", "y")));
}

TYPED_TEST(ValidatorTest, StructureFieldsMatch) {
  const auto definition =
      StructDef("s", {{"a", IntDef()}, {"b", ListDef(StrDef())}, {"c", OptDef(IntDef())}});
  MessageList errors;
  EXPECT_TRUE(this->Validate(definition, Struct("s", {{"a", Int(1)}, {"b", List({Str("x")})}}), errors));
  EXPECT_TRUE(this->Validate(definition,
                             Struct("other", {{"a", Int(1)}, {"b", List({})}, {"c", Opt(Int(2))}}), errors));
  EXPECT_THAT(errors, IsEmpty());
  EXPECT_FALSE(this->Validate(definition, Int(1), errors));
  EXPECT_THAT(errors, ElementsAre(Mismatch(
                          "{sd{ s : { a : INTEGER, b : LIST[STRING], c : OPTIONAL<INTEGER>, } }} ", "1")));
}

TYPED_TEST(ValidatorTest, MissingRequiredFieldNamesLastFieldInNameOrder) {
  const auto definition = StructDef("s", {{"a", IntDef()}, {"b", IntDef()}, {"c", IntDef()}});
  const std::string rendering = "{sd{ s : { a : INTEGER, b : INTEGER, c : INTEGER, } }} ";
  for (const ValPtr& value : {Struct("s", {}), Struct("s", {{"b", Int(1)}})}) {
    SCOPED_TRACE(value->ToString());
    MessageList errors;
    EXPECT_FALSE(this->Validate(definition, value, errors));
    EXPECT_THAT(errors, ElementsAre(Missing("c", rendering, value->ToString())));
  }
}

TYPED_TEST(ValidatorTest, SiblingScalarMismatchesAreReportedLaterNameFirst) {
  const auto definition = StructDef("s", {{"a", IntDef()}, {"b", IntDef()}});
  MessageList errors;
  EXPECT_FALSE(this->Validate(definition, Struct("s", {{"a", Str("x")}, {"b", Str("y")}}), errors));
  EXPECT_THAT(errors, ElementsAre(Mismatch("INTEGER", "y"), Mismatch("INTEGER", "x")));
}

TYPED_TEST(ValidatorTest, NestedErrorAbandonsQueuedWork) {
  // Both composites are queued; the one that runs first fails and drops the other.
  const auto definition =
      StructDef("r", {{"a", StructDef("inner", {{"x", IntDef()}})}, {"b", ListDef(IntDef())}});
  const ValPtr value = Struct("r", {{"a", Struct("inner", {{"x", Str("bad")}})}, {"b", List({Str("bad2")})}});
  MessageList errors;
  EXPECT_FALSE(this->Validate(definition, value, errors));
  EXPECT_THAT(errors, ElementsAre(Mismatch("INTEGER", "bad")));
}

TYPED_TEST(ValidatorTest, WorkQueuedAfterAnErrorStillRuns) {
  // "b" is checked at once and fails; "a" is queued afterwards and still runs.
  const auto definition = StructDef("r", {{"a", ListDef(IntDef())}, {"b", IntDef()}});
  MessageList errors;
  EXPECT_FALSE(this->Validate(definition, Struct("r", {{"a", List({Str("x")})}, {"b", Str("y")}}), errors));
  EXPECT_THAT(errors, ElementsAre(Mismatch("INTEGER", "y"), Mismatch("INTEGER", "x")));
}

TYPED_TEST(ValidatorTest, FieldsOnlyInTheValue) {
  const auto definition = StructDef("s", {{"a", IntDef()}, {"c", IntDef()}});
  const std::string rendering = "{sd{ s : { a : INTEGER, c : INTEGER, } }} ";
  {
    // More fields than the definition: missing "c", and with StrictMatch the first extra.
    const ValPtr value = Struct("s", {{"a", Int(1)}, {"b", Int(2)}, {"zz", Int(3)}});
    MessageList errors;
    EXPECT_FALSE(this->Validate(definition, value, errors));
    if (TypeParam::kStrictMatch) {
      EXPECT_THAT(errors, ElementsAre(Missing("c", rendering, value->ToString()),
                                      Extra("b", rendering, value->ToString())));
    } else {
      EXPECT_THAT(errors, ElementsAre(Missing("c", rendering, value->ToString())));
    }
  }
  {
    // As many fields as the definition: the extra-field check does not apply.
    const ValPtr value = Struct("s", {{"a", Int(1)}, {"zz", Int(3)}});
    MessageList errors;
    EXPECT_FALSE(this->Validate(definition, value, errors));
    EXPECT_THAT(errors, ElementsAre(Missing("c", rendering, value->ToString())));
  }
  {
    const auto withOptional = StructDef("s", {{"a", IntDef()}, {"c", OptDef(IntDef())}});
    MessageList errors;
    EXPECT_TRUE(this->Validate(withOptional, Struct("s", {{"a", Int(1)}, {"zz", Int(3)}}), errors));
    EXPECT_THAT(errors, IsEmpty());
  }
  {
    const ValPtr value = Struct("s", {{"a", Int(1)}, {"c", Int(2)}, {"d", Int(3)}});
    MessageList errors;
    EXPECT_EQ(this->Validate(definition, value, errors), !TypeParam::kStrictMatch);
    if (TypeParam::kStrictMatch) {
      EXPECT_THAT(errors, ElementsAre(Extra("d", rendering, value->ToString())));
    }
  }
}

TYPED_TEST(ValidatorTest, ErrorDefinitions) {
  const auto definition = ErrorDefinition::GetInstance("e", {{"code", IntDef()}});
  auto error = ErrorValue::GetInstance("e");
  error->SetField("code", Int(4));
  MessageList errors;
  EXPECT_TRUE(this->Validate(definition, error, errors));
  EXPECT_THAT(errors, IsEmpty());

  auto wrong = ErrorValue::GetInstance("e");
  wrong->SetField("code", Str("x"));
  EXPECT_FALSE(this->Validate(definition, wrong, errors));
  EXPECT_THAT(errors, ElementsAre(Mismatch("INTEGER", "x")));

  // An error definition without a field map has no fields: any field is extra.
  errors.clear();
  EXPECT_EQ(this->Validate(ErrorDefinition::GetInstance("e"), error, errors), !TypeParam::kStrictMatch);
  if (TypeParam::kStrictMatch) {
    EXPECT_THAT(errors, ElementsAre(Extra("code", "{ed{ e : { } }} ", error->ToString())));
  }
}

TYPED_TEST(ValidatorTest, IsOneOfChecksTheText) {
  const DefPtr colour = IsOneOfDefinition::GetInstance(
      [](const std::string& text) { return text == "red" || text == "green"; });
  MessageList errors;
  EXPECT_TRUE(this->Validate(colour, Str("red"), errors));
  EXPECT_THAT(errors, IsEmpty());

  EXPECT_FALSE(this->Validate(colour, Str("blue"), errors));
  EXPECT_THAT(errors, ElementsAre(Msg("olma.data.value.unknown", "Unknown value: blue", {"blue"})));

  errors.clear();
  EXPECT_FALSE(this->Validate(colour, Int(5), errors));
  EXPECT_THAT(errors,
              ElementsAre(Msg("olma.data.bad.cast2", "Bad cast: Long -> String", {"Long", "String"})));

  errors.clear();
  EXPECT_FALSE(this->Validate(ListDef(colour), List({Str("blue"), Str("red"), Str("pink")}), errors));
  EXPECT_THAT(errors, ElementsAre(Msg("olma.data.value.unknown", "Unknown value: blue", {"blue"}),
                                  Msg("olma.data.value.unknown", "Unknown value: pink", {"pink"})));
}

TYPED_TEST(ValidatorTest, DynamicStructures) {
  MessageList errors;
  const DefPtr any = DynamicStructureDefinition::GetInstance();
  EXPECT_TRUE(this->Validate(any, Struct("whatever", {{"x", Int(1)}}), errors));
  EXPECT_THAT(errors, IsEmpty());
  EXPECT_FALSE(this->Validate(any, Int(5), errors));
  EXPECT_THAT(errors, ElementsAre(Mismatch("DynamicStructureDefinition", "5")));

  // Known fields are checked; fields beyond them are fine under any match mode, also in
  // nested structures.
  const DefPtr known = DynamicStructureDefinition::GetInstance(
      {{"id", IntDef()}, {"inner", StructDef("i", {{"a", IntDef()}})}});
  errors.clear();
  EXPECT_TRUE(this->Validate(
      known,
      Struct("d", {{"id", Int(1)}, {"inner", Struct("i", {{"a", Int(1)}, {"b", Int(2)}})}, {"more", Int(2)}}),
      errors));
  EXPECT_THAT(errors, IsEmpty());
  const ValPtr noId = Struct("d", {{"inner", Struct("i", {{"a", Int(1)}})}});
  EXPECT_FALSE(this->Validate(known, noId, errors));
  EXPECT_THAT(errors, ElementsAre(Missing("id", "DynamicStructureDefinition", noId->ToString())));
}

TYPED_TEST(ValidatorTest, DynamicErrors) {
  MessageList errors;
  auto error = ErrorValue::GetInstance("e");
  error->SetField("code", Int(4));
  EXPECT_TRUE(this->Validate(DynamicErrorDefinition::GetInstance(), error, errors));
  EXPECT_TRUE(this->Validate(DynamicErrorDefinition::GetInstance({{"code", IntDef()}}), error, errors));
  EXPECT_THAT(errors, IsEmpty());
  EXPECT_FALSE(this->Validate(DynamicErrorDefinition::GetInstance({{"code", StrDef()}}), error, errors));
  EXPECT_THAT(errors, ElementsAre(Mismatch("STRING", "4")));
  errors.clear();
  EXPECT_FALSE(this->Validate(DynamicErrorDefinition::GetInstance(), Int(1), errors));
  EXPECT_THAT(errors, ElementsAre(Mismatch("DynamicErrorDefinition", "1")));
}

TYPED_TEST(ValidatorTest, RecursiveStructureThroughReference) {
  auto node = StructDefinition::GetInstance("node", {{"v", IntDef()}});
  node->SetField("next", OptDef(StructRefDefinition::GetInstance(node)));
  const DefPtr definition = node;

  const ValPtr good =
      Struct("node", {{"v", Int(1)}, {"next", Opt(Struct("node", {{"v", Int(2)}, {"next", Unset()}}))}});
  MessageList errors;
  EXPECT_TRUE(this->Validate(definition, good, errors));
  EXPECT_THAT(errors, IsEmpty());

  const ValPtr bad =
      Struct("node", {{"v", Int(1)}, {"next", Opt(Struct("node", {{"v", Str("x")}, {"next", Unset()}}))}});
  EXPECT_FALSE(this->Validate(definition, bad, errors));
  EXPECT_THAT(errors, ElementsAre(Mismatch("INTEGER", "x")));
}

TYPED_TEST(ValidatorTest, UnresolvedReferenceIsAMismatch) {
  const ValPtr value = Struct("node", {});
  MessageList errors;
  EXPECT_FALSE(this->Validate(StructRefDefinition::GetInstance("node"), value, errors));
  EXPECT_THAT(errors, ElementsAre(Mismatch("StructRefDefinition", value->ToString())));

  DefPtr dangling;
  {
    auto target = StructDef("node", {});
    dangling = StructRefDefinition::GetInstance(target);
  }
  errors.clear();
  EXPECT_FALSE(this->Validate(dangling, value, errors));
  EXPECT_THAT(errors, ElementsAre(Mismatch("StructRefDefinition", value->ToString())));
}

// The union rule for a case field "payload" governed by the tag field "kind": the tag
// "A" requires the case, "B" forbids it, anything else leaves it open.
boost::logic::tribool PayloadCase(const std::string& tag) {
  if (tag == "A") return true;
  if (tag == "B") return false;
  return boost::logic::indeterminate;
}

StructDefinition::PtrConstType UnionDef(DefPtr tagDefinition) {
  return StructDef("u", {{"kind", std::move(tagDefinition)},
                         {"payload", UnionCaseDefinition::GetInstance(IntDef(), "kind", &PayloadCase)}});
}

TYPED_TEST(ValidatorTest, UnionCaseStates) {
  const std::string isset =
      "In the structure 'u', the field 'kind' is set to 'B'. Therefore, the field 'payload' "
      "must not be set, but it is.";
  const std::string isnotset =
      "In the structure 'u', the field 'kind' is set to 'A'. Therefore, the field 'payload' "
      "must be set, but it is not.";
  const std::string notag =
      "In the structure 'u', the field 'kind' is not set. Therefore, the field 'payload' also "
      "must not be set, but it is.";
  struct Row {
    const char* label;
    DefPtr tagDefinition;
    ValPtr tag;  // null: no tag field
    ValPtr payload;
    std::vector<::testing::Matcher<const BaseMessage&>> expected;
  };
  const std::vector<Row> rows = {
      {"tag unset, case unset", OptDef(StrDef()), Unset(), Unset(), {}},
      {"tag unset, case set",
       OptDef(StrDef()),
       Unset(),
       Opt(Int(1)),
       {Msg("olma.data.union.invalid.case.state.notag", notag, {"u", "kind", "payload"})}},
      {"required and set", OptDef(StrDef()), Opt(Str("A")), Opt(Int(1)), {}},
      {"required but unset",
       OptDef(StrDef()),
       Opt(Str("A")),
       Unset(),
       {Msg("olma.data.union.invalid.case.state.isnotset", isnotset, {"u", "kind", "A", "payload"})}},
      {"forbidden but set",
       OptDef(StrDef()),
       Opt(Str("B")),
       Opt(Int(1)),
       {Msg("olma.data.union.invalid.case.state.isset", isset, {"u", "kind", "B", "payload"})}},
      {"forbidden and unset", OptDef(StrDef()), Opt(Str("B")), Unset(), {}},
      {"open, set", OptDef(StrDef()), Opt(Str("C")), Opt(Int(1)), {}},
      {"open, unset", OptDef(StrDef()), Opt(Str("C")), Unset(), {}},
      {"plain string tag",
       StrDef(),
       Str("B"),
       Opt(Int(1)),
       {Msg("olma.data.union.invalid.case.state.isset", isset, {"u", "kind", "B", "payload"})}},
      {"case absent is never checked", StrDef(), Str("A"), nullptr, {}},
      {"tag that is no string",
       OptDef(IntDef()),
       Opt(Int(5)),
       Unset(),
       {Msg("olma.data.bad.cast2", "Bad cast: Long -> String", {"Long", "String"})}},
      {"case content checked", OptDef(StrDef()), Opt(Str("A")), Opt(Str("x")), {Mismatch("INTEGER", "x")}},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.label);
    auto value = StructValue::GetInstance("u");
    value->SetField("kind", row.tag);
    if (row.payload) value->SetField("payload", row.payload);
    MessageList errors;
    EXPECT_EQ(this->Validate(UnionDef(row.tagDefinition), value, errors), row.expected.empty());
    EXPECT_THAT(errors, ElementsAreArray(row.expected));
  }

  // The tag field itself is missing.
  auto value = StructValue::GetInstance("u");
  value->SetField("payload", Opt(Int(1)));
  MessageList errors;
  EXPECT_FALSE(this->Validate(UnionDef(OptDef(StrDef())), value, errors));
  EXPECT_THAT(errors, ElementsAre(Missing("kind", "OPTIONAL", "Optional< 1>")));
}

TYPED_TEST(ValidatorTest, UnionCaseOutsideAStructureChecksOnlyTheContent) {
  const DefPtr lone = UnionCaseDefinition::GetInstance(IntDef(), "kind", &PayloadCase);
  MessageList errors;
  EXPECT_TRUE(this->Validate(lone, Opt(Int(1)), errors));
  EXPECT_THAT(errors, IsEmpty());
  EXPECT_FALSE(this->Validate(lone, Opt(Str("x")), errors));
  EXPECT_THAT(errors, ElementsAre(Mismatch("INTEGER", "x")));
}

TYPED_TEST(ValidatorTest, CompatibleKindsPassOnlyInPermissiveMode) {
  // A text where a secret is declared, and a bare value where an optional is.
  MessageList errors;
  const bool secret = this->Validate(SecretDefinition::GetInstance(), Str("pw"), errors);
  const bool optional = this->Validate(OptDef(IntDef()), Int(5), errors);
  EXPECT_EQ(secret, TypeParam::kPermissive);
  EXPECT_EQ(optional, TypeParam::kPermissive);
  if (TypeParam::kPermissive) {
    EXPECT_THAT(errors, IsEmpty());
  } else {
    EXPECT_THAT(errors, ElementsAre(Mismatch("SECRET", "pw"), Mismatch("OPTIONAL<INTEGER>", "5")));
  }
}

// ---------------------------------------------------------------------------------------
// The permissive rules.

struct KindRow {
  DataType::EnumType definition;
  std::vector<DataType::EnumType> accepted;  // besides the definition's own kind
};

std::vector<DataType::EnumType> AllValueKindsBut(DataType::EnumType excluded) {
  std::vector<DataType::EnumType> kinds;
  for (int kind = DataType::VOID; kind <= DataType::UNKNOWN; ++kind) {
    if (kind != excluded) kinds.push_back(static_cast<DataType::EnumType>(kind));
  }
  return kinds;
}

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

INSTANTIATE_TEST_SUITE_P(
    Validator, PermissiveKinds,
    ::testing::Values(KindRow{DataType::VOID, {}}, KindRow{DataType::INTEGER, {}},
                      KindRow{DataType::DOUBLE, {}}, KindRow{DataType::BOOLEAN, {}},
                      KindRow{DataType::BLOB, {DataType::STRING}}, KindRow{DataType::STRING, {}},
                      KindRow{DataType::ERROR, {DataType::STRUCTURE}},
                      KindRow{DataType::OPTIONAL, AllValueKindsBut(DataType::UNKNOWN)},
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

TEST(Validator, PermissiveCompositeShapes) {
  auto codeError = ErrorDefinition::GetInstance("e", {{"code", IntDef()}});
  struct Row {
    const char* label;
    DefPtr definition;
    ValPtr value;
    std::string permissive;  // the one message's text in permissive mode; empty: valid
  };
  const Row rows[] = {
      {"string for blob", BlobDefinition::GetInstance(), Str("AAEC"), ""},
      {"bare value for optional", OptDef(IntDef()), Int(5), ""},
      {"bare value for nested optionals", OptDef(OptDef(IntDef())), Int(5), ""},
      {"bare value of the wrong kind", OptDef(IntDef()), Str("x"), "Type mismatch: INTEGER != x"},
      {"typed strings for secrets", ListDef(SecretDefinition::GetInstance()),
       Packed<ListValueString>({"a", "b"}), ""},
      {"typed strings for blobs", ListDef(BlobDefinition::GetInstance()), Packed<ListValueString>({"a"}), ""},
      {"typed strings for strings", ListDef(StrDef()), Packed<ListValueString>({"a"}), ""},
      {"typed booleans", ListDef(BooleanDefinition::GetInstance()), Packed<ListValueBool>({true}), ""},
      {"typed longs", ListDef(IntDef()), Packed<ListValueLong>({1LL, 2LL}), ""},
      {"typed doubles", ListDef(DoubleDefinition::GetInstance()), Packed<ListValueDouble>({1.5}), ""},
      {"typed blobs", ListDef(BlobDefinition::GetInstance()), Packed<ListValueBlob>({ByteVector{1}}), ""},
      {"typed secrets", ListDef(SecretDefinition::GetInstance()),
       Packed<ListValueSecret>({SecretString("s")}), ""},
      {"typed longs for strings", ListDef(StrDef()), Packed<ListValueLong>({1LL}),
       "Type mismatch: LIST[STRING] != [ 1, ] "},
      {"typed secrets for strings", ListDef(StrDef()), Packed<ListValueSecret>({SecretString("s")}),
       "Type mismatch: LIST[STRING] != [ <secret>, ] "},
      {"structure for a list of structures", ListDef(StructDef("s", {{"a", IntDef()}})),
       Struct("m", {{"k", Int(1)}}), ""},
      {"structure for a list of integers", ListDef(IntDef()), Struct("m", {}),
       "Type mismatch: LIST[INTEGER] != {{ m : { } }} "},
      {"integer for a list", ListDef(IntDef()), Int(1), "Type mismatch: LIST[INTEGER] != 1"},
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
    if (row.permissive.empty()) {
      EXPECT_THAT(permissive, IsEmpty());
    } else {
      ASSERT_EQ(permissive.size(), 1u);
      EXPECT_EQ(permissive.front().defaultMessage(), row.permissive);
    }
    // Every one of these shapes is refused by the strict kind rules, at the top.
    MessageList strict;
    EXPECT_FALSE(
        (DataValidator::Validate<StrictMatch, ValidatorModeStrict>(row.definition, row.value, strict)));
    EXPECT_THAT(strict, ElementsAre(Mismatch(row.definition->ToString(), row.value->ToString())));
  }
}

TEST(Validator, PermissiveBareUnionCase) {
  const auto definition = UnionDef(StrDef());
  const auto check = [&](ValPtr tag, ValPtr payload) {
    auto value = StructValue::GetInstance("u");
    value->SetField("kind", std::move(tag));
    value->SetField("payload", std::move(payload));
    MessageList errors;
    DataValidator::Validate<LooseMatch, ValidatorModePermissive>(definition, value, errors);
    return errors;
  };
  EXPECT_THAT(check(Str("A"), Int(1)), IsEmpty());
  EXPECT_THAT(check(Str("C"), Int(1)), IsEmpty());
  // A bare value counts as a set case.
  EXPECT_THAT(
      check(Str("B"), Int(1)),
      ElementsAre(Msg("olma.data.union.invalid.case.state.isset",
                      "In the structure 'u', the field 'kind' is set to 'B'. Therefore, the field 'payload' "
                      "must not be set, but it is.",
                      {"u", "kind", "B", "payload"})));
  // A content that fails its own check is reported alone.
  EXPECT_THAT(check(Str("B"), Str("x")), ElementsAre(Mismatch("INTEGER", "x")));
  // Messages that were there before do not suppress the rule.
  auto value = StructValue::GetInstance("u");
  value->SetField("kind", Str("B"));
  value->SetField("payload", Int(1));
  MessageList errors{Message<CoreTag>("olma.data.invalid.type")};
  EXPECT_FALSE((DataValidator::Validate<LooseMatch, ValidatorModePermissive>(definition, value, errors)));
  ASSERT_EQ(errors.size(), 2u);
  EXPECT_EQ(errors.back().id(), "olma.data.union.invalid.case.state.isset");
}

TEST(Validator, UnionCaseNamesDynamicStructure) {
  const DefPtr definition = DynamicStructureDefinition::GetInstance(
      {{"kind", StrDef()}, {"payload", UnionCaseDefinition::GetInstance(IntDef(), "kind", &PayloadCase)}});
  const ValPtr value = Struct("d", {{"kind", Str("A")}, {"payload", Unset()}});
  MessageList errors;
  EXPECT_FALSE((DataValidator::Validate<LooseMatch, ValidatorModeStrict>(definition, value, errors)));
  EXPECT_THAT(errors, ElementsAre(Msg(
                          "olma.data.union.invalid.case.state.isnotset",
                          "In the structure '_dynS', the field 'kind' is set to 'A'. Therefore, the field "
                          "'payload' must be set, but it is not.",
                          {"_dynS", "kind", "A", "payload"})));
}

TEST(Validator, DefinitionValidateKeepsItsModeMapping) {
  // Loose matching through the definition runs the permissive kind rules; the others run
  // their own combination.
  const DefPtr secret = SecretDefinition::GetInstance();
  const ValPtr text = Str("pw");
  MessageList errors;
  EXPECT_TRUE((DataDefinition::Validate<LooseMatch, ValidatorModeStrict>(secret, text, errors)));
  EXPECT_TRUE((DataDefinition::Validate<LooseMatch, ValidatorModePermissive>(secret, text, errors)));
  EXPECT_TRUE((DataDefinition::Validate<StrictMatch, ValidatorModePermissive>(secret, text, errors)));
  EXPECT_THAT(errors, IsEmpty());
  EXPECT_FALSE((DataDefinition::Validate<StrictMatch, ValidatorModeStrict>(secret, text, errors)));
  EXPECT_THAT(errors, ElementsAre(Mismatch("SECRET", "pw")));

  const auto definition = StructDef("s", {{"a", IntDef()}});
  const ValPtr extra = Struct("s", {{"a", Int(1)}, {"b", Int(2)}});
  errors.clear();
  EXPECT_TRUE((DataDefinition::Validate<LooseMatch, ValidatorModeStrict>(definition, extra, errors)));
  EXPECT_TRUE((DataDefinition::Validate<LooseMatch, ValidatorModePermissive>(definition, extra, errors)));
  EXPECT_FALSE((DataDefinition::Validate<StrictMatch, ValidatorModePermissive>(definition, extra, errors)));
  EXPECT_FALSE((DataDefinition::Validate<StrictMatch, ValidatorModeStrict>(definition, extra, errors)));
  EXPECT_EQ(errors.size(), 2u);
}

TEST(Validator, ErrorReportEmptiesTheStack) {
  struct Stack {
    int cleared = 0;
    void Clear() { ++cleared; }
  } stack;
  MessageList errors;
  EXPECT_FALSE(ValidatorErrorReport::Error(stack, errors, "LIST[INTEGER]", "1"));
  EXPECT_EQ(stack.cleared, 1);
  EXPECT_THAT(errors, ElementsAre(Mismatch("LIST[INTEGER]", "1")));
}

TEST(Validator, NarrowDataTypeIntFollowsTheKind) {
  const ValPtr list = List({Int(1)});
  const auto narrowed = NarrowDataTypeInt<DataType::LIST, ListValue>(list);
  ASSERT_NE(narrowed, nullptr);
  EXPECT_EQ(narrowed.get(), list.get());
  EXPECT_EQ(list.use_count(), 2);
  EXPECT_EQ((NarrowDataTypeInt<DataType::OPTIONAL, OptionalValue>(list)), nullptr);
  EXPECT_EQ((NarrowDataTypeInt<DataType::LIST, ListValue>(ValPtr())), nullptr);
  EXPECT_NE((NarrowDataTypeInt<DataType::LIST_STRING, ListValueString>(Packed<ListValueString>({"a"}))),
            nullptr);
  // The compound base is reached from structures and errors alike.
  EXPECT_NE((NarrowDataTypeInt<DataType::INTERNALC, CompoundValue>(Struct("s", {}))), nullptr);
  EXPECT_NE((NarrowDataTypeInt<DataType::INTERNALC, CompoundValue>(ValPtr(ErrorValue::GetInstance("e")))),
            nullptr);
  EXPECT_EQ((NarrowDataTypeInt<DataType::INTERNALC, CompoundValue>(Int(1))), nullptr);

  const DefPtr definition = StructDef("s", {});
  EXPECT_NE((NarrowDataTypeInt<DataType::STRUCTURE, StructDefinition>(definition)), nullptr);
  EXPECT_EQ((NarrowDataTypeInt<DataType::ERROR, ErrorDefinition>(definition)), nullptr);
  EXPECT_NE((NarrowDataTypeInt<DataType::ANY_ERROR, DynamicErrorDefinition>(
                DefPtr(DynamicErrorDefinition::GetInstance()))),
            nullptr);
}

// ---------------------------------------------------------------------------------------
// Depth: nesting costs work-stack entries, not call depth.

constexpr int kDepth = 1000000;

TEST(Validator, MillionLevelsOfOptionals) {
  DefPtr definition = IntDef();
  ValPtr good = Int(1);
  ValPtr bad = Str("x");
  for (int i = 0; i < kDepth; ++i) {
    definition = OptDef(definition);
    good = Opt(good);
    bad = Opt(bad);
  }
  MessageList errors;
  EXPECT_TRUE((DataValidator::Validate<StrictMatch, ValidatorModeStrict>(definition, good, errors)));
  EXPECT_THAT(errors, IsEmpty());
  EXPECT_FALSE((DataValidator::Validate<StrictMatch, ValidatorModeStrict>(definition, bad, errors)));
  EXPECT_THAT(errors, ElementsAre(Mismatch("INTEGER", "x")));

  // A bare value against a million optionals, in permissive mode, unwraps the whole chain.
  errors.clear();
  EXPECT_TRUE((DataValidator::Validate<StrictMatch, ValidatorModePermissive>(definition, Int(1), errors)));
  EXPECT_FALSE((DataValidator::Validate<StrictMatch, ValidatorModePermissive>(definition, Str("x"), errors)));
  EXPECT_THAT(errors, ElementsAre(Mismatch("INTEGER", "x")));
}

TEST(Validator, MillionLevelsOfLists) {
  DefPtr definition = IntDef();
  ValPtr good = Int(1);
  ValPtr bad = Str("x");
  for (int i = 0; i < kDepth; ++i) {
    definition = ListDef(definition);
    good = List({good});
    bad = List({bad});
  }
  MessageList errors;
  EXPECT_TRUE((DataValidator::Validate<LooseMatch, ValidatorModePermissive>(definition, good, errors)));
  EXPECT_THAT(errors, IsEmpty());
  EXPECT_FALSE((DataValidator::Validate<LooseMatch, ValidatorModeStrict>(definition, bad, errors)));
  EXPECT_THAT(errors, ElementsAre(Mismatch("INTEGER", "x")));
}

TEST(Validator, MillionLevelsThroughARecursiveDefinition) {
  auto node = StructDefinition::GetInstance("node", {{"v", IntDef()}});
  node->SetField("next", OptDef(StructRefDefinition::GetInstance(node)));
  const DefPtr definition = node;

  ValPtr chain = Struct("node", {{"v", Str("x")}, {"next", Unset()}});
  for (int i = 0; i < kDepth; ++i) chain = Struct("node", {{"v", Int(i)}, {"next", Opt(chain)}});
  MessageList errors;
  EXPECT_FALSE((DataValidator::Validate<StrictMatch, ValidatorModeStrict>(definition, chain, errors)));
  EXPECT_THAT(errors, ElementsAre(Mismatch("INTEGER", "x")));
}

}  // namespace
