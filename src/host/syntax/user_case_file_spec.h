// This file contains UserCaseFileSpec: where a command's case data go or come from — a file, a
// named dataset of the session, or the working file (the active dataset).
#pragma once

#include <string>

class UserCaseFileSpec {
 public:
  // `name` as the syntax gave it. With `is_file` (a quoted name) it is a path, expanded as paths
  // in syntax are; "*" without `is_file` is the working file; any other name without `is_file`
  // names a dataset of the session. With `for_output` the file is to be written, so its folder
  // must exist. False, with the object unchanged, when the name is empty, the path cannot be
  // expanded, an output folder does not exist, or a dataset name is not a valid name.
  bool Init(const std::string& name, bool is_file, bool for_output);
  // The same, with a password for the file (ignored for anything but a file).
  bool Init(const std::string& name, bool is_file, bool for_output, const std::string& password,
            bool encrypted);

  bool IsInit() const { return kind_ != Kind::None; }
  bool IsFile() const { return kind_ == Kind::File; }
  bool IsWorkingFile() const { return kind_ == Kind::WorkingFile; }
  bool IsDataset() const { return kind_ == Kind::Dataset; }
  bool IsForOutput() const { return for_output_; }
  // The absolute path of a file, the name of a dataset, "*" for the working file; empty before
  // Init.
  std::string DocumentationString() const;
  // The absolute path of a file; empty otherwise.
  const std::string& GetPath() const { return path_; }
  // The name of a dataset of the session; empty otherwise.
  const std::string& GetDatasetName() const { return dataset_; }
  const std::string& GetName() const { return name_; }
  bool HasPassword() const { return !password_.empty(); }
  const std::string& GetPassword() const { return password_; }
  bool IsPasswordEncrypted() const { return encrypted_; }

 private:
  enum class Kind { None, File, WorkingFile, Dataset };
  Kind kind_ = Kind::None;
  bool for_output_ = false;
  std::string name_;
  std::string path_;
  std::string dataset_;
  std::string password_;
  bool encrypted_ = false;
};
