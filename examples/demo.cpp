// A tour of the library: the road of one call through a provider.
//
// An example service, "com.example.tasks", declares three methods with definitions of
// their input, output and errors. The program publishes them as an interface in an
// interface container and calls them in-process through the library's dispatcher, the way
// a transport does once it has parsed a request:
//
//   find the interface  ->  find the method  ->  check the input  ->  run the handler  ->
//   check its output or error  ->  deliver one MethodResult to the caller's callback
//
// A call registrar wraps the dispatcher and tells an observer how each call ended.
//
// Each scenario prints the call and the result the caller receives. Nothing a caller
// sends and nothing a handler returns is trusted: every failure below is caught by the
// library and reported in the standard error structures, with messages that say why.
#include <functional>
#include <iostream>
#include <memory>
#include <mutex>
#include <string>
#include <utility>

#include "olma/core/base64.h"
#include "olma/core/format.h"
#include "olma/core/gzip.h"
#include "olma/core/message.h"
#include "olma/data/definitions.h"
#include "olma/data/values.h"
#include "olma/invocation/async_activation.h"
#include "olma/invocation/execution_context.h"
#include "olma/invocation/method_definition.h"
#include "olma/invocation/method_result.h"
#include "olma/invocation/result_callback.h"
#include "olma/provider/async_api_interface.h"
#include "olma/provider/async_api_method.h"
#include "olma/provider/call_dispatcher.h"
#include "olma/provider/call_observer.h"
#include "olma/provider/interface_container.h"

namespace {

using namespace Olma::Data;
using Olma::Core::AsyncActivation;
using Olma::Core::AsyncApiResultCb;
using Olma::Core::MethodResult;
using Olma::Provider::AsyncApiInterface;
using Olma::Provider::AsyncApiMethod;
using Olma::Provider::ErrorDefinitionList;

// ---------------------------------------------------------------------------------------
// The service. A method is an AsyncApiMethod: its name, its declared types and a handler.
// Generated bindings would write these classes; here one class takes the handler as a
// function.

using Handler =
    std::function<MethodResult::PtrConstType(const AsyncActivation& activation, const StructValue& input)>;

class ExampleMethod final : public AsyncApiMethod {
 public:
  ExampleMethod(std::string name, DataDefinition::PtrConstType input, DataDefinition::PtrConstType output,
                ErrorDefinitionList errors, Handler handler)
      : name_(std::move(name)),
        input_(std::move(input)),
        output_(std::move(output)),
        errors_(std::move(errors)),
        handler_(std::move(handler)) {}

  const std::string& name() const override { return name_; }
  // This handler answers at once; a real one may keep `resultCb` and answer later, from
  // any thread. The input has been checked against input() already.
  void Invoke(const AsyncActivation::PtrType& activation, const DataValue::PtrConstType& input,
              const AsyncApiResultCb::PtrType& resultCb) const override {
    (*resultCb)(handler_(*activation, static_cast<const StructValue&>(*input)));
  }
  DataDefinition::PtrConstType input() const override { return input_; }
  DataDefinition::PtrConstType output() const override { return output_; }
  const ErrorDefinitionList& errors() const override { return errors_; }

 private:
  std::string name_;
  DataDefinition::PtrConstType input_;
  DataDefinition::PtrConstType output_;
  ErrorDefinitionList errors_;
  Handler handler_;
};

DataValue::PtrConstType Field(const StructValue& value, const std::string& name) {
  return value.fields().at(name);  // present: the input was validated
}

StructValue::PtrType Task(long long id, const std::string& title, long long priority) {
  auto task = StructValue::GetInstance("task");
  task->SetField("id", IntegerValue::GetInstance(id));
  task->SetField("title", StringValue::GetInstance(title));
  task->SetField("priority", IntegerValue::GetInstance(priority));
  return task;
}

AsyncApiInterface::PtrConstType TasksInterface() {
  const auto task = StructDefinition::GetInstance("task", {{"id", IntegerDefinition::GetInstance()},
                                                           {"title", StringDefinition::GetInstance()},
                                                           {"priority", IntegerDefinition::GetInstance()}});
  const auto duplicateTitle = ErrorDefinition::GetInstance("com.example.tasks.errors.duplicate_title",
                                                           {{"title", StringDefinition::GetInstance()}});

  // create_task: adds a task; a title that exists already is a declared error.
  auto create = std::make_shared<ExampleMethod>(
      "create_task",
      StructDefinition::GetInstance("create_task_input", {{"title", StringDefinition::GetInstance()},
                                                          {"priority", IntegerDefinition::GetInstance()}}),
      task, ErrorDefinitionList{duplicateTitle}, [](const AsyncActivation&, const StructValue& input) {
        const std::string& title = static_cast<const StringValue&>(*Field(input, "title")).value();
        if (title == "Buy milk") {
          auto error = ErrorValue::Create("com.example.tasks.errors.duplicate_title",
                                          {Olma::MakeMessage("com.example.tasks.duplicate",
                                                             "A task named '{1}' exists already.", title)});
          error->SetField("title", Field(input, "title"));
          return MethodResult::GetErrorInstance(std::move(error));
        }
        const long long priority = static_cast<const IntegerValue&>(*Field(input, "priority")).value();
        return MethodResult::GetInstance(Task(7, title, priority));
      });

  // get_task: reads a task. Task 13 belongs to someone else, and the handler raises
  // "unauthorized", an error this method forgot to declare.
  auto get = std::make_shared<ExampleMethod>(
      "get_task", StructDefinition::GetInstance("get_task_input", {{"id", IntegerDefinition::GetInstance()}}),
      task, ErrorDefinitionList{}, [](const AsyncActivation& activation, const StructValue& input) {
        const long long id = static_cast<const IntegerValue&>(*Field(input, "id")).value();
        if (id == 13) {
          const std::string& user =
              activation.executionContext()->applicationContext().at("username").effective();
          return MethodResult::GetErrorInstance(
              ErrorValue::Create("com.zorvex.olma.std.errors.unauthorized",
                                 {Olma::MakeMessage("com.example.tasks.not.owner",
                                                    "Task {1} does not belong to {2}.", id, user)}));
        }
        return MethodResult::GetInstance(Task(id, "Water the plants", 3));
      });

  // count_tasks: a buggy handler that forgets the field "done" of its result.
  auto count = std::make_shared<ExampleMethod>(
      "count_tasks", StructDefinition::GetInstance("count_tasks_input", {}),
      StructDefinition::GetInstance("task_counts", {{"open", IntegerDefinition::GetInstance()},
                                                    {"done", IntegerDefinition::GetInstance()}}),
      ErrorDefinitionList{}, [](const AsyncActivation&, const StructValue&) {
        auto counts = StructValue::GetInstance("task_counts");
        counts->SetField("open", IntegerValue::GetInstance(4));
        return MethodResult::GetInstance(std::move(counts));
      });

  return AsyncApiInterface::GetInstance(Olma::Core::InterfaceIdentifier::GetInstance("com.example.tasks"),
                                        {create, get, count});
}

// ---------------------------------------------------------------------------------------
// The caller.

StructValue::PtrType Input(const std::string& name) {
  return StructValue::GetInstance(name);
}

// What an embedding application might keep per call: here, one line saying how it ended.
class PrintingObserver final : public Api::CallObserver {
 public:
  void OnResult(Outcome outcome) override {
    std::cout << "observer: " << outcome << " (" << method()->ToString() << ", user "
              << peer().userName.value_or("?") << ")\n";
  }
};

class PrintingRegistrar final : public Olma::Observer::Detail::CallRegistrarBase {
 public:
  using CallRegistrarBase::CallRegistrarBase;

 private:
  Api::CallObserver::PtrType CreateObserver(const DataValue::PtrConstType&, const AsyncActivation::PtrType&,
                                            const AsyncApiResultCb::PtrType&) const override {
    return std::make_shared<PrintingObserver>();
  }
};

void Call(const Olma::Core::AsyncApiProvider& provider, int number, const std::string& heading,
          const std::string& methodName, const DataValue::PtrConstType& input) {
  std::cout << "\n== " << number << ". " << heading << " ==\n"
            << "call:   " << methodName << " " << input->ToString() << "\n";

  // The execution context a transport would fill from the request's headers.
  auto context = Olma::Core::ExecutionContext::GetInstance();
  context->applicationContext()["username"] = "ann";
  auto activation = AsyncActivation::GetInstance(context);

  provider.Invoke(Olma::Core::MethodIdentifier::GetInstance(methodName), input, activation,
                  std::make_shared<AsyncApiResultCb>([](const MethodResult::PtrConstType& result,
                                                        const Olma::Core::Progress&,
                                                        const AsyncApiResultCb::Continuation&) {
                    if (result) std::cout << "result: " << result->ToString() << "\n";
                  }));
}

// The helpers underneath: the formatter every text goes through, catalogue messages, and
// the byte encodings a transport uses for bodies and blobs.
void ShowCoreHelpers() {
  std::cout << "\n== 10. The core helpers ==\n";
  std::cout << Olma::Format("format: {1} tasks, {2:.1f}% done, id {3:08x}", 12, 62.5, 48879) << "\n";
  const Olma::Message<Olma::CoreTag> message("olma.data.bad.cast2", "Long", "Double");
  std::cout << "message: " << message.id() << " \"" << message.defaultMessage() << "\"\n";

  Olma::MessageList problems;
  const std::string body = "{\"title\": \"Write report\", \"priority\": 2}";
  const Olma::ByteVector packed = Olma::Gzip::Compress(body, problems);
  const std::string wire = Olma::Base64::Encode(packed);
  std::string error;
  const std::string back = Olma::Gzip::Decompress(Olma::Base64::Decode(wire, error), problems);
  std::cout << "gzip+base64: " << body.size() << " bytes -> " << wire.size() << " Base64 characters -> "
            << (back == body && problems.empty() && error.empty() ? "round trip intact" : "round trip broken")
            << "\n";
}

}  // namespace

int main() {
  const auto api = TasksInterface();

  std::cout << "Interface " << api->id()->name() << " publishes:\n";
  for (const auto& [name, method] : api->methods()) {
    const auto definition =
        Olma::Core::MethodDefinition::GetInstance(Olma::Core::MethodIdentifier::GetInstance(api->id(), name),
                                                  method->input(), method->output(), method->errors());
    std::cout << definition->ToString();
    for (const auto& error : method->errors()) std::cout << "Declared error: " << error->ToString() << "\n";
  }

  // The provider: a container of interfaces (its checksum changes whenever the published API
  // does), the dispatcher over it, and a registrar that observes every call.
  const auto container = Olma::Provider::AsyncApiInterfaceConcurrentContainer<std::mutex>::GetInstance({api});
  std::cout << "API checksum: " << container->checksum() << "\n";
  PrintingRegistrar provider(Olma::Provider::CallDispatcher::GetInstance(container));

  auto valid = Input("create_task_input");
  valid->SetField("title", StringValue::GetInstance("Write report"));
  valid->SetField("priority", IntegerValue::GetInstance(2));
  Call(provider, 1, "A valid call", "com.example.tasks.create_task", valid);

  auto missing = Input("create_task_input");
  missing->SetField("title", StringValue::GetInstance("Write report"));
  Call(provider, 2, "Input with a missing field", "com.example.tasks.create_task", missing);

  auto wrongType = Input("create_task_input");
  wrongType->SetField("title", StringValue::GetInstance("Write report"));
  wrongType->SetField("priority", StringValue::GetInstance("high"));
  Call(provider, 3, "Input with a wrongly typed field", "com.example.tasks.create_task", wrongType);

  auto extra = Input("create_task_input");
  extra->SetField("title", StringValue::GetInstance("Write report"));
  extra->SetField("priority", IntegerValue::GetInstance(2));
  extra->SetField("owner", StringValue::GetInstance("ann"));
  Call(provider, 4, "Input with an extra field", "com.example.tasks.create_task", extra);

  auto duplicate = Input("create_task_input");
  duplicate->SetField("title", StringValue::GetInstance("Buy milk"));
  duplicate->SetField("priority", IntegerValue::GetInstance(1));
  Call(provider, 5, "The handler raises a declared error (delivered as it is)",
       "com.example.tasks.create_task", duplicate);

  auto foreign = Input("get_task_input");
  foreign->SetField("id", IntegerValue::GetInstance(13));
  Call(provider, 6, "The handler raises an undeclared error", "com.example.tasks.get_task", foreign);

  Call(provider, 7, "The handler's output breaks its definition", "com.example.tasks.count_tasks",
       Input("count_tasks_input"));

  Call(provider, 8, "A method the interface does not have", "com.example.tasks.delete_task",
       Input("delete_task_input"));

  Call(provider, 9, "An interface the provider does not publish", "com.example.notes.create_note",
       Input("create_note_input"));

  ShowCoreHelpers();
  return 0;
}
