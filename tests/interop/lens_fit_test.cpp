#include "interop/lens_fit.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <ostream>
#include <string>
#include <vector>

#include "interop/calibration_export.h"
#include "proto/norv_robot_calibration.pb.h"
#include "support/lens_validity.h"
#include "testing/peer_samples.h"
#include "testing/tree_calibrations.h"
#include "tests/interop/expected_pixels.h"
#include "tests/interop/fitted_lens.h"
#include "tests/interop/second_formulas.h"

namespace norv::interop {
namespace {

using calibration::CameraModel;
using calibration::LensDistortion;
using testing::asPeer;
using testing::deviationOf;
using testing::fitRefusal;
using testing::fittedTo;
using testing::kDegree;
using testing::SecondDeviation;
using testing::withCornersAt;

/// A camera of a sample.
PeerCamera sample(const std::string& name, PeerFormat format, std::size_t index = 0) {
  const auto file = norv::testing::peerSample(norv::testing::kPeerSamples, name);
  return norv::testing::readPeer(file, format).cameras.at(index);
}

/// The sample's camera with this picture, cut out of the middle.
PeerCamera cutOut(PeerCamera camera, int width, int height) {
  camera.cx -= (camera.size.width - width) / 2.0;
  camera.cy -= (camera.size.height - height) / 2.0;
  camera.size = {width, height};
  return camera;
}

/// The camera with the rational part of its lens alone.
CameraModel withoutExtras(const PeerCamera& camera) {
  PeerCamera rational = camera;
  rational.lens = std::get<ExtendedLens>(camera.lens).rational;
  return *exactModel(rational);
}

PeerCamera headCamera() {
  const auto head =
      norv::testing::treeCalibration<calibration::RobotCalibration>("default_head_cal.txt");
  return asPeer(std::get<WrittenCamera>(fullFrameCamera(head.camera_calibration(0))).model);
}

/// The figure must be the true one within a share of it, by formulas and a grid of the test's own.
void expectTrue(const PeerCamera& source, const CameraModel& target, double share) {
  const LensDeviation deviation = deviationOf(source, target);
  SecondDeviation second(source, target);
  second.addPicture(240, 180);
  EXPECT_NEAR(deviation.max, second.max(), share * second.max());
  EXPECT_NEAR(deviation.rms, second.rms(), 0.05 * second.rms());
}

/// The largest distance of what a program computed itself.
double largestMiss(const CameraModel& model, const std::string& name, std::size_t camera) {
  const testing::ExpectedPixels expected = testing::expectedPixels(name, camera);
  double largest = 0;
  for (std::size_t i = 0; i < expected.points.size(); ++i) {
    const Eigen::Vector3d& p = expected.points[i];
    const Eigen::Vector2d pixel =
        testing::secondPixel(asPeer(model), {p.x() / p.z(), p.y() / p.z()});
    largest = std::max(largest, (pixel - expected.pixels[i]).norm());
  }
  return largest;
}

struct RadialSample {
  const char* file;
  PeerFormat format;
  std::size_t index;     ///< of the camera in the file
  const char* expected;  ///< name in expected.json
  std::size_t entry;     ///< there
  double max;
};

std::ostream& operator<<(std::ostream& stream, const RadialSample& s) { return stream << s.file; }

class RadialSamples : public ::testing::TestWithParam<RadialSample> {};

TEST_P(RadialSamples, AreFittedFarBelowWhatIsSeen) {
  const RadialSample& s = GetParam();
  const PeerCamera camera = sample(s.file, s.format, s.index);
  const CameraModel model = fittedTo(camera);
  const LensDeviation deviation = deviationOf(camera, model);
  EXPECT_LE(deviation.max, s.max);
  EXPECT_EQ(deviation.share, 1);
  // Measured: 0.1 %.
  expectTrue(camera, model, 0.01);
  EXPECT_LE(largestMiss(model, s.expected, s.entry), deviation.max + 1e-9);
  EXPECT_EQ(model.fx, camera.fx);
  EXPECT_EQ(model.fy, camera.fy);
  EXPECT_EQ(model.cx, camera.cx);
  EXPECT_EQ(model.cy, camera.cy);
}

// Measured: 1.44e-4, 7.2e-7 and 2.0e-7 px.
INSTANTIATE_TEST_SUITE_P(
    OfPeers, RadialSamples,
    ::testing::Values(RadialSample{"kalibr/kalibr_camchain_imucam.yaml", PeerFormat::kKalibr, 1,
                                   "kalibr_camchain_imucam.yaml", 1, 3e-4},
                      RadialSample{"colmap/cameras.txt", PeerFormat::kColmap, 1,
                                   "colmap/cameras.txt", 3, 2e-6},
                      RadialSample{"mrcal/mrcal_STEREOGRAPHIC.cameramodel", PeerFormat::kMrcal, 0,
                                   "mrcal_STEREOGRAPHIC.cameramodel", 0, 1e-6}),
    [](const auto& sample_info) { return std::string(formatName(sample_info.param.format)); });

TEST(LensFit, HoldsEquidistantLensesShortOfNinetyDegrees) {
  // Measured, in this order: 7.3e-8, 2.6e-6, 5.9e-5, 1.2e-3, 5.8e-3, 0.032, 0.26 px; the true ones
  // are up to 1 % larger.
  const std::vector<std::pair<double, double>> figures = {
      {40, 1e-7}, {50, 3e-6}, {60, 9e-5}, {70, 2e-3}, {75, 8e-3}, {80, 0.04}, {85, 0.3}};
  for (const auto& [angle, most] : figures) {
    const PeerCamera camera = withCornersAt(angle * kDegree);
    const CameraModel model = fittedTo(camera);
    EXPECT_LE(deviationOf(camera, model).max, most) << angle;
    expectTrue(camera, model, 0.03);
    EXPECT_GT(calibration::validHalfAngle(model.lens), angle * kDegree) << angle;
    EXPECT_EQ(model.lens.p1, 0);
    EXPECT_EQ(model.lens.p2, 0);
  }
}

TEST(LensFit, TakesThreeCoefficientsOfPolynomialsForWhatTheyAre) {
  // k1, k2 and k3 alone: 0.05 px at 40 degrees, 0.4 at 50, 2.4 at 60. Measured: 0.046, 0.369, 2.39.
  const std::vector<std::pair<double, double>> figures = {{40, 0.05}, {50, 0.4}, {60, 2.4}};
  for (const auto& [angle, expected] : figures) {
    const PeerCamera camera = withCornersAt(angle * kDegree);
    EXPECT_NEAR(deviationOf(camera, fittedTo(camera, 5)).max, expected, 0.1 * expected) << angle;
  }
}

TEST(LensFit, WritesTheHeadCameraWithFewerCoefficients) {
  // Measured: 0.935 and 4.84 px.
  const PeerCamera head = headCamera();
  const CameraModel five = fittedTo(head, 5);
  EXPECT_NEAR(deviationOf(head, five).max, 0.94, 0.01 * 0.94);
  expectTrue(head, five, 0.01);
  EXPECT_EQ(five.lens.k4, 0);
  EXPECT_EQ(five.lens.k5, 0);
  EXPECT_EQ(five.lens.k6, 0);
  const CameraModel four = fittedTo(head, 4);
  EXPECT_NEAR(deviationOf(head, four).max, 4.8, 0.01 * 4.8);
  expectTrue(head, four, 0.01);
  EXPECT_EQ(four.lens.k3, 0);
}

TEST(LensFit, BringsPrismsAndTiltsCloser) {
  // Where the samples' lenses have rays all over the picture. Measured: 0.267 px of 0.550 without
  // the extra terms, and 2.64 px of 10.9.
  const PeerCamera prisms = cutOut(sample("opencv/opencv12.yml", PeerFormat::kOpenCv), 1120, 840);
  const CameraModel fit = fittedTo(prisms);
  EXPECT_LE(deviationOf(prisms, fit).max, 0.27);
  EXPECT_GT(deviationOf(prisms, withoutExtras(prisms)).max, 0.43);
  expectTrue(prisms, fit, 0.03);
  const PeerCamera tilted = cutOut(sample("opencv/opencv14.yml", PeerFormat::kOpenCv), 1120, 840);
  const CameraModel upright = fittedTo(tilted);
  EXPECT_LE(deviationOf(tilted, upright).max, 3.3);
  EXPECT_GT(deviationOf(tilted, withoutExtras(tilted)).max, 10.4);
  expectTrue(tilted, upright, 0.03);
}

TEST(LensFit, MeasuresWhereTheSourceHasRays) {
  // The lens folds at 0.777 focal lengths from the principal point, next to the corners. Measured:
  // 1.09 px with prisms, 4.41 px with a tilt as well.
  for (const char* const name : {"opencv/opencv12.yml", "opencv/opencv14.yml"}) {
    const PeerCamera camera = sample(name, PeerFormat::kOpenCv);
    const CameraModel model = fittedTo(camera);
    const LensDeviation deviation = deviationOf(camera, model);
    EXPECT_GT(deviation.share, 0.99) << name;
    EXPECT_LT(deviation.share, 1) << name;
    EXPECT_GT(deviation.max, 0.1) << name;
    EXPECT_LT(deviation.max, 5) << name;
    EXPECT_LT(deviation.max, deviationOf(camera, withoutExtras(camera)).max) << name;
  }
}

TEST(LensFit, IsNoWorseNextToAFoldThanTheLensWithoutExtraTerms) {
  const PeerCamera whole = sample("opencv/opencv12.yml", PeerFormat::kOpenCv);
  for (const int width : {1260, 1240, 1220, 1200}) {
    const PeerCamera camera = cutOut(whole, width, width * 3 / 4);
    const double dropped = deviationOf(camera, withoutExtras(camera)).max;
    EXPECT_LT(deviationOf(camera, fittedTo(camera)).max, dropped) << width;
  }
}

TEST(LensFit, ReturnsWhatNeedsNoFit) {
  const LensDistortion<double> lens{-0.3, 0.1, 0.001, -0.0005, 0.02, 0, 0, 0};
  const PeerCamera camera = asPeer({640, 480, 500.5, 501.5, 0.25, 320.25, 240.75, lens});
  for (const int coefficients : {5, 8}) {
    EXPECT_EQ(fittedTo(camera, coefficients).lens.toCoefficients(), lens.toCoefficients());
    EXPECT_EQ(fittedTo(camera, coefficients).skew, 0.25);
  }
  EXPECT_EQ(fittedTo(camera, 4).lens.k3, 0);
  EXPECT_EQ(fittedTo(camera, 0).lens.toCoefficients(), LensDistortion<double>{}.toCoefficients());
  PeerCamera extended = camera;
  extended.lens = ExtendedLens{lens};
  EXPECT_EQ(exactModel(extended)->lens.toCoefficients(), lens.toCoefficients());
  extended.lens = ExtendedLens{lens, 1e-9, 0, 0, 0, 0, 0};
  EXPECT_FALSE(exactModel(extended));
}

TEST(LensFit, MeasuresADistanceThatIsKnown) {
  const PeerCamera source = asPeer({640, 480, 500, 500, 0, 320, 240, {}});
  // Beside: everywhere the same distance.
  const LensDeviation shifted = deviationOf(source, {640, 480, 500, 500, 0, 323, 244, {}});
  EXPECT_NEAR(shifted.max, 5, 1e-9);
  EXPECT_NEAR(shifted.rms, 5, 1e-9);
  EXPECT_EQ(shifted.share, 1);
  // Larger by a hundredth: most at the corners, 400 pixels from the middle.
  EXPECT_NEAR(deviationOf(source, {640, 480, 505, 505, 0, 320, 240, {}}).max, 4, 1e-9);
  // Only one corner is 5 pixels beside by skew: (-0.64 to 0.64, -0.48 to 0.48).
  EXPECT_NEAR(deviationOf(source, {640, 480, 500, 500, 10, 320.2, 240, {}}).max, 5, 1e-9);
}

TEST(LensFit, ScalesTheCameraMatrixByTheSlopeOnTheAxis) {
  RadialMap map;
  map.kind = RadialKind::kDoubleSphere;
  map.parameters = {-0.2, 0.59, 0, 0};
  const PeerCamera camera = withCornersAt(65 * kDegree, map);
  const CameraModel model = fittedTo(camera);
  EXPECT_DOUBLE_EQ(model.fx, camera.fx / 0.8);
  EXPECT_DOUBLE_EQ(model.fy, camera.fy / 0.8);
  EXPECT_EQ(model.cx, camera.cx);
  // Measured: 3.4e-4 px.
  EXPECT_LE(deviationOf(camera, model).max, 1e-3);
}

TEST(LensFit, AppliesWhatFollowsARadialMap) {
  // An omni camera of Kalibr, with Brown's terms.
  RadialMap map;
  map.kind = RadialKind::kOmni;
  map.parameters = {0.9, 0, 0, 0};
  map.then = {-0.05, 0.01, 0.001, -0.002, 0, 0, 0, 0};
  PeerCamera camera = testing::radialCamera(map);
  camera.fx = 1500;
  camera.fy = 1490;
  const CameraModel model = fittedTo(camera);
  // Brown's terms are of the imaged point there, and of the ray in a rational lens: it can follow
  // them only in part. Measured: 0.276 px; 6.9 px with the same terms.
  EXPECT_LE(deviationOf(camera, model).max, 0.3);
  CameraModel same_terms = model;
  same_terms.lens.p1 = map.then.p1;
  same_terms.lens.p2 = map.then.p2;
  EXPECT_GT(deviationOf(camera, same_terms).max, 1);
  expectTrue(camera, model, 0.05);
}

TEST(LensFit, SaysWhyThereIsNone) {
  EXPECT_EQ(
      fitRefusal(sample("ros/ros_equidistant.yaml", PeerFormat::kRos)),
      "the picture reaches 102.6 degrees from the axis, and a rational lens holds rays at less "
      "than 90 degrees");
  EXPECT_EQ(fitRefusal(withCornersAt(97 * kDegree)),
            "the picture reaches 97 degrees from the axis, and a rational lens holds rays at less "
            "than 90 degrees");
  PeerCamera camera = withCornersAt(60 * kDegree);
  camera.fx = 0;
  EXPECT_EQ(fitRefusal(camera), "its camera matrix or its size is none");
  camera.fx = std::numeric_limits<double>::quiet_NaN();
  EXPECT_EQ(fitRefusal(camera), "its camera matrix or its size is none");
  // A fold at 9 degrees, 21 pixels from the middle.
  camera.fx = camera.fy = 200;
  camera.lens = RadialMap{RadialKind::kKannalaBrandt, {-13.5, 0, 0, 0}, {}};
  EXPECT_EQ(fitRefusal(camera), "its lens has rays at less than 25 % of the picture's points");
}

TEST(LensFit, SaysWhichRaysTheTargetLacks) {
  const PeerCamera source = asPeer({640, 480, 500, 500, 0, 320, 240, {}});
  // r - r^3 / 3 folds at r = 1 / sqrt(3 / 3) = 1 times cos: k1 = -1 / 3 at r = 1, 45 degrees; k1 =
  // -0.6 at r = sqrt(1 / 1.8), 36.7 degrees. The corner is at 38.66.
  const CameraModel target{640, 480, 500, 500, 0, 320, 240, {-0.6, 0, 0, 0, 0, 0, 0, 0}};
  const auto deviation = measureDeviation(source, target);
  ASSERT_TRUE(std::holds_alternative<std::string>(deviation));
  EXPECT_EQ(std::get<std::string>(deviation),
            "the picture has rays 38.66 degrees from the axis, and the lens that is to hold them "
            "ends at 36.7 degrees");
}

TEST(LensFit, RefusesLensesBeyondTheRangeOfDouble) {
  RadialMap map;
  map.parameters = {0.1, std::numeric_limits<double>::quiet_NaN(), 0, 0};
  PeerCamera camera = testing::radialCamera(map);
  camera.fx = camera.fy = 500;
  EXPECT_EQ(fitRefusal(camera), "its lens has rays at less than 25 % of the picture's points");
  map = {RadialKind::kDoubleSphere, {std::numeric_limits<double>::infinity(), 0, 0, 0}, {}};
  camera.lens = map;
  EXPECT_NE(fitRefusal(camera), "");
  const PeerCamera huge = asPeer({640, 480, 500, 500, 0, 320, 240, {}});
  const auto deviation = measureDeviation(huge, {640, 480, 1e300, 500, 0, 320, 240, {}});
  ASSERT_TRUE(std::holds_alternative<std::string>(deviation));
  EXPECT_EQ(std::get<std::string>(deviation), "its rays or pixels exceed the range of numbers");
}

TEST(LensFit, DescribesADeviation) {
  EXPECT_EQ(describe({0.12345, 0.0567891, 1}, {1280, 960}),
            "max 0.123 px, rms 0.0568 px at 1280x960");
  EXPECT_EQ(describe({1e-7, 3e-8, 0.9999}, {640, 480}),
            "max 1e-07 px, rms 3e-08 px at 640x480, 99.9 % of the picture");
}

}  // namespace
}  // namespace norv::interop
