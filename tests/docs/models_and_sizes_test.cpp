// docs/models_and_sizes.md says what the library does.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <Eigen/QR>
#include <array>
#include <cmath>
#include <functional>
#include <string>

#include "calibration_common/camera_parameters.h"
#include "support/camera_projection.h"
#include "support/lens_distortion.h"
#include "testing/calibration_messages.h"
#include "testing/document.h"
#include "testing/log_capture.h"

namespace norv::calibration {
namespace {

using Intrinsics = CameraParameters::Intrinsics;
using ::testing::ElementsAre;
using testing::exampleCamera;
using testing::lines;
using testing::LogLine;
using testing::onlyMatch;
using testing::ScopedLogCapture;
using testing::tableBelow;
using testing::TableRow;

constexpr double kDegree = 3.14159265358979323846 / 180;

const char* const kSizesHeader =
    "| `model` | picture | x0 | y0 | width | height | the sensor warps it |";

/// The pixel of a ray of the camera frame.
Vector2_f pixelOf(const Matrix3x3_f& k, const std::vector<float>& distortion,
                  const Vector3_f& ray) {
  CameraTransform at_origin;
  at_origin.setTransform(Matrix4x4_f::Identity(), CameraTransform::kForward);
  return project3dToCamera(at_origin, distortion, k, ray);
}

/// The last decimal that a number is printed with.
double lastDigit(const std::string& number) {
  const std::size_t point = number.find('.');
  return point == std::string::npos ? 1
                                    : std::pow(0.1, static_cast<double>(number.size() - point - 1));
}

/// A printed number is the value rounded.
template <class Scalar>
void expectPrints(const std::string& printed, Scalar value) {
  EXPECT_NEAR(std::stod(printed), static_cast<double>(value), 0.5001 * lastDigit(printed));
}

class ModelsAndSizes : public ::testing::Test {
 public:
  ModelsAndSizes()
      : page_(testing::readDocument(CAMERA_PARAMETERS_SOURCE_DIR "/docs/models_and_sizes.md")),
        head_(set_.getCamera("head_camera")) {}

  /// A camera with distinct fx, fy, cx and cy and a full frame of another size than its model's, so
  /// that every number of the table counts; with the head camera's samples.
  CameraCalibration exampleOf(const std::string& model) const {
    CameraCalibration message = exampleCamera("camera", model);
    CameraIntrinsics* intrinsics = message.mutable_intrinsics();
    intrinsics->CopyFrom(head_->getCalibration().intrinsics());
    intrinsics->set_fx(1001.5);
    intrinsics->set_fy(907.25);
    intrinsics->set_cx(653.5);
    intrinsics->set_cy(471.75);
    intrinsics->set_skew(1.5);
    return message;
  }

  std::string page_;
  CameraParametersSet set_;
  std::shared_ptr<CameraParameters> head_;
};

TEST_F(ModelsAndSizes, TablesOfTheKnownModels) {
  for (const std::string model : {"mk512h", "mk513n", "b910"}) {
    CameraParameters camera;
    ASSERT_TRUE(camera.readProto(exampleOf(model)));
    std::size_t entries = 0;
    for (const TableRow& row : tableBelow(page_, kSizesHeader)) {
      if (row.at(0) != model) continue;
      ASSERT_LT(entries, camera.getIntrinsicsTable().size()) << model;
      const Intrinsics& entry = camera.getIntrinsicsTable()[entries++];
      EXPECT_EQ(std::to_string(entry.width) + "x" + std::to_string(entry.height), row.at(1));
      const Intrinsics& full = camera.getFullFrame();
      const double sx = entry.width / std::stod(row.at(4));
      const double sy = entry.height / std::stod(row.at(5));
      EXPECT_EQ(row.at(6), entry.distortion == full.distortion ? "no" : "yes") << model;
      if (row.at(6) == "yes") continue;
      // Single precision rounds by 3e-5 at these magnitudes.
      EXPECT_NEAR(entry.fx, sx * 1001.5, 1e-4);
      EXPECT_NEAR(entry.fy, sy * 907.25, 1e-4);
      EXPECT_NEAR(entry.skew, sx * 1.5, 1e-4);
      EXPECT_NEAR(entry.cx, sx * (653.5 - std::stod(row.at(2))), 1e-4);
      EXPECT_NEAR(entry.cy, sy * (471.75 - std::stod(row.at(3))), 1e-4);
    }
    EXPECT_EQ(entries, camera.getIntrinsicsTable().size()) << model;
  }
}

TEST_F(ModelsAndSizes, AnyOtherModelHasItsFullFrame) {
  EXPECT_THAT(
      tableBelow(page_, kSizesHeader).back(),
      ElementsAre("any other", "the full frame", "0", "0", "its width", "its height", "no"));
  for (const std::string model : {"", "MK513N", "a name of your own"}) {
    CameraParameters camera;
    ASSERT_TRUE(camera.readProto(exampleOf(model)));
    ASSERT_EQ(camera.getIntrinsicsTable().size(), 1U);
    EXPECT_EQ(camera.getIntrinsicsTable()[0].width, 1280);
    EXPECT_EQ(camera.getIntrinsicsTable()[0].height, 960);
    EXPECT_EQ(camera.getIntrinsics(1280, 960), camera.getFullFrameIntrinsics());
  }
}

TEST_F(ModelsAndSizes, WhatACameraDoesNotLoadWithout) {
  const ScopedLogCapture quiet;
  CameraCalibration without_samples = exampleOf("mk512h");
  without_samples.mutable_intrinsics()->clear_samples();
  EXPECT_FALSE(CameraParameters().readProto(without_samples));
  CameraCalibration without_width = exampleOf("mine");
  without_width.mutable_intrinsics()->clear_width();
  EXPECT_FALSE(CameraParameters().readProto(without_width));
  CameraCalibration without_height = exampleOf("mine");
  without_height.mutable_intrinsics()->clear_height();
  EXPECT_FALSE(CameraParameters().readProto(without_height));
}

TEST_F(ModelsAndSizes, KnownModelsWithoutASizeLoadAndAnswerWrongly) {
  CameraCalibration message = head_->getCalibration();
  message.mutable_intrinsics()->clear_width();
  ScopedLogCapture log(kLogWarning);
  CameraParameters camera;
  ASSERT_TRUE(camera.readProto(message));
  EXPECT_TRUE(log.take().empty());
  const float right = head_->getIntrinsics(640, 480)(0, 0);
  EXPECT_GT(std::abs(camera.getIntrinsics(640, 480)(0, 0) - right), right / 3);

  for (const std::string model : {"mk513n", "b910"}) {
    message = exampleOf(model);
    message.mutable_intrinsics()->clear_height();
    EXPECT_TRUE(camera.readProto(message)) << model;
  }
}

TEST_F(ModelsAndSizes, FullFramesHoldTheRectangles) {
  const auto frames = tableBelow(page_, "| `model` | full frame |");
  EXPECT_THAT(frames, ElementsAre(ElementsAre("mk512h, mk513n", "1280x960"),
                                  ElementsAre("b910", "at least 2408x1808")));
  int right = 0;
  int bottom = 0;
  for (const TableRow& row : tableBelow(page_, kSizesHeader)) {
    if (row.at(0) != "b910") continue;
    right = std::max(right, std::stoi(row.at(2)) + std::stoi(row.at(4)));
    bottom = std::max(bottom, std::stoi(row.at(3)) + std::stoi(row.at(5)));
  }
  EXPECT_EQ(right, 2408);
  EXPECT_EQ(bottom, 1808);
}

TEST_F(ModelsAndSizes, PixelsOfB910AreNotSquare) {
  const std::string percent = onlyMatch(page_, "differ by ([0-9.]+) % in its pictures").at(0);
  expectPrints(percent, 100 * ((480.0 / 1672) / (640.0 / 2232) - 1));
  CameraParameters camera;
  CameraCalibration message = exampleOf("b910");
  message.mutable_intrinsics()->set_fy(message.intrinsics().fx());
  ASSERT_TRUE(camera.readProto(message));
  for (const Intrinsics& entry : camera.getIntrinsicsTable()) {
    expectPrints(percent, 100.0F * (entry.fy / entry.fx - 1));
  }
}

TEST_F(ModelsAndSizes, WarpedPictureOfTheHeadCamera) {
  const auto numbers = onlyMatch(
      page_,
      "focal length is ([0-9.]+) pixels, where half of the full frame's would be ([0-9.]+), "
      "and all coefficients are below ([0-9.]+)\\.");
  // The warp makes a pinhole picture of 0.9 times the focal length of the full frame.
  EXPECT_EQ(std::stod(numbers.at(0)), 0.9 * 720 / 2);
  EXPECT_EQ(std::stod(numbers.at(1)), 720.0 / 2);
  expectPrints(numbers.at(0), head_->getIntrinsics(640, 480)(0, 0));
  for (const float coefficient : head_->getDistortion(640, 480)) {
    EXPECT_LT(std::abs(coefficient), std::stod(numbers.at(2)));
  }
}

TEST_F(ModelsAndSizes, OtherSizesAreTheScaledFullFrameWithALineAtInfoLevel) {
  const std::string line = onlyMatch(page_, "not shown by default: `([0-9 ]+)` says").at(0);
  ScopedLogCapture capture;
  const Matrix3x3_f k = head_->getIntrinsics(320, 240);
  EXPECT_THAT(lines(capture.take()), ElementsAre(LogLine{kLogInfo, "camera_parameters", line}));
  EXPECT_EQ(k, testing::cameraMatrix(180, 180, 0, 160, 120));
  EXPECT_EQ(head_->getDistortion(320, 240), head_->getFullFrameDistortion());
}

/// The example of a delivered picture that was halved. Expected by algebra: the full frame's lens
/// is stereographic, r_d = 2 tan(theta / 2), and the warped picture a pinhole one; the ray (0.8,
/// 0.6, 1) is 45 degrees off the axis.
TEST_F(ModelsAndSizes, HalvedPictureOfTheHeadCamera) {
  const auto rows = tableBelow(page_, "| 320x240 | fx | k1 | the ray (0.8, 0.6, 1) is seen at |");
  ASSERT_EQ(rows.size(), 2U);
  Intrinsics halved;
  for (const Intrinsics& entry : head_->getIntrinsicsTable()) {
    if (entry.width == 640) head_->affineIntrinsics(entry, 0, 0, 640, 480, 320, 240, &halved);
  }
  const Matrix3x3_f right_k =
      testing::cameraMatrix(halved.fx, halved.fy, halved.skew, halved.cx, halved.cy);
  const Vector3_f ray(0.8F, 0.6F, 1);
  const Vector2_f wrong =
      pixelOf(head_->getIntrinsics(320, 240), head_->getDistortion(320, 240), ray);
  const Vector2_f right = pixelOf(right_k, halved.distortion, ray);

  const double stereographic = 2 * std::tan(22.5 * kDegree);
  EXPECT_NEAR(wrong.x(), 160 + 180 * stereographic * 0.8, 0.001);
  EXPECT_NEAR(wrong.y(), 120 + 180 * stereographic * 0.6, 0.001);
  EXPECT_NEAR(right.x(), 160 + 162 * 0.8, 0.05);  // measured: 0.03, the error of the fit
  EXPECT_NEAR(right.y(), 120 + 162 * 0.6, 0.05);

  const auto expectRow = [](const TableRow& row, float fx, float k1, const Vector2_f& pixel) {
    expectPrints(row.at(1), fx);
    expectPrints(row.at(2), k1);
    const auto place = onlyMatch(row.at(3), "\\(([0-9.]+), ([0-9.]+)\\)");
    expectPrints(place.at(0), pixel.x());
    expectPrints(place.at(1), pixel.y());
  };
  expectRow(rows[0], head_->getIntrinsics(320, 240)(0, 0), head_->getDistortion(320, 240)[0],
            wrong);
  expectRow(rows[1], halved.fx, halved.distortion[0], right);
  expectPrints(onlyMatch(page_, "They are ([0-9.]+) pixels apart").at(0), (right - wrong).norm());
}

TEST_F(ModelsAndSizes, PictureThatWasCutAndNotSqueezed) {
  const auto numbers =
      onlyMatch(page_,
                "fy = ([0-9]+) and cy = ([0-9]+) that is asked for 1280x720 answers with fy = "
                "([0-9.]+) and cy = ([0-9]+), as if .* fy = ([0-9]+) and cy = ([0-9]+) are right");
  CameraCalibration message = exampleCamera("camera", "mine");
  message.mutable_intrinsics()->set_fy(std::stod(numbers.at(0)));
  message.mutable_intrinsics()->set_cy(std::stod(numbers.at(1)));
  CameraParameters camera;
  ASSERT_TRUE(camera.readProto(message));
  const Matrix3x3_f squeezed = camera.getIntrinsics(1280, 720);
  EXPECT_EQ(squeezed(1, 1), std::stof(numbers.at(2)));
  EXPECT_EQ(squeezed(1, 2), std::stof(numbers.at(3)));
  Intrinsics cut;
  camera.affineIntrinsics(camera.getFullFrame(), 0, 120, 1280, 720, 1280, 720, &cut);
  EXPECT_EQ(cut.fy, std::stof(numbers.at(4)));
  EXPECT_EQ(cut.cy, std::stof(numbers.at(5)));
}

using RadialMap = std::function<double(double)>;

/// Distorted radius of a ray by the fitted rational lens.
double rationalRadius(const Eigen::VectorXd& k, double theta) {
  const LensDistortion<double> lens{k[0], k[1], 0, 0, k[2], k[3], k[4], k[5]};
  return lens.distort(NormalizedPoint<double>{std::tan(theta), 0}).x;
}

/// The recipe of the page: k1 to k6 of the rational lens that follows a fisheye lens up to an
/// angle.
Eigen::VectorXd fitRationalLens(const RadialMap& fisheye, double to_degrees) {
  constexpr int kAngles = 60;
  Eigen::VectorXd k = Eigen::VectorXd::Zero(6);
  for (int round = 0; round < 5; ++round) {
    Eigen::MatrixXd a(kAngles, 6);
    Eigen::VectorXd b(kAngles);
    for (int i = 0; i < kAngles; ++i) {
      const double theta = to_degrees * kDegree * (i + 1) / kAngles;
      const double x = std::tan(theta);
      const double s = x * x;
      const double r = fisheye(theta);
      const double divisor =
          round == 0 ? std::pow(1 + s, 3) : 1 + s * (k[3] + s * (k[4] + s * k[5]));
      a.row(i) << x * s, x * s * s, x * s * s * s, -r * s, -r * s * s, -r * s * s * s;
      a.row(i) /= divisor;
      b[i] = (r - x) / divisor;
    }
    const Eigen::VectorXd scale = a.colwise().norm().cwiseInverse();
    k = scale.cwiseProduct((a * scale.asDiagonal()).colPivHouseholderQr().solve(b));
  }
  return k;
}

double worstMiss(const Eigen::VectorXd& k, const RadialMap& fisheye, double to_degrees) {
  double worst = 0;
  for (int i = 1; i <= 2000; ++i) {
    const double theta = to_degrees * kDegree * i / 2000;
    worst = std::max(worst, std::abs(rationalRadius(k, theta) - fisheye(theta)));
  }
  return worst;
}

TEST_F(ModelsAndSizes, RationalLensFollowsAFisheyeLens) {
  const RadialMap equidistant = [](double theta) { return theta; };
  int rows = 0;
  for (const TableRow& row : tableBelow(page_, "| to the angle | error |")) {
    const double angle = std::stod(row.at(0));
    const double stated = std::stod(row.at(1));
    const double worst = worstMiss(fitRationalLens(equidistant, angle), equidistant, angle);
    EXPECT_LT(worst, stated);
    EXPECT_GT(worst, stated / 2) << "the page is too modest";
    ++rows;
  }
  EXPECT_EQ(rows, 4);
  const auto example = onlyMatch(page_, "length of ([0-9]+) pixels, ([0-9.]+) is ([0-9.]+) pixels");
  expectPrints(example.at(2), std::stod(example.at(0)) * std::stod(example.at(1)));
}

TEST_F(ModelsAndSizes, FisheyeRecipeServesLensesWithCoefficientsToo) {
  const std::array<std::array<double, 4>, 3> lenses = {{{-0.02, 0.003, -0.001, 0.0001},
                                                        {0.05, -0.02, 0.004, -0.0005},
                                                        {-1.0 / 24, 1.0 / 1920, 0, 0}}};
  for (const auto& a : lenses) {
    const RadialMap fisheye = [&a](double theta) {
      const double q = theta * theta;
      return theta * (1 + q * (a[0] + q * (a[1] + q * (a[2] + q * a[3]))));
    };
    const Eigen::VectorXd k = fitRationalLens(fisheye, 80);
    EXPECT_LT(worstMiss(k, fisheye, 80), 2e-4) << a[0];  // measured: 3e-5 to 1.3e-4
    // And the library inverts what was fitted, in its single precision.
    const std::array<float, 8> distortion = {static_cast<float>(k[0]),
                                             static_cast<float>(k[1]),
                                             0,
                                             0,
                                             static_cast<float>(k[2]),
                                             static_cast<float>(k[3]),
                                             static_cast<float>(k[4]),
                                             static_cast<float>(k[5])};
    const float centre[2] = {500, 500};
    const float focal_lengths[2] = {300, 300};
    for (int degrees = 1; degrees < 80; ++degrees) {
      const double radius = fisheye(degrees * kDegree);
      const Vector2_f point = rectifyPoint(distortion.data(), centre, focal_lengths,
                                           {static_cast<float>(500 + 300 * radius), 500});
      EXPECT_NEAR(std::atan(static_cast<double>(point.x())) / kDegree, degrees, 0.02)
          << a[0];  // measured: 0.009
    }
  }
}

}  // namespace
}  // namespace norv::calibration
