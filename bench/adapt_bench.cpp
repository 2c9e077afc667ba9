// Native conversion against nlohmann-json's to_json/from_json on the same struct, and the
// canonical text of a whole API with its CRC-32.
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include <benchmark/benchmark.h>
#include <nlohmann/json.hpp>

#include "olma/core/crc32.h"
#include "olma/data/definitions.h"
#include "olma/data/introspection.h"
#include "olma/data/native_to_definition.h"
#include "olma/data/native_to_value.h"
#include "olma/data/value_to_native.h"
#include "ratio_reporter.h"

namespace {

struct Address {
  static constexpr std::string_view kTypeName = "bench.address";
  std::string city;
  long long zip = 0;

  struct AdapterHelper {
    template <class Helper, class Object>
    static void AddFields(Helper& helper, Object& a) {
      helper.AddField("city", &a.city);
      helper.AddField("zip", &a.zip);
    }
    template <class Helper>
    static void AddDefinitionFields(Helper& helper) {
      helper.AddField("city", &Address::city);
      helper.AddField("zip", &Address::zip);
    }
  };
};

struct Customer {
  static constexpr std::string_view kTypeName = "bench.customer";
  long long id = 0;
  long long visits = 0;
  std::string name;
  double balance = 0;
  std::optional<std::string> note;
  std::vector<std::string> tags;
  Address address;

  struct AdapterHelper {
    template <class Helper, class Object>
    static void AddFields(Helper& helper, Object& c) {
      helper.AddField("id", &c.id);
      helper.AddField("visits", &c.visits);
      helper.AddField("name", &c.name);
      helper.AddField("balance", &c.balance);
      helper.AddField("note", &c.note);
      helper.AddField("tags", &c.tags);
      helper.AddField("address", &c.address);
    }
    template <class Helper>
    static void AddDefinitionFields(Helper& helper) {
      helper.AddField("id", &Customer::id);
      helper.AddField("visits", &Customer::visits);
      helper.AddField("name", &Customer::name);
      helper.AddField("balance", &Customer::balance);
      helper.AddField("note", &Customer::note);
      helper.AddField("tags", &Customer::tags);
      helper.AddField("address", &Customer::address);
    }
  };
};

// The peer's declarations of the same structs; the optional is written out by hand as
// the macro does not take it.
NLOHMANN_DEFINE_TYPE_NON_INTRUSIVE(Address, city, zip)

void to_json(nlohmann::json& j, const Customer& c) {
  j = nlohmann::json{{"id", c.id},           {"visits", c.visits}, {"name", c.name},
                     {"balance", c.balance}, {"tags", c.tags},     {"address", c.address}};
  j["note"] = c.note ? nlohmann::json(*c.note) : nlohmann::json(nullptr);
}
void from_json(const nlohmann::json& j, Customer& c) {
  j.at("id").get_to(c.id);
  j.at("visits").get_to(c.visits);
  j.at("name").get_to(c.name);
  j.at("balance").get_to(c.balance);
  j.at("tags").get_to(c.tags);
  j.at("address").get_to(c.address);
  const nlohmann::json& note = j.at("note");
  c.note = note.is_null() ? std::nullopt : std::optional<std::string>(note.get<std::string>());
}

std::vector<Customer> Customers() {
  std::vector<Customer> customers(1000);
  for (std::size_t i = 0; i < customers.size(); ++i) {
    Customer& c = customers[i];
    c.id = static_cast<long long>(i);
    c.visits = static_cast<long long>(i * 7 % 13);
    c.name = "customer number " + std::to_string(i);
    c.balance = static_cast<double>(i) * 1.25;
    if (i % 2 == 0) c.note = "prefers mail";
    c.tags = {"retail", "tier-" + std::to_string(i % 3)};
    c.address = Address{"Springfield " + std::to_string(i % 10), static_cast<long long>(10000 + i)};
  }
  return customers;
}

void BM_OlmaToValue(benchmark::State& state) {
  const std::vector<Customer> customers = Customers();
  Olma::MessageList messages;
  for (auto _ : state) {
    Olma::Data::DataValue::PtrConstType value;
    Olma::Data::NativeToValueAdapter::Adapt(customers, value, messages);
    benchmark::DoNotOptimize(value);
  }
}
void BM_JsonToJson(benchmark::State& state) {
  const std::vector<Customer> customers = Customers();
  for (auto _ : state) {
    nlohmann::json json = customers;
    benchmark::DoNotOptimize(json);
  }
}

void BM_OlmaFromValue(benchmark::State& state) {
  Olma::MessageList messages;
  Olma::Data::DataValue::PtrConstType value;
  Olma::Data::NativeToValueAdapter::Adapt(Customers(), value, messages);
  for (auto _ : state) {
    std::vector<Customer> customers;
    Olma::Data::ValueToNativeAdapter::Adapt(value, customers, messages);
    benchmark::DoNotOptimize(customers);
  }
  if (!messages.empty()) state.SkipWithError("conversion failed");
}
void BM_JsonFromJson(benchmark::State& state) {
  const nlohmann::json json = Customers();
  for (auto _ : state) {
    std::vector<Customer> customers = json.get<std::vector<Customer>>();
    benchmark::DoNotOptimize(customers);
  }
}

// An API of 100 interfaces with 10 methods each: every method an input structure, an
// output structure with a list of nested records, and an error.
std::vector<Olma::Data::DataDefinition::PtrConstType> Api() {
  using namespace Olma::Data;
  std::vector<DataDefinition::PtrConstType> api;
  const DataDefinition::PtrConstType customer = NativeToDefinitionAdapter::Adapt<Customer>();
  for (int interface = 0; interface < 100; ++interface) {
    for (int method = 0; method < 10; ++method) {
      const std::string prefix = "com.example.i" + std::to_string(interface) + ".m" + std::to_string(method);
      api.push_back(StructDefinition::GetInstance(
          prefix + ".input", {{"id", IntegerDefinition::GetInstance()},
                              {"filter", OptionalDefinition::GetInstance(StringDefinition::GetInstance())},
                              {"limit", OptionalDefinition::GetInstance(IntegerDefinition::GetInstance())},
                              {"token", SecretDefinition::GetInstance()}}));
      api.push_back(StructDefinition::GetInstance(
          prefix + ".output", {{"items", ListDefinition::GetInstance(customer)},
                               {"next", OptionalDefinition::GetInstance(StringDefinition::GetInstance())}}));
      api.push_back(
          ErrorDefinition::GetInstance(prefix + ".not_found", {{"what", StringDefinition::GetInstance()}}));
    }
  }
  return api;
}

void BM_OlmaCanonicalTextCrc(benchmark::State& state) {
  const auto api = Api();
  std::string text;
  for (auto _ : state) {
    text.clear();
    for (const auto& definition : api) Olma::Data::RawDefinitionAdapter::Append(definition, ' ', text);
    Olma::CRC32 crc(text);
    benchmark::DoNotOptimize(crc.checksum());
  }
  state.counters["text_bytes"] = static_cast<double>(text.size());
  state.counters["bytes_per_us"] =
      benchmark::Counter(static_cast<double>(text.size()) * static_cast<double>(state.iterations()) / 1e6,
                         benchmark::Counter::kIsRate);
}
// The diagnostic rendering of the same definitions, for scale.
void BM_DiagnosticToString(benchmark::State& state) {
  const auto api = Api();
  for (auto _ : state) {
    std::size_t size = 0;
    for (const auto& definition : api) size += definition->ToString().size();
    benchmark::DoNotOptimize(size);
  }
}

}  // namespace

BENCHMARK(BM_OlmaToValue)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_JsonToJson)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_OlmaFromValue)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_JsonFromJson)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_OlmaCanonicalTextCrc)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_DiagnosticToString)->Unit(benchmark::kMicrosecond);

int main(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  RatioReporter reporter(
      {{"`NativeToValueAdapter` of 1,000 declared records (integers, string, double, optional, string "
        "vector, nested struct)",
        "BM_OlmaToValue",
        {{"nlohmann-json `to_json`", "BM_JsonToJson"}},
        "no slower"},
       {"`ValueToNativeAdapter` of the same value back to the records",
        "BM_OlmaFromValue",
        {{"nlohmann-json `from_json`", "BM_JsonFromJson"}},
        "no slower"},
       {"canonical text + CRC-32 of an API of 100 interfaces × 10 methods",
        "BM_OlmaCanonicalTextCrc",
        {{"`ToString` of the same definitions", "BM_DiagnosticToString"}},
        "under 1 ms"}});
  benchmark::RunSpecifiedBenchmarks(&reporter);
  benchmark::Shutdown();
  return 0;
}
