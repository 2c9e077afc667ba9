#include "olma/data/value_access.h"

#include <cmath>
#include <limits>
#include <optional>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "olma/core/base64.h"
#include "olma/data/comparator.h"
#include "olma/data/values.h"

namespace {

using namespace Olma::Data;
using Olma::ByteVector;
using Olma::DateTime;
using Olma::MessageList;
using Olma::SecretString;
using Strict = DataValueHelper::Strict;
using Loose = DataValueHelper::Loose;
using Ptr = DataValue::PtrConstType;
using Texts = std::vector<std::string>;

Ptr Str(std::string text) {
  return StringValue::GetInstance(std::move(text));
}

// The id and arguments of each message.
Texts Flatten(const MessageList& messages) {
  Texts flat;
  for (const auto& message : messages) {
    flat.push_back(message.id());
    flat.insert(flat.end(), message.args().begin(), message.args().end());
  }
  return flat;
}

// A value no conversion produces, to tell "left alone" from "overwritten".
template <class T>
T Sentinel() {
  if constexpr (std::is_same_v<T, DateTime>) {
    DateTime sentinel;
    DateTime::Create("1999-09-09T09:09:09.999Z", sentinel);
    return sentinel;
  } else if constexpr (std::is_same_v<T, SecretString>) {
    return SecretString("sentinel");
  } else if constexpr (std::is_same_v<T, ByteVector>) {
    return {0xde, 0xad};
  } else if constexpr (std::is_same_v<T, std::string>) {
    return "sentinel";
  } else if constexpr (std::is_same_v<T, Void>) {
    return {};
  } else {
    return T(-42);  // long long, double; bool: true
  }
}

template <class T>
struct Outcome {
  bool ok;
  T out;
  Texts messages;
};

template <class Mode, class T>
Outcome<T> Convert(const Ptr& value) {
  T out = Sentinel<T>();
  MessageList messages;
  const bool ok = std::is_same_v<Mode, Strict> ? DataValue::Value<T>(value, out, messages)
                                               : DataValue::ToPrimitive<T>(value, out, messages);
  EXPECT_EQ(ok, messages.empty());
  EXPECT_LE(messages.size(), 1u);
  return {ok, std::move(out), Flatten(messages)};
}

template <class Mode, class T>
void ExpectBadCast(const Ptr& value, const std::string& source_name) {
  const auto outcome = Convert<Mode, T>(value);
  EXPECT_FALSE(outcome.ok);
  EXPECT_EQ(outcome.messages, (Texts{"olma.data.bad.cast2", source_name, std::string(TypeInfo<T>::name())}));
  EXPECT_TRUE(outcome.out == Sentinel<T>()) << "a failed conversion leaves the output alone";
}

// ---------------------------------------------------------------------------------------
// Rules shared by both modes, for every target type

template <class T>
class ValueToNative : public testing::Test {};
using Natives =
    testing::Types<Void, long long, double, bool, ByteVector, std::string, SecretString, DateTime>;
TYPED_TEST_SUITE(ValueToNative, Natives);

TYPED_TEST(ValueToNative, OnlyTheMatchingScalarClassConvertsWithoutWidening) {
  using T = TypeParam;
  const std::string target(TypeInfo<T>::name());
  // Every scalar class, with the name of its native type. The text is a canonical
  // date-time, so that every successful conversion turns back into its source.
  const std::pair<Ptr, std::string> sources[] = {
      {VoidValue::GetInstance(), "Void"},
      {IntegerValue::GetInstance(42), "Long"},
      {DoubleValue::GetInstance(1.5), "Double"},
      {BooleanValue::GetInstance(false), "Boolean"},
      {BlobValue::GetInstance(ByteVector{1, 2}), "Blob"},
      {Str("2021-06-01T14:00:00.250Z"), "String"},
      {SecretValue::GetInstance(SecretString("pw")), "SecretString"},
  };
  for (const auto& [value, name] : sources) {
    SCOPED_TRACE(name + " -> " + target);
    if (name == target || (name == "String" && target == "DateTime")) {
      for (const auto& outcome : {Convert<Strict, T>(value), Convert<Loose, T>(value)}) {
        MessageList ignored;
        EXPECT_TRUE(outcome.ok);
        EXPECT_TRUE(DataValue::Compare<CompModeStrict>(DataValue::Create<T>(outcome.out), value, ignored));
      }
    } else {
      ExpectBadCast<Strict, T>(value, name);
      if (name != "String") ExpectBadCast<Loose, T>(value, name);  // loose text rules: tables below
    }
  }
}

TYPED_TEST(ValueToNative, CompositesAreNamedByKindAndNeverUnwrapped) {
  const std::pair<Ptr, std::string> sources[] = {
      {OptionalValue::GetInstance(IntegerValue::GetInstance(5)), "OPTIONAL"},
      {OptionalValue::GetInstance(Str("5")), "OPTIONAL"},
      {ListValue::GetInstance(), "LIST"},
      {ListValueString::GetInstance(), "_UNKNOWN"},
      {StructValue::GetInstance("s"), "STRUCTURE"},
      {ErrorValue::GetInstance("e"), "ERROR"},
      {nullptr, "<unset>"},
  };
  for (const auto& [value, name] : sources) {
    SCOPED_TRACE(name);
    ExpectBadCast<Strict, TypeParam>(value, name);
    ExpectBadCast<Loose, TypeParam>(value, name);
  }
}

TEST(ValueToNative, MessagesReadAsExpected) {
  MessageList messages{Olma::BaseMessage("x", "x", {})};
  double number = 0;
  long long integer = 0;
  Void nothing;
  EXPECT_FALSE(DataValue::ToPrimitive<double>(IntegerValue::GetInstance(1), number, messages));
  EXPECT_FALSE(DataValue::Value<long long>(OptionalValue::GetInstance(IntegerValue::GetInstance(5)), integer,
                                           messages));
  EXPECT_FALSE(DataValue::ToPrimitive<Void>(Str("x"), nothing, messages));
  Texts texts;
  for (const auto& message : messages) texts.push_back(message.defaultMessage());
  EXPECT_EQ(texts, (Texts{"x", "Bad cast: Long -> Double", "Bad cast: OPTIONAL -> Long",
                          "Bad cast: String -> Void : x"}));
}

TEST(ValueToNative, VisitorHoldsTheResultOfTheLastVisit) {
  MessageList messages;
  long long out = 0;
  DataValueHelper::ValueToNativeVisitor<Strict, long long> visitor(out, messages);
  EXPECT_FALSE(visitor.result());
  IntegerValue::GetInstance(7)->AcceptVisitor(visitor);
  EXPECT_TRUE(visitor.result() && out == 7);
  Str("8")->AcceptVisitor(visitor);
  EXPECT_FALSE(visitor.result());
}

// ---------------------------------------------------------------------------------------
// Loose text sources (strict mode reads none: see above). Expected result, or nullopt for
// "Bad cast: String -> T".

template <class Mode, class T>
void CheckTexts(const std::vector<std::pair<std::string, std::optional<T>>>& cases) {
  for (const auto& [text, expected] : cases) {
    SCOPED_TRACE("\"" + text + "\"");
    if (!expected) {
      ExpectBadCast<Mode, T>(Str(text), "String");
      continue;
    }
    const auto outcome = Convert<Mode, T>(Str(text));
    EXPECT_TRUE(outcome.ok);
    if constexpr (std::is_same_v<T, double>) {
      if (std::isnan(*expected)) {
        EXPECT_TRUE(std::isnan(outcome.out));
        continue;
      }
    }
    EXPECT_TRUE(outcome.out == *expected);
  }
}

TEST(ValueToNative, LooseReadsScalarsFromWholeTexts) {
  const double inf = std::numeric_limits<double>::infinity();
  const auto none = std::nullopt;
  CheckTexts<Loose, bool>({{"true", true},
                           {"false", false},
                           {"1", true},
                           {"0", false},
                           {"yes", none},
                           {"TRUE", none},
                           {"2", none},
                           {" 1", none},
                           {"", none}});
  CheckTexts<Loose, long long>({{"42", 42},
                                {"-7", -7},
                                {"+5", 5},
                                {"9223372036854775807", std::numeric_limits<long long>::max()},
                                {"-9223372036854775808", std::numeric_limits<long long>::min()},
                                {"9223372036854775808", none},
                                {" 5", none},
                                {"5 ", none},
                                {"1.0", none},
                                {"0x10", none},
                                {"", none}});
  CheckTexts<Loose, double>({{"1.5", 1.5},
                             {"-2e3", -2000.0},
                             {".5", 0.5},
                             {"inf", inf},
                             {"INFINITY", inf},
                             {"-infinity", -inf},
                             {"nan", std::nan("")},
                             {"NAN", std::nan("")},
                             {"abc", none},
                             {" 1", none},
                             {"1 ", none},
                             {"1e309", none},
                             {"1,5", none},
                             {"", none}});
  CheckTexts<Loose, SecretString>({{"pw", SecretString("pw")}, {"", SecretString()}});
  CheckTexts<Loose, Void>({{"", Void{}}});
  CheckTexts<Loose, ByteVector>({{"AQID", ByteVector{1, 2, 3}}, {"", ByteVector{}}});
}

TEST(ValueToNative, LooseTextFailuresWithDetail) {
  for (const std::string text : {"A", "AQI*", "A=BC"}) {
    SCOPED_TRACE(text);
    std::string error;
    const ByteVector decoded = Olma::Base64::Decode(text, error);
    ASSERT_FALSE(error.empty());
    const auto outcome = Convert<Loose, ByteVector>(Str(text));
    EXPECT_EQ(outcome.messages, (Texts{"olma.data.bad.cast3", "String", "Blob", error}));
    EXPECT_EQ(outcome.out, decoded);  // whatever the decoder produced
  }
  for (const std::string text : {"x", " ", "NULL"}) {
    const auto outcome = Convert<Loose, Void>(Str(text));
    EXPECT_EQ(outcome.messages, (Texts{"olma.data.bad.cast3", "String", "Void", text}));
  }
}

TEST(ValueToNative, BothModesParseDateTimes) {
  const auto parsed = Convert<Strict, DateTime>(Str("2021-06-01T12:00:00+01:00"));
  EXPECT_EQ(parsed.out.text(), "2021-06-01T13:00:00.000Z");
  for (const std::string text : {"not a date", "", "2021-06-01", "2021-06-01T12:00:00Z "}) {
    SCOPED_TRACE(text);
    for (const auto& outcome : {Convert<Strict, DateTime>(Str(text)), Convert<Loose, DateTime>(Str(text))}) {
      EXPECT_EQ(outcome.messages, (Texts{"olma.data.bad.cast3", "String", "DateTime", text}));
      EXPECT_TRUE(outcome.out == Sentinel<DateTime>());
    }
  }
}

// ---------------------------------------------------------------------------------------
// Values by path

TEST(GetValueByPath, EntersFieldsAndOptionalsAndStopsAtListsAndScalars) {
  const Ptr five = IntegerValue::GetInstance(5);
  StructValue::PtrType inner = StructValue::GetInstance("inner"), root = StructValue::GetInstance("root");
  inner->SetField("b", five);
  ListValue::PtrType list = ListValue::GetInstance();
  list->push_back(inner);
  ErrorValue::PtrType error = ErrorValue::GetInstance("e");
  error->SetField("code", five);
  const Ptr opt = OptionalValue::GetInstance(inner);
  for (const auto& [name, value] :
       std::initializer_list<std::pair<const char*, Ptr>>{{"a", inner},
                                                          {"opt", opt},
                                                          {"none", OptionalValue::GetInstance()},
                                                          {"list", list},
                                                          {"longs", ListValueLong::GetInstance()},
                                                          {"n", five},
                                                          {"empty", nullptr},
                                                          {"err", error},
                                                          {"", inner}}) {
    root->SetField(name, value);
  }
  const struct {
    const char* path;
    Ptr expected;           // the tree's own node
    std::string remaining;  // the argument of the list message, if one is expected
  } cases[] = {
      {"a.b", five, ""},
      {".a.b", five, ""},
      {"a", inner, ""},
      {"a.", inner, ""},
      {"", root, ""},
      {".", root, ""},
      {"a.c", nullptr, ""},
      {"x", nullptr, ""},
      {"..b", five, ""},  // one leading "." is dropped, then "" names a field
      {"opt.b", five, ""},
      {"opt", opt, ""},
      {"none.b", nullptr, ""},
      {"n.x", nullptr, ""},
      {"empty", nullptr, ""},
      {"empty.x", nullptr, ""},
      {"err.code", five, ""},
      {"list", list, ""},
      {"list.b", nullptr, "b"},
      {"list.b.c", nullptr, "b.c"},
      {"longs.x", nullptr, "x"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.path);
    MessageList messages;
    EXPECT_EQ(DataValueHelpers::GetValueByPath(c.path, root, messages), c.expected);
    EXPECT_EQ(DataValueHelpers::GetValueByPath(c.path, root), c.expected);
    EXPECT_EQ(Flatten(messages),
              (c.remaining.empty() ? Texts{} : Texts{"olma.data.getvaluebypath.list.not.last", c.remaining}));
  }
  EXPECT_EQ(DataValueHelpers::GetValueByPath("", nullptr), nullptr);
}

TEST(GetValueByPath, AMillionNestedOptionalsNeedNoDeepCallStack) {
  const Ptr five = IntegerValue::GetInstance(5);
  StructValue::PtrType leaf = StructValue::GetInstance("s");
  leaf->SetField("x", five);
  Ptr node = leaf;
  for (int i = 0; i < 1000000; ++i) node = OptionalValue::GetInstance(std::move(node));
  EXPECT_EQ(DataValueHelpers::GetValueByPath("x", node), five);
}

}  // namespace
