#include "olma/invocation/security_context_schemes.h"

#include <gtest/gtest.h>

namespace {

using namespace Olma::Core;
using Override = SecurityContextWrappedEntry::Override;

TEST(SecurityContextSchemes, BuildersWriteSchemeIdAndEmptyKeysIntoThePlainSlot) {
  struct Case {
    const char* scheme;
    void (*build)(SecurityContext&);
    std::vector<std::string> keys;
  };
  const Case cases[] = {
      {"com.zorvex.olma.std.security.user_pass",
       [](SecurityContext& c) { UserPassSecurityContextBuilder b(c); },
       {"password", "userName"}},
      {"com.zorvex.olma.std.security.session_id",
       [](SecurityContext& c) { SessionSecurityContextBuilder b(c); },
       {"sessionId"}},
      {"com.zorvex.olma.std.security.saml_bearer_token",
       [](SecurityContext& c) { SamlBearerTokenSecurityContextBuilder b(c); },
       {"samlToken"}},
      {"com.zorvex.olma.std.security.oauth",
       [](SecurityContext& c) { OAuthSecurityContextBuilder b(c); },
       {"accessToken"}},
      {"com.zorvex.olma.std.security.oauth",
       [](SecurityContext& c) { JwtTokenSecurityContextBuilder b(c); },
       {"accessToken"}},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.scheme);
    SecurityContext context;
    c.build(context);
    SecurityContext expected{{"schemeId", SecurityContextWrappedEntry(c.scheme)}};
    for (const auto& key : c.keys) expected.emplace(key, SecurityContextWrappedEntry(""));
    EXPECT_EQ(context, expected);
  }
}

TEST(SecurityContextSchemes, HolderOfKeyDefaultsToRs256WithEmptyGroups) {
  SecurityContext context;
  SamlHoKTokenSecurityContextBuilder builder(context);
  SamlHoKTokenSecurityContextReader reader(context);
  ASSERT_TRUE(reader.valid());
  EXPECT_EQ(reader.signatureAlgorithm(), "RS256");
  EXPECT_EQ(reader.signature(), SecurityContextEntry());
  EXPECT_FALSE(reader.timestamp().isValue);

  SecurityContextEntry signature;
  signature.entries["bytes"] = "c2ln";
  builder.signature(signature).timestamp(SecurityContextEntry("2026-01-01")).signatureAlgorithm("ES256");
  EXPECT_EQ(reader.signature(), signature);  // the reader sees the map as it is now
  EXPECT_EQ(reader.timestamp(), SecurityContextEntry("2026-01-01"));
  EXPECT_EQ(reader.signatureAlgorithm(), "ES256");
}

TEST(SecurityContextSchemes, ReadersCheckSchemeIdAndEveryKey) {
  SecurityContext context;
  UserPassSecurityContextBuilder(context).userName("ann").password("pw:1");
  {
    UserPassSecurityContextReader reader(context);
    ASSERT_TRUE(reader.valid());
    EXPECT_EQ(reader.userName(), "ann");
    EXPECT_EQ(reader.password(), "pw:1");
  }
  SecurityContext foreign = context;
  foreign["schemeId"] = "com.zorvex.olma.std.security.oauth";
  EXPECT_FALSE(UserPassSecurityContextReader(foreign).valid());

  SecurityContext missing = context;
  missing.erase("password");
  UserPassSecurityContextReader partial(missing);
  EXPECT_FALSE(partial.valid());
  EXPECT_EQ(partial.password(), "");
  EXPECT_EQ(partial.userName(), "ann");

  SecurityContext prefix = context;
  prefix["schemeId"] = "com.zorvex.olma.std.security.user_pass ";
  EXPECT_FALSE(UserPassSecurityContextReader(prefix).valid());
  EXPECT_FALSE(SessionSecurityContextReader(context).valid());
}

TEST(SecurityContextSchemes, OverrideSlotWinsAndOverrideBuildersWriteOnlyIt) {
  SecurityContext context;
  OAuthSecurityContextBuilder(context).accessToken("t");
  context["schemeId"].override = SecurityContextEntry("com.zorvex.olma.std.security.session_id");
  context["sessionId"] = "plain";
  EXPECT_TRUE(SessionSecurityContextReader(context).valid());
  EXPECT_FALSE(OAuthSecurityContextReader(context).valid());

  SessionSecurityContextBuilder(context, Override()).sessionId(Override(), "from-header");
  SessionSecurityContextReader reader(context);
  ASSERT_TRUE(reader.valid());
  EXPECT_EQ(reader.sessionId(), "from-header");
  EXPECT_EQ(context.at("sessionId").value, SecurityContextEntry("plain"));
  EXPECT_EQ(context.at("schemeId").value, SecurityContextEntry("com.zorvex.olma.std.security.oauth"));

  SecurityContext headers;
  UserPassSecurityContextBuilder(headers, Override()).userName(Override(), "u").password("client-side");
  EXPECT_EQ(headers.at("userName"), SecurityContextWrappedEntry(Override(), "u"));
  EXPECT_EQ(headers.at("password").value, SecurityContextEntry("client-side"));
  EXPECT_EQ(UserPassSecurityContextReader(headers).password(), "");  // the empty override wins
}

TEST(SecurityContextSchemes, JwtAndOAuthAreOneScheme) {
  SecurityContext byOAuth;
  OAuthSecurityContextBuilder(byOAuth).accessToken("a.b.c");
  JwtTokenSecurityContextReader jwt(byOAuth);
  ASSERT_TRUE(jwt.valid());
  EXPECT_EQ(jwt.jwtToken(), "a.b.c");

  SecurityContext byJwt;
  JwtTokenSecurityContextBuilder(byJwt).jwtToken("x.y.z");
  OAuthSecurityContextReader oauth(byJwt);
  ASSERT_TRUE(oauth.valid());
  EXPECT_EQ(oauth.accessToken(), "x.y.z");
  EXPECT_EQ(byJwt, [] {
    SecurityContext c;
    OAuthSecurityContextBuilder(c).accessToken("x.y.z");
    return c;
  }());
}

}  // namespace
