#include "tools/aim/track.h"

#include <fmt/format.h>
#include <sys/stat.h>

#include <cerrno>
#include <memory>
#include <system_error>

#include "tools/aim/aim_search.h"
#include "tools/aim/track_answer.h"
#include "tools/aim/track_line.h"
#include "tools/input/line_reading.h"
#include "tools/tool_error.h"

namespace norv::tools {
namespace {

using calibration::PTZCameraModelPtr;

struct CloseFile {
  void operator()(std::FILE* file) const {
    if (file != stdin) std::fclose(file);
  }
};
using OpenFile = std::unique_ptr<std::FILE, CloseFile>;

[[noreturn]] void refuseFile(const std::string& path, int error) {
  throw ToolError(
      fmt::format("{}: cannot be read: {}", path, std::generic_category().message(error)));
}

/// A folder opens as well, and would fail only once its answer has begun.
OpenFile openTrack(const std::string& path) {
  OpenFile file(path == "-" ? stdin : std::fopen(path.c_str(), "re"));
  if (!file) refuseFile(path, errno);
  struct stat status = {};
  if (fstat(fileno(file.get()), &status) == 0 && S_ISDIR(status.st_mode)) refuseFile(path, EISDIR);
  return file;
}

std::string nameOf(const std::string& path) { return path == "-" ? "standard input" : path; }

/// Writes and flushes, so that who reads the answers gets them one by one.
void put(const std::string& text, std::FILE* output) {
  const bool written = std::fwrite(text.data(), 1, text.size(), output) == text.size();
  if (!written || std::fflush(output) != 0) throw ToolError("cannot write to standard output");
}

TrackLine readTarget(const LineReader& lines, const std::string& line) {
  if (lines.isTooLong()) return {std::nullopt, "is longer than any target"};
  return parseTrackLine(line);
}

/// Answers a target, and has the next one aimed at from there.
SearchAnswer aimAt(const PTZCameraModelPtr& model, const AimOptions& options,
                   const Eigen::Vector3d& point, calibration::AimRequest* request) {
  request->target = targetAt(options.search, point);
  try {
    SearchAnswer answer = searchAim(model, options.search, *request);
    if (!answer.aim.empty()) request->now = answer.aim.best().motors;
    return answer;
  } catch (const ToolError& error) {
    throw ToolError(options.path + ": " + error.what());
  }
}

}  // namespace

ExitStatus followTrack(const PTZCameraModelPtr& model, const AimOptions& options, std::FILE* output,
                       const std::function<void(const std::string&)>& complain) {
  const OpenFile file = openTrack(*options.track);
  LineReader lines(file.get());
  const auto& at = options.request.at;
  calibration::AimRequest request = requestOf(options.search, {at[0], at[1], at[2]});
  bool is_bad = false;
  bool all_reached = true;
  if (!options.json) put(trackHeader(), output);
  for (std::string line; lines.read(&line);) {
    TrackStep step = {lines.number(), readTarget(lines, line), {}, {}};
    if (!step.read.target && step.read.problem.empty()) continue;
    if (step.read.target) {
      step.answer = aimAt(model, options, step.read.target->point, &request);
      all_reached = all_reached && step.answer.isReached();
    } else {
      complain(fmt::format("{}:{}: {}", nameOf(*options.track), step.line, step.read.problem));
      is_bad = true;
    }
    step.motors = request.now;
    put(options.json ? trackJson(*model, step) : trackCsv(step), output);
  }
  if (lines.failed()) refuseFile(*options.track, errno);
  if (is_bad) return kBadInput;
  return options.search.strict && !all_reached ? kOutOfReach : kDone;
}

}  // namespace norv::tools
