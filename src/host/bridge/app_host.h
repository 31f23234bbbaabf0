// This file contains CFAppHost, the application object: what the host knows of its setting that
// the engine needs in scripts, such as the locale text of time conversions.
#pragma once

#include <string>
#include <utility>

class CFAppHost {
 public:
  // The one application object of the process.
  static CFAppHost& getInstance();

  // The locale text that time conversion functions carry, "en_US" unless the host set another.
  const std::string& getLocale() const { return locale_; }
  void setLocale(std::string locale) { locale_ = std::move(locale); }

 private:
  CFAppHost() = default;
  std::string locale_ = "en_US";
};
