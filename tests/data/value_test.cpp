#include "olma/data/values.h"

#include <cmath>
#include <functional>
#include <iterator>
#include <limits>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "data/tree_test_support.h"
#include "olma/core/date_time.h"
#include "olma/core/message.h"
#include "olma/core/secret_string.h"
#include "olma/data/localizable_message.h"

namespace {

using namespace Olma::Data;
using namespace Olma::Data::Testing;
using Olma::ByteVector;
using Olma::MessageList;
using Olma::SecretString;
using testing::ElementsAre;
using testing::Pair;

using Ptr = DataValue::PtrConstType;

const auto Int = [](long long value) -> Ptr { return IntegerValue::GetInstance(value); };
const auto Str = [](std::string value) -> Ptr { return StringValue::GetInstance(std::move(value)); };

ListValue::PtrType ListOf(std::initializer_list<Ptr> elements,
                          ListValue::Kind kind = ListValue::kDefaultKind) {
  ListValue::PtrType list = ListValue::GetInstance(kind);
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

struct RenderCase {
  const char* label;
  Ptr value;
  std::string expected;
};

std::vector<RenderCase> RenderCases() {
  OptionalValue::PtrType set_later = OptionalValue::GetInstance();
  set_later->value(Int(5));
  return {
      {"void", VoidValue::GetInstance(), "NULL"},
      {"integer", Int(std::numeric_limits<long long>::min()), "-9223372036854775808"},
      {"double", DoubleValue::GetInstance(1.5), "1.500000"},
      {"double rounded", DoubleValue::GetInstance(-2.0 / 3.0), "-0.666667"},
      {"double infinity", DoubleValue::GetInstance(-HUGE_VAL), "-inf"},
      {"double nan", DoubleValue::GetInstance(std::nan("")), "nan"},
      {"true", BooleanValue::GetInstance(true), "1"},
      {"false", BooleanValue::GetInstance(false), "0"},
      {"blob", BlobValue::GetInstance(ByteVector{0x1f, 0x0a, 0x00, 0xff, 0x10, 0x01}),
       "0x1f 0xa 0 0xff 0x10 0x1 "},
      {"empty blob", BlobValue::GetInstance(), ""},
      {"string", Str("a \"b\""), "a \"b\""},
      {"empty string", Str(""), ""},
      {"secret", SecretValue::GetInstance(SecretString("hunter2")), "<secret>"},
      {"unset optional", OptionalValue::GetInstance(), "Optional< >"},
      {"optional set later", set_later, "Optional< 5>"},
      {"optional of empty pointer", OptionalValue::GetInstance(nullptr), "Optional< <unset>>"},
      {"empty list", ListValue::GetInstance(), "[ ] "},
      {"list of unset", ListOf({nullptr}), "[ <unset>, ] "},
      {"nested lists", ListOf({ListOf({Int(1), Int(2)}), ListOf({}), Str("x")}), "[ [ 1, 2, ] , [ ] , x, ] "},
      {"native list kind", ListOf({Int(1)}, ListValue::kNativeListKind), "[ 1, ] "},
      {"list of bool", TypedList<ListValueBool>({true, false}), "[ 1, 0, ] "},
      {"list of long", TypedList<ListValueLong>({-1, 20}), "[ -1, 20, ] "},
      {"list of double", TypedList<ListValueDouble>({1.5, 0}), "[ 1.500000, 0.000000, ] "},
      {"list of blob", TypedList<ListValueBlob>({{0x01, 0x00}, {}, {0xab}}), "[ 0x1 0 , , 0xab , ] "},
      {"list of string", TypedList<ListValueString>({"a", ""}), "[ a, , ] "},
      {"list of secret", TypedList<ListValueSecret>({SecretString("p"), SecretString("q")}),
       "[ <secret>, <secret>, ] "},
      {"empty typed list", ListValueLong::GetInstance(), "[ ] "},
      // Fields come in byte-wise name order, whatever the order they were set in.
      {"structure", StructOf("s", {{"b", Str("x")}, {"a", Int(1)}, {"B", Int(0)}}),
       "{{ s : { B : 0, a : 1, b : x, } }} "},
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

template <class Compound>
class CompoundFields : public testing::Test {};
using CompoundKinds = testing::Types<StructValue, ErrorValue>;
TYPED_TEST_SUITE(CompoundFields, CompoundKinds);

TYPED_TEST(CompoundFields, SetReplacesGetReportsUnknownFieldsDeleteSaysWhetherItRemoved) {
  auto compound = TypeParam::GetInstance("c");
  const Ptr one = Int(1);
  compound->SetField("a", Int(2));
  compound->SetField("a", one);
  compound->SetField("unset", nullptr);
  EXPECT_THAT(compound->fields(), ElementsAre(Pair("a", one), Pair("unset", testing::IsNull())));

  MessageList messages;
  Ptr out;
  EXPECT_TRUE(compound->GetField("a", out, messages));
  EXPECT_EQ(out, one);
  EXPECT_TRUE(compound->GetField("unset", out, messages));
  EXPECT_EQ(out, nullptr);
  EXPECT_TRUE(messages.empty());
  out = one;
  EXPECT_FALSE(compound->GetField("missing", out, messages));
  EXPECT_EQ(out, one) << "a failed lookup leaves the output alone";
  ASSERT_EQ(messages.size(), 1u);
  EXPECT_EQ(messages.front().id(), "olma.data.error.getfield.unknown");
  EXPECT_EQ(messages.front().defaultMessage(), "GetField unknown field: missing");
  EXPECT_THAT(messages.front().args(), ElementsAre("missing"));

  EXPECT_TRUE(compound->DeleteField("unset"));
  EXPECT_FALSE(compound->HasField("unset"));
  EXPECT_FALSE(compound->DeleteField("unset"));
}

TEST(ErrorValue, MessagesIsTheMessagesFieldOnlyWhenThatIsAList) {
  EXPECT_TRUE(ErrorValue::GetInstance("e")->fields().empty()) << "not even a \"messages\" field";
  EXPECT_EQ(ErrorValue::GetInstance("e")->messages(), nullptr);
  const Ptr list = ListValue::GetInstance();
  for (const Ptr& field :
       {list, Int(1), Ptr(ListValueString::GetInstance()), Ptr(StructValue::GetInstance("m")), Ptr()}) {
    SCOPED_TRACE(field ? to_string(field->type()) : "empty pointer");
    ErrorValue::PtrType error = ErrorValue::GetInstance("e");
    error->SetField("messages", field);
    EXPECT_EQ(error->messages(), field == list ? list : nullptr);
    EXPECT_EQ(error->ToString(), "Error:\n   e\nNo messages!\n");
  }
}

TEST(ErrorValue, CreateListsEachMessageAsALocalizableMessageStructure) {
  const MessageList messages{Olma::Message<Olma::CoreTag>("olma.invalid.request"),
                             Olma::Message<Olma::CoreTag>("olma.data.bad.cast2", "a", "b")};
  ErrorValue::PtrType error = ErrorValue::Create("com.example.failure", messages);
  ASSERT_THAT(error->fields(), ElementsAre(Pair("messages", testing::NotNull())));
  ASSERT_EQ(
      error->messages()->ToString(),
      "[ {{ com.zorvex.olma.std.localizable_message : { args : [ ] , default_message : Invalid Request, "
      "id : olma.invalid.request, } }} , {{ com.zorvex.olma.std.localizable_message : { args : [ a, b, ] "
      ", default_message : Bad cast: a -> b, id : olma.data.bad.cast2, } }} , ] ");
  for (const Ptr& message : *error->messages())
    EXPECT_EQ(static_cast<const StructValue&>(*message).fields().at("args")->type(), DataType::LIST_STRING);

  EXPECT_EQ(error->ToString(),
            "Error:\n   com.example.failure\nMessages:\n"
            "   olma.invalid.request<Invalid Request>\n"
            "   olma.data.bad.cast2<Bad cast: a -> b>\n");
  EXPECT_EQ(ErrorValue::Create("e", {})->ToString(), "Error:\n   e\nNo messages!\n");
}

TEST(LocalizableMessage, ReadListGivesBackWhatBuildListMadeOrNothing) {
  const MessageList messages{Olma::Message<Olma::CoreTag>("olma.invalid.request"),
                             Olma::Message<Olma::CoreTag>("olma.data.bad.cast2", "a", "b")};
  const ListValue::PtrType list = LocalizableMessage::BuildList(messages);
  MessageList read{Olma::Message<Olma::CoreTag>("olma.invalid.type")};
  ASSERT_TRUE(LocalizableMessage::ReadList(*list, read));
  ASSERT_EQ(read.size(), 3u);
  EXPECT_EQ(read.front().id(), "olma.invalid.type");
  for (auto built = messages.begin(), back = std::next(read.cbegin()); built != messages.end();
       ++built, ++back) {
    EXPECT_EQ(back->id(), built->id());
    EXPECT_EQ(back->defaultMessage(), built->defaultMessage());
    EXPECT_EQ(back->args(), built->args());
  }
  // One malformed element: nothing is read.
  list->push_back(Str("not a message"));
  MessageList none;
  EXPECT_FALSE(LocalizableMessage::ReadList(*list, none));
  EXPECT_TRUE(none.empty());
}

TEST(ErrorValue, RendersMalformedMessagesInPlace) {
  const struct {
    const char* label;
    Ptr message;
    std::string line;
  } cases[] = {
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
  for (const auto& c : cases) {
    SCOPED_TRACE(c.label);
    // Between two good messages, to see that the walk resumes after the malformed one.
    const Ptr good = StructOf("m", {{"id", Str("g")}, {"default_message", Str("ok")}});
    ErrorValue::PtrType error = ErrorValue::GetInstance("e", ListOf({good, c.message, good}));
    EXPECT_EQ(error->ToString(), "Error:\n   e\nMessages:\n   g<ok>\n" + c.line + "   g<ok>\n");
  }
}

// Create maps each native type to its class; every class reports its kind and visits its own
// slot, const and mutable.
TEST(DataValue, CreateAndVisitorDispatch) {
  Olma::DateTime when;
  ASSERT_TRUE(Olma::DateTime::Create("2021-06-01T14:00:00.250Z", when));
  const Ptr secret = DataValue::Create<SecretString>(SecretString("pw"));
  EXPECT_EQ(static_cast<const SecretValue&>(*secret).value().str(), "pw");
  const struct {
    Ptr value;
    DataType type;
    std::string slot, text;
  } cases[] = {
      {DataValue::Create<void>(), DataType::VOID, "VisitVoid", "NULL"},
      {DataValue::Create<Void>(), DataType::VOID, "VisitVoid", "NULL"},
      {DataValue::Create<Void>(Void{}), DataType::VOID, "VisitVoid", "NULL"},
      {DataValue::Create<long long>(-7), DataType::INTEGER, "VisitInteger", "-7"},
      {DataValue::Create<double>(0.5), DataType::DOUBLE, "VisitDouble", "0.500000"},
      {DataValue::Create<bool>(true), DataType::BOOLEAN, "VisitBoolean", "1"},
      {DataValue::Create<ByteVector>(ByteVector{0x1f}), DataType::BLOB, "VisitBlob", "0x1f "},
      {DataValue::Create<std::string>("text"), DataType::STRING, "VisitString", "text"},
      {DataValue::Create<Olma::DateTime>(when), DataType::STRING, "VisitString", "2021-06-01T14:00:00.250Z"},
      {secret, DataType::SECRET, "VisitSecret", "<secret>"},
      {ErrorValue::GetInstance("e"), DataType::ERROR, "VisitError", "Error:\n   e\nNo messages!\n"},
      {OptionalValue::GetInstance(Int(1)), DataType::OPTIONAL, "VisitOptional", "Optional< 1>"},
      {ListOf({Int(1)}), DataType::LIST, "VisitList", "[ 1, ] "},
      {TypedList<ListValueBool>({true}), DataType::LIST_BOOL, "VisitListBool", "[ 1, ] "},
      {TypedList<ListValueLong>({1}), DataType::LIST_LONG, "VisitListLong", "[ 1, ] "},
      {TypedList<ListValueDouble>({1}), DataType::LIST_DOUBLE, "VisitListDouble", "[ 1.000000, ] "},
      {TypedList<ListValueBlob>({{1}}), DataType::LIST_BLOB, "VisitListBlob", "[ 0x1 , ] "},
      {TypedList<ListValueString>({"1"}), DataType::LIST_STRING, "VisitListString", "[ 1, ] "},
      {TypedList<ListValueSecret>({SecretString("1")}), DataType::LIST_SECRET, "VisitListSecret",
       "[ <secret>, ] "},
      {StructOf("s", {{"a", Int(1)}}), DataType::STRUCTURE, "VisitStruct", "{{ s : { a : 1, } }} "},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.slot + " " + c.text);
    EXPECT_EQ(c.value->type(), c.type);
    EXPECT_EQ(c.value->ToString(), c.text);
    ValueRecorder visitor;
    c.value->AcceptVisitor(static_cast<ValueVisitor&>(visitor));
    std::const_pointer_cast<DataValue>(c.value)->AcceptVisitor(static_cast<MutableValueVisitor&>(visitor));
    EXPECT_THAT(visitor.calls,
                ElementsAre(Pair(c.slot, c.value.get()), Pair(c.slot + "/mutable", c.value.get())));
  }
}

// A chain of a million nested nodes around a void, built by repeating one wrapping step.
struct DeepCase {
  const char* label;
  std::function<Ptr(Ptr)> wrap;
  int levels;               // nodes one step adds
  std::string open, close;  // what one step writes before and after its content
};

class DeepValueTree : public testing::TestWithParam<DeepCase> {};

// Rendering and freeing go without recursion; freeing the root keeps the half of the chain
// that someone else still holds.
TEST_P(DeepValueTree, MillionLevelsRenderAndFreeKeepingSharedParts) {
  const DeepCase& shape = GetParam();
  const int steps = 1000000 / shape.levels;
  Ptr root = VoidValue::GetInstance();
  Ptr middle;
  for (int i = 0; i < steps; ++i) {
    root = shape.wrap(std::move(root));
    if (i == steps / 2) middle = root;
  }
  EXPECT_TRUE(SameText(root->ToString(), Repeat(shape.open, steps) + "NULL" + Repeat(shape.close, steps)));
  root.reset();
  ASSERT_EQ(middle.use_count(), 1);
  const int kept = steps / 2 + 1;
  EXPECT_TRUE(SameText(middle->ToString(), Repeat(shape.open, kept) + "NULL" + Repeat(shape.close, kept)));
}

const DeepCase kDeepCases[] = {
    {"List", [](Ptr inner) -> Ptr { return ListOf({std::move(inner)}); }, 1, "[ ", ", ] "},
    {"Optional", [](Ptr inner) -> Ptr { return OptionalValue::GetInstance(std::move(inner)); }, 1,
     "Optional< ", ">"},
    {"Struct",
     [](Ptr inner) -> Ptr {
       return StructOf("s", {{"f", std::move(inner)}});
     },
     1, "{{ s : { f : ", ", } }} "},
    // list, optional, structure, error, and the error's messages list holding the next step
    {"Mixed",
     [](Ptr inner) -> Ptr {
       Ptr error = ErrorValue::GetInstance("e", ListOf({std::move(inner)}));
       return ListOf({OptionalValue::GetInstance(StructOf("s", {{"f", std::move(error)}}))});
     },
     5, "[ Optional< {{ s : { f : Error:\n   e\nMessages:\n   Not a message -> ", "\n, } }} >, ] "},
};

INSTANTIATE_TEST_SUITE_P(Chains, DeepValueTree, testing::ValuesIn(kDeepCases),
                         [](const testing::TestParamInfo<DeepCase>& shape) { return shape.param.label; });

}  // namespace
