// Input that is truncated, random, gigantic or hostile, with its exact outcome.

#include <gmock/gmock.h>
#include <google/protobuf/util/message_differencer.h>
#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <random>
#include <string>

#include "calibration_common/camera_parameters.h"
#include "testing/calibration_messages.h"
#include "testing/log_capture.h"

namespace norv::calibration {
namespace {

using google::protobuf::util::MessageDifferencer;
using ::testing::ElementsAre;
using testing::exampleCamera;
using ::testing::IsEmpty;
using testing::lines;
using testing::LogLine;
using testing::robotOf;
using testing::ScopedLogCapture;

const LogLine kDefaultsLine = {3, "camera_parameters", "Loading default camera calibration."};

/// A set, a default one to compare with, and a capture of what is logged at warning level and
/// worse.
class BadInputTest : public ::testing::Test {
 public:
  /// Expects that `data` loads, without a line.
  void expectLoads(const std::string& data) {
    EXPECT_TRUE(set_.loadFromString(data));
    EXPECT_THAT(lines(capture_.take()), IsEmpty());
  }

  /// Expects that `data` is no calibration at all: one line, and the defaults.
  void expectRefused(const std::string& data) {
    EXPECT_FALSE(set_.loadFromString(data));
    EXPECT_THAT(lines(capture_.take()), ElementsAre(kDefaultsLine));
    EXPECT_TRUE(
        MessageDifferencer::Equals(set_.getRobotCalibration(), defaults_.getRobotCalibration()));
  }

  CameraParametersSet defaults_;
  CameraParametersSet set_;
  ScopedLogCapture capture_{kLogWarning};
};

TEST_F(BadInputTest, TruncatedBinary) {
  const std::string one = robotOf({exampleCamera("a", "any")}).SerializeAsString();
  const std::string both =
      robotOf({exampleCamera("a", "any"), exampleCamera("b", "mk513n")}).SerializeAsString();
  // A binary calibration is whole where one of its cameras ends. Its first byte alone is a line
  // feed, and that an empty text.
  for (std::size_t length = 0; length <= both.size(); ++length) {
    SCOPED_TRACE(length);
    if (length <= 1 || length == one.size() || length == both.size()) {
      expectLoads(both.substr(0, length));
    } else {
      expectRefused(both.substr(0, length));
    }
  }
}

TEST_F(BadInputTest, TruncatedText) {
  const std::string text = robotOf({exampleCamera("a", "any")}).DebugString();
  const std::size_t end = text.rfind('}');
  for (std::size_t length = 1; length <= end; ++length) {
    SCOPED_TRACE(length);
    expectRefused(text.substr(0, length));
  }
  expectLoads(text.substr(0, end + 1));
}

TEST_F(BadInputTest, FlippedBits) {
  const RobotCalibration robot = robotOf({exampleCamera("a", "any"), exampleCamera("b", "b910")});
  const std::string good = robot.SerializeAsString();
  int loaded = 0;
  for (std::size_t bit = 0; bit < 8 * good.size(); bit += 3) {
    std::string data = good;
    data[bit / 8] = static_cast<char>(data[bit / 8] ^ (1 << (bit % 8)));
    RobotCalibration parsed;
    const bool parses = parsed.ParseFromString(data);
    if (set_.loadFromString(data)) {
      ++loaded;
      ASSERT_TRUE(parses) << bit;
      EXPECT_EQ(set_.getRobotCalibration().SerializeAsString(), parsed.SerializeAsString()) << bit;
      EXPECT_THAT(lines(capture_.take()), IsEmpty()) << bit;
    } else {
      // Either no calibration, or one with a camera that is rejected, which says so first.
      const auto logs = lines(capture_.take());
      ASSERT_FALSE(logs.empty()) << bit;
      EXPECT_EQ(logs.back(), kDefaultsLine) << bit;
      EXPECT_LE(logs.size(), 2U) << bit;
      EXPECT_TRUE(
          MessageDifferencer::Equals(set_.getRobotCalibration(), defaults_.getRobotCalibration()));
    }
  }
  EXPECT_GT(loaded, 100);
}

TEST_F(BadInputTest, RandomBytes) {
  std::mt19937_64 random(99);
  std::uniform_int_distribution<int> byte(0, 255);
  std::uniform_int_distribution<std::size_t> length(1, 300);
  int refused = 0;
  for (int trial = 0; trial < 300; ++trial) {
    std::string data(length(random), '\0');
    for (char& c : data) c = static_cast<char>(byte(random));
    RobotCalibration parsed;
    if (parsed.ParseFromString(data)) continue;
    expectRefused(data);
    ++refused;
  }
  EXPECT_GT(refused, 290);
}

TEST_F(BadInputTest, HostileTexts) {
  expectRefused(std::string(100000, '{'));
  expectRefused("camera_calibration { name: \"" + std::string(1000000, 'x'));
  expectRefused("camera_calibration { extrinsics { a: 1e999999999999 } } camera_calibration");
  expectRefused("camera_calibration { intrinsics { width: 99999999999 } }");
  expectRefused("camera_calibration { intrinsics { width: 1 width: 2 } }");
  expectRefused("camera_calibration { name: \"\xff\xfe\" ");
  expectRefused(std::string("camera_calibration\0{}", 21));
  expectRefused("[type.example/norv.calibration.RobotCalibration] { }");
  expectRefused("camera_calibration { unknown: 1 }");
  expectRefused("camera_calibration { [extension]: 1 }");
}

TEST_F(BadInputTest, HostileBinaries) {
  // A length beyond the end, a length of 4 GiB, an endless varint, unknown groups without end.
  expectRefused(std::string("\x0a\x7f", 2));
  expectRefused(std::string("\x0a\xff\xff\xff\xff\x0f", 6));
  expectRefused(std::string("\x0a\xff\xff\xff\xff\xff\xff\xff\xff\xff\xff\xff", 12));
  expectRefused(std::string(1000000, '\x7b'));
  expectRefused(std::string("\x00\x00", 2));  // field number 0
}

TEST_F(BadInputTest, UnknownFieldsAreKeptInBinary) {
  RobotCalibration robot = robotOf({exampleCamera("a", "any")});
  RobotCalibration::GetReflection()->MutableUnknownFields(&robot)->AddVarint(1000, 7);
  CameraCalibration* camera = robot.mutable_camera_calibration(0);
  CameraCalibration::GetReflection()->MutableUnknownFields(camera)->AddLengthDelimited(1001,
                                                                                       "kept");
  expectLoads(robot.SerializeAsString());
  EXPECT_EQ(set_.getRobotCalibration().SerializeAsString(), robot.SerializeAsString());
  EXPECT_EQ(set_.getCamera("a")->getCalibration().SerializeAsString(), camera->SerializeAsString());
}

TEST_F(BadInputTest, ShortLists) {
  for (int list = 0; list < 3; ++list) {
    for (int size = 0; size < (list == 0 ? 6 : list == 1 ? 2 : 12); ++size) {
      CameraCalibration camera = exampleCamera("a", "any");
      auto* values = list == 0   ? camera.mutable_intrinsics()->mutable_radial()
                     : list == 1 ? camera.mutable_intrinsics()->mutable_tangential()
                                 : camera.mutable_extrinsics()->mutable_a();
      values->Truncate(size);
      EXPECT_FALSE(set_.loadFromProto(robotOf({camera})));
      EXPECT_THAT(lines(capture_.take()),
                  ElementsAre(LogLine{2, "camera_parameters",
                                      "Parameter list too short in " + camera.DebugString()},
                              kDefaultsLine));
      EXPECT_EQ(set_.getCamera("a"), nullptr);
    }
  }
}

TEST_F(BadInputTest, AbsentSubMessages) {
  EXPECT_FALSE(set_.loadFromString("camera_calibration {}"));
  EXPECT_THAT(
      lines(capture_.take()),
      ElementsAre(LogLine{2, "camera_parameters", "Parameter list too short in "}, kDefaultsLine));
}

TEST_F(BadInputTest, SizeMissingForAModelThatIsNotKnown) {
  CameraCalibration camera = exampleCamera("a", "any");
  camera.mutable_intrinsics()->clear_height();
  EXPECT_FALSE(set_.loadFromProto(robotOf({camera})));
  EXPECT_THAT(lines(capture_.take()), ElementsAre(kDefaultsLine));
}

TEST_F(BadInputTest, HeadCameraWithoutOrWithTooFewSamplePoints) {
  CameraCalibration camera = exampleCamera("a", "mk512h");
  EXPECT_FALSE(set_.loadFromProto(robotOf({camera})));
  EXPECT_THAT(lines(capture_.take()),
              ElementsAre(LogLine{2, "camera_parameters",
                                  "Can not find calibration sample points to recompute intrinsics "
                                  "parameters."},
                          kDefaultsLine));
  for (int i = 0; i < 3; ++i) {
    SamplePoint* sample = camera.mutable_intrinsics()->add_samples();
    sample->set_image_x(static_cast<float>(100 * i));
    sample->set_image_y(static_cast<float>(i * i));
    sample->set_model_x(static_cast<float>(i));
    sample->set_model_y(static_cast<float>(i * i));
  }
  EXPECT_FALSE(set_.loadFromProto(robotOf({camera})));
  EXPECT_THAT(lines(capture_.take()),
              ElementsAre(LogLine{2, "camera_parameters",
                                  "Error recomputing calibration. Error per point=inf"},
                          kDefaultsLine));
}

TEST_F(BadInputTest, HeadCameraWithSamplePointsThatAreNotFinite) {
  CameraCalibration camera = exampleCamera("a", "mk512h");
  for (const float bad :
       {std::numeric_limits<float>::quiet_NaN(), std::numeric_limits<float>::infinity()}) {
    camera.mutable_intrinsics()->clear_samples();
    for (int i = 0; i < 50; ++i) {
      SamplePoint* sample = camera.mutable_intrinsics()->add_samples();
      sample->set_image_x(bad);
      sample->set_image_y(static_cast<float>(i));
      sample->set_model_x(static_cast<float>(i));
      sample->set_model_y(bad);
    }
    EXPECT_FALSE(set_.loadFromProto(robotOf({camera})));
    EXPECT_THAT(lines(capture_.take()),
                ElementsAre(LogLine{2, "camera_parameters",
                                    "Error recomputing calibration. Error per point=inf"},
                            kDefaultsLine));
  }
}

TEST_F(BadInputTest, NotANumberEverywhere) {
  const double nan = std::numeric_limits<double>::quiet_NaN();
  CameraCalibration camera = exampleCamera("a", "b910");
  for (double& value : *camera.mutable_extrinsics()->mutable_a()) value = nan;
  for (double& value : *camera.mutable_intrinsics()->mutable_radial()) value = nan;
  for (double& value : *camera.mutable_intrinsics()->mutable_tangential()) value = nan;
  camera.mutable_intrinsics()->set_fx(nan);
  camera.mutable_intrinsics()->set_fy(nan);
  camera.mutable_intrinsics()->set_skew(nan);
  camera.mutable_intrinsics()->set_cx(nan);
  camera.mutable_intrinsics()->set_cy(nan);
  for (const std::string& data :
       {robotOf({camera}).SerializeAsString(), robotOf({camera}).DebugString()}) {
    expectLoads(data);
    const auto loaded = set_.getCamera("a");
    EXPECT_TRUE(std::isnan(loaded->getIntrinsics(640, 480)(0, 0)));
    EXPECT_EQ(loaded->getIntrinsics(640, 480)(2, 2), 1);
    EXPECT_TRUE(std::isnan(loaded->getTransform().inverse(0, 0)));
    EXPECT_EQ(loaded->getTransform().transform(3, 3), 1);
  }
}

TEST_F(BadInputTest, ManyCameras) {
  constexpr int kCount = 50000;
  RobotCalibration robot;
  for (int i = 0; i < kCount; ++i) {
    *robot.add_camera_calibration() = exampleCamera("camera " + std::to_string(i), "mk513n");
  }
  expectLoads(robot.SerializeAsString());
  EXPECT_EQ(set_.getCameraNames().size(), kCount + 2U);
  EXPECT_NE(set_.getCamera("camera 0"), nullptr);
  EXPECT_NE(set_.getCamera("camera 49999"), nullptr);
  // The last of many is bad: those before it have been loaded by then.
  robot.mutable_camera_calibration(kCount - 1)->clear_extrinsics();
  CameraParametersSet other;
  EXPECT_FALSE(other.loadFromProto(robot));
  EXPECT_EQ(other.getCameraNames().size(), kCount - 1 + 2U);
  EXPECT_EQ(lines(capture_.take()).size(), 2U);
}

TEST_F(BadInputTest, ManyCamerasOfOneName) {
  RobotCalibration robot;
  for (int i = 0; i < 1000; ++i) {
    CameraCalibration camera = exampleCamera("same", "any");
    camera.mutable_intrinsics()->set_fx(i);
    *robot.add_camera_calibration() = camera;
  }
  expectLoads(robot.SerializeAsString());
  EXPECT_EQ(set_.getCamera("same")->getFullFrame().fx, 999);
  EXPECT_EQ(set_.getCameraNames().size(), 3U);
}

TEST_F(BadInputTest, ManySamplePoints) {
  CameraCalibration camera = exampleCamera("a", "mk513n");
  for (int i = 0; i < 1000000; ++i) {
    camera.mutable_intrinsics()->add_samples()->set_image_x(static_cast<float>(i));
  }
  expectLoads(robotOf({camera}).SerializeAsString());
  EXPECT_EQ(set_.getCamera("a")->getCalibration().intrinsics().samples_size(), 1000000);
}

TEST_F(BadInputTest, ManySamplePointsOfACameraThatIsFittedAgain) {
  RobotCalibration robot = CameraParametersSet().getRobotCalibration();
  ASSERT_EQ(robot.camera_calibration(0).name(), "head_camera");
  CameraIntrinsics* stored = robot.mutable_camera_calibration(0)->mutable_intrinsics();
  const auto samples = stored->samples();
  while (stored->samples_size() < 1000000) stored->mutable_samples()->MergeFrom(samples);
  const auto before = set_.getCamera("head_camera")->getIntrinsics(640, 480);
  expectLoads(robot.SerializeAsString());
  // The same points again and again make the same camera, but for the weights that a random
  // selection gives to their rounding.
  const auto after = set_.getCamera("head_camera")->getIntrinsics(640, 480);
  EXPECT_LT((after - before).cwiseAbs().maxCoeff(), 0.2F);  // measured: 0.05 px
}

TEST_F(BadInputTest, ManyRadialValues) {
  CameraCalibration camera = exampleCamera("a", "any");
  for (int i = 0; i < 1000000; ++i) camera.mutable_intrinsics()->add_radial(99);
  expectLoads(robotOf({camera}).SerializeAsString());
  EXPECT_THAT(set_.getCamera("a")->getFullFrameDistortion(), ElementsAre(1, 2, 7, 8, 3, 4, 5, 6));
}

TEST_F(BadInputTest, LoadsAfterFailuresAreUnharmed) {
  const std::string good = robotOf({exampleCamera("a", "any")}).SerializeAsString();
  for (int round = 0; round < 20; ++round) {
    expectRefused("nonsense");
    expectLoads(good);
    EXPECT_TRUE(MessageDifferencer::Equals(set_.getRobotCalibration(),
                                           robotOf({exampleCamera("a", "any")})));
  }
}

}  // namespace
}  // namespace norv::calibration
