#include "tools/report/report_command.h"

#include <string>
#include <vector>

#include "tools/report/python_package.h"
#include "tools/usage/file_name.h"

namespace norv::tools {
namespace {

constexpr const char* kHowToGetIt =
    "report needs the library's Python package: install Debian's python3 and python3-numpy, and "
    "configure the "
    "library with -DCAMERA_PARAMETERS_PYTHON=ON (which needs python3-dev and pybind11-dev); where "
    "it lies "
    "beside neither this program nor Python's own packages, PYTHONPATH names its folder";

/// The words after the name of the module. A file's name that begins with a hyphen is no option.
std::vector<std::string> wordsOf(const ReportOptions& options) {
  std::vector<std::string> words = {"--output=" + options.output, "--", options.path};
  if (options.second_path) words.push_back(*options.second_path);
  return words;
}

}  // namespace

CLI::App* addReportCommand(CLI::App* app, ReportOptions* options) {
  CLI::App* report = app->add_subcommand(
      "report",
      "Write a page about a calibration for a browser: cameras in a 3-D view, sizes, lenses, "
      "numbers and "
      "findings; with a second file what that one changes. The library's Python package makes it");
  requireFileName(report->add_option("FILE", options->path,
                                     "Calibration, binary, text or JSON; - is standard input, "
                                     "default the compiled-in calibration of the fixed cameras"))
      ->required();
  requireFileName(
      report->add_option("FILE2", options->second_path, "Calibration that is compared with it"));
  requireFileName(report->add_option("-o,--output", options->output,
                                     "Page to write, in one step; - is standard output"))
      ->required();
  return report;
}

ToolAnswer runReportCommand(const ReportOptions& options) {
  becomePython("camera_parameters.report", wordsOf(options));
  return {"", "", kBadInput, kHowToGetIt};
}

}  // namespace norv::tools
