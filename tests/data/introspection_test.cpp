#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "data/tree_test_support.h"
#include "olma/data/introspection.h"
#include "olma/data/native_to_value.h"
#include "olma/data/validator.h"
#include "olma/data/value_to_native.h"

namespace Olma {
namespace Data {
namespace {

using namespace Testing;
using ::testing::ElementsAre;

constexpr const char* kName = "com.zorvex.olma.std.introspection.operation.data_definition";

std::string Text(const Def& definition, char separator = ' ') {
  std::string text;
  MessageList unused;
  RawDefinitionAdapter::Adapt(definition, separator, text, unused);
  return text;
}
Val ToValue(const Def& definition) {
  MessageList messages;
  Val value;
  EXPECT_TRUE(NativeToValueAdapter::Adapt(definition, value, messages));
  return value;
}
// A data_definition structure with the given type and, optionally, name and fields.
Val Described(const char* type, Val name = Unset(), Val fields = Unset(), Val element = Unset()) {
  return Of(kName,
            {{"type", Str(type)}, {"name", name}, {"fields", fields}, {"element_definition", element}});
}

TEST(Introspection, ScalarRendersItsTypeAndThreeUnsetFields) {
  EXPECT_EQ(ToValue(IntD())->ToString(), std::string("{{ ") + kName +
                                             " : { element_definition : Optional< >, fields : Optional< >, "
                                             "name : Optional< >, type : LONG, } }} ");
}

TEST(Introspection, FieldsTravelAsMapEntriesInNameOrder) {
  const auto value = ToValue(StructD("Pt", {{"b", StrD()}, {"a", IntD()}}));
  const auto fields = static_cast<const StructValue&>(*value).fields().at("fields");
  const auto& list = static_cast<const ListValue&>(*static_cast<const OptionalValue&>(*fields).value());
  std::vector<std::string> keys;
  for (const Val& entry : list) {
    const auto& entryFields = static_cast<const StructValue&>(*entry).fields();
    EXPECT_EQ(static_cast<const StructValue&>(*entry).name(), "map-entry");
    keys.push_back(entryFields.at("key")->ToString());
  }
  EXPECT_THAT(keys, ElementsAre("a", "b"));
  MessageList messages;
  EXPECT_TRUE((DataDefinition::Validate<StrictMatch, ValidatorModePermissive>(
      DefinitionToValueHelper::IntrospectionDefinition(), value, messages)));
}

TEST(Introspection, LossyKindsTravelAsTheirBaseKind) {
  const Def enumeration = IsOneOfDefinition::GetInstance([](const std::string&) { return true; });
  const Def unionCase =
      UnionCaseDefinition::GetInstance(IntD(), "tag", [](const std::string&) { return true; });
  const Def dynamic = DynamicStructureDefinition::GetInstance({{"x", IntD()}});
  MessageList messages;
  for (const auto& [definition, text] : std::vector<std::pair<Def, std::string>>{
           {enumeration, "STRING"}, {unionCase, "OPTIONAL LONG"}, {dynamic, "DYNAMIC_STRUCTURE"}}) {
    Def back;
    ASSERT_TRUE(ValueToNativeAdapter::Adapt(ToValue(definition), back, messages));
    EXPECT_EQ(Text(back), text);
  }
}

TEST(Introspection, RecursiveStructureRoundTripsToALinkedReference) {
  const Def node = Node(ListD(StrD()));
  MessageList messages;
  Def back;
  ASSERT_TRUE(ValueToNativeAdapter::Adapt(ToValue(node), back, messages));
  EXPECT_TRUE(DataDefinition::Compare(node, back, messages)) << Flatten(messages)[0];
  const auto& structure = static_cast<const StructDefinition&>(*back);
  const auto& next = static_cast<const OptionalDefinition&>(*structure.fields()->at("next"));
  EXPECT_EQ(static_cast<const StructRefDefinition&>(*next.element()).target(), back);
}

TEST(Introspection, BadValuesOnTheWayBack) {
  MessageList messages;
  Def back;
  EXPECT_FALSE(ValueToNativeAdapter::Adapt(
      Described("STRUCTURE", Opt(Str("outer")),
                Opt(ListOf({Of("map-entry", {{"key", Str("f")},
                                             {"value", Described("STRUCTURE_REF", Opt(Str("ghost")))}})}))),
      back, messages));
  EXPECT_THAT(messages, ElementsAre(Msg("olma.adapt.missing.reference", "Unknown message.", {"ghost"})));

  for (const Val& bad :
       {Int(1), Described("OPTIONAL", Unset(), Unset(), Opt(Int(2))),
        Described("STRUCTURE", Opt(Str("s")), Opt(Str("not a list"))), Described("STRUCTURE", Opt(Int(3))),
        Described("ERROR", Opt(Str("e")), Opt(ListOf({Of("map-entry", {{"value", Described("LONG")}})})))}) {
    SCOPED_TRACE(bad->ToString());
    messages.clear();
    EXPECT_FALSE(ValueToNativeAdapter::Adapt(bad, back, messages));
    EXPECT_THAT(Flatten(messages), ElementsAre("olma.data.invalid.type"));
  }
}

TEST(Introspection, UnknownTypeTextsGiveLongWithoutMessage) {
  for (const char* type : {"LONGER", "", "INTERNALC", "_UNKNOWN", "LONG"}) {
    SCOPED_TRACE(type);
    MessageList messages;
    Def back;
    EXPECT_TRUE(ValueToNativeAdapter::Adapt(Described(type), back, messages));
    EXPECT_EQ(back->type(), DataType::INTEGER);
  }
}

TEST(Introspection, CanonicalText) {
  const Def point = StructD("Pt", {{"b", OptD(StrD())}, {"a", IntD()}});
  std::string bare;
  RawDefinitionAdapter::Adapt(point, bare);
  EXPECT_EQ(bare, "STRUCTUREPt<aLONGbOPTIONALSTRING>");
  EXPECT_EQ(Text(point, '|'), "STRUCTURE|Pt|<|a|LONG|b|OPTIONAL|STRING|>");
  const std::vector<std::pair<Def, std::string>> cases{
      {StructD("Empty", {}), "STRUCTURE Empty"},
      {ErrorDefinition::GetInstance("E", {{"m", ListD(DataDefinition::Create<SecretString>())}}),
       "ERROR E < m LIST SECRET >"},
      {DynamicErrorDefinition::GetInstance(), "ANY_ERROR"},
      {DynamicStructureDefinition::GetInstance({{"k", DataDefinition::Create<ByteVector>()}}),
       "DYNAMIC_STRUCTURE < k BINARY >"},
      {StructRefDefinition::GetInstance("Pt"), "STRUCTURE_REF Pt"},
      {ListD(OptD(DataDefinition::Create<Opaque>())), "LIST OPTIONAL OPAQUE"},
      {DataDefinition::Create<Void>(), "VOID"},
      {DefinitionToValueHelper::IntrospectionDefinition(),
       std::string("STRUCTURE ") + kName + " < element_definition OPTIONAL STRUCTURE_REF " + kName +
           " fields OPTIONAL LIST STRUCTURE map-entry < key STRING value STRUCTURE_REF " + kName +
           " > name OPTIONAL STRING type STRING >"},
  };
  for (const auto& [definition, text] : cases) EXPECT_EQ(Text(definition), text);
  std::ostringstream stream;
  RawDefinitionAdapter::Adapt(point, stream);
  EXPECT_EQ(stream.str(), bare);
}

TEST(Introspection, MillionDeepDefinitionRendersConvertsAndComesBack) {
  const Def deep = Nested(IntD(), "ol");
  const std::string text = Text(deep, '\0');
  EXPECT_EQ(text.size(), 500000 * (sizeof("OPTIONAL") - 1 + sizeof("LIST") - 1) + 4);
  MessageList messages;
  Def back;
  {
    const Val value = ToValue(deep);
    ASSERT_TRUE(ValueToNativeAdapter::Adapt(value, back, messages));
  }
  EXPECT_EQ(Text(back, '\0'), text);
}

}  // namespace
}  // namespace Data
}  // namespace Olma
