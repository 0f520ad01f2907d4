// What is refused of each format, as the user sees it: the whole line, status 1, and an output that
// is not touched.

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tests/tools/import/import_example.h"

namespace norv {
namespace {

using testing::contentsOf;
using testing::kSamples;
using testing::PeerFiles;
using testing::quoted;

std::string replaced(std::string text, const std::string& piece, const std::string& by) {
  const std::size_t at = text.find(piece);
  EXPECT_NE(at, std::string::npos) << piece;
  return at == std::string::npos ? text : text.replace(at, piece.size(), by);
}

/// Expects that the contents are refused with what follows the file's name.
void expectRefused(const std::string& contents, const std::string& reason,
                   const std::string& options = "") {
  const PeerFiles files;
  const std::string path = files.folder.write("file", contents);
  files.expectRefused(quoted(path) + " " + options, path + reason);
}

TEST(ImportFormats, WhatRosTakesWithAWarningAtMost) {
  const std::string ros = testing::rosFile("left");
  expectRefused(replaced(ros, "rows: 1, cols: 5", "rows: 1, cols: 3"),
                ":6:51: distortion_coefficients.data: has 5 numbers where rows x cols are 1 x 3");
  expectRefused(replaced(replaced(ros, "cols: 5", "cols: 8"), "0.002]", "0.002, 0, 0, 0]"),
                ":6:51: distortion_coefficients.data: plumb_bob has 4 or 5 numbers, not 8");
  expectRefused(replaced(ros, "distortion_model: plumb_bob\n", ""),
                ":1:1: distortion_model: is missing");
  expectRefused(replaced(ros, "plumb_bob", "thin_prism"),
                ":5:19: distortion_model: is no lens model that is read, which are plumb_bob, "
                "rational_polynomial, equidistant and fisheye: thin_prism");
}

TEST(ImportFormats, KalibrsPosesHaveToAgree) {
  const std::string chain = contentsOf(kSamples + "kalibr/kalibr_camchain_imucam.yaml");
  const std::string moved = replaced(chain, "[1.0, 0.0, 0.0, -0.11]", "[1.0, 0.0, 0.0, -0.111]");
  const PeerFiles files;
  const std::string path = files.folder.write("chain.yaml", moved);
  files.folder.write("output", testing::kOtherFile);
  const testing::ProgramResult result = testing::runTool(files.import(quoted(path)));
  EXPECT_EQ(result.status, 1);
  EXPECT_NE(result.errors.find("cam1.T_cn_cnm1: differs from what T_cam_imu of this camera and the "
                               "one before it say by 1.0 mm, "),
            std::string::npos)
      << result.errors;
  EXPECT_EQ(contentsOf(files.output), testing::kOtherFile);
}

TEST(ImportFormats, TransposedRotationsNeedAParentAsAllPosesDo) {
  std::string chain = contentsOf(kSamples + "kalibr/kalibr_camchain_imucam.yaml");
  chain = replaced(chain, "[0.0, -1.0, 0.0, 0.05]", "[0.0, 0.0, 1.0, 0.05]");
  chain = replaced(chain, "[0.0, -1.0, 0.0, -0.06]", "[0.0, 0.0, 1.0, -0.06]");
  for (int camera = 0; camera < 2; ++camera) {
    chain = replaced(chain, "[0.0, 0.0, -1.0, 0.02]", "[-1.0, 0.0, 0.0, 0.02]");
    chain = replaced(chain, "[1.0, 0.0, 0.0, -0.01]", "[0.0, -1.0, 0.0, -0.01]");
  }
  const PeerFiles files;
  const testing::ProgramResult result = testing::runTool(
      files.import(quoted(files.folder.write("chain.yaml", chain)) + " --max-error 1"));
  EXPECT_EQ(result.status, 0) << result.errors;
  for (const std::string camera : {"cam0", "cam1"}) {
    EXPECT_NE(result.errors.find("pose of " + camera +
                                 " (it is of the frame imu, and --parent says "
                                 "which frame that is)\n"),
              std::string::npos);
  }
  const calibration::RobotCalibration robot = testing::readRobot(files.output);
  EXPECT_EQ(robot.camera_calibration_size(), 2);
  for (const auto& camera : robot.camera_calibration()) {
    EXPECT_EQ(std::vector<double>(camera.extrinsics().a().begin(), camera.extrinsics().a().end()),
              testing::noPose());
  }
}

TEST(ImportFormats, LensesThatAreNotRead) {
  expectRefused(replaced(testing::mrcalFile(), "OPENCV5", "CAHVOR"),
                ":1:16: lensmodel: is a lens that is not read: LENSMODEL_CAHVOR");
  expectRefused("1 THIN_PRISM_FISHEYE 640 480 1 2 3 4 5 6 7 8 9 10 11 12\n",
                ":1:3: MODEL: is a lens that is not read: THIN_PRISM_FISHEYE");
  const std::string basalt = contentsOf(kSamples + "basalt/basalt_calib.json");
  expectRefused(replaced(basalt, "pinhole-radtan8", "pinhole-radtan9"),
                ":8:32: value0.intrinsics[0].camera_type: is a camera type that is not read, only "
                "pinhole, pinhole-radtan8, kb4, ds, eucm, ucm and fov: pinhole-radtan9");
}

TEST(ImportFormats, NamesTheFilesOfAColmapFolderThatHoldMore) {
  const PeerFiles files;
  const std::string folder = quoted(files.folder.path());
  files.folder.write("cameras.txt", "1 PINHOLE 640 480 500 500 320 240\n");
  files.folder.write("points3D.txt", "# 3D point list\r\n#   POINT3D_ID, X, Y, Z\r\n\r\n");
  const testing::ProgramResult empty = testing::runTool(files.import(folder) + " --strict");
  EXPECT_EQ(empty.status, 0) << empty.errors;
  EXPECT_EQ(empty.errors, "");

  const std::string points =
      files.folder.write("points3D.txt", "# 3D point list\n 1 0 0 0 255 255 255 0.5 1 2\n");
  const std::string rigs = files.folder.write("rigs.txt", "# Rig list\n");
  const std::string frames = files.folder.write("frames.txt", "# Frame list\n");
  const std::string reason = " (cameras and their poses come from cameras.txt and images.txt)\n";
  const testing::ProgramResult full = testing::runTool(files.import(folder));
  EXPECT_EQ(full.status, 0);
  EXPECT_EQ(full.errors, "not taken over: " + rigs + reason + "not taken over: " + frames + reason +
                             "not taken over: " + points + " (points have no place here)\n");
  files.folder.write("output", testing::kOtherFile);
  const testing::ProgramResult strict = testing::runTool(files.import(folder) + " --strict");
  EXPECT_EQ(strict.status, 1);
  EXPECT_NE(strict.errors.find("camera-parameters: " + files.output +
                               ": not written, since not everything is taken over: " + rigs + ", " +
                               frames + ", " + points + "\n"),
            std::string::npos)
      << strict.errors;
  EXPECT_EQ(contentsOf(files.output), testing::kOtherFile);
}

TEST(ImportFormats, OpenCvsSizesAreNotGuessed) {
  const std::string text = contentsOf(kSamples + "opencv/opencv5.yml");
  const std::string without = replaced(replaced(text, "image_width", "w"), "image_height", "h");
  expectRefused(without,
                ": image_width: is missing, as image_height and image_size are; --size WxH tells "
                "them");
  const PeerFiles files;
  const std::string path = files.folder.write("file", without);
  EXPECT_EQ(testing::runTool(files.import(quoted(path) + " --size 1280x960")).status, 0);
  EXPECT_EQ(testing::readRobot(files.output).camera_calibration(0).intrinsics().width(), 1280);
}

}  // namespace
}  // namespace norv
