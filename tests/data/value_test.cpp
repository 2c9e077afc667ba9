#include "olma/data/values.h"

#include <cmath>
#include <cstdio>
#include <limits>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "olma/core/date_time.h"
#include "olma/core/message.h"
#include "olma/core/secret_string.h"

namespace {

using namespace Olma::Data;
using Olma::ByteVector;
using Olma::MessageList;
using Olma::SecretString;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Pair;

using Ptr = DataValue::PtrConstType;

Ptr Int(long long value) {
  return IntegerValue::GetInstance(value);
}
Ptr Str(std::string value) {
  return StringValue::GetInstance(std::move(value));
}

ListValue::PtrType ListOf(std::initializer_list<Ptr> elements) {
  ListValue::PtrType list = ListValue::GetInstance();
  list->assign(elements.begin(), elements.end());
  return list;
}

StructValue::PtrType StructOf(std::string name, std::initializer_list<std::pair<const char*, Ptr>> fields) {
  StructValue::PtrType structure = StructValue::GetInstance(std::move(name));
  for (const auto& field : fields) structure->SetField(field.first, field.second);
  return structure;
}

template <class List>
std::shared_ptr<List> TypedList(std::initializer_list<typename List::ElementType> elements) {
  std::shared_ptr<List> list = List::GetInstance();
  list->assign(elements.begin(), elements.end());
  return list;
}

std::string Printf(const char* conversion, double value) {
  char buffer[64];
  std::snprintf(buffer, sizeof(buffer), conversion, value);
  return buffer;
}

struct RenderCase {
  const char* label;
  Ptr value;
  std::string expected;
};

std::vector<RenderCase> RenderCases() {
  ListValue::PtrType list_with_unset = ListValue::GetInstance();
  list_with_unset->push_back(nullptr);
  OptionalValue::PtrType set_later = OptionalValue::GetInstance();
  set_later->value(Int(5));
  return {
      {"void", VoidValue::GetInstance(), "NULL"},
      {"integer", Int(42), "42"},
      {"negative integer", Int(std::numeric_limits<long long>::min()), "-9223372036854775808"},
      {"double", DoubleValue::GetInstance(1.5), "1.500000"},
      {"double rounded", DoubleValue::GetInstance(-2.0 / 3.0), "-0.666667"},
      {"double infinity", DoubleValue::GetInstance(-HUGE_VAL), Printf("%lf", -HUGE_VAL)},
      {"double nan", DoubleValue::GetInstance(std::nan("")), Printf("%lf", std::nan(""))},
      {"true", BooleanValue::GetInstance(true), "1"},
      {"false", BooleanValue::GetInstance(false), "0"},
      {"blob", BlobValue::GetInstance(ByteVector{0x1f, 0x0a, 0x00}), "0x1f 0xa 0 "},
      {"blob high bytes", BlobValue::GetInstance(ByteVector{0xff, 0x10, 0x01}), "0xff 0x10 0x1 "},
      {"empty blob", BlobValue::GetInstance(), ""},
      {"string", Str("a \"b\""), "a \"b\""},
      {"empty string", Str(""), ""},
      {"secret", SecretValue::GetInstance(SecretString("hunter2")), "<secret>"},
      {"unset optional", OptionalValue::GetInstance(), "Optional< >"},
      {"optional", OptionalValue::GetInstance(Int(5)), "Optional< 5>"},
      {"optional set later", set_later, "Optional< 5>"},
      {"optional of empty pointer", OptionalValue::GetInstance(nullptr), "Optional< <unset>>"},
      {"optional of list", OptionalValue::GetInstance(ListOf({Int(1)})), "Optional< [ 1, ] >"},
      {"empty list", ListValue::GetInstance(), "[ ] "},
      {"list", ListOf({Int(1), Int(2)}), "[ 1, 2, ] "},
      {"list of unset", list_with_unset, "[ <unset>, ] "},
      {"nested lists", ListOf({ListOf({Int(1)}), ListOf({}), Str("x")}), "[ [ 1, ] , [ ] , x, ] "},
      {"list of bool", TypedList<ListValueBool>({true, false}), "[ 1, 0, ] "},
      {"list of long", TypedList<ListValueLong>({-1, 20}), "[ -1, 20, ] "},
      {"list of double", TypedList<ListValueDouble>({1.5, 0}), "[ 1.500000, 0.000000, ] "},
      {"list of blob", TypedList<ListValueBlob>({{0x01, 0x00}, {}, {0xab}}), "[ 0x1 0 , , 0xab , ] "},
      {"list of string", TypedList<ListValueString>({"a", ""}), "[ a, , ] "},
      {"list of secret", TypedList<ListValueSecret>({SecretString("p"), SecretString("q")}),
       "[ <secret>, <secret>, ] "},
      {"empty typed list", ListValueLong::GetInstance(), "[ ] "},
      {"structure", StructOf("s", {{"a", Int(1)}, {"b", Str("x")}}), "{{ s : { a : 1, b : x, } }} "},
      {"empty structure", StructValue::GetInstance("s"), "{{ s : { } }} "},
      {"structure with unset field", StructOf("s", {{"a", nullptr}}), "{{ s : { a : <unset>, } }} "},
      {"nested structure", StructOf("o", {{"i", StructOf("n", {{"x", Int(1)}})}, {"j", Int(2)}}),
       "{{ o : { i : {{ n : { x : 1, } }} , j : 2, } }} "},
      {"error", ErrorValue::GetInstance("e"), "Error:\n   e\nNo messages!\n"},
  };
}

// Every kind renders the same wherever it stands: alone, as a list element, a field, the
// content of an optional, or a malformed message of an error.
TEST(DataValueRendering, ExactTextsAloneAndEmbedded) {
  for (const RenderCase& c : RenderCases()) {
    SCOPED_TRACE(c.label);
    EXPECT_EQ(c.value->ToString(), c.expected);
    EXPECT_EQ(ListOf({c.value})->ToString(), "[ " + c.expected + ", ] ");
    EXPECT_EQ(StructOf("w", {{"f", c.value}})->ToString(), "{{ w : { f : " + c.expected + ", } }} ");
    EXPECT_EQ(OptionalValue::GetInstance(c.value)->ToString(), "Optional< " + c.expected + ">");
    // A structure in the messages is read as a message; those have their own test.
    if (c.value->type() != DataType::STRUCTURE) {
      EXPECT_EQ(ErrorValue::GetInstance("e", ListOf({c.value}))->ToString(),
                "Error:\n   e\nMessages:\n   Not a message -> " + c.expected + "\n");
    }
  }
}

TEST(CompoundValue, FieldsAreOrderedByNameNotByInsertion) {
  StructValue::PtrType s = StructOf("s", {{"b", Str("x")}, {"a", Int(1)}, {"B", Int(0)}});
  std::vector<std::string> names;
  for (const auto& field : s->fields()) names.push_back(field.first);
  EXPECT_THAT(names, ElementsAre("B", "a", "b"));
  EXPECT_EQ(s->ToString(), "{{ s : { B : 0, a : 1, b : x, } }} ");
}

TEST(CompoundValue, SetFieldReplacesAndDeleteFieldReportsWhetherItRemoved) {
  StructValue::PtrType s = StructOf("s", {{"a", Int(1)}, {"b", Int(2)}});
  const Ptr replacement = Int(3);
  s->SetField("a", replacement);
  EXPECT_THAT(s->fields(), ElementsAre(Pair("a", replacement), Pair("b", testing::_)));

  s->SetField("a", nullptr);
  EXPECT_TRUE(s->HasField("a"));
  EXPECT_EQ(s->ToString(), "{{ s : { a : <unset>, b : 2, } }} ");

  EXPECT_FALSE(s->DeleteField("c"));
  EXPECT_TRUE(s->DeleteField("a"));
  EXPECT_FALSE(s->HasField("a"));
  EXPECT_FALSE(s->DeleteField("a"));
  EXPECT_EQ(s->fields().size(), 1u);
}

template <class Compound>
class CompoundFieldAccess : public testing::Test {};
using CompoundKinds = testing::Types<StructValue, ErrorValue>;
TYPED_TEST_SUITE(CompoundFieldAccess, CompoundKinds);

TYPED_TEST(CompoundFieldAccess, GetFieldFindsStoredPointerOrReportsUnknownField) {
  auto compound = TypeParam::GetInstance("c");
  const Ptr one = Int(1);
  compound->SetField("one", one);
  compound->SetField("unset", nullptr);
  MessageList messages;

  Ptr out;
  EXPECT_TRUE(compound->GetField("one", out, messages));
  EXPECT_EQ(out, one);
  EXPECT_TRUE(compound->GetField("unset", out, messages));
  EXPECT_EQ(out, nullptr);
  EXPECT_THAT(messages, IsEmpty());

  out = one;
  EXPECT_FALSE(compound->GetField("missing", out, messages));
  EXPECT_EQ(out, one) << "a failed lookup leaves the output alone";
  ASSERT_EQ(messages.size(), 1u);
  EXPECT_EQ(messages.front().id(), "olma.data.error.getfield.unknown");
  EXPECT_EQ(messages.front().defaultMessage(), "GetField unknown field: missing");
  EXPECT_THAT(messages.front().args(), ElementsAre("missing"));
}

TEST(ErrorValue, WithoutMessagesField) {
  ErrorValue::PtrType error = ErrorValue::GetInstance("com.example.failure");
  EXPECT_EQ(error->name(), "com.example.failure");
  EXPECT_FALSE(error->HasField("messages"));
  EXPECT_THAT(error->fields(), IsEmpty());
  EXPECT_EQ(error->messages(), nullptr);
  EXPECT_EQ(error->ToString(), "Error:\n   com.example.failure\nNo messages!\n");
}

TEST(ErrorValue, MessagesNarrowsOnlyAList) {
  struct Case {
    const char* label;
    Ptr field;
    bool is_list;
  };
  const ListValue::PtrType empty = ListValue::GetInstance();
  const Case cases[] = {
      {"empty list", empty, true},
      {"integer", Int(1), false},
      {"typed list", ListValueString::GetInstance(), false},
      {"structure", StructValue::GetInstance("m"), false},
      {"empty pointer", nullptr, false},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.label);
    ErrorValue::PtrType error = ErrorValue::GetInstance("e");
    error->SetField("messages", c.field);
    EXPECT_EQ(error->messages(), c.is_list ? c.field : nullptr);
    EXPECT_EQ(error->ToString(), "Error:\n   e\nNo messages!\n");
  }

  ErrorValue::PtrType error = ErrorValue::GetInstance("e", empty);
  EXPECT_EQ(error->messages(), empty);
}

TEST(ErrorValue, CreateConvertsEachMessageToALocalizableMessageStructure) {
  const MessageList messages{Olma::Message<Olma::CoreTag>("olma.invalid.request"),
                             Olma::Message<Olma::CoreTag>("olma.data.bad.cast2", "a", "b")};
  ErrorValue::PtrType error = ErrorValue::Create("com.example.failure", messages);

  EXPECT_THAT(error->fields(), ElementsAre(Pair("messages", testing::_)));
  const ListValue::PtrConstType list = error->messages();
  ASSERT_NE(list, nullptr);
  EXPECT_EQ(list->kind(), ListValue::kDefaultKind);
  ASSERT_EQ(list->size(), 2u);

  auto message = messages.begin();
  for (const Ptr& element : *list) {
    SCOPED_TRACE(message->id());
    ASSERT_EQ(element->type(), DataType::STRUCTURE);
    const auto& structure = static_cast<const StructValue&>(*element);
    EXPECT_EQ(structure.name(), "com.zorvex.olma.std.localizable_message");
    ASSERT_THAT(structure.fields(), ElementsAre(Pair("args", testing::_), Pair("default_message", testing::_),
                                                Pair("id", testing::_)));
    const Ptr& id = structure.fields().at("id");
    const Ptr& text = structure.fields().at("default_message");
    const Ptr& args = structure.fields().at("args");
    ASSERT_EQ(id->type(), DataType::STRING);
    ASSERT_EQ(text->type(), DataType::STRING);
    ASSERT_EQ(args->type(), DataType::LIST_STRING);
    EXPECT_EQ(static_cast<const StringValue&>(*id).value(), message->id());
    EXPECT_EQ(static_cast<const StringValue&>(*text).value(), message->defaultMessage());
    EXPECT_THAT(static_cast<const ListValueString&>(*args), testing::ElementsAreArray(message->args()));
    ++message;
  }

  EXPECT_EQ(error->ToString(),
            "Error:\n   com.example.failure\nMessages:\n"
            "   olma.invalid.request<Invalid Request>\n"
            "   olma.data.bad.cast2<Bad cast: a -> b>\n");
  EXPECT_EQ(ErrorValue::Create("e", {})->ToString(), "Error:\n   e\nNo messages!\n");
}

TEST(ErrorValue, RendersMalformedMessagesInPlace) {
  struct Case {
    const char* label;
    Ptr message;
    std::string line;
  };
  const Case cases[] = {
      {"not a structure", Int(7), "   Not a message -> 7\n"},
      {"empty pointer", nullptr, "   Not a message -> <unset>\n"},
      {"error as message", ErrorValue::GetInstance("x"),
       "   Not a message -> Error:\n   x\nNo messages!\n\n"},
      {"fields missing", StructValue::GetInstance("m"),
       "   id not found for -> m\n<default_message not found for -> m\n>\n"},
      {"fields not strings", StructOf("m", {{"id", Int(3)}, {"default_message", nullptr}}),
       "   id not valid -> 3\n<default_message not valid -> <unset>\n>\n"},
      {"field is a tree", StructOf("m", {{"id", Str("i")}, {"default_message", ListOf({Int(1)})}}),
       "   i<default_message not valid -> [ 1, ] \n>\n"},
      {"extra fields ignored",
       StructOf("m", {{"id", Str("i")}, {"default_message", Str("t")}, {"z", Int(1)}}), "   i<t>\n"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.label);
    // Between two good messages, to see that the walk resumes after the malformed one.
    const Ptr good = StructOf("m", {{"id", Str("g")}, {"default_message", Str("ok")}});
    ErrorValue::PtrType error = ErrorValue::GetInstance("e", ListOf({good, c.message, good}));
    EXPECT_EQ(error->ToString(), "Error:\n   e\nMessages:\n   g<ok>\n" + c.line + "   g<ok>\n");
  }
}

TEST(DataValueFactories, Defaults) {
  OptionalValue::PtrType unset = OptionalValue::GetInstance();
  EXPECT_FALSE(unset->isSet());
  EXPECT_EQ(unset->value(), nullptr);

  OptionalValue::PtrType set_empty = OptionalValue::GetInstance(nullptr);
  EXPECT_TRUE(set_empty->isSet());
  EXPECT_EQ(set_empty->value(), nullptr);

  const Ptr five = Int(5);
  Ptr& stored = unset->value(five);
  EXPECT_TRUE(unset->isSet());
  EXPECT_EQ(&stored, &unset->value()) << "the setter returns the stored pointer itself";
  EXPECT_EQ(stored, five);

  EXPECT_EQ(ListValue::GetInstance()->kind(), ListValue::kDefaultKind);
  EXPECT_EQ(ListValue::kDefaultKind, 0u);
  EXPECT_EQ(ListValue::GetInstance(ListValue::kNativeListKind)->kind(), 1u);
  EXPECT_EQ(ListValue::GetInstance(7)->kind(), 7u);
  EXPECT_TRUE(ListValue::GetInstance(1)->empty());
  EXPECT_TRUE(BlobValue::GetInstance()->value().empty());
  EXPECT_TRUE(ListValueSecret::GetInstance()->empty());
  EXPECT_THAT(StructValue::GetInstance("s")->fields(), IsEmpty());

  const ByteVector bytes{1, 2, 3};
  EXPECT_EQ(BlobValue::GetInstance(bytes)->value(), bytes);
  EXPECT_EQ(SecretValue::GetInstance(SecretString("pw"))->value().str(), "pw");
  EXPECT_EQ(IntegerValue::GetInstance(-3)->value(), -3);
  EXPECT_EQ(DoubleValue::GetInstance(0.25)->value(), 0.25);
  EXPECT_TRUE(BooleanValue::GetInstance(true)->value());
}

TEST(DataValueFactories, ListKindTakesNoPartInRendering) {
  ListValue::PtrType native = ListValue::GetInstance(ListValue::kNativeListKind);
  native->push_back(Int(1));
  EXPECT_EQ(native->ToString(), ListOf({Int(1)})->ToString());
}

TEST(DataValueFactories, CreateMapsNativeTypesToKinds) {
  Olma::DateTime when;
  ASSERT_TRUE(Olma::DateTime::Create("2021-06-01T14:00:00.250Z", when));
  struct Case {
    const char* label;
    Ptr value;
    DataType type;
    std::string text;
  };
  const Case cases[] = {
      {"long long", DataValue::Create<long long>(-7), DataType::INTEGER, "-7"},
      {"double", DataValue::Create<double>(0.5), DataType::DOUBLE, "0.500000"},
      {"bool", DataValue::Create<bool>(true), DataType::BOOLEAN, "1"},
      {"bytes", DataValue::Create<ByteVector>(ByteVector{0x1f}), DataType::BLOB, "0x1f "},
      {"string", DataValue::Create<std::string>("text"), DataType::STRING, "text"},
      {"secret", DataValue::Create<SecretString>(SecretString("pw")), DataType::SECRET, "<secret>"},
      {"date-time", DataValue::Create<Olma::DateTime>(when), DataType::STRING, "2021-06-01T14:00:00.250Z"},
      {"Void", DataValue::Create<Void>(Void{}), DataType::VOID, "NULL"},
      {"Void()", DataValue::Create<Void>(), DataType::VOID, "NULL"},
      {"void()", DataValue::Create<void>(), DataType::VOID, "NULL"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.label);
    ASSERT_NE(c.value, nullptr);
    EXPECT_EQ(c.value->type(), c.type);
    EXPECT_EQ(c.value->ToString(), c.text);
  }
  const Ptr secret = DataValue::Create<SecretString>(SecretString("pw"));
  EXPECT_EQ(static_cast<const SecretValue&>(*secret).value().str(), "pw");
}

// Records every slot call; const and mutable visitors alike.
class RecordingVisitor : public ValueVisitor, public MutableValueVisitor {
 public:
  std::vector<std::pair<std::string, const void*>> calls;

#define OLMA_TEST_SLOT(Slot, Class)                        \
  void Slot(std::shared_ptr<const Class> value) override { \
    Record(#Slot, value.get());                            \
  }                                                        \
  void Slot(std::shared_ptr<Class> value) override {       \
    Record(#Slot "/mutable", value.get());                 \
  }
  OLMA_TEST_SLOT(VisitVoid, VoidValue)
  OLMA_TEST_SLOT(VisitInteger, IntegerValue)
  OLMA_TEST_SLOT(VisitDouble, DoubleValue)
  OLMA_TEST_SLOT(VisitBoolean, BooleanValue)
  OLMA_TEST_SLOT(VisitBlob, BlobValue)
  OLMA_TEST_SLOT(VisitString, StringValue)
  OLMA_TEST_SLOT(VisitSecret, SecretValue)
  OLMA_TEST_SLOT(VisitError, ErrorValue)
  OLMA_TEST_SLOT(VisitOptional, OptionalValue)
  OLMA_TEST_SLOT(VisitList, ListValue)
  OLMA_TEST_SLOT(VisitListBool, ListValueBool)
  OLMA_TEST_SLOT(VisitListLong, ListValueLong)
  OLMA_TEST_SLOT(VisitListDouble, ListValueDouble)
  OLMA_TEST_SLOT(VisitListBlob, ListValueBlob)
  OLMA_TEST_SLOT(VisitListString, ListValueString)
  OLMA_TEST_SLOT(VisitListSecret, ListValueSecret)
  OLMA_TEST_SLOT(VisitStruct, StructValue)
#undef OLMA_TEST_SLOT

 private:
  void Record(std::string slot, const void* value) {
    calls.emplace_back(std::move(slot), value);
  }
};

TEST(ValueVisitor, AcceptVisitorCallsExactlyTheSlotOfTheClass) {
  struct Case {
    DataValue::PtrType value;
    DataType type;
    std::string slot;
  };
  const Case cases[] = {
      {VoidValue::GetInstance(), DataType::VOID, "VisitVoid"},
      {IntegerValue::GetInstance(1), DataType::INTEGER, "VisitInteger"},
      {DoubleValue::GetInstance(1), DataType::DOUBLE, "VisitDouble"},
      {BooleanValue::GetInstance(true), DataType::BOOLEAN, "VisitBoolean"},
      {BlobValue::GetInstance(), DataType::BLOB, "VisitBlob"},
      {StringValue::GetInstance("s"), DataType::STRING, "VisitString"},
      {SecretValue::GetInstance(SecretString("s")), DataType::SECRET, "VisitSecret"},
      {ErrorValue::GetInstance("e"), DataType::ERROR, "VisitError"},
      {OptionalValue::GetInstance(Int(1)), DataType::OPTIONAL, "VisitOptional"},
      {ListOf({Int(1)}), DataType::LIST, "VisitList"},
      {ListValueBool::GetInstance(), DataType::LIST_BOOL, "VisitListBool"},
      {ListValueLong::GetInstance(), DataType::LIST_LONG, "VisitListLong"},
      {ListValueDouble::GetInstance(), DataType::LIST_DOUBLE, "VisitListDouble"},
      {ListValueBlob::GetInstance(), DataType::LIST_BLOB, "VisitListBlob"},
      {ListValueString::GetInstance(), DataType::LIST_STRING, "VisitListString"},
      {ListValueSecret::GetInstance(), DataType::LIST_SECRET, "VisitListSecret"},
      {StructOf("s", {{"a", Int(1)}}), DataType::STRUCTURE, "VisitStruct"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.slot);
    EXPECT_EQ(c.value->type(), c.type);
    RecordingVisitor visitor;
    static_cast<const DataValue&>(*c.value).AcceptVisitor(static_cast<ValueVisitor&>(visitor));
    c.value->AcceptVisitor(static_cast<MutableValueVisitor&>(visitor));
    EXPECT_THAT(visitor.calls,
                ElementsAre(Pair(c.slot, c.value.get()), Pair(c.slot + "/mutable", c.value.get())));
  }
}

// Deep trees: built, rendered and freed without recursion. Each chain wraps an innermost
// empty node kDepth times.
constexpr int kDepth = 1000000;

std::string Repeat(std::string_view piece, int times) {
  std::string out;
  out.reserve(piece.size() * times);
  for (int i = 0; i < times; ++i) out += piece;
  return out;
}

TEST(DeepValueTree, ListNestedAMillionLevels) {
  Ptr root = ListValue::GetInstance();
  for (int i = 0; i < kDepth; ++i) root = ListOf({std::move(root)});
  const std::string text = root->ToString();
  EXPECT_EQ(text.size(), 2u * kDepth + 4 + 4u * kDepth);
  EXPECT_EQ(text, Repeat("[ ", kDepth) + "[ ] " + Repeat(", ] ", kDepth));
  root.reset();
}

TEST(DeepValueTree, OptionalNestedAMillionLevels) {
  Ptr root = OptionalValue::GetInstance();
  for (int i = 0; i < kDepth; ++i) root = OptionalValue::GetInstance(std::move(root));
  const std::string text = root->ToString();
  EXPECT_EQ(text, Repeat("Optional< ", kDepth) + "Optional< >" + Repeat(">", kDepth));
  root.reset();
}

TEST(DeepValueTree, StructureNestedAMillionLevels) {
  Ptr root = StructValue::GetInstance("s");
  for (int i = 0; i < kDepth; ++i) root = StructOf("s", {{"f", std::move(root)}});
  const std::string text = root->ToString();
  EXPECT_EQ(text, Repeat("{{ s : { f : ", kDepth) + "{{ s : { } }} " + Repeat(", } }} ", kDepth));
  root.reset();
}

TEST(DeepValueTree, MixedChainThroughEveryComposite) {
  // list -> optional -> structure -> error (as a malformed message) -> list -> ...
  constexpr int kRounds = kDepth / 4;
  Ptr root = VoidValue::GetInstance();
  for (int i = 0; i < kRounds; ++i) {
    root = ErrorValue::GetInstance("e", ListOf({std::move(root)}));
    root = StructOf("s", {{"f", std::move(root)}});
    root = OptionalValue::GetInstance(std::move(root));
    root = ListOf({std::move(root)});
  }
  const std::string opening = "[ Optional< {{ s : { f : Error:\n   e\nMessages:\n   Not a message -> ";
  const std::string closing = "\n, } }} >, ] ";
  EXPECT_EQ(root->ToString(), Repeat(opening, kRounds) + "NULL" + Repeat(closing, kRounds));
}

TEST(DeepValueTree, ReleaseKeepsSubtreesOthersStillHold) {
  Ptr middle;
  Ptr root = ListValue::GetInstance();
  for (int i = 0; i < kDepth; ++i) {
    root = ListOf({std::move(root)});
    if (i == kDepth / 2) middle = root;
  }
  root.reset();
  ASSERT_EQ(middle.use_count(), 1);
  const std::string text = middle->ToString();
  EXPECT_EQ(text.size(), 6u * (kDepth / 2 + 1) + 4);
}

TEST(WideValueTree, ListOfTenThousandStructures) {
  constexpr int kCount = 10000;
  ListValue::PtrType list = ListValue::GetInstance();
  for (int i = 0; i < kCount; ++i) list->push_back(StructOf("p", {{"x", Int(i % 10)}, {"y", Str("v")}}));
  std::string expected = "[ ";
  for (int i = 0; i < kCount; ++i) expected += "{{ p : { x : " + std::to_string(i % 10) + ", y : v, } }} , ";
  expected += "] ";
  EXPECT_EQ(list->ToString(), expected);
}

}  // namespace
