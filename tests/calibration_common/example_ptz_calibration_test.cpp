// The example calibration of a pan-tilt-zoom camera that comes with the library.

#include <gmock/gmock.h>
#include <google/protobuf/util/message_differencer.h>
#include <gtest/gtest.h>

#include <Eigen/Core>
#include <algorithm>
#include <cmath>
#include <memory>
#include <random>
#include <string>

#include "calibration_common/ptz_camera_model.h"
#include "testing/example_ptz.h"
#include "testing/log_capture.h"
#include "testing/ptz_pointing.h"
#include "testing/random_head.h"
#include "testing/tree_calibrations.h"

namespace norv::calibration {
namespace {

using google::protobuf::util::MessageDifferencer;
using ::testing::IsEmpty;
using testing::lines;
using testing::Move;
using testing::randomPixel;
using testing::ScopedLogCapture;
using testing::uniform;

constexpr int kLongEnd = 10000;  // of the zoom motor's range, which begins at 0

PTZCameraParameters exampleCalibration() {
  return testing::treeCalibration<PTZCameraParameters>("example_ptz_cal.txt");
}

TEST(ExamplePtzCalibration, LoadsAndIsValid) {
  const PTZCameraParameters params = exampleCalibration();
  ScopedLogCapture capture;
  const PTZCameraModel model(params);
  EXPECT_THAT(lines(capture.take()), IsEmpty());
  EXPECT_TRUE(model.isValid());
  EXPECT_TRUE(params.intrinsics().image_width() > 0 && params.intrinsics().image_height() > 0);
}

TEST(ExamplePtzCalibration, TheHeadIsTheOneThatTestsUse) {
  EXPECT_TRUE(MessageDifferencer::Equals(exampleCalibration().pan_tilt(), testing::exampleHead()));
}

TEST(ExamplePtzCalibration, TheLensIsSampledAsTheTableSays) {
  const PTZIntrinsicsTable lens = exampleCalibration().intrinsics();
  ASSERT_GE(lens.samples_size(), 8);
  ASSERT_GT(lens.zoom_interval(), 0);
  for (int i = 0; i < lens.samples_size(); ++i) {
    EXPECT_EQ(lens.samples(i).zoom(), lens.zoom_start() + i * lens.zoom_interval());
  }
  // Nothing is known at the last sample, which therefore lies beyond the range.
  EXPECT_GT(lens.samples(lens.samples_size() - 1).zoom(), kLongEnd);
  EXPECT_EQ(lens.min_zoom(), 0);
  EXPECT_EQ(lens.max_zoom(), kLongEnd);
}

TEST(ExamplePtzCalibration, TheLensIsThatOfATwentyfoldZoom) {
  const PTZCameraModel model(exampleCalibration());
  EXPECT_FLOAT_EQ(model.stepsToZoomXFactor(0), 1);
  EXPECT_FLOAT_EQ(model.stepsToZoomXFactor(kLongEnd), 20);
  const auto& samples = model.getParams().intrinsics().samples();
  double last_growth = 0;
  for (int i = 1; i < samples.size(); ++i) {
    // Ever faster: neither falling nor linear.
    const double growth = samples[i].focal_length() - samples[i - 1].focal_length();
    EXPECT_GT(growth, 1.05 * last_growth) << i;
    last_growth = growth;
    EXPECT_NE(samples[i].k1(), samples[i - 1].k1()) << i;
    EXPECT_NE(samples[i].k4(), samples[i - 1].k4()) << i;
  }
}

TEST(ExamplePtzCalibration, ThereIsALensWithinTheWholeRange) {
  const auto model = std::make_shared<const PTZCameraModel>(exampleCalibration());
  for (int zoom = 0; zoom <= kLongEnd; zoom += 10) {
    const PTZCameraModelConfiguration configuration(model, 0, 0, zoom);
    ASSERT_TRUE(configuration.getIntrinsics().allFinite()) << zoom;
    for (const Vector2_f& corner :
         {Vector2_f(0, 0), Vector2_f(1, 0), Vector2_f(0, 1), Vector2_f(1, 1)}) {
      ASSERT_TRUE(configuration.rectifyPoint(corner).allFinite()) << zoom;
    }
  }
}

TEST(ExamplePtzCalibration, EveryPixelSolvesAndIsCentred) {
  Move move{std::make_shared<const PTZCameraModel>(exampleCalibration()), {}, {}};
  const PanTiltSystemParameters& head = move.model->getParams().pan_tilt();
  std::mt19937_64 random(1);
  ScopedLogCapture capture(kLogWarning);
  int within = 0;
  double worst = 0;
  for (int trial = 0; trial < 1500; ++trial) {
    move.before = {static_cast<int>(uniform(&random, head.min_pan(), head.max_pan())),
                   static_cast<int>(uniform(&random, head.min_tilt(), head.max_tilt())),
                   static_cast<int>(uniform(&random, 0, kLongEnd))};
    const Vector2_f pixel = randomPixel(&random);
    const auto now = move.configuration();
    ASSERT_TRUE(now.getPanTilt(pixel, &move.after.pan, &move.after.tilt)) << trial;
    // At a limit the head may not get there.
    if (move.after.pan == head.min_pan() || move.after.pan == head.max_pan() ||
        move.after.tilt == head.min_tilt() || move.after.tilt == head.max_tilt()) {
      continue;
    }
    ++within;
    const Vector3_f target = now.getCameraCenter() + now.projectPixelToRay(pixel).normalized();
    const Eigen::Vector4d seen =
        move.cameraFromWorld(move.after) * target.cast<double>().homogeneous();
    ASSERT_GT(seen.z(), 0) << trial;
    worst = std::max(worst, seen.head<2>().cwiseAbs().maxCoeff() / seen.z() / 0.0005);
  }
  EXPECT_THAT(lines(capture.take()), IsEmpty());
  EXPECT_GT(within, 1400);
  // Steps along either image axis. Rounding is half a step at the joint, which the lever arm of up
  // to 55 mm makes 0.5275 at most, seen by the camera from a metre away. Measured: 0.5194.
  EXPECT_LE(worst, 0.52);
}

}  // namespace
}  // namespace norv::calibration
