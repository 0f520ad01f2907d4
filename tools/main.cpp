// camera-parameters: looks into calibration files from the command line.

#include <CLI/CLI.hpp>
#include <algorithm>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <iostream>
#include <new>
#include <string>
#include <utility>
#include <vector>

#include "support/logging.h"
#include "support/printable_text.h"
#include "tools/adjust/adjust_command.h"
#include "tools/aim/aim_command.h"
#include "tools/aim/aim_usage.h"
#include "tools/convert/convert_command.h"
#include "tools/diff/diff_command.h"
#include "tools/export/export_command.h"
#include "tools/import/import_command.h"
#include "tools/report/report_command.h"
#include "tools/show/show_command.h"
#include "tools/tool_answer.h"
#include "tools/tool_error.h"
#include "tools/usage/usage_text.h"
#include "tools/validate/validate_command.h"
#include "tools/view/view_command.h"

namespace {

using norv::tools::ExitStatus;
using norv::tools::ToolAnswer;

constexpr const char* kProgram = "camera-parameters";

/// One line to standard error. File names and contents in it cannot act on the terminal.
ExitStatus fail(const std::string& message, ExitStatus status = norv::tools::kBadInput) {
  std::cerr << kProgram << ": " << norv::toPrintable(message) << '\n';
  return status;
}

/// Prints a command's whole answer, or nothing of it.
ExitStatus print(const ToolAnswer& answer) {
  std::cerr << answer.notes;
  if (!answer.refusal.empty()) fail(answer.refusal);
  const std::string& text = answer.output;
  const bool written = std::fwrite(text.data(), 1, text.size(), stdout) == text.size();
  return written && std::fflush(stdout) == 0 ? answer.status
                                             : fail("cannot write to standard output");
}

/// The library's log is for those who ask for it. The others get the tool's own words alone, and
/// failed checks.
void configureLog() {
  const char* const levels = std::getenv("NORV_LOG");
  if (levels == nullptr || *levels == '\0') norv::setLogLevel(nullptr, norv::kLogFatal);
}

/// The words of the command line, where `help VERB` stands for `VERB --help`.
std::vector<std::string> wordsOf(int argc, char** argv) {
  std::vector<std::string> words(argv + std::min(argc, 1), argv + argc);
  if (words.empty() || words[0] != "help") return words;
  if (words.size() == 1) return {"--help"};
  return {words[1], "--help"};
}

ExitStatus refuseUsage(const CLI::App& app, const std::string& why) {
  const auto verbs = app.get_subcommands();
  fail(why);
  std::cerr << "Run " << kProgram << (verbs.empty() ? "" : " " + verbs.front()->get_name())
            << " --help for more information.\n";
  return norv::tools::kBadUsage;
}

/// Which of the options are needed depends on the file.
ExitStatus runView(const CLI::App& app, const norv::tools::ViewVerbOptions& options) {
  try {
    return print(norv::tools::runViewCommand(options));
  } catch (const norv::tools::UsageError& error) {
    return refuseUsage(app, error.what());
  }
}

void describeProgram(CLI::App* app) {
  app->set_version_flag("-V,--version", CAMERA_PARAMETERS_VERSION);
  app->require_subcommand(1);
  app->get_formatter()->label("SUBCOMMAND", "VERB");
  for (CLI::App* verb : app->get_subcommands({})) verb->group("Verbs");
  app->footer(
      "A file named - is standard input, default the compiled-in calibration of the fixed "
      "cameras.\n"
      "Exit status: 0 done; 1 the input is bad, validate found an error, or the output cannot be "
      "written; 2 called wrongly; 3 aim does not reach what it was asked for, diff exceeds a "
      "limit, or view has no such straightened picture.");
}

ExitStatus run(int argc, char** argv) {
  CLI::App app("Looks into the calibration of a robot's cameras and works with it.", kProgram);
  norv::tools::ShowOptions show;
  norv::tools::AimOptions aim;
  norv::tools::AdjustOptions adjust;
  norv::tools::ValidateOptions validate;
  norv::tools::ConvertOptions convert;
  norv::tools::DiffVerbOptions diff;
  norv::tools::ViewVerbOptions view;
  norv::tools::ImportVerbOptions imported;
  norv::tools::ExportVerbOptions exported;
  norv::tools::ReportOptions report;
  const CLI::App* show_verb = norv::tools::addShowCommand(&app, &show);
  const CLI::App* aim_verb = norv::tools::addAimCommand(&app, &aim);
  norv::tools::addAdjustCommand(&app, &adjust);
  const CLI::App* validate_verb = norv::tools::addValidateCommand(&app, &validate);
  const CLI::App* convert_verb = norv::tools::addConvertCommand(&app, &convert);
  const CLI::App* diff_verb = norv::tools::addDiffCommand(&app, &diff);
  const CLI::App* view_verb = norv::tools::addViewCommand(&app, &view);
  const CLI::App* import_verb = norv::tools::addImportCommand(&app, &imported);
  const CLI::App* export_verb = norv::tools::addExportCommand(&app, &exported);
  const CLI::App* report_verb = norv::tools::addReportCommand(&app, &report);
  describeProgram(&app);
  std::vector<std::string> words = wordsOf(argc, argv);
  std::reverse(words.begin(), words.end());  // as CLI11 takes them
  try {
    app.parse(std::move(words));
  } catch (const CLI::CallForHelp&) {
    return print({norv::tools::wrapHelp(app.help(), norv::tools::terminalWidth()), ""});
  } catch (const CLI::CallForVersion&) {
    return print({app.version() + "\n", ""});
  } catch (const CLI::ParseError& error) {
    return refuseUsage(app, norv::tools::explainUsage(app, error));
  }
  if (show_verb->parsed()) return print({norv::tools::runShowCommand(show), ""});
  if (convert_verb->parsed()) return print(norv::tools::runConvertCommand(convert));
  if (validate_verb->parsed()) return print(norv::tools::runValidateCommand(validate));
  if (diff_verb->parsed()) return print(norv::tools::runDiffCommand(diff));
  if (view_verb->parsed()) return runView(app, view);
  if (import_verb->parsed()) return print(norv::tools::runImportCommand(imported));
  if (export_verb->parsed()) return print(norv::tools::runExportCommand(exported));
  if (report_verb->parsed()) return print(norv::tools::runReportCommand(report));
  if (aim_verb->parsed()) return print(norv::tools::runAimCommand(aim));
  return print(norv::tools::runAdjustCommand(adjust));
}

}  // namespace

int main(int argc, char** argv) {
  // A file that grows beyond the user's limit is an error of writing like others.
  std::signal(SIGXFSZ, SIG_IGN);
  try {
    configureLog();
    return run(argc, argv);
  } catch (const std::bad_alloc&) {
    return fail("there is not enough memory");
  } catch (const std::exception& error) {
    return fail(error.what());
  }
}
