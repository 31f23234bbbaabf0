// This file contains the output plan of a run: the order of its objects, their headings, titles,
// locations and options, the once-only messages, and the labels of series keys.
#include "tcm/output/output_plan.h"

#include <sstream>

#include "host/bridge/as_trace.h"
#include "host/bridge/zip_reader.h"
#include "host/data/procedure_data_source.h"
#include "host/messages/fac_st_dictionary.h"
#include "host/output/debug_display.h"
#include "host/output/json_to_reverb.h"
#include "host/output/rv.h"
#include "tcm/output/output_confs.h"

namespace {

using Json = JNIJSONObject;

const char* const kRcaMessage = "RCA not available...";
const char* const kMfsMessage = "MFS not available...";
const char* const kOutliersMessage = "Series with Outliers not available...";

// A translated message, shown once per command under its flag.
void ShowOnce(bool& shown, const char* text) {
  if (shown) return;
  RvError(RvString(text, true), RvErrorShow::Both, RvErrorLevel::Warning);
  shown = true;
}

std::string Depths(int causes, int effects, int levels) {
  std::ostringstream text;
  text << "causes=" << causes << ",effects=" << effects << ",levels=" << levels;
  return text.str();
}

// The default stream form of a double, as the options carry it.
std::string StreamDouble(double value) {
  std::ostringstream text;
  text << value;
  return text.str();
}

bool ReadStatJson(const ASSimpleContainer& container, std::string& json) {
  ZipReader reader(container.getAbsolutePath());
  return reader.GotoFile("statJson.json") && reader.ExportString(json);
}

// The node below `visualization` that lists its categories: dataArray[0].fields[0].cats, or null.
JNIJSONHandle CategoryLists(JNIJSONHandle visualization) {
  JNIJSONHandle data = JNIJSONArray::get(Json::get(visualization, "dataArray"), 0);
  JNIJSONHandle field = JNIJSONArray::get(Json::get(data, "fields"), 0);
  return Json::get(field, "cats");
}

// One row of the overall model quality: the statistic of `modelFit`, its title and its name in
// the document.
struct QualityRow {
  const char* statistic;
  const char* title;
  const char* node;
};
const QualityRow kQualityRows[] = {
    {"RMSPE", "Overall Model Quality - RMSPE", "RMSPE"},
    {"RMSE", "Overall Model Quality - RMSE", "RMSE"},
    {"BIC", "Overall Model Quality - NBIC", "BIC"},
    {"RSQUARE", "Overall Model Quality - R Square", "r-Squared"},
    {"AIC", "Overall Model Quality - AIC", "AIC"},
};

}  // namespace

struct OutputPlan::Wanted {
  bool fit = false;
  bool outliers = false;
  bool forecasts = false;
  bool seriesPlots = false;
  bool rcaInteractive = false;
  bool rcaTable = false;
};

bool OutputPlan::RenderRun(const ASSimpleContainer* container, RvProcedure* procedure,
                           const ProcedureDataSource* dataSource, FacSTDictionary& dictionary,
                           const std::string& name, int causes, int effects, int levels,
                           double sigLevel, const std::vector<SeriesKey>* seriesList, int kind) {
  OutputRun run;
  run.name = name;
  run.causes = causes;
  run.effects = effects;
  run.levels = levels;
  run.sigLevel = sigLevel;
  run.seriesList = seriesList;
  run.kind = static_cast<OutputRunKind>(kind);
  return RenderRun(container, procedure, dataSource, dictionary, run);
}

bool OutputPlan::RenderRun(const ASSimpleContainer* container, RvProcedure* procedure,
                           const ProcedureDataSource* dataSource, FacSTDictionary& dictionary,
                           const OutputRun& run) {
  if (container == nullptr) return false;
  std::string json;
  if (!ReadStatJson(*container, json)) return false;
  traceJSONFile(json, "TCM", "STATJSON");
  if (procedure != nullptr) MakeOutline(*procedure);
  jsonToReverb renderer(procedure, dataSource, dictionary, json);
  QueueRun(renderer, dictionary, run);
  return renderer.generateOutput("tcm");
}

void OutputPlan::MakeOutline(RvProcedure& procedure) {
  procedure.Heading(RvString("Review", true));
  procedure.Heading(RvString("Evaluation", true));
  RvHeading interpretation = procedure.Heading(RvString("Interpretation", true));
  for (const char* title :
       {"Overall Model System", "Model Fit Statistics", "Outliers", "Outlier Root Cause Analysis",
        "Outlier Root Cause Analysis Table", "Impact Diagram", "Sequence Plot", "Top Inputs",
        "Parameter Estimates"}) {
    interpretation.Heading(RvString(title, true));
  }
}

OutputPlan::Wanted OutputPlan::ScanFilteredOutputs(const OutputRun& run) const {
  Wanted wanted;
  const auto& records = spec->filteredOutputs;
  for (auto record = records.rbegin(); record != records.rend(); ++record) {
    if (ListHas(record->print, "MODELFIT", false, false)) wanted.fit = true;
    if (ListHas(record->print, "OUTLIERS", false, false)) wanted.outliers = true;
    if (ListHas(record->print, "FORECASTS", false, false)) wanted.forecasts = true;
    if (ListHas(record->plot, "SERIESPLOT", false, false)) wanted.seriesPlots = true;
    if (run.kind == RootCauseRun && record->rootCauses) {
      if (record->rootCauseDisplay != "TABLE") wanted.rcaInteractive = true;
      if (record->rootCauseDisplay != "INTERACTIVE") wanted.rcaTable = true;
    }
  }
  if (ListHas(spec->buildOptions.analysisPlot, "SERIESPLOT", false, false))
    wanted.seriesPlots = true;
  return wanted;
}

void OutputPlan::QueueRun(jsonToReverb& renderer, const FacSTDictionary& dictionary,
                          const OutputRun& run) {
  // The review tables: queued in every run, drawn where the document has them.
  renderer.addObjectToOutput("Review", "review.specifications.table", "Model Specifications",
                             "Model Specifications", OutputOrder::TypeTable);
  renderer.addObjectToOutput("Review", "review.temporalInformation.table",
                             "Temporal Information Summary", "Temporal Information Summary",
                             OutputOrder::TypeTable);
  renderer.addObjectToOutput("Review", "review.transformations.table", "Transformed Time Series",
                             "Transformed Time Series", OutputOrder::TypeTable);

  if (run.kind == TargetsRun) {
    for (const std::string& statistic : spec->modelFit) {
      for (const QualityRow& row : kQualityRows) {
        if (statistic != row.statistic) continue;
        OutputOrder order;
        order.setHeading("Evaluation")
            .setOutlineTitle(row.title, true)
            .setType(OutputOrder::TypeInteractive)
            .addLocation(std::string("evaluation.overallModelQualityHistogram.visualization.") +
                         row.node)
            .addLocation(std::string("evaluation.overallModelQualityDotplot.visualization.") +
                         row.node)
            .setOptions(std::string("type=") + row.node);
        renderer.addObjectToOutput(order);
      }
    }
    if (spec->outlierPlot) {
      OutputOrder order;
      order.setHeading("Evaluation")
          .setOutlineTitle("Outlier Distribution", true)
          .setType(OutputOrder::TypeInteractive)
          .addLocation("evaluation.outlierDistributionHistogram.visualization")
          .addLocation("evaluation.outlierDistributionDotplot.visualization");
      renderer.addObjectToOutput(order);
    }
  }

  const JNIJSONObject& document = renderer.getTop();
  JNIJSONHandle tcm = document.isGood() ? Json::get(document.getTop(), "tcm") : nullptr;
  if (tcm == nullptr) return;

  if (Json::get(tcm, "evaluation") != nullptr) {
    OutputOrder effects;
    effects.setHeading("Evaluation.Tests of Model Effects")
        .setType(OutputOrder::TypeTable)
        .setOMSSubType("Tests of Model Effects");
    QueuePerSeries(renderer, tcm, "evaluation", "testOfModelEffectsForTarget", "table",
                   &shownModelEffects, effects);
    if (run.causes != -1) {
      OutputOrder observed;
      observed.setHeading("Evaluation.Observed and Predicted Series")
          .setType(OutputOrder::TypeChart);
      QueuePerSeries(renderer, tcm, "evaluation", "observedAndPredicted", "visualization",
                     &shownObservedPredicted, observed);
    }
    OutputOrder residuals;
    residuals.setHeading("Evaluation.Residuals by Time").setType(OutputOrder::TypeChart);
    QueuePerSeries(renderer, tcm, "evaluation", "residualsbyTimeforTarget", "visualization",
                   &shownResiduals, residuals);
  }

  const Wanted wanted = ScanFilteredOutputs(run);

  if (Json::get(tcm, "action") != nullptr && wanted.forecasts) {
    OutputOrder forecasts;
    forecasts.setHeading("Evaluation.Forecasted Values")
        .setType(OutputOrder::TypeTable)
        .setOMSSubType("Forecasted Values");
    QueuePerSeries(renderer, tcm, "action", "forecastedValuesForModel", "table", &shownForecasts,
                   forecasts);
  }

  if (renderer.hasItem("tcm.interpretation.overallModelSystem.visualization"))
    QueueSystem(renderer, dictionary, run, wanted.outliers);

  if (wanted.fit || wanted.outliers) QueueFitAndOutliers(renderer, run, wanted.fit, wanted.outliers);

  const bool hasOutlierTable = renderer.hasItem("tcm.action.outliers.table");
  if (wanted.rcaInteractive &&
      renderer.hasItem("tcm.action.outlierRootCauseAnalysisforSeries.visualization") &&
      renderer.hasItem("tcm.action.outlierRootCauseAnalysisforSeries.subJson")) {
    OutputOrder order;
    order.setHeading("Interpretation.Outlier Root Cause Analysis")
        .setOutlineTitle(run.name, false)
        .setType(OutputOrder::TypeInteractive);
    if (hasOutlierTable) {
      order.addLocation("action.outlierRootCauseAnalysisforSeries")
          .addLocation("action.outliers")
          .setOptions("modelSystemFilePath=" + spec->modelSystemPath)
          .setOptions(Depths(run.causes, run.effects, run.levels));
    } else {
      order.setOptions("outliers=none," + Depths(run.causes, run.effects, run.levels));
    }
    renderer.addObjectToOutput(order);
  } else if (run.kind == RootCauseRun) {
    ShowOnce(rcaMessageShown, kRcaMessage);
  }

  if (wanted.rcaTable) {
    if (hasOutlierTable) {
      OutputOrder order;
      order.setHeading("Interpretation.Outlier Root Cause Analysis Table")
          .setOutlineTitle(run.name, false)
          .setType(OutputOrder::TypeTable)
          .setOMSSubType("Outlier Root Cause Analysis")
          .addLocation("action.outliers.table");
      renderer.addObjectToOutput(order);
    } else {
      ShowOnce(rcaMessageShown, kRcaMessage);
    }
  }

  if (Json::get(tcm, "interpretation") != nullptr) {
    QueueImpactDiagrams(renderer, tcm, dictionary, run);
    OutputOrder inputs;
    inputs.setHeading("Interpretation.Top Inputs").setType(OutputOrder::TypeChart);
    QueuePerSeries(renderer, tcm, "interpretation", "topInputsforTarget", "visualization",
                   &shownTopInputs, inputs);
    OutputOrder estimates;
    estimates.setHeading("Interpretation.Parameter Estimates")
        .setType(OutputOrder::TypeTable)
        .setOMSSubType("Parameter Estimates");
    QueuePerSeries(renderer, tcm, "interpretation", "parameterEstimatesForTarget", "table",
                   &shownParameterEstimates, estimates);
  }

  // The scenario heading is made in every run; outside a scenario run its table is absent.
  const std::string heading = dictionary.LookUp("Scenario") + ": " + run.name;
  renderer.addObjectToOutput(heading, "action.scenario.table", "Scenario Definition",
                             "Scenario Definition", OutputOrder::TypeTable);
  if (run.causes == -1) QueueScenarioRows(renderer, tcm, dictionary, heading, run, wanted.seriesPlots);
}

void OutputPlan::QueuePerSeries(jsonToReverb& renderer, JNIJSONHandle tcm, const char* section,
                                const char* artefact, const char* node,
                                std::set<std::string>* shown, const OutputOrder& base) {
  JNIJSONHandle holder = Json::get(Json::get(Json::get(tcm, section), artefact), node);
  if (holder == nullptr || JNIJSONArtifact::isString(holder)) return;
  for (const std::string& key : Json::keySet(holder)) {
    if (shown != nullptr) {
      if (!shown->insert(key).second) continue;
    }
    if (Json::get(holder, key) == nullptr) continue;
    OutputOrder order = base;
    order.setOutlineTitle(seriesLabel(key, false), false)
        .addLocation(std::vector<std::string>{section, artefact, node, key});
    renderer.addObjectToOutput(order);
  }
}

void OutputPlan::QueueSystem(jsonToReverb& renderer, const FacSTDictionary& dictionary,
                             const OutputRun& run, bool wantOutliers) {
  OutputOrder base;
  base.setHeading("Interpretation.Overall Model System")
      .setType(OutputOrder::TypeInteractive)
      .addLocation("interpretation.overallModelSystem.visualization")
      .addLocation("interpretation.modelFitStatistics")
      .addLocation("interpretation.seriesWithOutliers")
      .setOptions("modelSystemFilePath=" + spec->modelSystemPath);
  if (wantOutliers) base.setOptions("outliers=true");

  std::ostringstream topModels;
  topModels << TopModelsValue(spec->targetFilter);
  const std::string tail = "," + Depths(run.causes, run.effects, run.levels) +
                           ",sigLevel=" + StreamDouble(run.sigLevel);

  const char* display = nullptr;
  if (run.name == "BESTFIT") display = "Top models";
  if (run.name == "ALLTARGETS") display = "All series";
  if (run.name == "TARGETSNOINPUTS") display = "Models with no inputs";
  if (display != nullptr) {
    OutputOrder order = base;
    order.setOutlineTitle(display, true)
        .setOptions(std::string("display=") + display + ",topModels=" + topModels.str() + tail);
    renderer.addObjectToOutput(order);
    return;
  }
  if (run.seriesList == nullptr || run.seriesList->empty()) return;

  JNIJSONHandle tcm = Json::get(renderer.getTop().getTop(), "tcm");
  JNIJSONHandle visualization = Json::get(
      Json::get(Json::get(tcm, "interpretation"), "overallModelSystem"), "visualization");
  const std::set<std::string> listed =
      listedSeriesOf(visualization, renderer.getDataDictionary());
  const std::string systemWord = dictionary.LookUp("Overall Model System");
  for (const SeriesKey& series : *run.seriesList) {
    const std::string key = JoinSeriesKey(series);
    const std::string values = seriesLabel(key, true);
    // The visualization shows the values only; a series it does not list gets no object.
    if (listed.count(values) == 0) continue;
    OutputOrder order = base;
    order.setOutlineTitle(systemWord + ": " + seriesLabel(key, false), false)
        .setOptions("display=Single series,series=" + values + ",topModels=" + topModels.str() +
                    tail);
    renderer.addObjectToOutput(order);
  }
}

void OutputPlan::QueueFitAndOutliers(jsonToReverb& renderer, const OutputRun& run, bool wantFit,
                                     bool wantOutliers) {
  OutputOrder fit;
  fit.setHeading("Interpretation.Model Fit Statistics")
      .setType(OutputOrder::TypeTable)
      .setOMSSubType("Model Fit Statistics")
      .addLocation("interpretation.modelFitStatistics.table");
  OutputOrder outliers;
  outliers.setHeading("Interpretation.Outliers")
      .setType(OutputOrder::TypeTable)
      .setOMSSubType("Outliers")
      .addLocation("interpretation.seriesWithOutliers.table");

  auto queue = [&](OutputOrder& fitOrder, OutputOrder& outliersOrder) {
    if (wantFit) {
      if (renderer.hasItem("tcm.interpretation.modelFitStatistics.table")) {
        renderer.addObjectToOutput(fitOrder);
      } else {
        ShowOnce(mfsMessageShown, kMfsMessage);
      }
    }
    if (wantOutliers) {
      if (renderer.hasItem("tcm.interpretation.seriesWithOutliers.table")) {
        renderer.addObjectToOutput(outliersOrder);
      } else {
        ShowOnce(outliersMessageShown, kOutliersMessage);
      }
    }
  };

  const char* title = nullptr;
  if (run.name == "BESTFIT") title = "Top models";
  if (run.name == "ALLTARGETS") title = "All series";
  if (run.name == "TARGETSNOINPUTS") title = "Models with No Inputs";
  if (title != nullptr) {
    fit.setOutlineTitle(title, true);
    outliers.setOutlineTitle(title, true);
    queue(fit, outliers);
    return;
  }
  if (run.kind != SeriesRun || run.seriesList == nullptr) return;
  for (const SeriesKey& series : *run.seriesList) {
    const std::string label = seriesLabel(JoinSeriesKey(series), false);
    OutputOrder fitCopy = fit;
    OutputOrder outliersCopy = outliers;
    fitCopy.setOutlineTitle(label, false).hideAllCategoriesExcept(label, true);
    outliersCopy.setOutlineTitle(label, false).hideAllCategoriesExcept(label, true);
    queue(fitCopy, outliersCopy);
  }
}

void OutputPlan::QueueImpactDiagrams(jsonToReverb& renderer, JNIJSONHandle tcm,
                                     const FacSTDictionary& dictionary, const OutputRun& run) {
  struct Direction {
    int depth;
    const char* node;
    const char* word;
  };
  for (const Direction& direction : {Direction{run.causes, "impactDiagramCauses", "causes"},
                                     Direction{run.effects, "impactDiagramEffects", "effects"}}) {
    if (direction.depth < 0) continue;
    if (!renderer.hasItem(std::string("tcm.interpretation.") + direction.node + ".visualization"))
      continue;
    JNIJSONHandle holder =
        Json::get(Json::get(Json::get(tcm, "interpretation"), direction.node), "visualization");
    if (holder == nullptr || JNIJSONArtifact::isString(holder)) continue;
    for (const std::string& key : Json::keySet(holder)) {
      if (Json::get(holder, key) == nullptr) continue;
      OutputOrder order;
      order.setHeading("Interpretation.Impact Diagram")
          .setOutlineTitle(seriesLabel(key, false) + ":" + dictionary.LookUp(direction.word),
                           false)
          .setType(OutputOrder::TypeInteractive)
          .addLocation("interpretation.impactDiagramCauses")
          .addLocation("interpretation.impactDiagramEffects")
          .setOptions("modelSystemFilePath=" + spec->modelSystemPath)
          .setOptions("series=" + key + ",initial=" + direction.word)
          .setOptions(Depths(run.causes, run.effects, run.levels));
      renderer.addObjectToOutput(order);
    }
  }
}

void OutputPlan::QueueScenarioRows(jsonToReverb& renderer, JNIJSONHandle tcm,
                                   const FacSTDictionary& dictionary, const std::string& heading,
                                   const OutputRun& run, bool wantSeriesPlots) {
  JNIJSONHandle action = Json::get(tcm, "action");
  if (action != nullptr) {
    JNIJSONHandle analysis = Json::get(action, "scenarioAnalysisforSeries");
    JNIJSONHandle visualization = Json::get(analysis, "visualization");
    const bool hasImpact = renderer.hasItem("tcm.action.scenarioAnalysisforSeries.visualization") &&
                           !JNIJSONArtifact::isString(visualization);
    if (hasImpact) {
      OutputOrder order;
      order.setHeading(heading)
          .setOutlineTitle("Impact Diagram", true)
          .setType(OutputOrder::TypeInteractive)
          .addLocation("action.scenarioAnalysisforSeries")
          .addLocation("action.scenario.table")
          .addLocation("action.forecastedValuesforScenario.table")
          .setOptions("series=" + run.name)
          .setOptions("modelSystemFilePath=" + spec->modelSystemPath);
      renderer.addObjectToOutput(order);
    }
    if (renderer.hasItem("tcm.action.forecastedValuesforScenario.table") &&
        (run.kind != ScenarioRun ||
         ListHas(spec->buildOptions.analysisPrint, "FORECASTS", false, false))) {
      OutputOrder order;
      order.setHeading(heading)
          .setOutlineTitle("Forecasted Values", true)
          .setType(OutputOrder::TypeTable)
          .setOMSSubType("Forecasted Values")
          .addLocation("action.forecastedValuesforScenario.table");
      renderer.addObjectToOutput(order);
    }
    JNIJSONHandle subJson = Json::get(analysis, "subJson");
    if (hasImpact && wantSeriesPlots && subJson != nullptr && !JNIJSONArtifact::isString(subJson)) {
      JNIJSONHandle cats = CategoryLists(visualization);
      JNIJSONHandle content = Json::get(JNIJSONArray::get(cats, 0), "content");
      const std::string plotsHeading = heading + "." + dictionary.LookUp("Series Plots");
      const std::size_t count = JNIJSONArray::size(content);
      for (std::size_t i = 0; i < count; ++i) {
        const std::string text =
            compositeTextOf(JNIJSONArray::get(content, i), renderer.getDataDictionary());
        if (text.empty()) continue;
        OutputOrder order;
        order.setHeading(plotsHeading)
            .setOutlineTitle(text, false)
            .setType(OutputOrder::TypeInteractive)
            .addLocation("action.scenarioAnalysisforSeries")
            .setPathId("action.scenarioAnalysisSeriesPlotforSeries")
            .setOptions("series=" + text);
        renderer.addObjectToOutput(order);
      }
    }
  }
  if (Json::get(Json::get(tcm, "evaluation"), "observedAndPredicted") != nullptr) {
    OutputOrder plots;
    plots.setHeading(heading + ".Series plots").setType(OutputOrder::TypeChart);
    QueuePerSeries(renderer, tcm, "evaluation", "observedAndPredicted", "visualization",
                   &shownObservedPredicted, plots);
  }
}

bool OutputPlan::DrawModelOutput(const ModelOutputArchives& archives, RvProcedure* procedure,
                                 const ProcedureDataSource* dataSource,
                                 FacSTDictionary& dictionary, ASDebug* debugList) {
  const OutputDepths depths = WorkOutDepths(*spec);
  if (archives.flowsSucceeded) {
    RenderRun(archives.targets, procedure, dataSource, dictionary, spec->targetFilter.display,
              depths.targetCauses, depths.targetEffects, depths.targetLevels, depths.sigLevel,
              nullptr, TargetsRun);
  }
  bool result = RenderRun(archives.series, procedure, dataSource, dictionary, "Single Series",
                          depths.seriesCauses, depths.seriesEffects, depths.seriesLevels,
                          depths.sigLevel, archives.singleSeries, SeriesRun);
  for (std::size_t i = 0; result && i < archives.rootCauseSeries.size(); ++i) {
    // A root cause whose flow failed has no archive; the engine has said why, and the
    // drawing ends there.
    if (i >= archives.rootCauses.size()) {
      result = false;
      break;
    }
    const std::string label = seriesLabel(JoinSeriesKey(archives.rootCauseSeries[i]), false);
    result = RenderRun(archives.rootCauses[i], procedure, dataSource, dictionary, label,
                       depths.seriesCauses, depths.seriesEffects, depths.seriesLevels,
                       depths.sigLevel, nullptr, RootCauseRun);
  }
  if (archives.rootCauseSeries.empty() && archives.singleSeries != nullptr) {
    bool asked = false;
    for (const FilteredOutputSpec& record : spec->filteredOutputs) asked = asked || record.rootCauses;
    if (asked) {
      for (const SeriesKey& series : *archives.singleSeries)
        ShowRootCauseMessage(procedure, dataSource, dictionary, series);
    }
  }
  if (debugList != nullptr) debugList->addOutputLine("Converted JSON to Output");
  return result;
}

void OutputPlan::ShowRootCauseMessage(RvProcedure* procedure,
                                      const ProcedureDataSource* dataSource,
                                      FacSTDictionary& dictionary, const SeriesKey& series) const {
  const std::string key = JoinSeriesKey(series);
  jsonToReverb renderer(procedure, dataSource, dictionary);
  OutputOrder order;
  order.setHeading("Interpretation.Outlier Root Cause Analysis")
      .setOutlineTitle(seriesLabel(key, false), false)
      .setType(OutputOrder::TypeInteractive)
      .addLocation("action.outlierRootCauseAnalysisforSeries")
      .addLocation("action.outliers")
      .setOptions("showMessage=true,series=" + seriesLabel(key, true))
      .setOptions("modelSystemFilePath=" + spec->modelSystemPath);
  renderer.addObjectToOutput(order);
  renderer.generateOutput("tcm");
}

void OutputPlan::ResolveDimensionVariables(const ProcedureDataSource& dataSource) {
  dimensionVariables.clear();
  for (const QuorVarName& name : spec->dimensions) {
    const int index = dataSource.FindVarIndex(name.GetName(), 0);
    QUOR_Variable* variable = index < 0 ? nullptr : dataSource.GetVariable(index);
    if (variable == nullptr) {
      // Labels then stay raw keys rather than pair values with the wrong variables.
      dimensionVariables.clear();
      return;
    }
    dimensionVariables.push_back(variable);
  }
}

std::string OutputPlan::seriesLabel(const std::string& key, bool valuesOnly) const {
  std::vector<std::string> pieces;
  std::string piece;
  for (char c : key) {
    if (c == '-') {
      if (!piece.empty()) pieces.push_back(piece);
      piece.clear();
    } else {
      piece += c;
    }
  }
  if (!piece.empty()) pieces.push_back(piece);

  const std::size_t dimensions = dimensionVariables.size();
  std::string result;
  std::string dimensionPart;
  for (std::size_t i = 0; i < pieces.size(); ++i) {
    if (i >= dimensions) {
      result += pieces[i];
      if (i + 1 < pieces.size() || !dimensionPart.empty()) result += "-";
      continue;
    }
    const QUOR_Variable& variable = *dimensionVariables[i];
    if (i > 0) dimensionPart += "-";
    dimensionPart += variable.GetName() + ":";
    double value = 0.0;
    std::istringstream reader(pieces[i]);
    if (!(reader >> value)) value = 0.0;
    std::string label;
    bool labelled = false;
    const QUOR_ValueLabelMap labels = variable.GetValueLabels();
    if (variable.IsString()) {
      labelled = labels.GetLabel(pieces[i], label);
    } else {
      labelled = labels.GetLabel(value, label);
    }
    // A string variable has no number to format: its value is the piece itself.
    const std::string formatted = variable.IsString() ? std::string() : variable.FormatValue(value);
    const std::string shown = formatted.empty() ? pieces[i] : formatted;
    dimensionPart += (!valuesOnly && labelled) ? label : shown;
  }
  return result + dimensionPart;
}

std::string OutputPlan::compositeTextOf(JNIJSONHandle node, const dataDictionary& fields) {
  JNIJSONHandle children = Json::get(Json::get(Json::get(node, "text"), "compositeText"), "children");
  if (children == nullptr) return {};
  std::string text;
  const std::size_t count = JNIJSONArray::size(children);
  for (std::size_t i = 0; i < count; ++i) {
    JNIJSONHandle child = Json::get(JNIJSONArray::get(children, i), "text");
    if (JNIJSONHandle data = Json::get(child, "stringDataText")) {
      if (JNIJSONHandle value = Json::get(data, "value")) text += Json::toString(value);
    } else if (JNIJSONHandle numeric = Json::get(child, "numericDataText")) {
      JNIJSONHandle value = Json::get(numeric, "value");
      std::string number = Json::toString(value);
      const std::string variable = Json::getChildAsString(numeric, "variable");
      if (!variable.empty() && value != nullptr &&
          fields.getField(variable).getDecimalPlaces() == 0) {
        const std::size_t point = number.find('.');
        if (point != std::string::npos) number.erase(point);
      }
      text += number;
    } else if (JNIJSONHandle plain = Json::get(child, "stringText")) {
      if (Json::get(plain, "isTooltip") != nullptr) continue;
      if (JNIJSONHandle value = Json::get(plain, "value")) text += Json::toString(value);
    }
  }
  return text;
}

std::set<std::string> OutputPlan::listedSeriesOf(JNIJSONHandle visualization,
                                                 const dataDictionary& fields) {
  std::set<std::string> listed;
  JNIJSONHandle cats = CategoryLists(visualization);
  if (JNIJSONArray::size(cats) <= 1) return listed;
  JNIJSONHandle content = Json::get(JNIJSONArray::get(cats, 0), "content");
  const std::size_t count = JNIJSONArray::size(content);
  for (std::size_t i = 0; i < count; ++i)
    listed.insert(compositeTextOf(JNIJSONArray::get(content, i), fields));
  return listed;
}
