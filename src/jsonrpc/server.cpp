#include "olma/jsonrpc/server.h"

#include <algorithm>
#include <atomic>
#include <cctype>
#include <charconv>
#include <condition_variable>
#include <mutex>
#include <optional>
#include <thread>
#include <utility>
#include <vector>

#include <boost/asio/dispatch.hpp>
#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/post.hpp>
#include <boost/asio/signal_set.hpp>
#include <boost/asio/steady_timer.hpp>
#include <boost/asio/write.hpp>
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

// Each I/O thread owns an io_context with its connections: a connection lives on one thread
// from accept to close, so its handlers need no strand and the scheduler no lock between
// threads. Timeouts are deadlines that a periodic sweep per thread compares with the clock;
// moving a deadline is a store, not a timer re-arm, which matters when it moves twice a
// request.
struct Server::Impl : std::enable_shared_from_this<Server::Impl> {
  class Session;

  struct Worker {
    Worker() : io(1), sweep(io), guard(net::make_work_guard(io)) {}

    net::io_context io;
    net::steady_timer sweep;
    net::executor_work_guard<net::io_context::executor_type> guard;
    // The connections of this thread; touched only on it.
    std::vector<std::weak_ptr<Session>> sessions;
    std::thread thread;
  };

  Impl(ServerOptions serverOptions, Provider::CallDispatcher::PtrConstType callDispatcher);

  void Accept();
  void Sweep(Worker& worker);
  // Runs `action` on every open connection, on the connection's own thread.
  template <typename Action>
  void ForEachSession(Action action);
  void Register();
  void Unregister();

  ServerOptions options;
  Provider::CallDispatcher::PtrConstType dispatcher;
  std::vector<std::unique_ptr<Worker>> workers;
  tcp::acceptor acceptor;
  std::size_t nextWorker = 0;  // only the acceptor's handler touches it
  std::optional<net::signal_set> signals;
  std::chrono::milliseconds sweepInterval;
  std::atomic<bool> stopping{false};
  unsigned short boundPort = 0;

  std::mutex mutex;
  std::condition_variable drained;
  std::size_t liveSessions = 0;
  bool stopRequested = false;
  bool stopped = false;
};

class Server::Impl::Session : public std::enable_shared_from_this<Session> {
 public:
  Session(std::shared_ptr<Impl> server, Worker& worker, tcp::socket socket)
      : server_(std::move(server)), worker_(worker), socket_(std::move(socket)) {
    boost::system::error_code ec;
    const tcp::endpoint peer = socket_.remote_endpoint(ec);
    if (!ec) {
      peerAddress_ = peer.address().to_string();
      peerPort_ = peer.port();
    }
    // Answers are written at once and only wait when the socket is not ready.
    socket_.non_blocking(true, ec);
    server_->Register();
  }

  ~Session() { server_->Unregister(); }

  void Start() {
    net::dispatch(socket_.get_executor(), [self = shared_from_this()] {
      self->worker_.sessions.push_back(self);
      self->WaitForRequest();
    });
  }

  // Called on the connection's thread by the sweep.
  void CheckDeadline(Clock::time_point now) {
    if (now >= deadline_) Close();
  }

  // Closes the connection if it is waiting for a next request (a stop in progress).
  void CloseIfIdle() {
    if (idle_) Close();
  }

  // Closes the connection whatever it is doing (a stop that ran out of patience).
  void Close() {
    if (closed_) return;
    closed_ = true;
    deadline_ = Clock::time_point::max();
    beast::error_code ignored;
    socket_.shutdown(tcp::socket::shutdown_send, ignored);
    socket_.close(ignored);
  }

 private:
  static constexpr std::size_t kReadChunk = 16 * 1024;

  void WaitForRequest() {
    if (server_->stopping) return Close();
    if (buffer_.size() > 0) {  // a pipelined request is already here
      BeginRequest();
      return Parse();
    }
    idle_ = true;
    deadline_ = Clock::now() + server_->options.idleTimeout;
    WaitForBytes();
  }

  void BeginRequest() {
    idle_ = false;
    deadline_ = Clock::now() + server_->options.requestTimeout;
    parser_.emplace();
    parser_->header_limit(kHeaderLimit);
    parser_->body_limit(server_->options.maxBodyBytes);
    headerSeen_ = false;
  }

  // Once a read drained the socket, the event loop queues the next one without a system
  // call and performs it when the socket becomes readable: one read per request.
  void WaitForBytes() {
    socket_.async_read_some(buffer_.prepare(kReadChunk),
                            [self = shared_from_this()](beast::error_code ec, std::size_t bytes) {
                              if (ec || self->closed_) return self->Close();  // hung up, reset or closed
                              self->buffer_.commit(bytes);
                              if (self->idle_) self->BeginRequest();
                              self->Parse();
                            });
  }

  void Parse() {
    beast::error_code ec;
    while (!parser_->is_done()) {
      if (buffer_.size() == 0) return WaitForBytes();
      buffer_.consume(parser_->put(buffer_.data(), ec));
      if (ec == http::error::need_more) return WaitForBytes();
      if (ec) return OnReadError(ec);
      if (!headerSeen_ && parser_->is_header_done()) {
        headerSeen_ = true;
        if (ExpectsContinue()) return;
      }
    }
    deadline_ = Clock::time_point::max();  // the handler's time is not the client's
    Handle(parser_->release());
  }

  // Answers "Expect: 100-continue" before the body is read; true when the parse goes on
  // after that answer (or a refusal) is written.
  bool ExpectsContinue() {
    const auto& request = parser_->get();
    const auto expect = request.find(http::field::expect);
    if (expect == request.end() || Lower(expect->value()) != "100-continue") return false;
    if (parser_->content_length() && *parser_->content_length() > server_->options.maxBodyBytes) {
      SendStatus(http::status::payload_too_large, "Request exceeds max size\n");
      return true;
    }
    Write(std::string("HTTP/1.1 100 Continue\r\n\r\n"), [](Session& self) { self.Parse(); });
    return true;
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
    Close();  // a request cut short: nobody to answer
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
          net::dispatch(self->socket_.get_executor(), [self, call, target, localizer, clientAddress, result] {
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
    const char* encoding = nullptr;
    if (acceptGzip_ && body.size() >= server_->options.gzipMinBytes) {
      MessageList messages;
      ByteVector packed = Gzip::Compress(body, messages, 6);
      if (messages.empty()) {
        body.assign(packed.begin(), packed.end());
        encoding = "gzip";
      }
    }
    Send(http::status::ok, "application/json", body, keepAlive_, encoding, acceptGzip_);
  }

  void SendStatus(http::status status, std::string_view text, bool keepAlive = false) {
    Send(status, "text/plain", text, keepAlive, nullptr, false);
  }

  // Writes a whole response; the connection then waits for the next request or closes.
  void Send(http::status status, std::string_view contentType, std::string_view body, bool keepAlive,
            const char* contentEncoding, bool varies) {
    keepAlive = keepAlive && !server_->stopping;
    std::string response = ResponseHead(status, contentType, body.size(), keepAlive, contentEncoding, varies);
    response.append(body);
    if (!keepAlive) return Write(std::move(response), [](Session& self) { self.Close(); });
    Write(std::move(response), [](Session& self) { self.WaitForRequest(); });
  }

  static std::string ResponseHead(http::status status, std::string_view contentType, std::size_t length,
                                  bool keepAlive, const char* contentEncoding, bool varies) {
    std::string head;
    head.reserve(160 + length);
    head.append("HTTP/1.1 ");
    char number[24];
    head.append(number, std::to_chars(number, number + sizeof number, static_cast<unsigned>(status)).ptr);
    head.push_back(' ');
    const beast::string_view reason = http::obsolete_reason(status);
    head.append(reason.data(), reason.size());
    head.append("\r\nContent-Type: ").append(contentType);
    head.append("\r\nContent-Length: ");
    head.append(number, std::to_chars(number, number + sizeof number, length).ptr);
    if (status == http::status::method_not_allowed) head.append("\r\nAllow: POST");
    if (contentEncoding) head.append("\r\nContent-Encoding: ").append(contentEncoding);
    if (varies) head.append("\r\nVary: Accept-Encoding");
    if (!keepAlive) head.append("\r\nConnection: close");
    head.append("\r\n\r\n");
    return head;
  }

  // Writes `bytes`, then runs `next`. A socket that takes everything at once (the usual case
  // for an answer) needs no trip through the event loop; only the rest of a partial write waits.
  void Write(std::string bytes, void (*next)(Session&)) {
    out_ = std::move(bytes);
    deadline_ = Clock::now() + server_->options.requestTimeout;
    beast::error_code ec;
    const std::size_t written = socket_.write_some(net::buffer(out_), ec);
    if (ec && ec != net::error::would_block) return Close();
    if (!ec && written == out_.size()) {
      // Requests already buffered are parsed from the event loop, so that a client
      // pipelining thousands of requests cannot deepen this call stack.
      if (buffer_.size() > 0) {
        return net::post(socket_.get_executor(), [self = shared_from_this(), next] { next(*self); });
      }
      return next(*this);
    }
    net::async_write(socket_, net::buffer(out_.data() + written, out_.size() - written),
                     [self = shared_from_this(), next](beast::error_code error, std::size_t) {
                       if (error) return self->Close();
                       next(*self);
                     });
  }

  std::shared_ptr<Impl> server_;
  Worker& worker_;
  tcp::socket socket_;
  beast::flat_buffer buffer_;
  std::optional<http::request_parser<http::string_body>> parser_;
  std::string out_;
  std::string peerAddress_;
  std::uint32_t peerPort_ = 0;
  Clock::time_point started_;
  Clock::time_point deadline_ = Clock::time_point::max();
  bool idle_ = false;
  bool headerSeen_ = false;
  bool closed_ = false;
  bool keepAlive_ = false;
  bool acceptGzip_ = false;
};

Server::Impl::Impl(ServerOptions serverOptions, Provider::CallDispatcher::PtrConstType callDispatcher)
    : options(std::move(serverOptions)),
      dispatcher(std::move(callDispatcher)),
      workers([this] {
        std::vector<std::unique_ptr<Worker>> made;
        for (unsigned i = 0; i < std::max(1u, options.threads); ++i)
          made.push_back(std::make_unique<Worker>());
        return made;
      }()),
      acceptor(workers.front()->io),
      sweepInterval(std::clamp(std::min(options.idleTimeout, options.requestTimeout) / 8,
                               std::chrono::milliseconds(5), std::chrono::milliseconds(250))) {}

void Server::Impl::Accept() {
  Worker& worker = *workers[nextWorker];
  nextWorker = (nextWorker + 1) % workers.size();
  acceptor.async_accept(worker.io,
                        [self = shared_from_this(), &worker](beast::error_code ec, tcp::socket socket) {
                          if (ec || self->stopping) return;  // the acceptor was closed
                          std::make_shared<Session>(self, worker, std::move(socket))->Start();
                          self->Accept();
                        });
}

void Server::Impl::Sweep(Worker& worker) {
  worker.sweep.expires_after(sweepInterval);
  worker.sweep.async_wait([self = shared_from_this(), &worker](beast::error_code ec) {
    if (ec) return;  // cancelled: the server is stopping its threads
    const Clock::time_point now = Clock::now();
    auto& sessions = worker.sessions;
    sessions.erase(std::remove_if(sessions.begin(), sessions.end(),
                                  [now](const std::weak_ptr<Session>& entry) {
                                    const auto session = entry.lock();
                                    if (session) session->CheckDeadline(now);
                                    return !session;
                                  }),
                   sessions.end());
    self->Sweep(worker);
  });
}

template <typename Action>
void Server::Impl::ForEachSession(Action action) {
  for (const auto& worker : workers) {
    net::post(worker->io, [worker = worker.get(), action] {
      for (const auto& entry : worker->sessions) {
        if (const auto session = entry.lock()) action(*session);
      }
    });
  }
}

void Server::Impl::Register() {
  std::lock_guard<std::mutex> lock(mutex);
  ++liveSessions;
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
  for (const auto& worker : impl_->workers) {
    impl_->Sweep(*worker);
    worker->thread = std::thread([worker = worker.get()] { worker->io.run(); });
  }
  return true;
}

unsigned short Server::port() const noexcept {
  return impl_->boundPort;
}

void Server::Stop() {
  if (!impl_->workers.front()->thread.joinable()) {  // never started: nothing runs, nothing to drain
    impl_->stopping = true;
    return;
  }
  if (impl_->stopping.exchange(true)) {
    // A second caller waits for the first to finish.
    std::unique_lock<std::mutex> lock(impl_->mutex);
    impl_->drained.wait(lock, [this] { return impl_->stopped; });
    return;
  }
  net::post(impl_->acceptor.get_executor(), [impl = impl_] {
    beast::error_code ignored;
    impl->acceptor.close(ignored);
    if (impl->signals) impl->signals->cancel(ignored);
  });
  impl_->ForEachSession([](Impl::Session& session) { session.CloseIfIdle(); });
  bool drained = false;
  {
    std::unique_lock<std::mutex> lock(impl_->mutex);
    drained = impl_->drained.wait_for(lock, impl_->options.drainTimeout,
                                      [this] { return impl_->liveSessions == 0; });
  }
  if (!drained) impl_->ForEachSession([](Impl::Session& session) { session.Close(); });
  // Without the guard and the sweep, a thread returns once its last connection's handlers ran.
  for (const auto& worker : impl_->workers) {
    net::post(worker->io, [worker = worker.get()] {
      worker->sweep.cancel();
      worker->guard.reset();
    });
  }
  for (const auto& worker : impl_->workers) worker->thread.join();
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
