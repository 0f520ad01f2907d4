// OpenCV on the same points, pixels and views.

#include <benchmark/benchmark.h>

#include <cstddef>
#include <opencv2/calib3d.hpp>
#include <opencv2/core/utility.hpp>
#include <vector>

#include "benchmarks/inputs.h"
#include "benchmarks/view_inputs.h"
#include "calibration_common/camera_parameters.h"

namespace norv::benchmarks {
namespace {

cv::Mat cameraMatrix() {
  return (cv::Mat_<double>(3, 3) << kFocalLength, 0, kCentreX, 0, kFocalLength, kCentreY, 0, 0, 1);
}

/// OpenCV has the coefficients in our order.
cv::Mat coefficients(const std::vector<float>& lens) {
  cv::Mat result(1, 8, CV_64F);
  for (int i = 0; i < 8; ++i) result.at<double>(i) = lens[static_cast<std::size_t>(i)];
  return result;
}

struct Pose {
  Pose() {
    const Matrix4x4_f pose = examplePose();
    cv::Mat matrix(3, 3, CV_64F);
    for (int row = 0; row < 3; ++row) {
      for (int column = 0; column < 3; ++column) matrix.at<double>(row, column) = pose(row, column);
    }
    cv::Rodrigues(matrix, rotation);
    translation = (cv::Mat_<double>(3, 1) << pose(0, 3), pose(1, 3), pose(2, 3));
  }

  cv::Mat rotation;
  cv::Mat translation;
};

void openCvProjectPoints(benchmark::State& state) {
  const Pose pose;
  const cv::Mat k = cameraMatrix();
  const cv::Mat lens = coefficients(kStrongLens);
  std::vector<cv::Point3f> points;
  for (const Vector3_f& p : examplePoints(static_cast<std::size_t>(state.range(0)))) {
    points.emplace_back(p.x(), p.y(), p.z());
  }
  std::vector<cv::Point2f> pixels;
  for (auto _ : state) {
    cv::projectPoints(points, pose.rotation, pose.translation, k, lens, pixels);
    benchmark::DoNotOptimize(pixels.data());
  }
}
BENCHMARK(openCvProjectPoints)->Arg(1)->Arg(10000);

void undistortPoints(benchmark::State& state, const std::vector<float>& coefficients_of_lens) {
  const cv::Mat k = cameraMatrix();
  const cv::Mat lens = coefficients(coefficients_of_lens);
  const auto count = static_cast<std::size_t>(state.range(0));
  std::vector<std::vector<cv::Point2f>> batches;
  // One by one they go round the image as ours do.
  const std::vector<Vector2_f> pixels = examplePixels(count == 1 ? 256 : count);
  for (std::size_t i = 0; i < pixels.size(); ++i) {
    if (i % count == 0) batches.emplace_back();
    batches.back().emplace_back(pixels[i].x(), pixels[i].y());
  }
  Cycle<std::vector<cv::Point2f>> cycle(batches);
  std::vector<cv::Point2f> points;
  const cv::TermCriteria tight(cv::TermCriteria::COUNT + cv::TermCriteria::EPS, 100, 1e-12);
  for (auto _ : state) {
    cv::undistortPoints(cycle.next(), points, k, lens, cv::noArray(), cv::noArray(), tight);
    benchmark::DoNotOptimize(points.data());
  }
}
BENCHMARK_CAPTURE(undistortPoints, openCvMild, kMildLens)->Arg(1)->Arg(10000);
BENCHMARK_CAPTURE(undistortPoints, openCvStrong, kStrongLens)->Arg(1)->Arg(10000);

/// As it is called without criteria: five steps, whatever the lens.
void undistortPointsInFiveSteps(benchmark::State& state,
                                const std::vector<float>& coefficients_of_lens) {
  const cv::Mat k = cameraMatrix();
  const cv::Mat lens = coefficients(coefficients_of_lens);
  std::vector<cv::Point2f> pixels;
  for (const Vector2_f& pixel : examplePixels(10000)) pixels.emplace_back(pixel.x(), pixel.y());
  std::vector<cv::Point2f> points;
  for (auto _ : state) {
    cv::undistortPoints(pixels, points, k, lens);
    benchmark::DoNotOptimize(points.data());
  }
}
BENCHMARK_CAPTURE(undistortPointsInFiveSteps, openCvMild, kMildLens);
BENCHMARK_CAPTURE(undistortPointsInFiveSteps, openCvStrong, kStrongLens);

void openCvMakeMap(benchmark::State& state, int type) {
  const cv::Mat k = cameraMatrix();
  const cv::Mat view = (cv::Mat_<double>(3, 3) << kViewFocalLength, 0, kCentreX, 0,
                        kViewFocalLength, kCentreY, 0, 0, 1);
  const cv::Mat lens = coefficients(kMildLens);
  cv::Mat first;
  cv::Mat second;
  for (auto _ : state) {
    cv::initUndistortRectifyMap(k, lens, cv::noArray(), view, {kMapWidth, kMapHeight}, type, first,
                                second);
    benchmark::DoNotOptimize(first.data);
  }
}
BENCHMARK_CAPTURE(openCvMakeMap, floats, CV_32FC1)->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(openCvMakeMap, fixedPoint, CV_16SC2)->Unit(benchmark::kMicrosecond);

/// One view, the rational model and the default criteria, on the default head camera's points.
void openCvCalibrateCamera(benchmark::State& state) {
  const calibration::CameraParametersSet set;
  std::vector<std::vector<cv::Point3f>> board(1);
  std::vector<std::vector<cv::Point2f>> image(1);
  for (const auto& sample : set.getCamera("head_camera")->getCalibration().intrinsics().samples()) {
    board[0].emplace_back(static_cast<float>(sample.model_x()),
                          static_cast<float>(sample.model_y()), 0.0F);
    image[0].emplace_back(static_cast<float>(sample.image_x()),
                          static_cast<float>(sample.image_y()));
  }
  for (auto _ : state) {
    cv::Mat k;
    cv::Mat lens;
    std::vector<cv::Mat> rotations;
    std::vector<cv::Mat> translations;
    benchmark::DoNotOptimize(cv::calibrateCamera(board, image, {1280, 960}, k, lens, rotations,
                                                 translations, cv::CALIB_RATIONAL_MODEL));
  }
}
BENCHMARK(openCvCalibrateCamera)->Unit(benchmark::kMillisecond);

/// One thread, as ours.
const bool kOneThread = [] { return cv::setNumThreads(1), true; }();

}  // namespace
}  // namespace norv::benchmarks
