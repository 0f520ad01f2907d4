// What the verb `import` refuses: with which words, and an output that is not touched.

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
using testing::contentsOf;
using testing::expectUsage;
using ::testing::HasSubstr;
using testing::importedCamera;
using testing::kOtherFile;
using testing::PeerFiles;
using testing::ProgramResult;
using testing::quoted;
using testing::readRobot;
using testing::robotOf;
using testing::runTool;

TEST(ImportRefusal, CallsThatAreWrong) {
  expectUsage("import", "FILE is required", "import");
  expectUsage("import f", "import needs --output or --into", "import");
  expectUsage("import f -o a --into b", "--output excludes --into", "import");
  expectUsage("import '' -o a", "FILE: the name of the file is empty", "import");
  expectUsage("import f -o ''", "--output: the name of the file is empty", "import");
  expectUsage("import f --into ''", "--into: the name of the file is empty", "import");
  expectUsage("import f --into -", "--into is for files, not for standard input", "import");
  expectUsage("import f -o - --backup", "--backup is for files, not for standard output", "import");
  expectUsage("import f -o a --text --binary", "--binary excludes --text", "import");
  expectUsage("import - - -o a", "standard input can be read only once", "import");
  expectUsage("import - -o a --check -", "standard input can be read only once", "import");
  expectUsage("import f -o a --check-origin centre", "--check-origin is for --check", "import");
  expectUsage("import f -o a --check ''", "--check: the name of the file is empty", "import");
}

TEST(ImportRefusal, PosesThatAreSaidWrong) {
  expectUsage("import f -o a --parent imu", "--parent imu needs --parent-from-robot, its pose",
              "import");
  expectUsage("import f -o a --parent ''", "--parent: the name of the frame is empty", "import");
  expectUsage(
      "import f -o a --parent robot --parent-from-robot '1 0 0 0 0 1 0 0 0 0 1 0'",
      "--parent robot says that there is no pose between, and --parent-from-robot gives one",
      "import");
  for (const std::string option : {"--parent-from-robot", "--extrinsics"}) {
    expectUsage("import f -o a " + option + " '1 2 3'",
                option + ": not 12 numbers, the top three rows of a pose, in quotes: 1 2 3",
                "import");
  }
  expectUsage("import f -o a --extrinsics-of b:c --extrinsics '1 0 0 0 0 1 0 0 0 0 1 0'",
              "--extrinsics excludes --extrinsics-of", "import");
}

TEST(ImportRefusal, ValuesThatAreNone) {
  expectUsage("import f -o a --format xml",
              "--format: not one of ros|kalibr|opencv|mrcal|colmap|basalt: xml", "import");
  expectUsage("import f -o a --pixel-origin center",
              "--pixel-origin: not one of centre|corner: center", "import");
  expectUsage("import f -o a --check a --check-origin middle",
              "--check-origin: not one of centre|corner: middle", "import");
  expectUsage("import f -o a --size 640",
              "--size: not a size such as 640x480, each side at most "
              "65535: 640",
              "import");
  expectUsage("import f -o a --node 3", "--node: not one of 1|2: 3", "import");
  expectUsage("import f -o a --scale 0", "--scale: not a positive number: 0", "import");
  expectUsage("import f -o a --max-error -1", "--max-error: not a number from 0 on: -1", "import");
  expectUsage("import f -o a --max-error nan", "--max-error: not a number from 0 on: nan",
              "import");
  expectUsage("import f -o a --name ''", "--name: the name of a camera is empty", "import");
}

TEST(ImportRefusal, FilesThatAreNone) {
  const PeerFiles files;
  files.expectRefused("nowhere", "nowhere: there is no such file");
  const std::string empty = files.folder.write("empty", "");
  const std::string known =
      ": looks like no calibration of the known formats: ros, kalibr, opencv, mrcal, colmap, "
      "basalt";
  files.expectRefused(quoted(empty), empty + known);
  files.expectRefused(quoted(files.ros) + " " + quoted(empty), empty + known);
}

TEST(ImportRefusal, FoldersAreColmaps) {
  const PeerFiles files;
  const std::string folder = files.folder.path("scene");
  fs::create_directory(folder);
  const std::string lacks = folder + ": is a folder without COLMAP's cameras.txt";
  files.expectRefused(quoted(folder), lacks);
  files.folder.write("scene/cameras.bin", "");
  files.expectRefused(
      quoted(folder),
      lacks + "; COLMAP's model_converter makes one of the binary files that it has");
}

TEST(ImportRefusal, ContentsThatAreWrong) {
  const PeerFiles files;
  const std::string nan = files.folder.write("nan.cameramodel",
                                             "{ 'lensmodel': 'LENSMODEL_PINHOLE',\n"
                                             "  'intrinsics': [1000, nan, 640, 480],\n"
                                             "  'imagersize': [1280, 960] }\n");
  files.expectRefused(quoted(nan), nan + ":2:24: intrinsics[1]: is not finite: nan");
}

TEST(ImportRefusal, NamesThatAreEqual) {
  const PeerFiles files;
  const std::string second = files.folder.write("second.yaml", testing::rosFile("left"));
  files.expectRefused(quoted(files.ros) + " " + quoted(second),
                      second + ": left: is the name of another camera of " + files.ros + " too");
  files.expectRefused(quoted(files.ros) + " " + quoted(second) + " --name a --name a",
                      second + ": a: is the name of another camera of " + files.ros + " too");
}

TEST(ImportRefusal, AsManyNamesAsCameras) {
  const PeerFiles files;
  files.expectRefused(quoted(files.ros) + " --name a --name b", "names given: 2, cameras: 1");
  files.expectRefused(quoted(files.ros) + " " + quoted(files.mrcal) + " --name a",
                      "names given: 1, cameras: 2");
}

TEST(ImportRefusal, CalibrationsToAddTo) {
  const PeerFiles files;
  const auto into = [&](const std::string& path) {
    return "import '" + files.ros + "' --into '" + path + "'";
  };
  testing::expectToolRefuses(into("nowhere"), "nowhere: there is no such file");
  testing::expectToolRefuses(into(files.folder.write("empty", "")),
                             files.folder.path("empty") + ": is empty");
  const std::string base = files.folder.write("base", "wheel_base: 1\n");
  testing::expectToolRefuses(
      into(base), base + ": holds the calibration of a mobile base, not of fixed cameras");
  const std::string json = files.folder.write("json", "{\"cameraCalibration\": []}");
  testing::expectToolRefuses(
      into(json),
      json + ": is JSON, which no robot loads; --text or --binary says what it becomes");
  EXPECT_EQ(runTool(into(json) + " --text").status, 0);
  EXPECT_EQ(readRobot(json).camera_calibration_size(), 1);
}

/// Expects that the review's error stops the writing, that its line says so, and that it does not
/// with --force.
void expectForceNeeded(const PeerFiles& files, const std::string& arguments,
                       const std::string& check, const std::string& errors) {
  files.folder.write("output", kOtherFile);
  const ProgramResult refused = runTool(files.import(arguments));
  EXPECT_EQ(refused.status, 1);
  EXPECT_EQ(refused.output, "");
  EXPECT_THAT(refused.errors, HasSubstr(files.output + ": error: camera_calibration[0]."));
  EXPECT_THAT(refused.errors, HasSubstr(" [" + check + "]\n"));
  EXPECT_THAT(refused.errors, ::testing::EndsWith("\ncamera-parameters: " + files.output +
                                                  ": not written, since it would have " + errors +
                                                  "; --force writes it all the same\n"));
  EXPECT_EQ(contentsOf(files.output), kOtherFile);
  const ProgramResult forced = runTool(files.import(arguments + " --force"));
  EXPECT_EQ(forced.status, 0);
  EXPECT_EQ(forced.errors, "");
  EXPECT_THAT(forced.output, HasSubstr(" [" + check + "]\n"));
  EXPECT_THAT(forced.output, HasSubstr(": 1 camera imported, 1 in all, written in text format\n"));
  EXPECT_EQ(readRobot(files.output).camera_calibration_size(), 1);
}

TEST(ImportRefusal, WhatValidateFindsStopsIt) {
  const PeerFiles files;
  std::string folded = testing::rosFile("left");
  folded.replace(folded.find("-0.1"), 4, "-0.9");
  const std::string path = files.folder.write("folded.yaml", folded);
  expectForceNeeded(files, quoted(path), "lens-fold", "1 error");
}

TEST(ImportRefusal, FoldsInTheLastCornersAreWarnings) {
  const PeerFiles files;
  const std::string sample = testing::kSamples + "ros/ros_rational_polynomial.yaml";
  const ProgramResult result = runTool(files.import(quoted(sample)));
  EXPECT_EQ(result.status, 0);
  EXPECT_THAT(result.output,
              HasSubstr(files.output +
                        ": warning: camera_calibration[0].intrinsics.radial: the lens folds at "));
  EXPECT_THAT(result.output, HasSubstr("0.169 % of the pixels have no ray [lens-fold]\n"));
  EXPECT_EQ(readRobot(files.output).camera_calibration_size(), 1);
  EXPECT_THAT(runTool("validate '" + files.output + "'").output,
              HasSubstr(": error: camera_calibration[0].intrinsics.radial: the lens folds at "));
}

TEST(ImportRefusal, ModelsCutTheirPicturesOutOfTheFrame) {
  const PeerFiles files;
  EXPECT_EQ(runTool(files.import(quoted(files.ros) + " --model mk513n")).status, 0);
  expectForceNeeded(files, quoted(files.ros) + " --model b910", "crop", "2 errors");
}

TEST(ImportRefusal, WhatDoesNotLoadIsNotForced) {
  const PeerFiles files;
  files.folder.write("output", kOtherFile);
  for (const std::string force : {"", " --force"}) {
    const ProgramResult result =
        runTool(files.import(quoted(files.ros) + " --model mk512h" + force));
    EXPECT_EQ(result.status, 1);
    EXPECT_THAT(result.errors, HasSubstr("\ncamera-parameters: " + files.output +
                                         ": not written, since the camera \"left\" does not load: "
                                         "intrinsics.samples: "));
    EXPECT_EQ(contentsOf(files.output), kOtherFile);
  }
}

TEST(ImportRefusal, ErrorsOfOtherCamerasStopItToo) {
  const PeerFiles files;
  calibration::CameraCalibration bad = importedCamera("bad");
  bad.mutable_intrinsics()->set_fx(0);
  const std::string before = printText(robotOf({bad}));
  files.folder.write("output", before);
  const std::string into = "import '" + files.ros + "' --into '" + files.output + "'";
  const ProgramResult refused = runTool(into);
  EXPECT_EQ(refused.status, 1);
  EXPECT_THAT(refused.errors, HasSubstr("camera_calibration[0].intrinsics.fx: "));
  EXPECT_EQ(contentsOf(files.output), before);
  EXPECT_EQ(runTool(into + " --force").status, 0);
}

TEST(ImportRefusal, WarningsOfOtherCamerasAreTheirs) {
  const PeerFiles files;
  calibration::CameraCalibration skewed = importedCamera("skewed");
  skewed.mutable_intrinsics()->set_skew(2);
  files.folder.write("output", printText(robotOf({skewed})));
  const std::string into = "import '" + files.ros + "' --into '" + files.output + "'";
  EXPECT_THAT(testing::toolOutput(into), Not(HasSubstr("warning")));
  // Its own are said: the principal point lies far from the middle.
  std::string aside = testing::rosFile("aside");
  aside.replace(aside.find("640.3"), 5, "940.3");
  const std::string path = files.folder.write("aside.yaml", aside);
  EXPECT_THAT(testing::toolOutput(files.import(quoted(path))), HasSubstr(" [principal-point]\n"));
}

TEST(ImportRefusal, OutputThatCannotBeWritten) {
  const PeerFiles files;
  const std::string nowhere = files.folder.path("missing/output");
  testing::expectToolRefuses("import '" + files.ros + "' -o '" + nowhere + "'",
                             nowhere + ": cannot be written: No such file or directory");
}

TEST(ImportRefusal, StrictTakesAllOrNothing) {
  const PeerFiles files;
  const std::string projection =
      "projection_matrix: {rows: 3, cols: 4, data: [990, 0, 640.3, 0, 0, 1001.5, 480.25, 0, 0, 0, "
      "1, 0]}\n";
  const std::string rectified =
      files.folder.write("rectified.yaml", testing::rosFile("left", projection));
  files.folder.write("output", kOtherFile);
  const ProgramResult result =
      runTool(files.import(quoted(rectified) + " " + quoted(files.mrcal) + " --strict"));
  EXPECT_EQ(result.status, 1);
  EXPECT_EQ(result.output, "");
  EXPECT_THAT(result.errors,
              HasSubstr("not taken over: " + rectified +
                        ": projection_matrix (describes the rectified image)\nnot taken over: " +
                        files.mrcal + ": pose of right ("));
  EXPECT_THAT(result.errors, ::testing::EndsWith(
                                 "\ncamera-parameters: " + files.output +
                                 ": not written, since not everything is taken over: " + rectified +
                                 ": projection_matrix, " + files.mrcal + ": pose of right\n"));
  EXPECT_EQ(contentsOf(files.output), kOtherFile);
  EXPECT_EQ(runTool(files.import(quoted(files.ros) + " --strict")).status, 0);
  EXPECT_EQ(runTool(files.import(quoted(files.mrcal) + " --parent robot --strict")).status, 0);
}

}  // namespace
}  // namespace norv
