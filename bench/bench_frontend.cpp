// Benchmarks of what runs before the engine: loading the example dataset and reading the
// example's TCM MODEL command against it.
#include <benchmark/benchmark.h>

#include <fstream>
#include <sstream>

#include "host/data/dataset_io.h"
#include "host/frame/command_processor.h"
#include "host/messages/parser_message.h"
#include "host/session.h"
#include "tcm/frame/entries.h"

namespace {

const std::string kRoot = TCM_SOURCE_DIR;

std::string ReadText(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  std::ostringstream text;
  text << file.rdbuf();
  return text.str();
}

void BM_LoadRetailCsv(benchmark::State& state) {
  host::OutputDocument document;
  host::Session session;
  session.document = &document;
  host::SessionScope scope(session);
  for (auto _ : state) {
    ParserMessage messages;
    auto dataset = host::LoadDataset(kRoot + "/examples/retail/sales.csv", "", messages);
    benchmark::DoNotOptimize(dataset);
  }
}
BENCHMARK(BM_LoadRetailCsv)->Unit(benchmark::kMillisecond);

void BM_ReadRetailModelCommand(benchmark::State& state) {
  host::OutputDocument document;
  host::Session session;
  session.document = &document;
  {
    host::SessionScope scope(session);
    ParserMessage messages;
    session.active_dataset = host::LoadDataset(kRoot + "/examples/retail/sales.csv", "", messages);
  }
  const std::string syntax = ReadText(kRoot + "/examples/retail/retail.tcm");
  host::CommandProcessor processor(session);
  RegisterTCMEntries(processor);
  for (auto _ : state) {
    auto outcomes = processor.RunSyntax(syntax, "retail.tcm");
    benchmark::DoNotOptimize(outcomes);
    document.root.children.clear();
  }
}
BENCHMARK(BM_ReadRetailModelCommand)->Unit(benchmark::kMicrosecond);

}  // namespace

BENCHMARK_MAIN();
