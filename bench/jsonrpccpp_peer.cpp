// The load benchmark's peer: libjsonrpccpp's HTTP server with the tasks service's "create"
// method and hand-written parameter checks, doing the same work as the example server
// (check the three fields, store the task under a lock, answer with the stored task).
//
//   jsonrpccpp_peer PORT THREADS
//
// libjsonrpccpp 0.7 binds every interface; scripts/load_bench.sh runs it inside a network
// namespace that has only loopback.
#include <csignal>
#include <cstdlib>
#include <iostream>
#include <map>
#include <mutex>
#include <string>

#include <jsonrpccpp/server.h>
#include <jsonrpccpp/server/connectors/httpserver.h>

namespace {

class TasksPeer : public jsonrpc::AbstractServer<TasksPeer> {
 public:
  explicit TasksPeer(jsonrpc::HttpServer& connector)
      : jsonrpc::AbstractServer<TasksPeer>(connector, jsonrpc::JSONRPC_SERVER_V1V2) {
    bindAndAddMethod(jsonrpc::Procedure("com.example.tasks.create", jsonrpc::PARAMS_BY_NAME,
                                        jsonrpc::JSON_OBJECT, "title", jsonrpc::JSON_STRING, nullptr),
                     &TasksPeer::Create);
  }

  void Create(const Json::Value& params, Json::Value& result) {
    // The checks a hand-written service makes: types of the optional fields, no extra field.
    for (const auto& name : params.getMemberNames()) {
      if (name != "title" && name != "priority" && name != "tags") {
        throw jsonrpc::JsonRpcException(jsonrpc::Errors::ERROR_RPC_INVALID_PARAMS, "extra field " + name);
      }
    }
    const Json::Value& priority = params["priority"];
    if (!priority.isNull() && !priority.isInt64()) {
      throw jsonrpc::JsonRpcException(jsonrpc::Errors::ERROR_RPC_INVALID_PARAMS, "priority");
    }
    const Json::Value& tags = params["tags"];
    if (!tags.isNull()) {
      if (!tags.isArray()) throw jsonrpc::JsonRpcException(jsonrpc::Errors::ERROR_RPC_INVALID_PARAMS, "tags");
      for (const auto& tag : tags) {
        if (!tag.isString())
          throw jsonrpc::JsonRpcException(jsonrpc::Errors::ERROR_RPC_INVALID_PARAMS, "tags");
      }
    }
    Json::Value task;
    task["title"] = params["title"];
    task["priority"] = priority.isNull() ? Json::Value(3) : priority;
    task["tags"] = tags.isNull() ? Json::Value(Json::arrayValue) : tags;
    {
      std::lock_guard<std::mutex> lock(mutex_);
      task["id"] = Json::Value::Int64(++lastId_);
      tasks_[lastId_] = task;
    }
    result = task;
  }

 private:
  std::mutex mutex_;
  std::map<long long, Json::Value> tasks_;
  long long lastId_ = 0;
};

}  // namespace

int main(int argc, char** argv) {
  if (argc != 3) {
    std::cerr << "usage: " << argv[0] << " PORT THREADS\n";
    return 2;
  }
  jsonrpc::HttpServer connector(std::atoi(argv[1]), "", "", std::atoi(argv[2]));
  TasksPeer server(connector);
  if (!server.StartListening()) {
    std::cerr << "cannot listen\n";
    return 1;
  }
  sigset_t signals;
  sigemptyset(&signals);
  sigaddset(&signals, SIGTERM);
  sigaddset(&signals, SIGINT);
  sigprocmask(SIG_BLOCK, &signals, nullptr);
  int received = 0;
  sigwait(&signals, &received);
  server.StopListening();
  return 0;
}
