#include "olma/jwt/verifier.h"

#include <stdlib.h>
#include <unistd.h>

#include <cstdio>
#include <fstream>
#include <sstream>
#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "core/external_tool.h"
#include "olma/core/base64.h"
#include "olma/data/list_values.h"
#include "olma/data/optional_value.h"
#include "olma/data/scalar_values.h"
#include "olma/invocation/security_context_schemes.h"

namespace {

using namespace Olma::Jwt;

constexpr std::int64_t kNow = 1800000000;
const std::string kSecret = "a shared secret of thirty-two b!";

std::string Base64Url(std::string_view bytes) {
  std::string text = Olma::Base64::Encode(Olma::ByteVector(bytes.begin(), bytes.end()));
  while (!text.empty() && text.back() == '=') text.pop_back();
  for (char& c : text) c = c == '+' ? '-' : c == '/' ? '_' : c;
  return text;
}

std::string Hex(std::string_view bytes) {
  std::string hex;
  char pair[3];
  for (const unsigned char c : bytes) std::snprintf(pair, sizeof pair, "%02x", c), hex += pair;
  return hex;
}

// The r||s form of a DER ECDSA signature, each integer left-padded to 32 bytes.
std::string DerToRaw(const std::string& der) {
  std::string raw;
  std::size_t at = 2;  // SEQUENCE tag and (short) length
  for (int i = 0; i < 2 && at + 2 <= der.size(); ++i) {
    std::size_t length = static_cast<unsigned char>(der[at + 1]);
    std::string integer = der.substr(at + 2, length);
    while (integer.size() > 32 && integer.front() == '\0') integer.erase(0, 1);
    raw += std::string(32 - integer.size(), '\0') + integer;
    at += 2 + length;
  }
  return raw;
}

// Keys made by the openssl command line tool in a scratch directory; signatures made by it too.
class JwtVerifierTest : public testing::Test {
 protected:
  static void SetUpTestSuite() {
    char pattern[] = "/tmp/olma_jwt_XXXXXX";
    directory_ = mkdtemp(pattern);
    const std::string d = directory_;
    ASSERT_EQ(
        std::system(
            ("openssl genpkey -algorithm RSA -pkeyopt rsa_keygen_bits:2048 -out " + d +
             "/rsa.pem 2>/dev/null && openssl genpkey -algorithm RSA -pkeyopt rsa_keygen_bits:2048 -out " +
             d +
             "/other.pem 2>/dev/null && openssl genpkey -algorithm RSA -pkeyopt rsa_keygen_bits:1024 -out " +
             d +
             "/small.pem 2>/dev/null && openssl genpkey -algorithm EC -pkeyopt ec_paramgen_curve:P-256 "
             "-out " +
             d +
             "/ec.pem 2>/dev/null && openssl genpkey -algorithm EC -pkeyopt ec_paramgen_curve:P-384 -out " +
             d + "/p384.pem 2>/dev/null")
                .c_str()),
        0);
    for (const char* key : {"rsa", "other", "small", "ec", "p384"}) {
      ASSERT_EQ(
          std::system(
              ("openssl pkey -in " + d + "/" + key + ".pem -pubout -out " + d + "/" + key + ".pub").c_str()),
          0);
    }
  }
  static void TearDownTestSuite() { std::system(("rm -rf " + directory_).c_str()); }

  static std::string Read(const std::string& name) {
    std::ifstream in(directory_ + "/" + name);
    std::stringstream text;
    text << in.rdbuf();
    return text.str();
  }

  static std::string Sign(std::string_view alg, const std::string& input, const std::string& key = "") {
    if (alg == "HS256") {
      return OlmaTest::RunTool(
                 "openssl dgst -sha256 -binary -mac HMAC -macopt hexkey:" + Hex(key.empty() ? kSecret : key),
                 input)
          .second;
    }
    const std::string der =
        OlmaTest::RunTool("openssl dgst -sha256 -binary -sign " + directory_ + "/" +
                              (key.empty() ? (alg == "ES256" ? "ec" : "rsa") : key) + ".pem",
                          input)
            .second;
    return alg == "ES256" ? DerToRaw(der) : der;
  }

  static std::string Token(const std::string& header, const std::string& payload, std::string_view alg,
                           const std::string& key = "") {
    const std::string input = Base64Url(header) + "." + Base64Url(payload);
    return input + "." + Base64Url(Sign(alg, input, key));
  }

  static JwtKey::PtrConstType Key(JwtAlgorithm algorithm, const std::string& name = "",
                                  std::string keyId = {}) {
    std::string error;
    auto key =
        algorithm == JwtAlgorithm::HS256
            ? JwtKey::FromSecret(Olma::SecretString(kSecret), error, std::move(keyId))
            : JwtKey::FromPublicKeyPem(
                  Read((name.empty() ? (algorithm == JwtAlgorithm::ES256 ? "ec" : "rsa") : name) + ".pub"),
                  algorithm, error, std::move(keyId));
    EXPECT_TRUE(key) << error;
    return key;
  }

  static JwtVerifier Verifier(std::vector<JwtKey::PtrConstType> keys) {
    JwtVerifierOptions options;
    options.keys = std::move(keys);
    options.issuer = "https://login.example";
    options.audience = "orders";
    return JwtVerifier(std::move(options));
  }

  static std::string directory_;
};

std::string JwtVerifierTest::directory_;

const std::string kClaims =
    R"({"iss":"https://login.example","sub":"ann","aud":["billing","orders"],"exp":1800000100,)"
    R"("nbf":1799999900,"admin":true,"ratio":0.5,"note":null,"ctx":{"tenant":"t1","ids":[1,2]}})";

TEST_F(JwtVerifierTest, AcceptsTokensSignedByOpensslAndExposesTheClaims) {
  const JwtVerifier verifier =
      Verifier({Key(JwtAlgorithm::HS256), Key(JwtAlgorithm::RS256), Key(JwtAlgorithm::ES256)});
  for (const char* alg : {"HS256", "RS256", "ES256"}) {
    SCOPED_TRACE(alg);
    Olma::MessageList messages;
    const auto claims = verifier.Verify(
        Token(std::string(R"({"typ":"JWT","alg":")") + alg + "\"}", kClaims, alg), kNow, messages);
    ASSERT_TRUE(claims) << (messages.empty() ? "" : messages.front().defaultMessage());
    EXPECT_TRUE(messages.empty());
    EXPECT_EQ(claims->name(), "com.zorvex.olma.std.security.jwt_claims");
    const auto& fields = claims->fields();
    EXPECT_EQ(static_cast<const Olma::Data::StringValue&>(*fields.at("sub")).value(), "ann");
    EXPECT_EQ(static_cast<const Olma::Data::IntegerValue&>(*fields.at("exp")).value(), 1800000100);
    EXPECT_TRUE(static_cast<const Olma::Data::BooleanValue&>(*fields.at("admin")).value());
    EXPECT_EQ(static_cast<const Olma::Data::DoubleValue&>(*fields.at("ratio")).value(), 0.5);
    EXPECT_FALSE(static_cast<const Olma::Data::OptionalValue&>(*fields.at("note")).isSet());
    EXPECT_EQ(static_cast<const Olma::Data::ListValue&>(*fields.at("aud")).size(), 2u);
    const auto& context = static_cast<const Olma::Data::StructValue&>(*fields.at("ctx"));
    EXPECT_EQ(context.name(), "object");
    EXPECT_EQ(static_cast<const Olma::Data::ListValue&>(*context.fields().at("ids")).size(), 2u);
  }
}

TEST_F(JwtVerifierTest, RefusesForgedTamperedAndStaleTokens) {
  const JwtVerifier verifier = Verifier({Key(JwtAlgorithm::RS256, "rsa", "k1"), Key(JwtAlgorithm::ES256)});
  const std::string rs = R"({"alg":"RS256","kid":"k1"})";
  const std::string good = Token(rs, kClaims, "RS256");
  std::string tampered = good;
  tampered[good.find('.') + 5] ^= 1;
  const std::string input = Base64Url(R"({"alg":"ES256"})") + "." + Base64Url(kClaims);
  const std::string derSignature =
      OlmaTest::RunTool("openssl dgst -sha256 -binary -sign " + directory_ + "/ec.pem", input).second;
  const auto claims = [](std::string extra) {
    return R"({"iss":"https://login.example","aud":"orders")" + extra + "}";
  };
  struct Case {
    const char* name;
    std::string token;
    const char* id;
  };
  const Case cases[] = {
      {"alg none", Base64Url(R"({"alg":"none"})") + "." + Base64Url(kClaims) + ".", "olma.jwt.algorithm"},
      {"alg None", Base64Url(R"({"alg":"None"})") + "." + Base64Url(kClaims) + ".", "olma.jwt.algorithm"},
      // HMAC keyed with the RSA public key: the classic confusion.
      {"HS256 over the public key", Token(R"({"alg":"HS256"})", kClaims, "HS256", Read("rsa.pub")),
       "olma.jwt.algorithm"},
      {"other kid", Token(R"({"alg":"RS256","kid":"k2"})", kClaims, "RS256"), "olma.jwt.algorithm"},
      {"crit", Token(R"({"alg":"RS256","crit":["exp"]})", kClaims, "RS256"), "olma.jwt.algorithm"},
      {"tampered payload", tampered, "olma.jwt.signature"},
      {"other RSA key", Token(rs, kClaims, "RS256", "other"), "olma.jwt.signature"},
      {"ES256 in DER", input + "." + Base64Url(derSignature), "olma.jwt.signature"},
      {"signature cut", good.substr(0, good.size() - 4), "olma.jwt.signature"},
      {"expired", Token(rs, claims(R"(,"exp":1799999939)"), "RS256"), "olma.jwt.expired"},
      {"not yet valid", Token(rs, claims(R"(,"exp":1800009999,"nbf":1800000061)"), "RS256"),
       "olma.jwt.not.yet.valid"},
      {"no exp", Token(rs, claims(""), "RS256"), "olma.jwt.missing.claim"},
      {"exp as text", Token(rs, claims(R"(,"exp":"1800009999")"), "RS256"), "olma.jwt.malformed"},
      {"other issuer",
       Token(rs, R"({"iss":"https://evil.example","aud":"orders","exp":1800009999})", "RS256"),
       "olma.jwt.issuer"},
      {"other audience",
       Token(rs, R"({"iss":"https://login.example","aud":["ordersx"],"exp":1800009999})", "RS256"),
       "olma.jwt.audience"},
      {"two segments", good.substr(0, good.rfind('.')), "olma.jwt.malformed"},
      {"four segments", good + ".x", "olma.jwt.malformed"},
      {"padding", good + "=", "olma.jwt.malformed"},
      {"header not JSON", Base64Url("{alg:RS256}") + good.substr(good.find('.')), "olma.jwt.malformed"},
      {"header an array", Base64Url(R"(["RS256"])") + good.substr(good.find('.')), "olma.jwt.malformed"},
      {"payload not JSON", Token(rs, "[1", "RS256"), "olma.jwt.malformed"},
      {"empty", "", "olma.jwt.malformed"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    Olma::MessageList messages;
    EXPECT_FALSE(verifier.Verify(c.token, kNow, messages));
    ASSERT_EQ(messages.size(), 1u);
    EXPECT_EQ(messages.front().id(), c.id) << messages.front().defaultMessage();
  }
  Olma::MessageList messages;
  EXPECT_TRUE(
      verifier.Verify(Token(rs, claims(R"(,"exp":1799999941,"nbf":1800000059)"), "RS256"), kNow, messages))
      << "inside the leeway";
  verifier.Verify(Token(rs, claims(R"(,"exp":1799999939)"), "RS256"), kNow, messages);
  EXPECT_EQ(messages.back().defaultMessage(), "Token expired at 1799999939");
}

TEST_F(JwtVerifierTest, KeysAreBoundToOneFittingAlgorithm) {
  struct Case {
    const char* file;
    JwtAlgorithm algorithm;
  };
  for (const Case c : {Case{"small.pub", JwtAlgorithm::RS256}, Case{"ec.pub", JwtAlgorithm::RS256},
                       Case{"rsa.pub", JwtAlgorithm::ES256}, Case{"p384.pub", JwtAlgorithm::ES256},
                       Case{"rsa.pub", JwtAlgorithm::HS256}, Case{"rsa.pem", JwtAlgorithm::HS256}}) {
    SCOPED_TRACE(std::string(c.file) + " as " + std::string(ToString(c.algorithm)));
    std::string error;
    EXPECT_FALSE(JwtKey::FromPublicKeyPem(Read(c.file), c.algorithm, error));
    EXPECT_FALSE(error.empty());
  }
  std::string error;
  EXPECT_FALSE(JwtKey::FromPublicKeyPem("-----BEGIN PUBLIC KEY-----\nAAAA\n-----END PUBLIC KEY-----\n",
                                        JwtAlgorithm::RS256, error));
  EXPECT_FALSE(JwtKey::FromSecret(Olma::SecretString(""), error));
}

TEST_F(JwtVerifierTest, VerifiesTheTokenOfTheJwtScheme) {
  JwtVerifierOptions options;
  options.keys = {Key(JwtAlgorithm::HS256)};
  options.requireExpiry = false;
  const JwtVerifier verifier(std::move(options));
  Olma::Core::SecurityContext context;
  Olma::MessageList messages;
  EXPECT_FALSE(verifier.Verify(context, messages));
  EXPECT_EQ(messages.front().id(), "olma.jwt.missing.claim");
  messages.clear();
  Olma::Core::JwtTokenSecurityContextBuilder(context).jwtToken(
      Token(R"({"alg":"HS256"})", R"({"sub":"bob"})", "HS256"));
  EXPECT_TRUE(verifier.Verify(context, messages));
  EXPECT_TRUE(messages.empty());
}

}  // namespace
