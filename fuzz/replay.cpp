// Runs a fuzz target over the files of folders.

#include <cstdio>
#include <filesystem>
#include <string>

#include "fuzz/fuzz_support.h"
#include "testing/file_contents.h"

namespace {

/// How many files there were.
int replay(const char* folder) {
  int count = 0;
  for (const auto& entry : std::filesystem::directory_iterator(folder)) {
    const std::string input = norv::testing::contentsOf(entry.path());
    std::printf("%s\n", entry.path().filename().c_str());
    std::fflush(stdout);  // names the input that stops the process
    LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t*>(input.data()), input.size());
    ++count;
  }
  return count;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc < 2) {
    std::fprintf(stderr, "usage: %s FOLDER...\n", argv[0]);
    return 2;
  }
  bool has_all = true;
  for (int i = 1; i < argc; ++i) {
    const int count = replay(argv[i]);
    std::printf("%s: %d inputs\n", argv[i], count);
    has_all = has_all && count > 0;
  }
  return has_all ? 0 : 1;
}
