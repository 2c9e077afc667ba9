#include "olma/provider/api_method_helper.h"

#include <functional>
#include <memory>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "olma/data/definitions.h"
#include "olma/invocation/result_callback.h"
#include "provider/fake_method.h"

namespace {

using ::testing::ElementsAre;
using namespace Olma::Data;
using Olma::Core::MethodResult;
using Olma::Provider::ApiMethodHelper;
using namespace OlmaTest;

const std::string kMethod = "com.acme.tasks.create";
const std::string kUnexpectedInput = "com.zorvex.olma.std.errors.unexpected_input";
const std::string kServerError = "com.zorvex.olma.std.errors.internal_server_error";
const std::string kInvalidArgument = "com.zorvex.olma.std.errors.invalid_argument";
const std::string kUnexpected = "olma.bindings.method.impl.unexpected";

// A message as its id, its text and its arguments.
std::vector<std::string> Flatten(const Olma::BaseMessage& message) {
  std::vector<std::string> flat{message.id(), message.defaultMessage()};
  flat.insert(flat.end(), message.args().begin(), message.args().end());
  return flat;
}

ErrorValue::PtrType HandlerError(const std::string& name) {
  return ErrorValue::Create(name,
                            {Olma::MakeMessage("app.one", "one {1}", 1), Olma::MakeMessage("app.two", "")});
}

TEST(ApiMethodHelper, ValidateInputPutsItsMessageFirstAndNamesTheErrorByTheValidatorsFirst) {
  const auto definition = StructDefinition::GetInstance(
      "in", {{"title", StringDefinition::GetInstance()},
             {"priority", IntegerDefinition::GetInstance()},
             {"note", OptionalDefinition::GetInstance(StringDefinition::GetInstance())}});
  const std::string kInput = "olma.invoke.invalid.input";
  const auto method = Olma::Core::MethodIdentifier::GetInstance(kMethod);  // named in parts
  // A missing or an extra field ("olma.data.compound.field...") is the wrong set of fields.
  const std::pair<DataValue::PtrConstType, std::vector<std::string>> cases[] = {
      {Struct("in", {{"title", Str("a")}, {"priority", Int(1)}, {"note", Str("bare")}}), {}},
      {Struct("in", {{"title", Str("a")}}), {kUnexpectedInput, kInput, "olma.data.compound.field.missing"}},
      {Struct("in", {{"title", Str("a")}, {"priority", Int(1)}, {"note", Str("n")}, {"owner", Str("me")}}),
       {kUnexpectedInput, kInput, "olma.data.compound.field.extra"}},
      {Struct("in", {{"title", Str("a")}, {"priority", Str("high")}}),
       {kInvalidArgument, kInput, "olma.data.type.mismatch"}},
      {nullptr, {kInvalidArgument, kInput}},  // refused without a message of the validator's
  };
  for (const auto& [input, expected] : cases) {
    SCOPED_TRACE(input ? input->ToString() : "<unset>");
    const auto untouched = MethodResult::GetInstance(Int(0));
    MethodResult::PtrConstType result = untouched;
    EXPECT_EQ(ApiMethodHelper::ValidateInput(*method, definition, input, result), expected.empty());
    if (expected.empty()) {
      EXPECT_EQ(result, untouched);
    } else {
      EXPECT_EQ(Describe(result), expected);
      EXPECT_THAT(Flatten(MessagesOf(result->error()).front()),
                  ElementsAre(kInput, "Invalid input for method: " + kMethod, kMethod));
    }
  }
}

TEST(ApiMethodHelper, ValidateOutputMatchesLooselyAndHidesAnInvalidOutput) {
  const auto definition = StructDefinition::GetInstance("task", {{"id", IntegerDefinition::GetInstance()}});
  const auto withExtra = Struct("task", {{"id", Int(1)}, {"owner", Str("me")}});
  EXPECT_EQ(ApiMethodHelper::ValidateOutput(kMethod, definition, withExtra)->output(), withExtra);
  // The name in parts, joined with ".".
  const auto result = ApiMethodHelper::ValidateOutput({"com.acme.tasks", "create"}, definition,
                                                      Struct("task", {{"id", Str("1")}}));
  EXPECT_THAT(Describe(result),
              ElementsAre(kServerError, "olma.invoke.invalid.output", "olma.data.type.mismatch"));
  EXPECT_THAT(Flatten(MessagesOf(result->error()).front()),
              ElementsAre("olma.invoke.invalid.output", "Invalid output for method: " + kMethod, kMethod));
}

TEST(ApiMethodHelper, ValidateErrorMatchesTheFirstDeclaredErrorOfTheNameThenTheImplicitOnes) {
  const auto reason = [](const std::string& name) {
    return ErrorDefinition::GetInstance(name, {{"reason", StringDefinition::GetInstance()}});
  };
  // Skipped: empty entries, other kinds, names that differ in case, no name at all.
  const Olma::Provider::ErrorDefinitionList declared{nullptr,
                                                     StructDefinition::GetInstance("app.errors.gone", {}),
                                                     reason("app.errors.Gone"),
                                                     ErrorDefinition::GetInstance(),
                                                     ErrorDefinition::GetInstance("app.errors.gone"),
                                                     reason(kInvalidArgument)};
  auto withReason = HandlerError(kInvalidArgument);
  withReason->SetField("reason", Str("too long"));
  // Delivered unchanged: declared errors that match and the implicit ones.
  for (const auto& error :
       {HandlerError("app.errors.gone"), withReason, HandlerError(kUnexpectedInput),
        HandlerError(kServerError), HandlerError("com.zorvex.olma.std.errors.operation_not_found")}) {
    SCOPED_TRACE(error->name());
    EXPECT_EQ(ApiMethodHelper::ValidateError(kMethod, declared, error)->error(), error);
  }
  // Declared, so not the implicit invalid_argument, but without its field: the reason
  // first, then the validator's messages, then the handler's.
  auto result = ApiMethodHelper::ValidateError(kMethod, declared, HandlerError(kInvalidArgument));
  EXPECT_THAT(Describe(result), ElementsAre(kServerError, "olma.invoke.invalid.error",
                                            "olma.data.compound.field.missing", "app.one", "app.two"));
  EXPECT_THAT(Flatten(MessagesOf(result->error()).front()),
              ElementsAre("olma.invoke.invalid.error",
                          "Invalid error for method: " + kMethod + " -> " + kInvalidArgument, kMethod,
                          kInvalidArgument));
  // Undeclared: the reason first, then the handler's messages.
  result = ApiMethodHelper::ValidateError(kMethod, declared, HandlerError("app.errors.GONE"));
  EXPECT_THAT(Describe(result), ElementsAre(kServerError, kUnexpected, "app.one", "app.two"));
  EXPECT_THAT(Flatten(MessagesOf(result->error()).front()),
              ElementsAre(kUnexpected, "Unexpected error for method: " + kMethod + " -> app.errors.GONE",
                          kMethod, "app.errors.GONE"));
  // An empty error is an undeclared one named "<unset>".
  result = ApiMethodHelper::ValidateError(kMethod, {ErrorDefinition::GetInstance("")}, nullptr);
  EXPECT_EQ(MessagesOf(result->error()).front().args().back(), "<unset>");
}

TEST(ApiMethodHelper, CopyErrorMessagesTakesAllWellFormedMessagesOrNone) {
  const auto message = [](DataValue::PtrConstType id, DataValue::PtrConstType args) {
    return Struct("com.zorvex.olma.std.localizable_message",
                  {{"id", std::move(id)}, {"default_message", Str("text")}, {"args", std::move(args)}});
  };
  const auto list = [](std::vector<DataValue::PtrConstType> elements) {
    auto value = ListValue::GetInstance();
    value->assign(elements.begin(), elements.end());
    return value;
  };
  // The arguments as a typed list of strings (as ErrorValue::Create writes them) or as a
  // list of string values.
  const auto created = HandlerError("e")->messages();
  const auto good = message(Str("a.three"), list({Str("p"), Str("q")}));
  Olma::MessageList messages{Olma::MakeMessage("before", "")};
  ApiMethodHelper::CopyErrorMessages(list({created->front(), good}), messages);
  ASSERT_EQ(messages.size(), 3u);
  EXPECT_THAT(Flatten(*std::next(messages.begin())), ElementsAre("app.one", "one 1", "1"));
  EXPECT_THAT(Flatten(messages.back()), ElementsAre("a.three", "text", "p", "q"));
  const auto noDefault = Struct("m", {{"id", Str("i")}, {"args", list({})}});
  for (const auto& bad : {DataValue::PtrConstType(), Str("text"), DataValue::PtrConstType(HandlerError("e")),
                          message(nullptr, list({})), message(Int(1), list({})), message(Str("i"), nullptr),
                          message(Str("i"), Str("a")), message(Str("i"), list({Str("a"), Int(1)})),
                          message(Str("i"), list({nullptr})), noDefault}) {
    SCOPED_TRACE(bad ? bad->ToString() : "<unset>");
    Olma::MessageList kept{Olma::MakeMessage("before", "")};
    ApiMethodHelper::CopyErrorMessages(list({good, bad, good}), kept);
    EXPECT_EQ(kept.size(), 1u);
  }
  ApiMethodHelper::CopyErrorMessages(nullptr, messages);
  ApiMethodHelper::CopyErrorMessages(list({}), messages);
  EXPECT_EQ(messages.size(), 3u);
}

TEST(ApiMethodHelper, AppendImplicitOperationErrorsAddsTheFourInOrderEvenWhenDeclared) {
  std::vector<std::string> names;
  for (const auto& definition : ApiMethodHelper::AppendImplicitOperationErrors(
           {ErrorDefinition::GetInstance(kInvalidArgument, {{"reason", StringDefinition::GetInstance()}}),
            nullptr})) {
    names.push_back(definition ? definition->ToString() : "<unset>");
  }
  const auto empty = [](const std::string& name) { return "{ed{ " + name + " : { } }} "; };
  EXPECT_THAT(names,
              ElementsAre("{ed{ " + kInvalidArgument + " : { reason : STRING, } }} ", "<unset>",
                          empty(kUnexpectedInput), empty("com.zorvex.olma.std.errors.operation_not_found"),
                          empty(kServerError), empty(kInvalidArgument)));
}

// A method whose handler runs `body`, for the dispatch helpers.
class HandlerMethod final : public Olma::Provider::AsyncApiMethod {
 public:
  using Body = std::function<void(const Olma::Core::AsyncApiResultCb::PtrType&)>;
  explicit HandlerMethod(Body body) : body_(std::move(body)) {}

  const std::string& name() const override { return name_; }
  void Invoke(const Olma::Core::AsyncActivation::PtrType&, const DataValue::PtrConstType&,
              const Olma::Core::AsyncApiResultCb::PtrType& resultCb) const override {
    body_(resultCb);
  }
  DataDefinition::PtrConstType input() const override { return nullptr; }
  DataDefinition::PtrConstType output() const override { return IntegerDefinition::GetInstance(); }
  const Olma::Provider::ErrorDefinitionList& errors() const override { return errors_; }

 private:
  std::string name_ = "create";
  Body body_;
  Olma::Provider::ErrorDefinitionList errors_;
};

TEST(ApiMethodHelper, ValidateResultChecksOutputsAndErrorsAndPassesAStreamsTerminalResult) {
  const HandlerMethod method([](const auto&) {});
  const auto terminal = MethodResult::GetStreamTerminalInstance();
  EXPECT_EQ(ApiMethodHelper::ValidateResult(kMethod, method, terminal), terminal);
  const auto output = MethodResult::GetInstance(Int(5));
  EXPECT_EQ(ApiMethodHelper::ValidateResult(kMethod, method, output)->output(), output->output());
  EXPECT_THAT(
      Describe(ApiMethodHelper::ValidateResult(kMethod, method, MethodResult::GetInstance(Struct("s", {})))),
      ElementsAre(kServerError, "olma.invoke.invalid.output", "olma.data.type.mismatch"));
  EXPECT_THAT(Describe(ApiMethodHelper::ValidateResult(
                  kMethod, method, MethodResult::GetErrorInstance(HandlerError("com.acme.errors.denied")))),
              ElementsAre(kServerError, kUnexpected, "app.one", "app.two"));
}

TEST(ApiMethodHelper, InvokeHandlerTurnsAnExceptionIntoOneErrorResult) {
  struct Case {
    const char* label;
    HandlerMethod::Body body;
    std::vector<std::vector<std::string>> results;  // each result's error messages, flattened
  };
  const std::string text = "Unknown error for method: " + kMethod + " -> ";
  const Case cases[] = {
      {"standard exception",
       [](const auto&) { throw std::runtime_error("disk on fire"); },
       {{"olma.invoke.unknown.error", text + "disk on fire", kMethod, "disk on fire"}}},
      {"anything else",
       [](const auto&) { throw 42; },
       {{"olma.invoke.unknown.error", text + "unknown exception", kMethod, "unknown exception"}}},
      {"after the final result",
       [](const auto& resultCb) {
         (*resultCb)(MethodResult::GetInstance(Int(1)));
         throw std::runtime_error("late");
       },
       {{}}},
      {"no exception", [](const auto& resultCb) { (*resultCb)(MethodResult::GetInstance(Int(1))); }, {{}}},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.label);
    std::vector<std::vector<std::string>> results;
    auto resultCb = std::make_shared<Olma::Core::AsyncApiResultCb>(
        [&](const MethodResult::PtrConstType& result, const Olma::Core::Progress&,
            const Olma::Core::AsyncApiResultCb::Continuation&) {
          std::vector<std::string> flat;
          if (result->isError()) {
            EXPECT_EQ(result->error()->name(), kServerError);
            for (const Olma::BaseMessage& message : MessagesOf(result->error())) {
              const std::vector<std::string> one = Flatten(message);
              flat.insert(flat.end(), one.begin(), one.end());
            }
          }
          results.push_back(flat);
        });
    EXPECT_NO_THROW(
        ApiMethodHelper::InvokeHandler(kMethod, HandlerMethod(c.body), nullptr, Int(0), resultCb));
    EXPECT_EQ(results, c.results);
  }
}

}  // namespace
