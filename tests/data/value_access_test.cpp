#include "olma/data/value_access.h"

#include <cmath>
#include <limits>
#include <optional>
#include <string>
#include <system_error>
#include <tuple>
#include <type_traits>
#include <utility>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "data/tree_test_support.h"
#include "olma/core/base64.h"
#include "olma/data/comparator.h"
#include "olma/data/values.h"

namespace {

using namespace Olma::Data;
using namespace Olma::Data::Testing;
using Olma::ByteVector;
using Olma::DateTime;
using Olma::MessageList;
using Olma::SecretString;
using testing::ElementsAre;
using Strict = DataValueHelper::Strict;
using Loose = DataValueHelper::Loose;
using Ptr = DataValue::PtrConstType;

// A value no conversion produces, to tell "left alone" from "overwritten".
template <class T>
T Sentinel() {
  std::error_code ignored;
  const auto sentinels =
      std::make_tuple(Void{}, -42LL, -42.0, true, ByteVector{0xde, 0xad}, std::string("sentinel"),
                      SecretString("sentinel"), DateTime::Create(999999999LL, ignored));
  return std::get<T>(sentinels);
}

// The output and the messages (flattened) of one conversion; it succeeded when there are
// no messages.
template <class T>
struct Outcome {
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
  return {std::move(out), Flatten(messages)};
}

template <class Mode, class T>
void ExpectBadCast(const Ptr& value, const std::string& source_name) {
  const auto outcome = Convert<Mode, T>(value);
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

TYPED_TEST(ValueToNative, OnlyTheMatchingScalarClassConverts) {
  using T = TypeParam;
  const std::string target(TypeInfo<T>::name());
  // Each source, and the name a failure gives it: scalars by their native type, composites
  // by their kind. The text is a canonical date-time, so that every successful conversion
  // turns back into its source.
  const std::pair<Ptr, std::string> sources[] = {
      {VoidValue::GetInstance(), "Void"},
      {Int(42), "Long"},
      {DoubleValue::GetInstance(1.5), "Double"},
      {BooleanValue::GetInstance(false), "Boolean"},
      {BlobValue::GetInstance(ByteVector{1, 2}), "Blob"},
      {Str("2021-06-01T14:00:00.250Z"), "String"},
      {SecretValue::GetInstance(SecretString("pw")), "SecretString"},
      {Opt(Str("5")), "OPTIONAL"},
      {ListValue::GetInstance(), "LIST"},
      {ListValueString::GetInstance(), "_UNKNOWN"},
      {StructValue::GetInstance("s"), "STRUCTURE"},
      {ErrorValue::GetInstance("e"), "ERROR"},
      {nullptr, "<unset>"},
  };
  for (const auto& [value, name] : sources) {
    SCOPED_TRACE(name + " -> " + target);
    if (name == target || (name == "String" && target == "DateTime")) {
      for (const auto& outcome : {Convert<Strict, T>(value), Convert<Loose, T>(value)}) {
        MessageList ignored;
        EXPECT_EQ(outcome.messages, Texts{});
        EXPECT_TRUE(DataValue::Compare<CompModeStrict>(DataValue::Create<T>(outcome.out), value, ignored));
      }
    } else {
      ExpectBadCast<Strict, T>(value, name);
      if (name != "String") ExpectBadCast<Loose, T>(value, name);  // loose text rules: below
    }
  }
}

TEST(ValueToNative, MessagesReadAsExpected) {
  MessageList messages{Olma::BaseMessage("x", "x", {})};
  double number = 0;
  Void nothing;
  EXPECT_FALSE(DataValue::ToPrimitive<double>(IntegerValue::GetInstance(1), number, messages));
  EXPECT_FALSE(DataValue::ToPrimitive<Void>(Str("x"), nothing, messages));
  Texts texts;
  for (const auto& message : messages) texts.push_back(message.defaultMessage());
  EXPECT_EQ(texts, (Texts{"x", "Bad cast: Long -> Double", "Bad cast: String -> Void : x"}));
}

// ---------------------------------------------------------------------------------------
// Loose text sources (strict mode reads none: see above).

// The loose conversion of `text`, or nullopt after "Bad cast: String -> T".
template <class T>
std::optional<T> Parse(const std::string& text) {
  SCOPED_TRACE("\"" + text + "\"");
  const auto outcome = Convert<Loose, T>(Str(text));
  if (outcome.messages.empty()) return outcome.out;
  EXPECT_EQ(outcome.messages, (Texts{"olma.data.bad.cast2", "String", std::string(TypeInfo<T>::name())}));
  EXPECT_TRUE(outcome.out == Sentinel<T>());
  return std::nullopt;
}

TEST(ValueToNative, LooseReadsScalarsFromWholeTexts) {
  const double inf = std::numeric_limits<double>::infinity();
  const long long max = std::numeric_limits<long long>::max(), min = std::numeric_limits<long long>::min();
  EXPECT_THAT((std::vector{Parse<bool>("true"), Parse<bool>("false"), Parse<bool>("1"), Parse<bool>("0")}),
              ElementsAre(true, false, true, false));
  EXPECT_THAT(
      (std::vector{Parse<long long>("42"), Parse<long long>("-7"), Parse<long long>("+5"),
                   Parse<long long>("9223372036854775807"), Parse<long long>("-9223372036854775808")}),
      ElementsAre(42, -7, 5, max, min));
  EXPECT_THAT((std::vector{Parse<double>("1.5"), Parse<double>("-2e3"), Parse<double>(".5"),
                           Parse<double>("inf"), Parse<double>("INFINITY"), Parse<double>("-infinity")}),
              ElementsAre(1.5, -2000.0, 0.5, inf, inf, -inf));
  EXPECT_TRUE(std::isnan(Parse<double>("nan").value_or(0)));
  EXPECT_TRUE(Parse<SecretString>("pw") == SecretString("pw") && Parse<SecretString>("") == SecretString());
  EXPECT_TRUE(Parse<Void>("").has_value());
  EXPECT_THAT((std::vector{Parse<ByteVector>("AQID"), Parse<ByteVector>("")}),
              ElementsAre(ByteVector{1, 2, 3}, ByteVector{}));
  for (const std::string text : {"yes", "TRUE", "2", " 1", ""})
    EXPECT_EQ(Parse<bool>(text), std::nullopt) << text;
  for (const std::string text : {"9223372036854775808", " 5", "5 ", "1.0", "0x10", ""})
    EXPECT_EQ(Parse<long long>(text), std::nullopt) << text;
  for (const std::string text : {"abc", " 1", "1 ", "1e309", "1,5", ""})
    EXPECT_EQ(Parse<double>(text), std::nullopt) << text;
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
    EXPECT_EQ((Convert<Loose, Void>(Str(text)).messages),
              (Texts{"olma.data.bad.cast3", "String", "Void", text}));
  }
}

TEST(ValueToNative, BothModesParseDateTimes) {
  EXPECT_EQ((Convert<Strict, DateTime>(Str("2021-06-01T12:00:00+01:00")).out.text()),
            "2021-06-01T13:00:00.000Z");
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
  const Ptr five = Int(5), inner = Of("inner", {{"b", five}}), list = ListOf({inner}), opt = Opt(inner);
  const Ptr root = Of("root", {{"a", inner},
                               {"opt", opt},
                               {"none", Unset()},
                               {"list", list},
                               {"longs", ListOf<ListValueLong>({})},
                               {"n", five},
                               {"empty", nullptr},
                               {"err", Of<ErrorValue>("e", {{"code", five}})},
                               {"", inner}});
  // The node `path` yields (the tree's own) and, when a list stops it, the path left.
  const auto expect = [&](const char* path, const Ptr& expected, const std::string& remaining = "") {
    SCOPED_TRACE(path);
    MessageList messages;
    EXPECT_EQ(DataValueHelpers::GetValueByPath(path, root, messages), expected);
    EXPECT_EQ(DataValueHelpers::GetValueByPath(path, root), expected);
    EXPECT_EQ(Flatten(messages),
              (remaining.empty() ? Texts{} : Texts{"olma.data.getvaluebypath.list.not.last", remaining}));
  };
  expect("a.b", five);
  expect(".a.b", five);
  expect("a.", inner);
  expect("", root);
  expect(".", root);
  expect("a.c", nullptr);
  expect("..b", five);  // one leading "." is dropped, then "" names a field
  expect("opt.b", five);
  expect("opt", opt);
  expect("none.b", nullptr);
  expect("n.x", nullptr);
  expect("empty.x", nullptr);
  expect("err.code", five);
  expect("list", list);
  expect("list.b.c", nullptr, "b.c");
  expect("longs.x", nullptr, "x");
  EXPECT_EQ(DataValueHelpers::GetValueByPath("", nullptr), nullptr);
}

TEST(GetValueByPath, AMillionNestedOptionalsNeedNoDeepCallStack) {
  const Ptr five = Int(5);
  EXPECT_EQ(DataValueHelpers::GetValueByPath("x", Nested(Of("s", {{"x", five}}), "o")), five);
}

}  // namespace
