// Server: JSON-RPC 1.1 over HTTP/1.1 for the interfaces of the library's dispatcher
// (Olma::Provider::CallDispatcher).
//
//   auto container = Olma::Provider::AsyncApiInterfaceConcurrentContainer<std::mutex>::GetInstance();
//   Olma::Provider::CallDispatcherOptions checks;
//   checks.maxInputFailures = 100;             // bound what a hostile input costs
//   auto dispatcher = Olma::Provider::CallDispatcher::GetInstance(container, {}, checks);
//   container->Add(tasksApi, messages);
//
//   Olma::JsonRpc::ServerOptions options;
//   options.port = 8080;                       // 0: any free port, see port()
//   options.localizer = localizer;             // optional: "localized" texts in errors
//   Olma::JsonRpc::Server server(options, dispatcher);
//   boost::system::error_code ec;
//   if (!server.Start(ec)) Fail(ec);
//   server.Wait();                            // until SIGTERM or SIGINT (stopOnSignals),
//                                             // or RequestStop(); then a graceful stop
//
// Each POST body is one call (see Protocol). The request's header names are lower-cased and
// fed through UpdateExecutionCtxHelper::Update into the call's execution context, together
// with the configured updaters; the client's address (the right-most non-loopback entry of
// "x-forwarded-for", else the connection's peer) is stored as "tcp_peer_binding_info". The
// call then goes through the dispatcher, and its answer is written back with the method's
// definitions. Connections are kept alive; pipelined requests are answered in order, one
// at a time per connection, so no answer is lost or doubled.
//
// Limits and failures, answered without reaching a handler:
//  - a body longer than maxBodyBytes (as sent or once inflated): 413, connection closed;
//  - a request line and headers beyond 16 KiB: 431; a malformed request: 400; both close;
//  - a method other than POST: 405; a Content-Encoding other than gzip or identity: 415;
//  - no first byte within idleTimeout, or the rest of the request not within
//    requestTimeout: the connection is closed (no thread waits for a slow client: all I/O
//    is asynchronous on a pool of `threads` threads, each serving its own connections).
//    Deadlines are checked every eighth of the shorter timeout (between 5 and 250 ms), so
//    a connection may outlive its deadline by that much. An answer being written must
//    also be taken by the client within requestTimeout;
//  - JSON nested deeper than maxJsonDepth, malformed JSON, wrong call shapes: JSON-RPC errors.
//  - an input that fails the method's input check: the dispatcher's error, whose messages
//    are bounded by the dispatcher's CallDispatcherOptions::maxInputFailures.
// Bodies with "Content-Encoding: gzip" are inflated with Olma::Gzip under the body ceiling;
// answers of gzipMinBytes or more are compressed when "Accept-Encoding" names gzip.
//
// Stop (also run by Wait and the destructor) stops accepting, closes idle
// connections, lets calls in flight finish and answers them (with "Connection: close"),
// waits up to drainTimeout for them, then stops the threads.
//
// Thread safety: Start, Stop and Wait are for the owning thread, RequestStop for any; the call log is
// called from the I/O threads, one call at a time per connection but concurrently across
// connections.
#pragma once

#include <chrono>
#include <cstddef>
#include <functional>
#include <memory>
#include <string>

#include <boost/system/error_code.hpp>

#include "olma/core/export.h"
#include "olma/l10n/localizer.h"
#include "olma/provider/call_dispatcher.h"
#include "olma/transport/update_execution_ctx_helper.h"

namespace Olma {
namespace JsonRpc {

// What the call log is told about each answered call.
struct CallRecord {
  std::string method;         // as requested
  std::string clientAddress;  // "203.0.113.9" or "[::1]:52000"-like text of the peer
  std::string outcome;        // "success", "unauthenticated", "unauthorized", "failed"
  std::string errorName;      // empty on success
  std::chrono::microseconds duration{0};
};

struct ServerOptions {
  std::string address = "127.0.0.1";
  unsigned short port = 0;
  unsigned threads = 2;
  std::size_t maxBodyBytes = std::size_t{1} << 20;
  std::size_t maxJsonDepth = 64;
  std::size_t gzipMinBytes = 1024;
  std::chrono::milliseconds idleTimeout{30000};
  std::chrono::milliseconds requestTimeout{10000};
  std::chrono::milliseconds drainTimeout{30000};
  // Localises the messages of error answers for the request's Accept-Language; optional.
  L10n::Localizer::PtrConstType localizer;
  // Extra header readers run after the standard mapping.
  Provider::JsonRpc1_1::UpdateExecutionCtxHelper::Updaters updaters;
  // Told about every call that reached the dispatcher; optional.
  std::function<void(const CallRecord&)> callLog;
  // Start catches SIGTERM and SIGINT and turns them into a stop request for Wait.
  bool stopOnSignals = false;
};

class OLMA_API Server {
 public:
  Server(ServerOptions options, Provider::CallDispatcher::PtrConstType dispatcher);
  ~Server();
  Server(const Server&) = delete;
  Server& operator=(const Server&) = delete;

  // Binds, listens and starts the I/O threads. False with `ec` set when the address cannot
  // be bound.
  bool Start(boost::system::error_code& ec);
  // The bound port (the chosen one when options.port was 0).
  unsigned short port() const noexcept;
  // The graceful stop described above; idempotent.
  void Stop();
  // Asks Wait to return and stop the server. Not async-signal-safe: use stopOnSignals for signals.
  void RequestStop();
  // Blocks until a stop is requested (a signal with stopOnSignals, or RequestStop), then stops.
  void Wait();

 private:
  struct Impl;
  std::shared_ptr<Impl> impl_;
};

}  // namespace JsonRpc
}  // namespace Olma
