// Benchmark of the first flow of every run: the active dataset streamed into the engine and
// written as the converted data, with and without ISO 8601 time strings to turn into times.
// Run: bench_conversion [--benchmark_filter=...]; peak memory with /usr/bin/time -v.
#include <benchmark/benchmark.h>

#include <cstdio>
#include <memory>
#include <string>

#include "host/bridge/as_data_model.h"
#include "host/bridge/as_raw_data_iterator.h"
#include "host/bridge/as_runner.h"
#include "host/bridge/as_stop_processor.h"
#include "host/data/procedure_data_source.h"
#include "host/output/document.h"
#include "host/output/rv.h"
#include "host/session.h"
#include "support/time.h"
#include "tcm/model/tcm_model_spec.h"
#include "tcm/stages/tsdp_runner.h"

namespace {

constexpr int kVariables = 10;

// date (numeric or ISO text), region, product, then seven metrics: one case per region and
// product a day, as a retail table would have.
host::Dataset MakeCases(std::int64_t cases, bool isoText) {
  host::Dataset dataset;
  host::Variable date;
  date.name = "date";
  if (isoText) {
    date.type = 19;
  } else {
    date.format = {host::fmt::kDate, 11, 0};
  }
  dataset.AddVariable(date);
  for (const char* name : {"region", "product"}) {
    host::Variable dimension;
    dimension.name = name;
    dimension.type = 8;
    dataset.AddVariable(dimension);
  }
  for (int metric = 0; metric < kVariables - 3; ++metric) {
    host::Variable variable;
    variable.name = "m";
    variable.name += std::to_string(metric + 1);
    dataset.AddVariable(variable);
  }
  dataset.SetCaseCount(cases);
  const double start = support::DaysFromCivil(2000, 1, 1) * 86400.0;
  const char* regions[] = {"North", "South", "East", "West"};
  const char* products[] = {"A", "B", "C", "D", "E"};
  std::vector<double> times(static_cast<std::size_t>(cases));
  std::vector<std::string> texts;
  std::vector<std::string> region(static_cast<std::size_t>(cases));
  std::vector<std::string> product(static_cast<std::size_t>(cases));
  for (std::int64_t row = 0; row < cases; ++row) {
    const auto i = static_cast<std::size_t>(row);
    times[i] = start + static_cast<double>(row / 20) * 86400.0;
    region[i] = regions[row % 4];
    product[i] = products[(row / 4) % 5];
  }
  if (isoText) {
    texts.reserve(times.size());
    for (double t : times) texts.push_back(support::FormatTime(static_cast<int64_t>(t), "%Y-%m-%d"));
    dataset.SetTextColumn(0, std::move(texts));
  } else {
    dataset.SetNumberColumn(0, std::move(times));
  }
  dataset.SetTextColumn(1, std::move(region));
  dataset.SetTextColumn(2, std::move(product));
  for (int metric = 0; metric < kVariables - 3; ++metric) {
    std::vector<double> values(static_cast<std::size_t>(cases));
    for (std::size_t i = 0; i < values.size(); ++i) {
      values[i] = static_cast<double>((i * 7919 + static_cast<std::size_t>(metric)) % 1000) / 10;
    }
    dataset.SetNumberColumn(3 + metric, std::move(values));
  }
  return dataset;
}

void RunConversion(benchmark::State& state, bool isoText) {
  const std::int64_t cases = state.range(0);
  host::OutputDocument document;
  host::Session session;
  session.document = &document;
  session.command.name = "TCM MODEL";
  host::SessionScope scope(session);
  ProcedureDataSource source(std::make_shared<host::Dataset>(MakeCases(cases, isoText)));
  std::vector<int> indexes;
  for (int i = 0; i < kVariables; ++i) indexes.push_back(i);

  TCMModelValidSpecs spec;
  spec.timeType = isoText ? "ISO8601" : "DATETIMEVAR";
  spec.timeVars.timeVar = "date";
  RvProcedure procedure("Temporal Causal Modeling", 10);
  ASRunner runner(procedure);
  runner.prepareActiveDS(source, true, true);
  runner.resetJNI();
  ASStopProcessor stop(0.0);
  for (auto _ : state) {
    ASDataModel model(&source, true, true, false);
    model.UpdateAnalysMetadata(indexes);
    ASRawDataIterator iterator(model, nullptr);
    iterator.SetName("_activeTCMDataset_");
    iterator.SetStopProcessor(&stop);
    TSDPRunner tsdp(spec, runner, iterator, nullptr);
    if (!tsdp.ConvertTimeStrings()) {
      state.SkipWithError("the conversion failed");
      break;
    }
  }
  const double values = static_cast<double>(cases) * kVariables;
  state.counters["values/s"] =
      benchmark::Counter(values, benchmark::Counter::kIsIterationInvariantRate);
}

void BM_ConvertNumericTimes(benchmark::State& state) { RunConversion(state, false); }
void BM_ConvertIsoTimeStrings(benchmark::State& state) { RunConversion(state, true); }

BENCHMARK(BM_ConvertNumericTimes)->Arg(100000)->Arg(1000000)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_ConvertIsoTimeStrings)->Arg(100000)->Arg(1000000)->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
