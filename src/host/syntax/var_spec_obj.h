// This file contains VarSpecObj: the check of a variable named by a parameter and of a value
// written for it in syntax, read the way the variable's print format reads its values.
#pragma once

#include <cstdint>
#include <string>

#include "host/data/print_format.h"

class CommandDescriptor;
class ParserMessage;
class ProcedureDataSource;

// A print format packed into one integer: type in bits 24..30, width in bits 8..23, decimals in
// bits 0..7. Never equal to a date kind (20..22), since every format type is above 0.
int32_t PackFormat(const host::PrintFormat& format);
host::PrintFormat UnpackFormat(int32_t packed);

class VarSpecObj {
 public:
  // `name` and `subcommand` are the parameter and subcommand for messages. With `silent` the
  // object reports nothing and its caller reports the faults; otherwise a fault is reported
  // through `messages` (when given) as VariableNotInDict or InvalidCatValue.
  VarSpecObj(const std::string& name, const std::string& subcommand,
             const CommandDescriptor* descriptor, const ProcedureDataSource* dataSource,
             bool silent, ParserMessage* messages = nullptr);

  // Looks the variable up (without regard to case) and keeps it for ValidateCatValue. Gives its
  // dictionary index, or -1 when it is not in the dictionary (or there is no data source).
  int ValidateVariable(const std::string& varName);

  // Reads `text` as a value of the variable of the last successful ValidateVariable: a numeric
  // variable through its print format (a date format also takes ISO 8601 text), a string
  // variable as ISO 8601 date or date-time text, which is what string time variables hold.
  // On success `value` is the host value (a date is seconds since 1970-01-01 00:00:00 of the
  // wall clock) and `format` the variable's packed print format. False, outputs untouched, when
  // no variable was validated or the text does not read.
  bool ValidateCatValue(const std::string& text, double& value, int32_t& format) const;

  const std::string& Name() const { return name_; }
  const std::string& SubCommand() const { return subcommand_; }
  const CommandDescriptor* Descriptor() const { return descriptor_; }

 private:
  std::string name_;
  std::string subcommand_;
  const CommandDescriptor* descriptor_;
  const ProcedureDataSource* data_source_;
  bool silent_;
  ParserMessage* messages_;
  int index_ = -1;
};
