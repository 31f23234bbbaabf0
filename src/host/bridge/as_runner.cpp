// This file contains the host's connection to the embedded engine.
#include "host/bridge/as_runner.h"

#include <exception>
#include <iostream>

#include "host/bridge/as_raw_data_iterator.h"
#include "host/data/procedure_data_source.h"
#include "host/messages/fac_st_dictionary.h"
#include "host/session.h"
#include "support/progress.h"

namespace {

// The source under which the document keeps every message that came out of the engine.
constexpr const char* kEngineSource = "ENGINE";

host::Severity HostSeverity(engine::Severity severity) {
  switch (severity) {
  case engine::Severity::kError:
    return host::Severity::Error;
  case engine::Severity::kWarning:
    return host::Severity::Warning;
  case engine::Severity::kInfo:
    return host::Severity::Note;
  }
  return host::Severity::Error;
}

// The run's progress line (support/progress.h) while a job runs, cleared when it ends, so a long
// run does not look hung; the job's stages then say what they do.
class ProgressLine {
 public:
  ProgressLine() { support::ProgressStage(FacSTDictionary::Shared().LookUp(host::msg::kEngineProgress)); }
  ~ProgressLine() { support::ProgressClear(); }
  ProgressLine(const ProgressLine&) = delete;
  ProgressLine& operator=(const ProgressLine&) = delete;
};

} // namespace

ASRunner::ASRunner(RvProcedure& procedure) : procedure_(&procedure) {}
ASRunner::ASRunner(RvProcedure* procedure) : procedure_(procedure) {}
ASRunner::~ASRunner() {
  cleanExecution();
}

bool ASRunner::prepareActiveDS(QUOR_DataSource& data_source, bool need_variables, bool need_cases) {
  data_source_ = &data_source;
  if (!data_source.HasData())
    return false;
  if (need_variables && data_source.GetNumberOfVariables() == 0)
    return false;
  if (need_cases && data_source.GetNumberOfCases() == 0)
    return false;
  return true;
}

void ASRunner::resetJNI() {
  cleanExecution();
  queued_.clear();
}

bool ASRunner::prepareASLJob(const std::string& script) {
  cleanExecution();
  job_ = engine_.NewJob();
  try {
    return job_->Prepare(script);
  } catch (const std::exception& e) {
    QueueMessage(engine::Severity::kError, host::msg::kEngineException, {e.what()});
  } catch (...) {
    QueueMessage(engine::Severity::kError, host::msg::kEngineException, {"?"});
  }
  return false;
}

bool ASRunner::addInputIterator(ASRawDataIterator* iterator) {
  if (iterator == nullptr)
    return false;
  iterator->Rewind();
  // The module owns the iterator on its stack; the job only borrows it for the run.
  return addInputIterator(
      std::shared_ptr<engine::InputStream>(iterator, [](engine::InputStream*) {}));
}

bool ASRunner::addInputIterator(std::shared_ptr<engine::InputStream> stream) {
  if (!job_ || !stream)
    return false;
  job_->AddInputIterator(std::move(stream));
  return true;
}

bool ASRunner::execute() {
  if (!job_) {
    QueueMessage(engine::Severity::kError, host::msg::kEngineNoJob);
    return false;
  }
  ProgressLine progress;
  try {
    return job_->Execute();
  } catch (const std::exception& e) {
    QueueMessage(engine::Severity::kError, host::msg::kEngineException, {e.what()});
  } catch (...) {
    QueueMessage(engine::Severity::kError, host::msg::kEngineException, {"?"});
  }
  return false;
}

bool ASRunner::executeDescriptive(const engine::DescriptiveRequest& request,
                                  engine::DescriptiveResult& result) {
  if (!job_) {
    QueueMessage(engine::Severity::kError, host::msg::kEngineNoJob);
    return false;
  }
  ProgressLine progress;
  try {
    return job_->ExecuteDescriptive(request, result);
  } catch (const std::exception& e) {
    QueueMessage(engine::Severity::kError, host::msg::kEngineException, {e.what()});
  } catch (...) {
    QueueMessage(engine::Severity::kError, host::msg::kEngineException, {"?"});
  }
  return false;
}

EmbeddedAS::RowDataIterator* ASRunner::getOutputIterator(const std::string& name) {
  if (!job_)
    return nullptr;
  std::unique_ptr<engine::RowIterator> rows;
  try {
    rows = job_->GetOutputIterator(name);
  } catch (...) {
    return nullptr;
  }
  if (!rows)
    return nullptr;
  outputs_.push_back(std::make_unique<EmbeddedAS::RowDataIterator>(std::move(rows)));
  return outputs_.back().get();
}

void ASRunner::CollectJobMessages() {
  if (!job_)
    return;
  for (engine::Message& message : job_->TakeMessages())
    queued_.push_back(std::move(message));
}

void ASRunner::QueueMessage(engine::Severity severity, const char* key,
                            const std::vector<std::string>& args) {
  CollectJobMessages(); // keeps the order in which the faults arose
  queued_.push_back({severity, FacSTDictionary::Shared().Format(key, args)});
}

std::vector<engine::Message> ASRunner::PendingMessages() const {
  std::vector<engine::Message> messages = queued_;
  if (job_) {
    for (const engine::Message& message : job_->Messages())
      messages.push_back(message);
  }
  return messages;
}

void PostEngineMessage(engine::Severity severity, const std::string& text) {
  host::MessageRecord record;
  record.severity = HostSeverity(severity);
  record.source = kEngineSource;
  record.args = {text};
  record.text = FacSTDictionary::Shared().Format(host::msg::kEngineMessage, record.args);
  host::Session* session = host::CurrentSession();
  if (session != nullptr) {
    record.command = session->command.name;
    session->Post(std::move(record));
    return;
  }
  const char* word = record.severity == host::Severity::Error     ? "Error"
                     : record.severity == host::Severity::Warning ? "Warning"
                                                                  : "Note";
  std::cerr << word << ": " << record.text << '\n';
}

void ASRunner::displayAllMessages(bool /*all*/) {
  CollectJobMessages();
  std::vector<engine::Message> messages;
  messages.swap(queued_);
  for (const engine::Message& message : messages)
    PostEngineMessage(message.severity, message.text);
}

void ASRunner::cleanJRef() {
  for (auto& output : outputs_)
    output->close();
  // Unbinds the stream the job borrowed by binding none.
  if (job_)
    job_->AddInputIterator(nullptr);
}

void ASRunner::cleanExecution() {
  outputs_.clear();
  if (job_) {
    job_->Clean();
    job_.reset();
  }
  queued_.clear();
}
