// This file contains VarSpecObj: a variable named in syntax and a value written for it.
#include "host/syntax/var_spec_obj.h"

#include <cmath>

#include "host/data/procedure_data_source.h"
#include "host/messages/parser_message.h"
#include "support/time.h"

int32_t PackFormat(const host::PrintFormat& format) {
  return ((format.type & 0x7F) << 24) | ((format.width & 0xFFFF) << 8) | (format.decimals & 0xFF);
}

host::PrintFormat UnpackFormat(int32_t packed) {
  host::PrintFormat format;
  format.type = (packed >> 24) & 0x7F;
  format.width = (packed >> 8) & 0xFFFF;
  format.decimals = packed & 0xFF;
  return format;
}

VarSpecObj::VarSpecObj(const std::string& name, const std::string& subcommand,
                       const CommandDescriptor* descriptor, const ProcedureDataSource* dataSource,
                       bool silent, ParserMessage* messages)
    : name_(name), subcommand_(subcommand), descriptor_(descriptor), data_source_(dataSource),
      silent_(silent), messages_(messages) {}

int VarSpecObj::ValidateVariable(const std::string& varName) {
  index_ = -1;
  if (data_source_ != nullptr && !varName.empty())
    index_ = data_source_->FindVarIndex(varName, 0);
  if (index_ < 0 && !silent_ && messages_ != nullptr) {
    messages_->VariableNotInDict(varName, name_, subcommand_);
  }
  return index_;
}

bool VarSpecObj::ValidateCatValue(const std::string& text, double& value, int32_t& format) const {
  const QUOR_Variable* variable =
      index_ < 0 || data_source_ == nullptr ? nullptr : data_source_->GetVariable(index_);
  if (variable == nullptr)
    return false;
  double read = 0.0;
  bool ok = false;
  if (variable->IsString()) {
    // A string time variable carries ISO 8601 text; its print format says nothing of dates.
    if (const auto iso = support::ParseIso8601(text)) {
      read = static_cast<double>(iso->seconds) + iso->fraction;
      ok = true;
    }
  } else if (const auto parsed = host::ParseFormatted(text, variable->GetFormat())) {
    read = *parsed;
    ok = std::isfinite(read);
  }
  if (!ok) {
    if (!silent_ && messages_ != nullptr) {
      messages_->InvalidCatValue(text, variable->GetName(), name_, subcommand_);
    }
    return false;
  }
  value = read;
  format = PackFormat(variable->GetFormat());
  return true;
}
