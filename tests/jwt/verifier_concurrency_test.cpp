#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "core/external_tool.h"
#include "olma/core/base64.h"
#include "olma/jwt/verifier.h"

namespace {

using namespace Olma::Jwt;

std::string Base64Url(std::string_view bytes) {
  std::string text = Olma::Base64::Encode(Olma::ByteVector(bytes.begin(), bytes.end()));
  while (!text.empty() && text.back() == '=') text.pop_back();
  for (char& c : text) c = c == '+' ? '-' : c == '/' ? '_' : c;
  return text;
}

// One verifier and one key shared by threads that verify good and forged tokens at once.
TEST(JwtVerifierConcurrency, ThreadsShareOneVerifier) {
  const std::string input =
      Base64Url(R"({"alg":"HS256"})") + "." + Base64Url(R"({"sub":"ann","exp":1800000100})");
  const auto mac = OlmaTest::RunTool("openssl dgst -sha256 -binary -hmac concurrency-secret", input);
  ASSERT_EQ(mac.first, 0);
  const std::string good = input + "." + Base64Url(mac.second);
  const std::string forged = input + "." + Base64Url(std::string(32, 'x'));

  std::string error;
  JwtVerifierOptions options;
  options.keys.push_back(JwtKey::FromSecret(Olma::SecretString("concurrency-secret"), error));
  const JwtVerifier verifier(std::move(options));

  constexpr int kThreads = 4;
  std::vector<int> failures(kThreads, 0);
  std::vector<std::thread> threads;
  for (int t = 0; t < kThreads; ++t) {
    threads.emplace_back([&, t] {
      for (int i = 0; i < 200; ++i) {
        Olma::MessageList messages;
        const bool accepted = static_cast<bool>(verifier.Verify(good, 1800000000, messages));
        const bool refused = !verifier.Verify(forged, 1800000000, messages);
        if (!accepted || !refused || messages.size() != 1) ++failures[t];
      }
    });
  }
  for (auto& thread : threads) thread.join();
  for (int t = 0; t < kThreads; ++t) EXPECT_EQ(failures[t], 0) << "thread " << t;
}

}  // namespace
