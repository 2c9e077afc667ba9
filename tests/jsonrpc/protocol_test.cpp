#include "olma/jsonrpc/protocol.h"

#include <sstream>
#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <boost/json/parse.hpp>

#include "olma/data/definitions.h"
#include "olma/data/scalar_values.h"
#include "olma/invocation/execution_context.h"
#include "olma/l10n/localization_bundle.h"
#include "olma/l10n_icu/icu_localizer.h"

namespace {

using Olma::JsonRpc::ErrorCode;
using Olma::JsonRpc::Protocol;
using Olma::JsonRpc::Request;

TEST(Protocol, ParsesCallsAndRefusesOtherShapes) {
  struct Case {
    const char* body;
    bool ok;
    ErrorCode code;
    const char* id;
  };
  const Case cases[] = {
      {R"({"version":"1.1","method":"a.b","params":{"x":1},"id":"7"})", true, ErrorCode::kInvalidRequest,
       R"("7")"},
      {R"({"method":"a.b"})", true, ErrorCode::kInvalidRequest, "null"},
      {R"({"version":"2.0","method":"a.b","id":3})", false, ErrorCode::kInvalidRequest, "3"},
      {R"({"version":"1.1","method":5,"id":3})", false, ErrorCode::kInvalidRequest, "3"},
      {R"({"version":"1.1","method":"a.b","params":[1],"id":3})", false, ErrorCode::kInvalidRequest, "3"},
      {R"([])", false, ErrorCode::kInvalidRequest, "null"},
      {R"({"method":"a.b")", false, ErrorCode::kParseError, "null"},
      {R"({"method":"a.b"} trailing)", false, ErrorCode::kParseError, "null"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.body);
    Request request;
    ErrorCode code = ErrorCode::kInvalidRequest;
    Olma::MessageList messages;
    EXPECT_EQ(Protocol::ParseRequest(c.body, 64, request, code, messages), c.ok);
    EXPECT_EQ(request.idJson, c.id);
    if (!c.ok) {
      EXPECT_EQ(code, c.code);
      ASSERT_EQ(messages.size(), 1u);
      EXPECT_EQ(messages.front().id(), "olma.invalid.request");
    }
  }
}

TEST(Protocol, NestingBeyondTheDepthLimitIsAParseError) {
  const std::string deep =
      R"({"method":"a.b","params":{"x":)" + std::string(100, '[') + std::string(100, ']') + "}}";
  Request request;
  ErrorCode code = ErrorCode::kInvalidRequest;
  Olma::MessageList messages;
  EXPECT_TRUE(Protocol::ParseRequest(deep, 200, request, code, messages));
  EXPECT_FALSE(Protocol::ParseRequest(deep, 64, request, code, messages));
  EXPECT_EQ(code, ErrorCode::kParseError);
}

TEST(Protocol, ErrorCodesFollowTheErrorName) {
  EXPECT_EQ(Protocol::CodeForError("com.zorvex.olma.std.errors.operation_not_found"),
            ErrorCode::kMethodNotFound);
  EXPECT_EQ(Protocol::CodeForError("com.zorvex.olma.std.errors.unexpected_input"), ErrorCode::kInvalidParams);
  EXPECT_EQ(Protocol::CodeForError("com.zorvex.olma.std.errors.invalid_argument"), ErrorCode::kInvalidParams);
  EXPECT_EQ(Protocol::CodeForError("com.zorvex.olma.std.errors.internal_server_error"),
            ErrorCode::kInternalError);
  EXPECT_EQ(Protocol::CodeForError("com.zorvex.olma.std.errors.unauthenticated"),
            ErrorCode::kUnauthenticated);
  EXPECT_EQ(Protocol::CodeForError("com.example.errors.not_found"), ErrorCode::kApplicationError);
}

TEST(Protocol, ErrorMessagesAreLocalizedWhenTheLanguageHasATemplate) {
  auto bundle = std::make_shared<Olma::L10n::LocalizationBundle>();
  std::istringstream ini("olma.provider.interface.unknown = Unbekannte Schnittstelle: {1}\n");
  std::error_code ec;
  bundle->AddLocale("de", *Olma::L10n::LocalizationBundle::LoadIniFile(ini, ec));
  const auto localizer = Olma::L10n::IcuLocalizer::GetInstance(bundle, {"de"});

  const Olma::MessageList messages{Olma::Message<Olma::CoreTag>("olma.provider.interface.unknown", "a.b"),
                                   Olma::Message<Olma::CoreTag>("olma.invalid.request")};
  for (const char* language : {"de", "en", "ja"}) {
    SCOPED_TRACE(language);
    auto context = Olma::Core::ExecutionContext::GetInstance();
    context->applicationContext()["accept-language"] = language;
    const auto request = Olma::L10n::RequestLocalizer::FromContext(localizer, *context, ec);
    const auto answer = boost::json::parse(
        Protocol::WriteError("4", ErrorCode::kMethodNotFound,
                             "com.zorvex.olma.std.errors.operation_not_found", messages, request.get()));
    const auto& error = answer.at("error");
    EXPECT_EQ(answer.at("id"), 4);
    EXPECT_EQ(error.at("code"), -32601);
    const auto& sent = error.at("error").at("messages").as_array();
    ASSERT_EQ(sent.size(), 2u);
    EXPECT_EQ(sent[0].at("default_message"), "Unknown interface: a.b");
    EXPECT_FALSE(sent[1].as_object().contains("localized"));  // no German template for it
    if (std::string(language) == "de") {
      EXPECT_EQ(sent[0].at("localized"), "Unbekannte Schnittstelle: a.b");
      EXPECT_EQ(error.at("message"), "Unbekannte Schnittstelle: a.b");
    } else {
      EXPECT_FALSE(sent[0].as_object().contains("localized"));
      EXPECT_EQ(error.at("message"), "Unknown interface: a.b");
    }
  }
}

TEST(Protocol, ResultsAreWrittenAsTheOutputDeclares) {
  EXPECT_EQ(Protocol::WriteResult("\"x\"", Olma::Data::StringValue::GetInstance("pw"),
                                  Olma::Data::SecretDefinition::GetInstance()),
            R"({"version":"1.1","id":"x","result":"<secret>"})");
}

}  // namespace
