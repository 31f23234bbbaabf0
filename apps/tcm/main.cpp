// This file contains the tcm program: it loads a dataset, runs a syntax file through the
// command processor, and writes the report.
#include <CLI/CLI.hpp>

#include <filesystem>
#include <iostream>
#include <sstream>

#include "apps/tcm/encode_password.h"
#include "apps/tcm/report_files.h"
#include "host/data/dataset_io.h"
#include "host/data/describe.h"
#include "host/bridge/as_simple_container.h"
#include "host/data/dictionary.h"
#include "host/frame/command_processor.h"
#include "host/messages/parser_message.h"
#include "host/output/text_renderer.h"
#include "host/session.h"
#include "support/file_io.h"
#include "support/interrupt.h"
#include "support/progress.h"
#include "support/run_files.h"
#include "tcm/frame/entries.h"

namespace {

using support::Status;

constexpr int kExitOk = 0;
constexpr int kExitCommandError = 1;
constexpr int kExitUsage = 2;

struct Options {
  std::string syntax;
  std::string data;
  std::string dictionary;
  std::string html_out;
  std::string json_out;
  std::string save_data;
  std::string trace_dir;
  bool text = false;
  std::size_t width = 0;  // of the text report; 0: the terminal's, else the renderer's default
};

// The width of the text report: --width, else the terminal's (when standard output is one), else
// the renderer's default.
std::size_t TextWidth(const Options& options) {
  if (options.width > 0) return options.width;
  const std::size_t columns = support::TerminalColumns();
  return columns > 0 ? columns : host::kDefaultTextWidth;
}

bool Refuse(const Status& status) {
  std::cerr << "Error: " << status.message() << ". Nothing was run.\n";
  return false;
}

// Reads the syntax file, or standard input for "-". False with a message when it cannot.
bool ReadSyntax(const std::string& path, std::string& text) {
  if (path == "-") {
    std::ostringstream buffer;
    buffer << std::cin.rdbuf();
    text = buffer.str();
    return true;
  }
  auto content = support::ReadFileToString(path);
  if (!content.ok()) {
    std::cerr << "Error: cannot read the syntax file: " << content.message() << '\n';
    return false;
  }
  text = std::move(content).value();
  return true;
}

// Loads the active dataset into the session; false when it was reported unusable.
bool LoadData(const Options& options, host::Session& session) {
  if (options.data.empty()) return true;
  host::SessionScope scope(session);
  ParserMessage messages;
  auto dataset = host::LoadDataset(options.data, options.dictionary, messages);
  if (dataset == nullptr) return false;
  session.active_dataset = std::move(dataset);
  return true;
}

// Tells the run what it reads and what it writes before anything runs: an output that is one of
// the inputs, or that cannot be written, stops the run here. False with a message.
bool DeclareFiles(const Options& options, support::RunFiles& run) {
  std::vector<std::pair<std::string, std::string>> inputs;
  if (options.syntax != "-") inputs.emplace_back(options.syntax, "the syntax file");
  if (!options.data.empty()) {
    inputs.emplace_back(options.data, "the data file");
    const std::string dictionary =
        options.dictionary.empty() ? host::DictionaryPathFor(options.data) : options.dictionary;
    std::error_code ec;
    if (std::filesystem::exists(dictionary, ec)) inputs.emplace_back(dictionary, "the dictionary");
  }
  std::vector<std::pair<std::string, std::string>> outputs{
      {options.html_out, "the HTML report (--out)"},
      {options.json_out, "the JSON report (--json)"},
      {options.save_data, "the saved data (--save-data)"}};
  if (!options.save_data.empty() &&
      support::KindOfOutput(options.save_data) == support::OutputKind::kFile) {
    outputs.emplace_back(host::DictionaryPathFor(options.save_data),
                         "the saved data's dictionary (--save-data)");
  }
  for (const auto& [path, role] : inputs) {
    if (Status added = run.AddInput(path, role); !added) return Refuse(added);
  }
  for (const auto& [path, role] : outputs) {
    if (path.empty()) continue;
    if (Status added = run.AddOutput(path, role); !added) return Refuse(added);
  }
  return true;
}

// The exit status of a run that an interrupt stopped, as a shell reports a signal's.
int Interrupted() {
  std::cerr << "Stopped: the run was interrupted. The files it would have written were not "
               "written; the files you had are as they were.\n";
  return 128 + support::InterruptSignal();
}

int RunCommands(const Options& options, bool check_only) {
  support::InstallInterruptHandlers();
  support::TerminalProgress progress;
  auto begun = support::RunFiles::Begin();
  if (!begun.ok()) {
    std::cerr << "Error: " << begun.message() << '\n';
    return kExitCommandError;
  }
  support::RunFiles& run = **begun;
  if (!DeclareFiles(options, run)) return kExitCommandError;

  std::string syntax;
  if (!ReadSyntax(options.syntax, syntax)) return kExitCommandError;

  host::OutputDocument document;
  host::Session session;
  session.document = &document;
  session.err = &std::cerr;
  session.check_only = check_only;
  session.trace_dir = options.trace_dir;

  bool ok = LoadData(options, session);
  if (ok) {
    host::CommandProcessor processor(session);
    RegisterTCMEntries(processor);
    const std::string file_name = options.syntax == "-" ? "<stdin>" : options.syntax;
    for (const auto& outcome : processor.RunSyntax(syntax, file_name)) ok = ok && !outcome.had_error;
  }
  if (support::InterruptRequested()) return Interrupted();
  if (ok && !options.save_data.empty() && session.active_dataset != nullptr) {
    host::SessionScope scope(session);
    ParserMessage messages;
    ok = host::SaveDataset(*session.active_dataset, options.save_data, messages);
  }

  for (const auto& kept : run.Finished(kKeptFileRole)) {
    document.kept_model_systems.push_back(kept.string());
  }
  support::ProgressStage("Writing the report");
  const bool text =
      options.text || (!check_only && options.html_out.empty() && options.json_out.empty());
  bool wrote = tcm_app::WriteReports(document, options.html_out, options.json_out,
                                     text ? TextWidth(options) : 0, text);
  support::ProgressClear();
  if (support::InterruptRequested()) return Interrupted();
  // Everything the run wrote replaces the old files now, together.
  if (Status committed = run.Commit(); !committed) {
    std::cerr << "Error: " << committed.message() << '\n';
    wrote = false;
  }
  // The report names it in a note, but a run without a report would lose it in the folder.
  for (const std::string& kept : document.kept_model_systems) {
    std::cerr << "Model system kept at " << kept
              << " (OUTFILE MODELSYSTEM names a file of your choice)\n";
  }
  return ok && wrote ? kExitOk : kExitCommandError;
}

int Describe(const Options& options) {
  host::OutputDocument document;
  host::Session session;
  session.document = &document;
  session.err = &std::cerr;
  if (!LoadData(options, session) || session.active_dataset == nullptr) return kExitCommandError;
  std::cout << host::DescribeDataset(*session.active_dataset, options.data);
  return kExitOk;
}

}  // namespace

int main(int argc, char** argv) {
  CLI::App app{"tcm: temporal causal modeling of multiple time series"};
  app.require_subcommand(1);
  Options options;

  CLI::App* run = app.add_subcommand("run", "Run the commands of a syntax file");
  run->add_option("syntax", options.syntax, "Syntax file, or - for standard input")->required();
  run->add_option("--data", options.data, "Dataset (CSV)");
  run->add_option("--dictionary", options.dictionary, "Dictionary file (JSON)");
  run->add_option("--out", options.html_out, "Write the report as HTML");
  run->add_flag("--text", options.text, "Print the report as text");
  run->add_option("--width", options.width,
                  "Columns of the text report (default: the terminal's, else 100)")
      ->check(CLI::Range(std::size_t{20}, std::size_t{1000}));
  run->add_option("--json", options.json_out, "Write the report as JSON");
  run->add_option("--save-data", options.save_data, "Save the active dataset at the end (CSV)");
  run->add_option("--trace", options.trace_dir, "Write every flow script and traced JSON here");

  CLI::App* check = app.add_subcommand("check", "Parse and validate the commands only");
  check->add_option("syntax", options.syntax, "Syntax file, or - for standard input")->required();
  check->add_option("--data", options.data, "Dataset (CSV)");
  check->add_option("--dictionary", options.dictionary, "Dictionary file (JSON)");
  check->add_option("--json", options.json_out, "Write the messages as JSON");

  CLI::App* describe = app.add_subcommand("describe", "Print the dictionary of a dataset");
  describe->add_option("--data", options.data, "Dataset (CSV)")->required();
  describe->add_option("--dictionary", options.dictionary, "Dictionary file (JSON)");

  tcm_app::EncodePasswordCommand encode_password(app);

  try {
    app.parse(argc, argv);
  } catch (const CLI::ParseError& error) {
    const int code = app.exit(error);
    return code == 0 ? kExitOk : kExitUsage;
  }

  // Caught here so that the run unwinds: its temporary files and unfinished outputs go with it.
  try {
    if (*run) return RunCommands(options, false);
    if (*check) return RunCommands(options, true);
    if (encode_password.Chosen()) return encode_password.Run();
    return Describe(options);
  } catch (const std::bad_alloc&) {
    std::cerr << "Error: not enough memory; nothing was written.\n";
  } catch (const std::exception& error) {
    std::cerr << "Error: " << error.what() << "; nothing was written.\n";
  }
  return kExitCommandError;
}
