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

std::string packagesIn(const TemporaryFolder& folder) {
  return folder.path("prefix/lib/python3/dist-packages");
}

/// Path of a tool that is installed with a package whose program has these lines.
std::string installWithPackage(const TemporaryFolder& folder, const std::string& lines) {
  std::filesystem::create_directories(folder.path("prefix/bin"));
  std::filesystem::create_directories(packagesIn(folder) + "/camera_parameters");
  std::ofstream(packagesIn(folder) + "/camera_parameters/report.py") << lines;
  const std::string tool = folder.path("prefix/bin/camera-parameters");
  std::filesystem::copy_file(CAMERA_PARAMETERS_TOOL, tool);
  return tool;
}

TEST(ReportCommand, PassesItsArgumentsOnAsTheyAreAndTheStatusBack) {
  const TemporaryFolder folder;
  // Is asked whether it has the module, and then to run it.
  writeProgram(folder.path("python3"),
               "if [ $# = 2 ]; then exit 0; fi\n"
               "shift 2\n"
               "printf '[%s]' \"$@\"\n"
               "exit 7\n");
  const ProgramResult result = runWithPython(folder, "report 'a $(b) \"c' ./-d.txt -o ' e;f.html'");
  EXPECT_EQ(result.status, 7);
  EXPECT_EQ(result.errors, "");
  EXPECT_EQ(result.output, "[--output= e;f.html][--][a $(b) \"c][./-d.txt]");
}

TEST(ReportCommand, PutsThePackageBesideItBeforeOthers) {
  const TemporaryFolder folder;
  const std::string tool = installWithPackage(folder, "\n");
  writeProgram(folder.path("python3"),
               "if [ $# = 2 ]; then exit 0; fi\n"
               "printf '%s' \"$PYTHONPATH\"\n");
  const ProgramResult result =
      runProgram("PATH='" + folder.path("") + "' PYTHONPATH=:/other::/third: '" + tool +
                 "' report default -o x.html");
  EXPECT_EQ(result.status, 0) << result.errors;
  // Empty names, which would be the current folder, are left out.
  EXPECT_EQ(result.output,
            std::filesystem::canonical(packagesIn(folder)).string() + ":/other:/third");
}

TEST(ReportCommand, RunsNothingThatLiesInTheCurrentFolder) {
  const TemporaryFolder folder;
  const std::string tool =
      installWithPackage(folder, "import json, numpy, sys\nprint('made', sys.argv[1:])\n");
  std::ofstream(packagesIn(folder) + "/numpy.py") << "\n";
  const std::string here = folder.path("here");
  std::filesystem::create_directories(here + "/camera_parameters");
  for (const char* const name : {"/camera_parameters/__init__.py", "/camera_parameters/report.py",
                                 "/json.py", "/numpy.py", "/runpy.py", "/pkgutil.py"}) {
    std::ofstream(here + name) << "open('was_run', 'w')\nprint('taken')\n";
  }
  for (const char* const environment : {"-u PYTHONPATH", "PYTHONPATH=", "PYTHONPATH=:"}) {
    const ProgramResult result = runProgram("cd '" + here + "' && env " + environment +
                                            " PYTHONDONTWRITEBYTECODE=1 PATH=/usr/bin '" + tool +
                                            "' report a.txt -o x.html");
    EXPECT_EQ(result.status, 0) << environment << ": " << result.errors;
    EXPECT_EQ(result.output, "made ['--output=x.html', '--', 'a.txt']\n") << environment;
    // The search for a package silences what it prints.
    EXPECT_FALSE(std::filesystem::exists(here + "/was_run")) << environment;
  }
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
