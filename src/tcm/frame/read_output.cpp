// This file contains the readers of the output and save subcommands that TCM MODEL and TCM APPLY
// share: TARGETFILTER, SERIESFILTER, FILTEREDOUTPUT, SYSTEMOUTPUT, SAVE, PASSPROTECT, OUTFILE.
#include "tcm/frame/parser_shell.h"

#include <algorithm>
#include <utility>

#include "host/syntax/token.h"
#include "tcm/common/dim_filters.h"
#include "tcm/output/output_confs.h"

namespace {

constexpr int kAsteriskOperator = 10;
constexpr int kOutputCaseFileSpec = 23;
constexpr std::size_t kMaxPasswordCharacters = 10;

// Keywords are matched exactly later on (ValidSpec's slots, the flows), while the user may write
// them in any case: keep them upper case.
std::vector<std::string> UpperAll(std::vector<std::string> words) {
  for (auto& word : words) word = host::UpperAscii(word);
  return words;
}

// Characters, not bytes: a password of ten accented letters is ten characters.
std::size_t CharacterCount(const std::string& text) {
  return static_cast<std::size_t>(std::count_if(text.begin(), text.end(), [](char c) {
    return (static_cast<unsigned char>(c) & 0xC0) != 0x80;
  }));
}

// The readers look descriptors up again to read qualifiers; a miss is a fault of the tree.
const ParamDescriptor* LookUpParam(CommandDescriptor& tree, const std::string& subcommand,
                                   const std::string& param, ParserMessage* messages) {
  const SubComDescriptor* sub = tree.getGlobalGroupDesc()->getSubComDesc(subcommand);
  const ParamDescriptor* found = sub != nullptr ? sub->getParamDesc(param) : nullptr;
  if (found == nullptr) messages->InvalidSubComName(subcommand);
  return found;
}

bool InGroups(const QuorVarName& name, const std::vector<FieldsGroupRef>& groups) {
  const auto holds = [&name](const std::vector<QuorVarName>* list) {
    return list != nullptr && std::any_of(list->begin(), list->end(), [&name](const auto& entry) {
             return entry.GetName() == name.GetName();
           });
  };
  return std::any_of(groups.begin(), groups.end(), [&holds](const FieldsGroupRef& group) {
    return holds(group.targets) || holds(group.inputs) || holds(group.force);
  });
}

// One FILTEREDOUTPUT subcommand into `record`, which starts as the default record.
class FilteredOutputReader {
 public:
  FilteredOutputReader(CommandDescriptor& tree, ParserMessage* messages)
      : tree_(tree), messages_(messages) {}

  bool Read(const SubComObj& subcommand, FilteredOutputSpec& record) {
    if (const ParamObj* include = subcommand.getParamObj("INCLUDE")) {
      if (!include->getUpStringGeneric(record.include)) {
        messages_->SyntaxErrorAfterText("INCLUDE", "INCLUDE", kSub);
        return false;
      }
    }
    if (const ParamObj* network = subcommand.getParamObj("NETWORKGRAPH")) {
      if (!ReadNetworkGraph(*network, record)) return false;
    }
    for (const char* name : {"PRINT", "PLOT"}) {
      const ParamObj* list = subcommand.getParamObj(name);
      if (list == nullptr) continue;
      std::vector<std::string> words;
      if (!list->getStringList(words)) {
        messages_->ParamNeedStringList(name, kSub);
        return false;
      }
      (std::string(name) == "PRINT" ? record.print : record.plot) = UpperAll(std::move(words));
    }
    if (const ParamObj* impact = subcommand.getParamObj("IMPACTDIAGRAMS")) {
      if (!ReadImpactDiagrams(*impact, record)) return false;
    }
    if (const ParamObj* roots = subcommand.getParamObj("OUTLIER_ROOTCAUSES")) {
      if (!ReadRootCauses(*roots, record)) return false;
    }
    return true;
  }

 private:
  static constexpr const char* kSub = "FILTEREDOUTPUT";

  // The YES of NETWORKGRAPH or OUTLIER_ROOTCAUSES with its qualifiers, once the keyword was
  // YES written with parentheses. Null, reported, when the tree lacks it.
  const ParamDescriptor* YesDescriptor(const ParamDescriptor& outer, const std::string& param) {
    const ParamDescriptor* yes = outer.getQualifDesc("YES");
    if (yes == nullptr) messages_->ParamNeedQualif(param, kSub, "YES");
    return yes;
  }

  bool ReadNetworkGraph(const ParamObj& param, FilteredOutputSpec& record) {
    const ParamDescriptor* descriptor = LookUpParam(tree_, kSub, "NETWORKGRAPH", messages_);
    if (descriptor == nullptr) return false;
    std::pair<std::string, ParamObj> keyword;
    if (!param.getStringAndQual(keyword, descriptor, messages_)) return false;
    record.networkGraph = keyword.first == "YES";
    if (param.isLeadingToken() || !record.networkGraph) return true;
    const ParamDescriptor* yes = YesDescriptor(*descriptor, "NETWORKGRAPH");
    if (yes == nullptr) return false;
    // YES() holds nothing to read: the default significance level stands.
    if (keyword.second.Qualifiers().empty()) return true;
    std::pair<std::string, ParamObj> inner;
    if (!keyword.second.getStringAndQual(inner, yes, messages_)) return false;
    if (inner.first == "SIGLEVEL" && !inner.second.getNumberValue(record.sigLevel)) {
      messages_->ParamNeedNumber("NETWORKGRAPH", kSub);
      return false;
    }
    return true;
  }

  bool ReadImpactDiagrams(const ParamObj& param, FilteredOutputSpec& record) {
    record.impactDiagrams = true;
    std::vector<ParamObj> qualifiers;
    if (!param.getStringQualList(qualifiers, nullptr, nullptr)) {
      messages_->SyntaxErrorInParam(param.getStringToken(), "IMPACTDIAGRAMS", kSub);
      return false;
    }
    for (const ParamObj& qualifier : qualifiers) {
      const std::string& name = qualifier.getParamName();
      bool* flag = nullptr;
      int32_t* levels = nullptr;
      if (name == "CAUSES") {
        flag = &record.causes;
        levels = &record.causeLevels;
      } else if (name == "EFFECTS") {
        flag = &record.effects;
        levels = &record.effectLevels;
      } else {
        messages_->InvalidParam(name, kSub);
        return false;
      }
      *flag = true;
      // CAUSES alone keeps the default depth; CAUSES(3), CAUSES 3 and CAUSES() give one.
      if (qualifier.areParenUsed() || qualifier.getTokenListSize() > 0) {
        int value = 0;
        if (!qualifier.getIntegerValue(value)) {
          messages_->ParamNeedInteger(name, kSub);
          return false;
        }
        *levels = value;
      }
    }
    return true;
  }

  bool ReadRootCauses(const ParamObj& param, FilteredOutputSpec& record) {
    const ParamDescriptor* descriptor =
        LookUpParam(tree_, kSub, "OUTLIER_ROOTCAUSES", messages_);
    if (descriptor == nullptr) return false;
    std::pair<std::string, ParamObj> keyword;
    if (!param.getStringAndQual(keyword, descriptor, messages_)) return false;
    record.rootCauses = keyword.first == "YES";
    if (param.isLeadingToken() || !record.rootCauses) return true;
    const ParamDescriptor* yes = YesDescriptor(*descriptor, "OUTLIER_ROOTCAUSES");
    if (yes == nullptr) return false;
    std::vector<ParamObj> qualifiers;
    if (!keyword.second.getStringQualList(qualifiers, yes, messages_)) return false;
    for (const ParamObj& qualifier : qualifiers) {
      const std::string& name = qualifier.getParamName();
      if (name == "LEVELS") {
        int value = 0;
        if (!qualifier.getIntegerValue(value)) {
          messages_->ParamNeedInteger("LEVELS", kSub);
          return false;
        }
        record.rootCauseLevels = value;
      } else if (name == "DISPLAY") {
        if (!qualifier.getUpStringGeneric(record.rootCauseDisplay)) {
          messages_->InvalidParamValue(qualifier.getStringToken(), "DISPLAY", kSub);
          return false;
        }
      } else {
        messages_->InvalidParam(name, kSub);
        return false;
      }
    }
    return true;
  }

  CommandDescriptor& tree_;
  ParserMessage* messages_;
};

}  // namespace

std::string WrittenPath(const ParamObj& param) {
  std::string written;
  bool quoted = false;
  if (!param.getStringOrLiteral(written, quoted)) written = param.getStringToken();
  return written;
}

std::string DefaultRootName(const std::string& keyword) {
  static const std::pair<const char*, const char*> kRoots[] = {
      {"TARGETS", "FILTERED"}, {"PREDICTED", "Predicted"}, {"NRESIDUAL", "NResidual"},
      {"LCLROOT", "LCL"},      {"UCLROOT", "UCL"},         {"FORECASTFLAG", "ForecastIndicator"}};
  for (const auto& [name, root] : kRoots) {
    if (keyword == name) return root;
  }
  return keyword;
}

std::vector<FilteredOutputSpec> MergeFilteredOutputs(
    const std::vector<FilteredOutputSpec>& records) {
  std::vector<FilteredOutputSpec> kept;
  bool seenTargets = false;
  bool seenSeries = false;
  for (auto record = records.rbegin(); record != records.rend() && kept.size() < 2; ++record) {
    if (record->include == "BOTH") {
      if (kept.empty()) {
        // A final BOTH covers every series type: nothing written before it counts.
        kept.push_back(*record);
        break;
      }
      FilteredOutputSpec narrowed = *record;
      if (seenTargets) narrowed.include = "SERIES";
      if (seenSeries) narrowed.include = "TARGETS";
      kept.push_back(std::move(narrowed));
    } else if (record->include == "TARGETS" && !seenTargets) {
      seenTargets = true;
      kept.push_back(*record);
    } else if (record->include == "SERIES" && !seenSeries) {
      seenSeries = true;
      kept.push_back(*record);
    }
  }
  return kept;
}

bool TCMParserShell::ReadTargetFilter(const SubComObj& subcommand) {
  static const char* const kSub = "TARGETFILTER";
  const ParamObj* display = subcommand.getParamObj("DISPLAY");
  if (display == nullptr) {
    messages->ParamRequiredForSubCom("DISPLAY", kSub);
    return false;
  }
  const ParamDescriptor* descriptor = LookUpParam(*this, kSub, "DISPLAY", messages);
  if (descriptor == nullptr) return false;
  std::pair<std::string, ParamObj> keyword;
  if (!display->getStringAndQual(keyword, descriptor, messages)) return false;
  TargetFilterSpec& filter = spec->targetFilter;
  if (keyword.first == "ALLTARGETS" || keyword.first == "TARGETSNOINPUTS") {
    filter.display = keyword.first;
    return true;
  }
  if (keyword.first != "BESTFIT") {
    messages->InvalidParamOption(keyword.first, "DISPLAY", kSub);
    return false;
  }
  filter.display = "BESTFIT";
  if (keyword.second.getTokenListSize() == 0) return true;
  std::vector<ParamObj> qualifiers;
  if (!keyword.second.getStringQualList(qualifiers, nullptr, nullptr)) return true;
  const auto named = [&qualifiers](const char* name) {
    return std::any_of(qualifiers.begin(), qualifiers.end(),
                       [name](const ParamObj& q) { return q.getParamName() == name; });
  };
  if (named("N") && named("PCT")) {
    messages->ParamExclusive("N", "PCT", kSub);
    return false;
  }
  for (const ParamObj& qualifier : qualifiers) {
    const std::string& name = qualifier.getParamName();
    bool ok = true;
    if (name == "N") {
      int value = 0;
      ok = qualifier.getIntegerValue(value);
      if (ok) filter.n = value;
    } else if (name == "PCT") {
      int value = 0;
      ok = qualifier.getIntegerValue(value);
      if (ok) {
        filter.pct = value;
        filter.useN = false;
      }
    } else if (name == "FITSTAT") {
      std::string value;
      ok = qualifier.getStringGeneric(value);
      if (ok) filter.fitStat = host::UpperAscii(value);
    } else {
      messages->InvalidParam(name, kSub);
      return false;
    }
    if (!ok) {
      messages->InvalidParamValue("", "BESTFIT", kSub);
      return false;
    }
  }
  // PCT never sets the share itself: the ranking takes N's 10 as the percentage, and the graph
  // takes (N x PCT + 5) / 100 models. Say so rather than show another share than asked.
  if (!filter.useN) {
    messages->GenericWarning("PCT_NOT_APPLIED_KEY", std::to_string(filter.pct),
                             std::to_string(filter.n), std::to_string(TopModelsValue(filter)));
  }
  return true;
}

bool TCMParserShell::ReadSeriesFilters(const GroupComObj& global,
                                       const std::vector<FieldsGroupRef>& groups) {
  return ReadSeriesFilters(global, [&](const ParamObj& fields, std::vector<QuorVarName>& out) {
    if (!ReadFieldList(fields, out, "SERIESFILTER", false)) return false;
    for (const QuorVarName& name : out) {
      // A series filter can only pick series that the model system will have.
      if (!groups.empty() && !InGroups(name, groups)) {
        messages->InvalidParamValue(name.GetName(), "FIELDS", "SERIESFILTER");
        return false;
      }
    }
    return true;
  });
}

bool TCMParserShell::ReadSeriesFilters(const GroupComObj& global,
                                       const SeriesFieldsReader& readFields) {
  std::vector<const SubComObj*> occurrences;
  global.getSubComObj(occurrences, "SERIESFILTER");
  for (const SubComObj* subcommand : occurrences) {
    const ParamObj* fields = subcommand->getParamObj("FIELDS");
    if (fields == nullptr) {
      messages->ParamRequiredForSubCom("FIELDS", "SERIESFILTER");
      return false;
    }
    SeriesFilterSpec record;
    if (!readFields(*fields, record.fields)) return false;
    if (const ParamObj* dimvalues = subcommand->getParamObj("DIMVALUES")) {
      if (!ReadDimValues(record.filters, *dimvalues, spec->dimensions, messages)) return false;
    }
    spec->seriesFilters.push_back(std::move(record));
  }
  return true;
}

bool TCMParserShell::ReadFilteredOutputs(const GroupComObj& global) {
  std::vector<const SubComObj*> occurrences;
  if (global.getSubComObj(occurrences, "FILTEREDOUTPUT") == 0) return true;
  spec->filteredOutputs.clear();
  FilteredOutputReader reader(*this, messages);
  for (const SubComObj* subcommand : occurrences) {
    FilteredOutputSpec record;
    if (!reader.Read(*subcommand, record)) return false;
    spec->filteredOutputs.push_back(std::move(record));
  }
  spec->filteredOutputs = MergeFilteredOutputs(spec->filteredOutputs);
  return true;
}

bool TCMParserShell::ReadSystemOutput(const SubComObj& subcommand) {
  if (const ParamObj* fit = subcommand.getParamObj("MODELFIT")) {
    spec->modelFit.clear();
    std::vector<std::string> statistics;
    if (!fit->getStringList(statistics)) {
      messages->ParamNeedStringList("MODELFIT", "SYSTEMOUTPUT");
      return false;
    }
    spec->modelFit = UpperAll(std::move(statistics));
    if (spec->modelFit.size() >= 2 && ListHas(spec->modelFit, "NONE", true, false)) {
      messages->ParamExclAnyOther("NONE", "MODELFIT");
      // TCM APPLY reports this and reads on; TCM MODEL stops here.
      if (spec->commandKind() != 1) return false;
    }
  }
  spec->transformations = ReadYesNo(subcommand.getParamObj("TRANSFORMATIONS"), true);
  spec->outlierPlot = ReadYesNo(subcommand.getParamObj("OUTLIERPLOT"), false);
  return true;
}

bool TCMParserShell::ReadSave(const SubComObj& subcommand) {
  std::vector<SaveEntry>& entries = spec->saveEntries;
  const auto add = [&entries](const ParamObj& param) {
    std::string root;
    if (!param.getVarName(root)) root = DefaultRootName(param.getParamName());
    entries.push_back({param.getParamName(), root});
  };
  for (int i = 0; i < subcommand.getParamListSize(); ++i) {
    const ParamObj* param = subcommand.getParamObj(i);
    if (param == nullptr) {
      messages->ModeUnknown("");
      return false;
    }
    const std::string& keyword = param->getParamName();
    if (keyword == "CL") {
      std::vector<ParamObj> roots;
      if (param->getTokenListSize() > 0 && !param->getStringQualList(roots, nullptr, nullptr)) {
        messages->SyntaxErrorInParam(param->getStringToken(), "CL", "SAVE");
        return false;
      }
      if (roots.empty()) {
        entries.push_back({"LCLROOT", "LCL"});
        entries.push_back({"UCLROOT", "UCL"});
      } else if (roots.size() == 1) {
        // Both bounds are saved, or neither.
        if (roots.front().getParamName() == "LCLROOT") {
          messages->ParamNeedParam("UCLROOT", "LCLROOT", "");
        } else {
          messages->ParamNeedParam("LCLROOT", "UCLROOT", "");
        }
        return false;
      } else {
        for (const ParamObj& root : roots) add(root);
      }
    } else if (keyword == "TARGETS") {
      std::string which = "FILTERED";
      if (param->getTokenListSize() > 0 && !param->getUpStringGeneric(which)) {
        messages->InvalidParamValue(param->getStringToken(), "TARGETS", "SAVE");
        return false;
      }
      entries.push_back({"TARGETS", which});
    } else {
      add(*param);
    }
  }
  // New variables are named root_metric: two requests with one root would collide.
  for (std::size_t i = 1; i < entries.size(); ++i) {
    const std::string upper = host::UpperAscii(entries[i].rootName);
    for (std::size_t j = 0; j < i; ++j) {
      if (host::UpperAscii(entries[j].rootName) == upper) {
        messages->ParamValueRepeat(entries[i].keyword, "SAVE", entries[i].rootName);
        return false;
      }
    }
  }
  return true;
}

bool TCMParserShell::ReadPassProtect(const SubComObj& subcommand) {
  if (const ParamObj* password = subcommand.getParamObj("PASSWORD")) {
    if (!password->getLiteral(spec->password)) {
      messages->ParamQuotedString("PASSWORD", "PASSPROTECT");
      return false;
    }
    if (CharacterCount(spec->password) > kMaxPasswordCharacters) {
      messages->SimpleError("PWD_TOO_LONG_KEY");
      return false;
    }
  }
  spec->encryptedPassword = ReadYesNo(subcommand.getParamObj("ENCRYPTEDPW"), false);
  return true;
}

bool TCMParserShell::ReadOutfile(const SubComObj& subcommand) {
  if (const ParamObj* model = subcommand.getParamObj("MODELSYSTEM")) {
    if (!model->getFilePath(spec->modelSystemPath, true, true)) {
      messages->FileNameInvalid(WrittenPath(*model));
      return false;
    }
  }
  const ParamObj* data = subcommand.getParamObj("DATA");
  if (data == nullptr) return true;
  std::string name;
  bool quoted = false;
  if (data->isOperatorValue(kAsteriskOperator)) {
    name = "*";
  } else {
    if (!data->processSysFileSpec(kOutputCaseFileSpec, messages)) return false;
    if (!data->getStringOrLiteral(name, quoted)) {
      messages->FileNameInvalid(data->getStringToken());
      return false;
    }
  }
  if (!spec->outData.Init(name, quoted, true)) {
    messages->FileNameInvalid(name);
    return false;
  }
  // Only a file carries a password; the working file and session datasets have none.
  if (spec->outData.IsFile() && spec->password != "NONE") {
    if (!spec->outData.Init(name, quoted, true, spec->password, spec->encryptedPassword)) {
      messages->FileNameInvalid(name);
      return false;
    }
  }
  return true;
}

bool TCMParserShell::ReadOutputAndFiles(const GroupComObj& global) {
  if (const SubComObj* output = global.getSubComObj("SYSTEMOUTPUT")) {
    if (!ReadSystemOutput(*output)) return false;
  }
  if (const SubComObj* save = global.getSubComObj("SAVE")) {
    if (!ReadSave(*save)) return false;
  }
  if (const SubComObj* protect = global.getSubComObj("PASSPROTECT")) {
    if (!ReadPassProtect(*protect)) return false;
  }
  if (const SubComObj* outfile = global.getSubComObj("OUTFILE")) {
    if (!ReadOutfile(*outfile)) return false;
  }
  WarnPasswordWithoutFile();
  return true;
}

void TCMParserShell::WarnPasswordWithoutFile() {
  // Silently dropping the password would leave the user believing the data are protected.
  if (spec->password != "NONE" && !spec->outData.IsFile()) {
    messages->SimpleWarning("PWD_NO_DATA_FILE_KEY");
  }
}
