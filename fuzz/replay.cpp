// Runs a fuzz target over the files of a folder.

#include <cstdio>
#include <filesystem>
#include <string>

#include "fuzz/fuzz_support.h"
#include "testing/file_contents.h"

int main(int argc, char** argv) {
  if (argc != 2) {
    std::fprintf(stderr, "usage: %s FOLDER\n", argv[0]);
    return 2;
  }
  int count = 0;
  for (const auto& entry : std::filesystem::directory_iterator(argv[1])) {
    const std::string input = norv::testing::contentsOf(entry.path());
    std::printf("%s\n", entry.path().filename().c_str());
    std::fflush(stdout);  // names the input that stops the process
    LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t*>(input.data()), input.size());
    ++count;
  }
  std::printf("%d inputs\n", count);
  return count > 0 ? 0 : 1;
}
