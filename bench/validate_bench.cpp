// The cost of validating one document, against what a user would use instead.
//
// The sample document (sample_document.h) of N records (N = 10 and 1,000), checked three
// ways on the same content in the same process:
//
//   BM_Olma*       the library's validator on the value tree, against its definition,
//                  in the four combinations of match and validator mode;
//   BM_Valijson    the equivalent JSON document (nlohmann::json) against the equivalent
//                  JSON Schema (extra properties refused, as with StrictMatch), with the
//                  schema compiled once outside the timed loop;
//   BM_HandWalk    a hand-written check of the same value tree that knows the record
//                  layout at compile time: the floor any general validator can approach.
//
// Each benchmark reports the time per document ("doc_time"); the library's benchmarks also
// report how many times faster than valijson they are ("x_valijson") and how many times
// slower than the hand-written walk ("x_handwalk"), from the peers' runs of the same N
// (so run the whole program, or keep the peers in the filter).
#include <time.h>

#include <cstdio>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include <benchmark/benchmark.h>
#include <nlohmann/json.hpp>
#include <valijson/adapters/nlohmann_json_adapter.hpp>
#include <valijson/schema.hpp>
#include <valijson/schema_parser.hpp>
#include <valijson/validator.hpp>

#include "olma/data/definitions.h"
#include "olma/data/validator.h"
#include "olma/data/values.h"
#include "ratio_reporter.h"
#include "sample_document.h"

namespace {

using namespace Olma::Data;

const char* const kSchema = R"({
  "type": "object",
  "required": ["records"],
  "additionalProperties": false,
  "properties": {
    "records": {
      "type": "array",
      "items": {
        "type": "object",
        "required": ["id", "name", "tags", "price", "active", "owner"],
        "additionalProperties": false,
        "properties": {
          "id": {"type": "integer"},
          "name": {"type": "string"},
          "tags": {"type": "array", "items": {"type": "string"}},
          "price": {"type": "number"},
          "active": {"type": "boolean"},
          "owner": {
            "type": "object",
            "required": ["first", "last"],
            "additionalProperties": false,
            "properties": {"first": {"type": "string"}, "last": {"type": "string"}}
          },
          "note": {"type": "string"}
        }
      }
    }
  }
})";

// ---------------------------------------------------------------------------------------
// The hand-written walk: the same checks as StrictMatch with the strict kind rules, for
// this one layout, with nothing generic left.

bool HasKind(const CompoundValue::FieldMap& fields, const char* name, DataType kind) {
  const auto found = fields.find(std::string_view(name));
  return found != fields.end() && found->second && found->second->type() == kind;
}

bool IsStringList(const DataValue::PtrConstType& value) {
  if (!value || value->type() != DataType::LIST) return false;
  for (const auto& element : static_cast<const ListValue&>(*value)) {
    if (!element || element->type() != DataType::STRING) return false;
  }
  return true;
}

bool CheckRecord(const DataValue::PtrConstType& value) {
  if (!value || value->type() != DataType::STRUCTURE) return false;
  const auto& fields = static_cast<const CompoundValue&>(*value).fields();
  if (!HasKind(fields, "id", DataType::INTEGER) || !HasKind(fields, "name", DataType::STRING) ||
      !HasKind(fields, "price", DataType::DOUBLE) || !HasKind(fields, "active", DataType::BOOLEAN)) {
    return false;
  }
  const auto tags = fields.find(std::string_view("tags"));
  if (tags == fields.end() || !IsStringList(tags->second)) return false;
  const auto owner = fields.find(std::string_view("owner"));
  if (owner == fields.end() || !owner->second || owner->second->type() != DataType::STRUCTURE) return false;
  const auto& ownerFields = static_cast<const CompoundValue&>(*owner->second).fields();
  if (!HasKind(ownerFields, "first", DataType::STRING) || !HasKind(ownerFields, "last", DataType::STRING) ||
      ownerFields.size() != 2) {
    return false;
  }
  std::size_t known = 6;
  const auto note = fields.find(std::string_view("note"));
  if (note != fields.end()) {
    if (!note->second || note->second->type() != DataType::OPTIONAL) return false;
    const auto& optional = static_cast<const OptionalValue&>(*note->second);
    if (optional.isSet() && (!optional.value() || optional.value()->type() != DataType::STRING)) return false;
    ++known;
  }
  return fields.size() == known;
}

bool HandWalk(const DataValue::PtrConstType& document) {
  if (!document || document->type() != DataType::STRUCTURE) return false;
  const auto& fields = static_cast<const CompoundValue&>(*document).fields();
  const auto records = fields.find(std::string_view("records"));
  if (fields.size() != 1 || records == fields.end() || !records->second ||
      records->second->type() != DataType::LIST) {
    return false;
  }
  for (const auto& record : static_cast<const ListValue&>(*records->second)) {
    if (!CheckRecord(record)) return false;
  }
  return true;
}

// ---------------------------------------------------------------------------------------
// Runs and their figures.

// Seconds per document of the peers, by benchmark name and N, as measured in this run.
std::map<std::pair<std::string, int>, double>& PeerTimes() {
  static std::map<std::pair<std::string, int>, double> times;
  return times;
}

// The CPU time of this thread: the machine may be shared, so wall time would count the
// other processes' turns.
double ThreadSeconds() {
  timespec now{};
  clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
  return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) * 1e-9;
}

// Times the loop of `state`, reports the time per document and returns it in CPU seconds.
template <class Body>
double TimedLoop(benchmark::State& state, Body body) {
  const double start = ThreadSeconds();
  for (auto _ : state) body();
  const double seconds = ThreadSeconds() - start;
  state.counters["doc_time"] =
      benchmark::Counter(1, benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert);
  state.counters["records"] = static_cast<double>(state.range(0));
  return state.iterations() > 0 ? seconds / static_cast<double>(state.iterations()) : 0.0;
}

void BM_HandWalk(benchmark::State& state) {
  const int records = static_cast<int>(state.range(0));
  const DataValue::PtrConstType document = sample::MakeValue(records);
  if (!HandWalk(document)) state.SkipWithError("the hand-written walk refuses the document");
  PeerTimes()[{"handwalk", records}] =
      TimedLoop(state, [&] { benchmark::DoNotOptimize(HandWalk(document)); });
}

void BM_Valijson(benchmark::State& state) {
  const int records = static_cast<int>(state.range(0));
  const nlohmann::json document = sample::MakeJson(records);
  const nlohmann::json schemaDocument = nlohmann::json::parse(kSchema);
  valijson::Schema schema;
  valijson::SchemaParser parser;
  valijson::adapters::NlohmannJsonAdapter schemaAdapter(schemaDocument);
  parser.populateSchema(schemaAdapter, schema);
  valijson::Validator validator;
  const valijson::adapters::NlohmannJsonAdapter target(document);
  if (!validator.validate(schema, target, nullptr)) state.SkipWithError("valijson refuses the document");
  PeerTimes()[{"valijson", records}] =
      TimedLoop(state, [&] { benchmark::DoNotOptimize(validator.validate(schema, target, nullptr)); });
}

template <class Match, class Mode>
void BM_Olma(benchmark::State& state) {
  const int records = static_cast<int>(state.range(0));
  const DataDefinition::PtrConstType definition = sample::MakeDefinition();
  const DataValue::PtrConstType document = sample::MakeValue(records);
  Olma::MessageList errors;
  if (!DataValidator::Validate<Match, Mode>(definition, document, errors)) {
    state.SkipWithError("the validator refuses the document");
  }
  const double perDocument = TimedLoop(state, [&] {
    Olma::MessageList messages;
    benchmark::DoNotOptimize(DataValidator::Validate<Match, Mode>(definition, document, messages));
  });
  const auto& peers = PeerTimes();
  const auto valijson = peers.find({"valijson", records});
  const auto walk = peers.find({"handwalk", records});
  if (perDocument > 0 && valijson != peers.end())
    state.counters["x_valijson"] = valijson->second / perDocument;
  if (walk != peers.end() && walk->second > 0) state.counters["x_handwalk"] = perDocument / walk->second;
}

// The peers run first, so that the library's runs can relate to them.
BENCHMARK(BM_HandWalk)->Arg(10)->Arg(1000);
BENCHMARK(BM_Valijson)->Arg(10)->Arg(1000);
BENCHMARK(BM_Olma<StrictMatch, ValidatorModePermissive>)
    ->Name("BM_OlmaStrictMatchPermissive")
    ->Arg(10)
    ->Arg(1000);
BENCHMARK(BM_Olma<StrictMatch, ValidatorModeStrict>)->Name("BM_OlmaStrictMatchStrict")->Arg(10)->Arg(1000);
BENCHMARK(BM_Olma<LooseMatch, ValidatorModePermissive>)
    ->Name("BM_OlmaLooseMatchPermissive")
    ->Arg(10)
    ->Arg(1000);
BENCHMARK(BM_Olma<LooseMatch, ValidatorModeStrict>)->Name("BM_OlmaLooseMatchStrict")->Arg(10)->Arg(1000);

}  // namespace

int main(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
  const std::string goal = "at least 7x faster than valijson, within 2x of the walk";
  RatioReporter reporter({
      {"validate 10 records, `StrictMatch`/permissive",
       "BM_OlmaStrictMatchPermissive/10",
       {{"valijson", "BM_Valijson/10"}, {"hand-written walk", "BM_HandWalk/10"}},
       goal},
      {"validate 1,000 records, `StrictMatch`/permissive",
       "BM_OlmaStrictMatchPermissive/1000",
       {{"valijson", "BM_Valijson/1000"}, {"hand-written walk", "BM_HandWalk/1000"}},
       goal},
      {"validate 1,000 records, `StrictMatch`/strict",
       "BM_OlmaStrictMatchStrict/1000",
       {{"valijson", "BM_Valijson/1000"}, {"hand-written walk", "BM_HandWalk/1000"}},
       goal},
  });
  benchmark::RunSpecifiedBenchmarks(&reporter);
  benchmark::Shutdown();
  return 0;
}
