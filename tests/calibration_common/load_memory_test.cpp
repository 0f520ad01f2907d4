// What loads keep in memory, and what becomes of an object when a load runs out of it. The program
// brings small compiled-in files of its own.

#include <gmock/gmock.h>
#include <google/protobuf/util/message_differencer.h>
#include <gtest/gtest.h>

#include <functional>
#include <iterator>
#include <memory>
#include <new>
#include <string>
#include <vector>

#include "calibration_common/base_calibration_data.h"
#include "calibration_common/camera_parameters.h"
#include "calibration_common/load_report.h"
#include "support/logging.h"
#include "support/messages/embedded_files.h"
#include "testing/calibration_messages.h"
#include "testing/failing_allocations.h"
#include "testing/temporary_folder.h"

namespace norv {
namespace {

constexpr internal::EmbeddedFileEntry kFiles[] = {
    {"calibration/default_base_cal.txt",
     "wheel_base: 0.5 global_transform_adjustment {\n"
     "  global_transform { a: [1, 0, 0, 10, 0, 1, 0, 0, 0, 0, 1, 0] }\n"
     "  metadata { validity_key: \"a key that is too long for a string's own room\" }\n"
     "}\n"},
    {"calibration/default_head_cal.txt",
     "camera_calibration {\n"
     "  name: \"a default camera with a long name\" model: \"mk513n\"\n"
     "  intrinsics { fx: 1 fy: 1 radial: [0, 0, 0, 0, 0, 0] tangential: [0, 0] }\n"
     "  extrinsics { a: [1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0] }\n"
     "}\n"},
};

}  // namespace

internal::EmbeddedFileTable internal::embeddedFiles() { return {kFiles, std::size(kFiles)}; }

namespace calibration {
namespace {

using google::protobuf::util::MessageDifferencer;
using testing::exampleCamera;
using testing::LiveMemory;
using testing::liveMemory;
using testing::robotOf;
using testing::ScopedFailingAllocations;
using testing::TemporaryFolder;

constexpr const char* kLongName = "a camera whose name needs memory of its own";

/// Room for what does not grow with the load: buffers of the logger and of the standard library.
constexpr std::int64_t kSlackBytes = std::int64_t{64} * 1024;

RobotCalibration exampleRobot() {
  RobotCalibration robot = robotOf({exampleCamera("a", "b910"), exampleCamera(kLongName, "lab")});
  for (int i = 0; i < 20; ++i) {
    robot.mutable_camera_calibration(0)->mutable_intrinsics()->add_samples()->set_image_x(1);
  }
  return robot;
}

/// The same with unknown fields in every message, groups among them.
RobotCalibration unknownFields() {
  RobotCalibration robot = exampleRobot();
  for (CameraCalibration& camera : *robot.mutable_camera_calibration()) {
    CameraIntrinsics* intrinsics = camera.mutable_intrinsics();
    std::vector<google::protobuf::Message*> messages = {&camera, intrinsics,
                                                        camera.mutable_extrinsics()};
    for (SamplePoint& sample : *intrinsics->mutable_samples()) messages.push_back(&sample);
    for (google::protobuf::Message* message : messages) {
      google::protobuf::UnknownFieldSet* unknown =
          message->GetReflection()->MutableUnknownFields(message);
      unknown->AddLengthDelimited(2000)->assign(100, 'x');
      unknown->AddGroup(2001)->AddLengthDelimited(1)->assign(100, 'y');
    }
  }
  robot.mutable_unknown_fields()->AddLengthDelimited(2000)->assign(100, 'z');
  return robot;
}

/// A camera that is refused after one that is not.
RobotCalibration refusedRobot() {
  RobotCalibration robot = exampleRobot();
  robot.mutable_camera_calibration(1)->clear_extrinsics();
  return robot;
}

/// A set, and all that it answers.
struct SetState {
  explicit SetState(const CameraParametersSet& set)
      : message(&set.getRobotCalibration()), contents(*message), names(set.getCameraNames()) {
    for (const std::string& name : names) {
      cameras.push_back(set.getCamera(name));
      uses.push_back(cameras.back().use_count());
    }
  }

  const RobotCalibration* message;
  RobotCalibration contents;
  std::vector<std::string> names;
  std::vector<std::shared_ptr<CameraParameters>> cameras;
  std::vector<long> uses;
};

void expectUnchanged(const CameraParametersSet& set, const SetState& before) {
  ASSERT_EQ(&set.getRobotCalibration(), before.message);
  EXPECT_TRUE(MessageDifferencer::Equals(set.getRobotCalibration(), before.contents));
  ASSERT_EQ(set.getCameraNames(), before.names);
  for (std::size_t i = 0; i < before.names.size(); ++i) {
    EXPECT_EQ(set.getCamera(before.names[i]), before.cameras[i]);
    EXPECT_EQ(before.cameras[i].use_count(), before.uses[i]);
  }
}

using Load = std::function<void(CameraParametersSet*)>;

/// Whether `action` was refused the `nth` of its allocations.
bool runsOutOfMemory(int nth, const std::function<void()>& action) {
  const ScopedFailingAllocations failing(nth - 1, ScopedFailingAllocations::Failing::kOnce);
  try {
    action();
  } catch (const std::bad_alloc&) {
    return true;
  }
  return false;
}

/// Protocol Buffers makes an unknown field before the room for it in the list of them, and loses
/// the field when there is none. Texts have such fields too, as long as they are taken for binary.
constexpr std::int64_t kUnknownField = 1;

/// Lets each allocation of a load fail in turn. The set is then as it was, and nothing is lost but
/// `lost` blocks at most.
void expectLoadIsAllOrNothing(const Load& load, std::int64_t lost = 0) {
  CameraParametersSet set;
  ASSERT_TRUE(set.loadFromProto(robotOf({exampleCamera("a", "lab"), exampleCamera("z", "lab")})));
  load(&set);  // what is allocated once and for all
  ASSERT_TRUE(set.loadFromProto(robotOf({exampleCamera("a", "lab"), exampleCamera("y", "lab")})));
  const SetState before(set);
  int nth = 1;
  for (;; ++nth) {
    const std::int64_t blocks = liveMemory().blocks;
    if (!runsOutOfMemory(nth, [&] { load(&set); })) break;
    ASSERT_LE(liveMemory().blocks - blocks, lost) << "allocation " << nth;
    expectUnchanged(set, before);
  }
  EXPECT_GT(nth, 3);  // the load did allocate, and then it succeeded
  EXPECT_NE(&set.getRobotCalibration(), before.message);
}

class LoadMemory : public ::testing::Test {
 public:
  LoadMemory() {
    setLogLevel(nullptr, 0);
    // What is allocated once and for all, such as the descriptions of messages.
    const CameraParametersSet set;
    const BaseCalibrationData base;
  }
  ~LoadMemory() override { setLogLevel(nullptr, kLogWarning); }
};

TEST_F(LoadMemory, BinaryLoadIsAllOrNothing) {
  const std::string data = exampleRobot().SerializeAsString();
  expectLoadIsAllOrNothing([&](CameraParametersSet* set) { set->loadFromString(data); });
}

TEST_F(LoadMemory, TextLoadIsAllOrNothing) {
  const std::string data = exampleRobot().DebugString();
  expectLoadIsAllOrNothing([&](CameraParametersSet* set) { set->loadFromString(data); },
                           kUnknownField);
}

TEST_F(LoadMemory, LoadOfAMessageIsAllOrNothing) {
  const RobotCalibration robot = exampleRobot();
  expectLoadIsAllOrNothing([&](CameraParametersSet* set) { set->loadFromProto(robot); });
}

TEST_F(LoadMemory, LoadOfUnknownFieldsIsAllOrNothing) {
  const RobotCalibration robot = unknownFields();
  const std::string data = robot.SerializeAsString();
  expectLoadIsAllOrNothing([&](CameraParametersSet* set) { set->loadFromString(data); },
                           kUnknownField);
  expectLoadIsAllOrNothing([&](CameraParametersSet* set) { set->loadFromProto(robot); },
                           kUnknownField);
}

TEST_F(LoadMemory, LargeLoadIsAllOrNothing) {
  // Too large for the cameras to share it.
  RobotCalibration robot = unknownFields();
  robot.mutable_camera_calibration(0)->mutable_unknown_fields()->AddLengthDelimited(3)->assign(
      300000, 'x');
  const std::string data = robot.SerializeAsString();
  expectLoadIsAllOrNothing([&](CameraParametersSet* set) { set->loadFromString(data); },
                           kUnknownField);
}

TEST_F(LoadMemory, RefusedLoadIsAllOrNothing) {
  const std::string refused = refusedRobot().SerializeAsString();
  expectLoadIsAllOrNothing([&](CameraParametersSet* set) { set->loadFromString(refused); });
  expectLoadIsAllOrNothing([&](CameraParametersSet* set) { set->loadFromString("neither"); });
  const RobotCalibration robot = refusedRobot();
  expectLoadIsAllOrNothing([&](CameraParametersSet* set) { set->loadFromProto(robot); });
}

TEST_F(LoadMemory, LoadFromAFileIsAllOrNothing) {
  const TemporaryFolder folder;
  const std::string good = folder.write("good", exampleRobot().SerializeAsString());
  const std::string refused = folder.write("refused", refusedRobot().SerializeAsString());
  const std::string missing = folder.path("missing");
  for (const std::string& path : {good, refused, missing}) {
    expectLoadIsAllOrNothing([&](CameraParametersSet* set) { set->loadFromFile(path); });
  }
}

TEST_F(LoadMemory, ReportedLoadIsAllOrNothing) {
  const std::string texts[] = {exampleRobot().DebugString(), refusedRobot().DebugString(),
                               "neither"};
  LoadReport report;
  for (const std::string& text : texts) {
    expectLoadIsAllOrNothing([&](CameraParametersSet* set) { set->loadFromString(text, &report); },
                             kUnknownField);
  }
  const TemporaryFolder folder;
  for (const std::string& path : {folder.write("good", texts[0]), folder.path("missing")}) {
    expectLoadIsAllOrNothing([&](CameraParametersSet* set) { set->loadFromFile(path, &report); },
                             kUnknownField);
  }
}

TEST_F(LoadMemory, DefaultAndRebuildingAreAllOrNothing) {
  expectLoadIsAllOrNothing([](CameraParametersSet* set) { set->setDefault(); });
  expectLoadIsAllOrNothing([](CameraParametersSet* set) { set->readProto(); });
}

TEST_F(LoadMemory, NothingOfAnUnfinishedCopyIsLost) {
  for (const RobotCalibration& robot : {exampleRobot(), unknownFields()}) {
    CameraParametersSet set;
    ASSERT_TRUE(set.loadFromProto(robot));
    const std::int64_t lost = robot.unknown_fields().empty() ? 0 : kUnknownField;
    int nth = 1;
    for (;; ++nth) {
      const std::int64_t blocks = liveMemory().blocks;
      if (!runsOutOfMemory(nth, [&] { std::make_unique<CameraParametersSet>(set); })) break;
      ASSERT_LE(liveMemory().blocks - blocks, lost) << "allocation " << nth;
    }
    EXPECT_GT(nth, 10);
    EXPECT_TRUE(MessageDifferencer::Equals(set.getRobotCalibration(), robot));
  }
}

/// The live bytes that remain of `work`.
std::int64_t bytesKeptBy(const std::function<void()>& work) {
  const LiveMemory before = liveMemory();
  work();
  return liveMemory().bytes - before.bytes;
}

TEST_F(LoadMemory, RefusedLoadKeepsNoMemory) {
  // Half a million empty entries, which take 70 times their size in the file.
  std::string binary;
  std::string text;
  for (int i = 0; i < 500000; ++i) binary.append("\x0a\x00", 2);
  for (int i = 0; i < 100000; ++i) text += "camera_calibration{}";
  RobotCalibration message;
  ASSERT_TRUE(message.ParseFromString(binary));
  CameraParametersSet set;
  EXPECT_LT(bytesKeptBy([&] { EXPECT_FALSE(set.loadFromString(binary)); }), kSlackBytes);
  EXPECT_LT(bytesKeptBy([&] { EXPECT_FALSE(set.loadFromString(text)); }), kSlackBytes);
  EXPECT_LT(bytesKeptBy([&] { EXPECT_FALSE(set.loadFromProto(message)); }), kSlackBytes);
  // Bytes that cease to be a message after half a million entries.
  EXPECT_LT(bytesKeptBy([&] { EXPECT_FALSE(set.loadFromString(binary + "\x0a")); }), kSlackBytes);
  EXPECT_LT(bytesKeptBy([&] { EXPECT_FALSE(set.loadFromString(text + "}")); }), kSlackBytes);
}

TEST_F(LoadMemory, LargeLoadIsGivenBackByTheNext) {
  // One camera, a thousand times, and a note of 4 MB.
  RobotCalibration robot;
  for (int i = 0; i < 1000; ++i) {
    *robot.add_camera_calibration() = exampleRobot().camera_calibration(0);
  }
  robot.mutable_unknown_fields()->AddLengthDelimited(9)->assign(std::size_t{4} << 20U, 'x');
  const std::string data = robot.SerializeAsString();
  CameraParametersSet set;
  ASSERT_TRUE(set.loadFromProto(exampleRobot()));
  const std::int64_t kept = bytesKeptBy([&] {
    EXPECT_TRUE(set.loadFromString(data));
    EXPECT_TRUE(set.loadFromProto(exampleRobot()));
  });
  EXPECT_LT(kept, kSlackBytes);
}

TEST_F(LoadMemory, CameraOfALargeLoadKeepsItsOwnEntryAlone) {
  RobotCalibration robot = exampleRobot();
  robot.mutable_unknown_fields()->AddLengthDelimited(9)->assign(std::size_t{4} << 20U, 'x');
  std::shared_ptr<CameraParameters> held;
  const std::int64_t kept = bytesKeptBy([&] {
    CameraParametersSet set;
    EXPECT_TRUE(set.loadFromProto(robot));
    held = set.getCamera("a");
  });
  EXPECT_LT(kept, kSlackBytes);
  EXPECT_TRUE(MessageDifferencer::Equals(held->getCalibration(), robot.camera_calibration(0)));
}

/// A base calibration with a long key, which `values` values make good or not.
BaseCalibrationProto exampleBase(int values, std::size_t key_length) {
  BaseCalibrationProto base;
  base.set_wheel_base(0.75F);
  auto* adjustment = base.mutable_global_transform_adjustment();
  for (int i = 0; i < values; ++i) adjustment->mutable_global_transform()->add_a(i);
  adjustment->mutable_metadata()->set_validity_key(std::string(key_length, 'k'));
  adjustment->mutable_metadata()->mutable_unknown_fields()->AddLengthDelimited(99)->assign(50, 'x');
  return base;
}

void expectBaseLoadIsAllOrNothing(const std::function<void(BaseCalibrationData*)>& load) {
  BaseCalibrationData base;
  ASSERT_TRUE(base.loadFromString(exampleBase(13, 40).SerializeAsString()));
  const BaseCalibrationData copy(base);
  BaseCalibrationData other(base);
  load(&other);  // what is allocated once and for all
  int nth = 1;
  for (;; ++nth) {
    const std::int64_t blocks = liveMemory().blocks;
    if (!runsOutOfMemory(nth, [&] { load(&base); })) break;
    ASSERT_LE(liveMemory().blocks - blocks, kUnknownField) << "allocation " << nth;
    ASSERT_TRUE(MessageDifferencer::Equals(base.getCalibration(), copy.getCalibration()));
    ASSERT_EQ(base.getWorldRotation(), copy.getWorldRotation());
    ASSERT_EQ(base.getWorldTranslation(), copy.getWorldTranslation());
  }
  EXPECT_GT(nth, 3);
  EXPECT_FALSE(MessageDifferencer::Equals(base.getCalibration(), copy.getCalibration()));
}

TEST_F(LoadMemory, BaseLoadIsAllOrNothing) {
  const BaseCalibrationProto good = exampleBase(12, 100);
  const std::string refused = exampleBase(11, 100).SerializeAsString();
  for (const std::string& data : {good.SerializeAsString(), exampleBase(12, 100).DebugString(),
                                  refused, std::string("neither binary nor text")}) {
    expectBaseLoadIsAllOrNothing([&](BaseCalibrationData* base) { base->loadFromString(data); });
  }
  expectBaseLoadIsAllOrNothing([](BaseCalibrationData* base) { base->setDefault(); });
}

TEST_F(LoadMemory, CopyOfABaseReadsTheDefaultOrIsAsItWas) {
  BaseCalibrationData base;
  ASSERT_TRUE(base.loadFromString(exampleBase(12, 40).SerializeAsString()));
  for (int nth = 1;; ++nth) {
    BaseCalibrationData copy(base);  // has no default of its own yet
    if (!runsOutOfMemory(nth, [&] { copy.setDefault(); })) break;
    ASSERT_TRUE(MessageDifferencer::Equals(copy.getCalibration(), base.getCalibration()));
    copy.setDefault();  // reads the whole of it now
    ASSERT_EQ(copy.getWheelBase(), 0.5F);
  }
}

TEST_F(LoadMemory, NothingOfAnUnfinishedCopyOfABaseIsLost) {
  BaseCalibrationData base;
  ASSERT_TRUE(base.loadFromString(exampleBase(12, 40).SerializeAsString()));
  int nth = 1;
  for (;; ++nth) {
    const std::int64_t blocks = liveMemory().blocks;
    if (!runsOutOfMemory(nth, [&] { std::make_unique<BaseCalibrationData>(base); })) break;
    ASSERT_LE(liveMemory().blocks - blocks, kUnknownField) << "allocation " << nth;
  }
  EXPECT_GT(nth, 5);
}

TEST_F(LoadMemory, BaseKeepsNoMemoryOfFormerLoads) {
  BaseCalibrationData base;
  const std::size_t large = std::size_t{4} << 20U;
  const std::string refused = exampleBase(11, large).SerializeAsString();
  const std::string good = exampleBase(12, large).SerializeAsString();
  EXPECT_LT(bytesKeptBy([&] { EXPECT_FALSE(base.loadFromString(refused)); }), kSlackBytes);
  EXPECT_LT(bytesKeptBy([&] { EXPECT_FALSE(base.loadFromString(refused + "\x0a")); }), kSlackBytes);
  const std::int64_t kept = bytesKeptBy([&] {
    EXPECT_TRUE(base.loadFromString(good));
    EXPECT_TRUE(base.loadFromString(exampleBase(12, 40).SerializeAsString()));
  });
  EXPECT_LT(kept, kSlackBytes);
}

}  // namespace
}  // namespace calibration
}  // namespace norv
