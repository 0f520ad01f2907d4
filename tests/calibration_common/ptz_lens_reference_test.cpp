// The lens of a pan-tilt-zoom camera's configuration against OpenCV's projectPoints.

#include <gtest/gtest.h>

#include <Eigen/Core>
#include <Eigen/LU>
#include <algorithm>
#include <cmath>
#include <opencv2/calib3d.hpp>
#include <opencv2/core.hpp>
#include <random>
#include <vector>

#include "calibration_common/ptz_camera_model.h"
#include "testing/example_ptz.h"
#include "testing/random_head.h"

namespace norv::calibration {
namespace {

using testing::uniform;

constexpr int kWidth = 1920;
constexpr int kHeight = 1080;

/// Where OpenCV images points of the camera's own frame with a camera matrix, given as focal length
/// and principal point, and the coefficients k1, k2, p1, p2, k3, k4, k5, k6.
std::vector<cv::Point2d> projected(const std::vector<cv::Point3d>& points, double f, double cx,
                                   double cy, const std::vector<double>& coefficients) {
  std::vector<cv::Point2d> result;
  const cv::Vec3d none(0, 0, 0);
  cv::projectPoints(points, none, none, cv::Matx33d(f, 0, cx, 0, f, cy, 0, 0, 1), coefficients,
                    result);
  return result;
}

/// Points of the camera's frame, 0.5 to 20 m away, that a pinhole camera of this focal length sees.
std::vector<cv::Point3d> visiblePoints(double f, int count, std::mt19937_64* random) {
  std::vector<cv::Point3d> result;
  for (int i = 0; i < count; ++i) {
    const double z = uniform(random, 0.5, 20);
    result.emplace_back(z * uniform(random, -0.5, 0.5) * kWidth / f,
                        z * uniform(random, -0.5, 0.5) * kHeight / f, z);
  }
  return result;
}

/// A configuration of the example at random, with the two samples around its zoom and the share of
/// the upper one.
struct Drawn {
  PTZCameraModelConfiguration configuration;
  Eigen::Matrix4d camera_from_world;  ///< without the library
  PTZIntrinsicsItem lower;
  PTZIntrinsicsItem upper;
  double share;

  double focalLength() const {
    return (1 - share) * lower.focal_length() + share * upper.focal_length();
  }
};

Drawn draw(const PTZCameraModelPtr& model, std::mt19937_64* random) {
  const int pan = static_cast<int>(uniform(random, -5934, 5934));
  const int tilt = static_cast<int>(uniform(random, -1047, 3141));
  const int zoom = static_cast<int>(uniform(random, 0, 10999));
  const auto& samples = model->getParams().intrinsics().samples();
  return {{model, pan, tilt, zoom},
          testing::cameraFromBaseAtSteps(model->getParams().pan_tilt(),
                                         {static_cast<double>(pan), static_cast<double>(tilt)}),
          samples[zoom / 1000],
          samples[zoom / 1000 + 1],
          zoom % 1000 / 1000.0};
}

/// The largest angle, in focal lengths, between where the configuration sees the points and
/// `expected`.
double worstOf(const Drawn& drawn, const std::vector<cv::Point3d>& points,
               const std::vector<cv::Point2d>& expected) {
  const Eigen::Matrix4d world_from_camera = drawn.camera_from_world.inverse();
  double worst = 0;
  for (std::size_t i = 0; i < points.size(); ++i) {
    const Eigen::Vector4d world =
        world_from_camera * Eigen::Vector4d(points[i].x, points[i].y, points[i].z, 1);
    const Vector2_f pixel =
        drawn.configuration.project3dToCamera(world.head<3>().cast<float>().eval());
    worst = std::max(worst, std::hypot(static_cast<double>(pixel.x()) - expected[i].x,
                                       static_cast<double>(pixel.y()) - expected[i].y));
  }
  return worst / drawn.focalLength();
}

TEST(PTZLensReference, TheStoredLensProjectsAsInOpenCV) {
  const PTZCameraModelPtr model = testing::ptzModel(testing::examplePtz());
  std::mt19937_64 random(120);
  double worst = 0;
  for (int trial = 0; trial < 200; ++trial) {
    const Drawn drawn = draw(model, &random);
    const Matrix3x3_f& k = drawn.configuration.getIntrinsics();
    const std::vector<float>& d = drawn.configuration.getDistortion();
    const auto points = visiblePoints(drawn.focalLength(), 50, &random);
    const auto expected =
        projected(points, static_cast<double>(k(0, 0)), static_cast<double>(k(0, 2)),
                  static_cast<double>(k(1, 2)), {d.begin(), d.end()});
    worst = std::max(worst, worstOf(drawn, points, expected));
  }
  // Radians: points and poses in single precision. Measured: 3.3e-7.
  EXPECT_LT(worst, 1.5e-6);
}

TEST(PTZLensReference, TheBlendIsTheMeanOfItsSamplesByOpenCV) {
  const PTZCameraModelPtr model = testing::ptzModel(testing::examplePtz());
  std::mt19937_64 random(121);
  double worst = 0;
  for (int trial = 0; trial < 200; ++trial) {
    const Drawn drawn = draw(model, &random);
    const PTZIntrinsicsItem& a = drawn.lower;
    const PTZIntrinsicsItem& b = drawn.upper;
    const double t = drawn.share;
    const auto points = visiblePoints(drawn.focalLength(), 50, &random);
    // Each sample's own radial lens, at its own focal length; and what the tangential
    // coefficients between theirs add to a pinhole's image.
    const auto by_a =
        projected(points, a.focal_length(), a.cx(), a.cy(), {a.k1(), 0, 0, 0, 0, a.k4(), 0, 0});
    const auto by_b =
        projected(points, b.focal_length(), b.cx(), b.cy(), {b.k1(), 0, 0, 0, 0, b.k4(), 0, 0});
    const double f = drawn.focalLength();
    const auto tangential = projected(
        points, f, 0, 0, {0, 0, (1 - t) * a.p1() + t * b.p1(), (1 - t) * a.p2() + t * b.p2()});
    const auto pinhole = projected(points, f, 0, 0, {});
    std::vector<cv::Point2d> expected;
    for (std::size_t i = 0; i < points.size(); ++i) {
      expected.push_back((1 - t) * by_a[i] + t * by_b[i] + tangential[i] - pinhole[i]);
    }
    worst = std::max(worst, worstOf(drawn, points, expected));
  }
  // Radians. Measured: 3.0e-7. Without the radial distortion it would be 0.06.
  EXPECT_LT(worst, 1.5e-6);
}

}  // namespace
}  // namespace norv::calibration
