// `import --check`: the camera that was imported, compared with points that were seen.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdio>
#include <string>
#include <vector>

#include "tests/tools/import/import_example.h"

namespace norv {
namespace {

using testing::contentsOf;
using ::testing::EndsWith;
using ::testing::HasSubstr;
using testing::PeerFiles;
using testing::ProgramResult;
using testing::quoted;
using testing::runTool;

/// A camera of focal length 1000 px without distortion, the robot's origin 2 m before it and 1 m
/// to its right.
const char* const kPlain =
    "{ 'lensmodel': 'LENSMODEL_PINHOLE', 'imagersize': [1280, 960],\n"
    "  'intrinsics': [1000, 1000, 639.5, 479.5], 'extrinsics': [0, 0, 0, 1, 0, 2] }\n";

std::string fixed(double value) {
  char text[40];
  std::snprintf(text, sizeof text, "%.9f", value);
  return text;
}

/// Points about the robot's origin, with the pixels from the image's corner at which the camera
/// sees them; translation in metres times `scale`, pixels plus `offset`.
std::string seenPoints(double offset, double scale = 1) {
  std::string table = "x,y,z,u,v\n";
  for (int i = 0; i < 12; ++i) {
    const double x = 0.1 * (i % 4) - 1.2;
    const double y = 0.2 * (i % 3) - 0.3;
    const double z = 0.25 * i;
    const double u = 1000 * (x + 1 * scale) / (z + 2 * scale) + 640 + offset;
    const double v = 1000 * y / (z + 2 * scale) + 480 + offset;
    table += fixed(x) + "," + fixed(y) + "," + fixed(z) + "," + fixed(u) + "," + fixed(v) + "\n";
  }
  return table;
}

struct CheckedFiles : PeerFiles {
  std::string plain = folder.write("plain.cameramodel", kPlain);

  /// What is said of the points; the calibration is written in any case.
  std::string check(const std::string& table, const std::string& further = "--parent robot") const {
    const std::string path = folder.write("points.csv", table);
    const ProgramResult result =
        runTool(import(quoted(plain) + " --check '" + path + "' " + further));
    EXPECT_EQ(result.status, 0) << result.errors;
    EXPECT_THAT(result.output, EndsWith(": 1 camera imported, 1 in all, written in text format\n"));
    const std::size_t begin = result.output.find("check of ");
    if (begin == std::string::npos) return "";
    return result.output.substr(begin, result.output.find(output) - begin);
  }
};

TEST(ImportCheck, SaysWhereThePointsAre) {
  const CheckedFiles files;
  // (0.1 - 1, 0.2, 2) is (0.1, 0.2, 4) for the camera and at (665, 530); (-1, 0, 8) is at its
  // centre.
  EXPECT_EQ(files.check("x,y,z,u,v\n-0.9,0.2,2,668,534\n-1,0,8,640,480\n"),
            "check of plain: 2 points, rms 3.54 px, max 5 px, mean offset (1.5, 2) px\n");
  EXPECT_EQ(files.check("x,y,z,u,v\n-0.9,0.2,2,668,530\n0,0,-9,0,0\n0,0,-9,0,0\n"),
            "check of plain: 1 point, rms 3 px, max 3 px, mean offset (3, 0) px; 2 behind the "
            "camera\n");
  EXPECT_EQ(files.check("x,y,z,u,v\n0,0,-9,0,0\n"),
            "check of plain: no point is imaged; 1 behind the camera\n");
  EXPECT_EQ(files.check("x,y,z,u,v\n"), "check of plain: no points\n");
}

TEST(ImportCheck, WithoutAPoseTheFrameIsTheCameras) {
  const CheckedFiles files;
  EXPECT_EQ(files.check("x,y,z,u,v\n0.1,0.2,4,668,534\n", ""),
            "check of plain: 1 point, rms 5 px, max 5 px, mean offset (3, 4) px\n");
}

TEST(ImportCheck, PixelsOfThePointsMayBeCountedFromTheCentre) {
  const CheckedFiles files;
  EXPECT_THAT(files.check(seenPoints(-0.5), "--parent robot --check-origin centre"),
              ::testing::Not(HasSubstr("hint")));
  EXPECT_THAT(files.check(seenPoints(0)), ::testing::Not(HasSubstr("hint")));
  EXPECT_THAT(files.check(seenPoints(-0.5)),
              ::testing::AllOf(
                  HasSubstr("12 points, rms 0.707 px, max 0.707 px, mean offset (-0.5, -0.5) px\n"),
                  HasSubstr("hint: plain is better explained if the points' pixels are counted "
                            "from the centre of the first pixel, or the file's from the image's "
                            "corner: 12 points, ")));
}

TEST(ImportCheck, WrongConventionsShow) {
  const CheckedFiles files;
  EXPECT_THAT(files.check(seenPoints(0), "--parent robot --pixel-origin corner"),
              HasSubstr("hint: plain is better explained if the points' pixels are counted from "
                        "the image's corner, or the file's from the centre of the first pixel: "));
  const std::string inverse = "--extrinsics '1 0 0 -1000 0 1 0 0 0 0 1 -2000'";
  EXPECT_THAT(files.check(seenPoints(0), inverse),
              HasSubstr("hint: plain is better explained if the pose is the other way round: "));
  const std::string in_metres = "--extrinsics '1 0 0 1 0 1 0 0 0 0 1 2'";
  EXPECT_THAT(files.check(seenPoints(0), in_metres),
              HasSubstr("hint: plain is better explained if the translation is in a unit a "
                        "thousand times as large: 12 points, "));
  EXPECT_THAT(files.check(seenPoints(0, 0.001)),
              HasSubstr("hint: plain is better explained if the translation is in a unit a "
                        "thousand times as small: "));
}

TEST(ImportCheck, SeveralCamerasHaveAColumn) {
  const CheckedFiles files;
  const std::string points =
      files.folder.write("points.csv", "camera,u,v,x,y,z\nplain,665,530,-0.9,0.2,2\n");
  const ProgramResult result = runTool(files.import(quoted(files.plain) + " " + quoted(files.ros) +
                                                    " --parent robot --check " + quoted(points)));
  EXPECT_EQ(result.status, 0);
  EXPECT_THAT(result.output, HasSubstr("check of plain: 1 point, rms "));
  EXPECT_THAT(result.output, HasSubstr("check of left: no points\n"));
}

TEST(ImportCheck, BadTablesStopIt) {
  const PeerFiles files;
  const std::string points = files.folder.write("points.csv", "x,y,z,u,v\n1,2,3,4\n");
  files.expectRefused(quoted(files.ros) + " --check " + quoted(points),
                      points + ":2:1: has 4 values where the header names 5 columns");
  files.expectRefused(quoted(files.ros) + " --check nowhere", "nowhere: there is no such file");
}

TEST(ImportCheck, IsSaidWhereNothingIsWrittenToo) {
  const CheckedFiles files;
  const std::string points = files.folder.write("points.csv", "x,y,z,u,v\n-0.9,0.2,2,668,534\n");
  const ProgramResult result = runTool(
      files.import(quoted(files.plain) + " --parent robot --model b910 --check " + quoted(points)));
  EXPECT_EQ(result.status, 1);
  EXPECT_THAT(result.errors, HasSubstr("check of plain: 1 point, rms 5 px"));
}

}  // namespace
}  // namespace norv
