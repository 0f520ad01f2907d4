#include "tools/diff/diff_command.h"

#include <fmt/format.h>

#include <filesystem>
#include <system_error>
#include <utility>

#include "support/file.h"
#include "support/printable_text.h"
#include "tools/diff/diff_csv.h"
#include "tools/diff/diff_json.h"
#include "tools/diff/diff_limits.h"
#include "tools/diff/diff_numbers.h"
#include "tools/diff/diff_text.h"
#include "tools/input/calibration_kind.h"
#include "tools/output/atomic_file.h"
#include "tools/tool_error.h"
#include "tools/usage/file_name.h"
#include "tools/usage/image_options.h"
#include "tools/usage/nearest_word.h"

namespace norv::tools {
namespace {

using calibration::BaseCalibrationProto;
using calibration::DiffOptions;
using calibration::DiffProblem;
using calibration::PTZCameraParameters;
using calibration::RobotCalibration;
using calibration::RobotDifference;

constexpr const char* kStandardStream = "-";
constexpr const char* kDefault = "default";
constexpr const char* kDefaultBase = "calibration/default_base_cal.txt";
constexpr int kMaxDistances = 6;  ///< columns of a table that fits a terminal

/// A calibration to compare.
struct Side {
  CalibrationInput input;
  ParsedCalibration parsed;
};

Side readSide(const std::string& path) {
  CalibrationInput input = readInput(path);
  if (input.data.empty()) throw ToolError(input.name + ": is empty");
  ParsedCalibration parsed = parseCalibration(&input, std::nullopt);
  return {std::move(input), std::move(parsed)};
}

/// The compiled-in calibration that goes with what the other side holds.
void matchDefault(const std::string& path, const Side& other, Side* side) {
  if (path != kDefault || other.parsed.kind != CalibrationKind::kBase) return;
  *side = readSide(EmbeddedFile::kEmbeddedPrefix + std::string(kDefaultBase));
  side->input.name = "compiled-in default calibration";
}

void requireSameKind(const Side& a, const Side& b) {
  if (a.parsed.kind == b.parsed.kind) return;
  throw ToolError(fmt::format("{} holds the calibration of {}, {} that of {}", a.input.name,
                              describeKind(a.parsed.kind), b.input.name,
                              describeKind(b.parsed.kind)));
}

/// Cameras and sizes are of robot calibrations alone, and bases have no pixels.
void requireOptionsFit(const Side& a, const DiffVerbOptions& options) {
  const CalibrationKind kind = a.parsed.kind;
  if (kind != CalibrationKind::kRobot && (options.camera || options.size)) {
    throw ToolError(a.input.name + ": --camera and --size are for calibrations of fixed cameras");
  }
  if (kind != CalibrationKind::kBase) return;
  if (options.limits.pixels || options.csv_path || !options.distances.empty()) {
    throw ToolError(a.input.name +
                    ": --distance, --fail-above and --csv are for calibrations of cameras");
  }
}

DiffOptions libraryOptions(const DiffVerbOptions& options) {
  DiffOptions result;
  if (!options.distances.empty()) result.distances = options.distances;
  result.camera = options.camera;
  if (options.size) result.size = {options.size->width, options.size->height};
  result.keep_grid = options.csv_path.has_value();
  return result;
}

/// What the library answers, or the problem of the side that does not load.
template <class Answer>
Difference required(const Side& a, const Side& b, const DiffProblem& problem, Answer&& answer) {
  if (answer) return *std::forward<Answer>(answer);
  const CalibrationInput& input = problem.is_in_b ? b.input : a.input;
  throw ToolError(describeProblem(input, problem.problem.field, problem.problem.sentence));
}

Difference compare(const Side& a, const Side& b, const DiffVerbOptions& options) {
  const DiffOptions wanted = libraryOptions(options);
  DiffProblem problem;
  const auto both = [&](auto* type, const auto&... more) {
    using Message = std::remove_pointer_t<decltype(type)>;
    return required(
        a, b, problem,
        diffCalibrations(dynamic_cast<const Message&>(*a.parsed.message),
                         dynamic_cast<const Message&>(*b.parsed.message), more..., &problem));
  };
  switch (a.parsed.kind) {
    case CalibrationKind::kRobot:
      return both(static_cast<RobotCalibration*>(nullptr), wanted);
    case CalibrationKind::kPtz:
      return both(static_cast<PTZCameraParameters*>(nullptr), wanted);
    case CalibrationKind::kBase:
      break;
  }
  return both(static_cast<BaseCalibrationProto*>(nullptr));
}

std::vector<std::string> namesIn(const Side& side) {
  std::vector<std::string> names;
  for (const auto& camera :
       dynamic_cast<const RobotCalibration&>(*side.parsed.message).camera_calibration()) {
    names.push_back(camera.name());
  }
  return names;
}

/// A camera that was asked for must be in one of the files.
void requireCamera(const Side& a, const Side& b, const std::optional<std::string>& name,
                   const Difference& difference) {
  const auto* const robot = std::get_if<RobotDifference>(&difference);
  if (!name || robot == nullptr) return;
  if (!robot->cameras.empty() || !robot->only_in_a.empty() || !robot->only_in_b.empty()) return;
  std::vector<std::string> names = namesIn(a);
  for (std::string& other : namesIn(b)) names.push_back(std::move(other));
  const std::string nearest = nearestWord(*name, names);
  throw ToolError(fmt::format("no camera \"{}\" in {} or {}{}", *name, a.input.name, b.input.name,
                              nearest.empty() ? "" : "; did you mean " + nearest + "?"));
}

/// A calibration is easily lost to a mistyped name.
void requireOtherFile(const std::string& csv_path, const std::string& path) {
  if (csv_path == kStandardStream || path == kStandardStream || path == kDefault) return;
  std::error_code ignored;
  if (std::filesystem::equivalent(csv_path, path, ignored)) {
    throw ToolError(csv_path + ": is a calibration, which is not to be written over");
  }
}

/// Prints the report, and writes the grid where that is wanted: into a file, or in the report's
/// place.
ToolAnswer answer(const DiffVerbOptions& options, const DiffResult& result) {
  const ExitStatus status = result.exceeded.empty() ? kDone : kExceeded;
  const std::string report = options.json ? diffJson(result) : diffText(result);
  if (!options.csv_path) return {report, "", status};
  requireOtherFile(*options.csv_path, options.path_a);
  requireOtherFile(*options.csv_path, options.path_b);
  const std::string csv = diffCsv(result.difference);
  if (*options.csv_path == kStandardStream) return {csv, report, status};
  writeFileAtomically(*options.csv_path, csv);
  return {report, "", status};
}

/// An option whose value is a number that `parse` reads; `set` takes it.
template <class Parse, class Set>
CLI::Option* addNumber(CLI::App* app, const std::string& name, const std::string& type,
                       const std::string& description, const Parse& parse, const Set& set,
                       const std::string& expected) {
  return app
      ->add_option_function<std::vector<std::string>>(
          name,
          [parse, set](const std::vector<std::string>& texts) {
            for (const std::string& text : texts) set(*parse(text));
          },
          description)
      ->type_name(type)
      ->allow_extra_args(false)
      ->check([parse, expected](const std::string& text) {
        return parse(text) ? std::string() : fmt::format("not {}: {}", expected, text);
      });
}

void addLimit(CLI::App* diff, const std::string& name, const std::string& type,
              const std::string& description, std::optional<double>* limit) {
  addNumber(
      diff, name, type, description, parseLimit, [limit](double value) { *limit = value; },
      "a number from 0 on")
      ->expected(1);
}

void addLimits(CLI::App* diff, DiffLimits* limits) {
  addLimit(diff, "--fail-above", "PX",
           "Exit with 3 where the largest difference as is exceeds this, or B lacks a camera, a "
           "size or a ray of A",
           &limits->pixels);
  addLimit(diff, "--fail-above-mm", "MM", "The same for the way between the optical centres",
           &limits->millimetres);
  addLimit(diff, "--fail-above-deg", "DEG", "The same for the angle between the poses",
           &limits->degrees);
}

void addFilters(CLI::App* diff, DiffVerbOptions* options) {
  addCameraOption(diff, &options->camera, "Compare this camera only");
  addSizeOption(diff, &options->size, "Compare at");
  addNumber(
      diff, "--distance", "M",
      "How far away the points are that are compared on the robot, metres, or inf; may be "
      "given more than once (default: inf and 3)",
      parseDistance, [options](double value) { options->distances.push_back(value); },
      "a positive number of metres or inf");
}

}  // namespace

CLI::App* addDiffCommand(CLI::App* app, DiffVerbOptions* options) {
  CLI::App* diff = app->add_subcommand(
      "diff",
      "Say what calibration B changes in calibration A: in pixels as the cameras are, after the "
      "rotation that explains most, and on the robot; in poses; in the stored numbers");
  requireFileName(
      diff->add_option("A", options->path_a,
                       "Calibration, binary, text or JSON; - is standard input, default the "
                       "compiled-in calibration"))
      ->required();
  requireFileName(diff->add_option("B", options->path_b, "Calibration of the same kind"))
      ->required();
  addFilters(diff, options);
  addLimits(diff, &options->limits);
  diff->add_flag("--json", options->json, "Print JSON for programs");
  requireFileName(diff->add_option("--csv", options->csv_path,
                                   "Write the difference at each pixel of the grid as "
                                   "comma-separated values; - is standard output"))
      ->type_name("FILE");
  diff->callback([options] {
    if (options->path_a == kStandardStream && options->path_b == kStandardStream) {
      throw CLI::ValidationError("A and B cannot both be standard input");
    }
    if (options->distances.size() > kMaxDistances) {
      throw CLI::ValidationError(
          fmt::format("--distance is taken {} times at most", kMaxDistances));
    }
  });
  return diff;
}

ToolAnswer runDiffCommand(const DiffVerbOptions& options) {
  Side a = readSide(options.path_a);
  Side b = readSide(options.path_b);
  matchDefault(options.path_a, b, &a);
  matchDefault(options.path_b, a, &b);
  requireSameKind(a, b);
  requireOptionsFit(a, options);
  Difference difference = compare(a, b, options);
  requireCamera(a, b, options.camera, difference);
  std::vector<std::string> exceeded = findExceeded(difference, options.limits);
  return answer(options, {a.input.name, b.input.name, std::move(difference), std::move(exceeded)});
}

}  // namespace norv::tools
