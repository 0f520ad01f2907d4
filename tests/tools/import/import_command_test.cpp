// The verb `import`, run as the user runs it: what it writes.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "support/message_printing.h"
#include "testing/calibration_messages.h"
#include "tests/tools/import/import_example.h"

namespace norv {
namespace {

namespace fs = std::filesystem;
using calibration::CameraCalibration;
using calibration::RobotCalibration;
using testing::contentsOf;
using ::testing::HasSubstr;
using testing::importedCamera;
using testing::PeerFiles;
using testing::ProgramResult;
using testing::quoted;
using testing::readRobot;
using testing::reportOf;
using testing::robotOf;
using testing::runTool;
using testing::toolCommand;
using testing::toolOutput;
using testing::withoutPose;

/// What the report says last.
std::string writtenTo(const std::string& name, const std::string& rest) {
  return name + ": " + rest + "\n";
}

TEST(ImportCommand, NumbersAreTheSame) {
  const PeerFiles files;
  EXPECT_EQ(toolOutput(files.import(quoted(files.ros))),
            reportOf(files.ros, "ros") + withoutPose("left") +
                writtenTo(files.output, "1 camera imported, 1 in all, written in text format"));
  EXPECT_EQ(readRobot(files.output).SerializeAsString(),
            robotOf({importedCamera("left")}).SerializeAsString());
}

TEST(ImportCommand, TextSaysWhereItIsFrom) {
  const PeerFiles files;
  toolOutput(files.import(quoted(files.ros)));
  EXPECT_EQ(contentsOf(files.output),
            "# left: from " + reportOf(files.ros, "ros").replace(files.ros.size(), 1, ",") +
                printText(robotOf({importedCamera("left")})));
}

TEST(ImportCommand, Binary) {
  const PeerFiles files;
  EXPECT_THAT(toolOutput(files.import(quoted(files.ros) + " --binary")),
              HasSubstr("written in binary format\n"));
  EXPECT_EQ(contentsOf(files.output), robotOf({importedCamera("left")}).SerializeAsString());
}

TEST(ImportCommand, StandardOutputHoldsTheCalibrationAlone) {
  const PeerFiles files;
  const ProgramResult result = runTool("import '" + files.ros + "' --binary -o -");
  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(result.output, robotOf({importedCamera("left")}).SerializeAsString());
  EXPECT_EQ(result.errors, reportOf(files.ros, "ros") + withoutPose("left") +
                               writtenTo("standard output",
                                         "1 camera imported, 1 in all, written in binary format"));
}

TEST(ImportCommand, StandardInput) {
  const PeerFiles files;
  const ProgramResult result = testing::runProgram("cat '" + files.mrcal + "' | " + toolCommand() +
                                                   "import - --binary -o - --parent robot");
  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(result.output,
            robotOf({importedCamera("camera", testing::mrcalPose())}).SerializeAsString());
  EXPECT_THAT(result.errors, HasSubstr(reportOf("standard input", "mrcal") +
                                       "  camera: exact at 1280x960; pose of the file\n"));
}

TEST(ImportCommand, FileThatIsNamedLikeTheDefault) {
  const PeerFiles files;
  fs::copy_file(files.mrcal, files.folder.path("default"));
  const ProgramResult result = testing::runProgram("cd '" + files.folder.path() + "'; " +
                                                   toolCommand() + "import default --binary -o -");
  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(result.output, robotOf({importedCamera("default")}).SerializeAsString());
}

TEST(ImportCommand, SeveralFilesMakeOneCalibration) {
  const PeerFiles files;
  const std::string arguments = quoted(files.ros) + " " + quoted(files.mrcal) + " --parent robot";
  EXPECT_EQ(toolOutput(files.import(arguments)),
            reportOf(files.ros, "ros") + withoutPose("left") + reportOf(files.mrcal, "mrcal") +
                "  right: exact at 1280x960; pose of the file\n" +
                writtenTo(files.output, "2 cameras imported, 2 in all, written in text format"));
  const auto expected =
      robotOf({importedCamera("left"), importedCamera("right", testing::mrcalPose())});
  EXPECT_EQ(readRobot(files.output).SerializeAsString(), expected.SerializeAsString());
}

TEST(ImportCommand, NamesAndModel) {
  const PeerFiles files;
  toolOutput(files.import(quoted(files.ros) + " " + quoted(files.mrcal) +
                          " --parent robot --name a --name 'b c' --model lab"));
  CameraCalibration a = importedCamera("a");
  CameraCalibration b = importedCamera("b c", testing::mrcalPose());
  a.set_model("lab");
  b.set_model("lab");
  EXPECT_EQ(readRobot(files.output).SerializeAsString(), robotOf({a, b}).SerializeAsString());
}

TEST(ImportCommand, OriginOfPixels) {
  const PeerFiles files;
  EXPECT_THAT(toolOutput(files.import(quoted(files.ros) + " --pixel-origin corner")),
              HasSubstr(files.ros + ": format ros, pixels counted from the image's corner: cx and "
                                    "cy as they are\n"));
  const auto corner = readRobot(files.output).camera_calibration(0).intrinsics();
  EXPECT_EQ(corner.cx(), 640.3);
  EXPECT_EQ(corner.cy(), 480.25);
  EXPECT_THAT(contentsOf(files.output), HasSubstr("pixels counted from the image's corner"));
  toolOutput(files.import(quoted(files.ros) + " --pixel-origin centre"));
  EXPECT_EQ(readRobot(files.output).camera_calibration(0).intrinsics().cx(), 640.3 + 0.5);
}

TEST(ImportCommand, FormatIsWhatTheUserSays) {
  const PeerFiles files;
  EXPECT_EQ(runTool(files.import(quoted(files.ros) + " --format ros")).status, 0);
  files.expectRefused(quoted(files.ros) + " --format mrcal",
                      files.ros + ":1:12: more than one value");
}

TEST(ImportCommand, OtherVerbsNameIt) {
  const PeerFiles files;
  for (const std::string verb : {"show", "validate", "view"}) {
    const ProgramResult result = runTool(verb + " '" + files.ros + "'");
    EXPECT_EQ(result.status, 1) << verb;
    EXPECT_THAT(result.output + result.errors,
                HasSubstr("is a file of another program, format ros: camera-parameters import "
                          "makes a calibration of it"))
        << verb;
  }
}

/// A calibration with another camera and one named "left", to put cameras into.
RobotCalibration otherRobot() {
  CameraCalibration other = importedCamera("other", testing::mrcalPose());
  CameraCalibration left = other;
  left.set_name("left");
  return robotOf({other, left});
}

TEST(ImportCommand, IntoReplacesAndAdds) {
  RobotCalibration expected = otherRobot();
  *expected.mutable_camera_calibration(1) = importedCamera("left");
  *expected.add_camera_calibration() = importedCamera("right", testing::mrcalPose());
  const PeerFiles files;
  const std::string arguments = "import '" + files.ros + "' '" + files.mrcal +
                                "' --parent robot --into '" + files.output + "'";
  for (const bool text : {true, false}) {
    files.folder.write("output", text ? printText(otherRobot()) : otherRobot().SerializeAsString());
    EXPECT_THAT(toolOutput(arguments),
                HasSubstr(writtenTo(files.output, std::string("2 cameras imported, 3 in all, "
                                                              "written in ") +
                                                      (text ? "text" : "binary") + " format")));
    EXPECT_EQ(readRobot(files.output).SerializeAsString(), expected.SerializeAsString());
    EXPECT_EQ(contentsOf(files.output) == expected.SerializeAsString(), !text);
  }
}

TEST(ImportCommand, SaysWhatAReplacedCameraHad) {
  RobotCalibration robot = otherRobot();
  CameraCalibration* const left = robot.mutable_camera_calibration(1);
  left->set_model("mk513n");
  for (const double a : {0, -1, 0, 5, 0, 0, -1, 6, 1, 0, 0, 7})
    left->mutable_extrinsics()->add_a(a);
  const PeerFiles files;
  files.folder.write("output", printText(robot));
  const std::string into = "import '" + files.ros + "' --into '" + files.output + "' --force";
  const std::string kept = files.folder.write("kept", printText(robot));
  EXPECT_THAT(toolOutput(into + " --model mk513n --extrinsics-of '" + kept + ":left'"),
              Not(HasSubstr("is replaced")));
  EXPECT_THAT(toolOutput(into),
              HasSubstr("note: the camera left that is replaced had a pose; --extrinsics-of "
                        "FILE:left keeps it\n"
                        "note: the camera left that is replaced had the model mk513n; --model "
                        "mk513n keeps it\n"));
  EXPECT_THAT(toolOutput(into), Not(HasSubstr("is replaced")));
}

TEST(ImportCommand, IntoTheOtherFormat) {
  const PeerFiles files;
  const std::string into = "import '" + files.ros + "' --into '" + files.output + "'";
  files.folder.write("output", printText(otherRobot()));
  EXPECT_THAT(toolOutput(into + " --binary"), HasSubstr("2 in all, written in binary format"));
  EXPECT_THAT(toolOutput(into + " --text"), HasSubstr("written in text format"));
}

TEST(ImportCommand, WhatTextLoses) {
  const PeerFiles files;
  const std::string into = "import '" + files.ros + "' --into '" + files.output + "'";
  files.folder.write("output", "# of the lab\n" + printText(otherRobot()));
  EXPECT_THAT(toolOutput(into), HasSubstr("note: comments are not kept\n"));
  RobotCalibration later = otherRobot();
  later.GetReflection()->MutableUnknownFields(&later)->AddVarint(77, 1);
  files.folder.write("output", later.SerializeAsString());
  EXPECT_THAT(toolOutput(into), Not(HasSubstr("note: fields")));
  EXPECT_THAT(toolOutput(into + " --text"),
              HasSubstr("note: fields that this version does not know were left out: 1\n"));
}

TEST(ImportCommand, BackupAndLink) {
  const PeerFiles files;
  const std::string before = otherRobot().SerializeAsString();
  files.folder.write("output", before);
  fs::create_symlink("output", files.folder.path("link"));
  const std::string said =
      toolOutput("import '" + files.ros + "' --backup --into '" + files.folder.path("link") + "'");
  EXPECT_THAT(said, HasSubstr(files.output + ".bak: has what the file was before\n"));
  EXPECT_EQ(contentsOf(files.output + ".bak"), before);
  EXPECT_TRUE(fs::is_symlink(files.folder.path("link")));
  EXPECT_NE(contentsOf(files.output), before);
  toolOutput(files.import(quoted(files.ros) + " --backup"));
  EXPECT_TRUE(fs::exists(files.output + ".bak2"));
}

TEST(ImportCommand, FullFrameOfBinnedPictures) {
  const PeerFiles files;
  const std::string binned =
      files.folder.write("binned.yaml", testing::rosFile("left", "binning_x: 2\nbinning_y: 2\n"));
  EXPECT_EQ(runTool(files.import(quoted(binned))).status, 1);
  EXPECT_EQ(runTool(files.import(quoted(binned) + " --full-frame")).status, 0);
  EXPECT_EQ(readRobot(files.output).SerializeAsString(),
            robotOf({importedCamera("left")}).SerializeAsString());
}

}  // namespace
}  // namespace norv
