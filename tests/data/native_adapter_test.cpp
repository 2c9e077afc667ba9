#include <array>
#include <list>
#include <map>
#include <memory>
#include <optional>
#include <random>
#include <set>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "data/tree_test_support.h"
#include "olma/data/introspection.h"
#include "olma/data/library_structures.h"
#include "olma/data/native_to_definition.h"
#include "olma/data/native_to_value.h"
#include "olma/data/validator.h"
#include "olma/data/value_to_native.h"

namespace Olma {
namespace Data {
namespace {

using namespace Testing;
using ::testing::ElementsAre;

enum class ColourCode { Red, Green, Blue };
struct Colour : Enum<Colour, ColourCode> {
  static constexpr std::string_view kTypeName = "colour";
  static constexpr std::array<std::string_view, 3> kNames{"red", "green", "blue"};
  using Enum::Enum;
};

struct Inner {
  static constexpr std::string_view kTypeName = "test.inner";
  std::string name;
  std::optional<long long> size;

  struct AdapterHelper {
    template <class Helper, class Object>
    static void AddFields(Helper& helper, Object& inner) {
      helper.AddField("name", &inner.name);
      helper.AddField("size", &inner.size);
    }
    template <class Helper>
    static void AddDefinitionFields(Helper& helper) {
      helper.AddField("name", &Inner::name);
      helper.AddField("size", &Inner::size);
    }
  };
};

struct Record {
  static constexpr std::string_view kTypeName = "test.record";
  long long id = 0;
  int small = 0;
  double ratio = 0;
  bool flag = false;
  SecretString secret;
  ByteVector blob;
  DateTime when;
  Colour colour;
  DataType kind;
  std::optional<std::string> note;
  std::vector<std::string> tags;
  std::list<Inner> inners;
  std::set<long long> ids;
  std::map<std::string, Inner> byName;
  std::shared_ptr<Inner> owner = std::make_shared<Inner>();
  Opaque extra;

  struct AdapterHelper {
    template <class Helper, class Object>
    static void AddFields(Helper& helper, Object& r) {
      helper.AddField("id", &r.id);
      helper.AddFieldInt("small", &r.small);
      helper.AddField("ratio", &r.ratio);
      helper.AddField("flag", &r.flag);
      helper.AddField("secret", &r.secret);
      helper.AddField("blob", &r.blob);
      helper.AddField("when", &r.when);
      helper.AddField("colour", &r.colour);
      helper.AddField("kind", &r.kind);
      helper.AddField("note", &r.note);
      helper.AddField("tags", &r.tags);
      helper.AddField("inners", &r.inners);
      helper.AddField("ids", &r.ids);
      helper.AddField("byName", &r.byName);
      helper.AddField("owner", &r.owner);
      helper.AddField("extra", &r.extra);
    }
    template <class Helper>
    static void AddDefinitionFields(Helper& helper) {
      helper.AddField("id", &Record::id);
      helper.AddFieldInt("small", &Record::small);
      helper.AddField("ratio", &Record::ratio);
      helper.AddField("flag", &Record::flag);
      helper.AddField("secret", &Record::secret);
      helper.AddField("blob", &Record::blob);
      helper.AddField("when", &Record::when);
      helper.AddField("colour", &Record::colour);
      helper.AddField("kind", &Record::kind);
      helper.AddField("note", &Record::note);
      helper.AddField("tags", &Record::tags);
      helper.AddField("inners", &Record::inners);
      helper.AddField("ids", &Record::ids);
      helper.AddField("byName", &Record::byName);
      helper.AddField("owner", &Record::owner);
      helper.AddField("extra", &Record::extra);
    }
  };
};

// A singly linked chain; freed iteratively, since a 100,000-deep chain of owning pointers
// would otherwise be released recursively.
struct Node {
  static constexpr std::string_view kTypeName = "node";
  long long value = 0;
  std::optional<std::shared_ptr<Node>> next;

  struct AdapterHelper {
    template <class Helper, class Object>
    static void AddFields(Helper& helper, Object& node) {
      helper.AddField("value", &node.value);
      helper.AddField("next", &node.next);
    }
    template <class Helper>
    static void AddDefinitionFields(Helper& helper) {
      helper.AddField("value", &Node::value);
      helper.AddField("next", &Node::next);
    }
  };
};
void Unlink(std::shared_ptr<Node> head) {
  while (head && head->next) head = std::exchange(*head->next, nullptr);
}

Record Sample(std::mt19937& random) {
  Record r;
  r.id = static_cast<long long>(random());
  r.small = static_cast<int>(random() % 1000) - 500;
  r.ratio = static_cast<double>(random() % 10000) / 7.0;
  r.flag = random() % 2 == 0;
  r.secret = SecretString(std::to_string(random()));
  r.blob = ByteVector(random() % 5, static_cast<std::uint8_t>(random()));
  DateTime::Create(static_cast<std::int64_t>(random() % 2000000000), r.when);
  r.colour = Colour(static_cast<ColourCode>(random() % 3));
  r.kind = static_cast<DataType::EnumType>(random() % 15);
  if (random() % 2) r.note = std::string(random() % 4, 'n');
  for (unsigned i = random() % 4; i > 0; --i) r.tags.push_back("t" + std::to_string(random() % 10));
  for (unsigned i = random() % 3; i > 0; --i) {
    r.inners.push_back(
        Inner{"i" + std::to_string(i), random() % 2 ? std::optional<long long>(i) : std::nullopt});
  }
  for (unsigned i = random() % 4; i > 0; --i) r.ids.insert(static_cast<long long>(random() % 100));
  for (unsigned i = random() % 3; i > 0; --i) r.byName["k" + std::to_string(random() % 5)] = Inner{"v", 1};
  r.owner->name = "owner";
  r.extra.value = random() % 2 ? Int(7) : Of("free", {{"x", Str("y")}});
  return r;
}

Val ToValue(const Record& record) {
  MessageList messages;
  Val value;
  EXPECT_TRUE(NativeToValueAdapter::Adapt(record, value, messages))
      << testing::PrintToString(Flatten(messages));
  return value;
}

TEST(NativeAdapters, GeneratedRecordsRoundTripAndValidateAgainstTheirDefinition) {
  const Def definition = NativeToDefinitionAdapter::Adapt<Record>();
  std::mt19937 random(7);
  for (int round = 0; round < 200; ++round) {
    SCOPED_TRACE(round);
    const Val value = ToValue(Sample(random));
    MessageList messages;
    EXPECT_TRUE((DataDefinition::Validate<StrictMatch, ValidatorModePermissive>(definition, value, messages)))
        << testing::PrintToString(Flatten(messages));
    Record back;
    ASSERT_TRUE(ValueToNativeAdapter::Adapt(value, back, messages))
        << testing::PrintToString(Flatten(messages));
    EXPECT_TRUE(DataValue::Compare<CompModeStrict>(value, ToValue(back), messages))
        << value->ToString() << "\n"
        << ToValue(back)->ToString();
  }
}

TEST(NativeAdapters, ValueShapesOfTheNativeKinds) {
  Record r;
  r.id = 5;
  r.colour = Colour(ColourCode::Blue);
  r.kind = DataType::BLOB;
  r.tags = {"a", "b"};
  r.ids = {3, 1};
  r.byName["k"] = Inner{"v", std::nullopt};
  const auto value = std::static_pointer_cast<const StructValue>(ToValue(r));
  EXPECT_EQ(value->name(), "test.record");
  const auto& f = value->fields();
  EXPECT_EQ(f.at("colour")->ToString(), "blue");
  EXPECT_EQ(f.at("kind")->ToString(), "BINARY");
  EXPECT_EQ(f.at("note")->ToString(), "Optional< >");
  EXPECT_EQ(f.at("tags")->type(), DataType::LIST_STRING);
  EXPECT_EQ(f.at("ids")->type(), DataType::LIST_LONG);
  EXPECT_EQ(f.at("ids")->ToString(), "[ 1, 3, ] ");
  EXPECT_EQ(
      f.at("byName")->ToString(),
      "[ {{ map-entry : { key : k, value : {{ test.inner : { name : v, size : Optional< >, } }} , } }} , ] ");
  EXPECT_EQ(f.at("when")->ToString(), "1970-01-01T00:00:00.000Z");
}

TEST(NativeAdapters, NullSharedPointerInARequiredFieldNamesThePointee) {
  Record r;
  r.owner = nullptr;
  MessageList messages;
  Val value;
  EXPECT_FALSE(NativeToValueAdapter::Adapt(r, value, messages));
  EXPECT_FALSE(value);
  EXPECT_THAT(messages, ElementsAre(Msg("olma.data.unset.non.optional.field",
                                        "Unset required field: test.inner", {"test.inner"})));
}

// Replaces one field of a valid record value.
Val With(const Val& record, const char* field, Val replacement) {
  auto copy = StructValue::GetInstance("test.record");
  for (const auto& [name, value] : static_cast<const StructValue&>(*record).fields())
    copy->SetField(name, value);
  if (replacement) {
    copy->SetField(field, std::move(replacement));
  } else {
    copy->DeleteField(field);
  }
  return copy;
}
Val Entry(Val key, Val value) {
  return Of("map-entry", {{"key", std::move(key)}, {"value", std::move(value)}});
}

TEST(NativeAdapters, WronglyShapedValuesGiveOneMessageAndNeverCrash) {
  const Val valid = ToValue(Record());
  const Val inner = Of("test.inner", {{"name", Str("n")}});
  const struct {
    const char* field;
    Val value;
    std::vector<std::string> expected;  // id, then text
  } cases[] = {
      {"byName", ListOf({Int(1)}), {"olma.data.invalid.type", "Invalid type"}},
      {"byName", ListOf({Of("map-entry", {{"value", inner}})}), {"olma.data.invalid.type", "Invalid type"}},
      {"byName", Str("abc"), {"olma.data.bad.cast1", "Bad cast: abc"}},
      {"byName",
       ListOf({Entry(Str("k"), inner), Entry(Str("k"), inner)}),
       {"olma.data.duplicate.map.element", "Duplicate map element: k"}},
      {"ids", ListOf<ListValueLong>({4, 4}), {"olma.data.duplicate.set.element", "Duplicate set element: 4"}},
      {"ids", ListOf({Int(2), Int(2)}), {"olma.data.duplicate.set.element", "Duplicate set element: 2"}},
      {"inners", Int(3), {"olma.data.invalid.type", "Invalid type"}},
      {"inners", ListOf({inner, Int(3)}), {"olma.data.invalid.type", "Invalid type"}},
      {"inners", ListOf<ListValueLong>({1}), {"olma.data.invalid.type", "Invalid type"}},
      {"owner", nullptr, {"olma.data.unset.non.optional.field", "Unset required field: owner"}},
      {"owner",
       VoidValue::GetInstance(),
       {"olma.data.unset.non.optional.field", "Unset required field: test.inner"}},
      {"owner", Str("x"), {"olma.data.invalid.type", "Invalid type"}},
      {"colour", Str("purple"), {"olma.data.value.unknown", "Unknown value: purple"}},
      {"kind", Str("NOPE"), {"olma.data.value.unknown", "Unknown value: NOPE"}},
      {"tags", ListOf<ListValueLong>({1}), {"olma.data.bad.cast2", "Bad cast: Long -> String"}},
      {"small", Int(1LL << 40), {"olma.data.bad.cast3", "Bad cast: Long -> Int : 1099511627776"}},
      {"byName",
       ListOf({Entry(Str("k"), Of("test.inner", {{"name", Int(1)}}))}),
       {"olma.data.bad.cast2", "Bad cast: Long -> String"}},
      {"extra", nullptr, {"olma.data.unset.non.optional.field", "Unset required field: extra"}},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(std::string(c.field) + " = " + (c.value ? c.value->ToString() : "<absent>"));
    MessageList messages;
    Record out;
    EXPECT_FALSE(ValueToNativeAdapter::Adapt(With(valid, c.field, c.value), out, messages));
    ASSERT_EQ(messages.size(), 1u) << testing::PrintToString(Flatten(messages));
    EXPECT_EQ(messages.front().id(), c.expected[0]);
    EXPECT_EQ(messages.front().defaultMessage(), c.expected[1]);
  }
  MessageList messages;
  Record out;
  EXPECT_FALSE(ValueToNativeAdapter::Adapt(Int(1), out, messages));
  EXPECT_THAT(Flatten(messages), ElementsAre("olma.data.invalid.type"));
}

TEST(NativeAdapters, LenientShapesOnTheWayBack) {
  MessageList messages;
  std::map<std::string, long long> fromFields;
  EXPECT_TRUE(ValueToNativeAdapter::Adapt(Of("any", {{"b", Int(2)}, {"a", Int(1)}}), fromFields, messages));
  EXPECT_EQ(fromFields, (std::map<std::string, long long>{{"a", 1}, {"b", 2}}));

  std::optional<std::string> optional = "kept?";
  EXPECT_TRUE(ValueToNativeAdapter::Adapt(Str(""), optional, messages));
  EXPECT_FALSE(optional);
  EXPECT_TRUE(ValueToNativeAdapter::Adapt(Str("bare"), optional, messages));
  EXPECT_EQ(optional, "bare");

  std::vector<SecretString> secrets;
  EXPECT_TRUE(ValueToNativeAdapter::Adapt(ListOf<ListValueString>({"s"}), secrets, messages));
  EXPECT_EQ(secrets, std::vector<SecretString>{SecretString("s")});
  EXPECT_TRUE(messages.empty());

  std::set<SecretString> secretSet;
  EXPECT_FALSE(ValueToNativeAdapter::Adapt(ListOf<ListValueSecret>({SecretString("p"), SecretString("p")}),
                                           secretSet, messages));
  std::set<ByteVector> blobs;
  EXPECT_FALSE(ValueToNativeAdapter::Adapt(ListOf<ListValueBlob>({{1}, {1}}), blobs, messages));
  std::vector<DateTime> times;
  EXPECT_FALSE(ValueToNativeAdapter::Adapt(ListOf<ListValueString>({"nope"}), times, messages));
  std::vector<Opaque> opaque;
  EXPECT_FALSE(ValueToNativeAdapter::Adapt(ListOf<ListValueLong>({1}), opaque, messages));
  EXPECT_THAT(
      messages,
      ElementsAre(
          Msg("olma.data.duplicate.set.element", "Duplicate set element: <secret>", {"<secret>"}),
          Msg("olma.data.duplicate.set.element", "Duplicate set element: <blob>", {"<blob>"}),
          Msg("olma.data.bad.cast3", "Bad cast: String -> DateTime : nope", {"String", "DateTime", "nope"}),
          Msg("olma.data.invalid.type", "Invalid type", {})));
}

TEST(NativeAdapters, PartlyFilledObjectStaysAsItIsAfterAFailure) {
  MessageList messages;
  std::vector<long long> numbers;
  EXPECT_FALSE(ValueToNativeAdapter::Adapt(ListOf({Int(1), Int(2), Str("x"), Int(4)}), numbers, messages));
  EXPECT_THAT(numbers, ElementsAre(1, 2));
  EXPECT_EQ(messages.size(), 1u);
}

TEST(NativeAdapters, LibraryMessagesTravelAsLocalizableMessages) {
  const MessageList original{Message<CoreTag>("olma.data.bad.cast2", "a", "b"),
                             Message<CoreTag>("olma.invalid.request")};
  MessageList messages;
  Val value;
  ASSERT_TRUE(NativeToValueAdapter::Adapt(original, value, messages));
  MessageList expected;
  EXPECT_TRUE(
      DataValue::Compare<CompModeStrict>(value, ErrorValue::Create("e", original)->messages(), expected));
  MessageList back;
  ASSERT_TRUE(ValueToNativeAdapter::Adapt(value, back, messages));
  EXPECT_THAT(back, ElementsAre(Msg("olma.data.bad.cast2", "Bad cast: a -> b", {"a", "b"}),
                                Msg("olma.invalid.request", "Invalid Request", {})));
  std::string text;
  RawDefinitionAdapter::Adapt(NativeToDefinitionAdapter::Adapt<BaseMessage>(), ' ', text, messages);
  EXPECT_EQ(text,
            "STRUCTURE com.zorvex.olma.std.localizable_message < args LIST STRING default_message STRING id "
            "STRING >");
}

TEST(NativeAdapters, LongChainOfSharedPointersConvertsBothWaysWithAFlatStack) {
  constexpr long long kLength = 100000;
  auto head = std::make_shared<Node>();
  Node* tail = head.get();
  for (long long i = 1; i < kLength; ++i) {
    tail->next = std::make_shared<Node>();
    tail = tail->next->get();
    tail->value = i;
  }
  MessageList messages;
  Val value;
  ASSERT_TRUE(NativeToValueAdapter::Adapt(head, value, messages));
  std::shared_ptr<Node> back;
  ASSERT_TRUE(ValueToNativeAdapter::Adapt(value, back, messages));
  long long count = 0;
  for (const Node* node = back.get(); node != nullptr; node = node->next ? node->next->get() : nullptr) {
    EXPECT_EQ(node->value, count++);
  }
  EXPECT_EQ(count, kLength);
  Unlink(head);
  Unlink(back);

  std::string text;
  RawDefinitionAdapter::Adapt(NativeToDefinitionAdapter::Adapt<Node>(), ',', text, messages);
  EXPECT_EQ(text, "STRUCTURE,node,<,next,OPTIONAL,STRUCTURE_REF,node,value,LONG,>");
}

}  // namespace
}  // namespace Data
}  // namespace Olma
