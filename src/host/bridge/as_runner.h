// This file contains ASRunner: the host's connection to the embedded engine, holding at most one
// job at a time, and the way the engine's messages reach the output.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "engine/job/engine.h"
#include "host/bridge/embedded_as.h"

class ASRawDataIterator;
class QUOR_DataSource;
class RvProcedure;

// Message keys of the bridge.
namespace host::msg {
inline constexpr const char* kEngineMessage = "ENGINE_MESSAGE_KEY";      // text
inline constexpr const char* kEngineNoJob = "ENGINE_NO_JOB_KEY";         //
inline constexpr const char* kEngineException = "ENGINE_EXCEPTION_KEY";  // reason
inline constexpr const char* kEngineDataModel = "ENGINE_DATA_MODEL_KEY"; // reason
inline constexpr const char* kEngineProgress = "ENGINE_PROGRESS_KEY";    //
inline constexpr const char* kBridgeKeys[] = {kEngineMessage, kEngineNoJob, kEngineException,
                                              kEngineDataModel, kEngineProgress};
} // namespace host::msg

// Posts one message to the current session's output as displayAllMessages does (source
// "ENGINE"); outside a session to standard error. For the bridge's jobs that run without a runner.
void PostEngineMessage(engine::Severity severity, const std::string& text);

// Per job: prepareASLJob, optionally addInputIterator, execute (or executeDescriptive), reading of
// results, displayAllMessages, cleanJRef, cleanExecution. Nothing here throws.
class ASRunner {
 public:
  // The procedure is the output the run writes into; messages go to the current session's open
  // point, which the procedure set.
  explicit ASRunner(RvProcedure& procedure);
  explicit ASRunner(RvProcedure* procedure);
  ~ASRunner();
  ASRunner(const ASRunner&) = delete;
  ASRunner& operator=(const ASRunner&) = delete;

  // Binds the active dataset. False when it has no dataset, or, with the flags, no variables
  // (`need_variables`) or no cases (`need_cases`).
  bool prepareActiveDS(QUOR_DataSource& data_source, bool need_variables, bool need_cases);
  // Drops any job, its results and its messages.
  void resetJNI();

  // Starts a new job on `script` (the previous one, if any, is cleaned first). True when the
  // engine accepted the script; its reasons otherwise wait for displayAllMessages.
  bool prepareASLJob(const std::string& script);
  // Binds the input stream of the next execute. The iterator is rewound and must outlive the
  // run; false when no job is prepared or the iterator is null.
  bool addInputIterator(ASRawDataIterator* iterator);
  bool addInputIterator(std::shared_ptr<engine::InputStream> stream);
  // Runs the prepared job and blocks until it ends. True for success; false, with the reason
  // queued, when no job was prepared or the job failed.
  bool execute();
  // Runs the prepared job and describes the table it ends with (ASDescriptive's pass).
  bool executeDescriptive(const engine::DescriptiveRequest& request,
                          engine::DescriptiveResult& result);
  // The stream that the finished job wrote under `name` (a data file's name without folders, or
  // a result stream's name); null when there is none. Owned by the runner, usable until
  // cleanExecution().
  EmbeddedAS::RowDataIterator* getOutputIterator(const std::string& name);

  // Sends every queued message to the output: errors as errors, warnings as warnings, notes as
  // notes, each with the source "ENGINE", the engine's text as its one argument and the text of
  // ENGINE_MESSAGE_KEY; outside a session to standard error. The queue is empty afterwards. The
  // flag is kept for callers.
  void displayAllMessages(bool all);
  // Adds a message of the bridge's own to the queue (key from the string table, arguments).
  void QueueMessage(engine::Severity severity, const char* key,
                    const std::vector<std::string>& args = {});
  // Messages queued and not yet displayed, the job's included.
  std::vector<engine::Message> PendingMessages() const;

  // Closes the result streams handed out and unbinds the input stream.
  void cleanJRef();
  // Ends the job: its results, streams and undisplayed messages go; a new job may be prepared.
  void cleanExecution();

  bool HasJob() const { return job_ != nullptr; }
  RvProcedure* Procedure() const { return procedure_; }
  QUOR_DataSource* ActiveDataSource() const { return data_source_; }

 private:
  void CollectJobMessages();

  RvProcedure* procedure_;
  QUOR_DataSource* data_source_ = nullptr;
  engine::Engine engine_;
  std::unique_ptr<engine::Job> job_;
  std::vector<engine::Message> queued_;
  std::vector<std::unique_ptr<EmbeddedAS::RowDataIterator>> outputs_;
};
