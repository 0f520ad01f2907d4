// What the verb `diff` prints, and the grid that it writes.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <nlohmann/json.hpp>
#include <sstream>
#include <string>
#include <vector>

#include "calibration_common/base_calibration_data.h"
#include "testing/calibration_edits.h"
#include "testing/calibration_messages.h"
#include "testing/example_ptz.h"
#include "testing/file_contents.h"
#include "tests/tools/diff/diff_example.h"
#include "tests/tools/run_tool.h"

namespace norv {
namespace {

using calibration::BaseCalibrationProto;
using calibration::CameraCalibration;
using calibration::PTZCameraParameters;
using calibration::RobotCalibration;
using nlohmann::json;
using testing::contentsOf;
using testing::DiffCommand;
using testing::examplePtz;
using testing::expectBadUsage;
using testing::expectFitsTerminal;
using testing::expectToolRefuses;
using ::testing::HasSubstr;
using ::testing::Not;
using testing::pinholeCamera;
using testing::ProgramResult;
using testing::robotOf;
using testing::runTool;
using testing::toolJson;
using testing::toolOutput;
using testing::toolRefusal;

constexpr double kPi = 3.14159265358979323846;

std::vector<std::string> linesOf(const std::string& text) {
  std::vector<std::string> lines;
  std::istringstream stream(text);
  for (std::string line; std::getline(stream, line);) lines.push_back(line);
  return lines;
}

TEST_F(DiffCommand, OfTheDefaultWithItselfIsAllZeros) {
  const std::string text = toolOutput(
      "diff default default --fail-above 0 --fail-above-mm 0 "
      "--fail-above-deg 0");
  expectFitsTerminal(text);
  int rows = 0;
  for (const std::string& line : linesOf(text)) {
    if (line.rfind("    as is ", 0) != 0 && line.rfind("    rotated ", 0) != 0 &&
        line.rfind("    on the robot, ", 0) != 0) {
      continue;
    }
    EXPECT_THAT(line, HasSubstr("  0.0000  0.0000  0.0000  "));
    ++rows;
  }
  EXPECT_EQ(rows, 2 * 3 * 4);
  const json answer = toolJson("diff default default");
  EXPECT_EQ(answer["a"], "compiled-in default calibration");
  EXPECT_EQ(answer["b"], "compiled-in default calibration");
  EXPECT_EQ(answer["kind"], "robot");
  ASSERT_EQ(answer["cameras"].size(), 2U);
  for (const json& camera : answer["cameras"]) {
    EXPECT_EQ(camera["pose"],
              json({{"angle_degrees", 0.0}, {"distance", 0.0}, {"movement", {0, 0, 0}}}));
    ASSERT_EQ(camera["images"].size(), 3U);
    for (const json& image : camera["images"]) {
      std::vector<json> figures = {image["as_is"], image["rotated"]};
      for (const json& at : image["on_robot"]) figures.push_back(at);
      EXPECT_EQ(figures.size(), 4U);
      for (const json& at : figures) {
        EXPECT_EQ(at["max"], 0.0);
        EXPECT_EQ(at["median"], 0.0);
        EXPECT_EQ(at["rms"], 0.0);
        EXPECT_GT(at["compared"], 2000);
      }
      EXPECT_EQ(image["rotation_degrees"], json({0, 0, 0}));
    }
  }
}

TEST_F(DiffCommand, PrintsWhatAMovedPrincipalPointChanges) {
  const std::string text =
      toolOutput("diff default " + writeShifted() + " --camera navigation_camera");
  expectFitsTerminal(text);
  EXPECT_THAT(text, HasSubstr("A: compiled-in default calibration\nB: "));
  EXPECT_THAT(text, HasSubstr("\nnavigation_camera\n  pose turned by 0.0000 deg\n"
                              "       moved by 0.000 mm: x 0.000, y 0.000, z 0.000\n"));
  EXPECT_THAT(text, HasSubstr("\n    rotated                 1.3058  0.1903  0.2858 "));
  EXPECT_THAT(text, HasSubstr("\n    rotation by 0.3238 deg: x 0.0000, y -0.3238, z 0.0001\n"
                              "          A    B\n"
                              "    cx  640  645\n"));
  EXPECT_EQ(text.find("head_camera"), std::string::npos);
  EXPECT_EQ(text.find("unseen"), std::string::npos);
}

TEST_F(DiffCommand, PrintsAPoseInDegreesAndMillimetres) {
  // The centre is -R^T t: -t where the camera is not turned, and B turned about z does not move it.
  CameraCalibration a = pinholeCamera("a", 100, 100);
  a.mutable_extrinsics()->set_a(11, -1000);
  CameraCalibration b = a;
  const double turn = 2 * kPi / 180;
  b.mutable_extrinsics()->set_a(0, std::cos(turn));
  b.mutable_extrinsics()->set_a(1, -std::sin(turn));
  b.mutable_extrinsics()->set_a(4, std::sin(turn));
  b.mutable_extrinsics()->set_a(5, std::cos(turn));
  b.mutable_extrinsics()->set_a(11, -1012);
  const std::string arguments =
      "diff " + write("a.bin", robotOf({a})) + " " + write("b.bin", robotOf({b}));
  EXPECT_THAT(toolOutput(arguments),
              HasSubstr("\na\n  pose turned by 2.0000 deg\n"
                        "       moved by 12.000 mm: x 0.000, y 0.000, z 12.000\n"));
  const json pose = toolJson(arguments)["cameras"][0]["pose"];
  EXPECT_NEAR(pose["angle_degrees"].get<double>(), 2, 1e-10);
  EXPECT_NEAR(pose["movement"][2].get<double>(), 0.012, 1e-12);
}

TEST_F(DiffCommand, AtASizeAndDistances) {
  const json answer = toolJson("diff default " + writeShifted() +
                               " --camera navigation_camera --size 320x240 --distance 2.5 "
                               "--distance inf --distance 10");
  ASSERT_EQ(answer["cameras"][0]["images"].size(), 1U);
  const json& image = answer["cameras"][0]["images"][0];
  EXPECT_EQ(image["width"], 320);
  EXPECT_EQ(image["intrinsics_a"]["fx"], 226.25);
  EXPECT_EQ(image["intrinsics_b"]["cx"], 161.25);
  EXPECT_NEAR(image["as_is"]["max"].get<double>(), 1.25, 1e-9);
  ASSERT_EQ(image["on_robot"].size(), 3U);
  EXPECT_EQ(image["on_robot"][0]["distance"], 2.5);
  EXPECT_TRUE(image["on_robot"][1]["distance"].is_null());
  EXPECT_EQ(image["on_robot"][2]["distance"], 10.0);
}

TEST_F(DiffCommand, WritesTheGrid) {
  const std::string csv = folder_.path("grid.csv");
  const std::string arguments =
      "diff default " + writeShifted() + " --camera navigation_camera --size 1280x960";
  toolOutput(arguments + " --csv " + csv);
  const std::vector<std::string> lines = linesOf(contentsOf(csv));
  ASSERT_EQ(lines.size(), 1U + 61 * 46);
  EXPECT_EQ(lines[0], "camera,size,u,v,du,dv,du_rotated,dv_rotated");
  EXPECT_EQ(lines[1].rfind("navigation_camera,1280x960,0,0,5", 0), 0U) << lines[1];
  EXPECT_EQ(lines.back().rfind("navigation_camera,1280x960,1280,960,", 0), 0U) << lines.back();
  EXPECT_EQ(std::count(lines[1].begin(), lines[1].end(), ','), 7);

  const ProgramResult streamed = runTool(arguments + " --csv - --fail-above 1");
  EXPECT_EQ(streamed.status, 3);
  EXPECT_EQ(streamed.output, contentsOf(csv));
  EXPECT_THAT(streamed.errors, HasSubstr("beyond the limit"));
}

TEST_F(DiffCommand, GridQuotesNamesAndLeavesGapsEmpty) {
  CameraCalibration a = pinholeCamera("left, \"new\"", 100, 100);
  CameraCalibration b = a;
  b.mutable_intrinsics()->set_fx(0);
  const std::string path_a = write("a.bin", robotOf({a}));
  const std::string path_b = write("b.bin", robotOf({b}));
  const ProgramResult result = runTool("diff " + path_b + " " + path_a + " --csv -");
  EXPECT_EQ(linesOf(result.output).at(1), "\"left, \"\"new\"\"\",100x100,0,0,,,,");
}

TEST_F(DiffCommand, PanTiltZoomCameras) {
  PTZCameraParameters b = examplePtz();
  b.mutable_pan_tilt()->set_pan_offset(20);
  for (auto& sample : *b.mutable_intrinsics()->mutable_samples()) sample.set_cx(sample.cx() + 2);
  const std::string path_a = write("a.bin", examplePtz());
  const std::string path_b = write("b.bin", b);
  const std::string text = toolOutput("diff " + path_a + " " + path_b);
  expectFitsTerminal(text);
  EXPECT_THAT(text, HasSubstr("\nlens, pixels of 1920x1080\n"));
  EXPECT_THAT(text, HasSubstr("\n  0      2.0000  2.0000  2.0000 "));
  EXPECT_THAT(text, HasSubstr("\n  -5934  -1047       0.5730"));  // 20 x 0.0005 rad
  const json answer = toolJson("diff " + path_a + " " + path_b);
  EXPECT_EQ(answer["kind"], "ptz");
  EXPECT_EQ(answer["size_a"], json({1920, 1080}));
  ASSERT_EQ(answer["zooms"].size(), 23U);
  EXPECT_EQ(answer["zooms"][1]["zoom"], 500);
  ASSERT_EQ(answer["poses"].size(), 5U);
  EXPECT_NEAR(answer["poses"][2]["pose"]["angle_degrees"].get<double>(), 0.01 * 180 / kPi, 1e-6);
  EXPECT_THAT(toolRefusal("diff " + path_a + " " + path_b + " --fail-above 1.9"),
              HasSubstr("zoom 500: 2 px, more than 1.9\n"));
  EXPECT_THAT(toolRefusal("diff " + path_a + " " + path_b + " --fail-above-deg 0.5"),
              HasSubstr("pan -5934, tilt -1047: 0.572958 deg, more than 0.5\n"));
  toolOutput("diff " + path_a + " " + path_a + " --fail-above 0 --fail-above-deg 0");
  const ProgramResult csv = runTool("diff " + path_a + " " + path_b + " --csv -");
  EXPECT_EQ(linesOf(csv.output).size(), 1U + 23 * 61 * 34);
  EXPECT_EQ(linesOf(csv.output)[0], "zoom,size,u,v,du,dv,du_rotated,dv_rotated");
  EXPECT_EQ(linesOf(csv.output)[1].rfind("0,1920x1080,0,0,", 0), 0U);

  b.mutable_intrinsics()->set_image_width(1280);
  const std::string other = write("other.bin", b);
  EXPECT_THAT(toolRefusal("diff " + path_a + " " + other + " --fail-above 9"),
              HasSubstr("  image sizes 1920x1080 and 1280x1080: no pixels can be compared\n"));
}

TEST_F(DiffCommand, ZoomsWithoutALens) {
  PTZCameraParameters a = examplePtz();
  a.mutable_intrinsics()->set_max_zoom(-5000);
  const std::string path = write("a.bin", a);
  const std::string text = toolOutput("diff " + path + " " + path);
  expectFitsTerminal(text);
  EXPECT_THAT(text, HasSubstr("  zoom -5000: nothing to compare, no lens in A and B\n"));
  PTZCameraParameters b = examplePtz();
  b.mutable_intrinsics()->mutable_samples(0)->set_focal_length(-1500);
  EXPECT_THAT(toolOutput("diff " + write("c.bin", examplePtz()) + " " + write("b.bin", b)),
              HasSubstr("  zoom 0: nothing to compare, no lens in B\n"));
  EXPECT_THAT(
      toolOutput("diff " + write("c.bin", examplePtz()) + " " + write("d.bin", examplePtz())),
      Not(HasSubstr("nothing to compare")));
}

TEST_F(DiffCommand, ManyDistancesFitTheTerminal) {
  const std::string path = write("a.bin", examplePtz());
  const std::string six =
      " --distance 0.001 --distance 1234.5 --distance inf --distance 4 --distance 5 --distance 6";
  expectFitsTerminal(toolOutput("diff " + path + " " + path + six));
  expectBadUsage("diff " + path + " " + path + six + " --distance 7");
}

TEST_F(DiffCommand, Bases) {
  BaseCalibrationProto b = calibration::BaseCalibrationData().getCalibration();
  b.mutable_gyroscope()->set_gain(1.01F);
  b.clear_base_width();
  auto* pose = b.mutable_global_transform_adjustment()->mutable_global_transform();
  pose->set_a(3, pose->a(3) + 3);
  pose->set_a(7, pose->a(7) + 4);
  const std::string path = write("base.bin", b);
  const std::string text = toolOutput("diff default " + path);
  EXPECT_THAT(text, HasSubstr("A: compiled-in default calibration\n"));
  EXPECT_THAT(text, HasSubstr("  gyroscope gain  1.0035    1.01\n"));
  EXPECT_THAT(text, HasSubstr("  base width      0.52 m       -\n"));
  EXPECT_THAT(text, HasSubstr("moved by 5.000 mm: "));
  const json answer = toolJson("diff " + path + " default");
  EXPECT_EQ(answer["kind"], "base");
  EXPECT_EQ(answer["gyroscope_gain"], json({{"a", 1.01}, {"b", 1.0035}}));
  EXPECT_EQ(answer["base_width"], json({{"a", nullptr}, {"b", 0.52}}));
  EXPECT_THAT(toolRefusal("diff default " + path + " --fail-above-mm 4.9"),
              HasSubstr("global transform: 5 mm, more than 4.9\n"));
  for (const char* option : {"--fail-above 1", "--csv -", "--distance 3"}) {
    expectToolRefuses("diff default " + path + " " + option,
                      "compiled-in default calibration: --distance, --fail-above and --csv are for "
                      "calibrations of cameras");
  }
  expectToolRefuses("diff " + path + " default --camera a",
                    path + ": --camera and --size are for calibrations of fixed cameras");
}

TEST_F(DiffCommand, ManyMissingCamerasFitTheTerminal) {
  RobotCalibration many;
  for (int i = 0; i < 40; ++i) {
    *many.add_camera_calibration() = pinholeCamera("camera" + std::to_string(i), 10, 10);
  }
  const std::string path = write("many.bin", many);
  expectFitsTerminal(toolOutput("diff default " + path));
}

TEST_F(DiffCommand, HugeNumbersFitTheTerminal) {
  CameraCalibration a = pinholeCamera("a", 65535, 65535);
  CameraCalibration b = a;
  b.mutable_intrinsics()->set_cx(-1e30);
  b.mutable_extrinsics()->set_a(3, 1e300);
  expectFitsTerminal(
      toolOutput("diff " + write("a.bin", robotOf({a})) + " " + write("b.bin", robotOf({b}))));
}

}  // namespace
}  // namespace norv
