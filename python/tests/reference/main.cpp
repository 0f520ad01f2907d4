#include <cstdio>
#include <map>
#include <string>

#include "python/tests/reference/reference.h"

int main(int argc, char** argv) {
  const std::map<std::string, void (*)()> verbs = {
      {"cameras", &norv::reference::writeCameras},
      {"heads", &norv::reference::writeHeads},
  };
  const auto verb = argc == 2 ? verbs.find(argv[1]) : verbs.end();
  if (verb == verbs.end()) {
    std::fputs("Usage: camera_parameters_python_reference VERB < INPUTS > RESULTS\n", stderr);
    return 1;
  }
  verb->second();
  return std::fflush(stdout) == 0 ? 0 : 3;
}
