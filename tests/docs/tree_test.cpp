// The documents name files and folders that there are, and what CMake presets there are.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <regex>
#include <set>
#include <string>
#include <vector>

#include "testing/document.h"

namespace norv {
namespace {

namespace fs = std::filesystem;
using ::testing::HasSubstr;

const fs::path kRoot = CAMERA_PARAMETERS_SOURCE_DIR;

std::string read(const fs::path& path) { return testing::readDocument(path.string()); }

/// The documents of the top folder and of docs.
std::vector<fs::path> documents() {
  std::vector<fs::path> paths;
  for (const fs::path& folder : {kRoot, kRoot / "docs"}) {
    for (const auto& entry : fs::directory_iterator(folder)) {
      if (entry.path().extension() == ".md") paths.push_back(entry.path());
    }
  }
  return paths;
}

/// All places where the first group of `pattern` matches.
std::set<std::string> allMatches(const std::string& text, const std::string& pattern) {
  const std::regex regex(pattern);
  std::set<std::string> found;
  for (std::sregex_iterator at(text.begin(), text.end(), regex), end; at != end; ++at) {
    found.insert((*at)[1]);
  }
  return found;
}

/// Whether the tree holds that file or folder, or the files `path`.h and .cpp.
bool exists(const std::string& path) {
  return fs::exists(kRoot / path) || fs::exists(kRoot / (path + ".h"));
}

TEST(DocumentsAndTree, FilesThatAreNamedExist) {
  std::size_t named = 0;
  for (const fs::path& document : documents()) {
    for (const std::string& path : allMatches(
             read(document),
             "`((?:calibration|calibration_common|support|proto|tools|examples|docs|tests|testing|"
             "benchmarks|fuzz|cmake|scripts)/[A-Za-z0-9_./-]*)`")) {
      // What a build makes of a .proto file is installed beside it.
      const std::string source = std::regex_replace(path, std::regex("\\.pb\\.h$"), ".proto");
      EXPECT_TRUE(exists(source)) << document << " names " << path;
      ++named;
    }
  }
  EXPECT_GT(named, 10U);
}

/// Names of the folders in a folder.
std::set<std::string> foldersIn(const fs::path& folder) {
  std::set<std::string> names;
  for (const auto& entry : fs::directory_iterator(folder)) {
    if (entry.is_directory()) names.insert(entry.path().filename().string());
  }
  return names;
}

TEST(DocumentsAndTree, ArchitectureListsTheRooms) {
  const std::string text = read(kRoot / "ARCHITECTURE.md");
  for (const std::string folder : {"support", "tools"}) {
    // The lines that are indented further than the folder's own, up to the next one that is not.
    const std::size_t begin = text.find("\n    " + folder + "/ ");
    ASSERT_NE(begin, std::string::npos);
    const std::size_t first = text.find('\n', begin + 1);
    std::smatch next;
    const std::string rest = text.substr(first);
    ASSERT_TRUE(std::regex_search(rest, next, std::regex("\n    [a-z]")));
    const std::string rooms = rest.substr(0, static_cast<std::size_t>(next.position()));
    EXPECT_EQ(allMatches(rooms, "[ \n]([a-z]+)/(?= )"), foldersIn(kRoot / folder)) << folder;
  }
}

TEST(DocumentsAndTree, ArchitectureListsTheFilesOfCalibrationCommon) {
  const std::string text = read(kRoot / "ARCHITECTURE.md");
  const std::size_t begin = text.find("\n    calibration_common/ ");
  const std::size_t end = text.find("\n    support/ ");
  ASSERT_LT(begin, end);
  std::set<std::string> stems;
  for (const auto& entry : fs::directory_iterator(kRoot / "calibration_common")) {
    stems.insert(entry.path().stem().string());
  }
  EXPECT_EQ(allMatches(text.substr(begin, end - begin), "\n      ([a-z_]+)  "), stems);
}

TEST(DocumentsAndTree, ArchitectureListsTheFolders) {
  const std::string text = read(kRoot / "ARCHITECTURE.md");
  std::set<std::string> listed = allMatches(text, "\n    ([a-z_]+)/ ");
  for (const std::string& second : allMatches(text, "\n    [a-z_]+/  ([a-z_]+)/ ")) {
    listed.insert(second);
  }
  std::set<std::string> folders;
  for (const std::string& name : foldersIn(kRoot)) {
    if (name != "build" && name[0] != '.') folders.insert(name);
  }
  EXPECT_EQ(listed, folders);
}

TEST(DocumentsAndTree, ContributingNamesThePresets) {
  const std::string contributing = read(kRoot / "CONTRIBUTING.md");
  const std::string presets = read(kRoot / "CMakePresets.json");
  const std::string configure = presets.substr(0, presets.find("\"buildPresets\""));
  const std::set<std::string> names = allMatches(configure, "\"name\": \"([a-z-]+)\"");
  EXPECT_GE(names.size(), 8U);
  for (const std::string& name : names) {
    const bool hidden =
        std::regex_search(configure, std::regex("\"name\": \"" + name + "\",\\s+\"hidden\": true"));
    if (hidden) continue;
    EXPECT_THAT(contributing, HasSubstr("`" + name + "`"));
  }
}

}  // namespace
}  // namespace norv
