// This file contains what a command on a saved model system takes from the file before anything
// else: the check that the file is a model system, the data settings kept in its preparation
// record, and the metric names of its data model.
#pragma once

#include <cstdint>
#include <set>
#include <string>
#include <vector>

#include "tcm/frame/spec/valid_spec.h"

class ParserMessage;
class ProcedureDataSource;

// True when the archive at `path` opens and holds "StatXML.xml", "TCMGraph.json" and
// "TSDPOutput.json". Nothing inside them is looked at.
bool HasModelSystemMembers(const std::string& path);

// Reads the "settings" object of the model system's TSDPOutput.json: its text into
// `settingsJson`, the dimensions into spec.dimensions, the time variables into spec.timeVars and
// the time type derived from them into spec.timeType. Every saved field must be in the dataset
// (VariableNotInDict otherwise); the dictionary indexes of the fields join `usedVariables`. A
// preparation record that cannot be read, or that names no time axis, is reported as
// INVALID_MODEL_KEY. False once reported.
bool ReadModelSettings(const std::string& modelPath, ValidSpec& spec, std::string& settingsJson,
                       std::set<int32_t>& usedVariables, const ProcedureDataSource& dataSource,
                       ParserMessage& messages);

// The metric names of the model system: the labels of the categories of "metricField" in the
// data model of StatXML.xml. Empty when the data model cannot be read or has no such field.
std::vector<std::string> ModelMetricNames(const std::string& modelPath);
