#include "tools/aim/search_verdict.h"

#include <fmt/format.h>

#include <algorithm>

#include "tools/aim/search_words.h"
#include "tools/input/zoom_position.h"
#include "tools/output/text_table.h"

namespace norv::tools {
namespace {

using calibration::Aim;
using calibration::AimFailure;
using calibration::AimPosition;
using calibration::AimRequest;
using calibration::AimZoom;
using calibration::MotorBound;
using calibration::PTZCameraModelConfiguration;
using calibration::PTZCameraModelPtr;

/// Why a question was refused, from what the library refuses beside numbers that the command line
/// lets nobody give.
std::string explainInvalid(const PTZCameraModelPtr& model, const AimRequest& request) {
  const calibration::PTZIntrinsicsTable& table = model->getParams().intrinsics();
  const Eigen::Vector2d size(table.image_width(), table.image_height());
  const bool is_at_border =
      (request.pixel.array() <= 0).any() || (request.pixel.array() >= size.array()).any();
  if (request.zoom == AimZoom::kFill && request.place == calibration::AimPlace::kPixel &&
      is_at_border) {
    return "a picture cannot be filled around a place on its border or outside of it";
  }
  if (std::holds_alternative<calibration::SphereTarget>(request.target)) {
    return "the camera is inside of the sphere";
  }
  return explainFailure(AimFailure::kInvalidRequest);
}

Obstacle explainNoPosition(const PTZCameraModelPtr& model, const AimRequest& request,
                           AimFailure failure) {
  const char* const word = failureWord(failure);
  if (failure == AimFailure::kInvalidRequest) return {word, explainInvalid(model, request)};
  if (failure != AimFailure::kNoPresentLens) return {word, explainFailure(failure, request.zoom)};
  const calibration::MotorPositions& now = request.now;
  const PTZCameraModelConfiguration camera(model, now.pan, now.tilt, now.zoom);
  return {word, "--at: " + explainMissingLens(camera)};
}

std::string explainParts(const SearchOptions& options, const Aim& aim) {
  const bool is_many = options.points.size() > 1;
  const char* const what = options.box ? "the box" : is_many ? "the points" : "the sphere";
  const bool is_seen_elsewhere =
      std::any_of(aim.begin(), aim.end(), [](const AimPosition& p) { return p.is_whole; });
  if (is_seen_elsewhere) {
    return fmt::format("not all of {} {} seen, but from another position: see --all", what,
                       is_many ? "are" : "is");
  }
  return fmt::format("not all of {} {} seen: none of the positions found shows all of {}", what,
                     is_many ? "are" : "is", is_many ? "them" : "it");
}

/// What keeps the target from its place, where it misses that or is bound.
std::optional<Obstacle> findDeviation(const SearchOptions& options, const AimPosition& best,
                                      double tolerance) {
  const bool misses = !(best.miss <= tolerance);
  const bool head_is_bound =
      best.pan_bound != MotorBound::kNone || best.tilt_bound != MotorBound::kNone;
  const std::string miss = formatFixed(best.miss, 2);
  if (misses && head_is_bound) {
    return Obstacle{
        "limited",
        fmt::format("the limits of the motors keep the target {} px from where it was to be",
                    miss)};
  }
  if (misses && options.strict) {
    return Obstacle{"missed",
                    fmt::format("the target lands {} px from where it was to be, more than {} px",
                                miss, formatFixed(tolerance, 2))};
  }
  if (options.strict && best.isLimited()) {
    return Obstacle{"limited", "the range of a motor limits the answer"};
  }
  return std::nullopt;
}

}  // namespace

std::vector<Obstacle> findObstacles(const PTZCameraModelPtr& model, const SearchOptions& options,
                                    const calibration::AimRequest& request,
                                    const calibration::Aim& aim, double tolerance) {
  if (aim.empty()) return {explainNoPosition(model, request, aim.failure)};
  const AimPosition& best = aim.best();
  std::vector<Obstacle> obstacles;
  if (!best.is_whole) obstacles.push_back({"not-whole", explainParts(options, aim)});
  if (const auto deviation = findDeviation(options, best, tolerance)) {
    obstacles.push_back(*deviation);
  }
  if (request.zoom == AimZoom::kFill && best.is_whole && !best.is_inside) {
    obstacles.push_back({"not-inside", "not all of it is in the picture"});
  }
  return obstacles;
}

}  // namespace norv::tools
