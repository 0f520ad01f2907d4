/// How far fitted lenses are from what OpenCV makes of the same files, beside what we say.

#include <gtest/gtest.h>

#include <opencv2/calib3d.hpp>
#include <opencv2/core.hpp>

#include "interop/calibration_export.h"
#include "interop/calibration_import.h"
#include "testing/random_camera.h"

namespace norv::interop {
namespace {

constexpr double kHalf = 0.5;
const cv::Size kSize(1280, 960);

/// A camera as OpenCV holds it.
struct CvCamera {
  bool is_fisheye = false;
  cv::Matx33d matrix;
  std::vector<double> lens;
};

using Points = std::vector<cv::Point2d>;

/// The rays at pixels, as points of the plane z = 1.
Points raysAt(const CvCamera& camera, const Points& pixels) {
  Points rays;
  const cv::TermCriteria criteria(cv::TermCriteria::COUNT | cv::TermCriteria::EPS, 200, 1e-10);
  if (camera.is_fisheye) {
    cv::fisheye::undistortPoints(pixels, rays, camera.matrix, camera.lens);
  } else {
    cv::undistortPoints(pixels, rays, camera.matrix, camera.lens, cv::noArray(), cv::noArray(),
                        criteria);
  }
  return rays;
}

Points projected(const CvCamera& camera, const Points& rays) {
  std::vector<cv::Point3d> points;
  for (const cv::Point2d& ray : rays) points.emplace_back(ray.x, ray.y, 1);
  Points pixels;
  const cv::Vec3d zero;
  if (camera.is_fisheye) {
    cv::fisheye::projectPoints(points, pixels, zero, zero, camera.matrix, camera.lens);
  } else {
    cv::projectPoints(points, zero, zero, camera.matrix, camera.lens, pixels);
  }
  return pixels;
}

/// The largest distance of the two cameras' pixels of the same rays: those of the first one in the
/// whole picture, its border included, at five times as many columns and rows as we look at.
double largestDistance(const CvCamera& source, const CvCamera& fitted) {
  constexpr int kSteps = 300;
  Points pixels;
  for (int row = 0; row <= kSteps; ++row) {
    for (int column = 0; column <= kSteps; ++column) {
      pixels.emplace_back(kSize.width * column / double{kSteps} - kHalf,
                          kSize.height * row / double{kSteps} - kHalf);
    }
  }
  const Points rays = raysAt(source, pixels);
  const Points expected = projected(source, rays);
  const Points found = projected(fitted, rays);
  double largest = 0;
  for (std::size_t i = 0; i < expected.size(); ++i) {
    largest = std::fmax(largest, cv::norm(found[i] - expected[i]));
  }
  return largest;
}

std::string textOf(const CvCamera& camera) {
  cv::FileStorage storage(".yml", cv::FileStorage::WRITE | cv::FileStorage::MEMORY);
  storage << "image_width" << kSize.width << "image_height" << kSize.height;
  storage << "fisheye_model" << static_cast<int>(camera.is_fisheye);
  storage << "camera_matrix" << cv::Mat(camera.matrix);
  storage << "distortion_coefficients" << cv::Mat(camera.lens, true);
  return storage.releaseAndGetString();
}

/// What the message of an imported camera is for OpenCV.
CvCamera cvOf(const calibration::CameraCalibration& camera) {
  const auto m = std::get<WrittenCamera>(fullFrameCamera(camera)).model;
  const auto k = m.lens.toCoefficients();
  return {false, {m.fx, 0, m.cx - kHalf, 0, m.fy, m.cy - kHalf, 0, 0, 1}, {k.begin(), k.end()}};
}

/// Imports the camera and requires that it is as far off as is said.
void expectTrueFigure(const CvCamera& camera) {
  ImportOptions options;
  options.max_error = 20;
  const auto outcome = importCameras({{"f", textOf(camera)}}, options);
  const auto* const problem = std::get_if<FormatProblem>(&outcome);
  ASSERT_EQ(problem, nullptr) << describe(*problem);
  const ImportedCamera& imported = std::get<ImportOutcome>(outcome).cameras.at(0);
  ASSERT_TRUE(imported.deviation.has_value());
  const double truth = largestDistance(camera, cvOf(imported.calibration));
  // 0.01 measured.
  EXPECT_NEAR(imported.deviation->max / truth, 1, 0.05) << truth;
  EXPECT_GT(truth, 0);
}

/// A camera matrix with focal lengths between these.
cv::Matx33d drawMatrix(double low, double high, std::mt19937* random) {
  const auto number = [random](double from, double to) {
    return norv::testing::uniform(from, to, random);
  };
  return {number(low, high), 0, number(620, 660), 0, number(low, high), number(460, 500), 0, 0, 1};
}

TEST(OpenCvFittedReference, FisheyeLensesAreAsFarOffAsIsSaid) {
  std::mt19937 random(100);
  for (int i = 0; i < 10; ++i) {
    const auto k = [&random](double largest) {
      return norv::testing::uniform(-largest, largest, &random);
    };
    expectTrueFigure({true, drawMatrix(700, 900, &random), {k(0.05), k(0.02), k(0.005), k(0.001)}});
  }
}

TEST(OpenCvFittedReference, LensesOfTwelveAndFourteenCoefficientsAreAsFarOffAsIsSaid) {
  std::mt19937 random(101);
  for (int i = 0; i < 10; ++i) {
    const auto k = [&random](double largest) {
      return norv::testing::uniform(-largest, largest, &random);
    };
    std::vector<double> lens = {0.3,  -0.1, 0.001,    -0.0005,  0.02,     0.6,
                                0.05, 0.01, k(0.002), k(0.002), k(0.002), k(0.002)};
    if (i % 2 == 1) lens.insert(lens.end(), {k(0.02), k(0.02)});
    expectTrueFigure({false, drawMatrix(1200, 1500, &random), lens});
  }
}

}  // namespace
}  // namespace norv::interop
