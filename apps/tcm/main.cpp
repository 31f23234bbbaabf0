// This file contains the tcm program: it loads a dataset, runs a syntax file through the
// command processor, and writes the report.
#include <CLI/CLI.hpp>

#include <fstream>
#include <iostream>
#include <sstream>

#include "apps/tcm/encode_password.h"
#include "apps/tcm/report_files.h"
#include "host/data/dataset_io.h"
#include "host/data/describe.h"
#include "host/frame/command_processor.h"
#include "host/messages/parser_message.h"
#include "host/session.h"
#include "tcm/frame/entries.h"

namespace {

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
};

// Reads the syntax file, or standard input for "-". False with a message when it cannot.
bool ReadSyntax(const std::string& path, std::string& text) {
  if (path == "-") {
    std::ostringstream buffer;
    buffer << std::cin.rdbuf();
    text = buffer.str();
    return true;
  }
  std::ifstream file(path, std::ios::binary);
  if (!file) {
    std::cerr << "Error: cannot read the syntax file " << path << '\n';
    return false;
  }
  std::ostringstream buffer;
  buffer << file.rdbuf();
  text = buffer.str();
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

int RunCommands(const Options& options, bool check_only) {
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
  if (ok && !options.save_data.empty() && session.active_dataset != nullptr) {
    host::SessionScope scope(session);
    ParserMessage messages;
    ok = host::SaveDataset(*session.active_dataset, options.save_data, messages);
  }

  const bool wrote = tcm_app::WriteReports(document, options.html_out, options.json_out,
                                           options.text || (!check_only && options.html_out.empty() &&
                                                            options.json_out.empty()));
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

  if (*run) return RunCommands(options, false);
  if (*check) return RunCommands(options, true);
  if (encode_password.Chosen()) return encode_password.Run();
  return Describe(options);
}
