// Routing and registration in the interface container, beside the maps a user would guard
// by hand.
//
// Find looks interfaces up in a container of 1,000, on one thread and on two at once, against
// a std::map guarded by a std::shared_mutex (readers share the lock) and one guarded by a plain
// std::mutex (the lookup runs inside the lock). The container's Find takes no lock and no
// reference to its snapshot. The two-thread runs are timed by the wall clock, so their time
// per lookup is the inverse of the two threads' combined throughput; a std::map read with no
// synchronisation at all (correct only because nothing writes during the run) shows how far
// two threads that each copy the found interface's shared pointer scale on this machine.
//
// Add registers one more interface of 10 methods into a container of 1,000 such interfaces:
// it copies the map and recomputes the checksum over every definition, which registration,
// being rare, can afford.
#include <map>
#include <memory>
#include <mutex>
#include <shared_mutex>
#include <string>
#include <vector>

#include <benchmark/benchmark.h>

#include "olma/data/definitions.h"
#include "olma/provider/async_api_interface.h"
#include "olma/provider/interface_container.h"
#include "ratio_reporter.h"

namespace {

using namespace Olma::Data;
using Olma::Core::AsyncActivation;
using Olma::Core::AsyncApiResultCb;
using Olma::Core::InterfaceIdentifier;
using Olma::Provider::AsyncApiInterface;
using Olma::Provider::AsyncApiMethod;
using Container = Olma::Provider::AsyncApiInterfaceConcurrentContainer<std::mutex>;

constexpr int kInterfaces = 1000;

class Method final : public AsyncApiMethod {
 public:
  Method(std::string name, DataDefinition::PtrConstType definition)
      : name_(std::move(name)), definition_(std::move(definition)) {}
  const std::string& name() const override { return name_; }
  void Invoke(const AsyncActivation::PtrType&, const DataValue::PtrConstType&,
              const AsyncApiResultCb::PtrType&) const override {}
  DataDefinition::PtrConstType input() const override { return definition_; }
  DataDefinition::PtrConstType output() const override { return definition_; }
  const Olma::Provider::ErrorDefinitionList& errors() const override { return errors_; }

 private:
  std::string name_;
  DataDefinition::PtrConstType definition_;
  Olma::Provider::ErrorDefinitionList errors_{ErrorDefinition::GetInstance("com.example.errors.busy")};
};

std::string Name(int n) {
  return "com.example.service" + std::to_string(n);
}

AsyncApiInterface::PtrConstType Interface(int n) {
  AsyncApiInterface::MethodList methods;
  for (int m = 0; m < 10; ++m) {
    methods.push_back(std::make_shared<Method>(
        "method" + std::to_string(m),
        StructDefinition::GetInstance(
            "input" + std::to_string(m),
            {{"id", IntegerDefinition::GetInstance()},
             {"name", StringDefinition::GetInstance()},
             {"tags", ListDefinition::GetInstance(StringDefinition::GetInstance())}})));
  }
  return AsyncApiInterface::GetInstance(InterfaceIdentifier::GetInstance(Name(n)), methods);
}

struct Fixture {
  Olma::Provider::InterfaceList interfaces;
  std::shared_ptr<Container> container;
  std::map<std::string, AsyncApiInterface::PtrConstType, std::less<>> map;
  std::shared_mutex sharedMutex;
  std::mutex mutex;
};

void Build(Fixture& f) {
  for (int n = 0; n < kInterfaces; ++n) {
    f.interfaces.push_back(Interface(n));
    f.map.emplace(Name(n), f.interfaces.back());
  }
  f.container = Container::GetInstance(f.interfaces);
}

// What one thread's requests carry, shuffled: identifier objects of its own, as parsed
// requests bring. Threads sharing one set would contend on the objects' reference counts,
// which no server does.
std::vector<InterfaceIdentifier::PtrConstType> RequestIdentifiers() {
  std::vector<InterfaceIdentifier::PtrConstType> identifiers;
  for (int n = 0; n < kInterfaces; ++n) {
    identifiers.push_back(InterfaceIdentifier::GetInstance(Name((n * 389) % kInterfaces)));
  }
  return identifiers;
}

Fixture& Shared() {
  static Fixture fixture;
  static const bool built = (Build(fixture), true);
  (void)built;
  return fixture;
}

void BM_ContainerFind(benchmark::State& state) {
  Fixture& f = Shared();
  const auto identifiers = RequestIdentifiers();
  Olma::MessageList messages;
  std::size_t i = static_cast<std::size_t>(state.thread_index()) * 500;
  for (auto _ : state) {
    AsyncApiInterface::PtrConstType found;
    benchmark::DoNotOptimize(f.container->Find(identifiers[i++ % kInterfaces], found, messages));
  }
  if (!messages.empty()) state.SkipWithError("not found");
}

void BM_SharedMutexMapFind(benchmark::State& state) {
  Fixture& f = Shared();
  const auto identifiers = RequestIdentifiers();
  std::size_t i = static_cast<std::size_t>(state.thread_index()) * 500;
  for (auto _ : state) {
    AsyncApiInterface::PtrConstType found;
    {
      std::shared_lock<std::shared_mutex> lock(f.sharedMutex);
      const auto it = f.map.find(identifiers[i++ % kInterfaces]->name());
      if (it != f.map.end()) found = it->second;
    }
    benchmark::DoNotOptimize(found);
  }
}

void BM_MutexMapFind(benchmark::State& state) {
  Fixture& f = Shared();
  const auto identifiers = RequestIdentifiers();
  std::size_t i = static_cast<std::size_t>(state.thread_index()) * 500;
  for (auto _ : state) {
    AsyncApiInterface::PtrConstType found;
    {
      std::lock_guard<std::mutex> lock(f.mutex);
      const auto it = f.map.find(identifiers[i++ % kInterfaces]->name());
      if (it != f.map.end()) found = it->second;
    }
    benchmark::DoNotOptimize(found);
  }
}

void BM_UnsynchronisedMapFind(benchmark::State& state) {
  Fixture& f = Shared();
  const auto identifiers = RequestIdentifiers();
  std::size_t i = static_cast<std::size_t>(state.thread_index()) * 500;
  for (auto _ : state) {
    AsyncApiInterface::PtrConstType found;
    const auto it = f.map.find(identifiers[i++ % kInterfaces]->name());
    if (it != f.map.end()) found = it->second;
    benchmark::DoNotOptimize(found);
  }
}

// Each iteration registers a new interface; the container grows from 1,000 by one per
// iteration, so the run is kept to a fixed, small count.
void BM_ContainerAdd(benchmark::State& state) {
  const auto container = Container::GetInstance(Shared().interfaces);
  std::vector<AsyncApiInterface::PtrConstType> extra;
  for (int n = 0; n < state.max_iterations; ++n) extra.push_back(Interface(kInterfaces + n));
  Olma::MessageList messages;
  std::size_t i = 0;
  for (auto _ : state) benchmark::DoNotOptimize(container->Add(extra[i++], messages));
  if (!messages.empty()) state.SkipWithError("refused");
}

BENCHMARK(BM_ContainerFind)->Threads(1)->Threads(2)->UseRealTime();
BENCHMARK(BM_SharedMutexMapFind)->Threads(1)->Threads(2)->UseRealTime();
BENCHMARK(BM_MutexMapFind)->Threads(1)->Threads(2)->UseRealTime();
BENCHMARK(BM_UnsynchronisedMapFind)->Threads(1)->Threads(2)->UseRealTime();
BENCHMARK(BM_ContainerAdd)->Iterations(40)->Unit(benchmark::kMillisecond);

}  // namespace

int main(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
  RatioReporter reporter({
      {"`Find` among 1,000 interfaces, 1 thread",
       "BM_ContainerFind/real_time/threads:1",
       {{"`std::shared_mutex` + `std::map`", "BM_SharedMutexMapFind/real_time/threads:1", ""},
        {"`std::mutex` + `std::map`", "BM_MutexMapFind/real_time/threads:1", ""}},
       "at most 1x the shared_mutex map",
       false,
       true},
      {"`Find` among 1,000 interfaces, 2 threads (time per lookup of both together)",
       "BM_ContainerFind/real_time/threads:2",
       {{"container, 1 thread", "BM_ContainerFind/real_time/threads:1", ""},
        {"`std::shared_mutex` + `std::map`", "BM_SharedMutexMapFind/real_time/threads:2", ""},
        {"`std::mutex` + `std::map`", "BM_MutexMapFind/real_time/threads:2", ""},
        {"unsynchronised `std::map`, 2 threads", "BM_UnsynchronisedMapFind/real_time/threads:2", ""}},
       "at most 0.67x one thread (1.5x its throughput)",
       false,
       true},
      {"`Add` into 1,000 interfaces of 10 methods",
       "BM_ContainerAdd/iterations:40",
       {},
       "reported",
       false,
       false},
  });
  benchmark::RunSpecifiedBenchmarks(&reporter);
  benchmark::Shutdown();
  return 0;
}
