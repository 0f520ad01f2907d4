#include "calibration_common/calibration_saving.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cstdint>
#include <cstring>
#include <filesystem>
#include <iterator>
#include <memory>
#include <random>
#include <string>

#include "calibration_common/base_calibration_data.h"
#include "calibration_common/camera_parameters.h"
#include "calibration_common/ptz_camera_model.h"
#include "support/file.h"
#include "support/message_parsing.h"
#include "testing/calibration_messages.h"
#include "testing/example_ptz.h"
#include "testing/filled_message.h"
#include "testing/temporary_folder.h"
#include "testing/write_limits.h"

namespace norv::calibration {
namespace {

using testing::bytesOf;
using ::testing::ElementsAre;
using testing::exampleCamera;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using testing::robotOf;
using testing::TemporaryFolder;

constexpr CalibrationFormat kFormats[] = {CalibrationFormat::kBinary, CalibrationFormat::kText};

std::string contentsOf(const std::string& path) {
  std::string contents;
  EXPECT_TRUE(File::readFileToString(path, &contents)) << path;
  return contents;
}

std::ptrdiff_t entriesOf(const TemporaryFolder& folder) {
  using Iterator = std::filesystem::directory_iterator;
  return std::distance(Iterator(folder.path()), Iterator());
}

/// Why a calibration is not saved, or "saved".
template <class M>
std::string problemOf(const M& message, const std::string& path,
                      CalibrationFormat format = CalibrationFormat::kBinary) {
  const auto problem = saveToFile(message, path, format);
  return problem ? problem->sentence : "saved";
}

template <class M>
class Saving : public ::testing::Test {};
using Kinds = ::testing::Types<RobotCalibration, PTZCameraParameters, BaseCalibrationProto>;
TYPED_TEST_SUITE(Saving, Kinds);

TYPED_TEST(Saving, ReadsBackToTheIdenticalMessageInBothFormats) {
  const TemporaryFolder folder;
  const std::string path = folder.path("file");
  std::mt19937_64 random(10);
  for (int i = 0; i < 20; ++i) {
    TypeParam message;
    testing::fillMessage(&message, 5, &random);
    for (const CalibrationFormat format : kFormats) {
      ASSERT_FALSE(saveToFile(message, path, format));
      TypeParam read;
      const bool binary = format == CalibrationFormat::kBinary;
      ASSERT_TRUE(binary ? parseBinary(contentsOf(path), &read)
                         : parseText(contentsOf(path), &read));
      ASSERT_EQ(bytesOf(read), bytesOf(message));
    }
  }
}

TYPED_TEST(Saving, UnknownFieldsAreKeptInBinaryAndRefusedAsText) {
  const TemporaryFolder folder;
  const std::string path = folder.write("file", "old");
  TypeParam message;
  message.GetReflection()->MutableUnknownFields(&message)->AddVarint(100, 7);
  message.GetReflection()->MutableUnknownFields(&message)->AddVarint(101, 7);
  const auto problem = saveToFile(message, path, CalibrationFormat::kText);
  ASSERT_TRUE(problem);
  EXPECT_EQ(problem->sentence, "text cannot hold 100 and 1 more");
  EXPECT_THAT(problem->lost_fields, ElementsAre("100", "101"));
  EXPECT_EQ(contentsOf(path), "old");
  EXPECT_FALSE(saveToFile(message, path, CalibrationFormat::kBinary));
  TypeParam read;
  ASSERT_TRUE(parseBinary(contentsOf(path), &read));
  EXPECT_EQ(bytesOf(read), bytesOf(message));
}

TEST(SaveToFile, ValuesWithoutAWordAreRefusedAsText) {
  const TemporaryFolder folder;
  constexpr std::uint64_t kPayload = 0x7ff8000000000123;
  double value = 0;
  std::memcpy(&value, &kPayload, sizeof value);
  RobotCalibration robot = robotOf({exampleCamera("left", "any")});
  robot.mutable_camera_calibration(0)->mutable_intrinsics()->set_radial(4, value);
  const auto problem = saveToFile(robot, folder.path("file"), CalibrationFormat::kText);
  ASSERT_TRUE(problem);
  EXPECT_THAT(problem->lost_fields, ElementsAre("camera_calibration[0].intrinsics.radial[4]"));
  EXPECT_EQ(entriesOf(folder), 0);
}

TEST(SaveToFile, TextIsWrittenAsAPersonWould) {
  const TemporaryFolder folder;
  const std::string path = folder.path("robot.txt");
  EXPECT_FALSE(CameraParametersSet().saveToFile(path, CalibrationFormat::kText));
  const std::string text = contentsOf(path);
  for (const char* part :
       {"\n    radial: [-0.28, 0.07, 0, 0, 0, 0]\n",
        "\n  extrinsics {\n    a: [0, -1, 0, 30]\n    a: [0, 0, -1, 350]\n    a: [1, 0, 0, -250]\n "
        " }\n",
        "\n    samples { image_x: 259.939 image_y: 123.322 model_x: 1 model_y: 0 }\n",
        "\n  name: \"navigation_camera\"\n"}) {
    EXPECT_THAT(text, HasSubstr(part));
  }
}

TEST(SaveToFile, FilesKeepTheirPermissions) {
  const TemporaryFolder folder;
  const std::string path = folder.write("file", "old");
  ASSERT_EQ(::chmod(path.c_str(), 0640), 0);
  EXPECT_EQ(problemOf(testing::examplePtz(), path), "saved");
  struct stat status = {};
  ASSERT_EQ(::stat(path.c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 07777, 0640U);
  EXPECT_NE(PTZCameraModel::fromFile(path), nullptr);
  EXPECT_EQ(entriesOf(folder), 1);
}

TEST(SaveToFile, WhatFailsLeavesTheOldFileAndSaysWhy) {
  const TemporaryFolder folder;
  const std::string path = folder.write("file", "old");
  ASSERT_EQ(::chmod(path.c_str(), 0666), 0);
  const RobotCalibration robot = CameraParametersSet().getRobotCalibration();
  EXPECT_EQ(problemOf(robot, folder.path()), "not a regular file");
  EXPECT_EQ(problemOf(robot, folder.path("missing/file")), "No such file or directory");
  ASSERT_EQ(::chmod(folder.path().c_str(), 0555), 0);
  for (const CalibrationFormat format : kFormats) {
    const testing::ScopedOrdinaryUser user;
    EXPECT_EQ(problemOf(robot, path, format), "Permission denied");
    EXPECT_EQ(problemOf(robot, folder.path("new"), format), "Permission denied");
  }
  ASSERT_EQ(::chmod(folder.path().c_str(), 0755), 0);
  for (const CalibrationFormat format : kFormats) {
    const testing::ScopedFileSizeLimit limit(1000);
    EXPECT_EQ(problemOf(robot, path, format), "File too large");
  }
  const auto problem = saveToFile(robot, folder.path(), CalibrationFormat::kText);
  EXPECT_THAT(problem->lost_fields, IsEmpty());
  EXPECT_EQ(contentsOf(path), "old");
  EXPECT_EQ(entriesOf(folder), 1);
}

TEST(SaveToFile, ASetReadsBackAsItWasAdjusted) {
  const TemporaryFolder folder;
  CameraParametersSet set;
  set.adjustUsingBaseCalibration(BaseCalibrationData());
  for (const CalibrationFormat format : kFormats) {
    const std::string path = folder.path("robot");
    ASSERT_FALSE(set.saveToFile(path, format));
    const auto read = CameraParametersSet::fromFile(path);
    ASSERT_NE(read, nullptr);
    EXPECT_EQ(bytesOf(read->getRobotCalibration()), bytesOf(set.getRobotCalibration()));
    EXPECT_EQ(read->getCameraNames(), set.getCameraNames());
    for (const std::string& name : set.getCameraNames()) {
      EXPECT_EQ(read->getCamera(name)->getTransform().transform,
                CameraParametersSet(set).getCamera(name)->getTransform().transform);
    }
  }
}

TEST(SaveToFile, ABaseReadsBackAsItWasSet) {
  const TemporaryFolder folder;
  BaseCalibrationData base;
  CalibrationMetadataProto metadata;
  metadata.set_operator_note("measured on \"Tuesday\"\n");
  base.setGlobalTransform(Matrix3x3_f::Identity(), Vector3_f(0.001F, -0.002F, 0.0035F), metadata);
  base.setWheelBase(0.43F);
  for (const CalibrationFormat format : kFormats) {
    const std::string path = folder.path("base");
    ASSERT_FALSE(base.saveToFile(path, format));
    const auto read = BaseCalibrationData::fromFile(path);
    ASSERT_NE(read, nullptr);
    EXPECT_EQ(bytesOf(read->getCalibration()), bytesOf(base.getCalibration()));
    EXPECT_EQ(read->getWorldTranslation(), base.getWorldTranslation());
  }
}

}  // namespace
}  // namespace norv::calibration
