// Any camera and any points: one by one, in batches and by the loops for every processor the
// answers are the same; what is rectified is imaged again where it was; maps show what points do.

#include <Eigen/Geometry>
#include <algorithm>
#include <cmath>
#include <cstring>
#include <vector>

#include "fuzz/fuzz_input.h"
#include "fuzz/fuzz_support.h"
#include "support/camera/jacobian_access.h"
#include "support/camera/kernels.h"
#include "support/rectification.h"

namespace norv::calibration {
namespace {

using fuzz::Input;
using fuzz::require;

CameraModel takeCamera(Input* input) {
  CameraModel camera;
  camera.width = input->take<std::int16_t>();
  camera.height = input->take<std::int16_t>();
  LensDistortion<double>& l = camera.lens;
  for (double* number : {&camera.fx, &camera.fy, &camera.skew, &camera.cx, &camera.cy, &l.k1, &l.k2,
                         &l.p1, &l.p2, &l.k3, &l.k4, &l.k5, &l.k6}) {
    *number = input->take<double>();
  }
  return camera;
}

template <class T>
bool sameBits(const T& a, const T& b) {
  return std::memcmp(&a, &b, sizeof(T)) == 0;
}

/// To the bit, but for the kind of NaN, which derivatives of the largest numbers can be.
template <class Jacobian>
bool sameNumbers(Jacobian a, Jacobian b) {
  const double* const x = internal::numbersOf(&a);
  const double* const y = internal::numbersOf(&b);
  for (std::size_t i = 0; i < sizeof(Jacobian) / sizeof(double); ++i) {
    if (!sameBits(x[i], y[i]) && !(std::isnan(x[i]) && std::isnan(y[i]))) return false;
  }
  return true;
}

/// Answers for a list of points.
template <class Jacobian>
struct Answers {
  explicit Answers(std::size_t count) : at(count), statuses(count), jacobians(count) {}

  void requireSame(const Answers& other) const {
    for (std::size_t i = 0; i < at.size(); ++i) {
      require(statuses[i] == other.statuses[i], "one by one the status is that of the batch");
      require(sameBits(at[i], other.at[i]), "one by one the answer is that of the batch");
      require(sameNumbers(jacobians[i], other.jacobians[i]), "and so are the derivatives");
      require(hasAnswer(statuses[i]) || std::isnan(at[i].x()), "without an answer it is NaN");
    }
  }

  /// The same of a loop, where it decides.
  void requireKernel(const std::vector<Eigen::Vector2d>& points,
                     const std::vector<std::uint8_t>& codes) const {
    for (std::size_t i = 0; i < at.size(); ++i) {
      if (codes[i] == static_cast<std::uint8_t>(internal::kUndecided)) continue;
      require(codes[i] == static_cast<std::uint8_t>(statuses[i]), "a loop's status is the same");
      require(sameBits(points[i], at[i]), "a loop's answer is the same");
    }
  }

  std::vector<Eigen::Vector2d> at;
  std::vector<PointStatus> statuses;
  std::vector<Jacobian> jacobians;
};

Answers<ProjectionJacobian> project(const CameraModel& camera,
                                    const std::vector<Eigen::Vector3d>& points) {
  Answers<ProjectionJacobian> single(points.size());
  for (std::size_t i = 0; i < points.size(); ++i) {
    single.statuses[i] = projectPoint(camera, points[i], &single.at[i], &single.jacobians[i]);
  }
  Answers<ProjectionJacobian> batch(points.size());
  projectPoints(camera, {points.data()->data(), 3}, points.size(), {batch.at.data()->data(), 2},
                {batch.statuses.data(), batch.jacobians.data()});
  single.requireSame(batch);
  for (const internal::Kernels* kernels : internal::runnableKernels()) {
    if (kernels == nullptr) continue;
    std::vector<Eigen::Vector2d> at(points.size());
    std::vector<std::uint8_t> codes(points.size());
    kernels->project(internal::prepare(camera), nullptr, {points.data()->data(), 3}, points.size(),
                     {at.data()->data(), 2}, codes.data());
    single.requireKernel(at, codes);
  }
  return single;
}

Answers<RectificationJacobian> rectify(const CameraModel& camera,
                                       const std::vector<Eigen::Vector2d>& pixels) {
  Answers<RectificationJacobian> single(pixels.size());
  for (std::size_t i = 0; i < pixels.size(); ++i) {
    single.statuses[i] = rectifyPixel(camera, pixels[i], &single.at[i], &single.jacobians[i]);
  }
  Answers<RectificationJacobian> batch(pixels.size());
  rectifyPoints(camera, {pixels.data()->data(), 2}, pixels.size(), {batch.at.data()->data(), 2},
                {batch.statuses.data(), batch.jacobians.data()});
  single.requireSame(batch);
  for (const internal::Kernels* kernels : internal::runnableKernels()) {
    if (kernels == nullptr) continue;
    std::vector<Eigen::Vector2d> at(pixels.size());
    std::vector<std::uint8_t> codes(pixels.size());
    kernels->rectify(internal::prepare(camera), {pixels.data()->data(), 2}, pixels.size(),
                     {at.data()->data(), 2}, codes.data());
    single.requireKernel(at, codes);
  }
  return single;
}

/// Whether the camera's numbers are such that the promised accuracy is not lost in rounding.
bool isOrdinary(const CameraModel& camera) {
  const auto all = camera.lens.toCoefficients();
  const auto is_plain = [](double f) { return std::abs(f) >= 1 && std::abs(f) <= 1e5; };
  return std::all_of(all.begin(), all.end(), [](double k) { return std::abs(k) <= 10; }) &&
         is_plain(camera.fx) && is_plain(camera.fy) && std::abs(camera.skew) <= 1 &&
         std::abs(camera.cx) <= 1e4 && std::abs(camera.cy) <= 1e4;
}

void requireWayBack(const CameraModel& camera, const Eigen::Vector2d& pixel,
                    const Eigen::Vector2d& ray) {
  Eigen::Vector2d again;
  const PointStatus status = projectPoint(camera, {ray.x(), ray.y(), 1}, &again);
  require(status != PointStatus::kBeyondLens, "a ray of a pixel lies on the branch");
  if (!isOrdinary(camera) || (pixel.array().abs() > 1e5).any()) return;
  const double y = (pixel.y() - camera.cy) / camera.fy;
  const double x = (pixel.x() - camera.cx - camera.skew * y) / camera.fx;
  const double r = std::fmax(1, std::hypot(x, y));
  if (r > 10) return;
  const double f = std::fmax(std::abs(camera.fx), std::abs(camera.fy));
  require((again - pixel).norm() < 1.1e-12 * (f + 1) * r + 1e-10, "the pixel comes back");
}

/// The ray of a pixel's centre, as a row of a map has it.
Eigen::Vector3d rayOf(const RectifiedView& view, int i, int j) {
  const auto& r = view.view_from_camera;
  const double x = (0.5 - view.cx) / view.fx;
  const double y = (j + 0.5 - view.cy) / view.fy;
  Eigen::Vector3d ray;
  for (int c = 0; c < 3; ++c) {
    ray[c] = (r(0, c) * x + r(1, c) * y + r(2, c)) + i * (r(0, c) * (1 / view.fx));
  }
  return ray;
}

void checkMap(const CameraModel& camera, const RectifiedView& view) {
  const auto count = static_cast<std::size_t>(view.width * view.height);
  std::vector<float> x(count);
  std::vector<float> y(count);
  makeRectifyMap(camera, view, x.data(), y.data());
  std::size_t at = 0;
  for (int j = 0; j < view.height; ++j) {
    for (int i = 0; i < view.width; ++i, ++at) {
      Eigen::Vector2d pixel;
      projectPoint(camera, rayOf(view, i, j), &pixel);
      require(sameBits(x[at], static_cast<float>(pixel.x() - 0.5)), "a map has the point's u");
      require(sameBits(y[at], static_cast<float>(pixel.y() - 0.5)), "a map has the point's v");
    }
  }
}

void checkMaps(const CameraModel& camera, const Eigen::Vector3d& numbers) {
  RectifiedView view{21, 3, numbers.x(), numbers.y(), numbers.z(), 1, Eigen::Matrix3d::Identity()};
  const auto is_none = [](double x) { return x == 0 || !(std::abs(x) < 3e38); };
  if (is_none(view.fx) || is_none(view.fy) || !(std::abs(view.cx) < 3e38)) return;
  checkMap(camera, view);
  view.view_from_camera = Eigen::AngleAxisd(0.7, Eigen::Vector3d::UnitY()).toRotationMatrix();
  checkMap(camera, view);
}

void check(Input input) {
  const CameraModel camera = takeCamera(&input);
  std::vector<Eigen::Vector3d> points;
  while (!input.isEmpty() && points.size() < 40) {
    const auto x = input.take<double>();
    const auto y = input.take<double>();
    points.emplace_back(x, y, input.take<double>());
  }
  if (points.empty()) return;
  checkMaps(camera, points[0]);
  // Enough for the lens to be asked where it ends.
  for (std::size_t i = 0; points.size() < 40; ++i) points.push_back(points[i]);
  std::vector<Eigen::Vector2d> pixels = project(camera, points).at;
  for (const Eigen::Vector3d& point : points) pixels.emplace_back(point.head<2>());
  const auto rays = rectify(camera, pixels);
  for (std::size_t i = 0; i < pixels.size(); ++i) {
    if (hasAnswer(rays.statuses[i])) requireWayBack(camera, pixels[i], rays.at[i]);
  }
}

}  // namespace
}  // namespace norv::calibration

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  norv::calibration::check({data, size});
  return 0;
}
