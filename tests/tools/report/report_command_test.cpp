#include <gmock/gmock.h>
#include <sys/stat.h>

#include <filesystem>
#include <fstream>
#include <string>

#include "testing/temporary_folder.h"
#include "tests/tools/run_tool.h"

namespace norv::testing {
namespace {

using ::testing::HasSubstr;

/// A program of the shell.
void writeProgram(const std::string& path, const std::string& lines) {
  std::ofstream(path) << "#!/bin/sh\n" << lines;
  chmod(path.c_str(), 0755);
}

/// The tool where the only python3 in PATH, and in /usr/bin as far as the tool can see, is the one
/// in `folder`.
ProgramResult runWithPython(const TemporaryFolder& folder, const std::string& arguments) {
  return runTool(arguments, "PATH='" + folder.path("") + "'");
}

TEST(ReportCommand, PassesItsArgumentsOnAsTheyAreAndTheStatusBack) {
  const TemporaryFolder folder;
  // Is asked whether it has the module, and then to run it.
  writeProgram(folder.path("python3"),
               "if [ \"$1\" = -c ]; then exit 0; fi\n"
               "printf '[%s]' \"$@\"\n"
               "exit 7\n");
  const ProgramResult result = runWithPython(folder, "report 'a $(b) \"c' ./-d.txt -o ' e;f.html'");
  EXPECT_EQ(result.status, 7);
  EXPECT_EQ(result.errors, "");
  EXPECT_EQ(result.output,
            "[-m][camera_parameters.report][--output= e;f.html][--][a $(b) \"c][./-d.txt]");
}

TEST(ReportCommand, PutsThePackageBesideItBeforeOthers) {
  const TemporaryFolder folder;
  const std::string bin = folder.path("prefix/bin");
  const std::string packages = folder.path("prefix/lib/python3/dist-packages");
  std::filesystem::create_directories(bin);
  std::filesystem::create_directories(packages + "/camera_parameters");
  std::ofstream(packages + "/camera_parameters/report.py") << "\n";
  std::filesystem::copy_file(CAMERA_PARAMETERS_TOOL, bin + "/camera-parameters");
  writeProgram(folder.path("python3"),
               "if [ \"$1\" = -c ]; then exit 0; fi\n"
               "printf '%s' \"$PYTHONPATH\"\n");
  const ProgramResult result = runProgram("PATH='" + folder.path("") + "' PYTHONPATH=/other '" +
                                          bin + "/camera-parameters' report default -o x.html");
  EXPECT_EQ(result.status, 0) << result.errors;
  EXPECT_EQ(result.output, std::filesystem::canonical(packages).string() + ":/other");
}

TEST(ReportCommand, SaysInOneLineHowToGetThePackage) {
  const TemporaryFolder folder;
  writeProgram(folder.path("python3"), "exit 1\n");
  const std::string tool = folder.path("bin/camera-parameters");
  std::filesystem::create_directories(folder.path("bin"));
  std::filesystem::copy_file(CAMERA_PARAMETERS_TOOL, tool);
  // An interpreter that is asked to be none sees no package, whatever is installed in /usr.
  const ProgramResult result = runProgram("PYTHONHOME=/nonexistent PATH='" + folder.path("") +
                                          "' '" + tool + "' report default -o x.html");
  EXPECT_EQ(result.status, 1);
  EXPECT_EQ(result.output, "");
  EXPECT_EQ(
      result.errors,
      "camera-parameters: report needs the library's Python package: install Debian's python3 and "
      "python3-numpy, and configure the library with -DCAMERA_PARAMETERS_PYTHON=ON (which needs "
      "python3-dev and pybind11-dev); where it lies beside neither this program nor Python's own "
      "packages, PYTHONPATH names its folder\n");
}

TEST(ReportCommand, NeedsAFileAndAPage) {
  expectUsage("report", "FILE is required", "report");
  expectUsage("report a.txt", "--output is required", "report");
  expectUsage("report a b c -o x", "report takes no further argument: \"c\"", "report");
  expectUsage("report '' -o x", "FILE: the name of the file is empty", "report");
  EXPECT_THAT(toolOutput("report --help"), HasSubstr("FILE2"));
}

}  // namespace
}  // namespace norv::testing
