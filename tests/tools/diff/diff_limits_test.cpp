// When the verb `diff` says that two calibrations differ by more than a limit.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>
#include <string>

#include "testing/calibration_edits.h"
#include "testing/calibration_messages.h"
#include "tests/tools/diff/diff_example.h"
#include "tests/tools/run_tool.h"

namespace norv {
namespace {

using calibration::CameraCalibration;
using nlohmann::json;
using testing::defaultRobotWith;
using testing::DiffCommand;
using testing::expectFitsTerminal;
using ::testing::HasSubstr;
using testing::pinholeCamera;
using testing::robotOf;
using testing::runTool;
using testing::toolJson;
using testing::toolOutput;
using testing::toolRefusal;

TEST_F(DiffCommand, LimitsDecideTheStatus) {
  const std::string arguments = "diff default " + writeShifted();
  EXPECT_EQ(runTool(arguments).status, 0);
  EXPECT_EQ(runTool(arguments + " --fail-above 5.01 --fail-above-mm 0 --fail-above-deg 0").status,
            0);
  const std::string text = toolRefusal(arguments + " --fail-above 4.99");
  EXPECT_THAT(text, HasSubstr("\nbeyond the limit: navigation_camera 1280x960: 5 px, more than "
                              "4.99\n"));
  EXPECT_EQ(text.find("beyond the limit: head_camera"), std::string::npos);
  EXPECT_EQ(testing::toolRefusalJson(arguments + " --fail-above 4.99")["exceeded"],
            json({"navigation_camera 1280x960: 5 px, more than 4.99",
                  "navigation_camera 1280x720: 5 px, more than 4.99"}));
}

TEST_F(DiffCommand, LimitsOfPoses) {
  CameraCalibration moved = pinholeCamera("a", 100, 100);
  moved.mutable_extrinsics()->set_a(3, -3);
  moved.mutable_extrinsics()->set_a(7, -4);
  CameraCalibration turned = pinholeCamera("a", 100, 100);
  for (const int i : {0, 5}) turned.mutable_extrinsics()->set_a(i, 0);
  turned.mutable_extrinsics()->set_a(1, -1);
  turned.mutable_extrinsics()->set_a(4, 1);
  const std::string a = "diff " + write("a.bin", robotOf({pinholeCamera("a", 100, 100)})) + " ";
  const std::string moved_path = write("moved.bin", robotOf({moved}));
  const std::string turned_path = write("turned.bin", robotOf({turned}));
  toolOutput(a + moved_path + " --fail-above-mm 5.001 --fail-above-deg 0 --fail-above 0");
  EXPECT_THAT(toolRefusal(a + moved_path + " --fail-above-mm 4.999"),
              HasSubstr("beyond the limit: a: 5 mm, more than 4.999\n"));
  toolOutput(a + turned_path + " --fail-above-mm 0 --fail-above-deg 90.001");
  EXPECT_THAT(toolRefusal(a + turned_path + " --fail-above-deg 89.999"),
              HasSubstr("beyond the limit: a: 90 deg, more than 89.999\n"));
}

TEST_F(DiffCommand, WhatIsMissingInBIsBeyondAnyLimit) {
  const std::string one = write("one.bin", robotOf({pinholeCamera("a", 100, 100)}));
  const std::string two =
      write("two.bin", robotOf({pinholeCamera("a", 100, 100), pinholeCamera("b", 100, 100)}));
  EXPECT_THAT(toolOutput("diff " + two + " " + one), HasSubstr("\ncameras only in A: b\n"));
  EXPECT_THAT(toolRefusal("diff " + two + " " + one + " --fail-above 100"),
              HasSubstr("beyond the limit: b: is missing in B\n"));
  EXPECT_THAT(toolOutput("diff " + one + " " + two + " --fail-above 0"),
              HasSubstr("\ncameras only in B: b\n"));
  toolOutput("diff " + two + " " + one + " --camera a --fail-above 0");

  const std::string other = write(
      "other.bin", defaultRobotWith("navigation_camera",
                                    [](CameraCalibration* camera) { camera->set_model("lab"); }));
  const std::string text =
      toolRefusal("diff default " + other + " --camera navigation_camera --fail-above-mm 9");
  EXPECT_THAT(text, HasSubstr("\n  sizes only in A: 640x480, 1280x720\n"));
  EXPECT_THAT(text, HasSubstr("navigation_camera 640x480: is missing in B\n"));
}

TEST_F(DiffCommand, NoCameraAtAllInAIsBeyondAnyLimit) {
  const std::string none = folder_.write("none.txt", "# no cameras\n");
  for (const std::string limit : {"--fail-above 1", "--fail-above-mm 1", "--fail-above-deg 1"}) {
    EXPECT_THAT(toolRefusal("diff " + none + " default " + limit),
                HasSubstr("beyond the limit: A has no camera to compare\n"));
  }
  toolOutput("diff " + none + " default");
}

TEST_F(DiffCommand, RaysThatBDoesNotImageAreBeyondAnyLimit) {
  CameraCalibration a = pinholeCamera("a", 1280, 960);
  a.mutable_intrinsics()->set_fx(600);
  a.mutable_intrinsics()->set_fy(600);
  CameraCalibration b = a;
  b.mutable_intrinsics()->set_radial(0, -0.5);  // folds within the image
  const std::string path_a = write("a.bin", robotOf({a}));
  const std::string path_b = write("b.bin", robotOf({b}));
  const std::string text = toolRefusal("diff " + path_a + " " + path_b + " --fail-above 1000");
  expectFitsTerminal(text);
  EXPECT_THAT(text, HasSubstr("unseen\n"));
  EXPECT_THAT(text, ::testing::ContainsRegex("a 1280x960: B does not image [0-9]+ of A's rays"));
  EXPECT_THAT(toolOutput("diff " + path_b + " " + path_a),
              ::testing::ContainsRegex("    [0-9]+ of the grid's 2806 pixels have no ray in A\n"));
}

TEST_F(DiffCommand, WhereNothingCanBeComparedIsBeyondAnyLimit) {
  CameraCalibration none = pinholeCamera("a", 100, 100);
  none.mutable_intrinsics()->set_fx(0);
  const std::string path = write("none.bin", robotOf({none}));
  const std::string text = toolRefusal("diff " + path + " " + path + " --fail-above 1");
  EXPECT_THAT(text, HasSubstr("a 100x100: there are no pixels to compare\n"));
  EXPECT_THAT(text, ::testing::ContainsRegex("as is +- +- +- +-\n"));
  const json as_is = toolJson("diff " + path + " " + path)["cameras"][0]["images"][0]["as_is"];
  EXPECT_TRUE(as_is["max"].is_null());
  EXPECT_EQ(as_is["without_ray"], 61 * 61);
}

}  // namespace
}  // namespace norv
