#include "olma/jsonrpc/json_codec.h"

#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <boost/json/parse.hpp>

#include "olma/data/compound_values.h"
#include "olma/data/definitions.h"
#include "olma/data/list_values.h"
#include "olma/data/optional_value.h"
#include "olma/data/scalar_values.h"
#include "olma/data/validator.h"
#include "olma/data/value_visitor.h"

namespace {

using namespace Olma::Data;
using Olma::JsonRpc::JsonCodec;

DataDefinition::PtrConstType Sample() {
  auto node = StructDefinition::GetInstance("node", {{"label", StringDefinition::GetInstance()}});
  node->SetField("next", OptionalDefinition::GetInstance(StructRefDefinition::GetInstance(node)));
  static DataDefinition::PtrConstType keep = node;  // references do not own their target
  return StructDefinition::GetInstance(
      "sample", {{"count", IntegerDefinition::GetInstance()},
                 {"ratio", DoubleDefinition::GetInstance()},
                 {"ok", BooleanDefinition::GetInstance()},
                 {"data", BlobDefinition::GetInstance()},
                 {"password", SecretDefinition::GetInstance()},
                 {"when", StringDefinition::GetInstance()},
                 {"maybe", OptionalDefinition::GetInstance(IntegerDefinition::GetInstance())},
                 {"numbers", ListDefinition::GetInstance(IntegerDefinition::GetInstance())},
                 {"names", ListDefinition::GetInstance(StringDefinition::GetInstance())},
                 {"chain", StructRefDefinition::GetInstance(node)},
                 {"extra", OpaqueDefinition::GetInstance()}});
}

DataValue::PtrConstType Decode(const std::string& text, const DataDefinition::PtrConstType& definition,
                               Olma::MessageList& messages) {
  return JsonCodec::FromJson(boost::json::parse(text), definition, messages);
}

bool Valid(const DataDefinition::PtrConstType& definition, const DataValue::PtrConstType& value,
           Olma::MessageList& messages) {
  return DataValidator::Validate<StrictMatch, ValidatorModePermissive>(definition, value, messages);
}

TEST(JsonCodec, ReadsEveryDeclaredKindIntoAValidValueAndWritesItBack) {
  const auto definition = Sample();
  const std::string text =
      R"({"chain":{"label":"a","next":{"label":"b","next":null}},"count":-7,"data":"AAEC","extra":{"@name":"x","k":[1,"s",null]},)"
      R"("maybe":null,"names":["x","y"],"numbers":[1,2,9007199254740993],"ok":true,"password":"hunter2",)"
      R"("ratio":2,"when":"2026-11-23T10:00:00.000Z"})";
  Olma::MessageList messages;
  const auto value = Decode(text, definition, messages);
  ASSERT_TRUE(Valid(definition, value, messages)) << messages.front().defaultMessage();

  const auto& fields = static_cast<const StructValue&>(*value).fields();
  EXPECT_EQ(fields.at("numbers")->type(), DataType::LIST_LONG);  // packed
  EXPECT_EQ(static_cast<const ListValueLong&>(*fields.at("numbers")).back(), 9007199254740993LL);
  EXPECT_EQ(fields.at("ratio")->type(), DataType::DOUBLE);
  EXPECT_EQ(static_cast<const BlobValue&>(*fields.at("data")).value(), (Olma::ByteVector{0, 1, 2}));
  EXPECT_EQ(fields.at("password")->type(), DataType::SECRET);
  EXPECT_EQ(static_cast<const CompoundValue&>(*fields.at("extra")).name(), "x");

  std::string out;
  JsonCodec::ToJson(value, definition, out);
  // Secrets never go back out; structures whose name the definition does not fix keep it.
  EXPECT_EQ(
      out,
      R"({"chain":{"label":"a","next":{"label":"b","next":null}},"count":-7,"data":"AAEC","extra":{"@name":"x","k":[1,"s",null]},)"
      R"("maybe":null,"names":["x","y"],"numbers":[1,2,9007199254740993],"ok":true,"password":"<secret>",)"
      R"("ratio":2,"when":"2026-11-23T10:00:00.000Z"})");
}

TEST(JsonCodec, MisfitsAreLeftToTheValidator) {
  const auto definition = StructDefinition::GetInstance(
      "in", {{"n", IntegerDefinition::GetInstance()},
             {"tags", ListDefinition::GetInstance(StringDefinition::GetInstance())}});
  struct Case {
    const char* json;
    const char* firstId;
  };
  const Case cases[] = {
      {R"({"n":"7","tags":[]})", "olma.data.type.mismatch"},
      {R"({"n":18446744073709551615,"tags":[]})", "olma.data.type.mismatch"},  // beyond 64 bits
      {R"({"n":1,"tags":["a",2]})", "olma.data.type.mismatch"},                // not packed: checked
      {R"({"n":1})", "olma.data.compound.field.missing"},
      {R"({"n":1,"tags":[],"more":true})", "olma.data.compound.field.extra"},
      {R"([1,2])", "olma.data.type.mismatch"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.json);
    Olma::MessageList messages;
    const auto value = Decode(c.json, definition, messages);
    ASSERT_TRUE(messages.empty());
    EXPECT_FALSE(Valid(definition, value, messages));
    ASSERT_FALSE(messages.empty());
    EXPECT_EQ(messages.front().id(), c.firstId);
  }
}

TEST(JsonCodec, BadBase64IsReportedByTheCodec) {
  Olma::MessageList messages;
  Decode(R"("not base64!")", BlobDefinition::GetInstance(), messages);
  ASSERT_EQ(messages.size(), 1u);
  EXPECT_EQ(messages.front().id(), "olma.data.bad.cast3");
}

TEST(JsonCodec, ErrorsCarryTheirNameAndDeepTreesNeedNoRecursion) {
  Olma::MessageList raised{Olma::Message<Olma::CoreTag>("olma.invalid.request")};
  std::string out;
  JsonCodec::ToJson(ErrorValue::Create("com.zorvex.olma.std.errors.invalid_argument", raised), nullptr, out);
  EXPECT_THAT(out,
              testing::StartsWith(R"({"@name":"com.zorvex.olma.std.errors.invalid_argument","messages":[)"));
  Olma::MessageList messages;
  const auto back = Decode(out, DynamicErrorDefinition::GetInstance(), messages);
  ASSERT_EQ(back->type(), DataType::ERROR);
  EXPECT_EQ(static_cast<const ErrorValue&>(*back).name(), "com.zorvex.olma.std.errors.invalid_argument");

  // A million nested optionals written and read without exhausting the stack.
  DataValue::PtrConstType deep = IntegerValue::GetInstance(1);
  for (int i = 0; i < 1000000; ++i) deep = OptionalValue::GetInstance(deep);
  std::string text;
  JsonCodec::ToJson(deep, nullptr, text);
  EXPECT_EQ(text, "1");  // set optionals are written as their content

  auto list = ListValue::GetInstance();
  DataValue::PtrConstType nested = list;
  for (int i = 0; i < 100000; ++i) {
    auto outer = ListValue::GetInstance();
    outer->push_back(nested);
    nested = outer;
  }
  text.clear();
  JsonCodec::ToJson(nested, nullptr, text);
  EXPECT_EQ(text.size(), 2u * 100001u);
}

TEST(JsonCodec, StringsAreEscaped) {
  std::string out;
  JsonCodec::AppendString(std::string("a\"b\\c\n\x01\xc3\xa4", 9), out);
  EXPECT_EQ(out, "\"a\\\"b\\\\c\\n\\u0001\xc3\xa4\"");
  EXPECT_EQ(boost::json::parse(out).as_string(), std::string("a\"b\\c\n\x01\xc3\xa4", 9));
}

}  // namespace
