// This file contains what a command on a saved model system takes from the file before anything
// else: the check that the file is a model system, the data settings kept in its preparation
// record (with what TCM ANALYSIS takes besides: the aggregation level and the count of saved
// time points), and the metric names of its data model.
#pragma once

#include <cstdint>
#include <set>
#include <string>
#include <vector>

#include "tcm/frame/spec/valid_spec.h"

class ParserMessage;
class ProcedureDataSource;
class SubComObj;

// The members every model system has; TCM ANALYSIS does without the first at reading time.
inline const std::vector<std::string> kModelSystemMembers = {"StatXML.xml", "TCMGraph.json",
                                                             "TSDPOutput.json"};

// True when the archive at `path` opens and holds every one of `members`. Nothing inside them is
// looked at.
bool HasModelSystemMembers(const std::string& path,
                           const std::vector<std::string>& members = kModelSystemMembers);

// FILE of MODELSYSTEM into `path`: the parameter must be given (ParamRequiredForSubCom), name a
// readable file (FileNameInvalid) and hold `members` (INVALID_MODEL_KEY). False once reported.
bool ReadModelSystemPath(const SubComObj& subcommand, const std::vector<std::string>& members,
                         std::string& path, ParserMessage& messages);

// What TCM ANALYSIS takes from the preparation record besides the settings: the levels a cyclic
// model aggregates away ("aggreLevel" of the settings) and the count of time points it keeps
// (the values of output.timeVariable).
struct SavedTimeAxis {
  int32_t aggregationLevel = 0;
  int32_t modelTimePoints = 0;
};

// Reads the "settings" object of the model system's TSDPOutput.json: its text into
// `settingsJson`, the dimensions into spec.dimensions, the time variables into spec.timeVars and
// the time type derived from them into spec.timeType. Every saved field must be in the dataset
// (VariableNotInDict otherwise); the dictionary indexes of the fields join `usedVariables`. A
// preparation record that cannot be read, or that names no time axis, is reported as
// INVALID_MODEL_KEY. False once reported. With `axis` the time axis is also read into it.
bool ReadModelSettings(const std::string& modelPath, ValidSpec& spec, std::string& settingsJson,
                       std::set<int32_t>& usedVariables, const ProcedureDataSource& dataSource,
                       ParserMessage& messages, SavedTimeAxis* axis = nullptr);

// The metric names of the model system: the labels of the categories of "metricField" in the
// data model of StatXML.xml. Empty when the data model cannot be read or has no such field.
std::vector<std::string> ModelMetricNames(const std::string& modelPath);
