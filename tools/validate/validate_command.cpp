#include "tools/validate/validate_command.h"

#include <fmt/format.h>

#include <algorithm>

#include "calibration_common/calibration_review.h"
#include "tools/usage/file_name.h"
#include "tools/usage/kind_option.h"
#include "tools/usage/nearest_word.h"
#include "tools/validate/severity_policy.h"
#include "tools/validate/validate_report.h"

namespace norv::tools {
namespace {

using calibration::CheckDescription;

const CheckDescription* findCheck(const std::string& id) {
  const auto& checks = calibration::calibrationChecks();
  const auto found = std::find_if(checks.begin(), checks.end(),
                                  [&](const CheckDescription& check) { return check.id == id; });
  return found != checks.end() ? &*found : nullptr;
}

/// What is wrong with the id of a check on the command line; "" when there is such a check.
std::string refuseCheck(const std::string& id) {
  if (findCheck(id) != nullptr) return "";
  std::vector<std::string> ids;
  for (const CheckDescription& check : calibration::calibrationChecks()) ids.push_back(check.id);
  const std::string nearest = nearestWord(id, ids);
  return fmt::format("no check \"{}\"{}", id,
                     nearest.empty() ? "" : fmt::format(". Did you mean {}?", nearest));
}

std::string refuseAllowed(const std::string& id) {
  if (id == kParseCheck) return "parse cannot be allowed: nothing is loaded from such a file";
  return refuseCheck(id);
}

/// Standard input is read to its end by the first file that asks for it.
bool repeatsStandardInput(const std::vector<std::string>& paths) {
  return std::count(paths.begin(), paths.end(), "-") > 1;
}

void addCheckOptions(CLI::App* validate, ValidateOptions* options) {
  validate
      ->add_option("--allow", options->allowed,
                   "Count what this check finds as an info; may be given more than once. What does "
                   "not load stays an error")
      ->type_name("CHECK")
      ->allow_extra_args(false)
      ->check(refuseAllowed);
  validate
      ->add_option("--explain", options->explain,
                   "Print what this check looks for, and why, instead of reviewing files")
      ->type_name("CHECK")
      ->check(refuseCheck);
}

}  // namespace

CLI::App* addValidateCommand(CLI::App* app, ValidateOptions* options) {
  CLI::App* validate = app->add_subcommand(
      "validate",
      "Say what is wrong or doubtful in calibrations, with file, line, column and field: a line "
      "for "
      "each finding, and one for each file that counts them. Status 1 where there is an error");
  requireFileName(
      validate->add_option("FILE", options->paths,
                           "Calibrations in binary, text or JSON format; - is standard input, "
                           "default the compiled-in calibration of the fixed cameras"));
  validate->add_flag("--strict", options->strict, "Count warnings as errors");
  addCheckOptions(validate, options);
  addKindOption(validate, &options->kind, "What the files hold");
  validate->add_flag("--json", options->json, "Print JSON for programs");
  validate->callback([options] {
    if (options->paths.empty() == !options->explain.has_value()) {
      throw CLI::ValidationError("validate takes either files or --explain");
    }
    if (repeatsStandardInput(options->paths)) {
      throw CLI::ValidationError("standard input can be read once only");
    }
  });
  return validate;
}

ToolAnswer runValidateCommand(const ValidateOptions& options) {
  if (options.explain) {
    const CheckDescription* check = findCheck(*options.explain);
    return {options.json ? checkJson(*check) : checkText(*check), ""};
  }
  ReviewReport report(options.json);
  for (const std::string& path : options.paths) {
    FileReview review = reviewFile(path, options.kind);
    applyPolicy({options.strict, options.allowed}, &review);
    report.add(review);
  }
  return {report.print(), "", report.hasErrors() ? kBadInput : kDone};
}

}  // namespace norv::tools
