// This file contains the `read` stage: a table from the bound input stream (adding $casecount)
// or from an .asbf file with its data model.
#include <cstring>

#include "engine/data/asbf.h"
#include "engine/stages/registry.h"
#include "support/interrupt.h"
#include "support/json_util.h"

namespace engine {
namespace {

struct ReadOptions {
  std::string data_source;       // stream name; empty when reading a file
  std::int64_t read_error_threshold = -1;  // bad values tolerated; -1 for any number
  std::string data_path;
  std::string model_path;
};

class ReadStage : public Stage {
 public:
  bool Configure(const StageCall& call, const Script& script, MessageQueue& messages) override {
    call_ = call;
    const support::Json* json = nullptr;
    if (!ArgumentJson(call, script, 0, true, true, &json, messages)) return false;
    const std::string place = StagePlace(call);
    if (const auto* source = support::FindMember(*json, "dataSource")) {
      if (!source->is_string() || source->get<std::string>().empty()) {
        return messages.Error(place + "'dataSource' must be a stream name");
      }
      options_.data_source = source->get<std::string>();
      options_.read_error_threshold = support::GetInt(*json, "readErrorThreshold", -1);
      return true;
    }
    const auto* filesystem = support::FindMember(*json, "filesystem");
    if (filesystem == nullptr || !filesystem->is_object()) {
      return messages.Error(place + "the configuration has neither 'dataSource' nor 'filesystem'");
    }
    options_.model_path = PathFromUri(support::GetString(*filesystem, "dataModel"));
    const auto* locations = support::FindMember(*filesystem, "locations");
    if (locations == nullptr || !locations->is_array() || locations->size() != 1 ||
        !(*locations)[0].is_object()) {
      return messages.Error(place + "'filesystem.locations' must be an array of one object");
    }
    const auto& location = (*locations)[0];
    options_.data_path = PathFromUri(support::GetString(location, "path"));
    if (const auto* parser = support::FindMember(location, "parser")) {
      const std::string name = support::GetString(*parser, "name");
      if (name != "asbf") {
        return messages.Error(place + "the parser '" + name + "' is unknown; only 'asbf' is read");
      }
    }
    if (options_.data_path.empty()) return messages.Error(place + "the data file path is empty");
    if (options_.model_path.empty()) {
      return messages.Error(place + "'filesystem.dataModel' names no data model file");
    }
    return true;
  }

  bool Run(StageContext& context, std::optional<Table>& table) override {
    const std::string place = StagePlace(call_);
    if (table) return context.messages.Error(place + "'read' must be the first stage");
    if (options_.data_source.empty()) {
      auto read = ReadAsbfWithModel(options_.data_path, options_.model_path);
      if (!read) return context.messages.Error(place + read.message());
      table = std::move(*read);
      return true;
    }
    return ReadStream(context, table);
  }

 private:
  bool ReadStream(StageContext& context, std::optional<Table>& table) {
    const std::string place = StagePlace(call_);
    InputStream* input = context.input;
    if (input == nullptr) {
      return context.messages.Error(place + "no input stream is bound for '" +
                                    options_.data_source + "'");
    }
    if (input->Name() != options_.data_source) {
      return context.messages.Error(place + "the bound input stream is '" + input->Name() +
                                    "', not '" + options_.data_source + "'");
    }
    if (input->Failed()) {
      return context.messages.Error(place + "the input stream '" + input->Name() +
                                    "' cannot be read");
    }
    auto model = DataModelFromXml(input->DataModelXml());
    if (!model) return context.messages.Error(place + "input stream: " + model.message());
    Table result;
    for (const Field& field : model->fields) result.AddColumn(field, Column(field.storage));
    const std::size_t field_count = result.columns.size();
    const bool has_casecount = model->Find("$casecount").has_value();
    Column casecount(Storage::kInteger);
    std::int64_t bad_values = 0;
    std::int32_t case_number = 0;
    while (input->Next()) {
      if (input->Cancelled()) return context.messages.Error(place + support::kStoppedText);
      if (case_number == INT32_MAX) {
        return context.messages.Error(place + "the input has too many cases");
      }
      ++case_number;
      for (std::size_t i = 0; i < field_count; ++i) {
        Column& column = result.columns[i];
        const void* data = nullptr;
        std::size_t length = 0;
        if (!input->Value(i, &data, &length)) {
          ++bad_values;
          if (options_.read_error_threshold >= 0 &&
              bad_values > options_.read_error_threshold) {
            return context.messages.Error(place + "case " + std::to_string(case_number) +
                                          ": the value of '" + result.model.fields[i].name +
                                          "' cannot be read");
          }
          column.AppendMissing();
          continue;
        }
        if (data == nullptr) {
          column.AppendMissing();
          continue;
        }
        switch (column.storage()) {
          case Storage::kInteger: {
            std::int32_t v;
            std::memcpy(&v, data, sizeof v);
            column.AppendInt(v);
            break;
          }
          case Storage::kReal: {
            double v;
            std::memcpy(&v, data, sizeof v);
            column.AppendReal(v);
            break;
          }
          case Storage::kString:
            column.AppendText(std::string(static_cast<const char*>(data), length));
            break;
        }
      }
      casecount.AppendInt(case_number);
    }
    if (input->Cancelled()) return context.messages.Error(place + support::kStoppedText);
    if (bad_values > 0) {
      context.messages.Warning(place + std::to_string(bad_values) +
                               " values of the input stream could not be read and are missing");
    }
    if (!has_casecount) {
      Field field;
      field.name = "$casecount";
      field.storage = Storage::kInteger;
      field.measurement = "continuous";
      result.AddColumn(std::move(field), std::move(casecount));
    }
    table = std::move(result);
    return true;
  }

  StageCall call_;
  ReadOptions options_;
};

}  // namespace

std::unique_ptr<Stage> MakeReadStage() { return std::make_unique<ReadStage>(); }

}  // namespace engine
