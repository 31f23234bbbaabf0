// This file contains the job: the one place where the engine catches exceptions, so none
// leaves a job.
#include "engine/job/job.h"

#include <exception>
#include <new>

#include "engine/job/table_iterator.h"
#include "engine/script/parser.h"
#include "engine/stages/registry.h"
#include "support/interrupt.h"
#include "support/progress.h"

namespace engine {
namespace {

// What a user is told a stage is doing while it runs (the progress line on a terminal).
std::string StageLabel(const std::string& qualified_name) {
  static const std::pair<const char*, const char*> kLabels[] = {
      {"read", "Reading the data"},
      {"write", "Writing the data"},
      {"sort", "Sorting the data"},
      {"reclassifyField", "Preparing the data"},
      {"tsdp:tsdp", "Preparing the series"},
      {"rtsdp:rtsdp", "Preparing the series"},
      {"tsdp:convertor", "Preparing the series"},
      {"tcm:tcm", "Building the models"},
      {"tcm:summary", "Summarising the models"},
      {"tcm:score", "Scoring"},
      {"tcm:ar", "Scoring"},
      {"OutputComponent:TCMOutputComponent", "Making the output"}};
  for (const auto& [name, label] : kLabels) {
    if (qualified_name == name) return label;
  }
  return "Running " + qualified_name;
}

}  // namespace

Job::Job() = default;
Job::~Job() = default;

bool Job::Prepare(std::string_view script) {
  script_.reset();
  stages_.clear();
  results_.clear();
  try {
    if (PrepareUnguarded(script)) return true;
  } catch (const std::bad_alloc&) {
    messages_.Error("the script cannot be prepared: out of memory");
  } catch (const std::exception& e) {
    messages_.Error(std::string("the script cannot be prepared: ") + e.what());
  } catch (...) {
    messages_.Error("the script cannot be prepared: an unknown failure");
  }
  script_.reset();
  stages_.clear();
  return false;
}

bool Job::PrepareUnguarded(std::string_view text) {
  auto parsed = ParseScript(text);
  if (!parsed) return messages_.Error("script: " + parsed.message());
  script_ = std::move(*parsed);
  bool ok = true;
  for (const StageCall& call : script_->pipeline) {
    std::unique_ptr<Stage> stage = MakeStage(call.QualifiedName());
    if (!stage) {
      ok = messages_.Error("script: line " + std::to_string(call.line) + ": unknown stage '" +
                           call.QualifiedName() + "'");
      continue;
    }
    // Every stage is configured, so one prepare reports every faulty stage at once.
    if (!stage->Configure(call, *script_, messages_)) ok = false;
    stages_.push_back(std::move(stage));
  }
  return ok;
}

void Job::AddInputIterator(std::shared_ptr<InputStream> stream) { input_ = std::move(stream); }

bool Job::Execute() {
  std::optional<Table> last;
  return RunGuarded(last, false, "the job failed: ");
}

bool Job::RunGuarded(std::optional<Table>& last, bool keep_last, const std::string& failure) {
  // The one place where exceptions of the stages and of the libraries below them stop.
  try {
    return RunStages(last, keep_last);
  } catch (const std::bad_alloc&) {
    return messages_.Error(failure + "out of memory");
  } catch (const std::exception& e) {
    return messages_.Error(failure + e.what());
  } catch (...) {
    return messages_.Error(failure + "an unknown failure");
  }
}

bool Job::RunStages(std::optional<Table>& table, bool keep_last) {
  if (!script_ || stages_.size() != script_->pipeline.size()) {
    return messages_.Error("the job cannot run: its script was not prepared");
  }
  results_.clear();
  StageContext context{messages_, input_.get(), results_};
  for (std::size_t i = 0; i < stages_.size(); ++i) {
    if (support::InterruptRequested()) return messages_.Error(support::kStoppedText);
    context.table_needed_after = keep_last || i + 1 < stages_.size();
    support::ProgressStage(StageLabel(script_->pipeline[i].QualifiedName()));
    if (!stages_[i]->Run(context, table)) return false;
  }
  return true;
}

bool Job::ExecuteDescriptive(const DescriptiveRequest& request, DescriptiveResult& result) {
  result = DescriptiveResult{};
  std::optional<Table> table;
  if (!RunGuarded(table, true, "the descriptive job failed: ")) return false;
  if (!table) return messages_.Error("the descriptive job failed: the pipeline gave no table");
  std::string error;
  bool described = false;
  try {
    described = Describe(*table, request, result, error);
  } catch (const std::exception& e) {
    error = e.what();
  }
  if (!described) {
    result = DescriptiveResult{};
    return messages_.Error("the descriptive job failed: " + error);
  }
  return true;
}

std::unique_ptr<RowIterator> Job::GetOutputIterator(const std::string& name) const {
  auto found = results_.find(name);
  if (found == results_.end()) return nullptr;
  return std::make_unique<TableRowIterator>(found->second);
}

std::vector<std::string> Job::OutputNames() const {
  std::vector<std::string> names;
  for (const auto& [name, table] : results_) names.push_back(name);
  return names;
}

void Job::Clean() {
  script_.reset();
  stages_.clear();
  input_.reset();
  results_.clear();
  messages_.Clear();
}

}  // namespace engine
