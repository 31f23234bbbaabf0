// This file contains the saving of a finished job's result rows: into a file, a named dataset,
// a new active dataset, or merged case by case into the active dataset.
#pragma once

#include <string>

#include "host/bridge/cf_metadata.h"
#include "host/data/print_format.h"

class ASRunner;
class ASSimpleContainer;
class IndependentDataStore;
class ParserMessage;
class ProcedureDataSource;
class QUOR_DataSource;
class StoreVariable;
class ValidSpec;
namespace EmbeddedAS {
class RowDataIterator;
}

// Saves the rows that the finished job wrote into `outputData`, described by the data model file
// `outputDataModel`, where the command's `outData` says. With no destination and
// `aggregationChecked` (the data were not aggregated, so rows map to cases) the rows go into the
// active dataset; `outData` then stays initialised with "*". False when the job left no such
// stream or the rows could not be saved; true also when there is nowhere to save.
bool SaveResultData(ASRunner& runner, const ASSimpleContainer& outputData,
                    const ASSimpleContainer& outputDataModel, ValidSpec& spec,
                    bool aggregationChecked, ProcedureDataSource& dataSource);

// The same once the stream is at hand; the stream is closed unless there was nowhere to save.
// `dataName` names the rows in messages.
bool SaveResultRows(EmbeddedAS::RowDataIterator& rows, const std::string& dataName,
                    const std::string& dataModelPath, ValidSpec& spec, bool aggregationChecked,
                    ProcedureDataSource& dataSource);

// What a fill needs besides the rows and the store.
struct ResultSaveContext {
  const ValidSpec& spec;
  const std::string& dataName;      // the rows' data file, for messages
  const std::string& dataModelPath; // the data model file of the rows
  const QUOR_DataSource& activeData;
  ParserMessage& messages;
};

// One variable per field ("$casecount" excepted) and one case per row, as the engine sent them.
// False, with the rows so far in the store, when the data model or a value cannot be read
// (reported).
bool FillNewDataset(EmbeddedAS::RowDataIterator& rows, IndependentDataStore& store,
                    const ResultSaveContext& context);
// A copy of the active dataset's dictionary with the fields it lacks behind it; one case per
// row, which carries the values of the active case its "$casecount" names. The rows must come
// in rising order of "$casecount"; a row without a case (a forecast) is empty in the old
// columns. False when the data model, a value or the active data cannot be read (reported).
bool FillMergedDataset(EmbeddedAS::RowDataIterator& rows, IndependentDataStore& store,
                       const ResultSaveContext& context);

// The SAVE keyword of a result field: "PREDICTED", "LCLROOT", "UCLROOT", "NRESIDUAL" or
// "FORECASTFLAG"; "" for a field that is no result.
std::string ResultKeyword(const std::string& fieldName);
// The name of the variable of a result field: the SAVE entry's root name, or the default, then
// "_" and the metric (the field name up to its last "_"); the forecast flag takes the root alone.
std::string ResultVariableName(const std::string& fieldName, const std::string& keyword,
                               const ValidSpec& spec);
// The format of a result variable: the metric's own in the active dataset (a width above 40 cut
// to 40 unless it is a string format), else F8.3, or F1.0 for the forecast flag.
host::PrintFormat ResultVariableFormat(const std::string& fieldName, const std::string& keyword,
                                       const QUOR_DataSource& activeData);
// Names, labels and formats a result variable, scale and input. A format the variable cannot
// hold (a string format on a number) gives way to the default.
void DefineResultVariable(const CFField& field, StoreVariable& variable, const std::string& keyword,
                          const ValidSpec& spec, const QUOR_DataSource& activeData);
