// The cost of one in-process call through a provider, and how much of it is not the
// validator's.
//
// A call is what a transport does once it has parsed a request: hand it to the library's
// dispatcher, which finds the interface in its container and the method in the interface,
// checks the input, run the handler (here: it echoes one input field as its
// output), check the output, and deliver the result to the caller's callback. It is run
// for a small input (a structure of 3 scalar fields) and for a large one (a list of 1,000
// records of 3 fields, echoed back whole). The same run measures the two validations
// alone on the same values; the difference is the dispatch overhead, which should stay
// under a microsecond per call whatever the size of the input. Since for the records that
// difference is lost in the noise of the validator's walk, they are run once more with
// their list declared OPAQUE (accepted without a walk): values are shared, never copied,
// so that call should cost about what the small one does.
//
// The activation (the transport's per-request object) is made once and reused; every
// other object of a call is made per call.
#include <memory>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

#include <benchmark/benchmark.h>

#include "olma/data/definitions.h"
#include "olma/data/values.h"
#include "olma/invocation/async_activation.h"
#include "olma/invocation/execution_context.h"
#include "olma/invocation/method_result.h"
#include "olma/invocation/result_callback.h"
#include "olma/provider/async_api_interface.h"
#include "olma/provider/async_api_method.h"
#include "olma/provider/call_dispatcher.h"
#include "olma/provider/interface_container.h"
#include "ratio_reporter.h"

namespace {

using namespace Olma::Data;
using Olma::Core::AsyncActivation;
using Olma::Core::AsyncApiResultCb;
using Olma::Core::MethodResult;
using Olma::Provider::AsyncApiInterface;
using Olma::Provider::AsyncApiMethod;
using Olma::Provider::ErrorDefinitionList;

// A handler that answers with a structure holding one field of its input, shared, not
// copied.
class EchoMethod final : public AsyncApiMethod {
 public:
  EchoMethod(std::string name, std::string field, DataDefinition::PtrConstType input,
             DataDefinition::PtrConstType output)
      : name_(std::move(name)),
        field_(std::move(field)),
        input_(std::move(input)),
        output_(std::move(output)) {}

  const std::string& name() const override { return name_; }
  void Invoke(const AsyncActivation::PtrType&, const DataValue::PtrConstType& input,
              const AsyncApiResultCb::PtrType& resultCb) const override {
    (*resultCb)(MethodResult::GetInstance(Echo(*input)));
  }
  DataDefinition::PtrConstType input() const override { return input_; }
  DataDefinition::PtrConstType output() const override { return output_; }
  const ErrorDefinitionList& errors() const override { return errors_; }

  DataValue::PtrConstType Echo(const DataValue& input) const {
    auto output = StructValue::GetInstance("echo");
    output->SetField(field_, static_cast<const StructValue&>(input).fields().find(field_)->second);
    return output;
  }

 private:
  std::string name_;
  std::string field_;
  DataDefinition::PtrConstType input_;
  DataDefinition::PtrConstType output_;
  ErrorDefinitionList errors_;
};

struct Fixture {
  Olma::Provider::CallDispatcher::PtrConstType dispatcher;
  std::shared_ptr<const EchoMethod> method;
  Olma::Core::MethodIdentifier::PtrConstType methodIdentifier;
  DataValue::PtrConstType input;
};

Fixture MakeFixture(std::shared_ptr<const EchoMethod> method, DataValue::PtrConstType input) {
  auto api = AsyncApiInterface::GetInstance(Olma::Core::InterfaceIdentifier::GetInstance("com.example.bench"),
                                            {method});
  auto container = Olma::Provider::AsyncApiInterfaceConcurrentContainer<std::mutex>::GetInstance({api});
  auto identifier = Olma::Core::MethodIdentifier::GetInstance(api->id(), method->name());
  return Fixture{Olma::Provider::CallDispatcher::GetInstance(container), std::move(method),
                 std::move(identifier), std::move(input)};
}

const DataDefinition::PtrConstType& RecordDefinition() {
  static const DataDefinition::PtrConstType record =
      StructDefinition::GetInstance("record", {{"id", IntegerDefinition::GetInstance()},
                                               {"name", StringDefinition::GetInstance()},
                                               {"score", DoubleDefinition::GetInstance()}});
  return record;
}

const Fixture& Small() {
  static const Fixture fixture = [] {
    auto method = std::make_shared<const EchoMethod>(
        "echo_small", "name",
        StructDefinition::GetInstance("small_input", {{"id", IntegerDefinition::GetInstance()},
                                                      {"name", StringDefinition::GetInstance()},
                                                      {"score", DoubleDefinition::GetInstance()}}),
        StructDefinition::GetInstance("echo", {{"name", StringDefinition::GetInstance()}}));
    auto input = StructValue::GetInstance("small_input");
    input->SetField("id", IntegerValue::GetInstance(42));
    input->SetField("name", StringValue::GetInstance("widget"));
    input->SetField("score", DoubleValue::GetInstance(0.5));
    return MakeFixture(std::move(method), std::move(input));
  }();
  return fixture;
}

DataValue::PtrConstType RecordsInput() {
  auto list = ListValue::GetInstance();
  for (long long i = 0; i < 1000; ++i) {
    auto record = StructValue::GetInstance("record");
    record->SetField("id", IntegerValue::GetInstance(i));
    record->SetField("name", StringValue::GetInstance("record-" + std::to_string(i)));
    record->SetField("score", DoubleValue::GetInstance(static_cast<double>(i) / 4));
    list->push_back(std::move(record));
  }
  auto input = StructValue::GetInstance("records_input");
  input->SetField("records", std::move(list));
  return input;
}

// The 1,000 records under the declared types, or declared OPAQUE, which the validator
// accepts without looking inside: the second shows what a call costs apart from the
// validator's walk over the records.
Fixture RecordsFixture(const DataDefinition::PtrConstType& records) {
  auto method = std::make_shared<const EchoMethod>(
      "echo_records", "records", StructDefinition::GetInstance("records_input", {{"records", records}}),
      StructDefinition::GetInstance("echo", {{"records", records}}));
  return MakeFixture(std::move(method), RecordsInput());
}

const Fixture& Records() {
  static const Fixture fixture = RecordsFixture(ListDefinition::GetInstance(RecordDefinition()));
  return fixture;
}

const Fixture& OpaqueRecords() {
  static const Fixture fixture = RecordsFixture(OpaqueDefinition::GetInstance());
  return fixture;
}

void BM_Dispatch(benchmark::State& state, const Fixture& (*fixture)()) {
  const Fixture& f = fixture();
  const auto activation = AsyncActivation::GetInstance(Olma::Core::ExecutionContext::GetInstance());
  long long failures = 0;
  for (auto _ : state) {
    auto deliver = std::make_shared<AsyncApiResultCb>([&failures](const MethodResult::PtrConstType& result,
                                                                  const Olma::Core::Progress&,
                                                                  const AsyncApiResultCb::Continuation&) {
      if (result->isError()) ++failures;
      benchmark::DoNotOptimize(result.get());
    });
    f.dispatcher->Invoke(f.methodIdentifier, f.input, activation, deliver);
  }
  if (failures != 0) state.SkipWithError("a call failed");
  state.SetItemsProcessed(static_cast<std::int64_t>(state.iterations()));
}

// The validator's share of a call: the input checked strictly, the echoed output loosely.
void BM_ValidationOnly(benchmark::State& state, const Fixture& (*fixture)()) {
  const Fixture& f = fixture();
  const DataValue::PtrConstType output = f.method->Echo(*f.input);
  Olma::MessageList messages;
  for (auto _ : state) {
    benchmark::DoNotOptimize(
        DataDefinition::Validate<StrictMatch, ValidatorModePermissive>(f.method->input(), f.input, messages));
    benchmark::DoNotOptimize(
        DataDefinition::Validate<LooseMatch, ValidatorModePermissive>(f.method->output(), output, messages));
  }
  if (!messages.empty()) state.SkipWithError("validation failed");
  state.SetItemsProcessed(static_cast<std::int64_t>(state.iterations()));
}

BENCHMARK_CAPTURE(BM_Dispatch, small, &Small)->Unit(benchmark::kNanosecond);
BENCHMARK_CAPTURE(BM_ValidationOnly, small, &Small)->Unit(benchmark::kNanosecond);
BENCHMARK_CAPTURE(BM_Dispatch, records1000, &Records)->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(BM_ValidationOnly, records1000, &Records)->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(BM_Dispatch, records1000_opaque, &OpaqueRecords)->Unit(benchmark::kNanosecond);
BENCHMARK_CAPTURE(BM_ValidationOnly, records1000_opaque, &OpaqueRecords)->Unit(benchmark::kNanosecond);

}  // namespace

int main(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
  // "outside validation" is the call's time minus the validation's, measured in separate
  // runs: for a large input, the difference of two large, noisy numbers.
  const std::string goal = "under 1 µs outside validation";
  RatioReporter reporter({
      {"one in-process call, 3-field input",
       "BM_Dispatch/small",
       {{"validation alone", "BM_ValidationOnly/small", "outside validation"}},
       goal},
      {"one in-process call, 1,000-record input",
       "BM_Dispatch/records1000",
       {{"validation alone", "BM_ValidationOnly/records1000", "outside validation"}},
       goal},
      {"one in-process call, 1,000-record input declared opaque",
       "BM_Dispatch/records1000_opaque",
       {{"validation alone", "BM_ValidationOnly/records1000_opaque", "outside validation"}},
       goal},
  });
  benchmark::RunSpecifiedBenchmarks(&reporter);
  benchmark::Shutdown();
  return 0;
}
