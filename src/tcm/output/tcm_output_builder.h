// This file contains TCMOutputBuilder: the last step of TCM MODEL and TCM APPLY, which runs the
// output component flows and draws the archives they leave.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "host/bridge/as_simple_container.h"
#include "tcm/flows/flow_scripts.h"
#include "tcm/flows/ts_json_conf.h"
#include "tcm/output/output_plan.h"
#include "tcm/stages/ts_runner.h"

class ASDebug;
class FacSTDictionary;
class ProcedureDataSource;
class RvProcedure;
class TSDPRunner;
class ValidSpec;

// Built after the command's sequence from its two runners, which it reads and does not own, and
// destroyed before them. The plan's sets and flags live across all runs of one GenerateOutput.
class TCMOutputBuilder : public OutputPlan {
 public:
  TCMOutputBuilder(TSDPRunner& tsdp, TSRunner& ts);
  ~TCMOutputBuilder();
  TCMOutputBuilder(const TCMOutputBuilder&) = delete;
  TCMOutputBuilder& operator=(const TCMOutputBuilder&) = delete;

  // Runs the output flows, then draws them. False when the series run (or a root cause run)
  // could not be drawn; a command without SERIESFILTER has no series archive and so gives
  // false, after its targets output was drawn. `debugList` may be null.
  bool GenerateOutput(RvProcedure* procedure, const ProcedureDataSource* dataSource,
                      FacSTDictionary& dictionary, const ValidSpec& spec, ASDebug* debugList);
  // The series, targets, outlier table and root cause flows, each into a new "tcmStatJson"
  // archive; a failed flow stops the ones after it. True when all that ran succeeded.
  bool RunOutputFlows(ASDebug* debugList);

  // The series the output asks per-series detail for, chosen at the first request.
  const std::vector<SeriesKey>& SingleSeries();
  const std::vector<SeriesKey>& DetailTargets();

  TSDPRunner* tsdpRunner;
  TSRunner* tsRunner;
  TSJsonConf jsonConf;
  std::unique_ptr<ASSimpleContainer> targetsContainer;
  std::unique_ptr<ASSimpleContainer> seriesContainer;
  std::unique_ptr<ASSimpleContainer> outlierTableContainer;
  std::vector<std::unique_ptr<ASSimpleContainer>> rcaContainers;

 private:
  // The inputs of the series, targets and outlier table flows.
  OutputFlowInputs ModelFlowInputs(bool seriesFlow) const;
  std::string ModelFilePath() const;
  // Makes the archive, composes with `compose`, traces, runs; the archive is kept on success
  // only when `keepOnFailure` is false.
  template <typename Compose>
  bool RunOutputFlow(std::unique_ptr<ASSimpleContainer>& slot, const std::string& trace,
                     Compose compose, bool keepOnFailure);

  std::vector<SeriesKey> singleSeries_;
  bool singleSeriesBuilt_ = false;
  std::vector<SeriesKey> detailTargets_;
  bool detailTargetsBuilt_ = false;
};
