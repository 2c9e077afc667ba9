#include "olma/jsonrpc/server.h"

#include <algorithm>
#include <atomic>
#include <cctype>
#include <condition_variable>
#include <list>
#include <mutex>
#include <optional>
#include <thread>
#include <utility>
#include <vector>

#include <boost/asio/bind_executor.hpp>
#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/signal_set.hpp>
#include <boost/asio/strand.hpp>
#include <boost/beast/core.hpp>
#include <boost/beast/http.hpp>
#include <boost/json/value.hpp>

#include "olma/core/gzip.h"
#include "olma/data/compound_values.h"
#include "olma/data/definitions.h"
#include "olma/invocation/activation_helpers.h"
#include "olma/invocation/async_activation.h"
#include "olma/invocation/execution_context.h"
#include "olma/invocation/method_result.h"
#include "olma/jsonrpc/json_codec.h"
#include "olma/jsonrpc/protocol.h"
#include "olma/transport/http_constants.h"
#include "olma/transport/x_forwarded_for_parser.h"

namespace Olma {
namespace JsonRpc {
namespace {

namespace net = boost::asio;
namespace beast = boost::beast;
namespace http = beast::http;
using tcp = net::ip::tcp;
using Clock = std::chrono::steady_clock;

constexpr std::size_t kHeaderLimit = 16 * 1024;

std::string Lower(beast::string_view text) {
  std::string lower(text.data(), text.size());
  std::transform(lower.begin(), lower.end(), lower.begin(),
                 [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
  return lower;
}

bool NamesGzip(beast::string_view value) {
  return Lower(value).find("gzip") != std::string::npos;
}

std::string Outcome(const std::string& errorName) {
  if (errorName.empty()) return "success";
  if (errorName == kUnauthenticated) return "unauthenticated";
  if (errorName == kUnauthorized) return "unauthorized";
  return "failed";
}

// The declared definition of an error, so it is written as declared (secrets masked).
Data::DataDefinition::PtrConstType ErrorDefinitionFor(const Provider::AsyncApiMethod& method,
                                                      const std::string& name) {
  for (const Data::DataDefinition::PtrConstType& definition : method.errors()) {
    if (definition && definition->type() == Data::DataType::ERROR) {
      const auto& declared = static_cast<const Data::ErrorDefinition&>(*definition).name();
      if (declared && *declared == name) return definition;
    }
  }
  return nullptr;
}

}  // namespace

struct Server::Impl : std::enable_shared_from_this<Server::Impl> {
  class Session;

  Impl(ServerOptions serverOptions, Provider::CallDispatcher::PtrConstType callDispatcher)
      : options(std::move(serverOptions)),
        dispatcher(std::move(callDispatcher)),
        io(static_cast<int>(std::max(1u, options.threads))),
        acceptor(net::make_strand(io)),
        work(net::make_work_guard(io)) {}

  void Accept();
  std::vector<std::shared_ptr<Session>> OpenSessions();
  void Register(const std::shared_ptr<Session>& session);
  void Unregister();

  ServerOptions options;
  Provider::CallDispatcher::PtrConstType dispatcher;
  net::io_context io;
  tcp::acceptor acceptor;
  std::optional<net::signal_set> signals;
  net::executor_work_guard<net::io_context::executor_type> work;
  std::vector<std::thread> threads;
  std::atomic<bool> stopping{false};
  unsigned short boundPort = 0;

  std::mutex mutex;
  std::condition_variable drained;
  std::list<std::weak_ptr<Session>> sessions;
  std::size_t liveSessions = 0;
  bool stopRequested = false;
  bool stopped = false;
};

class Server::Impl::Session : public std::enable_shared_from_this<Session> {
 public:
  Session(std::shared_ptr<Impl> server, tcp::socket socket)
      : server_(std::move(server)), stream_(std::move(socket)) {
    boost::system::error_code ec;
    const tcp::endpoint peer = stream_.socket().remote_endpoint(ec);
    if (!ec) {
      peerAddress_ = peer.address().to_string();
      peerPort_ = peer.port();
    }
  }

  ~Session() { server_->Unregister(); }

  void Start() {
    net::dispatch(stream_.get_executor(), [self = shared_from_this()] { self->WaitForRequest(); });
  }

  // Runs on the connection's strand: closes it if it is waiting for a next request.
  void CloseIfIdle() {
    net::dispatch(stream_.get_executor(), [self = shared_from_this()] {
      if (self->idle_) self->Close();
    });
  }

  // Closes the connection whatever it is doing (a stop that ran out of patience).
  void ForceClose() {
    net::dispatch(stream_.get_executor(), [self = shared_from_this()] { self->Close(); });
  }

 private:
  void WaitForRequest() {
    if (server_->stopping) return Close();
    if (buffer_.size() > 0) return ReadHeader();  // a pipelined request is already here
    idle_ = true;
    stream_.expires_after(server_->options.idleTimeout);
    stream_.async_read_some(buffer_.prepare(4096),
                            [self = shared_from_this()](beast::error_code ec, std::size_t bytes) {
                              self->idle_ = false;
                              if (ec) return self->Close();
                              self->buffer_.commit(bytes);
                              self->ReadHeader();
                            });
  }

  void ReadHeader() {
    parser_.emplace();
    parser_->header_limit(kHeaderLimit);
    parser_->body_limit(server_->options.maxBodyBytes);
    stream_.expires_after(server_->options.requestTimeout);
    http::async_read_header(
        stream_, buffer_, *parser_,
        [self = shared_from_this()](beast::error_code ec, std::size_t) { self->OnHeader(ec); });
  }

  void OnHeader(beast::error_code ec) {
    if (ec) return OnReadError(ec);
    const auto& request = parser_->get();
    const auto expect = request.find(http::field::expect);
    if (expect != request.end() && Lower(expect->value()) == "100-continue") {
      if (parser_->content_length() && *parser_->content_length() > server_->options.maxBodyBytes) {
        return SendStatus(http::status::payload_too_large, "Request exceeds max size\n");
      }
      auto interim = std::make_shared<http::response<http::empty_body>>(http::status::continue_, 11);
      http::async_write(stream_, *interim,
                        [self = shared_from_this(), interim](beast::error_code error, std::size_t) {
                          if (error) return self->Close();
                          self->ReadBody();
                        });
      return;
    }
    ReadBody();
  }

  void ReadBody() {
    http::async_read(stream_, buffer_, *parser_,
                     [self = shared_from_this()](beast::error_code ec, std::size_t) {
                       if (ec) return self->OnReadError(ec);
                       self->stream_.expires_never();
                       self->Handle(self->parser_->release());
                     });
  }

  void OnReadError(beast::error_code ec) {
    if (ec == http::error::body_limit)
      return SendStatus(http::status::payload_too_large, "Request exceeds max size\n");
    if (ec == http::error::header_limit) {
      return SendStatus(http::status::request_header_fields_too_large, "Request header too large\n");
    }
    const bool malformed = ec.category() == http::make_error_code(http::error::bad_method).category() &&
                           ec != http::error::end_of_stream && ec != http::error::partial_message;
    if (malformed) {
      return SendStatus(http::status::bad_request, "Malformed request\n");
    }
    Close();  // timeout, reset, or a request cut short: nobody to answer
  }

  void Handle(http::request<http::string_body> request) {
    started_ = Clock::now();
    keepAlive_ = request.keep_alive();
    acceptGzip_ = NamesGzip(request[http::field::accept_encoding]);
    if (request.method() != http::verb::post) {
      return SendStatus(http::status::method_not_allowed, "Only POST is served\n", keepAlive_);
    }
    std::string body = std::move(request.body());
    const auto encoding = request.find(http::field::content_encoding);
    if (encoding != request.end() && Lower(encoding->value()) != "identity") {
      if (Lower(encoding->value()) != "gzip") {
        return SendStatus(http::status::unsupported_media_type, "Unsupported Content-Encoding\n", keepAlive_);
      }
      MessageList messages;
      std::string inflated =
          Gzip::Decompress(ByteVector(body.begin(), body.end()), messages, server_->options.maxBodyBytes);
      if (!messages.empty()) {
        if (messages.front().id() == "olma.decompress.limit.exceeded") {
          return SendStatus(http::status::payload_too_large, "Request exceeds max size\n");
        }
        return SendJson(
            Protocol::WriteError("null", ErrorCode::kParseError, kInvalidArgument, messages, nullptr));
      }
      body = std::move(inflated);
    }
    ProcessCall(request, body);
  }

  void ProcessCall(const http::request<http::string_body>& httpRequest, const std::string& body) {
    auto call = std::make_shared<Request>();
    ErrorCode code = ErrorCode::kInvalidRequest;
    MessageList messages;
    if (!Protocol::ParseRequest(body, server_->options.maxJsonDepth, *call, code, messages)) {
      return SendJson(Protocol::WriteError(call->idJson, code, kInvalidArgument, messages, nullptr));
    }

    // The call's context, from the request's headers.
    auto context = Core::ExecutionContext::GetInstance();
    std::vector<std::string> names;
    names.reserve(std::distance(httpRequest.begin(), httpRequest.end()));
    for (const auto& field : httpRequest) names.push_back(Lower(field.name_string()));
    std::vector<Transport::Header> headers;
    headers.reserve(names.size());
    std::size_t index = 0;
    std::string_view forwardedFor;
    for (const auto& field : httpRequest) {
      const std::string_view value(field.value().data(), field.value().size());
      headers.push_back(Transport::Header{names[index], value});
      if (names[index] == Transport::HttpConstants::HttpHeaderXForwardedFor()) forwardedFor = value;
      ++index;
    }
    std::error_code localeError;
    L10n::RequestLocalizer::PtrConstType localizer;

    Provider::CallDispatcher::Target target;
    if (!server_->dispatcher->Resolve(call->method, target, messages)) {
      localizer = EarlyLocalizer(*context, headers);
      return SendJson(Protocol::WriteError(call->idJson, ErrorCode::kMethodNotFound, kOperationNotFound,
                                           messages, localizer.get()));
    }
    if (!Provider::JsonRpc1_1::UpdateExecutionCtxHelper::Update(
            std::make_shared<Transport::VectorHeaderRange>(headers), *target.identifier, *context,
            server_->options.updaters)) {
      messages.push_back(Message<CoreTag>("olma.invalid.request"));
      return SendJson(Protocol::WriteError(call->idJson, ErrorCode::kInvalidRequest, kInvalidArgument,
                                           messages, nullptr));
    }
    if (server_->options.localizer) {
      localizer = L10n::RequestLocalizer::FromContext(server_->options.localizer, *context, localeError);
    }

    static const boost::json::value kNoParams = boost::json::object();
    Data::DataValue::PtrConstType input =
        JsonCodec::FromJson(call->params ? *call->params : kNoParams, target.method->input(), messages);
    if (!messages.empty()) {
      messages.push_front(Message<CoreTag>("olma.invoke.invalid.input", target.identifier->ToString()));
      return SendJson(Protocol::WriteError(call->idJson, ErrorCode::kInvalidParams, kInvalidArgument,
                                           messages, localizer.get()));
    }

    // The client: the nearest non-loopback proxy entry, else the connection's peer.
    std::optional<Api::Utils::XForwardedForParser::ForwardedPeerInfo> forwarded;
    if (!forwardedFor.empty())
      Api::Utils::XForwardedForParser::FindRightMostRemotePeer(forwardedFor, forwarded);
    const std::string clientAddress = forwarded ? forwarded->address : peerAddress_;
    const std::uint32_t clientPort = forwarded ? forwarded->port.value_or(0) : peerPort_;
    Core::ActivationHelpers::SetPeerTcpBindingInfo(*context, {clientAddress, clientPort});

    auto activation = Core::AsyncActivation::GetInstance(context);
    if (localizer) activation->requestLocalizer(localizer);

    auto resultCb = std::make_shared<Core::AsyncApiResultCb>(
        [self = shared_from_this(), call, target, localizer, clientAddress](
            const Core::MethodResult::PtrConstType& result, const Core::Progress&,
            const Core::AsyncApiResultCb::Continuation&) {
          if (!result) return;  // progress: the answer is the final result
          net::post(self->stream_.get_executor(), [self, call, target, localizer, clientAddress, result] {
            self->Answer(*call, target, localizer.get(), clientAddress, result);
          });
        });
    server_->dispatcher->Invoke(target, input, activation, resultCb);
  }

  // The request localizer for answers given before the method is known.
  L10n::RequestLocalizer::PtrConstType EarlyLocalizer(Core::ExecutionContext& context,
                                                      const std::vector<Transport::Header>& headers) const {
    if (!server_->options.localizer) return nullptr;
    for (const Transport::Header& header : headers) {
      if (header.name == Transport::HttpConstants::HttpHeaderAcceptLanguage()) {
        Provider::JsonRpc1_1::UpdateExecutionCtxHelper::UpdateAppCtxField(context.applicationContext(),
                                                                          "accept-language", header.value);
      }
    }
    std::error_code ec;
    return L10n::RequestLocalizer::FromContext(server_->options.localizer, context, ec);
  }

  void Answer(const Request& call, const Provider::CallDispatcher::Target& target,
              const L10n::RequestLocalizer* localizer, const std::string& clientAddress,
              const Core::MethodResult::PtrConstType& result) {
    std::string errorName;
    std::string body;
    if (result->isError()) {
      const Data::ErrorValue::PtrConstType& error = result->error();
      errorName = error ? error->name() : std::string(kInternalServerError);
      body = error ? Protocol::WriteError(call.idJson, Protocol::CodeForError(errorName), error,
                                          ErrorDefinitionFor(*target.method, errorName), localizer)
                   : Protocol::WriteError(call.idJson, ErrorCode::kInternalError, kInternalServerError, {},
                                          localizer);
    } else {
      body = Protocol::WriteResult(call.idJson, result->output(), target.method->output());
    }
    if (server_->options.callLog) {
      server_->options.callLog(
          CallRecord{call.method, clientAddress, Outcome(errorName), errorName,
                     std::chrono::duration_cast<std::chrono::microseconds>(Clock::now() - started_)});
    }
    SendJson(std::move(body));
  }

  void SendJson(std::string body) {
    auto response = std::make_shared<http::response<http::string_body>>(http::status::ok, 11);
    response->set(http::field::content_type, "application/json");
    if (acceptGzip_ && body.size() >= server_->options.gzipMinBytes) {
      MessageList messages;
      ByteVector packed = Gzip::Compress(body, messages, 6);
      if (messages.empty()) {
        body.assign(packed.begin(), packed.end());
        response->set(http::field::content_encoding, "gzip");
      }
      response->set(http::field::vary, "Accept-Encoding");
    }
    response->body() = std::move(body);
    Send(std::move(response), keepAlive_);
  }

  void SendStatus(http::status status, std::string_view text, bool keepAlive = false) {
    auto response = std::make_shared<http::response<http::string_body>>(status, 11);
    response->set(http::field::content_type, "text/plain");
    if (status == http::status::method_not_allowed) response->set(http::field::allow, "POST");
    response->body() = std::string(text);
    Send(std::move(response), keepAlive);
  }

  void Send(std::shared_ptr<http::response<http::string_body>> response, bool keepAlive) {
    keepAlive = keepAlive && !server_->stopping;
    response->keep_alive(keepAlive);
    response->prepare_payload();
    stream_.expires_after(server_->options.requestTimeout);
    http::async_write(stream_, *response,
                      [self = shared_from_this(), response, keepAlive](beast::error_code ec, std::size_t) {
                        if (ec || !keepAlive) return self->Close();
                        self->WaitForRequest();
                      });
  }

  void Close() {
    beast::error_code ignored;
    stream_.socket().shutdown(tcp::socket::shutdown_send, ignored);
    stream_.socket().close(ignored);
  }

  std::shared_ptr<Impl> server_;
  beast::tcp_stream stream_;
  beast::flat_buffer buffer_;
  std::optional<http::request_parser<http::string_body>> parser_;
  std::string peerAddress_;
  std::uint32_t peerPort_ = 0;
  Clock::time_point started_;
  bool idle_ = false;
  bool keepAlive_ = false;
  bool acceptGzip_ = false;
};

void Server::Impl::Accept() {
  acceptor.async_accept(net::make_strand(io),
                        [self = shared_from_this()](beast::error_code ec, tcp::socket socket) {
                          if (ec || self->stopping) return;  // the acceptor was closed
                          auto session = std::make_shared<Session>(self, std::move(socket));
                          self->Register(session);
                          session->Start();
                          self->Accept();
                        });
}

void Server::Impl::Register(const std::shared_ptr<Session>& session) {
  std::lock_guard<std::mutex> lock(mutex);
  ++liveSessions;
  sessions.remove_if([](const std::weak_ptr<Session>& entry) { return entry.expired(); });
  sessions.push_back(session);
}

void Server::Impl::Unregister() {
  std::lock_guard<std::mutex> lock(mutex);
  --liveSessions;
  drained.notify_all();
}

Server::Server(ServerOptions options, Provider::CallDispatcher::PtrConstType dispatcher)
    : impl_(std::make_shared<Impl>(std::move(options), std::move(dispatcher))) {}

Server::~Server() {
  Stop();
}

bool Server::Start(boost::system::error_code& ec) {
  const auto address = net::ip::make_address(impl_->options.address, ec);
  if (ec) return false;
  const tcp::endpoint endpoint(address, impl_->options.port);
  impl_->acceptor.open(endpoint.protocol(), ec);
  if (!ec) impl_->acceptor.set_option(net::socket_base::reuse_address(true), ec);
  if (!ec) impl_->acceptor.bind(endpoint, ec);
  if (!ec) impl_->acceptor.listen(net::socket_base::max_listen_connections, ec);
  if (ec) return false;
  impl_->boundPort = impl_->acceptor.local_endpoint().port();
  if (impl_->options.stopOnSignals) {
    impl_->signals.emplace(impl_->acceptor.get_executor(), SIGTERM, SIGINT);
    impl_->signals->async_wait([impl = impl_](beast::error_code signalError, int) {
      if (signalError) return;  // cancelled by Stop
      std::lock_guard<std::mutex> lock(impl->mutex);
      impl->stopRequested = true;
      impl->drained.notify_all();
    });
  }
  impl_->Accept();
  for (unsigned i = 0; i < std::max(1u, impl_->options.threads); ++i) {
    impl_->threads.emplace_back([impl = impl_] { impl->io.run(); });
  }
  return true;
}

unsigned short Server::port() const noexcept {
  return impl_->boundPort;
}

std::vector<std::shared_ptr<Server::Impl::Session>> Server::Impl::OpenSessions() {
  std::vector<std::shared_ptr<Session>> open;
  std::lock_guard<std::mutex> lock(mutex);
  for (const auto& entry : sessions) {
    if (auto session = entry.lock()) open.push_back(std::move(session));
  }
  return open;
}

void Server::Stop() {
  if (impl_->threads.empty()) {  // never started: nothing runs, nothing to drain
    impl_->stopping = true;
    return;
  }
  if (impl_->stopping.exchange(true)) {
    // A second caller waits for the first to finish.
    std::unique_lock<std::mutex> lock(impl_->mutex);
    impl_->drained.wait(lock, [this] { return impl_->stopped; });
    return;
  }
  net::dispatch(impl_->acceptor.get_executor(), [impl = impl_] {
    beast::error_code ignored;
    impl->acceptor.close(ignored);
    if (impl->signals) impl->signals->cancel(ignored);
  });
  for (const auto& session : impl_->OpenSessions()) session->CloseIfIdle();
  bool drained = false;
  {
    std::unique_lock<std::mutex> lock(impl_->mutex);
    drained = impl_->drained.wait_for(lock, impl_->options.drainTimeout,
                                      [this] { return impl_->liveSessions == 0; });
  }
  if (!drained) {
    for (const auto& session : impl_->OpenSessions()) session->ForceClose();
  }
  // Without the guard the threads return once the last connection's handlers have run.
  impl_->work.reset();
  for (std::thread& thread : impl_->threads) {
    if (thread.joinable()) thread.join();
  }
  std::lock_guard<std::mutex> lock(impl_->mutex);
  impl_->stopped = true;
  impl_->drained.notify_all();
}

void Server::RequestStop() {
  std::lock_guard<std::mutex> lock(impl_->mutex);
  impl_->stopRequested = true;
  impl_->drained.notify_all();
}

void Server::Wait() {
  {
    std::unique_lock<std::mutex> lock(impl_->mutex);
    impl_->drained.wait(lock, [this] { return impl_->stopRequested || impl_->stopped; });
  }
  Stop();
}

}  // namespace JsonRpc
}  // namespace Olma
