#include "tasks_service.h"

#include <atomic>
#include <chrono>
#include <map>
#include <mutex>
#include <thread>
#include <utility>
#include <vector>

#include <boost/asio/post.hpp>
#include <boost/asio/thread_pool.hpp>

#include "olma/core/date_time.h"
#include "olma/data/compound_values.h"
#include "olma/data/definitions.h"
#include "olma/data/list_values.h"
#include "olma/data/optional_value.h"
#include "olma/data/scalar_values.h"
#include "olma/data/value_visitor.h"
#include "olma/invocation/method_result.h"
#include "olma/invocation/security_context_schemes.h"
#include "olma/jsonrpc/function_method.h"
#include "olma/jwt/verifier.h"

namespace example {
namespace {

using namespace Olma::Data;
using Olma::Core::AsyncActivation;
using Olma::Core::AsyncApiResultCb;
using Olma::Core::MethodResult;
using Olma::JsonRpc::FunctionMethod;

constexpr const char* kTaskName = "com.example.tasks.task";
constexpr const char* kNotFound = "com.example.errors.not_found";
constexpr const char* kUnauthenticated = "com.zorvex.olma.std.errors.unauthenticated";

struct Task {
  long long id;
  std::string title;
  long long priority;
  std::vector<std::string> tags;
  std::string created;
};

// The store and the worker of the slow method, shared by the handlers.
class TaskStore {
 public:
  TaskStore() : worker_(1) {
    std::string error;
    Olma::Jwt::JwtVerifierOptions options;
    options.keys.push_back(Olma::Jwt::JwtKey::FromSecret(Olma::SecretString(kDemoJwtSecret), error));
    options.requireExpiry = false;
    verifier_ = std::make_unique<Olma::Jwt::JwtVerifier>(std::move(options));
  }
  ~TaskStore() { worker_.join(); }

  Task Add(std::string title, long long priority, std::vector<std::string> tags) {
    Olma::DateTime created;
    // The clock's present always lies within the years a DateTime holds.
    static_cast<void>(Olma::DateTime::Create(std::chrono::system_clock::now(), created));
    std::lock_guard<std::mutex> lock(mutex_);
    Task task{nextId_++, std::move(title), priority, std::move(tags), created.text()};
    tasks_.emplace(task.id, task);
    return task;
  }

  std::optional<Task> Find(long long id) const {
    std::lock_guard<std::mutex> lock(mutex_);
    const auto found = tasks_.find(id);
    if (found == tasks_.end()) return std::nullopt;
    return found->second;
  }

  std::vector<Task> All() const {
    std::lock_guard<std::mutex> lock(mutex_);
    std::vector<Task> all;
    for (const auto& entry : tasks_) all.push_back(entry.second);
    return all;
  }

  long long Count() const {
    std::lock_guard<std::mutex> lock(mutex_);
    return static_cast<long long>(tasks_.size());
  }

  boost::asio::thread_pool& worker() { return worker_; }

  // The caller's name from Basic credentials or a verified token; empty when neither.
  std::string Authenticate(const Olma::Core::SecurityContext& context) const {
    Olma::Core::UserPassSecurityContextReader basic(context);
    if (basic.valid() && basic.userName() == "demo" && basic.password() == "demo-pass")
      return basic.userName();
    Olma::MessageList ignored;
    if (auto claims = verifier_->Verify(context, ignored)) {
      const auto subject = claims->fields().find("sub");
      if (subject != claims->fields().end() && subject->second &&
          subject->second->type() == DataType::STRING) {
        return static_cast<const StringValue&>(*subject->second).value();
      }
      return "token";
    }
    return {};
  }

 private:
  mutable std::mutex mutex_;
  std::map<long long, Task> tasks_;
  long long nextId_ = 1;
  boost::asio::thread_pool worker_;
  std::unique_ptr<Olma::Jwt::JwtVerifier> verifier_;
};

DataDefinition::PtrConstType TaskDefinition() {
  return StructDefinition::GetInstance(
      kTaskName, {{"id", IntegerDefinition::GetInstance()},
                  {"title", StringDefinition::GetInstance()},
                  {"priority", IntegerDefinition::GetInstance()},
                  {"tags", ListDefinition::GetInstance(StringDefinition::GetInstance())},
                  {"created", StringDefinition::GetInstance()}});
}

DataDefinition::PtrConstType Input(const char* name, DataDefinition::FieldMap fields) {
  return StructDefinition::GetInstance(name, std::move(fields));
}

DataValue::PtrConstType TaskValue(const Task& task) {
  auto value = StructValue::GetInstance(kTaskName);
  value->SetField("id", IntegerValue::GetInstance(task.id));
  value->SetField("title", StringValue::GetInstance(task.title));
  value->SetField("priority", IntegerValue::GetInstance(task.priority));
  auto tags = ListValueString::GetInstance();
  tags->assign(task.tags.begin(), task.tags.end());
  value->SetField("tags", std::move(tags));
  value->SetField("created", StringValue::GetInstance(task.created));
  return value;
}

const DataValue::PtrConstType& Field(const DataValue::PtrConstType& input, const char* name) {
  static const DataValue::PtrConstType absent;
  const auto& fields = static_cast<const CompoundValue&>(*input).fields();
  const auto found = fields.find(name);
  return found == fields.end() ? absent : found->second;
}

// The content of an optional field, or empty when absent or unset.
DataValue::PtrConstType Optional(const DataValue::PtrConstType& input, const char* name) {
  const DataValue::PtrConstType& field = Field(input, name);
  if (!field) return nullptr;
  if (field->type() != DataType::OPTIONAL) return field;  // the permissive check lets a bare value in
  const auto& optional = static_cast<const OptionalValue&>(*field);
  return optional.isSet() ? optional.value() : nullptr;
}

std::vector<std::string> Strings(const DataValue::PtrConstType& list) {
  std::vector<std::string> strings;
  if (!list) return strings;
  if (list->type() == DataType::LIST_STRING) {
    const auto& typed = static_cast<const ListValueString&>(*list);
    strings.assign(typed.begin(), typed.end());
  } else if (list->type() == DataType::LIST) {
    for (const auto& item : static_cast<const ListValue&>(*list)) {
      strings.push_back(static_cast<const StringValue&>(*item).value());
    }
  }
  return strings;
}

MethodResult::PtrConstType ErrorResult(const char* name, Olma::BaseMessage message) {
  return MethodResult::GetErrorInstance(ErrorValue::Create(name, {std::move(message)}));
}

}  // namespace

Olma::Provider::AsyncApiInterface::PtrConstType MakeTasksInterface() {
  auto store = std::make_shared<TaskStore>();
  const DataDefinition::PtrConstType task = TaskDefinition();
  const DataDefinition::PtrConstType empty = Input("com.example.tasks.empty_input", {});

  auto create = FunctionMethod::GetInstance(
      "create",
      Input("com.example.tasks.create_input",
            {{"title", StringDefinition::GetInstance()},
             {"priority", OptionalDefinition::GetInstance(IntegerDefinition::GetInstance())},
             {"tags", OptionalDefinition::GetInstance(
                          ListDefinition::GetInstance(StringDefinition::GetInstance()))}}),
      task, {},
      [store](const auto&, const DataValue::PtrConstType& input, const AsyncApiResultCb::PtrType& done) {
        const auto priority = Optional(input, "priority");
        Task created = store->Add(static_cast<const StringValue&>(*Field(input, "title")).value(),
                                  priority ? static_cast<const IntegerValue&>(*priority).value() : 3,
                                  Strings(Optional(input, "tags")));
        (*done)(MethodResult::GetInstance(TaskValue(created)));
      });

  auto get = FunctionMethod::GetInstance(
      "get", Input("com.example.tasks.get_input", {{"id", IntegerDefinition::GetInstance()}}), task,
      {ErrorDefinition::GetInstance(kNotFound)},
      [store](const auto&, const DataValue::PtrConstType& input, const AsyncApiResultCb::PtrType& done) {
        const long long id = static_cast<const IntegerValue&>(*Field(input, "id")).value();
        if (auto found = store->Find(id)) return (*done)(MethodResult::GetInstance(TaskValue(*found)));
        (*done)(ErrorResult(kNotFound,
                            Olma::MakeMessage("com.example.task.not.found", "No task with id {1}", id)));
      });

  auto list =
      FunctionMethod::GetInstance("list", empty, ListDefinition::GetInstance(task), {},
                                  [store](const auto&, const auto&, const AsyncApiResultCb::PtrType& done) {
                                    auto all = ListValue::GetInstance();
                                    for (const Task& each : store->All()) all->push_back(TaskValue(each));
                                    (*done)(MethodResult::GetInstance(std::move(all)));
                                  });

  auto count = FunctionMethod::GetInstance(
      "count", empty, IntegerDefinition::GetInstance(), {},
      [store](const auto&, const auto&, const AsyncApiResultCb::PtrType& done) {
        (*done)(MethodResult::GetInstance(IntegerValue::GetInstance(store->Count())));
      });

  // Runs on the store's worker, not on an I/O thread: a slow handler must not hold the server.
  auto slowCount = FunctionMethod::GetInstance(
      "slow_count",
      Input("com.example.tasks.slow_count_input", {{"steps", IntegerDefinition::GetInstance()}}),
      IntegerDefinition::GetInstance(), {},
      [store](const auto&, const DataValue::PtrConstType& input, const AsyncApiResultCb::PtrType& done) {
        const long long steps =
            std::min(100LL, static_cast<const IntegerValue&>(*Field(input, "steps")).value());
        boost::asio::post(store->worker(), [store, steps, done] {
          for (long long step = 1; step <= steps; ++step) {
            std::this_thread::sleep_for(std::chrono::milliseconds(50));
            (*done)(nullptr, Olma::Core::Progress{0, steps, step});
          }
          (*done)(MethodResult::GetInstance(IntegerValue::GetInstance(store->Count())));
        });
      });

  auto stats = FunctionMethod::GetInstance(
      "stats", empty,
      Input("com.example.tasks.stats",
            {{"user", StringDefinition::GetInstance()}, {"tasks", IntegerDefinition::GetInstance()}}),
      {ErrorDefinition::GetInstance(kUnauthenticated)},
      [store](const AsyncActivation::PtrType& activation, const auto&,
              const AsyncApiResultCb::PtrType& done) {
        const std::string user = store->Authenticate(activation->executionContext()->securityContext());
        if (user.empty()) {
          return (*done)(ErrorResult(
              kUnauthenticated,
              Olma::MakeMessage("com.example.auth.required", "Basic or Bearer credentials are required")));
        }
        auto value = StructValue::GetInstance("com.example.tasks.stats");
        value->SetField("user", StringValue::GetInstance(user));
        value->SetField("tasks", IntegerValue::GetInstance(store->Count()));
        (*done)(MethodResult::GetInstance(std::move(value)));
      });

  return Olma::Provider::AsyncApiInterface::GetInstance(
      Olma::Core::InterfaceIdentifier::GetInstance("com.example.tasks"),
      {create, get, list, count, slowCount, stats});
}

}  // namespace example
