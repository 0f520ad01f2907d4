/// Files that we write, read by OpenCV.

#include <gtest/gtest.h>

#include <opencv2/calib3d.hpp>
#include <opencv2/core.hpp>

#include "testing/written_cameras.h"
#include "tests/interop/references/drawn_cameras.h"

namespace norv::interop {
namespace {

constexpr double kHalf = 0.5;
constexpr std::array<Syntax, 3> kSyntaxes = {Syntax::kUsual, Syntax::kXml, Syntax::kJson};

std::string textOf(const WrittenCamera& camera, Syntax syntax) {
  WriteOptions options;
  options.format = PeerFormat::kOpenCv;
  options.syntax = syntax;
  return norv::testing::peerTextOf({camera}, options);
}

/// What OpenCV finds in a file.
struct Found {
  cv::Size size;
  cv::Mat matrix;
  cv::Mat lens;
};

Found readByOpenCv(const std::string& text) {
  const cv::FileStorage storage(text, cv::FileStorage::READ | cv::FileStorage::MEMORY);
  Found found;
  EXPECT_TRUE(storage.isOpened()) << text;
  storage["image_width"] >> found.size.width;
  storage["image_height"] >> found.size.height;
  storage["camera_matrix"] >> found.matrix;
  storage["distortion_coefficients"] >> found.lens;
  EXPECT_EQ(found.matrix.type(), CV_64F) << text;
  EXPECT_EQ(found.lens.type(), CV_64F) << text;
  return found;
}

std::vector<std::uint64_t> bitsOf(const cv::Mat& matrix) {
  return testing::bitsOf({matrix.begin<double>(), matrix.end<double>()});
}

TEST(OpenCvOurFilesReference, GivesBackTheSameDoubles) {
  std::mt19937 random(93);
  for (const int coefficients : {0, 4, 5, 8}) {
    for (int i = 0; i < 100; ++i) {
      const WrittenCamera camera = norv::testing::randomWrittenCamera(coefficients, &random);
      const calibration::CameraModel& model = camera.model;
      for (const Syntax syntax : kSyntaxes) {
        const Found found = readByOpenCv(textOf(camera, syntax));
        EXPECT_EQ(found.size, cv::Size(model.width, model.height));
        ASSERT_EQ(found.matrix.size(), cv::Size(3, 3));
        EXPECT_EQ(bitsOf(found.matrix), testing::bitsOf({model.fx, 0, model.cx - kHalf, 0, model.fy,
                                                         model.cy - kHalf, 0, 0, 1}));
        const auto k = model.lens.toCoefficients();
        EXPECT_EQ(bitsOf(found.lens), testing::bitsOf({k.begin(), k.end()}));
      }
    }
  }
}

TEST(OpenCvOurFilesReference, ProjectsAsWeDo) {
  const std::vector<Eigen::Vector3d> points = testing::gridOfPoints();
  std::vector<cv::Point3d> cv_points;
  for (const Eigen::Vector3d& p : points) cv_points.emplace_back(p.x(), p.y(), p.z());
  std::mt19937 random(94);
  double largest = 0;
  for (const std::size_t coefficients : {0U, 4U, 5U, 8U}) {
    const testing::BothCameras camera = testing::drawBoth(coefficients, &random);
    for (const Syntax syntax : kSyntaxes) {
      const Found found = readByOpenCv(textOf(camera.written, syntax));
      std::vector<cv::Point2d> cv_pixels;
      cv::projectPoints(cv_points, cv::Vec3d(), cv::Vec3d(), found.matrix, found.lens, cv_pixels);
      std::vector<Eigen::Vector2d> pixels;
      for (const cv::Point2d& p : cv_pixels) pixels.emplace_back(p.x, p.y);
      largest = std::fmax(largest, testing::largestDistance(camera.peer, points, pixels, kHalf));
    }
  }
  // 9e-13 px measured.
  EXPECT_LT(largest, 1e-9);
}

}  // namespace
}  // namespace norv::interop
