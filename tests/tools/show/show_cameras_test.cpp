// What the verb `show` shows of cameras.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <cstddef>
#include <cstdlib>
#include <initializer_list>
#include <nlohmann/json.hpp>
#include <sstream>
#include <string>
#include <vector>

#include "calibration_common/camera_parameters.h"
#include "testing/calibration_messages.h"
#include "testing/run_program.h"
#include "testing/temporary_folder.h"
#include "tests/tools/run_tool.h"
#include "tests/tools/show/show_example.h"

namespace norv {
namespace {

using calibration::CameraCalibration;
using nlohmann::json;
using testing::exampleCamera;
using ::testing::HasSubstr;
using testing::plainCamera;
using testing::ProgramResult;
using testing::robotOf;
using testing::runProgram;
using testing::runTool;
using ::testing::StartsWith;
using testing::TemporaryFolder;

/// A camera in which a review finds nothing: the compiled-in navigation camera.
CameraCalibration soundCamera(const std::string& name) {
  CameraCalibration camera =
      calibration::CameraParametersSet().getRobotCalibration().camera_calibration(1);
  camera.set_name(name);
  return camera;
}

TEST(ShowCommand, TableOfAFile) {
  const TemporaryFolder folder;
  const std::string path = folder.write("robot.txt", robotOf({plainCamera("lab")}).DebugString());
  const ProgramResult result = runTool("show '" + path + "'");
  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(result.errors, "");
  EXPECT_EQ(result.output,
            path +
                ": 1 camera\n"
                "\n"
                "lab   model \"lab\", full frame 1280x960\n"
                "  centre on the robot (-1.5000, 0.0000, 0.0000) m\n"
                "  camera from robot\n"
                "    1  0  0  1.5 m\n"
                "    0  1  0    0 m\n"
                "    0  0  1    0 m\n"
                "  size  1280x960\n"
                "  fx        1000\n"
                "  fy        1000\n"
                "  skew         0\n"
                "  cx         640\n"
                "  cy         480\n"
                "  k1       0.125\n"
                "  k2        0.25\n"
                "  p1           0\n"
                "  p2       -0.25\n"
                "  k3       0.375\n"
                "  k4         0.5\n"
                "  k5       0.625\n"
                "  k6        0.75\n"
                "  note: intrinsics.radial: the lens folds before the farthest corner, "
                "800 px\n"
                "    from the principal point, by its tangential terms\n"
                "  note: intrinsics.tangential: the lens has tangential terms of 0.25 "
                "together,\n"
                "    above 0.1\n"
                "\n"
                "2 errors, 0 warnings; camera-parameters validate says which\n");
}

TEST(ShowCommand, CountsWhatAReviewFinds) {
  CameraCalibration camera = soundCamera("");
  camera.mutable_intrinsics()->set_skew(1);
  const TemporaryFolder folder;
  const std::string path = folder.write("robot", robotOf({camera}).SerializeAsString());
  EXPECT_THAT(
      testing::toolOutput("show '" + path + "'"),
      ::testing::EndsWith("\n\n0 errors, 2 warnings; camera-parameters validate says which\n"));
  const json document = testing::toolJson("show '" + path + "'");
  EXPECT_EQ(document["errors"], 0);
  EXPECT_EQ(document["warnings"], 2);
  EXPECT_THAT(
      testing::toolOutput("show"),
      ::testing::EndsWith("\n\ncamera-parameters validate finds no error and no warning\n"));
}

TEST(ShowCommand, SaysHowWellTheFitMeetsItsSamples) {
  const json cameras = testing::toolJson("show")["cameras"];
  const double error = cameras[0]["refit_error_per_point_pixels"].get<double>();
  calibration::CameraParametersSet set;
  EXPECT_EQ(error, set.getCamera("head_camera")->getRefit()->error_per_point);
  EXPECT_TRUE(cameras[1]["refit_error_per_point_pixels"].is_null());
  // The samples are stored to 0.001 pixels.
  EXPECT_THAT(
      testing::toolOutput("show"),
      ::testing::ContainsRegex("\n  fit to 130 samples: error 0\\.000[0-9]* px per point\n"));
  EXPECT_EQ(testing::toolOutput("show --camera navigation_camera").find("fit to"),
            std::string::npos);
}

TEST(ShowCommand, DefaultCalibrationIsNamedAsSuch) {
  const ProgramResult result = runTool("show");
  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(result.errors, "");
  EXPECT_THAT(result.output, StartsWith("compiled-in default calibration: 2 cameras\n"));
  for (const char* expected :
       {"head_camera   model \"mk512h\"", "navigation_camera   model \"mk513n\"",
        "\n  size         640x480  1280x960  1280x720\n",
        "\n  size  640x480  1280x960  1280x720\n"}) {
    EXPECT_THAT(result.output, HasSubstr(expected));
  }
}

TEST(ShowCommand, BinaryAndTextShowTheSame) {
  const TemporaryFolder folder;
  const auto robot = robotOf({plainCamera("a"), exampleCamera("b", "b910")});
  folder.write("text", robot.DebugString());
  folder.write("binary", robot.SerializeAsString());
  const std::string show = "cd '" + folder.path() + "'; " + testing::toolCommand() + "show ";
  const ProgramResult text = runProgram(show + "text --json | grep -v source");
  const ProgramResult binary = runProgram(show + "binary --json | grep -v source");
  EXPECT_GT(text.output.size(), 1000U);
  EXPECT_EQ(text.output, binary.output);
}

TEST(ShowCommand, OneCameraAndOneSize) {
  const ProgramResult result = runTool("show --camera navigation_camera --size 1280x720");
  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(result.output.find("head_camera"), std::string::npos);
  EXPECT_EQ(result.output.find("640x480"), std::string::npos);
  EXPECT_EQ(result.output.find("(scaled)"), std::string::npos);
  EXPECT_THAT(result.output, HasSubstr("\n  size  1280x720\n"
                                       "  fx         905\n"
                                       "  fy         905\n"
                                       "  skew         0\n"
                                       "  cx         640\n"
                                       "  cy         360\n"
                                       "  k1       -0.28\n"));
}

TEST(ShowCommand, SizeThatTheCameraDoesNotDeliver) {
  const ProgramResult result = runTool("show --camera navigation_camera --size 320x240");
  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(result.errors, "");
  EXPECT_THAT(result.output, HasSubstr("\n  size   320x240\n"
                                       "  fx      226.25\n"
                                       "  fy      226.25\n"
                                       "  skew         0\n"
                                       "  cx         160\n"
                                       "  cy         120\n"));
  EXPECT_THAT(result.output, HasSubstr("\n        (scaled)\n\n"));
}

TEST(ShowCommand, JsonForPrograms) {
  const TemporaryFolder folder;
  const std::string path = folder.write("robot", robotOf({plainCamera("lab")}).SerializeAsString());
  const ProgramResult result = runTool("show --json '" + path + "' --size 640x480");
  EXPECT_EQ(result.status, 0);
  const json expected = {
      {"source", path},
      {"errors", 2},
      {"warnings", 0},
      {"notes", json::array()},
      {"cameras",
       {{{"name", "lab"},
         {"model", "lab"},
         {"full_frame_size", {1280, 960}},
         {"camera_from_robot",
          {{1.0, 0.0, 0.0, 1.5}, {0.0, 1.0, 0.0, 0.0}, {0.0, 0.0, 1.0, 0.0}, {0.0, 0.0, 0.0, 1.0}}},
         {"center_on_robot", {-1.5, 0.0, 0.0}},
         {"adjusted_by", json::array()},
         {"refit_error_per_point_pixels", nullptr},
         {"notes",
          {"intrinsics.radial: the lens folds before the farthest corner, 800 px from the "
           "principal "
           "point, by its tangential terms",
           "intrinsics.tangential: the lens has tangential terms of 0.25 together, above 0.1"}},
         {"intrinsics",
          {{{"width", 640},
            {"height", 480},
            {"camera_matrix", {{500.0, 0.0, 320.0}, {0.0, 500.0, 240.0}, {0.0, 0.0, 1.0}}},
            {"distortion", {0.125, 0.25, 0.0, -0.25, 0.375, 0.5, 0.625, 0.75}},
            {"scaled_from_full_frame", true}}}}}}}};
  EXPECT_EQ(json::parse(result.output), expected);
}

TEST(ShowCommand, JsonOfStrangeValues) {
  CameraCalibration camera = plainCamera("\xff\"\n");
  camera.mutable_intrinsics()->set_fx(std::nan(""));
  const TemporaryFolder folder;
  const std::string path = folder.write("robot", robotOf({camera}).SerializeAsString());
  const ProgramResult result = runTool("show --json '" + path + "'");
  EXPECT_EQ(result.status, 0);
  const json document = json::parse(result.output);
  EXPECT_EQ(document["cameras"][0]["name"], "\xef\xbf\xbd\"\n");
  EXPECT_TRUE(document["cameras"][0]["intrinsics"][0]["camera_matrix"][0][0].is_null());
}

TEST(ShowCommand, DigitsReadBackAsTheSameFloat) {
  CameraCalibration camera = plainCamera("a");
  camera.mutable_intrinsics()->set_fx(1000.0 / 3);
  camera.mutable_intrinsics()->set_radial(0, -0.000298123456);
  camera.mutable_extrinsics()->set_a(3, 30);  // millimetres
  const TemporaryFolder folder;
  const std::string path = folder.write("robot", robotOf({camera}).SerializeAsString());
  const std::string text = runTool("show '" + path + "'").output;
  EXPECT_THAT(text, HasSubstr("\n    1  0  0  0.03 m\n"));
  const auto value = [&](const std::string& name) {
    const std::size_t at = text.find("\n  " + name + " ");
    return at == std::string::npos ? NAN
                                   : std::strtof(text.c_str() + at + 3 + name.size(), nullptr);
  };
  EXPECT_EQ(value("fx"), static_cast<float>(1000.0 / 3));
  EXPECT_EQ(value("k1"), -0.000298123456F);
  const std::string document = runTool("show --json '" + path + "'").output;
  EXPECT_THAT(document, HasSubstr(" 0.03\n"));
  EXPECT_EQ(document.find("0.0299999"), std::string::npos);
  const json view = json::parse(document)["cameras"][0]["intrinsics"][0];
  EXPECT_EQ(view["camera_matrix"][0][0].get<float>(), static_cast<float>(1000.0 / 3));
  EXPECT_EQ(view["distortion"][0].get<float>(), -0.000298123456F);
}

TEST(ShowCommand, NotesOnErrors) {
  CameraCalibration camera = soundCamera("a");
  for (const int i : {0, 1, 2}) camera.mutable_extrinsics()->set_a(i, 2 * camera.extrinsics().a(i));
  camera.mutable_intrinsics()->set_fy(-1000);
  camera.mutable_intrinsics()->set_width(0);
  camera.mutable_intrinsics()->set_skew(1);  // a warning, which is counted and not shown
  const TemporaryFolder folder;
  const std::string path =
      folder.write("robot", robotOf({camera, soundCamera("b")}).SerializeAsString());
  EXPECT_THAT(
      testing::toolOutput("show '" + path + "'"),
      HasSubstr("\n"
                "  note: intrinsics.fy is -1000, not above 0\n"
                "  note: intrinsics.width is 0, below 1\n"
                "  note: extrinsics.a: the rotation R misses R R^T = 1 by 3, more than 0.01\n"
                "\n"
                "b   model"));
  const json cameras = testing::toolJson("show '" + path + "'")["cameras"];
  EXPECT_EQ(cameras[0]["notes"].size(), 3U);
  EXPECT_EQ(cameras[0]["notes"][0], "intrinsics.fy is -1000, not above 0");
  EXPECT_EQ(cameras[1]["notes"], json::array());
}

TEST(ShowCommand, NotesOnTenErrorsAndTheNumberOfTheOthers) {
  CameraCalibration camera = soundCamera("a");
  for (int i = 0; i < 11; ++i) camera.mutable_extrinsics()->set_a(i, std::nan(""));
  const TemporaryFolder folder;
  const std::string path = folder.write("robot", robotOf({camera}).SerializeAsString());
  EXPECT_EQ(testing::toolJson("show '" + path + "'")["cameras"][0]["notes"].size(), 11U);
  EXPECT_THAT(testing::toolOutput("show '" + path + "'"),
              HasSubstr("\n  note: and 1 more\n\n11 errors, 0 warnings;"));
}

TEST(ShowCommand, FitsATerminalOf80Columns) {
  // Whatever is in the folder of calibrations, by names without a path; and the default.
  const ProgramResult files =
      runProgram("cd '" CAMERA_PARAMETERS_SOURCE_DIR "/calibration'; ls *.txt");
  std::istringstream names(files.output);
  std::vector<std::string> shown = {""};
  for (std::string name; names >> name;) shown.push_back(name);
  EXPECT_GE(shown.size(), 4U);
  for (const std::string& name : shown) {
    const ProgramResult result = runProgram("cd '" CAMERA_PARAMETERS_SOURCE_DIR "/calibration'; " +
                                            testing::toolCommand() + "show " + name);
    EXPECT_EQ(result.status, 0) << name;
    testing::expectFitsTerminal(result.output);
  }
}

TEST(ShowCommand, RepeatedNamesAreSaid) {
  const TemporaryFolder folder;
  const auto pathOf = [&](std::initializer_list<CameraCalibration> cameras) {
    return folder.write("robot" + std::to_string(cameras.size()),
                        robotOf(cameras).SerializeAsString());
  };
  CameraCalibration second = soundCamera("lab");
  second.mutable_extrinsics()->set_a(3, 31);
  const std::string two = pathOf({soundCamera("lab"), second});
  const std::string note =
      "name: the name is that of camera_calibration[0], which is lost: the later entry wins";
  const json cameras = testing::toolJson("show '" + two + "'")["cameras"];
  EXPECT_EQ(cameras[0]["notes"], json::array());
  EXPECT_EQ(cameras[1]["notes"], json::array({note}));
  EXPECT_THAT(
      testing::toolOutput("show '" + two + "'"),
      ::testing::EndsWith("\n"
                          "  note: name: the name is that of camera_calibration[0], which is "
                          "lost: the\n"
                          "    later entry wins\n"
                          "\n"
                          "1 error, 0 warnings; camera-parameters validate says which\n"));
  // Of a camera that was not asked for nothing is said.
  const std::string three = pathOf({soundCamera("lab"), soundCamera("b"), second});
  EXPECT_EQ(testing::toolJson("show '" + three + "' --camera lab")["cameras"][1]["notes"],
            json::array({note}));
  EXPECT_EQ(testing::toolJson("show '" + three + "' --camera b")["cameras"][0]["notes"],
            json::array());
}

TEST(ShowCommand, EmptyCalibration) {
  const TemporaryFolder folder;
  const std::string path = folder.write("empty", "");
  const ProgramResult result = runTool("show '" + path + "'");
  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(result.output, path +
                               ": 0 cameras\n"
                               "  note: the file is empty, which reads as a calibration without "
                               "cameras\n"
                               "\n"
                               "0 errors, 1 warning; camera-parameters validate says which\n");
  EXPECT_EQ(testing::toolJson("show '" + path + "'")["notes"].size(), 1U);
  const std::string comment = folder.write("comment", "# no cameras\n");
  EXPECT_EQ(
      testing::toolOutput("show '" + comment + "'"),
      comment + ": 0 cameras\n\n0 errors, 1 warning; camera-parameters validate says which\n");
}

TEST(ShowCommand, NamesCannotForgeLines) {
  const TemporaryFolder folder;
  const std::string path =
      folder.write("robot", robotOf({plainCamera("a\nb\t")}).SerializeAsString());
  const ProgramResult result = runTool("show '" + path + "'");
  EXPECT_EQ(result.status, 0);
  EXPECT_THAT(result.output, HasSubstr("\na\\nb\\x09   model \"lab\""));
}

}  // namespace
}  // namespace norv
