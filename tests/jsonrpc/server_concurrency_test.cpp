#include "olma/jsonrpc/server.h"

#include <atomic>
#include <chrono>
#include <future>
#include <mutex>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>
#include <boost/asio/connect.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/read_until.hpp>
#include <boost/asio/write.hpp>
#include <boost/beast/core.hpp>
#include <boost/beast/http.hpp>
#include <boost/json/parse.hpp>

#include "olma/data/compound_values.h"
#include "olma/data/definitions.h"
#include "olma/data/scalar_values.h"
#include "olma/invocation/method_result.h"
#include "olma/jsonrpc/function_method.h"
#include "olma/provider/call_dispatcher.h"
#include "olma/provider/interface_container.h"

namespace {

namespace net = boost::asio;
namespace http = boost::beast::http;
using tcp = net::ip::tcp;
using namespace Olma::Data;
using Olma::Core::MethodResult;

// Interface "t": echo {"n"} -> n at once; slow {"n"} -> n after 200 ms on a thread of its own.
Olma::Provider::CallDispatcher::PtrConstType MakeDispatcher() {
  const auto input = StructDefinition::GetInstance("in", {{"n", IntegerDefinition::GetInstance()}});
  auto echo = Olma::JsonRpc::FunctionMethod::GetInstance(
      "echo", input, IntegerDefinition::GetInstance(), {},
      [](const auto&, const auto& value, const auto& done) {
        (*done)(MethodResult::GetInstance(static_cast<const StructValue&>(*value).fields().at("n")));
      });
  auto slow = Olma::JsonRpc::FunctionMethod::GetInstance(
      "slow", input, IntegerDefinition::GetInstance(), {},
      [](const auto&, const auto& value, const auto& done) {
        std::thread([value, done] {
          std::this_thread::sleep_for(std::chrono::milliseconds(200));
          (*done)(MethodResult::GetInstance(static_cast<const StructValue&>(*value).fields().at("n")));
        }).detach();
      });
  return Olma::Provider::CallDispatcher::GetInstance(
      Olma::Provider::AsyncApiInterfaceConcurrentContainer<std::mutex>::GetInstance(
          {Olma::Provider::AsyncApiInterface::GetInstance(Olma::Core::InterfaceIdentifier::GetInstance("t"),
                                                          {echo, slow})}));
}

std::string Call(const char* method, long long n) {
  return std::string(R"({"version":"1.1","method":"t.)") + method + R"(","params":{"n":)" +
         std::to_string(n) + R"(},"id":)" + std::to_string(n) + "}";
}

http::request<http::string_body> Post(std::string body) {
  http::request<http::string_body> request(http::verb::post, "/", 11);
  request.set(http::field::host, "127.0.0.1");
  request.set(http::field::content_type, "application/json");
  request.body() = std::move(body);
  request.prepare_payload();
  return request;
}

// The id and the result of an answer; -1 when either is missing.
std::pair<long long, long long> IdAndResult(const std::string& body) {
  const auto answer = boost::json::parse(body);
  const auto* id = answer.as_object().if_contains("id");
  const auto* result = answer.as_object().if_contains("result");
  if (!id || !result || !id->is_int64() || !result->is_int64()) return {-1, -1};
  return {id->as_int64(), result->as_int64()};
}

TEST(ServerConcurrency, KeepAliveClientsEachGetTheirOwnAnswersOnce) {
  Olma::JsonRpc::ServerOptions options;
  options.threads = 3;
  Olma::JsonRpc::Server server(options, MakeDispatcher());
  boost::system::error_code ec;
  ASSERT_TRUE(server.Start(ec)) << ec.message();

  constexpr int kClients = 6;
  constexpr int kCalls = 60;
  std::atomic<int> good{0};
  std::vector<std::thread> clients;
  for (int client = 0; client < kClients; ++client) {
    clients.emplace_back([&, client] {
      net::io_context io;
      boost::beast::tcp_stream stream(io);
      stream.connect(tcp::endpoint(net::ip::make_address("127.0.0.1"), server.port()));
      boost::beast::flat_buffer buffer;
      for (int call = 0; call < kCalls; ++call) {
        const long long n = client * 1000 + call;
        http::write(stream, Post(Call("echo", n)));
        http::response<http::string_body> response;
        http::read(stream, buffer, response);
        if (response.keep_alive() && IdAndResult(response.body()) == std::make_pair(n, n)) ++good;
      }
    });
  }
  for (auto& client : clients) client.join();
  EXPECT_EQ(good, kClients * kCalls);
  server.Stop();
}

TEST(ServerConcurrency, PipelinedCallsAreAnsweredInOrder) {
  Olma::JsonRpc::Server server(Olma::JsonRpc::ServerOptions(), MakeDispatcher());
  boost::system::error_code ec;
  ASSERT_TRUE(server.Start(ec)) << ec.message();
  net::io_context io;
  boost::beast::tcp_stream stream(io);
  stream.connect(tcp::endpoint(net::ip::make_address("127.0.0.1"), server.port()));
  std::string batch;
  for (int n = 0; n < 40; ++n) {
    std::ostringstream text;
    text << Post(Call(n % 5 == 0 ? "slow" : "echo", n));
    batch += text.str();
  }
  net::write(stream.socket(), net::buffer(batch));
  boost::beast::flat_buffer buffer;
  for (long long n = 0; n < 40; ++n) {
    http::response<http::string_body> response;
    http::read(stream, buffer, response);
    EXPECT_EQ(IdAndResult(response.body()), std::make_pair(n, n));
  }
  server.Stop();
}

TEST(ServerConcurrency, StopAnswersCallsInFlightAndClosesIdleConnections) {
  Olma::JsonRpc::Server server(Olma::JsonRpc::ServerOptions(), MakeDispatcher());
  boost::system::error_code ec;
  ASSERT_TRUE(server.Start(ec)) << ec.message();
  const tcp::endpoint endpoint(net::ip::make_address("127.0.0.1"), server.port());

  net::io_context io;
  boost::beast::tcp_stream idle(io);
  idle.connect(endpoint);
  boost::beast::tcp_stream busy(io);
  busy.connect(endpoint);
  http::write(busy, Post(Call("slow", 42)));
  std::this_thread::sleep_for(std::chrono::milliseconds(50));  // the call is in flight

  auto stopped = std::async(std::launch::async, [&server] { server.Stop(); });
  boost::beast::flat_buffer buffer;
  http::response<http::string_body> response;
  http::read(busy, buffer, response);
  EXPECT_EQ(IdAndResult(response.body()), std::make_pair(42LL, 42LL));
  EXPECT_FALSE(response.keep_alive());  // a stopping server closes after the answer
  stopped.get();

  char byte;
  boost::system::error_code readError;
  idle.socket().read_some(net::buffer(&byte, 1), readError);
  EXPECT_EQ(readError, net::error::eof);
  // The port no longer accepts.
  boost::beast::tcp_stream late(io);
  boost::system::error_code connectError;
  late.socket().connect(endpoint, connectError);
  EXPECT_TRUE(connectError);
}

}  // namespace
