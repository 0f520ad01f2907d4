#pragma once

/// Runs of the verb `export` in a folder of their own.

#include <gtest/gtest.h>

#include <string>

#include "proto/norv_robot_calibration.pb.h"
#include "testing/file_contents.h"
#include "testing/temporary_folder.h"
#include "testing/tree_calibrations.h"
#include "tests/tools/import/import_example.h"
#include "tests/tools/run_tool.h"

namespace norv::testing {

/// The compiled-in cameras: head_camera with eight coefficients, whose rotation has nine digits,
/// and navigation_camera with four.
inline calibration::RobotCalibration compiledIn() {
  return treeCalibration<calibration::RobotCalibration>("default_head_cal.txt");
}

struct ExportFolder {
  TemporaryFolder folder;

  /// The words that export the compiled-in cameras to a file of the folder.
  std::string words(const std::string& arguments, const std::string& output) const {
    return "export default " + arguments + " -o '" + folder.path(output) + "'";
  }

  /// Exports, and expects that this is the last line of standard error and that the file is not
  /// touched.
  void expectRefused(const std::string& arguments, const std::string& reason,
                     const std::string& output = "output") const {
    folder.write(output, kOtherFile);
    expectToolRefuses(words(arguments, output), "compiled-in default calibration: " + reason);
    EXPECT_EQ(contentsOf(folder.path(output)), kOtherFile) << arguments;
  }

  /// What becomes of a written file once it is imported.
  calibration::RobotCalibration importBack(const std::string& output,
                                           const std::string& arguments) const {
    const std::string back = folder.path("back.txt");
    const ProgramResult result =
        runTool("import '" + folder.path(output) + "' " + arguments + " -o '" + back + "'");
    EXPECT_EQ(result.status, 0) << result.errors;
    return result.status == 0 ? readRobot(back) : calibration::RobotCalibration();
  }
};

}  // namespace norv::testing
