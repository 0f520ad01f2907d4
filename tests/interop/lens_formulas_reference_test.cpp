/// The lenses of other programs against OpenCV.

#include <gtest/gtest.h>

#include <cmath>
#include <opencv2/calib3d.hpp>
#include <opencv2/core.hpp>
#include <random>
#include <vector>

#include "interop/extended_lens.h"
#include "interop/radial_map.h"

namespace norv::interop {
namespace {

const cv::Matx33d kCamera(1000.25, 0, 641, 0, 1001.5, 480.75, 0, 0, 1);

/// Points before the camera, within 45 degrees of its axis.
std::vector<cv::Point3d> randomPoints(int count) {
  std::mt19937_64 random(15);
  std::uniform_real_distribution<double> side(-0.7, 0.7);
  std::uniform_real_distribution<double> depth(0.5, 4);
  std::vector<cv::Point3d> points;
  for (int i = 0; i < count; ++i) {
    const double z = depth(random);
    points.emplace_back(side(random) * z, side(random) * z, z);
  }
  return points;
}

TEST(LensFormulasReference, ExtendedLensIsThatOfOpenCV) {
  const std::vector<cv::Point3d> points = randomPoints(1000);
  std::mt19937_64 random(16);
  std::uniform_real_distribution<double> unit(-1, 1);
  for (const int count : {12, 14}) {
    for (int i = 0; i < 20; ++i) {
      std::vector<double> d = {0.3, -0.1, 0.001, -0.0005, 0.02, 0.6, 0.05, 0.01};
      while (d.size() < 12) d.push_back(0.01 * unit(random));
      while (d.size() < static_cast<std::size_t>(count)) d.push_back(0.2 * unit(random));
      std::vector<cv::Point2d> pixels;
      cv::projectPoints(points, cv::Vec3d(), cv::Vec3d(), kCamera, d, pixels);
      const ExtendedLens lens{{d[0], d[1], d[2], d[3], d[4], d[5], d[6], d[7]},
                              d[8],
                              d[9],
                              d[10],
                              d[11],
                              count == 14 ? d[12] : 0,
                              count == 14 ? d[13] : 0};
      for (std::size_t j = 0; j < points.size(); ++j) {
        const cv::Point3d& p = points[j];
        const auto q = distort(lens, {p.x / p.z, p.y / p.z});
        // 3e-13 measured.
        ASSERT_NEAR(1000.25 * q.x + 641, pixels[j].x, 1e-10);
        ASSERT_NEAR(1001.5 * q.y + 480.75, pixels[j].y, 1e-10);
      }
    }
  }
}

TEST(LensFormulasReference, EquidistantMapIsOpenCVsFisheye) {
  const std::vector<cv::Point3d> points = randomPoints(1000);
  const cv::Vec4d d(0.035653, -0.011772, 0.000362, -0.000719);
  std::vector<cv::Point2d> pixels;
  cv::fisheye::projectPoints(points, pixels, cv::Vec3d(), cv::Vec3d(), kCamera, d);
  const RadialMap map{RadialKind::kKannalaBrandt, {d[0], d[1], d[2], d[3]}, {}};
  for (std::size_t i = 0; i < points.size(); ++i) {
    const cv::Point3d& p = points[i];
    const double r = std::hypot(p.x, p.y);
    const double rd = radiusAt(map, std::atan2(r, p.z));
    // 1e-13 measured.
    ASSERT_NEAR(1000.25 * rd * p.x / r + 641, pixels[i].x, 1e-10);
    ASSERT_NEAR(1001.5 * rd * p.y / r + 480.75, pixels[i].y, 1e-10);
  }
}

}  // namespace
}  // namespace norv::interop
