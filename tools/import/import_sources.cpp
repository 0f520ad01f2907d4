#include "tools/import/import_sources.h"

#include <filesystem>
#include <fstream>
#include <system_error>

#include "tools/input/calibration_input.h"
#include "tools/tool_error.h"

namespace norv::tools {
namespace {

namespace fs = std::filesystem;

bool isThere(const fs::path& path) {
  std::error_code ignored;
  return fs::exists(path, ignored);
}

/// Whether a text file has a line that is neither empty nor a comment. Character by character,
/// since files of points are large.
bool hasEntries(const fs::path& path) {
  std::error_code ignored;
  if (!fs::is_regular_file(path, ignored)) return false;
  std::ifstream file(path);
  bool is_comment = false;
  for (char c = 0; file.get(c);) {
    if (c == '\n') {
      is_comment = false;
    } else if (c == '#') {
      is_comment = true;
    } else if (!is_comment && c != ' ' && c != '\t' && c != '\r') {
      return true;
    }
  }
  return false;
}

void readFile(const std::string& path, ImportSources* sources) {
  sources->files.push_back(readSource(path));
  if (path != "-") sources->paths.push_back(sources->files.back().name);
}

void readFolder(const std::string& path, ImportSources* sources) {
  const fs::path folder = path;
  if (!isThere(folder / "cameras.txt")) {
    const std::string hint =
        isThere(folder / "cameras.bin")
            ? "; COLMAP's model_converter makes one of the binary files that it has"
            : "";
    throw ToolError(path + ": is a folder without COLMAP's cameras.txt" + hint);
  }
  readFile(folder / "cameras.txt", sources);
  if (isThere(folder / "images.txt")) readFile(folder / "images.txt", sources);
  for (const char* name : {"rigs.txt", "frames.txt"}) {
    if (!isThere(folder / name)) continue;
    sources->not_taken_over.push_back(
        {folder / name, "cameras and their poses come from cameras.txt and images.txt"});
  }
  if (hasEntries(folder / "points3D.txt")) {
    sources->not_taken_over.push_back({folder / "points3D.txt", "points have no place here"});
  }
}

}  // namespace

interop::SourceFile readSource(const std::string& path) {
  // The word that stands for a calibration elsewhere is a file's name here.
  CalibrationInput input = readInput(path == "default" ? "./default" : path);
  return {std::move(input.name), std::move(input.data)};
}

ImportSources readSources(const std::vector<std::string>& paths) {
  ImportSources sources;
  for (const std::string& path : paths) {
    std::error_code ignored;
    if (fs::is_directory(path, ignored)) {
      readFolder(path, &sources);
    } else {
      readFile(path, &sources);
    }
  }
  return sources;
}

}  // namespace norv::tools
