// This file contains the check of TCM ANALYSIS on the converted data: the scenarios' dimension
// values against the data, the expansion of scenario groups and target lists into series keys,
// the scenario period as positions on the model system's time axis, and the series that the
// expressions read.
#pragma once

#include <string>
#include <vector>

#include "tcm/analysis/tcm_anly_spec.h"

class ASRunner;
class CFMetaData;
class ParserMessage;
class ProcedureDataSource;
class TSDPRunner;
struct QUORMBConverter;

// Completes `spec` once the data are converted. Without any scenario: SubComRequired, false.
// A dimension value unknown to the data is reported, yet the answer is then that of the period
// alone and nothing is expanded. The period goes through the engine's convertor two or three
// times (the engine reports its failures); ACTUAL lists must hold one value per period of the
// scenario (INVALID_VAL_NUM_KEY). Ends with the settings display under DEBUG_.
bool CheckPreparedData(TCMAnlySpec& spec, ASRunner& runner, TSDPRunner& tsdpRunner,
                       const ProcedureDataSource& dataSource, ParserMessage& messages,
                       QUORMBConverter* converter);

// The text of a series key as the model system's graph names the series: the code of each
// dimension value, then the code of the metric, joined by "-". Empty when the key does not have
// one element more than `dimensions`, or when a value or the metric is not in `metaData`.
std::string SeriesKeyText(const SeriesKey& key, const std::vector<std::string>& dimensions,
                          const CFMetaData& metaData);
