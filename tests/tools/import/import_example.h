#pragma once

/// Files of other programs for tests of the verb `import`, and what becomes of them.

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "proto/norv_robot_calibration.pb.h"
#include "support/message_parsing.h"
#include "testing/file_contents.h"
#include "testing/temporary_folder.h"
#include "tests/tools/run_tool.h"

namespace norv::testing {

inline const std::string kSamples = CAMERA_PARAMETERS_SOURCE_DIR "/tests/data/interop/";

/// A ROS file of a camera without a fault.
inline std::string rosFile(const std::string& name, const std::string& further = "") {
  return "image_width: 1280\n"
         "image_height: 960\n"
         "camera_name: " +
         name +
         "\n"
         "camera_matrix: {rows: 3, cols: 3, data: [1000.25, 0, 640.3, 0, 1001.5, 480.25, 0, 0, "
         "1]}\n"
         "distortion_model: plumb_bob\n"
         "distortion_coefficients: {rows: 1, cols: 5, data: [-0.1, 0.01, 0.001, -0.0005, "
         "0.002]}\n" +
         further;
}

/// A file of mrcal with the same camera, whose pose is that of `poseRow`.
inline std::string mrcalFile() {
  return "{ 'lensmodel': 'LENSMODEL_OPENCV5', 'imagersize': [1280, 960],\n"
         "  'intrinsics': [1000.25, 1001.5, 640.3, 480.25, -0.1, 0.01, 0.001, -0.0005, 0.002],\n"
         "  'extrinsics': [0, 0, 0, 0.25, -0.5, 1.5] }\n";
}

/// The pose of mrcal's file in millimetres.
inline std::vector<double> mrcalPose() { return {1, 0, 0, 250, 0, 1, 0, -500, 0, 0, 1, 1500}; }

inline std::vector<double> noPose() { return {1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0}; }

/// What becomes of the camera of these files.
inline calibration::CameraCalibration importedCamera(const std::string& name,
                                                     const std::vector<double>& pose = noPose()) {
  calibration::CameraCalibration camera;
  calibration::CameraIntrinsics* intrinsics = camera.mutable_intrinsics();
  intrinsics->set_fx(1000.25);
  intrinsics->set_fy(1001.5);
  intrinsics->set_skew(0);
  intrinsics->set_cx(640.3 + 0.5);
  intrinsics->set_cy(480.75);
  for (const double k : {-0.1, 0.01, 0.002, 0.0, 0.0, 0.0}) intrinsics->add_radial(k);
  for (const double p : {0.001, -0.0005}) intrinsics->add_tangential(p);
  intrinsics->set_width(1280);
  intrinsics->set_height(960);
  for (const double a : pose) camera.mutable_extrinsics()->add_a(a);
  camera.set_name(name);
  return camera;
}

/// A calibration of a file, in either format.
inline calibration::RobotCalibration readRobot(const std::string& path) {
  calibration::RobotCalibration robot;
  const std::string data = contentsOf(path);
  EXPECT_NE(data, "") << path;
  EXPECT_TRUE(parseBinary(data, &robot) || parseText(data, &robot)) << path;
  return robot;
}

/// What the report says first of a file.
inline std::string reportOf(const std::string& path, const std::string& format) {
  return path + ": format " + format +
         ", pixels counted from the centre of the first pixel: 0.5 added to cx and cy\n";
}

/// And of a camera that has no pose.
inline std::string withoutPose(const std::string& name) {
  return "  " + name +
         ": exact at 1280x960; no pose: identity; --parent, --extrinsics or --extrinsics-of gives "
         "one\n";
}

inline const std::string kOtherFile = "is what it was before\n";

/// A folder with a ROS file and one of mrcal, and a file to write.
struct PeerFiles {
  TemporaryFolder folder;
  std::string ros = folder.write("ros.yaml", rosFile("left"));
  std::string mrcal = folder.write("right.cameramodel", mrcalFile());
  std::string output = folder.path("output");

  /// The words that import files, each in its own quotes.
  std::string import(const std::string& arguments) const {
    return "import " + arguments + " -o '" + output + "'";
  }

  /// Expects that the output is not touched, and that this is the last line of standard error.
  void expectRefused(const std::string& arguments, const std::string& reason) const {
    folder.write("output", kOtherFile);
    const ProgramResult result = runTool(import(arguments));
    EXPECT_EQ(result.status, 1) << arguments;
    EXPECT_EQ(result.output, "") << arguments;
    EXPECT_EQ(result.errors, "camera-parameters: " + reason + "\n") << arguments;
    EXPECT_EQ(contentsOf(output), kOtherFile) << arguments;
  }
};

inline std::string quoted(const std::string& path) { return "'" + path + "'"; }

}  // namespace norv::testing
