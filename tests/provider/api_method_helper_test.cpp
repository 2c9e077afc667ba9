#include "olma/provider/api_method_helper.h"

#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "olma/data/definitions.h"
#include "provider/fake_method.h"

namespace {

using ::testing::ElementsAre;
using ::testing::ElementsAreArray;
using namespace Olma::Data;
using Olma::Core::MethodResult;
using Olma::Provider::ApiMethodHelper;
using Olma::Provider::ErrorDefinitionList;
using OlmaTest::IdsOf;
using OlmaTest::Int;
using OlmaTest::MessagesOf;
using OlmaTest::Str;
using OlmaTest::Struct;

const std::string kMethod = "com.acme.tasks.create";
const std::string kUnexpectedInput = "com.zorvex.olma.std.errors.unexpected_input";
const std::string kOperationNotFound = "com.zorvex.olma.std.errors.operation_not_found";
const std::string kInternalServerError = "com.zorvex.olma.std.errors.internal_server_error";
const std::string kInvalidArgument = "com.zorvex.olma.std.errors.invalid_argument";
const std::string kUnauthorized = "com.zorvex.olma.std.errors.unauthorized";

// Input {title: STRING, priority: INTEGER, note: OPTIONAL<STRING>}.
DataDefinition::PtrConstType TaskInput() {
  return StructDefinition::GetInstance(
      "task_input", {{"title", StringDefinition::GetInstance()},
                     {"priority", IntegerDefinition::GetInstance()},
                     {"note", OptionalDefinition::GetInstance(StringDefinition::GetInstance())}});
}

DataDefinition::PtrConstType TaskOutput() {
  return StructDefinition::GetInstance(
      "task", {{"id", IntegerDefinition::GetInstance()}, {"title", StringDefinition::GetInstance()}});
}

ErrorValue::PtrConstType HandlerError(const std::string& name, const Olma::MessageList& messages = {
                                                                   Olma::MakeMessage("app.one", "one {1}", 1),
                                                                   Olma::MakeMessage("app.two", "two")}) {
  return ErrorValue::Create(name, messages);
}

TEST(ApiMethodHelperValidateInput, ChoosesTheErrorByTheValidatorsFirstMessage) {
  struct Case {
    const char* label;
    DataValue::PtrConstType input;
    bool valid;
    std::string errorName;
    std::string validatorMessage;
  };
  const std::vector<Case> cases = {
      {"complete", Struct("task_input", {{"title", Str("a")}, {"priority", Int(1)}}), true, "", ""},
      {"bare value for an optional",
       Struct("task_input", {{"title", Str("a")}, {"priority", Int(1)}, {"note", Str("n")}}), true, "", ""},
      {"missing field", Struct("task_input", {{"title", Str("a")}}), false, kUnexpectedInput,
       "olma.data.compound.field.missing"},
      {"extra field",
       Struct("task_input",
              {{"title", Str("a")}, {"priority", Int(1)}, {"note", Str("n")}, {"owner", Str("me")}}),
       false, kUnexpectedInput, "olma.data.compound.field.extra"},
      // Strict matching looks for foreign fields only when there are more fields than
      // declared, so one standing in for an absent optional field goes unnoticed.
      {"foreign field, no more fields than declared",
       Struct("task_input", {{"title", Str("a")}, {"priority", Int(1)}, {"owner", Str("me")}}), true, "", ""},
      {"wrongly typed field", Struct("task_input", {{"title", Str("a")}, {"priority", Str("high")}}), false,
       kInvalidArgument, "olma.data.type.mismatch"},
      {"not a structure", Int(7), false, kInvalidArgument, "olma.data.type.mismatch"},
      // The validator refuses a missing input without a message of its own.
      {"no input", nullptr, false, kInvalidArgument, ""},
  };
  const auto definition = TaskInput();
  for (const Case& c : cases) {
    SCOPED_TRACE(c.label);
    const auto untouched = MethodResult::GetInstance(Int(0));
    MethodResult::PtrConstType result = untouched;
    EXPECT_EQ(ApiMethodHelper::ValidateInput(kMethod, definition, c.input, result), c.valid);
    if (c.valid) {
      EXPECT_EQ(result, untouched);
      continue;
    }
    ASSERT_TRUE(result && result->isError() && result->error());
    EXPECT_FALSE(result->output());
    EXPECT_EQ(result->error()->name(), c.errorName);
    const Olma::MessageList messages = MessagesOf(result->error());
    ASSERT_FALSE(messages.empty());
    EXPECT_EQ(messages.front().id(), "olma.invoke.invalid.input");
    EXPECT_EQ(messages.front().defaultMessage(), "Invalid input for method: " + kMethod);
    EXPECT_THAT(OlmaTest::ArgsOf(messages.front()), ElementsAre(kMethod));
    if (c.validatorMessage.empty()) {
      EXPECT_EQ(messages.size(), 1u);
    } else {
      ASSERT_EQ(messages.size(), 2u);
      EXPECT_EQ(messages.back().id(), c.validatorMessage);
    }
  }
}

TEST(ApiMethodHelperValidateInput, NamesTheMethodFromItsParts) {
  MethodResult::PtrConstType result;
  const auto identifier = Olma::Core::MethodIdentifier::GetInstance("com.acme.tasks.create");
  ASSERT_FALSE(ApiMethodHelper::ValidateInput(*identifier, TaskInput(), Int(1), result));
  EXPECT_EQ(MessagesOf(result->error()).front().defaultMessage(),
            "Invalid input for method: com.acme.tasks.create");
  ASSERT_FALSE(ApiMethodHelper::ValidateInput(Olma::Provider::QualifiedMethodName("", "ping"), TaskInput(),
                                              Int(1), result));
  EXPECT_EQ(MessagesOf(result->error()).front().defaultMessage(), "Invalid input for method: .ping");
}

TEST(ApiMethodHelperValidateOutput, MatchesLooselyAndHidesAnInvalidOutput) {
  const auto definition = TaskOutput();

  const auto withExtra = Struct("task", {{"id", Int(1)}, {"title", Str("t")}, {"owner", Str("me")}});
  const auto passed = ApiMethodHelper::ValidateOutput(kMethod, definition, withExtra);
  ASSERT_TRUE(passed);
  EXPECT_FALSE(passed->isError());
  EXPECT_FALSE(passed->error());
  EXPECT_EQ(passed->output(), withExtra);

  // The same value is refused as an input, where fields are matched strictly.
  MethodResult::PtrConstType refused;
  EXPECT_FALSE(ApiMethodHelper::ValidateInput(kMethod, definition, withExtra, refused));

  for (const auto& output :
       {DataValue::PtrConstType(Struct("task", {{"id", Int(1)}})),
        DataValue::PtrConstType(Struct("task", {{"id", Str("1")}, {"title", Str("t")}}))}) {
    SCOPED_TRACE(output->ToString());
    const auto result = ApiMethodHelper::ValidateOutput(kMethod, definition, output);
    ASSERT_TRUE(result->isError());
    EXPECT_FALSE(result->output());
    EXPECT_EQ(result->error()->name(), kInternalServerError);
    const Olma::MessageList messages = MessagesOf(result->error());
    ASSERT_EQ(messages.size(), 2u);
    EXPECT_EQ(messages.front().id(), "olma.invoke.invalid.output");
    EXPECT_EQ(messages.front().defaultMessage(), "Invalid output for method: " + kMethod);
  }
}

TEST(ApiMethodHelperValidateError, ImplicitErrorsAreDeliveredUnchanged) {
  for (const std::string& name :
       {kUnexpectedInput, kOperationNotFound, kInternalServerError, kInvalidArgument}) {
    SCOPED_TRACE(name);
    const auto error = HandlerError(name);
    const auto result = ApiMethodHelper::ValidateError(kMethod, {}, error);
    EXPECT_TRUE(result->isError());
    EXPECT_EQ(result->error(), error);
  }
}

TEST(ApiMethodHelperValidateError, UndeclaredErrorBecomesInternalServerErrorWithTheHandlersMessagesLast) {
  const ErrorDefinitionList declared{ErrorDefinition::GetInstance("com.acme.tasks.errors.duplicate")};
  const auto result = ApiMethodHelper::ValidateError(kMethod, declared, HandlerError(kUnauthorized));
  ASSERT_TRUE(result->isError());
  EXPECT_EQ(result->error()->name(), kInternalServerError);
  const Olma::MessageList messages = MessagesOf(result->error());
  EXPECT_THAT(IdsOf(messages), ElementsAre("olma.bindings.method.impl.unexpected", "app.one", "app.two"));
  EXPECT_EQ(messages.front().defaultMessage(),
            "Unexpected error for method: " + kMethod + " -> " + kUnauthorized);
  EXPECT_THAT(OlmaTest::ArgsOf(messages.front()), ElementsAre(kMethod, kUnauthorized));
  EXPECT_EQ(std::next(messages.begin())->defaultMessage(), "one 1");
  EXPECT_THAT(OlmaTest::ArgsOf(*std::next(messages.begin())), ElementsAre("1"));

  // Declaring it is what lets it through.
  const auto error = HandlerError(kUnauthorized);
  EXPECT_EQ(
      ApiMethodHelper::ValidateError(kMethod, {ErrorDefinition::GetInstance(kUnauthorized)}, error)->error(),
      error);
}

TEST(ApiMethodHelperValidateError, DeclaredDefinitionIsMatchedBeforeTheImplicitOne) {
  // The declared invalid_argument requires a field; the implicit one would accept anything.
  const ErrorDefinitionList declared{
      ErrorDefinition::GetInstance(kInvalidArgument, {{"reason", StringDefinition::GetInstance()}})};

  auto withReason = ErrorValue::Create(kInvalidArgument, {Olma::MakeMessage("app.bad", "bad")});
  withReason->SetField("reason", Str("too long"));
  EXPECT_EQ(ApiMethodHelper::ValidateError(kMethod, declared, withReason)->error(), withReason);

  const auto result = ApiMethodHelper::ValidateError(
      kMethod, declared, ErrorValue::Create(kInvalidArgument, {Olma::MakeMessage("app.bad", "bad")}));
  ASSERT_TRUE(result->isError());
  EXPECT_EQ(result->error()->name(), kInternalServerError);
  const Olma::MessageList messages = MessagesOf(result->error());
  EXPECT_THAT(IdsOf(messages),
              ElementsAre("olma.invoke.invalid.error", "olma.data.compound.field.missing", "app.bad"));
  EXPECT_EQ(messages.front().defaultMessage(),
            "Invalid error for method: " + kMethod + " -> " + kInvalidArgument);
}

TEST(ApiMethodHelperValidateError, OnlyNonEmptyErrorDefinitionsWithTheExactNameMatch) {
  const std::string name = "com.acme.tasks.errors.duplicate";
  const ErrorDefinitionList declared{
      nullptr,
      StructDefinition::GetInstance(name, {{"never", IntegerDefinition::GetInstance()}}),
      ErrorDefinition::GetInstance("com.acme.tasks.errors.Duplicate",
                                   {{"never", IntegerDefinition::GetInstance()}}),
      ErrorDefinition::GetInstance(),  // no name at all
      ErrorDefinition::GetInstance(name, {{"title", StringDefinition::GetInstance()}}),
  };
  auto error = ErrorValue::Create(name, {});
  error->SetField("title", Str("t"));
  EXPECT_EQ(ApiMethodHelper::ValidateError(kMethod, declared, error)->error(), error);
}

TEST(ApiMethodHelperValidateError, MessagesThatCannotBeConvertedAreDroppedSilently) {
  auto messages = ListValue::GetInstance();
  messages->push_back(ErrorValue::Create("x", {Olma::MakeMessage("app.good", "good")})->messages()->front());
  messages->push_back(Int(3));
  const auto undeclared = ErrorValue::GetInstance(kUnauthorized, messages);
  EXPECT_THAT(IdsOf(MessagesOf(ApiMethodHelper::ValidateError(kMethod, {}, undeclared)->error())),
              ElementsAre("olma.bindings.method.impl.unexpected"));

  const ErrorDefinitionList declared{
      ErrorDefinition::GetInstance(kUnauthorized, {{"realm", StringDefinition::GetInstance()}})};
  EXPECT_THAT(IdsOf(MessagesOf(ApiMethodHelper::ValidateError(kMethod, declared, undeclared)->error())),
              ElementsAre("olma.invoke.invalid.error", "olma.data.compound.field.missing"));

  // An error without a "messages" field, or with something else in it, is no different.
  auto noList = ErrorValue::GetInstance(kUnauthorized);
  noList->SetField("messages", Str("not a list"));
  for (const auto& error :
       {ErrorValue::PtrConstType(ErrorValue::GetInstance(kUnauthorized)), ErrorValue::PtrConstType(noList)}) {
    EXPECT_THAT(IdsOf(MessagesOf(ApiMethodHelper::ValidateError(kMethod, {}, error)->error())),
                ElementsAre("olma.bindings.method.impl.unexpected"));
  }
}

TEST(ApiMethodHelperValidateError, AnEmptyErrorIsAnUnexpectedOne) {
  const auto result = ApiMethodHelper::ValidateError(kMethod, {ErrorDefinition::GetInstance("")}, nullptr);
  ASSERT_TRUE(result->isError());
  EXPECT_EQ(result->error()->name(), kInternalServerError);
  const Olma::MessageList messages = MessagesOf(result->error());
  ASSERT_EQ(messages.size(), 1u);
  EXPECT_EQ(messages.front().defaultMessage(), "Unexpected error for method: " + kMethod + " -> <unset>");
}

// A localizable-message structure with the given fields.
DataValue::PtrConstType MessageStruct(std::vector<std::pair<std::string, DataValue::PtrConstType>> fields) {
  return Struct("com.zorvex.olma.std.localizable_message", std::move(fields));
}

DataValue::PtrConstType StringList(const std::vector<std::string>& strings) {
  auto list = ListValue::GetInstance();
  for (const std::string& text : strings) list->push_back(Str(text));
  return list;
}

TEST(ApiMethodHelperCopyErrorMessages, ReadsTheThreeFieldsOfEachMessage) {
  const Olma::MessageList original{Olma::MakeMessage("a.one", "one {1} {2}", "x", 2),
                                   Olma::MakeMessage("a.two", "")};
  const auto created = ErrorValue::Create("e", original);

  auto list = ListValue::GetInstance();
  list->insert(list->end(), created->messages()->begin(), created->messages()->end());
  // The wire form may carry more fields, and its arguments as a list of string values.
  list->push_back(MessageStruct({{"id", Str("a.three")},
                                 {"default_message", Str("three")},
                                 {"args", StringList({"p", "q"})},
                                 {"localized", OptionalValue::GetInstance()}}));

  Olma::MessageList messages{Olma::MakeMessage("before", "")};
  ApiMethodHelper::CopyErrorMessages(list, messages);
  ASSERT_EQ(messages.size(), 4u);
  EXPECT_THAT(IdsOf(messages), ElementsAre("before", "a.one", "a.two", "a.three"));
  auto it = std::next(messages.begin());
  EXPECT_EQ(it->defaultMessage(), "one x 2");
  EXPECT_THAT(OlmaTest::ArgsOf(*it), ElementsAre("x", "2"));
  ++it;
  EXPECT_EQ(it->defaultMessage(), "");
  EXPECT_TRUE(it->args().empty());
  ++it;
  EXPECT_EQ(it->defaultMessage(), "three");
  EXPECT_THAT(OlmaTest::ArgsOf(*it), ElementsAre("p", "q"));
}

TEST(ApiMethodHelperCopyErrorMessages, AnyMalformedElementDropsAllMessages) {
  const auto good =
      MessageStruct({{"id", Str("ok")}, {"default_message", Str("ok")}, {"args", StringList({})}});
  auto mixedArgs = ListValue::GetInstance();
  mixedArgs->push_back(Str("a"));
  mixedArgs->push_back(Int(1));
  auto nullArg = ListValue::GetInstance();
  nullArg->push_back(nullptr);

  struct Case {
    const char* label;
    DataValue::PtrConstType element;
  };
  const std::vector<Case> cases = {
      {"empty element", nullptr},
      {"not a structure", Str("text")},
      {"an error, not a structure", ErrorValue::GetInstance("com.zorvex.olma.std.localizable_message")},
      {"id missing", MessageStruct({{"default_message", Str("m")}, {"args", StringList({})}})},
      {"id not a string",
       MessageStruct({{"id", Int(1)}, {"default_message", Str("m")}, {"args", StringList({})}})},
      {"id unset", MessageStruct({{"id", nullptr}, {"default_message", Str("m")}, {"args", StringList({})}})},
      {"default message missing", MessageStruct({{"id", Str("i")}, {"args", StringList({})}})},
      {"args missing", MessageStruct({{"id", Str("i")}, {"default_message", Str("m")}})},
      {"args not a list",
       MessageStruct({{"id", Str("i")}, {"default_message", Str("m")}, {"args", Str("a")}})},
      {"args with a non-string",
       MessageStruct({{"id", Str("i")}, {"default_message", Str("m")}, {"args", mixedArgs}})},
      {"args with an empty element",
       MessageStruct({{"id", Str("i")}, {"default_message", Str("m")}, {"args", nullArg}})},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.label);
    auto list = ListValue::GetInstance();
    list->push_back(good);
    list->push_back(c.element);
    list->push_back(good);
    Olma::MessageList messages{Olma::MakeMessage("before", "")};
    ApiMethodHelper::CopyErrorMessages(list, messages);
    EXPECT_THAT(IdsOf(messages), ElementsAre("before"));
  }

  Olma::MessageList messages;
  ApiMethodHelper::CopyErrorMessages(nullptr, messages);
  ApiMethodHelper::CopyErrorMessages(ListValue::GetInstance(), messages);
  EXPECT_TRUE(messages.empty());
}

TEST(ApiMethodHelper, AppendImplicitOperationErrorsAddsTheFourInOrderEvenWhenDeclared) {
  const auto declared =
      ErrorDefinition::GetInstance(kInvalidArgument, {{"reason", StringDefinition::GetInstance()}});
  const ErrorDefinitionList extended = ApiMethodHelper::AppendImplicitOperationErrors({declared, nullptr});
  ASSERT_EQ(extended.size(), 6u);
  EXPECT_EQ(extended.front(), declared);
  EXPECT_EQ(*std::next(extended.begin()), nullptr);
  std::vector<std::string> implicit;
  for (auto it = std::next(extended.begin(), 2); it != extended.end(); ++it) {
    ASSERT_TRUE(*it);
    ASSERT_EQ((*it)->type(), DataType::ERROR);
    const auto& error = static_cast<const ErrorDefinition&>(**it);
    EXPECT_FALSE(error.fields() && !error.fields()->empty());
    implicit.push_back(error.name().value_or("<none>"));
  }
  EXPECT_THAT(implicit, ElementsAreArray(
                            {kUnexpectedInput, kOperationNotFound, kInternalServerError, kInvalidArgument}));
  EXPECT_EQ(ApiMethodHelper::AppendImplicitOperationErrors({}).size(), 4u);
}

}  // namespace
