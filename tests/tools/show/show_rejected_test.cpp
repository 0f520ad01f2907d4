// Where the verb `show` finds what keeps a camera from loading.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

#include "testing/calibration_messages.h"
#include "testing/run_program.h"
#include "testing/temporary_folder.h"
#include "tests/tools/run_tool.h"
#include "tests/tools/show/show_example.h"

namespace norv {
namespace {

using calibration::CameraCalibration;
using testing::expectShowRefuses;
using ::testing::HasSubstr;
using testing::plainCamera;
using testing::ProgramResult;
using testing::robotOf;
using testing::runTool;
using testing::TemporaryFolder;

TEST(ShowCommand, CamerasThatAreRejected) {
  const TemporaryFolder folder;
  CameraCalibration camera = plainCamera("bad");
  camera.mutable_intrinsics()->mutable_radial()->Truncate(5);
  std::string path =
      folder.write("radial", robotOf({plainCamera("good"), camera}).SerializeAsString());
  expectShowRefuses(path,
                    path +
                        ": camera_calibration[1].intrinsics.radial: holds 5 values, at least 6 "
                        "are needed");
  camera = plainCamera("bad");
  camera.mutable_intrinsics()->clear_tangential();
  path = folder.write("tangential", robotOf({camera}).SerializeAsString());
  expectShowRefuses(path,
                    path +
                        ": camera_calibration[0].intrinsics.tangential: holds 0 values, at least "
                        "2 are needed");
  camera = plainCamera("bad");
  camera.mutable_intrinsics()->clear_height();
  path = folder.write("size", robotOf({camera}).SerializeAsString());
  expectShowRefuses(path,
                    path +
                        ": camera_calibration[0].intrinsics: needs width and height, since model "
                        "\"lab\" is not known");
  camera = plainCamera("bad");
  camera.set_model("mk512h");
  path = folder.write("samples", robotOf({camera}).SerializeAsString());
  expectShowRefuses(path,
                    path +
                        ": camera_calibration[0].intrinsics.samples: Can not find calibration "
                        "sample points to recompute intrinsics parameters.");
}

TEST(ShowCommand, ReasonOfARejectedCameraDoesNotDependOnTheLog) {
  const TemporaryFolder folder;
  CameraCalibration camera = plainCamera("bad");
  camera.set_model("mk512h");
  const std::string path = folder.write("samples", robotOf({camera}).SerializeAsString());
  const std::string reason = "camera-parameters: " + path +
                             ": camera_calibration[0].intrinsics.samples: Can not find calibration "
                             "sample points to recompute intrinsics parameters.\n";
  for (const char* environment : {"", "NORV_LOG=off", "NORV_LOG=check=fatal,off"}) {
    const ProgramResult result = runTool("show '" + path + "'", environment);
    EXPECT_EQ(result.status, 1) << environment;
    EXPECT_EQ(result.errors, reason) << environment;
  }
  const ProgramResult result = runTool("show '" + path + "'", "NORV_LOG=info");
  EXPECT_EQ(result.status, 1);
  EXPECT_THAT(result.errors, ::testing::EndsWith("\n" + reason));
  EXPECT_THAT(result.errors, HasSubstr("Using Corvel head camera model."));
}

TEST(ShowCommand, RejectedCameraOfATextHasItsPlace) {
  const TemporaryFolder folder;
  const std::string path = folder.write("robot.txt",
                                        "camera_calibration {\n"
                                        "  name: \"bad\"\n"
                                        "  intrinsics {\n"
                                        "    radial: [1, 2, 3, 4, 5, 6]\n"
                                        "    tangential: [1, 2]\n"
                                        "  }\n"
                                        "  extrinsics { a: [1, 2, 3] }\n"
                                        "}\n");
  expectShowRefuses(path,
                    path +
                        ":7:16: camera_calibration[0].extrinsics.a: holds 3 values, at least 12 "
                        "are needed");
}

/// A camera of a text, with so many radial coefficients.
std::string cameraText(int radial) {
  std::string text =
      "{ name: \"lab\" intrinsics { width: 640 height: 480 tangential: [0, 0] radial: [0";
  for (int i = 1; i < radial; ++i) text += ", 0";
  return text + "] } extrinsics { a: [1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0] } }";
}

TEST(ShowCommand, RejectedCameraOfAListHasItsPlace) {
  const TemporaryFolder folder;
  const std::string good = cameraText(6);
  const std::string bad = cameraText(3);
  const std::string complaint = ".intrinsics.radial: holds 3 values, at least 6 are needed";
  std::string path = folder.write("list", "# two\ncamera_calibration: [\n  " + good + ",\n  " +
                                              bad + "]\n\n\n\ncamera_calibration " + good + "\n");
  expectShowRefuses(path, path + ":4:72: camera_calibration[1]" + complaint);
  path = folder.write("single", "camera_calibration " + good + "\n\n\ncamera_calibration " + bad);
  expectShowRefuses(path, path + ":4:89: camera_calibration[1]" + complaint);
  path =
      folder.write("mixed", "camera_calibration [" + good + "," + good + "]\ncamera_calibration " +
                                good + "\n\ncamera_calibration [" + bad + "]");
  expectShowRefuses(path, path + ":4:90: camera_calibration[3]" + complaint);
}

}  // namespace
}  // namespace norv
