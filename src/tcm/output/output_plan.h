// This file contains OutputPlan: which tables, charts and interactive objects of a run's output
// document are drawn, under which heading, with which title and options, and the state that
// keeps a series or a message from being shown twice in one command.
#pragma once

#include <set>
#include <string>
#include <vector>

#include "host/bridge/as_simple_container.h"
#include "host/bridge/jni_json.h"
#include "host/output/data_dictionary.h"
#include "host/output/output_order.h"
#include "tcm/frame/spec/valid_spec.h"
#include "tcm/stages/ts_runner.h"

class ASDebug;
class FacSTDictionary;
class ProcedureDataSource;
class QUOR_Variable;
class RvProcedure;
class jsonToReverb;

// The kinds of output run; the kind switches parts of the plan on and off.
enum OutputRunKind : int { TargetsRun = 0, SeriesRun = 1, RootCauseRun = 2, ScenarioRun = 3 };

// One run's arguments beside its archive. Depths of -1 mean that no FILTEREDOUTPUT record serves
// the run, which selects the scenario rows of the plan.
struct OutputRun {
  std::string name;  // the target filter's display, "Single Series", a series label, a scenario
  int causes = -1;
  int effects = -1;
  int levels = -1;
  double sigLevel = 0.05;
  const std::vector<SeriesKey>* seriesList = nullptr;  // the single series of a series run
  OutputRunKind kind = TargetsRun;
};

// The archives the output flows of TCM MODEL and TCM APPLY left, for drawing.
struct ModelOutputArchives {
  bool flowsSucceeded = false;  // every flow that ran succeeded; false leaves out the targets run
  const ASSimpleContainer* targets = nullptr;
  const ASSimpleContainer* series = nullptr;
  std::vector<const ASSimpleContainer*> rootCauses;  // one per root cause flow that succeeded
  std::vector<SeriesKey> rootCauseSeries;            // the series of every root cause record
  const std::vector<SeriesKey>* singleSeries = nullptr;
};

class OutputPlan {
 public:
  explicit OutputPlan(const ValidSpec& spec) : spec(&spec) {}

  // Reads "statJson.json" out of the run's archive, makes the outline's skeleton, queues the
  // run's objects and draws them. False, with nothing drawn, for a null container or an archive
  // without a readable document; otherwise the renderer's result.
  bool RenderRun(const ASSimpleContainer* container, RvProcedure* procedure,
                 const ProcedureDataSource* dataSource, FacSTDictionary& dictionary,
                 const std::string& name, int causes, int effects, int levels, double sigLevel,
                 const std::vector<SeriesKey>* seriesList, int kind);
  bool RenderRun(const ASSimpleContainer* container, RvProcedure* procedure,
                 const ProcedureDataSource* dataSource, FacSTDictionary& dictionary,
                 const OutputRun& run);
  // Queues the run's orders on `renderer`, which holds the run's document; messages for wanted
  // tables the document lacks go to the output at once.
  void QueueRun(jsonToReverb& renderer, const FacSTDictionary& dictionary, const OutputRun& run);
  // The headings every run fixes in the outline, so that objects fall into a set order.
  static void MakeOutline(RvProcedure& procedure);

  // The targets run, the series run and a run per root cause of TCM MODEL and TCM APPLY, then
  // the messages for root causes that could not be analysed. The series run's result is the
  // working result (false without a series archive); a root cause archive that is missing
  // stops the drawing with false.
  bool DrawModelOutput(const ModelOutputArchives& archives, RvProcedure* procedure,
                       const ProcedureDataSource* dataSource, FacSTDictionary& dictionary,
                       ASDebug* debugList);
  // The object that stands in for the root cause analysis of one series.
  void ShowRootCauseMessage(RvProcedure* procedure, const ProcedureDataSource* dataSource,
                            FacSTDictionary& dictionary, const SeriesKey& series) const;

  // One variable per dimension of the command, by name in the active dataset; all or none.
  void ResolveDimensionVariables(const ProcedureDataSource& dataSource);

  // The display text of a series key: the pieces behind the dimensions, then "name:value" of
  // each dimension, the value's label unless `valuesOnly`.
  std::string seriesLabel(const std::string& key, bool valuesOnly) const;
  // The plain text of a category of a visualization (a composite text node).
  static std::string compositeTextOf(JNIJSONHandle node, const dataDictionary& fields);
  // The series texts an overall model system visualization lists; empty unless its first field
  // has more than one category list.
  static std::set<std::string> listedSeriesOf(JNIJSONHandle visualization,
                                              const dataDictionary& fields);

  const ValidSpec* spec;
  std::vector<QUOR_Variable*> dimensionVariables;
  std::set<std::string> shownModelEffects;
  std::set<std::string> shownObservedPredicted;
  std::set<std::string> shownResiduals;
  std::set<std::string> shownForecasts;
  std::set<std::string> shownTopInputs;
  std::set<std::string> shownParameterEstimates;
  bool mfsMessageShown = false;
  bool outliersMessageShown = false;
  bool rcaMessageShown = false;

 private:
  struct Wanted;
  Wanted ScanFilteredOutputs(const OutputRun& run) const;
  // Goes through the per-series children of tcm.<section>.<artefact>.<node>: each key not in
  // `shown` (when given) enters it and, when its child is there, gets one copy of `base`.
  void QueuePerSeries(jsonToReverb& renderer, JNIJSONHandle tcm, const char* section,
                      const char* artefact, const char* node, std::set<std::string>* shown,
                      const OutputOrder& base);
  void QueueSystem(jsonToReverb& renderer, const FacSTDictionary& dictionary, const OutputRun& run,
                   bool wantOutliers);
  void QueueFitAndOutliers(jsonToReverb& renderer, const OutputRun& run, bool wantFit,
                           bool wantOutliers);
  void QueueImpactDiagrams(jsonToReverb& renderer, JNIJSONHandle tcm,
                           const FacSTDictionary& dictionary, const OutputRun& run);
  void QueueScenarioRows(jsonToReverb& renderer, JNIJSONHandle tcm,
                         const FacSTDictionary& dictionary, const std::string& heading,
                         const OutputRun& run, bool wantSeriesPlots);
};
