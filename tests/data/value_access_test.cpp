#include "olma/data/value_access.h"

#include <cmath>
#include <limits>
#include <memory>
#include <optional>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "olma/core/base64.h"
#include "olma/core/date_time.h"
#include "olma/core/message.h"
#include "olma/core/secret_string.h"
#include "olma/data/values.h"

namespace {

using namespace Olma::Data;
using Olma::BaseMessage;
using Olma::ByteVector;
using Olma::DateTime;
using Olma::MessageList;
using Olma::SecretString;
using testing::AllOf;
using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::IsEmpty;
using testing::Matcher;
using testing::Property;

using Ptr = DataValue::PtrConstType;
using Strict = DataValueHelper::Strict;
using Loose = DataValueHelper::Loose;

Ptr Str(std::string text) {
  return StringValue::GetInstance(std::move(text));
}

Matcher<const BaseMessage&> IsMessage(const std::string& id, const std::vector<std::string>& args) {
  return AllOf(Property("id", &BaseMessage::id, id),
               Property("args", &BaseMessage::args, ElementsAreArray(args)));
}

// A native value that no conversion produces, to tell "left alone" from "overwritten".
template <class T>
T Sentinel() {
  if constexpr (std::is_same_v<T, Void>) {
    return Void{};
  } else if constexpr (std::is_same_v<T, long long>) {
    return -4242;
  } else if constexpr (std::is_same_v<T, double>) {
    return -42.42;
  } else if constexpr (std::is_same_v<T, bool>) {
    return true;
  } else if constexpr (std::is_same_v<T, ByteVector>) {
    return ByteVector{0xde, 0xad};
  } else if constexpr (std::is_same_v<T, std::string>) {
    return "sentinel";
  } else if constexpr (std::is_same_v<T, SecretString>) {
    return SecretString("sentinel");
  } else {
    DateTime sentinel;
    DateTime::Create("1999-09-09T09:09:09.999Z", sentinel);
    return sentinel;
  }
}

// One conversion: its result, what `out` holds afterwards, and the messages it appended.
template <class T>
struct Outcome {
  bool ok;
  T out;
  MessageList messages;
};

template <class Mode, class T>
Outcome<T> Convert(const Ptr& value) {
  Outcome<T> outcome{false, Sentinel<T>(), {}};
  if constexpr (std::is_same_v<Mode, Strict>) {
    outcome.ok = DataValue::Value<T>(value, outcome.out, outcome.messages);
  } else {
    outcome.ok = DataValue::ToPrimitive<T>(value, outcome.out, outcome.messages);
  }
  EXPECT_EQ(outcome.ok, outcome.messages.empty());
  return outcome;
}

// ---------------------------------------------------------------------------------------
// The rules both modes share, checked for every target type

template <class T>
class ValueToNative : public testing::Test {};

using Natives =
    testing::Types<Void, long long, double, bool, ByteVector, std::string, SecretString, DateTime>;
TYPED_TEST_SUITE(ValueToNative, Natives);

// A scalar of every class, with the name of its native type and a check that a
// conversion to its own native type delivered the payload.
struct ScalarSource {
  Ptr value;
  std::string native_name;
};

std::vector<ScalarSource> ScalarSources() {
  return {
      {VoidValue::GetInstance(), "Void"},
      {IntegerValue::GetInstance(42), "Long"},
      {DoubleValue::GetInstance(1.5), "Double"},
      {BooleanValue::GetInstance(false), "Boolean"},
      {BlobValue::GetInstance(ByteVector{1, 2, 3}), "Blob"},
      {Str("2021-06-01T12:00:00.250+02:00"), "String"},
      {SecretValue::GetInstance(SecretString("pw")), "SecretString"},
  };
}

template <class T>
bool HoldsPayloadOf(const T& out, const Ptr& source) {
  if constexpr (std::is_same_v<T, Void>) {
    return source->type() == DataType::VOID;
  } else if constexpr (std::is_same_v<T, long long>) {
    return out == 42;
  } else if constexpr (std::is_same_v<T, double>) {
    return out == 1.5;
  } else if constexpr (std::is_same_v<T, bool>) {
    return !out;
  } else if constexpr (std::is_same_v<T, ByteVector>) {
    return out == ByteVector{1, 2, 3};
  } else if constexpr (std::is_same_v<T, std::string>) {
    return out == "2021-06-01T12:00:00.250+02:00";
  } else if constexpr (std::is_same_v<T, SecretString>) {
    return out.str() == "pw";
  } else {
    return out.text() == "2021-06-01T14:00:00.250Z";  // the string parsed as a date-time
  }
}

template <class Mode, class T>
void CheckScalarSources() {
  const std::string target(TypeInfo<T>::name());
  for (const ScalarSource& source : ScalarSources()) {
    SCOPED_TRACE(source.native_name + " -> " + target);
    const auto outcome = Convert<Mode, T>(source.value);
    const bool matching =
        source.native_name == target || (source.native_name == "String" && target == "DateTime");
    if (matching) {
      EXPECT_TRUE(outcome.ok);
      EXPECT_TRUE(HoldsPayloadOf(outcome.out, source.value));
    } else if (std::is_same_v<Mode, Loose> && source.native_name == "String") {
      continue;  // the loose text rules have tables of their own below
    } else {
      EXPECT_FALSE(outcome.ok);
      EXPECT_THAT(outcome.messages,
                  ElementsAre(IsMessage("olma.data.bad.cast2", {source.native_name, target})));
      EXPECT_EQ(outcome.messages.front().defaultMessage(),
                "Bad cast: " + source.native_name + " -> " + target);
      EXPECT_TRUE(outcome.out == Sentinel<T>()) << "a failed conversion must leave the output alone";
    }
  }
}

TYPED_TEST(ValueToNative, StrictConvertsTheMatchingClassOnlyWithoutWidening) {
  CheckScalarSources<Strict, TypeParam>();
}

TYPED_TEST(ValueToNative, LooseAgreesWithStrictForEveryNonTextSource) {
  CheckScalarSources<Loose, TypeParam>();
}

TYPED_TEST(ValueToNative, CompositesAreNamedByKindAndNeverUnwrapped) {
  StructValue::PtrType structure = StructValue::GetInstance("s");
  structure->SetField("f", IntegerValue::GetInstance(1));
  const std::pair<Ptr, std::string> sources[] = {
      {OptionalValue::GetInstance(IntegerValue::GetInstance(5)), "OPTIONAL"},
      {OptionalValue::GetInstance(Str("5")), "OPTIONAL"},
      {ListValue::GetInstance(), "LIST"},
      {ListValueLong::GetInstance(), "_UNKNOWN"},
      {ListValueString::GetInstance(), "_UNKNOWN"},
      {structure, "STRUCTURE"},
      {ErrorValue::GetInstance("e"), "ERROR"},
      {nullptr, "<unset>"},
  };
  const std::string target(TypeInfo<TypeParam>::name());
  for (const auto& [value, name] : sources) {
    SCOPED_TRACE(name);
    for (const auto& outcome : {Convert<Strict, TypeParam>(value), Convert<Loose, TypeParam>(value)}) {
      EXPECT_FALSE(outcome.ok);
      EXPECT_THAT(outcome.messages, ElementsAre(IsMessage("olma.data.bad.cast2", {name, target})));
      EXPECT_TRUE(outcome.out == Sentinel<TypeParam>());
    }
  }
}

TEST(ValueToNative, TypeNames) {
  EXPECT_EQ(TypeInfo<Void>::name(), "Void");
  EXPECT_EQ(TypeInfo<long long>::name(), "Long");
  EXPECT_EQ(TypeInfo<double>::name(), "Double");
  EXPECT_EQ(TypeInfo<bool>::name(), "Boolean");
  EXPECT_EQ(TypeInfo<ByteVector>::name(), "Blob");
  EXPECT_EQ(TypeInfo<std::string>::name(), "String");
  EXPECT_EQ(TypeInfo<SecretString>::name(), "SecretString");
  EXPECT_EQ(TypeInfo<DateTime>::name(), "DateTime");
}

TEST(ValueToNative, DefaultTextsOfTheMessages) {
  MessageList messages;
  double number = 0;
  EXPECT_FALSE(DataValue::Value<double>(IntegerValue::GetInstance(1), number, messages));
  EXPECT_FALSE(DataValue::ToPrimitive<double>(IntegerValue::GetInstance(1), number, messages));
  long long integer = 0;
  EXPECT_FALSE(DataValue::Value<long long>(OptionalValue::GetInstance(IntegerValue::GetInstance(5)), integer,
                                           messages));
  Void nothing;
  EXPECT_FALSE(DataValue::ToPrimitive<Void>(Str("x"), nothing, messages));
  std::vector<std::string> texts;
  for (const BaseMessage& message : messages) texts.push_back(message.defaultMessage());
  EXPECT_THAT(texts, ElementsAre("Bad cast: Long -> Double", "Bad cast: Long -> Double",
                                 "Bad cast: OPTIONAL -> Long", "Bad cast: String -> Void : x"));
}

TEST(ValueToNative, AppendsToWhatTheListAlreadyHolds) {
  MessageList messages{BaseMessage("x", "x", {})};
  bool flag = false;
  EXPECT_TRUE(DataValue::ToPrimitive<bool>(Str("true"), flag, messages));
  EXPECT_FALSE(DataValue::ToPrimitive<bool>(Str("yes"), flag, messages));
  ASSERT_EQ(messages.size(), 2u);
  EXPECT_EQ(messages.front().id(), "x");
  EXPECT_THAT(messages.back(), IsMessage("olma.data.bad.cast2", {"String", "Boolean"}));
}

TEST(ValueToNative, VisitorReportsTheLastVisit) {
  MessageList messages;
  long long out = 0;
  DataValueHelper::ValueToNativeVisitor<Strict, long long> visitor(out, messages);
  EXPECT_FALSE(visitor.result());
  IntegerValue::GetInstance(7)->AcceptVisitor(visitor);
  EXPECT_TRUE(visitor.result());
  EXPECT_EQ(out, 7);
  Str("7")->AcceptVisitor(visitor);
  EXPECT_FALSE(visitor.result());
  EXPECT_EQ(out, 7);
}

// ---------------------------------------------------------------------------------------
// Text sources

// A text conversion expected to succeed with `expected`, or to fail (nullopt).
template <class T>
struct TextCase {
  std::string text;
  std::optional<T> expected;
};

template <class Mode, class T>
void CheckTextCases(const std::vector<TextCase<T>>& cases) {
  const std::string target(TypeInfo<T>::name());
  for (const auto& c : cases) {
    SCOPED_TRACE("\"" + c.text + "\" -> " + target);
    const auto outcome = Convert<Mode, T>(Str(c.text));
    if (c.expected) {
      EXPECT_TRUE(outcome.ok);
      if constexpr (std::is_same_v<T, double>) {
        if (std::isnan(*c.expected)) {
          EXPECT_TRUE(std::isnan(outcome.out));
          continue;
        }
      }
      EXPECT_TRUE(outcome.out == *c.expected);
    } else {
      EXPECT_FALSE(outcome.ok);
      EXPECT_THAT(outcome.messages, ElementsAre(IsMessage("olma.data.bad.cast2", {"String", target})));
      EXPECT_TRUE(outcome.out == Sentinel<T>());
    }
  }
}

TEST(ValueToNative, StrictDoesNotReadScalarsFromText) {
  CheckTextCases<Strict, bool>({{"true", std::nullopt}, {"1", std::nullopt}});
  CheckTextCases<Strict, long long>({{"42", std::nullopt}});
  CheckTextCases<Strict, double>({{"1.5", std::nullopt}});
  CheckTextCases<Strict, ByteVector>({{"AQID", std::nullopt}});
  CheckTextCases<Strict, Void>({{"", std::nullopt}});
  CheckTextCases<Strict, SecretString>({{"pw", std::nullopt}});
  CheckTextCases<Strict, std::string>({{"", std::string()}, {"any text", std::string("any text")}});
}

TEST(ValueToNative, LooseReadsBooleansFromTrueFalseOneAndZero) {
  CheckTextCases<Loose, bool>({
      {"true", true},
      {"false", false},
      {"1", true},
      {"0", false},
      {"yes", std::nullopt},
      {"TRUE", std::nullopt},
      {"False", std::nullopt},
      {"2", std::nullopt},
      {" 1", std::nullopt},
      {"1 ", std::nullopt},
      {"", std::nullopt},
  });
}

TEST(ValueToNative, LooseReadsWholeTextsAsSigned64BitIntegers) {
  CheckTextCases<Loose, long long>({
      {"42", 42},
      {"-7", -7},
      {"+5", 5},
      {"0", 0},
      {"9223372036854775807", std::numeric_limits<long long>::max()},
      {"-9223372036854775808", std::numeric_limits<long long>::min()},
      {"9223372036854775808", std::nullopt},
      {"-9223372036854775809", std::nullopt},
      {" 5", std::nullopt},
      {"5 ", std::nullopt},
      {"1.0", std::nullopt},
      {"1e3", std::nullopt},
      {"0x10", std::nullopt},
      {"12abc", std::nullopt},
      {"", std::nullopt},
  });
}

TEST(ValueToNative, LooseReadsWholeTextsAsDoublesIncludingInfinityAndNaN) {
  const double inf = std::numeric_limits<double>::infinity();
  CheckTextCases<Loose, double>({
      {"1.5", 1.5},
      {"-2e3", -2000.0},
      {".5", 0.5},
      {"42", 42.0},
      {"inf", inf},
      {"INFINITY", inf},
      {"infinity", inf},
      {"-inf", -inf},
      {"nan", std::nan("")},
      {"NAN", std::nan("")},
      {"abc", std::nullopt},
      {" 1", std::nullopt},
      {"1 ", std::nullopt},
      {"1e309", std::nullopt},
      {"1,5", std::nullopt},
      {"", std::nullopt},
  });
}

TEST(ValueToNative, LooseDecodesBlobsFromBase64) {
  CheckTextCases<Loose, ByteVector>(
      {{"AQID", ByteVector{1, 2, 3}}, {"", ByteVector{}}, {"TQ==", ByteVector{'M'}}});
  for (const std::string text : {"A", "AQI*", "A=BC"}) {
    SCOPED_TRACE(text);
    std::string error;
    const ByteVector decoded = Olma::Base64::Decode(text, error);
    ASSERT_FALSE(error.empty());
    const auto outcome = Convert<Loose, ByteVector>(Str(text));
    EXPECT_FALSE(outcome.ok);
    EXPECT_THAT(outcome.messages, ElementsAre(IsMessage("olma.data.bad.cast3", {"String", "Blob", error})));
    EXPECT_EQ(outcome.out, decoded);  // whatever the decoder produced
  }
}

TEST(ValueToNative, LooseReadsVoidFromTheEmptyTextOnly) {
  CheckTextCases<Loose, Void>({{"", Void{}}});
  for (const std::string text : {"x", " ", "NULL"}) {
    SCOPED_TRACE(text);
    const auto outcome = Convert<Loose, Void>(Str(text));
    EXPECT_THAT(outcome.messages, ElementsAre(IsMessage("olma.data.bad.cast3", {"String", "Void", text})));
  }
}

TEST(ValueToNative, LooseTakesAnyTextAsSecret) {
  CheckTextCases<Loose, SecretString>({{"pw", SecretString("pw")}, {"", SecretString("")}});
}

template <class Mode>
class DateTimeFromText : public testing::Test {};
using ConversionModes = testing::Types<Strict, Loose>;
TYPED_TEST_SUITE(DateTimeFromText, ConversionModes);

TYPED_TEST(DateTimeFromText, BothModesParseTheText) {
  const auto parsed = Convert<TypeParam, DateTime>(Str("2021-06-01T12:00:00.250+02:00"));
  EXPECT_TRUE(parsed.ok);
  EXPECT_EQ(parsed.out.text(), "2021-06-01T14:00:00.250Z");
  for (const std::string text : {"not a date", "", "2021-06-01", "2021-06-01T12:00:00Z "}) {
    SCOPED_TRACE(text);
    const auto failed = Convert<TypeParam, DateTime>(Str(text));
    EXPECT_THAT(failed.messages, ElementsAre(IsMessage("olma.data.bad.cast3", {"String", "DateTime", text})));
    EXPECT_TRUE(failed.out == Sentinel<DateTime>());
  }
}

// ---------------------------------------------------------------------------------------
// Values by path

StructValue::PtrType StructOf(std::initializer_list<std::pair<const char*, Ptr>> fields) {
  StructValue::PtrType structure = StructValue::GetInstance("s");
  for (const auto& field : fields) structure->SetField(field.first, field.second);
  return structure;
}

TEST(GetValueByPath, WalksFieldsAndOptionalsAndStopsAtListsAndScalars) {
  const Ptr five = IntegerValue::GetInstance(5);
  const Ptr inner = StructOf({{"b", five}});
  ListValue::PtrType list = ListValue::GetInstance();
  list->push_back(inner);
  const Ptr opt = OptionalValue::GetInstance(inner);
  ErrorValue::PtrType error = ErrorValue::GetInstance("e");
  error->SetField("code", five);
  const Ptr root = StructOf({
      {"a", inner},
      {"opt", opt},
      {"none", OptionalValue::GetInstance()},
      {"list", list},
      {"longs", ListValueLong::GetInstance()},
      {"n", five},
      {"empty", nullptr},
      {"err", error},
      {"", inner},
  });
  const struct {
    const char* path;
    Ptr expected;                        // compared by identity: the tree's own node
    std::vector<std::string> remaining;  // the argument of the one message, if any
  } cases[] = {
      {"a.b", five, {}},
      {".a.b", five, {}},
      {"a", inner, {}},
      {"a.", inner, {}},
      {"", root, {}},
      {".", root, {}},
      {"a.c", nullptr, {}},
      {"x", nullptr, {}},
      {"..b", five, {}},  // only one leading "." is dropped: then "" names a field
      {".b", nullptr, {}},
      {"opt.b", five, {}},
      {"opt", opt, {}},  // a path that ends on an optional yields the optional
      {"none.b", nullptr, {}},
      {"list", list, {}},
      {"list.b", nullptr, {"b"}},
      {"list.b.c", nullptr, {"b.c"}},
      {"longs.x", nullptr, {"x"}},
      {"opt.b.deeper", nullptr, {}},
      {"n.x", nullptr, {}},
      {"empty", nullptr, {}},
      {"empty.x", nullptr, {}},
      {"err.code", five, {}},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.path);
    MessageList messages;
    EXPECT_EQ(DataValueHelpers::GetValueByPath(c.path, root, messages), c.expected);
    if (c.remaining.empty()) {
      EXPECT_THAT(messages, IsEmpty());
    } else {
      EXPECT_THAT(messages, ElementsAre(IsMessage("olma.data.getvaluebypath.list.not.last", c.remaining)));
      EXPECT_EQ(messages.front().defaultMessage(),
                "List value is not last in path. Remaining path: " + c.remaining.front());
    }
    EXPECT_EQ(DataValueHelpers::GetValueByPath(c.path, root), c.expected);
  }
}

TEST(GetValueByPath, EmptyValueGivesNothing) {
  MessageList messages;
  EXPECT_EQ(DataValueHelpers::GetValueByPath("a", nullptr, messages), nullptr);
  EXPECT_EQ(DataValueHelpers::GetValueByPath("", nullptr, messages), nullptr);
  EXPECT_THAT(messages, IsEmpty());
}

TEST(GetValueByPath, ChainsOfAMillionOptionalsNeedNoDeepCallStack) {
  const Ptr five = IntegerValue::GetInstance(5);
  Ptr node = StructOf({{"x", five}});
  for (int i = 0; i < 1000000; ++i) node = OptionalValue::GetInstance(std::move(node));
  EXPECT_EQ(DataValueHelpers::GetValueByPath("x", node), five);
}

}  // namespace
