// The replay driver of a fuzz target, built with the normal compiler: every file under the
// folders (or the files) named on the command line goes to the target's entry function once,
// in name order. A crash or a sanitizer report fails the test; reading no input at all too.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <iterator>
#include <string>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);

namespace fs = std::filesystem;

int main(int argc, char** argv) {
  std::vector<fs::path> inputs;
  for (int i = 1; i < argc; ++i) {
    const fs::path where(argv[i]);
    std::error_code ec;
    if (fs::is_directory(where, ec)) {
      for (const auto& entry : fs::recursive_directory_iterator(where, ec)) {
        if (entry.is_regular_file()) inputs.push_back(entry.path());
      }
    } else if (fs::is_regular_file(where, ec)) {
      inputs.push_back(where);
    }
    // A folder that does not exist is a target without regressions yet: nothing to replay.
  }
  std::sort(inputs.begin(), inputs.end());
  for (const fs::path& input : inputs) {
    std::ifstream file(input, std::ios::binary);
    const std::vector<char> bytes((std::istreambuf_iterator<char>(file)),
                                  std::istreambuf_iterator<char>());
    if (!file.good() && !file.eof()) {
      std::cerr << "cannot read " << input << '\n';
      return 1;
    }
    std::cout << "replay " << input.string() << '\n' << std::flush;
    LLVMFuzzerTestOneInput(reinterpret_cast<const uint8_t*>(bytes.data()), bytes.size());
  }
  std::cout << inputs.size() << " inputs replayed\n";
  return inputs.empty() ? 1 : 0;
}
