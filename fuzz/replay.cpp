// Runs a fuzz target over the files of a folder.

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>

#include "fuzz/fuzz_support.h"

int main(int argc, char** argv) {
  if (argc != 2) {
    std::fprintf(stderr, "usage: %s FOLDER\n", argv[0]);
    return 2;
  }
  int count = 0;
  for (const auto& entry : std::filesystem::directory_iterator(argv[1])) {
    std::ostringstream bytes;
    bytes << std::ifstream(entry.path(), std::ios::binary).rdbuf();
    const std::string input = bytes.str();
    std::printf("%s\n", entry.path().filename().c_str());
    std::fflush(stdout);  // names the input that stops the process
    LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t*>(input.data()), input.size());
    ++count;
  }
  std::printf("%d inputs\n", count);
  return count > 0 ? 0 : 1;
}
