// This file contains the choices of the output component flows: series, artefacts and the JSON
// that carries them.
#include "tcm/output/output_confs.h"

#include <algorithm>

#include "host/bridge/app_host.h"
#include "host/bridge/jni_json.h"
#include "support/text.h"

namespace {

bool IncludesTargets(const FilteredOutputSpec& record) {
  return record.include == "TARGETS" || record.include == "BOTH";
}

bool IncludesSeries(const FilteredOutputSpec& record) {
  return record.include == "SERIES" || record.include == "BOTH";
}

bool Holds(const std::vector<std::string>& list, const char* word) {
  return ListHas(list, word, true, false);
}

// The texts of the values of a dimension, in the data model's order. The model's field of a
// dimension holds codes; its base field holds the values that series keys are made of.
std::vector<std::string> DimensionValues(const CFMetaData* metadata, const std::string& name) {
  std::vector<std::string> values;
  if (metadata == nullptr) return values;
  const CFField* field = metadata->FindField(name);
  if (field == nullptr) return values;
  if (const CFField* base = metadata->FindField(field->GetBaseField())) field = base;
  for (const CFValue& value : field->GetValues()) {
    const CFDatum& datum = value.GetDatum();
    if (field->GetStorage() == CFStorage::kString) {
      values.push_back(datum.GetString());
    } else {
      std::string text;
      if (datum.ToString(text)) values.push_back(text);
    }
  }
  return values;
}

// One series filter key with its empty dimension values multiplied out.
std::vector<SeriesKey> ExpandKey(const SeriesKey& key, const CFMetaData* metadata,
                                 const std::vector<std::string>& dimensions) {
  std::vector<SeriesKey> partial{key};
  for (std::size_t d = 0; d < dimensions.size() && d < key.size(); ++d) {
    if (!key[d].empty()) continue;
    const std::vector<std::string> values = DimensionValues(metadata, dimensions[d]);
    std::vector<SeriesKey> next;
    for (const SeriesKey& series : partial) {
      for (const std::string& value : values) {
        SeriesKey expanded = series;
        expanded[d] = value;
        next.push_back(std::move(expanded));
      }
    }
    partial = std::move(next);
  }
  return partial;
}

JNIJSONArray TextArray(const std::vector<std::string>& texts) {
  JNIJSONArray array;
  for (const std::string& text : texts) array.add(text);
  return array;
}

JNIJSONObject ArtifactObject(const OutputArtifact& artifact) {
  JNIJSONObject object;
  object.put("name", artifact.name);
  if (!artifact.modelQuality.empty()) object.put("modelQuality", TextArray(artifact.modelQuality));
  if (artifact.hasTarget) {
    JNIJSONArray target;
    for (const SeriesKey& series : artifact.target) target.add(TextArray(series));
    object.put("target", target);
  }
  if (artifact.hasLevel) object.put("level", artifact.level);
  return object;
}

OutputArtifact Named(const char* name) {
  OutputArtifact artifact;
  artifact.name = name;
  return artifact;
}

OutputArtifact ForSeries(const char* name, const std::vector<SeriesKey>& series) {
  OutputArtifact artifact = Named(name);
  artifact.hasTarget = true;
  artifact.target = series;
  return artifact;
}

// The artefacts one FILTEREDOUTPUT record asks for. `perSeries` false leaves out every row from
// MODELEFFECTS downward.
void AddRecordArtifacts(const ValidSpec& spec, const FilteredOutputSpec& record,
                        const std::vector<SeriesKey>& series, bool perSeries,
                        std::vector<OutputArtifact>& artifacts) {
  if (record.networkGraph) {
    artifacts.push_back(Named("interpretation.overallModelSystem"));
    artifacts.push_back(Named("interpretation.modelFitStatisticsTable"));
    artifacts.push_back(Named("interpretation.seriesWithOutliersTable"));
  } else {
    if (Holds(record.print, "MODELFIT"))
      artifacts.push_back(Named("interpretation.modelFitStatisticsTable"));
    if (Holds(record.print, "OUTLIERS"))
      artifacts.push_back(Named("interpretation.seriesWithOutliersTable"));
  }
  if (!perSeries) return;
  if (Holds(record.print, "MODELEFFECTS"))
    artifacts.push_back(ForSeries("evaluation.testOfModelEffectsForTarget", series));
  if (Holds(record.print, "PARAMETERS"))
    artifacts.push_back(ForSeries("interpretation.parameterEstimatesForTarget", series));
  if (spec.buildOptions.forecastPeriods > 0 && Holds(record.print, "FORECASTS"))
    artifacts.push_back(ForSeries("action.forecastedValuesForModel", series));
  if (Holds(record.plot, "SERIESPLOT"))
    artifacts.push_back(ForSeries("evaluation.observedAndPredicted", series));
  if (Holds(record.plot, "TOPINPUTS"))
    artifacts.push_back(ForSeries("interpretation.topInputsforTarget", series));
  if (Holds(record.plot, "NRESIDUAL"))
    artifacts.push_back(ForSeries("evaluation.residualsbyTimeforTarget", series));
  if (record.impactDiagrams && record.causes) {
    OutputArtifact causes = ForSeries("interpretation.ImpactDiagramCauses", series);
    causes.hasLevel = true;
    causes.level = record.causeLevels;
    artifacts.push_back(std::move(causes));
  }
  if (record.impactDiagrams && record.effects) {
    OutputArtifact effects = ForSeries("interpretation.ImpactDiagramEffects", series);
    effects.hasLevel = true;
    effects.level = record.effectLevels;
    artifacts.push_back(std::move(effects));
  }
}

}  // namespace

std::vector<SeriesKey> SelectSingleSeries(const std::vector<SeriesKey>& filterKeys,
                                          const CFMetaData* metadata,
                                          const std::vector<std::string>& dimensions) {
  std::vector<std::vector<SeriesKey>> found;
  std::size_t count = 0;
  for (const SeriesKey& key : filterKeys) {
    if (count >= kMaxDetailSeries) break;
    std::vector<SeriesKey> expanded =
        dimensions.empty() ? std::vector<SeriesKey>{key} : ExpandKey(key, metadata, dimensions);
    count += expanded.size();
    found.push_back(std::move(expanded));
  }
  std::vector<SeriesKey> single;
  for (const auto& group : found) {
    for (const SeriesKey& series : group) {
      if (single.size() >= kMaxDetailSeries) return single;
      single.push_back(series);
    }
  }
  return single;
}

std::vector<SeriesKey> SelectDetailTargets(const std::vector<SeriesKey>& rankedTargets,
                                           const std::vector<SeriesKey>& singleSeries) {
  std::vector<SeriesKey> detail;
  if (singleSeries.size() >= kMaxDetailSeries) return detail;
  const std::size_t room = kMaxDetailSeries - singleSeries.size();
  for (const SeriesKey& target : rankedTargets) {
    if (detail.size() >= room) break;
    if (std::find(singleSeries.begin(), singleSeries.end(), target) != singleSeries.end())
      continue;
    detail.push_back(target);
  }
  return detail;
}

std::vector<OutputArtifact> TargetsArtifacts(const ValidSpec& spec,
                                             const std::vector<SeriesKey>& detailTargets,
                                             std::size_t singleSeriesCount) {
  std::vector<OutputArtifact> artifacts;
  artifacts.push_back(Named("review.modelSpecificationsTable"));
  artifacts.push_back(Named("review.temporalInformationTable"));
  if (!spec.modelFit.empty() && support::ToUpperAscii(spec.modelFit.front()) != "NONE") {
    std::vector<std::string> quality;
    for (const std::string& statistic : spec.modelFit) {
      const std::string upper = support::ToUpperAscii(statistic);
      quality.push_back(upper == "RSQUARE" ? std::string("r-Squared") : upper);
    }
    OutputArtifact histogram = Named("review.OverallModelQualityHistogram");
    histogram.modelQuality = quality;
    artifacts.push_back(std::move(histogram));
    OutputArtifact dotplot = Named("review.overallModelQualityDotplot");
    dotplot.modelQuality = quality;
    artifacts.push_back(std::move(dotplot));
  }
  if (spec.transformations) artifacts.push_back(Named("review.transformationsTable"));
  if (spec.outlierPlot) {
    artifacts.push_back(Named("evaluation.outlierDistributionHistogram"));
    artifacts.push_back(Named("evaluation.outlierDistributionDotplot"));
  }
  const bool perSeries = singleSeriesCount < kMaxDetailSeries;
  for (const FilteredOutputSpec& record : spec.filteredOutputs) {
    if (IncludesTargets(record))
      AddRecordArtifacts(spec, record, detailTargets, perSeries, artifacts);
  }
  return artifacts;
}

std::vector<OutputArtifact> SeriesArtifacts(const ValidSpec& spec,
                                            const std::vector<SeriesKey>& singleSeries) {
  std::vector<OutputArtifact> artifacts;
  for (const FilteredOutputSpec& record : spec.filteredOutputs) {
    if (IncludesSeries(record)) AddRecordArtifacts(spec, record, singleSeries, true, artifacts);
  }
  return artifacts;
}

std::vector<OutputArtifact> OutlierTableArtifacts() {
  return {Named("interpretation.seriesWithOutliersTable")};
}

std::vector<OutputArtifact> RootCauseArtifacts() {
  return {Named("action.outlierRootCauseAnalysisforSeries"), Named("action.outliers")};
}

std::string OutputConfText(const ValidSpec& spec, const std::vector<OutputArtifact>& artifacts,
                           bool outlierTable) {
  JNIJSONArray list;
  for (const OutputArtifact& artifact : artifacts) list.add(ArtifactObject(artifact));
  JNIJSONObject conf;
  conf.put("artifacts", list);
  conf.put("locale", CFAppHost::getInstance().getLocale());
  conf.put("timeFormat", "hh:mm:ss");
  conf.put("dateFormat", "yyyy-MM-dd");
  conf.put("forecasted", spec.buildOptions.forecastPeriods);
  if (outlierTable && spec.targetFilter.display == "BESTFIT") {
    if (spec.targetFilter.useN) {
      conf.put("topModel", spec.targetFilter.n);
    } else {
      conf.put("topModelPercent", spec.targetFilter.pct);
    }
  }
  conf.put("isEncoded", false);
  return conf.toString();
}

std::string SortConfigText(const ValidSpec& spec) {
  auto field = [](const std::string& name) {
    JNIJSONObject object;
    object.put("direction", "ascending");
    object.put("name", name);
    return object;
  };
  JNIJSONArray fields;
  if (spec.isDateTimeSpec()) {
    fields.add(field(spec.timeVars.timeVar));
  } else {
    for (const CycleVariable& cycle : spec.timeVars.cycleVars) fields.add(field(cycle.name));
    fields.add(field(spec.timeVars.periodVar));
  }
  JNIJSONObject conf;
  conf.put("sortFields", fields);
  return conf.toString();
}

OutputDepths WorkOutDepths(const ValidSpec& spec) {
  OutputDepths depths;
  for (auto record = spec.filteredOutputs.rbegin(); record != spec.filteredOutputs.rend();
       ++record) {
    depths.sigLevel = record->sigLevel;
    const int causes = record->causes ? record->causeLevels : 0;
    const int effects = record->effects ? record->effectLevels : 0;
    if (IncludesTargets(*record)) {
      depths.targetCauses = causes;
      depths.targetEffects = effects;
      depths.targetLevels = record->rootCauseLevels;
    }
    if (IncludesSeries(*record)) {
      depths.seriesCauses = causes;
      depths.seriesEffects = effects;
      depths.seriesLevels = record->rootCauseLevels;
    }
  }
  return depths;
}

int TopModelsValue(const TargetFilterSpec& filter) {
  if (filter.useN) return filter.n;
  // 64 bits: a large n times a percentage must not overflow on the way.
  return static_cast<int>((static_cast<long long>(filter.n) * filter.pct + 5) / 100);
}

bool TargetsAskOutlierTable(const ValidSpec& spec) {
  for (const FilteredOutputSpec& record : spec.filteredOutputs) {
    if (IncludesTargets(record) && Holds(record.print, "OUTLIERS")) return true;
  }
  return false;
}

std::string JoinSeriesKey(const SeriesKey& series) {
  std::string key;
  for (std::size_t i = 0; i < series.size(); ++i) {
    if (i > 0) key += "-";
    key += series[i];
  }
  return key;
}
