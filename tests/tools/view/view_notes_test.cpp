// What the verb `view` says beside its figures: what a review finds, where motors cannot be.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

#include "tests/tools/run_tool.h"
#include "tests/tools/view/view_example.h"

namespace norv {
namespace {

using calibration::CameraCalibration;
using nlohmann::json;
using testing::defaultRobotWith;
using ::testing::EndsWith;
using testing::pinholeCamera;
using testing::robotOf;
using testing::toolJson;
using testing::toolOutput;
using testing::toolRefusal;
using testing::toolRefusalJson;

/// What `show --json` has of a camera, of the only one without a name.
json shown(const std::string& path, const std::string& camera) {
  return toolJson("show " + path + " --camera " + camera);
}

TEST_F(ViewCommand, NotesErrorsOfItsCameraAsShowDoes) {
  const std::string path =
      write("no_width.bin", defaultRobotWith("head_camera", [](CameraCalibration* camera) {
              camera->mutable_intrinsics()->clear_width();
            }));
  const std::string counts = "\n1 error, 0 warnings; camera-parameters validate says which\n";
  const std::string head = "view " + path + " --camera head_camera --size 640x480";
  EXPECT_THAT(toolOutput(head),
              EndsWith(" at alpha 1\n"
                       "note: intrinsics.width is missing, where at least 1 is needed\n" +
                       counts));
  const json view = toolJson(head);
  const json show = shown(path, "head_camera");
  EXPECT_EQ(view["notes"], show["cameras"][0]["notes"]);
  EXPECT_EQ(view["notes"].size(), 1U);
  EXPECT_EQ(view["errors"], show["errors"]);
  EXPECT_EQ(view["warnings"], show["warnings"]);
  // The other one has no error of its own.
  EXPECT_THAT(toolOutput("view " + path + " --camera navigation_camera --size 640x480"),
              EndsWith(" at alpha 1\n" + counts));
}

TEST_F(ViewCommand, NotesSizesThatAreMissing) {
  // f = 1000 at 1280 x 960; tan of half the width is 0.64, of the height 0.48, of the diagonal 0.8.
  CameraCalibration camera = pinholeCamera("lab", 1280, 960);
  camera.set_model("mk513n");
  camera.mutable_intrinsics()->clear_width();
  camera.mutable_intrinsics()->clear_height();
  const std::string path = write("sizes.bin", robotOf({camera}));
  EXPECT_EQ(toolOutput("view " + path + " --size 1280x960"),
            path +
                "\n\n"
                "lab at 1280x960\n"
                "  centre on the robot (0.0000, 0.0000, 0.0000) m\n"
                "  camera from robot\n"
                "    1  0  0  0 m\n"
                "    0  1  0  0 m\n"
                "    0  0  1  0 m\n"
                "        from the corner  from the first pixel's centre\n"
                "  fx               1000                           1000\n"
                "  fy               1000                           1000\n"
                "  skew                0                              0\n"
                "  cx                640                          639.5\n"
                "  cy                480                          479.5\n"
                "  k1 0, k2 0, p1 0, p2 0\n"
                "  k3 0, k4 0, k5 0, k6 0\n"
                "  the lens has no end: each ray has a pixel of its own\n"
                "  every pixel has a ray\n"
                "  field of view, deg: 65.24 wide, 51.28 high, 77.32 from corner to corner\n"
                "\n"
                "straightened, alpha 0, 1280x960\n"
                "        from the corner  from the first pixel's centre\n"
                "  fx               1000                           1000\n"
                "  fy               1000                           1000\n"
                "  skew                0                              0\n"
                "  cx                640                          639.5\n"
                "  cy                480                          479.5\n"
                "size without scaling: 1280x960 at alpha 0, 1280x960 at alpha 1\n"
                "note: intrinsics.width is missing, where at least 1 is needed\n"
                "note: intrinsics.height is missing, where at least 1 is needed\n"
                "\n"
                "2 errors, 0 warnings; camera-parameters validate says which\n");
}

TEST_F(ViewCommand, SaysWhyThereIsNoStraightenedPicture) {
  CameraCalibration camera = pinholeCamera("flat", 640, 480);
  camera.mutable_intrinsics()->set_fx(0);
  const std::string path = write("flat.bin", robotOf({camera}));
  EXPECT_THAT(toolRefusal("view " + path),
              EndsWith("\nstraightened, alpha 0: there is no such view\n"
                       "size without scaling: none at alpha 0, none at alpha 1\n"
                       "note: intrinsics.fx is 0, not above 0\n"
                       "note: there is no straightened picture of this kind\n"
                       "\n"
                       "1 error, 0 warnings; camera-parameters validate says which\n"));
  EXPECT_EQ(
      toolRefusalJson("view " + path)["notes"],
      (json{"intrinsics.fx is 0, not above 0", "there is no straightened picture of this kind"}));
}

TEST_F(ViewCommand, OfCamerasOfOneNameNotesTheErrorsOfTheOneThatItShows) {
  CameraCalibration bad = pinholeCamera("a", 640, 480);
  bad.mutable_intrinsics()->set_fx(-1);
  const CameraCalibration good = pinholeCamera("a", 640, 480);
  const std::string twice =
      "name: the name is that of camera_calibration[0], which is lost: the later entry wins";
  const std::string last_is_good = write("good.bin", robotOf({bad, good}));
  const json of_good = toolJson("view " + last_is_good + " --camera a");
  EXPECT_EQ(of_good["notes"], (json{twice}));
  EXPECT_EQ(of_good["errors"], 2);
  const std::string last_is_bad = write("bad.bin", robotOf({good, bad}));
  EXPECT_EQ(toolJson("view " + last_is_bad + " --camera a")["notes"],
            (json{"intrinsics.fx is -1, not above 0", twice}));
}

TEST_F(ViewCommand, NotesErrorsOfAPanTiltZoomCamera) {
  calibration::PTZCameraParameters params = testing::examplePtz();
  params.mutable_pan_tilt()->set_max_pan(-9999);
  const std::string path = write("ptz.bin", params);
  EXPECT_THAT(toolOutput("view " + path + " --at -9999,0,0"),
              EndsWith(" at alpha 1\n"
                       "note: pan is said to be at -9999, below its lowest position, -5934\n"
                       "note: pan_tilt.min_pan is -5934, above max_pan, -9999\n"
                       "\n"
                       "1 error, 0 warnings; camera-parameters validate says which\n"));
  EXPECT_EQ(toolJson("view " + path + " --at -9999,0,0")["errors"], 1);
}

TEST_F(ViewCommand, NotesMotorsBeyondTheirRangeAsAimDoes) {
  const std::string arguments = " --at 999999,99999,2500";
  EXPECT_THAT(toolOutput("view " + kPtz + arguments),
              EndsWith(" at alpha 1\n"
                       "note: pan is said to be at 999999, above its highest position, 5934\n"
                       "note: tilt is said to be at 99999, above its highest position, 3141\n"
                       "\n"
                       "camera-parameters validate finds no error and no warning\n"));
  const json notes = toolJson("view " + kPtz + " --at -5935,-1048,-10")["notes"];
  EXPECT_EQ(notes, (json{"pan is said to be at -5935, below its lowest position, -5934",
                         "tilt is said to be at -1048, below its lowest position, -1047",
                         "zoom is said to be at -10, below its lowest position, 0",
                         "zoom position -10 is below the first lens sample: the lens there is "
                         "extrapolated"}));
  std::string joined;
  for (const auto& note : notes) joined += (joined.empty() ? "" : "; ") + note.get<std::string>();
  EXPECT_EQ(toolJson("aim " + kPtz + " --at -5935,-1048,-10 --point 5,0,0")["note"], joined);
  EXPECT_EQ(toolJson("view " + kPtz + " --at -5934,3141,0")["notes"], json::array());
}

}  // namespace
}  // namespace norv
