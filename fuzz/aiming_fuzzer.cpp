// Any pan-tilt-zoom camera and any request: aim goes where the motors can and there is a lens, and
// the camera at that position sees what the answer says; what canSee and coverage are asked ends.

#include <Eigen/Core>
#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <variant>
#include <vector>

#include "calibration_common/ptz_aiming.h"
#include "calibration_common/ptz_coverage.h"
#include "fuzz/fuzz_heads.h"
#include "fuzz/fuzz_input.h"
#include "fuzz/fuzz_support.h"
#include "testing/example_ptz.h"
#include "testing/pointing_chain.h"

namespace norv::calibration {
namespace {

using Eigen::Vector2d;
using Eigen::Vector3d;
using fuzz::Input;
using fuzz::require;

/// A number of the size that it usually has, or any.
double takeNumber(Input* input, double unit) {
  if (input->take<std::uint8_t>() % 8 == 7) return input->take<double>();
  return unit * input->take<std::int16_t>();
}

void takeMotors(Input* input, PanTiltSystemParameters* head) {
  const int kind = input->take<std::uint8_t>() % 4;
  if (kind == 0) return;
  head->set_pan_scale(kind == 3 ? input->take<float>() : 1e-5F * input->take<std::int8_t>());
  head->set_tilt_scale(kind == 3 ? input->take<float>() : 1e-5F * input->take<std::int8_t>());
  head->set_pan_offset(input->take<std::int16_t>());
  head->set_tilt_offset(input->take<std::int16_t>());
  if (kind == 2) return;
  head->set_min_pan(input->take<std::int16_t>());
  head->set_max_pan(input->take<std::int16_t>());
  head->set_min_tilt(input->take<std::int32_t>());
  head->set_max_tilt(input->take<std::int32_t>());
}

PTZIntrinsicsTable takeLens(Input* input) {
  PTZIntrinsicsTable lens = testing::exampleLens();
  const int kind = input->take<std::uint8_t>() % 4;
  if (kind % 2 == 1) lens.set_min_zoom(input->take<std::int16_t>());
  if (kind % 2 == 1) lens.set_max_zoom(input->take<std::int16_t>());
  if (kind < 2) return lens;
  lens.clear_samples();
  lens.set_image_width(input->take<std::int16_t>());
  lens.set_image_height(input->take<std::int16_t>());
  lens.set_zoom_start(input->take<std::int16_t>());
  lens.set_zoom_interval(input->take<std::int16_t>());
  const int count = input->take<std::uint8_t>() % 6;
  for (int i = 0; i < count; ++i) {
    PTZIntrinsicsItem* const sample = lens.add_samples();
    sample->set_zoom(lens.zoom_start() + i * lens.zoom_interval());
    sample->set_focal_length(takeNumber(input, 1));
    sample->set_cx(takeNumber(input, 0.1));
    sample->set_cy(takeNumber(input, 0.1));
    sample->set_k1(takeNumber(input, 1e-3));
    sample->set_k4(takeNumber(input, 1e-3));
    sample->set_p1(takeNumber(input, 1e-6));
    sample->set_p2(takeNumber(input, 1e-6));
  }
  return lens;
}

PTZCameraModelPtr takeModel(Input* input) {
  PTZCameraParameters params;
  *params.mutable_pan_tilt() = testing::exampleHead();
  if (input->take<std::uint8_t>() % 2 == 1) fuzz::takePoses(input, params.mutable_pan_tilt());
  takeMotors(input, params.mutable_pan_tilt());
  *params.mutable_intrinsics() = takeLens(input);
  return testing::ptzModel(params);
}

Vector2d takePixel(Input* input) {
  const double x = takeNumber(input, 0.1);
  return {x, takeNumber(input, 0.1)};
}

/// A request, and the points that it lists.
struct Question {
  std::vector<Vector3d> points;
  AimRequest request;
};

AimTarget takeTarget(const PTZCameraModel& model, std::vector<Vector3d>* points, Input* input) {
  const testing::PointingChain chain(model.getPanTiltModel());
  const int kind = input->take<std::uint8_t>() % 5;
  if (kind == 0) return PixelTarget{takePixel(input), takeNumber(input, 0.01)};
  if (kind == 1) return PointTarget{fuzz::takeWorld(chain, input)};
  if (kind == 2) return SphereTarget{fuzz::takeWorld(chain, input), takeNumber(input, 0.001)};
  if (kind == 3) {
    const Vector2d corner = takePixel(input);
    const Vector2d opposite = takePixel(input);
    return BoxTarget{corner, opposite, takeNumber(input, 0.01)};
  }
  const std::size_t count = input->take<std::uint8_t>() % 5;
  for (std::size_t i = 0; i < count; ++i) points->push_back(fuzz::takeWorld(chain, input));
  const double* const data = points->empty() ? nullptr : points->data()->data();
  return PointsTarget{{data, 3}, count};
}

int takeMotor(Input* input) {
  return input->take<std::uint8_t>() % 8 == 7 ? input->take<std::int32_t>()
                                              : input->take<std::int16_t>();
}

Question takeQuestion(const PTZCameraModel& model, Input* input) {
  Question question;
  AimRequest& request = question.request;
  request.target = takeTarget(model, &question.points, input);
  request.now.pan = takeMotor(input);
  request.now.tilt = takeMotor(input);
  request.now.zoom = takeMotor(input);
  request.place = static_cast<AimPlace>(input->take<std::uint8_t>() % 3);
  request.pixel = takePixel(input);
  request.zoom = static_cast<AimZoom>(input->take<std::uint8_t>() % 4);
  request.zoom_value = takeNumber(input, 1 / 1024.0);
  request.choice = static_cast<AimChoice>(input->take<std::uint8_t>() % 3);
  return question;
}

/// Where the camera at a position sees a point, and how far single precision may put that off.
struct Sight {
  Vector2d pixel;
  double error;
};

Sight look(const PTZCameraModelPtr& model, const MotorPositions& motors, const Vector3d& world) {
  const PTZCameraModelConfiguration camera(model, motors.pan, motors.tilt, motors.zoom);
  const auto see = [&](const Vector3d& point) -> Vector2d {
    return camera.project3dToCamera(point.cast<float>()).cast<double>();
  };
  const PanTiltModel& head = model->getPanTiltModel();
  const double turn = std::abs((motors.pan - static_cast<double>(head.getPanOffset())) *
                               static_cast<double>(head.getPanScale())) +
                      std::abs((motors.tilt - static_cast<double>(head.getTiltOffset())) *
                               static_cast<double>(head.getTiltScale()));
  const double off = 2e-6 * (1 + turn) * testing::PointingChain(head).longest(world);
  Sight sight = {see(world), 0.01};
  for (const Vector3d& side : {Vector3d(off, 0, 0), Vector3d(0, off, 0), Vector3d(0, 0, off)}) {
    sight.error = std::fmax(sight.error, 5 * (see(world + side) - sight.pixel).norm());
    sight.error = std::fmax(sight.error, 5 * (see(world - side) - sight.pixel).norm());
  }
  return sight;
}

/// Whether single precision tells where the camera looks: head and lens of ordinary numbers.
bool isOrdinary(const PTZCameraModelPtr& model, const MotorPositions& motors,
                const Vector3d& world) {
  const testing::PointingChain chain(model->getPanTiltModel());
  if (!fuzz::isOrdinary(chain) || !(chain.longest(world) < 1e4) || chain.longest(world) < 1e-3) {
    return false;
  }
  const PTZCameraModelConfiguration camera(model, motors.pan, motors.tilt, motors.zoom);
  const Vector3d from = world - camera.getCameraCenter().cast<double>();
  const auto k = camera.getIntrinsics();
  const auto& lens = camera.getDistortion();
  return from.norm() > 0.01 * chain.longest(world) && k(0, 0) > 1 && k(0, 0) < 1e6F &&
         std::all_of(lens.begin(), lens.end(), [](float c) { return std::abs(c) < 1e4F; });
}

void checkLanding(const PTZCameraModelPtr& model, const AimPosition& at, const Vector3d& world) {
  if (!isOrdinary(model, at.motors, world)) return;
  const Sight sight = look(model, at.motors, world);
  if (!(sight.error < 50)) return;
  require((sight.pixel - at.lands).norm() <= sight.error, "what is said to land there does");
}

/// The points of the world that a target consists of; none for a sphere.
std::vector<Vector3d> pointsOf(const PTZCameraModelPtr& model, const Question& question) {
  const AimRequest& request = question.request;
  const PTZCameraModelConfiguration now(model, request.now.pan, request.now.tilt, request.now.zoom);
  const auto seenAt = [&](const Vector2d& pixel, double distance) -> Vector3d {
    const Vector3d ray = now.projectPixelToRay(pixel.cast<float>()).cast<double>();
    return now.getCameraCenter().cast<double>() + distance * ray.normalized();
  };
  if (const auto* const point = std::get_if<PointTarget>(&request.target)) return {point->point};
  if (const auto* const pixel = std::get_if<PixelTarget>(&request.target)) {
    return {seenAt(pixel->pixel, pixel->distance)};
  }
  if (const auto* const box = std::get_if<BoxTarget>(&request.target)) {
    const Vector2d& a = box->corner;
    const Vector2d& b = box->opposite;
    return {seenAt(a, box->distance), seenAt(b, box->distance),
            seenAt({a.x(), b.y()}, box->distance), seenAt({b.x(), a.y()}, box->distance)};
  }
  return question.points;
}

/// The rectangle that is told is the one around the points, if all of them are seen.
void checkCover(const PTZCameraModelPtr& model, const AimPosition& at,
                const std::vector<Vector3d>& points) {
  if (!at.is_whole || points.empty()) return;
  Vector2d low = Vector2d::Constant(HUGE_VAL);
  Vector2d high = -low;
  double error = 0;
  for (const Vector3d& point : points) {
    if (!isOrdinary(model, at.motors, point)) return;
    const Sight sight = look(model, at.motors, point);
    low = low.cwiseMin(sight.pixel);
    high = high.cwiseMax(sight.pixel);
    error = std::fmax(error, sight.error);
  }
  // Single precision holds 7 digits of numbers far from the picture.
  error += 1e-6 * (low.norm() + high.norm());
  if (!(error < 50)) return;
  require((low - at.low).norm() <= 2 * error, "it covers what is said, to the lowest");
  require((high - at.high).norm() <= 2 * error, "and to the highest");
}

void checkInside(const PTZCameraModelPtr& model, const AimPosition& at,
                 const std::vector<Vector3d>& points) {
  const auto& lens = model->getParams().intrinsics();
  for (const Vector3d& point : points) {
    if (!isOrdinary(model, at.motors, point)) continue;
    const Sight sight = look(model, at.motors, point);
    if (!(sight.error < 50)) continue;
    const double e = sight.error;
    require(sight.pixel.x() >= -e && sight.pixel.x() <= lens.image_width() + e &&
                sight.pixel.y() >= -e && sight.pixel.y() <= lens.image_height() + e,
            "what is said to lie in the picture does");
  }
}

/// Positions that a limit keeps from the target come only without others.
void checkOrder(const Aim& answer) {
  for (const AimPosition& at : answer) {
    const auto is_bound = [](const AimPosition& p) {
      return p.pan_bound != MotorBound::kNone || p.tilt_bound != MotorBound::kNone;
    };
    require(is_bound(at) == is_bound(answer.best()), "those within the range alone");
    require(!at.is_inside || at.is_whole, "what is inside is whole");
  }
}

void checkPosition(const PTZCameraModelPtr& model, const Question& question,
                   const AimPosition& at) {
  int pan = at.motors.pan;
  int tilt = at.motors.tilt;
  limitToMotorRange(model->getParams().pan_tilt(), &pan, &tilt);
  require(pan == at.motors.pan && tilt == at.motors.tilt, "the motors stay within their range");
  const ZoomRange range = zoomRange(*model);
  if (question.request.zoom != AimZoom::kKeep) {
    require(at.motors.zoom >= range.lowest && at.motors.zoom <= range.highest, "the zoom, too");
  }
  const PTZCameraModelConfiguration camera(model, pan, tilt, at.motors.zoom);
  const float f = camera.getIntrinsics()(0, 0);
  require(std::isfinite(f) && f > 0, "there is a lens");
  require(at.lands.allFinite() && at.wanted.allFinite(), "it lands somewhere");
  require(std::abs((at.lands - at.wanted).norm() - at.miss) <= 1e-6 * (1 + at.miss),
          "the miss is the distance");
  require((at.low.array() <= at.high.array()).all(), "low is below high");
  const MotorPositions& now = question.request.now;
  require(at.pan_travel == std::int64_t{pan} - now.pan &&
              at.tilt_travel == std::int64_t{tilt} - now.tilt &&
              at.zoom_travel == std::int64_t{at.motors.zoom} - now.zoom,
          "the way is the difference");
  if (const auto* const point = std::get_if<PointTarget>(&question.request.target)) {
    checkLanding(model, at, point->point);
  }
  const std::vector<Vector3d> points = pointsOf(model, question);
  checkCover(model, at, points);
  if (at.is_inside) checkInside(model, at, points);
}

void checkSight(const PTZCameraModel& model, Input* input) {
  const Vector3d point = fuzz::takeWorld(testing::PointingChain(model.getPanTiltModel()), input);
  const bool is_centred = canSee(model, point, PtzSight::kCentred);
  require(point.allFinite() || !is_centred, "nothing is seen nowhere");
  if (input->take<std::uint8_t>() % 8 != 7) return;
  const bool is_seen = canSee(model, point, PtzSight::kInPicture);
  require(point.allFinite() || !is_seen, "nothing is in the picture nowhere");
}

void checkCoverage(const PTZCameraModel& model, Input* input) {
  const PtzCoverage seen = coverage(model, takeNumber(input, 0.01), PtzSight::kCentred, 2);
  for (const ElevationSpan& span : seen.spans) {
    require(span.lowest <= span.highest, "a span has two ends");
  }
}

void check(Input input) {
  const PTZCameraModelPtr model = takeModel(&input);
  const ZoomRange range = zoomRange(*model);
  require(model->isValid() || range.empty(), "without a model there is no zoom");
  for (int i = 0; i < 3; ++i) {
    const Question question = takeQuestion(*model, &input);
    const Aim answer = aim(*model, question.request);
    require(answer.empty() == (answer.failure != AimFailure::kNone), "an answer or a reason");
    require(model->isValid() || answer.failure == AimFailure::kInvalidModel, "no model");
    for (const AimPosition& position : answer) checkPosition(model, question, position);
    checkOrder(answer);
  }
  checkSight(*model, &input);
  // Some hundred times as slow as the rest.
  if (input.take<std::uint8_t>() % 64 == 63) checkCoverage(*model, &input);
}

}  // namespace
}  // namespace norv::calibration

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  norv::fuzz::silenceLogs();
  norv::calibration::check({data, size});
  return 0;
}
