#include "olma/invocation/security_context_extractors.h"

#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "invocation/loopback_capture.h"
#include "invocation/wipe.h"

namespace {

using namespace Olma::Core;
using Override = SecurityContextWrappedEntry::Override;

struct Failure {
  const char* name;
  const char* value;
  const char* id;
  const char* argument;  // null: no argument
};

void ExpectFailure(const Failure& failure, SecurityContext (*extract)(const Header&, Olma::MessageList&)) {
  SCOPED_TRACE(std::string(failure.name) + ": " + failure.value);
  Olma::MessageList messages;
  EXPECT_TRUE(extract(Header{failure.name, failure.value}, messages).empty());
  ASSERT_EQ(messages.size(), 1u);
  EXPECT_EQ(messages.front().id(), failure.id);
  if (failure.argument == nullptr) {
    EXPECT_EQ(messages.front().defaultMessage(), "Error: Invalid header");
    EXPECT_TRUE(messages.front().args().empty());
  } else {
    EXPECT_EQ(messages.front().defaultMessage(), std::string("Error: ") + failure.argument);
    EXPECT_THAT(messages.front().args(), testing::ElementsAre(failure.argument));
  }
}

TEST(UserPassCtxExtractor, ReportsEachMalformedHeader) {
  const Failure failures[] = {
      {"Authorization", "Basic YTpi", "olma.core.extractor", nullptr},
      {"authorization", "Basic", "olma.core.extractor.arg", "Authz header does not start withBasic "},
      {"authorization", "BasicYTpi", "olma.core.extractor.arg", "Authz header does not start withBasic "},
      {"authorization", "basic YTpi", "olma.core.extractor.arg", "Authz header does not start withBasic "},
      {"authorization", "Bearer YTpi", "olma.core.extractor.arg", "Authz header does not start withBasic "},
      {"authorization", "Basic ", "olma.core.extractor.arg", "Wrong format user:password"},
      {"authorization", "Basic YWJj", "olma.core.extractor.arg", "Wrong format user:password"},  // "abc"
      {"authorization", "Basic Y*pi", "olma.core.extractor.arg", "Wrong format user:password"},  // not Base64
  };
  for (const Failure& failure : failures) ExpectFailure(failure, &UserPassCtxExtractor::ExtractFrom);
}

TEST(OAuthCtxExtractor, ReportsEachMalformedHeader) {
  const Failure failures[] = {
      {"authorisation", "Bearer t", "olma.core.extractor", nullptr},
      {"authorization", "Bearer", "olma.core.extractor.arg", "Authz header does not start withBearer "},
      {"authorization", "Basic abcdef", "olma.core.extractor.arg", "Authz header does not start withBearer "},
      {"authorization", "Bearer ", "olma.core.extractor.arg", "OAuth token is empty"},
  };
  for (const Failure& failure : failures) ExpectFailure(failure, &OAuthCtxExtractor::ExtractFrom);
}

TEST(UserPassCtxExtractor, SplitsAtTheFirstColonIntoOverrideSlots) {
  Olma::MessageList messages;
  const SecurityContext context =
      UserPassCtxExtractor::ExtractFrom({"authorization", "Basic YTpiOmM="}, messages);
  EXPECT_TRUE(messages.empty());
  UserPassSecurityContextReader reader(context);
  ASSERT_TRUE(reader.valid());
  EXPECT_EQ(reader.userName(), "a");
  EXPECT_EQ(reader.password(), "b:c");
  EXPECT_EQ(context.at("password"), SecurityContextWrappedEntry(Override(), "b:c"));
  EXPECT_EQ(context.at("schemeId"),
            SecurityContextWrappedEntry(Override(), "com.zorvex.olma.std.security.user_pass"));
}

TEST(OAuthCtxExtractor, TakesEverythingAfterThePrefix) {
  Olma::MessageList messages;
  const SecurityContext context = OAuthCtxExtractor::ExtractFrom({"authorization", "Bearer  a b"}, messages);
  EXPECT_TRUE(messages.empty());
  EXPECT_EQ(JwtTokenSecurityContextReader(context).jwtToken(), " a b");

  OAuthSecurityContextHeaderExtractor header(context);
  ASSERT_TRUE(header.valid());
  EXPECT_EQ(header.headerName(), "authorization");
  EXPECT_EQ(header.headerValue().str(), "Bearer  a b");
}

TEST(SessionSecurityContextHeaderExtractor, SendsTheSessionIdAsItStands) {
  SecurityContext context;
  SessionSecurityContextBuilder(context).sessionId(" s=1; x ");
  SessionSecurityContextHeaderExtractor header(context);
  ASSERT_TRUE(header.valid());
  EXPECT_EQ(header.headerName(), "zorvex-api-session-id");
  EXPECT_EQ(header.headerValue().str(), " s=1; x ");
  EXPECT_FALSE(UserPassSecurityContextHeaderExtractor(context).valid());
}

// curl -u user:pass is the reference for what a Basic header looks like: the header curl sends
// must parse back into the same credentials, and ours must be byte-for-byte curl's.
TEST(UserPassCtxExtractor, AgreesWithCurlOnBasicCredentials) {
  struct Case {
    std::string user;
    std::string password;
  };
  const Case cases[] = {
      {"ann", "s3cret"},
      {"ann", "a:b::c"},
      {"", "only-password"},
      {"only-user", ""},
      {"j\xc3\xb6rg", "p\xc3\xa4ss\xff\x01"},
      {"x", " blank and tab\t"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.user + " / " + c.password);
    const std::string head =
        OlmaTest::CaptureRequest({"curl", "-s", "-o", "/dev/null", "--max-time", "5", "--noproxy", "*", "-u",
                                  c.user + ":" + c.password, "http://127.0.0.1:{port}/"});
    const auto sent = OlmaTest::HeaderValue(head, "authorization");
    ASSERT_TRUE(sent.has_value()) << head;

    Olma::MessageList messages;
    const SecurityContext parsed = UserPassCtxExtractor::ExtractFrom({"authorization", *sent}, messages);
    EXPECT_TRUE(messages.empty());
    UserPassSecurityContextReader reader(parsed);
    ASSERT_TRUE(reader.valid());
    EXPECT_EQ(reader.userName(), c.user);
    EXPECT_EQ(reader.password(), c.password);

    SecurityContext built;
    UserPassSecurityContextBuilder(built).userName(c.user).password(c.password);
    EXPECT_EQ(UserPassSecurityContextHeaderExtractor(built).headerValue().str(), *sent);
  }
}

}  // namespace

// A secret that shrank, or a short one moved from, leaves characters past its size in the
// buffer; the wipe must reach them.
TEST(Wipe, ClearsTheWholeCapacityOfStringsAndBytes) {
  std::string shrunk = "correct horse battery staple";
  shrunk.resize(3);
  std::string shortOne = "hunter2";
  std::string moved = std::move(shortOne);
  Olma::ByteVector bytes = {1, 2, 3, 4, 5, 6, 7, 8};
  bytes.resize(2);
  for (std::string* text : {&shrunk, &shortOne}) {
    Olma::Core::Detail::Wipe(*text);
    EXPECT_EQ(text->size(), text->capacity());
    EXPECT_EQ(text->find_first_not_of('\0'), std::string::npos) << *text;
  }
  Olma::Core::Detail::Wipe(bytes);
  EXPECT_EQ(bytes, Olma::ByteVector(bytes.capacity(), 0));
}
