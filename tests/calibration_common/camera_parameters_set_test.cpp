#include <gmock/gmock.h>
#include <google/protobuf/util/message_differencer.h>
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <thread>
#include <type_traits>

#include "calibration_common/camera_parameters.h"
#include "testing/calibration_messages.h"
#include "testing/log_capture.h"
#include "testing/temporary_folder.h"

namespace norv::calibration {
namespace {

using google::protobuf::util::MessageDifferencer;
using ::testing::ElementsAre;
using testing::exampleCamera;
using testing::lines;
using testing::LogLine;
using testing::robotOf;
using testing::ScopedLogCapture;
using testing::TemporaryFolder;

static_assert(!std::is_copy_assignable_v<CameraParametersSet>);

const LogLine kDefaultsLine = {3, "camera_parameters", "Loading default camera calibration."};

/// A camera that is told apart by its focal length.
CameraCalibration cameraWith(const std::string& name, double fx) {
  CameraCalibration camera = exampleCamera(name, "any");
  camera.mutable_intrinsics()->set_fx(fx);
  return camera;
}

CameraCalibration rejectedCamera(const std::string& name) {
  CameraCalibration camera = exampleCamera(name, "any");
  camera.clear_extrinsics();
  return camera;
}

float fxOf(const CameraParametersSet& set, const std::string& name) {
  const std::shared_ptr<CameraParameters> camera = set.getCamera(name);
  return camera != nullptr ? camera->getFullFrame().fx : -1;
}

/// The defaults are in force: their message is the stored one and all their cameras are there.
void expectDefaults(const CameraParametersSet& set) {
  const CameraParametersSet defaults;
  EXPECT_TRUE(
      MessageDifferencer::Equals(set.getRobotCalibration(), defaults.getRobotCalibration()));
  for (const std::string& name : defaults.getCameraNames()) {
    ASSERT_NE(set.getCamera(name), nullptr);
    EXPECT_TRUE(MessageDifferencer::Equals(set.getCamera(name)->getCalibration(),
                                           defaults.getCamera(name)->getCalibration()));
  }
}

TEST(CameraParametersSet, HoldsTheDefaultsAtFirst) {
  const CameraParametersSet set;
  EXPECT_THAT(set.getCameraNames(), ElementsAre("head_camera", "navigation_camera"));
  EXPECT_EQ(set.getCamera("head_camera")->getModel(), "mk512h");
  EXPECT_EQ(set.getCamera("navigation_camera")->getModel(), "mk513n");
  EXPECT_EQ(set.getRobotCalibration().camera_calibration_size(), 2);
}

/// Constructed before main.
const CameraParametersSet global_set;

TEST(CameraParametersSet, GlobalObjectsConstruct) { expectDefaults(global_set); }

TEST(CameraParametersSet, SetDefaultSucceedsAndReturnsFalse) {
  CameraParametersSet set;
  ScopedLogCapture capture(kLogWarning);
  EXPECT_FALSE(set.setDefault());
  EXPECT_TRUE(capture.take().empty());
  expectDefaults(set);
}

TEST(CameraParametersSet, BinaryAndTextLoadTheSameCameras) {
  const RobotCalibration robot = robotOf({cameraWith("a", 1), exampleCamera("b", "b910")});
  for (const std::string& data : {robot.SerializeAsString(), robot.DebugString()}) {
    CameraParametersSet set;
    ScopedLogCapture capture(kLogWarning);
    EXPECT_TRUE(set.loadFromString(data));
    EXPECT_TRUE(capture.take().empty());
    EXPECT_TRUE(MessageDifferencer::Equals(set.getRobotCalibration(), robot));
    EXPECT_EQ(fxOf(set, "a"), 1);
    EXPECT_EQ(set.getCamera("b")->getIntrinsicsTable().size(), 4U);
    EXPECT_THAT(set.getCameraNames(), ElementsAre("a", "b", "head_camera", "navigation_camera"));
  }
}

TEST(CameraParametersSet, DataOfNeitherFormat) {
  CameraParametersSet set;
  ASSERT_TRUE(set.loadFromProto(robotOf({cameraWith("a", 1)})));
  ScopedLogCapture capture(kLogWarning);
  EXPECT_FALSE(set.loadFromString("neither binary nor text"));
  const auto logs = capture.take();
  EXPECT_THAT(lines(logs), ElementsAre(kDefaultsLine));
  EXPECT_EQ(logs[0].function,
            "bool norv::calibration::CameraParametersSet::loadFromString(const string&)");
  EXPECT_EQ(logs[0].file, "calibration_common/camera_parameters.cpp");
  expectDefaults(set);
  EXPECT_EQ(fxOf(set, "a"), 1);  // from the earlier load
}

TEST(CameraParametersSet, RejectedCameraInAString) {
  CameraParametersSet set;
  const RobotCalibration robot =
      robotOf({cameraWith("before", 1), rejectedCamera("bad"), cameraWith("after", 2)});
  ScopedLogCapture capture(kLogWarning);
  EXPECT_FALSE(set.loadFromString(robot.SerializeAsString()));
  const auto logs = capture.take();
  EXPECT_THAT(lines(logs), ElementsAre(LogLine{2, "camera_parameters",
                                               "Parameter list too short in " +
                                                   robot.camera_calibration(1).DebugString()},
                                       kDefaultsLine));
  EXPECT_EQ(logs[1].function,
            "bool norv::calibration::CameraParametersSet::loadFromString(const string&)");
  expectDefaults(set);
  EXPECT_EQ(fxOf(set, "before"), 1);
  EXPECT_EQ(set.getCamera("bad"), nullptr);
  EXPECT_EQ(set.getCamera("after"), nullptr);
}

TEST(CameraParametersSet, TwoWarningsAreTwoStatements) {
  CameraParametersSet set;
  ScopedLogCapture capture(kLogWarning);
  set.loadFromString("neither");
  set.loadFromString(robotOf({rejectedCamera("bad")}).SerializeAsString());
  const auto logs = capture.takeUpTo(kLogWarning);
  ASSERT_EQ(logs.size(), 3U);
  EXPECT_NE(logs[0].line, logs[2].line);
}

TEST(CameraParametersSet, LoadFromProto) {
  CameraParametersSet set;
  const RobotCalibration robot = robotOf({cameraWith("a", 1)});
  EXPECT_TRUE(set.loadFromProto(robot));
  EXPECT_TRUE(MessageDifferencer::Equals(set.getRobotCalibration(), robot));
  ScopedLogCapture capture(kLogWarning);
  EXPECT_FALSE(set.loadFromProto(robotOf({rejectedCamera("bad")})));
  const auto logs = capture.take();
  ASSERT_EQ(logs.size(), 2U);
  EXPECT_EQ(lines(logs)[1], kDefaultsLine);
  EXPECT_EQ(logs[1].function,
            "bool norv::calibration::CameraParametersSet::loadFromProto("
            "const norv::calibration::RobotCalibration&)");
  expectDefaults(set);
}

TEST(CameraParametersSet, LoadFromItsOwnMessage) {
  CameraParametersSet set;
  ASSERT_TRUE(set.loadFromProto(robotOf({cameraWith("a", 1)})));
  EXPECT_TRUE(set.loadFromProto(set.getRobotCalibration()));
  EXPECT_EQ(fxOf(set, "a"), 1);
}

TEST(CameraParametersSet, LoadFromFile) {
  const TemporaryFolder folder;
  const RobotCalibration robot = robotOf({cameraWith("a", 1)});
  CameraParametersSet set;
  ScopedLogCapture capture(kLogWarning);
  EXPECT_TRUE(set.loadFromFile(folder.write("binary", robot.SerializeAsString())));
  EXPECT_EQ(fxOf(set, "a"), 1);
  EXPECT_TRUE(set.loadFromFile(folder.write("text", robotOf({cameraWith("a", 2)}).DebugString())));
  EXPECT_EQ(fxOf(set, "a"), 2);
  EXPECT_TRUE(capture.take().empty());
}

TEST(CameraParametersSet, MissingFile) {
  const TemporaryFolder folder;
  CameraParametersSet set;
  ASSERT_TRUE(set.loadFromProto(robotOf({cameraWith("a", 1)})));
  ScopedLogCapture capture(kLogWarning);
  EXPECT_FALSE(set.loadFromFile(folder.path("missing")));
  const auto logs = capture.take();
  EXPECT_THAT(lines(logs),
              ElementsAre(LogLine{2, "camera_parameters", "Can't open " + folder.path("missing")}));
  EXPECT_EQ(logs[0].function,
            "bool norv::calibration::CameraParametersSet::loadFromFile(const string&)");
  expectDefaults(set);
}

TEST(CameraParametersSet, UnparsableFile) {
  const TemporaryFolder folder;
  const std::string path = folder.write("bad", "neither binary nor text");
  CameraParametersSet set;
  ScopedLogCapture capture(kLogWarning);
  EXPECT_FALSE(set.loadFromFile(path));
  const auto logs = capture.take();
  EXPECT_THAT(lines(logs),
              ElementsAre(kDefaultsLine, LogLine{2, "camera_parameters",
                                                 "Error parsing robot calibration from " + path}));
  EXPECT_EQ(logs[1].function,
            "bool norv::calibration::CameraParametersSet::loadFromFile(const string&)");
  expectDefaults(set);
}

TEST(CameraParametersSet, UnparsableFileLoadsTheDefaultsTwice) {
  const TemporaryFolder folder;
  const std::string path = folder.write("bad", "neither binary nor text");
  CameraParametersSet set;
  ScopedLogCapture capture(kLogInfo);
  EXPECT_FALSE(set.loadFromFile(path));
  int loads = 0;
  for (const auto& log : capture.take()) {
    if (log.text == "Using Corvel nav camera model.") ++loads;
  }
  EXPECT_EQ(loads, 2);
}

TEST(CameraParametersSet, FileWithARejectedCamera) {
  const TemporaryFolder folder;
  const RobotCalibration robot = robotOf({rejectedCamera("bad")});
  const std::string path = folder.write("bad", robot.SerializeAsString());
  CameraParametersSet set;
  ScopedLogCapture capture(kLogWarning);
  EXPECT_FALSE(set.loadFromFile(path));
  EXPECT_THAT(
      lines(capture.take()),
      ElementsAre(
          LogLine{2, "camera_parameters",
                  "Parameter list too short in " + robot.camera_calibration(0).DebugString()},
          kDefaultsLine,
          LogLine{2, "camera_parameters", "Error parsing robot calibration from " + path}));
  expectDefaults(set);
}

TEST(CameraParametersSet, FolderIsNoFile) {
  const TemporaryFolder folder;
  CameraParametersSet set;
  ScopedLogCapture capture(kLogWarning);
  EXPECT_FALSE(set.loadFromFile(folder.path()));
  EXPECT_THAT(lines(capture.take()),
              ElementsAre(LogLine{2, "camera_parameters", "Can't open " + folder.path()}));
  expectDefaults(set);
}

TEST(CameraParametersSet, EmptyCalibrationLoadsAndChangesNoCamera) {
  const TemporaryFolder folder;
  CameraParametersSet set;
  const std::shared_ptr<CameraParameters> before = set.getCamera("navigation_camera");
  ScopedLogCapture capture(kLogDebug);
  EXPECT_TRUE(set.loadFromProto(RobotCalibration()));
  EXPECT_TRUE(set.loadFromString(""));
  EXPECT_TRUE(set.loadFromFile(folder.write("empty", "")));
  EXPECT_TRUE(set.readProto());
  EXPECT_TRUE(capture.take().empty());
  EXPECT_EQ(set.getCamera("navigation_camera"), before);
  EXPECT_THAT(set.getCameraNames(), ElementsAre("head_camera", "navigation_camera"));
  EXPECT_EQ(set.getRobotCalibration().camera_calibration_size(), 0);
}

TEST(CameraParametersSet, LaterEntryOfANameWins) {
  CameraParametersSet set;
  EXPECT_TRUE(
      set.loadFromProto(robotOf({cameraWith("a", 1), cameraWith("b", 2), cameraWith("a", 3)})));
  EXPECT_EQ(fxOf(set, "a"), 3);
  EXPECT_EQ(fxOf(set, "b"), 2);
  EXPECT_EQ(set.getRobotCalibration().camera_calibration_size(), 3);
}

TEST(CameraParametersSet, CamerasOfEarlierLoadsStay) {
  CameraParametersSet set;
  ASSERT_TRUE(set.loadFromProto(robotOf({cameraWith("a", 1)})));
  const std::shared_ptr<CameraParameters> a = set.getCamera("a");
  ASSERT_TRUE(set.loadFromProto(robotOf({cameraWith("b", 2)})));
  EXPECT_EQ(set.getCamera("a"), a);
  EXPECT_EQ(fxOf(set, "b"), 2);
}

TEST(CameraParametersSet, HeldCamerasOutliveReloadsAndTheSet) {
  std::shared_ptr<CameraParameters> held;
  {
    CameraParametersSet set;
    ASSERT_TRUE(set.loadFromProto(robotOf({cameraWith("a", 1)})));
    held = set.getCamera("a");
    ASSERT_TRUE(set.loadFromProto(robotOf({cameraWith("a", 2)})));
    EXPECT_EQ(fxOf(set, "a"), 2);
  }
  EXPECT_EQ(held->getFullFrame().fx, 1);
  EXPECT_EQ(held.use_count(), 1);
}

TEST(CameraParametersSet, UnknownNamesAreNotAdded) {
  const CameraParametersSet set;
  ScopedLogCapture capture;
  for (const char* name : {"", "HEAD_CAMERA", "head_camera ", "head"}) {
    EXPECT_EQ(set.getCamera(name), nullptr);
  }
  EXPECT_TRUE(capture.take().empty());
  EXPECT_THAT(set.getCameraNames(), ElementsAre("head_camera", "navigation_camera"));
}

TEST(CameraParametersSet, NamesAreBytes) {
  const std::string with_null("a\0b", 3);
  CameraParametersSet set;
  EXPECT_TRUE(
      set.loadFromProto(robotOf({cameraWith(with_null, 1), cameraWith("a", 2), cameraWith("", 3),
                                 cameraWith("\xc3\xa4", 4), cameraWith("B", 5)})));
  EXPECT_EQ(fxOf(set, with_null), 1);
  EXPECT_EQ(fxOf(set, "a"), 2);
  EXPECT_EQ(fxOf(set, ""), 3);
  EXPECT_THAT(set.getCameraNames(),
              ElementsAre("", "B", "a", with_null, "head_camera", "navigation_camera", "\xc3\xa4"));
}

TEST(CameraParametersSet, CopyAnswersLikeItsSourceWithCamerasOfItsOwn) {
  CameraParametersSet source;
  ASSERT_TRUE(source.loadFromProto(robotOf({cameraWith("a", 1), exampleCamera("b", "b910")})));
  const CameraParametersSet copy(source);
  EXPECT_TRUE(MessageDifferencer::Equals(copy.getRobotCalibration(), source.getRobotCalibration()));
  EXPECT_NE(&copy.getRobotCalibration(), &source.getRobotCalibration());
  for (const char* name : {"a", "b"}) {
    ASSERT_NE(copy.getCamera(name), nullptr);
    EXPECT_NE(copy.getCamera(name), source.getCamera(name));
    EXPECT_EQ(copy.getCamera(name)->getIntrinsics(640, 480),
              source.getCamera(name)->getIntrinsics(640, 480));
    EXPECT_EQ(copy.getCamera(name)->getTransform().transform,
              source.getCamera(name)->getTransform().transform);
  }
  // What earlier loads left is not part of the stored message.
  EXPECT_THAT(copy.getCameraNames(), ElementsAre("a", "b"));
  // The source may change without the copy.
  ASSERT_TRUE(source.loadFromProto(robotOf({cameraWith("a", 9)})));
  EXPECT_EQ(fxOf(copy, "a"), 1);
}

TEST(CameraParametersSet, CamerasAreUsableWhileTheSetIsReloaded) {
  CameraParametersSet set;
  ASSERT_TRUE(set.loadFromProto(robotOf({exampleCamera("a", "b910")})));
  const std::shared_ptr<CameraParameters> held = set.getCamera("a");
  std::thread user([&] {
    for (int i = 0; i < 2000; ++i) {
      EXPECT_EQ(held->getIntrinsics(800, 600)(2, 2), 1);
      // NOLINTNEXTLINE(performance-unnecessary-copy-initialization): for its reference count
      const std::shared_ptr<CameraParameters> copy = held;
      EXPECT_EQ(copy->getModel(), "b910");
    }
  });
  for (int i = 0; i < 200; ++i) {
    EXPECT_TRUE(set.loadFromProto(robotOf({exampleCamera("a", "b910")})));
  }
  user.join();
}

TEST(CameraParametersSet, SavedMessageLoadsAgain) {
  const CameraParametersSet defaults;
  CameraParametersSet set;
  ASSERT_TRUE(set.loadFromString(defaults.getRobotCalibration().SerializeAsString()));
  expectDefaults(set);
  ASSERT_TRUE(set.loadFromString(defaults.getRobotCalibration().DebugString()));
  expectDefaults(set);
}

}  // namespace
}  // namespace norv::calibration
