#include "calibration_common/load_report.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "calibration_common/base_calibration_data.h"
#include "calibration_common/calibration_review.h"
#include "calibration_common/camera_parameters.h"
#include "calibration_common/ptz_camera_model.h"
#include "testing/calibration_messages.h"
#include "testing/example_ptz.h"
#include "testing/filled_message.h"
#include "testing/log_capture.h"
#include "testing/temporary_folder.h"

namespace norv::calibration {
namespace {

using testing::bytesOf;
using ::testing::ElementsAre;
using testing::exampleCamera;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;
using testing::robotOf;
using testing::ScopedLogCapture;
using testing::TemporaryFolder;

/// A text with one camera, named in line 2, and a list of radial coefficients in line 3.
std::string cameraText(const std::string& name, const std::string& radial) {
  return "camera_calibration {\n  name: '" + name +
         "'\n  intrinsics { width: 1280 height: 960 fx: 900 fy: 900 cx: 640 cy: 480 radial: [" +
         radial +
         "] tangential: [0, 0] }\n"
         "  extrinsics { a: [0, -1, 0, 30] a: [0, 0, -1, 350] a: [1, 0, 0, -250] }\n}\n";
}

const char* const kNoDistortion = "0, 0, 0, 0, 0, 0";

std::string baseText() {
  return "wheel_base: 0.42\nglobal_transform_adjustment { global_transform {\n"
         "  a: [1, 0, 0, 4.5] a: [0, 1, 0, -2.25] a: [0, 0, 1, 1.5] } }\n";
}

/// What a load that fails says.
std::string problemOf(const LoadReport& report) {
  return report.problem ? describeFinding(*report.problem) : "none";
}

std::vector<std::string> checksOf(const LoadReport& report) {
  std::vector<std::string> checks;
  for (const PlacedFinding& placed : report.findings) checks.push_back(placed.finding.check);
  return checks;
}

/// Levels and texts of what was logged.
std::vector<std::string> linesOf(ScopedLogCapture* capture) {
  std::vector<std::string> lines;
  for (const auto& log : capture->take()) {
    lines.push_back(std::to_string(log.level) + " " + log.channel + ": " + log.text);
  }
  return lines;
}

LoadReport filledReport() {
  LoadReport report;
  report.format = CalibrationFormat::kBinary;
  report.cameras = {"of before"};
  report.default_in_force = true;
  report.problem = PlacedFinding();
  report.findings.emplace_back();
  return report;
}

TEST(LoadReport, OfATextThatLoads) {
  CameraParametersSet set;
  LoadReport report = filledReport();
  EXPECT_TRUE(set.loadFromString(
      cameraText("left", kNoDistortion) + "# \n" + cameraText("right", "-0.5, 0, 0, 0, 0, 0"),
      &report));
  EXPECT_EQ(report.format, CalibrationFormat::kText);
  EXPECT_THAT(report.cameras, ElementsAre("left", "right"));
  EXPECT_FALSE(report.default_in_force);
  EXPECT_FALSE(report.problem);
  // The second camera's lens folds, at its radial coefficients: the same review, with places.
  const std::vector<Finding> review = reviewCalibration(set.getRobotCalibration());
  ASSERT_EQ(report.findings.size(), review.size());
  ASSERT_THAT(checksOf(report), ::testing::Contains("lens-fold"));
  for (const PlacedFinding& placed : report.findings) {
    if (placed.finding.check != "lens-fold") continue;
    EXPECT_EQ(placed.finding.camera, "right");
    EXPECT_EQ(placed.place.line, 9);
    EXPECT_GT(placed.place.column, 1);
  }
}

TEST(LoadReport, FindingsOfATextAreInItsOrder) {
  CameraParametersSet set;
  LoadReport report;
  // By number, `intrinsics` comes before `name`; here the name stands first.
  EXPECT_TRUE(set.loadFromString(
      cameraText("", "-0.5, 0, 0, 0, 0, 0") + cameraText("", kNoDistortion), &report));
  for (std::size_t i = 1; i < report.findings.size(); ++i) {
    EXPECT_LE(report.findings[i - 1].place.line, report.findings[i].place.line);
  }
  EXPECT_THAT(checksOf(report), ::testing::Contains("name-missing"));
}

TEST(LoadReport, BinaryDataHasNoPlaces) {
  RobotCalibration robot = robotOf({exampleCamera("left", "any"), exampleCamera("left", "any")});
  CameraParametersSet set;
  LoadReport report;
  EXPECT_TRUE(set.loadFromString(robot.SerializeAsString(), &report));
  EXPECT_EQ(report.format, CalibrationFormat::kBinary);
  EXPECT_THAT(report.cameras, ElementsAre("left"));
  EXPECT_THAT(checksOf(report), ::testing::Contains("name-duplicate"));
  for (const PlacedFinding& placed : report.findings) EXPECT_EQ(placed.place.line, 0);
}

TEST(LoadReport, OfATextThatDoesNotParse) {
  CameraParametersSet set;
  LoadReport report = filledReport();
  EXPECT_FALSE(set.loadFromString("camera_calibration {\n  nme: 'left'\n}\n", &report));
  EXPECT_FALSE(report.format);
  EXPECT_TRUE(report.default_in_force);
  EXPECT_THAT(report.cameras, IsEmpty());
  ASSERT_TRUE(report.problem);
  EXPECT_EQ(report.problem->finding.check, "parse");
  EXPECT_EQ(report.problem->finding.severity, Severity::kError);
  EXPECT_EQ(report.problem->finding.field, "camera_calibration[0].nme");
  EXPECT_EQ(report.problem->place.line, 2);
  EXPECT_EQ(report.problem->place.column, 3);
  ASSERT_EQ(report.findings.size(), 1U);
  EXPECT_EQ(report.findings[0].finding.text, report.problem->finding.text);
}

TEST(LoadReport, OfACalibrationThatDoesNotLoad) {
  CameraParametersSet set;
  LoadReport report;
  EXPECT_FALSE(
      set.loadFromString(cameraText("left", kNoDistortion) + cameraText("right", "1, 2"), &report));
  EXPECT_EQ(report.format, CalibrationFormat::kText);
  EXPECT_EQ(problemOf(report),
            "8:72: camera_calibration[1].intrinsics.radial: holds 2 values, at least 6 are needed");
  EXPECT_EQ(report.problem->finding.camera, "right");
  EXPECT_TRUE(report.default_in_force);
  EXPECT_THAT(checksOf(report), ::testing::Contains("list-short"));
  // The entry before the wrong one was taken, and stays beside the default's.
  EXPECT_THAT(report.cameras, ElementsAre("left"));
  EXPECT_THAT(set.getCameraNames(), ElementsAre("head_camera", "left", "navigation_camera"));
}

TEST(LoadReport, CamerasThatTheDefaultReplacedWereNotTaken) {
  CameraParametersSet set;
  LoadReport report;
  EXPECT_FALSE(set.loadFromString(cameraText("navigation_camera", kNoDistortion) +
                                      cameraText("left", kNoDistortion) + cameraText("right", ""),
                                  &report));
  EXPECT_THAT(report.cameras, ElementsAre("left"));
  EXPECT_EQ(set.getCamera("navigation_camera")->getModel(), "mk513n");
}

TEST(LoadReport, OfDataThatLoadsAndHoldsNothing) {
  CameraParametersSet set;
  LoadReport report;
  EXPECT_TRUE(set.loadFromString("", &report));
  EXPECT_EQ(report.format, CalibrationFormat::kBinary);
  EXPECT_FALSE(report.default_in_force);
  EXPECT_THAT(report.cameras, IsEmpty());
  EXPECT_EQ(problemOf(report), "none");
  EXPECT_EQ(describeFinding(report.findings.front()), "is empty");
}

TEST(LoadReport, OfAnotherKindOfCalibration) {
  BaseCalibrationData base;
  CameraParametersSet set;
  LoadReport report;
  EXPECT_TRUE(set.loadFromString(base.getCalibration().SerializeAsString(), &report));
  EXPECT_EQ(describeFinding(report.findings.front()),
            "holds the calibration of a mobile base, not of fixed cameras");
  EXPECT_FALSE(set.loadFromString(baseText(), &report));
  EXPECT_EQ(problemOf(report), "holds the calibration of a mobile base, not of fixed cameras");
}

TEST(LoadReport, OfDataThatIsNoText) {
  CameraParametersSet set;
  LoadReport report;
  EXPECT_FALSE(set.loadFromString(std::string("\xff\x01\0", 3), &report));
  EXPECT_EQ(problemOf(report), "is neither a binary nor a text-format RobotCalibration");
  EXPECT_FALSE(set.loadFromString("\xef\xbb\xbf" + cameraText("left", kNoDistortion), &report));
  EXPECT_EQ(problemOf(report), "begins with a byte order mark; save it as UTF-8 without one");
}

TEST(LoadReport, OfFiles) {
  const TemporaryFolder folder;
  CameraParametersSet set;
  LoadReport report = filledReport();
  EXPECT_FALSE(set.loadFromFile(folder.path("missing"), &report));
  EXPECT_EQ(problemOf(report), "cannot be read: No such file or directory");
  EXPECT_FALSE(report.format);
  EXPECT_TRUE(report.default_in_force);
  EXPECT_THAT(report.cameras, IsEmpty());
  EXPECT_EQ(report.findings.size(), 1U);
  EXPECT_TRUE(
      set.loadFromFile(folder.write("good.txt", cameraText("left", kNoDistortion)), &report));
  EXPECT_THAT(report.cameras, ElementsAre("left"));
  EXPECT_FALSE(set.loadFromFile(folder.write("bad.txt", cameraText("left", "1")), &report));
  EXPECT_THAT(problemOf(report), HasSubstr("holds 1 values, at least 6 are needed"));
}

/// The set and its log are what they are without a report.
void expectSameAsWithout(const std::string& data) {
  const TemporaryFolder folder;
  const std::string path = folder.write("file", data);
  CameraParametersSet with;
  CameraParametersSet without;
  LoadReport report;
  ScopedLogCapture capture;
  const bool loaded = without.loadFromString(data);
  const std::vector<std::string> expected = linesOf(&capture);
  EXPECT_EQ(with.loadFromString(data, &report), loaded);
  EXPECT_EQ(linesOf(&capture), expected);
  EXPECT_EQ(report.default_in_force, !loaded);
  EXPECT_EQ(report.problem.has_value(), !loaded);
  EXPECT_EQ(with.getCameraNames(), without.getCameraNames());
  EXPECT_EQ(bytesOf(with.getRobotCalibration()), bytesOf(without.getRobotCalibration()));
  for (const std::string& name : report.cameras) EXPECT_NE(with.getCamera(name), nullptr);

  EXPECT_EQ(without.loadFromFile(path), loaded);
  const std::vector<std::string> of_file = linesOf(&capture);
  EXPECT_EQ(with.loadFromFile(path, &report), loaded);
  EXPECT_EQ(linesOf(&capture), of_file);
  EXPECT_EQ(with.loadFromFile(path, nullptr), loaded);
  EXPECT_EQ(linesOf(&capture), of_file);
  EXPECT_EQ(with.getCameraNames(), without.getCameraNames());
}

TEST(LoadReport, ChangesNeitherTheLoadNorItsLog) {
  for (const std::string& data : {std::string(), cameraText("left", kNoDistortion),
                                  cameraText("left", "1"), std::string("rubbish"), baseText(),
                                  CameraParametersSet().getRobotCalibration().SerializeAsString(),
                                  cameraText("a", kNoDistortion) + cameraText("b", "2")}) {
    SCOPED_TRACE(data.substr(0, 80));
    expectSameAsWithout(data);
  }
}

TEST(LoadReport, OfABase) {
  const TemporaryFolder folder;
  BaseCalibrationData base;
  LoadReport report = filledReport();
  EXPECT_TRUE(base.loadFromString(baseText(), &report));
  EXPECT_EQ(report.format, CalibrationFormat::kText);
  EXPECT_EQ(problemOf(report), "none");
  EXPECT_FALSE(report.default_in_force);
  EXPECT_THAT(report.cameras, IsEmpty());
  EXPECT_TRUE(base.loadFromFile(folder.write("base.txt", baseText()), &report));
  EXPECT_FLOAT_EQ(base.getWheelBase(), 0.42F);

  EXPECT_FALSE(base.loadFromString("wheel_base: 450\nglobal_transform_adjustment {}", &report));
  EXPECT_EQ(problemOf(report),
            "2:1: global_transform_adjustment.global_transform.a: holds 0 values, at least 12 are "
            "needed");
  EXPECT_TRUE(report.default_in_force);
  EXPECT_THAT(checksOf(report), ::testing::Contains("base-size"));
  EXPECT_EQ(base.getWheelBase(), BaseCalibrationData().getWheelBase());
}

TEST(LoadReport, BaseFromFileFallsBackAndNamesTheFile) {
  const TemporaryFolder folder;
  const std::string missing = folder.path("missing");
  const std::string bad = folder.write("bad", "wheel_bas: 1");
  BaseCalibrationData base;
  base.setWheelBase(7);
  LoadReport report;
  ScopedLogCapture capture(kLogWarning);
  EXPECT_FALSE(base.loadFromFile(missing, &report));
  EXPECT_THAT(linesOf(&capture), ElementsAre("2 base_calibration_data: Can't open " + missing));
  EXPECT_EQ(problemOf(report), "cannot be read: No such file or directory");
  EXPECT_TRUE(report.default_in_force);
  EXPECT_EQ(base.getWheelBase(), BaseCalibrationData().getWheelBase());
  EXPECT_FALSE(base.loadFromFile(bad));
  EXPECT_THAT(linesOf(&capture),
              ElementsAre("2 base_calibration_data: Error parsing base calibration from " + bad));
  EXPECT_FALSE(base.loadFromFile(missing));
}

TEST(LoadReport, DescribesAsMuchAsThereIs) {
  PlacedFinding placed;
  placed.finding.text = "is empty";
  EXPECT_EQ(describeFinding(placed), "is empty");
  placed.finding.field = "wheel_base";
  EXPECT_EQ(describeFinding(placed), "wheel_base: is empty");
  placed.place = {3, 14};
  EXPECT_EQ(describeFinding(placed), "3:14: wheel_base: is empty");
}

}  // namespace
}  // namespace norv::calibration
