// Benchmark of the preparation stage: 1,000,000 daily cases over 1,000 series (10 regions by
// 100 stores), each a day of one store, turned into regular series with gaps imputed.
// Run: bench_prepare [--benchmark_filter=...]; peak memory with /usr/bin/time -v.
#include <benchmark/benchmark.h>

#include <random>
#include <string>

#include "engine/prep/options.h"
#include "engine/prep/prepare.h"
#include "support/json_util.h"
#include "support/time.h"

namespace {

constexpr int kRegions = 10;
constexpr int kStores = 100;

// One case per store and day over `cases / 1000` days, with 1% of the cases missing (gaps to
// impute) and two metrics; rows shuffled by store so that grouping has work to do.
engine::Table MakeCases(std::int64_t cases) {
  const std::int64_t days = cases / (kRegions * kStores);
  engine::Table table;
  engine::Column region(engine::Storage::kString), store(engine::Storage::kInteger),
      date(engine::Storage::kReal), sales(engine::Storage::kReal), cost(engine::Storage::kReal),
      number(engine::Storage::kInteger);
  std::mt19937 random(7);
  std::uniform_real_distribution<double> noise(0, 10);
  const double start = static_cast<double>(support::DaysFromCivil(2020, 1, 1) * support::kSecondsPerDay);
  std::int32_t case_number = 0;
  for (std::int64_t day = 0; day < days; ++day) {
    for (int r = 0; r < kRegions; ++r) {
      for (int s = 0; s < kStores; ++s) {
        ++case_number;
        if (random() % 100 == 0) continue;
        region.AppendText("region" + std::to_string(r));
        store.AppendInt(s);
        date.AppendReal(start + static_cast<double>(day * support::kSecondsPerDay));
        sales.AppendReal(100 + noise(random));
        cost.AppendReal(50 + noise(random));
        number.AppendInt(case_number);
      }
    }
  }
  const auto field = [](const char* name, engine::Storage storage) {
    engine::Field f;
    f.name = name;
    f.storage = storage;
    return f;
  };
  table.AddColumn(field("region", engine::Storage::kString), std::move(region));
  table.AddColumn(field("store", engine::Storage::kInteger), std::move(store));
  table.AddColumn(field("date", engine::Storage::kReal), std::move(date));
  table.AddColumn(field("sales", engine::Storage::kReal), std::move(sales));
  table.AddColumn(field("cost", engine::Storage::kReal), std::move(cost));
  table.AddColumn(field("$casecount", engine::Storage::kInteger), std::move(number));
  return table;
}

engine::TsdpOptions Options(const char* output_interval) {
  engine::TsdpOptions options;
  engine::MessageQueue messages;
  auto json = support::ParseJson(std::string(R"({"dimFieldList":["region","store"],
      "metricFieldList":["sales","cost"],"dateTimeField":"date","inputInterval":"DAY",
      "outputInterval":")") + output_interval + R"(","missingImputType":"LINEAR_INTERP",
      "exportQuality":true})");
  engine::ReadTsdpOptions(*json, "", messages, options);
  return options;
}

void Prepare(benchmark::State& state, const char* output_interval) {
  const engine::Table table = MakeCases(state.range(0));
  const engine::TsdpOptions options = Options(output_interval);
  for (auto _ : state) {
    engine::MessageQueue messages;
    engine::PreparedData prepared;
    if (!engine::Prepare(table, options, "", messages, prepared)) {
      state.SkipWithError("the preparation failed");
      break;
    }
    benchmark::DoNotOptimize(prepared.table.RowCount());
  }
  state.SetItemsProcessed(state.iterations() * state.range(0));
}

void BM_PrepareDaily(benchmark::State& state) { Prepare(state, "DAY"); }
void BM_PrepareWeekly(benchmark::State& state) { Prepare(state, "WEEK"); }

}  // namespace

BENCHMARK(BM_PrepareDaily)->Arg(100000)->Arg(1000000)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_PrepareWeekly)->Arg(1000000)->Unit(benchmark::kMillisecond);
BENCHMARK_MAIN();
