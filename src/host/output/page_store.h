// This file contains the page store of the report: texts that only the page's script uses (the
// whole history of a chart whose static picture shows its recent part, the plots an impact tree
// shows on request), each once, compressed into one element.
#pragma once

#include <cstddef>
#include <map>
#include <string>
#include <vector>

namespace host {

// Without script a page shows its static pictures and nothing of the store; with script the
// store is opened once, on first use (assets/figures.js, pageStore).
class PageStore {
 public:
  // The text's number in the store; the same text gets the same number.
  std::size_t Add(const std::string& text);
  // <script type="application/octet-stream" id="page-store"> holding the base64 of the
  // zlib-compressed JSON array of the texts; empty when nothing was added.
  std::string Html() const;

 private:
  std::map<std::string, std::size_t> numbers_;
  std::vector<const std::string*> texts_;  // keys of numbers_, in the order added
};

}  // namespace host
