// This file contains the saving of result rows: the fills of a new and of a merged dataset, and
// the naming and formats of the result variables.
#include "tcm/files/save_result_data.h"

#include <cstdint>
#include <exception>
#include <memory>
#include <vector>

#include "host/bridge/as_runner.h"
#include "host/bridge/as_simple_container.h"
#include "host/bridge/asl_path.h"
#include "host/bridge/embedded_as.h"
#include "host/bridge/ext_name_str.h"
#include "host/data/data_messages.h"
#include "host/data/output_case_file.h"
#include "host/data/procedure_data_source.h"
#include "host/messages/fac_st_dictionary.h"
#include "host/messages/parser_message.h"
#include "host/session.h"
#include "support/file_io.h"
#include "tcm/frame/spec/valid_spec.h"

namespace {

constexpr const char* kCaseCountField = "$casecount";
constexpr const char* kFutureFlagField = "$FutureFlag";
constexpr const char* kForecastFlag = "FORECASTFLAG";
constexpr int kMeasureScale = 3;
constexpr int kRoleInput = 0;
constexpr int kMaxNumericWidth = 40;

// The fields of the rows, from their data model file; false when it cannot be read (reported).
bool ReadResultMetadata(const ResultSaveContext& context, CFMetaData& metadata) {
  const std::string local = FetchFile::fetch(context.dataModelPath, true, true);
  if (local.empty()) {
    context.messages.HostError(host::msg::kEngineDataModel, {context.dataModelPath});
    return false;
  }
  auto text = support::ReadFileToString(local);
  if (!text.ok()) {
    context.messages.HostError(host::msg::kEngineDataModel, {text.error().message});
    return false;
  }
  const support::Status status = metadata.ImportXMLDoc(*text);
  if (!status.ok()) {
    context.messages.HostError(host::msg::kEngineDataModel, {status.error().message});
    return false;
  }
  return true;
}

void ReportUnreadable(const ResultSaveContext& context, int64_t row, const CFField& field) {
  context.messages.HostError(
      host::msg::kFileUnreadable,
      {context.dataName, "row " + std::to_string(row) + ", field " + field.GetName()});
}

// Reads field `index` of the current row into `column` of the case by the field's storage:
// integers and reals as numbers (an invalid real is system-missing), texts with their length.
bool ReadCell(EmbeddedAS::RowDataIterator& rows, std::size_t index, int storage, QUOR_Case& c,
              int column) {
  const void* data = nullptr;
  std::size_t length = 0;
  if (rows.getValue(index, &data, &length) != 0)
    return false;
  if (storage == CFStorage::kString) {
    c.SetColumnValue(column, static_cast<const char*>(data), data == nullptr ? 0 : length);
    return true;
  }
  const double value = NumericStorageCFToStat(data, storage);
  c.SetColumnValue(column, IsValidStatDouble(value) ? value : host::kSysMiss);
  return true;
}

// The variable of a field that the active dataset does not have: by its storage, and, for a
// result field, named and formatted as a result.
bool MakeNewVariable(const CFField& field, IndependentDataStore& store,
                     const ResultSaveContext& context) {
  StoreVariable* variable =
      store.MakeVariable(field.GetName(), field.GetStorage() == CFStorage::kString);
  if (variable == nullptr)
    return false;
  const std::string keyword = ResultKeyword(field.GetName());
  if (!keyword.empty()) {
    DefineResultVariable(field, *variable, keyword, context.spec, context.activeData);
  }
  return true;
}

// The metric of a result field: its name up to the last "_".
std::string BaseName(const std::string& fieldName) {
  return fieldName.substr(0, fieldName.rfind('_'));
}

host::PrintFormat DefaultResultFormat(const std::string& keyword) {
  return keyword == kForecastFlag ? host::PrintFormat{host::fmt::kF, 1, 0}
                                  : host::PrintFormat{host::fmt::kF, 8, 3};
}

} // namespace

std::string ResultKeyword(const std::string& fieldName) {
  if (fieldName.find("_predicted") != std::string::npos)
    return "PREDICTED";
  if (fieldName.find("_LCI") != std::string::npos)
    return "LCLROOT";
  if (fieldName.find("_UCI") != std::string::npos)
    return "UCLROOT";
  if (fieldName.find("_residual") != std::string::npos)
    return "NRESIDUAL";
  if (fieldName == kFutureFlagField)
    return kForecastFlag;
  return {};
}

std::string ResultVariableName(const std::string& fieldName, const std::string& keyword,
                               const ValidSpec& spec) {
  SaveEntry entry;
  std::string root;
  if (spec.FindSaveEntry(keyword, entry)) {
    root = entry.rootName;
  } else if (keyword == "PREDICTED") {
    root = "Predicted";
  } else if (keyword == "LCLROOT") {
    root = "LCL";
  } else if (keyword == "UCLROOT") {
    root = "UCL";
  } else if (keyword == "NRESIDUAL") {
    root = "NResidual";
  } else if (keyword == kForecastFlag) {
    root = "ForecastIndicator";
  }
  if (keyword == kForecastFlag)
    return root;
  return root + "_" + BaseName(fieldName);
}

host::PrintFormat ResultVariableFormat(const std::string& fieldName, const std::string& keyword,
                                       const QUOR_DataSource& activeData) {
  const int index = activeData.FindVarIndex(BaseName(fieldName), 0);
  const QUOR_Variable* base = index < 0 ? nullptr : activeData.GetVariable(index);
  if (base == nullptr)
    return DefaultResultFormat(keyword);
  host::PrintFormat format = base->GetFormat();
  // Strings may be wide; a number never needs more than 40 places.
  if (format.width > kMaxNumericWidth && !host::IsStringFormat(format.type)) {
    format.width = kMaxNumericWidth;
  }
  return format;
}

void DefineResultVariable(const CFField& field, StoreVariable& variable, const std::string& keyword,
                          const ValidSpec& spec, const QUOR_DataSource& activeData) {
  const std::string name = ResultVariableName(field.GetName(), keyword, spec);
  variable.SetName(name);
  variable.SetLabel(name);
  host::PrintFormat format = ResultVariableFormat(field.GetName(), keyword, activeData);
  if (!variable.SetFormat(format)) {
    format = DefaultResultFormat(keyword);
    variable.SetFormat(format);
  }
  variable.SetWriteFormat(format);
  variable.SetMeasurementLevel(kMeasureScale);
  variable.SetRole(kRoleInput);
}

bool FillNewDataset(EmbeddedAS::RowDataIterator& rows, IndependentDataStore& store,
                    const ResultSaveContext& context) {
  store.SetLabel(FacSTDictionary::Shared().LookUp("Temporal Causal Modeling"));
  CFMetaData metadata;
  if (!ReadResultMetadata(context, metadata))
    return false;

  std::size_t caseIndex = CFMetaData::kNoField;
  for (std::size_t i = 0; i < metadata.FieldCount(); ++i) {
    const CFField& field = *metadata.GetField(i);
    if (field.GetName() == kCaseCountField) {
      caseIndex = i;
      continue;
    }
    const int active = context.activeData.FindVarIndex(field.GetName(), 0);
    const bool made = active >= 0
                          ? store.MakeVariable(*context.activeData.GetVariable(active)) != nullptr
                          : MakeNewVariable(field, store, context);
    if (!made)
      return false;
  }
  store.CommitDictionary();

  QUOR_Case c(store.ColumnCount());
  int64_t row = 0;
  while (rows.next() == 0) {
    ++row;
    c.InitCase();
    for (std::size_t i = 0; i < metadata.FieldCount(); ++i) {
      if (i == caseIndex)
        continue;
      const int column =
          static_cast<int>(caseIndex != CFMetaData::kNoField && i > caseIndex ? i - 1 : i);
      const CFField& field = *metadata.GetField(i);
      if (!ReadCell(rows, i, field.GetStorage(), c, column)) {
        ReportUnreadable(context, row, field);
        return false;
      }
    }
    store.AddCase(c);
  }
  return true;
}

bool FillMergedDataset(EmbeddedAS::RowDataIterator& rows, IndependentDataStore& store,
                       const ResultSaveContext& context) {
  CFMetaData metadata;
  if (!ReadResultMetadata(context, metadata))
    return false;
  const std::size_t caseIndex = metadata.GetFieldIndex(kCaseCountField);
  const bool caseIsInteger = caseIndex != CFMetaData::kNoField &&
                             metadata.GetField(caseIndex)->GetStorage() == CFStorage::kInteger;

  // Copying the dictionary must not move the store's destination.
  const UserCaseFileSpec destination = store.GetFileSpecExt();
  if (!store.CopyDictionary(context.activeData))
    return false;
  store.SetFileSpec(destination);

  const int oldCount = context.activeData.GetNumberOfVariables();
  std::vector<std::size_t> oldWidths; // 0 for a numeric column
  for (int i = 0; i < oldCount; ++i)
    oldWidths.push_back(static_cast<std::size_t>(context.activeData.GetVariable(i)->GetType()));

  std::vector<std::size_t> newFields;
  for (std::size_t i = 0; i < metadata.FieldCount(); ++i) {
    const CFField& field = *metadata.GetField(i);
    if (i == caseIndex || store.FindVariable(field.GetName()) >= 0)
      continue;
    newFields.push_back(i);
    if (!MakeNewVariable(field, store, context))
      return false;
  }
  store.CommitDictionary();
  std::unique_ptr<QUOR_CaseIterator> cases = MakeCaseIterator(context.activeData);
  if (cases == nullptr)
    return false;

  QUOR_Case c(store.ColumnCount());
  int64_t row = 0;
  int64_t matched = 0;  // active cases that got a row
  while (rows.next() == 0) {
    ++row;
    int64_t n = -1;
    if (caseIndex != CFMetaData::kNoField) {
      const void* data = nullptr;
      std::size_t length = 0;
      if (rows.getValue(caseIndex, &data, &length) != 0) {
        ReportUnreadable(context, row, *metadata.GetField(caseIndex));
        return false;
      }
      const double value =
          NumericStorageCFToStat(data, caseIsInteger ? CFStorage::kInteger : CFStorage::kReal);
      if (IsValidStatDouble(value) && value >= 1.0 && value < 9.0e18)
        n = static_cast<int64_t>(value);
    }
    // Forward only: a case behind the iterator is not sought again, so rows out of order lose
    // their case rather than every later row losing its own.
    if (n >= 1 && cases != nullptr) {
      while (cases->GetCaseNumber() < n) {
        if (!cases->NextCase()) {
          cases.reset();
          break;
        }
      }
    }
    c.InitCase();
    if (cases != nullptr && cases->GetCaseNumber() == n) {
      ++matched;
      for (int col = 0; col < oldCount; ++col) {
        if (oldWidths[static_cast<std::size_t>(col)] > 0) {
          c.SetColumnValue(col, cases->GetStringValue(col),
                           oldWidths[static_cast<std::size_t>(col)]);
        } else {
          c.SetColumnValue(col, cases->GetNumericValue(col));
        }
      }
    }
    for (std::size_t k = 0; k < newFields.size(); ++k) {
      const CFField& field = *metadata.GetField(newFields[k]);
      if (!ReadCell(rows, newFields[k], field.GetStorage(), c, oldCount + static_cast<int>(k))) {
        ReportUnreadable(context, row, field);
        return false;
      }
    }
    store.AddCase(c);
  }
  // Cases the engine sent no row for (outside the estimation period) are not in the new
  // dataset: say how many.
  const int64_t dropped = context.activeData.GetNumberOfCases() - matched;
  if (dropped > 0)
    context.messages.GenericWarning("MERGE_CASES_DROPPED_KEY", std::to_string(dropped));
  return true;
}

bool SaveResultRows(EmbeddedAS::RowDataIterator& rows, const std::string& dataName,
                    const std::string& dataModelPath, ValidSpec& spec, bool aggregationChecked,
                    ProcedureDataSource& dataSource) {
  bool intoActive = false;
  bool initFailed = false;
  if (!spec.outData.IsInit() && aggregationChecked) {
    intoActive = spec.outData.Init("*", false, true);
    initFailed = !intoActive;
  }
  UserOutputCaseFile file(spec.outData);
  IndependentDataStore* store = file.DataSource();
  if (initFailed || store == nullptr)
    return true;

  ParserMessage messages;
  if (const host::Session* session = host::CurrentSession()) {
    messages.SetCommandName(session->command.name);
  }
  const ResultSaveContext context{spec, dataName, dataModelPath, dataSource, messages};
  bool result = false;
  try {
    result = intoActive ? FillMergedDataset(rows, *store, context)
                        : FillNewDataset(rows, *store, context);
  } catch (const std::exception& error) {
    messages.HostError(host::msg::kFileUnreadable, {dataName, error.what()});
    result = false;
  } catch (...) {
    messages.HostError(host::msg::kFileUnreadable, {dataName, "unexpected failure"});
    result = false;
  }
  if (result) {
    result =
        spec.outData.IsWorkingFile() ? store->MakeActive(intoActive) : store->EndFile(&messages);
  }
  rows.close();
  return result;
}

bool SaveResultData(ASRunner& runner, const ASSimpleContainer& outputData,
                    const ASSimpleContainer& outputDataModel, ValidSpec& spec,
                    bool aggregationChecked, ProcedureDataSource& dataSource) {
  // The engine knows an output by the last part of its path in the form its writer got.
  const std::string uri = NormalizeAslPathU(outputData.getAbsolutePath(), "file");
  const std::string name = uri.substr(uri.rfind('/') + 1);
  EmbeddedAS::RowDataIterator* rows = runner.getOutputIterator(name);
  if (rows == nullptr)
    return false;
  return SaveResultRows(*rows, name, outputDataModel.getAbsolutePath(), spec, aggregationChecked,
                        dataSource);
}
