// This file contains UserCaseFileSpec.
#include "host/syntax/user_case_file_spec.h"

#include "host/syntax/file_path.h"

bool UserCaseFileSpec::Init(const std::string& name, bool is_file, bool for_output) {
  if (name.empty())
    return false;
  UserCaseFileSpec spec;
  spec.name_ = name;
  spec.for_output_ = for_output;
  if (is_file) {
    if (!host::ExpandUserPath(name, spec.path_))
      return false;
    if (for_output && !host::CheckCommandFile(spec.path_, true))
      return false;
    spec.kind_ = Kind::File;
  } else if (name == "*") {
    spec.kind_ = Kind::WorkingFile;
  } else {
    if (!host::IsValidDatasetName(name))
      return false;
    spec.dataset_ = name;
    spec.kind_ = Kind::Dataset;
  }
  *this = std::move(spec);
  return true;
}

bool UserCaseFileSpec::Init(const std::string& name, bool is_file, bool for_output,
                            const std::string& password, bool encrypted) {
  if (!Init(name, is_file, for_output))
    return false;
  if (IsFile()) {
    password_ = password;
    encrypted_ = encrypted;
  }
  return true;
}

std::string UserCaseFileSpec::DocumentationString() const {
  switch (kind_) {
  case Kind::File:
    return path_;
  case Kind::Dataset:
    return dataset_;
  case Kind::WorkingFile:
    return "*";
  case Kind::None:
    break;
  }
  return {};
}
