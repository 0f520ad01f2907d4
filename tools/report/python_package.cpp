#include "tools/report/python_package.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <sstream>
#include <system_error>

namespace norv::tools {
namespace {

namespace fs = std::filesystem;

/// With `-c` or `-m`, Python would import what lies in the current folder, beside a calibration
/// that someone sent: its json.py for Python's own. `-P` against that is of Python 3.11 and `-I`
/// would leave out PYTHONPATH too.
constexpr const char* kWithoutCurrentFolder =
    "import sys; sys.path[:] = [folder for folder in sys.path if folder]; ";

/// As the functions of the system take them: pointers, the last one null.
std::vector<char*> pointersTo(std::vector<std::string>* words) {
  std::vector<char*> pointers;
  for (std::string& word : *words) pointers.push_back(word.data());
  pointers.push_back(nullptr);
  return pointers;
}

bool holdsPackage(const fs::path& folder) {
  std::error_code error;
  return fs::is_regular_file(folder / "camera_parameters" / "report.py", error);
}

/// The folders that PYTHONPATH names. An empty name would be the current folder.
std::vector<std::string> namedFolders() {
  const char* const names = std::getenv("PYTHONPATH");
  std::istringstream stream(names == nullptr ? "" : names);
  std::vector<std::string> folders;
  for (std::string name; std::getline(stream, name, ':');) {
    if (!name.empty()) folders.push_back(name);
  }
  return folders;
}

/// Puts the package of this program before others that Python would find.
void extendPythonPath() {
  std::error_code error;
  const fs::path program = fs::read_symlink("/proc/self/exe", error);
  std::string path;
  const auto append = [&path](const std::string& folder) {
    path += (path.empty() ? "" : ":") + folder;
  };
  for (const fs::path& folder : packageFoldersOf(program.parent_path())) append(folder.string());
  for (const std::string& folder : namedFolders()) append(folder);
  setenv("PYTHONPATH", path.c_str(), 1);
}

/// Whether a program succeeds, without any input or output.
bool succeeds(std::vector<std::string> words) {
  posix_spawn_file_actions_t silence;
  posix_spawn_file_actions_init(&silence);
  for (const int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
    posix_spawn_file_actions_addopen(&silence, stream, "/dev/null", O_RDWR, 0);
  }
  pid_t child = 0;
  const bool started = posix_spawnp(&child, words[0].c_str(), &silence, nullptr,
                                    pointersTo(&words).data(), environ) == 0;
  posix_spawn_file_actions_destroy(&silence);
  if (!started) return false;
  int status = 0;
  while (waitpid(child, &status, 0) < 0) {
    if (errno != EINTR) return false;
  }
  return WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

}  // namespace

std::vector<fs::path> packageFoldersOf(const fs::path& program_folder) {
  const fs::path prefix = program_folder.parent_path();
  std::vector<fs::path> folders;
  if (holdsPackage(prefix / "python")) folders.push_back(prefix / "python");
  std::error_code error;
  for (const fs::directory_entry& entry : fs::directory_iterator(prefix / "lib", error)) {
    if (entry.path().filename().string().rfind("python3", 0) != 0) continue;
    for (const char* const kind : {"dist-packages", "site-packages"}) {
      if (holdsPackage(entry.path() / kind)) folders.push_back(entry.path() / kind);
    }
  }
  std::sort(folders.begin(), folders.end());
  return folders;
}

void becomePython(const std::string& module, const std::vector<std::string>& words) {
  extendPythonPath();
  // A version manager's interpreter earlier in PATH does not see Debian's packages.
  for (const char* const interpreter : {"python3", "/usr/bin/python3"}) {
    if (!succeeds({interpreter, "-c", kWithoutCurrentFolder + ("import " + module)})) continue;
    const std::string run =
        "import runpy; runpy.run_module('" + module + "', run_name='__main__', alter_sys=True)";
    std::vector<std::string> command = {interpreter, "-c", kWithoutCurrentFolder + run};
    command.insert(command.end(), words.begin(), words.end());
    execvp(interpreter, pointersTo(&command).data());
  }
}

}  // namespace norv::tools
