// This file contains what the output component flows ask the engine for: the series that get
// per-series detail, the artefact lists, outputConf, sortConfig, and the depths and counts that
// the output options carry.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "host/bridge/cf_metadata.h"
#include "tcm/frame/spec/valid_spec.h"
#include "tcm/stages/ts_runner.h"

// No run asks for per-series detail on more series than this.
inline constexpr std::size_t kMaxDetailSeries = 30;

// The single series: each series filter key with an empty dimension value multiplied out over
// the values of that dimension's field in `metadata`, one dimension after the other (a key whose
// dimension has no field or no values there gives nothing). Keys are taken as they are when
// `dimensions` is empty. Adding stops once 30 series are found; the result holds at most 30.
std::vector<SeriesKey> SelectSingleSeries(const std::vector<SeriesKey>& filterKeys,
                                          const CFMetaData* metadata,
                                          const std::vector<std::string>& dimensions);
// The detail targets: the ranked targets that are no single series, in order, until they and
// the single series make 30.
std::vector<SeriesKey> SelectDetailTargets(const std::vector<SeriesKey>& rankedTargets,
                                           const std::vector<SeriesKey>& singleSeries);

// One artefact asked of the output component: its name and, by artefact, the statistics of the
// quality plots, the series of a per-series artefact, or the depth of an impact diagram.
struct OutputArtifact {
  std::string name;
  std::vector<std::string> modelQuality;  // written when not empty
  bool hasTarget = false;
  std::vector<SeriesKey> target;  // written when hasTarget, also when empty
  bool hasLevel = false;
  int level = 0;
};

// The artefacts of the targets flow: review tables, quality and outlier plots, then the record
// artefacts of the records for TARGETS or BOTH; the per-series ones ask for `detailTargets` and
// are left out when the single series have taken all 30 places.
std::vector<OutputArtifact> TargetsArtifacts(const ValidSpec& spec,
                                             const std::vector<SeriesKey>& detailTargets,
                                             std::size_t singleSeriesCount);
// The artefacts of the series flow: the record artefacts of the records for SERIES or BOTH, the
// per-series ones on `singleSeries`.
std::vector<OutputArtifact> SeriesArtifacts(const ValidSpec& spec,
                                            const std::vector<SeriesKey>& singleSeries);
// The one artefact of the outlier table flow.
std::vector<OutputArtifact> OutlierTableArtifacts();
// The two artefacts of a root cause flow.
std::vector<OutputArtifact> RootCauseArtifacts();

// The outputConf object as text. `outlierTable` adds the top model count or percentage of a
// BESTFIT target filter, which only the outlier table flow carries.
std::string OutputConfText(const ValidSpec& spec, const std::vector<OutputArtifact>& artifacts,
                           bool outlierTable);
// {"sortFields": [...]}: the time variable for date-time data, else each cycle variable and
// then the period variable, all ascending.
std::string SortConfigText(const ValidSpec& spec);

// The depths of the impact diagrams and of root causes for the targets and the series runs;
// -1 where no FILTEREDOUTPUT record serves that run.
struct OutputDepths {
  int targetCauses = -1;
  int targetEffects = -1;
  int targetLevels = -1;
  int seriesCauses = -1;
  int seriesEffects = -1;
  int seriesLevels = -1;
  double sigLevel = 0.05;
};
// From the records, last to first, so that the first record of each kind decides.
OutputDepths WorkOutDepths(const ValidSpec& spec);

// The number of top models the system graph shows: `n` with TOP n, else (n * pct + 5) / 100 cut
// to an integer, `n` being the default 10 when only PCT was given.
int TopModelsValue(const TargetFilterSpec& filter);

// A record asks for the outlier table in the targets output: TARGETS or BOTH with OUTLIERS.
bool TargetsAskOutlierTable(const ValidSpec& spec);

// The texts of a series key joined by "-": the key under which the document holds the series.
std::string JoinSeriesKey(const SeriesKey& series);
