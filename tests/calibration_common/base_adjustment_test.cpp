// Camera poses moved by the base's global transform.

#include <gmock/gmock.h>
#include <google/protobuf/util/message_differencer.h>
#include <gtest/gtest.h>

#include <Eigen/Geometry>
#include <memory>
#include <random>
#include <string>

#include "calibration_common/base_calibration_data.h"
#include "calibration_common/camera_parameters.h"
#include "testing/calibration_messages.h"
#include "testing/log_capture.h"

namespace norv::calibration {
namespace {

using google::protobuf::util::MessageDifferencer;
using ::testing::ElementsAre;
using testing::exampleCamera;
using testing::robotOf;

BaseCalibrationData baseWith(const Matrix3x3_f& rotation, const Vector3_f& translation) {
  BaseCalibrationData base;
  base.setGlobalTransform(rotation, translation, {});
  return base;
}

CameraCalibration cameraAt(const std::string& name, const Matrix3x3_f& rotation,
                           const Vector3_f& translation) {
  CameraCalibration camera = exampleCamera(name, "any");
  Matrix4x4_f pose;
  CameraParameters::convert(rotation, translation, &pose);
  CameraParameters::convert(pose, camera.mutable_extrinsics());
  return camera;
}

Matrix3x3_f quarterTurnAboutZ() {
  Matrix3x3_f m;
  m << 0, -1, 0,  //
      1, 0, 0,    //
      0, 0, 1;
  return m;
}

Matrix3x3_f randomRotation(std::mt19937_64* random) {
  std::normal_distribution<float> normal;
  const Eigen::Quaternionf q =
      Eigen::Quaternionf(normal(*random), normal(*random), normal(*random), normal(*random))
          .normalized();
  return q.toRotationMatrix();
}

Vector3_f randomVector(std::mt19937_64* random) {
  std::uniform_real_distribution<float> uniform(-2, 2);
  return {uniform(*random), uniform(*random), uniform(*random)};
}

TEST(BaseAdjustment, NothingMovesByTheIdentity) {
  CameraParametersSet set;
  ASSERT_TRUE(
      set.loadFromProto(robotOf({cameraAt("a", quarterTurnAboutZ(), {0.1F, -0.2F, 0.3F})})));
  const CameraTransform before = set.getCamera("a")->getTransform();
  set.adjustUsingBaseCalibration(baseWith(Matrix3x3_f::Identity(), Vector3_f::Zero()));
  const auto camera = set.getCamera("a");
  EXPECT_EQ(camera->getTransform().transform, before.transform);
  EXPECT_EQ(camera->getTransform().inverse, before.inverse);
  EXPECT_EQ(camera->getRotation(), quarterTurnAboutZ());
  EXPECT_EQ(camera->getTranslation(), Vector3_f(0.1F, -0.2F, 0.3F));
  const auto& stored = set.getRobotCalibration().camera_calibration(0).extrinsics();
  EXPECT_THAT(stored.a(), ElementsAre(0, -1, 0, static_cast<double>(0.1F) * 1000,  //
                                      1, 0, 0, static_cast<double>(-0.2F) * 1000,  //
                                      0, 0, 1, static_cast<double>(0.3F) * 1000));
}

TEST(BaseAdjustment, TranslationsAdd) {
  CameraParametersSet set;
  ASSERT_TRUE(set.loadFromProto(robotOf({cameraAt("a", Matrix3x3_f::Identity(), {1, 0, 0})})));
  set.adjustUsingBaseCalibration(baseWith(Matrix3x3_f::Identity(), {0, 0.5F, 0}));
  EXPECT_EQ(set.getCamera("a")->getTranslation(), Vector3_f(1, 0.5F, 0));
  EXPECT_EQ(set.getCamera("a")->getTransform().getCameraCenter(), Vector3_f(-1, -0.5F, 0));
  EXPECT_THAT(set.getRobotCalibration().camera_calibration(0).extrinsics().a(),
              ElementsAre(1, 0, 0, 1000, 0, 1, 0, 500, 0, 0, 1, 0));
}

TEST(BaseAdjustment, OffsetIsTurnedByTheCamera) {
  CameraParametersSet set;
  ASSERT_TRUE(set.loadFromProto(robotOf({cameraAt("a", quarterTurnAboutZ(), {5, 6, 7})})));
  set.adjustUsingBaseCalibration(baseWith(Matrix3x3_f::Identity(), {1, 0, 0}));
  EXPECT_EQ(set.getCamera("a")->getTranslation(), Vector3_f(5, 7, 7));
}

TEST(BaseAdjustment, CamerasRotationComesFirst) {
  // Two quarter turns about different axes do not commute.
  Matrix3x3_f about_x;
  about_x << 1, 0, 0,  //
      0, 0, -1,        //
      0, 1, 0;
  CameraParametersSet set;
  ASSERT_TRUE(set.loadFromProto(robotOf({cameraAt("a", quarterTurnAboutZ(), Vector3_f::Zero())})));
  set.adjustUsingBaseCalibration(baseWith(about_x, Vector3_f::Zero()));
  Matrix3x3_f expected;
  expected << 0, 0, 1,  //
      1, 0, 0,          //
      0, 1, 0;
  EXPECT_EQ(set.getCamera("a")->getRotation(), expected);
}

TEST(BaseAdjustment, NewPoseIsTheOldOneTimesTheBases) {
  std::mt19937_64 random(41);
  for (int trial = 0; trial < 500; ++trial) {
    const Matrix3x3_f rotation = randomRotation(&random);
    const Vector3_f translation = randomVector(&random);
    const Matrix3x3_f base_rotation = randomRotation(&random);
    const Vector3_f base_translation = randomVector(&random);
    CameraParameters camera;
    ASSERT_TRUE(camera.readProto(cameraAt("a", rotation, translation)));
    CameraCalibration stored;
    camera.adjustUsingBaseCalibration(baseWith(base_rotation, base_translation), &stored);

    Eigen::Matrix4d pose = Eigen::Matrix4d::Identity();
    pose.topLeftCorner<3, 3>() = rotation.cast<double>();
    pose.topRightCorner<3, 1>() = translation.cast<double>();
    Eigen::Matrix4d base = Eigen::Matrix4d::Identity();
    base.topLeftCorner<3, 3>() = base_rotation.cast<double>();
    base.topRightCorner<3, 1>() = base_translation.cast<double>();
    const Eigen::Matrix4d expected = pose * base;
    const Eigen::Matrix4d moved = camera.getTransform().transform.cast<double>();
    EXPECT_LT((moved - expected).cwiseAbs().maxCoeff(), 2e-6);  // measured: 4e-7
    EXPECT_LT(
        (camera.getTransform().inverse.cast<double>() - expected.inverse()).cwiseAbs().maxCoeff(),
        5e-6);  // measured: 9e-7
    // The stored pose is the new one, in millimetres.
    Matrix4x4_f read;
    CameraParameters::convert(stored.extrinsics(), &read);
    EXPECT_EQ(read, camera.getTransform().transform);
    Matrix4x4_f rebuilt;
    CameraParameters::convert(camera.getRotation(), camera.getTranslation(), &rebuilt);
    EXPECT_EQ(rebuilt, camera.getTransform().transform);
  }
}

TEST(BaseAdjustment, ArithmeticIsSinglePrecisionWithTheOldRotation) {
  std::mt19937_64 random(43);
  const Matrix3x3_f r = randomRotation(&random);
  const Vector3_f t = randomVector(&random);
  const Matrix3x3_f w = randomRotation(&random);
  const Vector3_f b = randomVector(&random);
  CameraParameters camera;
  ASSERT_TRUE(camera.readProto(cameraAt("a", r, t)));
  CameraCalibration stored;
  camera.adjustUsingBaseCalibration(baseWith(w, b), &stored);
  EXPECT_EQ(camera.getTranslation(), Vector3_f(r * b + t));
  EXPECT_EQ(camera.getRotation(), Matrix3x3_f(r * w));
}

TEST(BaseAdjustment, NothingElseOfTheCameraChanges) {
  CameraParameters camera;
  const CameraCalibration message = exampleCamera("a", "b910");
  ASSERT_TRUE(camera.readProto(message));
  const Matrix3x3_f k = camera.getIntrinsics(800, 600);
  CameraCalibration stored;
  stored.set_name("kept");
  camera.adjustUsingBaseCalibration(baseWith(quarterTurnAboutZ(), {1, 2, 3}), &stored);
  EXPECT_TRUE(MessageDifferencer::Equals(camera.getCalibration(), message));
  EXPECT_EQ(camera.getIntrinsics(800, 600), k);
  EXPECT_EQ(camera.getModel(), "b910");
  EXPECT_EQ(camera.getIntrinsicsTable().size(), 4U);
  // An absent pose is made; the rest of the message stays.
  EXPECT_EQ(stored.name(), "kept");
  EXPECT_TRUE(stored.has_extrinsics());
  EXPECT_EQ(stored.extrinsics().a_size(), 12);
  EXPECT_FALSE(stored.has_intrinsics());
}

TEST(BaseAdjustment, Twice) {
  CameraParametersSet set;
  ASSERT_TRUE(set.loadFromProto(robotOf({cameraAt("a", Matrix3x3_f::Identity(), {1, 0, 0}),
                                         cameraAt("b", quarterTurnAboutZ(), Vector3_f::Zero())})));
  const BaseCalibrationData base = baseWith(Matrix3x3_f::Identity(), {0, 0.5F, 0});
  set.adjustUsingBaseCalibration(base);
  set.adjustUsingBaseCalibration(base);
  EXPECT_EQ(set.getCamera("a")->getTranslation(), Vector3_f(1, 1, 0));
  EXPECT_EQ(set.getCamera("b")->getTranslation(), Vector3_f(-1, 0, 0));
  EXPECT_EQ(set.getRobotCalibration().camera_calibration(0).extrinsics().a(7), 1000);
}

TEST(BaseAdjustment, EntriesOfOneNameMoveTheirCameraOnceEach) {
  CameraParametersSet set;
  ASSERT_TRUE(set.loadFromProto(robotOf({cameraAt("a", Matrix3x3_f::Identity(), {1, 0, 0}),
                                         cameraAt("a", Matrix3x3_f::Identity(), {2, 0, 0})})));
  set.adjustUsingBaseCalibration(baseWith(Matrix3x3_f::Identity(), {0, 0.5F, 0}));
  // The camera is the second entry's; each entry receives the pose after its own turn.
  EXPECT_EQ(set.getCamera("a")->getTranslation(), Vector3_f(2, 1, 0));
  const RobotCalibration& robot = set.getRobotCalibration();
  EXPECT_EQ(robot.camera_calibration(0).extrinsics().a(3), 2000);
  EXPECT_EQ(robot.camera_calibration(0).extrinsics().a(7), 500);
  EXPECT_EQ(robot.camera_calibration(1).extrinsics().a(3), 2000);
  EXPECT_EQ(robot.camera_calibration(1).extrinsics().a(7), 1000);
}

TEST(BaseAdjustment, CopiesStartFromTheMovedPoses) {
  CameraParametersSet set;
  ASSERT_TRUE(set.loadFromProto(robotOf({cameraAt("a", quarterTurnAboutZ(), {1, 2, 3})})));
  set.adjustUsingBaseCalibration(baseWith(quarterTurnAboutZ(), {0.25F, 0.5F, 0}));
  const CameraParametersSet copy(set);
  EXPECT_EQ(copy.getCamera("a")->getTransform().transform,
            set.getCamera("a")->getTransform().transform);
  // So does a saved and loaded message.
  CameraParametersSet loaded;
  ASSERT_TRUE(loaded.loadFromString(set.getRobotCalibration().SerializeAsString()));
  EXPECT_EQ(loaded.getCamera("a")->getTransform().transform,
            set.getCamera("a")->getTransform().transform);
  ASSERT_TRUE(loaded.loadFromString(set.getRobotCalibration().DebugString()));
  EXPECT_EQ(loaded.getCamera("a")->getTransform().transform,
            set.getCamera("a")->getTransform().transform);
}

TEST(BaseAdjustment, CamerasHeldByCallersMove) {
  CameraParametersSet set;
  ASSERT_TRUE(set.loadFromProto(robotOf({cameraAt("a", Matrix3x3_f::Identity(), {1, 0, 0})})));
  const auto held = set.getCamera("a");
  set.adjustUsingBaseCalibration(baseWith(Matrix3x3_f::Identity(), {0, 0.5F, 0}));
  EXPECT_EQ(held->getTranslation(), Vector3_f(1, 0.5F, 0));
}

TEST(BaseAdjustment, NoCamerasMessageFollowsTheSets) {
  const CameraCalibration loaded = cameraAt("a", Matrix3x3_f::Identity(), {1, 0, 0});
  CameraParametersSet set;
  ASSERT_TRUE(set.loadFromProto(robotOf({loaded})));
  const std::shared_ptr<CameraParameters> first = set.getCamera("a");
  ASSERT_TRUE(set.readProto());  // replaces it by a camera of the same message
  const std::shared_ptr<CameraParameters> second = set.getCamera("a");
  ASSERT_NE(first, second);
  set.adjustUsingBaseCalibration(baseWith(Matrix3x3_f::Identity(), {0, 0.5F, 0}));
  EXPECT_EQ(set.getRobotCalibration().camera_calibration(0).extrinsics().a(7), 500);
  EXPECT_EQ(second->getTranslation(), Vector3_f(1, 0.5F, 0));
  EXPECT_EQ(first->getTranslation(), Vector3_f(1, 0, 0));
  for (const auto& camera : {first, second}) {
    EXPECT_TRUE(MessageDifferencer::Equals(camera->getCalibration(), loaded));
  }
}

TEST(BaseAdjustment, TextLoadsKeepTheirMessagesToo) {
  const CameraCalibration loaded = cameraAt("a", Matrix3x3_f::Identity(), {1, 0, 0});
  CameraParametersSet set;
  ASSERT_TRUE(set.loadFromString(robotOf({loaded}).DebugString()));
  const RobotCalibration& message = set.getRobotCalibration();
  set.adjustUsingBaseCalibration(baseWith(Matrix3x3_f::Identity(), {0, 0.5F, 0}));
  EXPECT_EQ(&set.getRobotCalibration(), &message);  // a reference to it stays good
  EXPECT_EQ(message.camera_calibration(0).extrinsics().a(7), 500);
  EXPECT_TRUE(MessageDifferencer::Equals(set.getCamera("a")->getCalibration(), loaded));
}

TEST(BaseAdjustment, OnlyCamerasOfTheStoredMessageMove) {
  CameraParametersSet set;
  ASSERT_TRUE(set.loadFromProto(robotOf({cameraAt("old", Matrix3x3_f::Identity(), {1, 0, 0})})));
  ASSERT_TRUE(set.loadFromProto(robotOf({cameraAt("new", Matrix3x3_f::Identity(), {1, 0, 0})})));
  set.adjustUsingBaseCalibration(baseWith(Matrix3x3_f::Identity(), {0, 0.5F, 0}));
  EXPECT_EQ(set.getCamera("old")->getTranslation(), Vector3_f(1, 0, 0));
  EXPECT_EQ(set.getCamera("new")->getTranslation(), Vector3_f(1, 0.5F, 0));
}

TEST(BaseAdjustment, EmptyMessage) {
  CameraParametersSet set;
  ASSERT_TRUE(set.loadFromString(""));
  const Matrix4x4_f before = set.getCamera("head_camera")->getTransform().transform;
  set.adjustUsingBaseCalibration(baseWith(Matrix3x3_f::Identity(), {0, 0.5F, 0}));
  EXPECT_EQ(set.getCamera("head_camera")->getTransform().transform, before);
}

}  // namespace
}  // namespace norv::calibration
