// This file contains a job (one script: prepare, bind an input, execute, read results, clean)
// and the engine that holds at most one job at a time.
#pragma once

#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "engine/data/table.h"
#include "engine/job/descriptive.h"
#include "engine/job/messages.h"
#include "engine/job/row_iterator.h"
#include "engine/script/ast.h"

namespace engine {

class Stage;

class Job {
 public:
  Job();
  ~Job();
  Job(const Job&) = delete;
  Job& operator=(const Job&) = delete;

  // Parses the script and configures every stage (unknown stage, undeclared name, bad JSON,
  // bad options give an error message naming the line). True when the job can run.
  bool Prepare(std::string_view script);
  // Binds the stream that a `read` with a `dataSource` reads in the next Execute.
  void AddInputIterator(std::shared_ptr<InputStream> stream);
  // Runs the prepared pipeline. False, with the reason queued, when the job was not prepared or
  // a stage failed. Nothing is thrown: every exception becomes a message here.
  bool Execute();

  // A stream over the table that a `write` of the finished job wrote under `name` (the data
  // file's name without folders, or its `resultStream`); null when there is none. Each call
  // gives a fresh stream positioned before the first row; it stays valid after Clean().
  std::unique_ptr<RowIterator> GetOutputIterator(const std::string& name) const;
  // The names of the result streams, in byte order.
  std::vector<std::string> OutputNames() const;

  const std::vector<Message>& Messages() const { return messages_.all(); }
  // The queued messages, leaving the queue empty.
  std::vector<Message> TakeMessages() { return messages_.Take(); }

  // Runs the prepared pipeline like Execute and describes the table it ends with (the table of
  // its last stage). False, with the reason queued, when the run or the description failed.
  bool ExecuteDescriptive(const DescriptiveRequest& request, DescriptiveResult& result);

  // Forgets the script, the stages, the input stream, the results and the messages.
  void Clean();

 private:
  bool PrepareUnguarded(std::string_view script);
  // Runs the stages, leaving the last stage's table in `table` when `keep_last`.
  bool RunStages(std::optional<Table>& table, bool keep_last);
  // RunStages with every exception turned into a message that starts with `failure`.
  bool RunGuarded(std::optional<Table>& last, bool keep_last, const std::string& failure);

  MessageQueue messages_;
  std::optional<Script> script_;
  std::vector<std::unique_ptr<Stage>> stages_;
  std::shared_ptr<InputStream> input_;
  std::map<std::string, std::shared_ptr<const Table>> results_;
};

}  // namespace engine
