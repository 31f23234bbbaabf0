// This file contains the interface of a pipeline stage and what a stage sees while it runs.
#pragma once

#include <map>
#include <memory>
#include <optional>
#include <string>

#include "engine/data/table.h"
#include "engine/job/messages.h"
#include "engine/job/row_iterator.h"
#include "engine/script/ast.h"

namespace engine {

// What a running stage may use besides its table.
struct StageContext {
  MessageQueue& messages;
  InputStream* input = nullptr;  // the bound input stream, or null
  // Result streams by name (the file name of a written data file, or a stream name).
  std::map<std::string, std::shared_ptr<const Table>>& results;
  // False while the last stage of a job whose final table nobody reads runs: that stage may
  // move its table away instead of copying it.
  bool table_needed_after = true;
};

// A stage is made from the registry, configured once from its call (reading its JSON into an
// options struct and checking it), and then run. Both return false after reporting the fault
// to the queue, with the stage's name and line.
class Stage {
 public:
  virtual ~Stage() = default;
  virtual bool Configure(const StageCall& call, const Script& script, MessageQueue& messages) = 0;
  // `table` is the output of the previous stage (empty for the first stage) and receives this
  // stage's output.
  virtual bool Run(StageContext& context, std::optional<Table>& table) = 0;
};

// "stage 'read' (line 4): " — the place that every stage message starts with.
std::string StagePlace(const StageCall& call);

// The JSON of argument `index` of a call: the declaration it names, or null when the argument
// is "_" or missing. Reports and returns false when it names a function, or when `required`
// and it is absent or its JSON is not of the kind asked (object when `object`, else array).
bool ArgumentJson(const StageCall& call, const Script& script, std::size_t index, bool required,
                  bool object, const support::Json** json, MessageQueue& messages);

// The three arguments of a stage that works on files: its configuration object, then the arrays
// of its input and output files. `*config`, `*inputs` and `*outputs` are set; `*outputs` is null
// when it may be absent and is. Reports and returns false like ArgumentJson.
bool ConfigurationAndFiles(const StageCall& call, const Script& script, bool outputs_required,
                           const support::Json** config, const support::Json** inputs,
                           const support::Json** outputs, MessageQueue& messages);

// A path from a "file:" URI of a configuration ("file:///tmp/a" and "file:////tmp/a" give
// "/tmp/a"); a plain path is returned as it is.
std::string PathFromUri(const std::string& uri);

}  // namespace engine
