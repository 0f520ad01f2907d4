#include "interop/calibration_import.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <random>
#include <string>
#include <vector>

#include "testing/file_contents.h"
#include "testing/peer_texts.h"

namespace norv::interop {
namespace {

using calibration::CameraCalibration;
using calibration::RobotCalibration;
using ::testing::DoubleNear;
using ::testing::Pointwise;

SourceFile sample(const std::string& name) {
  return {name, testing::contentsOf(std::string(CAMERA_PARAMETERS_SOURCE_DIR) +
                                    "/tests/data/interop/" + name)};
}

SourceFile colmap(const std::string& contents) { return {"cameras.txt", contents}; }

ImportOutcome import(const std::vector<SourceFile>& files, const ImportOptions& options = {}) {
  auto outcome = importCameras(files, options);
  const auto* problem = std::get_if<FormatProblem>(&outcome);
  EXPECT_EQ(problem == nullptr ? "" : describe(*problem), "");
  return problem == nullptr ? std::get<ImportOutcome>(outcome) : ImportOutcome();
}

std::string refusalOf(const std::vector<SourceFile>& files, const ImportOptions& options = {}) {
  const auto outcome = importCameras(files, options);
  const auto* problem = std::get_if<FormatProblem>(&outcome);
  return problem == nullptr ? "" : describe(*problem);
}

std::vector<double> poseOf(const ImportedCamera& camera) {
  const auto& a = camera.calibration.extrinsics().a();
  return {a.begin(), a.end()};
}

const std::vector<double> kIdentity = {1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0};

TEST(ImportCameras, PassesTheDoublesOfAnExactLensThrough) {
  const ImportOutcome outcome = import({sample("ros/ros_rational_polynomial.yaml")});
  ASSERT_EQ(outcome.cameras.size(), 1U);
  const CameraCalibration& camera = outcome.cameras[0].calibration;
  const auto& k = camera.intrinsics();
  EXPECT_EQ(k.fx(), 1000.25);
  EXPECT_EQ(k.fy(), 1001.5);
  EXPECT_EQ(k.skew(), 0);
  EXPECT_EQ(k.cx(), 641);
  EXPECT_EQ(k.cy(), 480.75);
  EXPECT_EQ(std::vector<double>(k.radial().begin(), k.radial().end()),
            (std::vector<double>{0.3, -0.1, 0.02, 0.6, 0.05, 0.01}));
  EXPECT_EQ(std::vector<double>(k.tangential().begin(), k.tangential().end()),
            (std::vector<double>{0.001, -0.0005}));
  EXPECT_EQ(k.width(), 1280);
  EXPECT_EQ(k.height(), 960);
  EXPECT_EQ(camera.name(), "narrow_stereo/left");
  EXPECT_FALSE(camera.has_model());
  EXPECT_FALSE(outcome.cameras[0].deviation);
  EXPECT_EQ(outcome.cameras[0].pose_source, PoseSource::kNone);
  EXPECT_EQ(poseOf(outcome.cameras[0]), kIdentity);
  EXPECT_EQ(outcome.files.at(0).format, PeerFormat::kRos);
}

TEST(ImportCameras, TheOriginOfPixelsCanBeStated) {
  ImportOptions options;
  options.reading.pixel_origin = calibration::PixelOrigin::kImageCorner;
  const ImportOutcome outcome = import({sample("opencv/opencv5.yml")}, options);
  EXPECT_EQ(outcome.cameras.at(0).calibration.intrinsics().cx(), 640.5);
  EXPECT_EQ(outcome.cameras.at(0).calibration.intrinsics().cy(), 480.25);
  EXPECT_EQ(outcome.files.at(0).pixel_origin, calibration::PixelOrigin::kImageCorner);
}

TEST(ImportCameras, TakesNoPoseOfAFrameThatIsNotKnown) {
  const ImportOutcome outcome = import({sample("mrcal/mrcal_OPENCV8.cameramodel")});
  EXPECT_EQ(outcome.cameras.at(0).pose_source, PoseSource::kNone);
  EXPECT_EQ(poseOf(outcome.cameras[0]), kIdentity);
  EXPECT_EQ(outcome.files.at(0).parent, "reference");
}

TEST(ImportCameras, StoresThePoseOfTheRobotsFrameInMillimetres) {
  ImportOptions options;
  options.parent_is_robot = true;
  const ImportOutcome outcome = import({sample("kalibr/kalibr_camchain_imucam.yaml")}, options);
  EXPECT_EQ(outcome.cameras.at(0).pose_source, PoseSource::kFile);
  EXPECT_EQ(poseOf(outcome.cameras[0]),
            (std::vector<double>{0, -1, 0, 50, 0, 0, -1, 20, 1, 0, 0, -10}));
  EXPECT_EQ(poseOf(outcome.cameras.at(1))[3], -60);
}

TEST(ImportCameras, MovesAPoseFromItsParentIntoTheRobotsFrame) {
  ImportOptions options;
  options.parent_from_robot = RigidPose{Eigen::Matrix3d::Identity(), {0, 0, -0.4}};
  const ImportOutcome outcome = import({sample("kalibr/kalibr_camchain_imucam.yaml")}, options);
  // The robot's origin lies at (0, 0, -0.4) m in the parent: (0.05, 0.02 + 0.4, -0.01) m in cam0.
  // 0.02 + 0.4 is not 0.42 to the last bit.
  EXPECT_THAT(poseOf(outcome.cameras.at(0)),
              Pointwise(DoubleNear(1e-12), {0, -1, 0, 50, 0, 0, -1, 420, 1, 0, 0, -10}));
}

TEST(ImportCameras, GivesCamerasWithoutAPoseTheStatedOne) {
  ImportOptions options;
  options.extrinsics.emplace();
  for (int i = 0; i < 12; ++i) options.extrinsics->add_a(i);
  const ImportOutcome outcome = import({sample("opencv/opencv8.yml")}, options);
  EXPECT_EQ(outcome.cameras.at(0).pose_source, PoseSource::kOptions);
  EXPECT_EQ(poseOf(outcome.cameras[0])[11], 11);
}

TEST(ImportCameras, NamesAreThoseOfTheOptionsTheFileOrItsPath) {
  const SourceFile unnamed = {"a/b/left.camera.yml", sample("opencv/opencv8.yml").contents};
  EXPECT_EQ(import({unnamed}).cameras.at(0).calibration.name(), "left.camera");
  EXPECT_EQ(import({{"-", unnamed.contents}}).cameras.at(0).calibration.name(), "camera");
  EXPECT_EQ(import({{"x/.yml", unnamed.contents}}).cameras.at(0).calibration.name(), ".yml");
  ImportOptions options;
  options.names = {"front", "rear"};
  options.model = "b910";
  const auto cameras = import({unnamed, sample("ros/ros_plumb_bob.yaml")}, options).cameras;
  EXPECT_EQ(cameras.at(0).calibration.name(), "front");
  EXPECT_EQ(cameras.at(1).calibration.name(), "rear");
  EXPECT_EQ(cameras[1].file, 1U);
  EXPECT_EQ(cameras[1].calibration.model(), "b910");
}

TEST(ImportCameras, SeveralCamerasWithoutNamesAreNumbered) {
  std::mt19937 random(1);
  const auto rig = {norv::testing::randomFileCamera(8, &random),
                    norv::testing::randomFileCamera(8, &random)};
  const auto cameras = import({{"rigs/stereo.json", norv::testing::basaltJson(rig)}}).cameras;
  ASSERT_EQ(cameras.size(), 2U);
  EXPECT_EQ(cameras[0].calibration.name(), "stereo_0");
  EXPECT_EQ(cameras[1].calibration.name(), "stereo_1");
}

TEST(ImportCameras, RefusesWrongNumbersOfNamesAndEqualNames) {
  ImportOptions options;
  options.names = {"a", "b", "c"};
  EXPECT_EQ(refusalOf({sample("kalibr/kalibr_camchain_imucam.yaml")}, options),
            "names given: 3, cameras: 2");
  options.names = {"a", "a"};
  EXPECT_EQ(
      refusalOf({sample("kalibr/kalibr_camchain_imucam.yaml")}, options),
      "kalibr/kalibr_camchain_imucam.yaml: a: is the name of another camera of this file too");
  EXPECT_EQ(refusalOf({{"1/left.yml", sample("opencv/opencv8.yml").contents},
                       {"2/left.yml", sample("opencv/opencv8.yml").contents}}),
            "2/left.yml: left: is the name of another camera of 1/left.yml too");
}

TEST(ImportCameras, RefusesWhatLooksLikeNothing) {
  EXPECT_EQ(refusalOf({{"f.txt", "hello"}}),
            "f.txt: looks like no calibration of the known formats: ros, kalibr, opencv, mrcal, "
            "colmap, basalt");
}

TEST(ImportCameras, PutsColmapsTwoFilesTogether) {
  ImportOptions options;
  options.reading.metres_per_unit = 2;
  options.parent_is_robot = true;
  const ImportOutcome outcome =
      import({sample("colmap/cameras.txt"), sample("colmap/images.txt")}, options);
  EXPECT_EQ(outcome.files.size(), 1U);
  ASSERT_EQ(outcome.cameras.size(), 2U);
  EXPECT_EQ(outcome.cameras[0].calibration.name(), "nav");
  // The sample's translation is (1.5, 2.5, 3.5) units of two metres.
  EXPECT_EQ(poseOf(outcome.cameras[1])[11], 7000);
  EXPECT_EQ(refusalOf({sample("colmap/images.txt")}),
            "colmap/images.txt: holds COLMAP's images, whose cameras.txt must come before it");
}

TEST(ImportCameras, MeasuresALensThatIsNotOursAndRefusesItBeyondTheAllowedError) {
  ImportOptions options;
  options.max_error = 5;
  const ImportOutcome outcome = import({sample("opencv/opencv14.yml")}, options);
  ASSERT_TRUE(outcome.cameras.at(0).deviation);
  const LensDeviation deviation = *outcome.cameras[0].deviation;
  // Measured: 4.41 px next to the fold of the sample's lens, which leaves the corners without rays.
  EXPECT_GT(deviation.max, 0.1);
  EXPECT_LT(deviation.max, 5);
  EXPECT_EQ(refusalOf({sample("opencv/opencv14.yml")}),
            "opencv/opencv14.yml: opencv14: its lens fits ours with " +
                describe(deviation, {1280, 960}) + ", more than the 0.1 px that are allowed");
  options.max_error = 1e-6;
  EXPECT_TRUE(
      import({sample("mrcal/mrcal_STEREOGRAPHIC.cameramodel")}, options).cameras.at(0).deviation);
}

TEST(PutCameras, ReplacesTheEntryThatCountsAndAddsTheOthers) {
  RobotCalibration robot;
  for (const char* const name : {"left", "1", "left"})
    robot.add_camera_calibration()->set_name(name);
  const auto cameras = import({colmap("1 PINHOLE 640 480 500 500 320 240\n"
                                      "7 PINHOLE 640 480 500 500 320 240\n")},
                              [] {
                                ImportOptions options;
                                options.names = {"left", "new"};
                                return options;
                              }())
                           .cameras;
  putCameras(cameras, &robot);
  ASSERT_EQ(robot.camera_calibration_size(), 4);
  EXPECT_FALSE(robot.camera_calibration(0).has_intrinsics());
  EXPECT_EQ(robot.camera_calibration(2).intrinsics().width(), 640);
  EXPECT_EQ(robot.camera_calibration(3).name(), "new");
}

}  // namespace
}  // namespace norv::interop
