#include "interop/formats/colmap.h"

#include <gtest/gtest.h>

#include <chrono>
#include <limits>
#include <string>

#include "testing/peer_formulas.h"

namespace norv::interop {
namespace {

using testing::expectedOfSamples;
using testing::largestMiss;
using testing::peerSample;
using testing::pointsOf;

const std::string kFolder = CAMERA_PARAMETERS_SOURCE_DIR "/tests/data/interop";
const std::string kOneCamera = "1 PINHOLE 1280 960 900 901 640 480\n";

ReadOptions metres(double per_unit) {
  ReadOptions options;
  options.metres_per_unit = per_unit;
  return options;
}

PeerFile fileOf(PeerReading reading) {
  if (const auto* problem = std::get_if<FormatProblem>(&reading)) {
    ADD_FAILURE() << describe(*problem);
    return {};
  }
  return std::get<PeerFile>(std::move(reading));
}

PeerFile read(const std::string& cameras, const ReadOptions& options = {}) {
  return fileOf(readCameras({"c", cameras}, PeerFormat::kColmap, options));
}

PeerFile read(const std::string& cameras, const std::string& images, const ReadOptions& options) {
  return fileOf(readColmap({"c", cameras}, {"i", images}, options));
}

std::string describeProblem(const PeerReading& reading) {
  const auto* problem = std::get_if<FormatProblem>(&reading);
  return problem == nullptr ? "" : describe(*problem);
}

/// The refusal of a text; "" of one that is read.
std::string problemOf(const std::string& cameras) {
  return describeProblem(readCameras({"c", cameras}, PeerFormat::kColmap, {}));
}

std::string imageProblemOf(const std::string& images, double metres_per_unit = 1) {
  return describeProblem(readColmap({"c", kOneCamera}, {"i", images}, metres(metres_per_unit)));
}

std::vector<std::string> linesOf(const std::vector<NotTakenOver>& items) {
  std::vector<std::string> lines;
  for (const NotTakenOver& item : items) lines.push_back(item.key + ": " + item.reason);
  return lines;
}

TEST(Colmap, PutsThePointsOfItsSampleWhereColmapDoes) {
  const nlohmann::json expected = expectedOfSamples(kFolder);
  const auto points = pointsOf(expected.at("points_camera"));
  const PeerFile file = read(peerSample(kFolder, "colmap/cameras.txt").contents);
  ASSERT_EQ(file.cameras.size(), 5U);
  EXPECT_EQ(file.parent, "");
  EXPECT_TRUE(file.not_taken_over.empty());
  for (const nlohmann::json& entry : expected.at("files").at("colmap/cameras.txt")) {
    const std::string id = entry.at("camera");
    SCOPED_TRACE(id);
    const PeerCamera& camera = file.cameras.at(5 - std::stoul(id));
    EXPECT_EQ(camera.name, "camera" + id);
    EXPECT_LT(largestMiss(camera, entry, points), 1e-9);  // 3e-13 was measured
    EXPECT_FALSE(camera.camera_from_parent);
  }
}

TEST(Colmap, ReadsThePosesOfItsSample) {
  const nlohmann::json expected = expectedOfSamples(kFolder);
  const nlohmann::json& entry = expected.at("files").at("colmap/images.txt").at(0);
  const std::string cameras = peerSample(kFolder, "colmap/cameras.txt").contents;
  const std::string images = peerSample(kFolder, "colmap/images.txt").contents;
  EXPECT_TRUE(isColmapImages(images));
  EXPECT_FALSE(isColmapImages(cameras));
  const PeerFile file = read(cameras, images, metres(1));
  ASSERT_EQ(file.cameras.size(), 2U);
  EXPECT_EQ(file.parent, "world");
  EXPECT_EQ(file.cameras[0].name, "nav");
  EXPECT_EQ(file.cameras[1].name, "head");
  EXPECT_EQ(std::get<calibration::LensDistortion<double>>(file.cameras[0].lens).k6, 0.01);
  ASSERT_TRUE(file.cameras[0].camera_from_parent);
  EXPECT_EQ(file.cameras[0].camera_from_parent->rotation, Eigen::Matrix3d::Identity());
  ASSERT_TRUE(file.cameras[1].camera_from_parent);
  EXPECT_LT(largestMiss(*file.cameras[1].camera_from_parent, pointsOf(entry.at("points_world")),
                        pointsOf(expected.at("points_camera"))),
            1e-9);  // metres; 2e-15 was measured
  EXPECT_EQ(
      linesOf(file.not_taken_over),
      (std::vector<std::string>{"POINTS2D of images.txt: points in pictures have no place here",
                                "CAMERA_ID 5: no image is of this camera",
                                "CAMERA_ID 4: no image is of this camera",
                                "CAMERA_ID 2: no image is of this camera"}));
}

TEST(Colmap, TakesPosesInMetresAlone) {
  const std::string image = "1 1 0 0 0 2 -4 6 1 a.png\n\n";
  const PeerFile scaled = read(kOneCamera, image, metres(0.25));
  EXPECT_EQ(scaled.cameras.at(0).camera_from_parent->translation, Eigen::Vector3d(0.5, -1, 1.5));
  const PeerFile unscaled = read(kOneCamera, image, {});
  EXPECT_FALSE(unscaled.cameras.at(0).camera_from_parent);
  EXPECT_EQ(unscaled.parent, "");
  EXPECT_EQ(linesOf(unscaled.not_taken_over),
            (std::vector<std::string>{
                "QW QX QY QZ TX TY TZ of images.txt: the world's unit is arbitrary, and how "
                "many metres it has was not given: --scale"}));
}

TEST(Colmap, ShiftsNoPixelUnlessTold) {
  EXPECT_EQ(read(kOneCamera).cameras.at(0).cx, 640);
  ReadOptions centre;
  centre.pixel_origin = calibration::PixelOrigin::kPixelCentre;
  EXPECT_EQ(read(kOneCamera, centre).cameras.at(0).cx, 640.5);
  EXPECT_EQ(read(kOneCamera, "1 1 0 0 0 0 0 0 1 a", centre).cameras.at(0).cy, 480.5);
}

TEST(Colmap, KnowsItsModels) {
  const auto camera = [](const std::string& line) { return read("1 " + line).cameras.at(0); };
  const auto coefficients = [&](const std::string& line) {
    return std::get<calibration::LensDistortion<double>>(camera(line).lens).toCoefficients();
  };
  const auto map = [&](const std::string& line) { return std::get<RadialMap>(camera(line).lens); };
  using Eight = std::array<double, 8>;
  using Four = std::array<double, 4>;
  EXPECT_EQ(camera("SIMPLE_PINHOLE 4 3 9 1 2").fy, 9);
  EXPECT_EQ(camera("SIMPLE_PINHOLE 4 3 9 1 2").cy, 2);
  EXPECT_EQ(coefficients("PINHOLE 4 3 9 8 1 2"), Eight{});
  EXPECT_EQ(coefficients("SIMPLE_RADIAL 4 3 9 1 2 .1"), (Eight{.1}));
  EXPECT_EQ(coefficients("RADIAL 4 3 9 1 2 .1 .2"), (Eight{.1, .2}));
  EXPECT_EQ(coefficients("OPENCV 4 3 9 8 1 2 .1 .2 .3 .4"), (Eight{.1, .2, .3, .4}));
  EXPECT_EQ(coefficients("FULL_OPENCV 4 3 9 8 1 2 .1 .2 .3 .4 .5 .6 .7 .8"),
            (Eight{.1, .2, .3, .4, .5, .6, .7, .8}));
  EXPECT_EQ(map("SIMPLE_RADIAL_FISHEYE 4 3 9 1 2 .1").parameters, (Four{.1}));
  EXPECT_EQ(map("RADIAL_FISHEYE 4 3 9 1 2 .1 .2").parameters, (Four{.1, .2}));
  EXPECT_EQ(map("OPENCV_FISHEYE 4 3 9 8 1 2 .1 .2 .3 .4").parameters, (Four{.1, .2, .3, .4}));
  EXPECT_EQ(map("OPENCV_FISHEYE 4 3 9 8 1 2 .1 .2 .3 .4").kind, RadialKind::kKannalaBrandt);
  EXPECT_EQ(map("FOV 4 3 9 8 1 2 .9").parameters, (Four{.9}));
  EXPECT_EQ(map("FOV 4 3 9 8 1 2 .9").kind, RadialKind::kFieldOfView);
  EXPECT_EQ(coefficients("FOV 4 3 9 8 1 2 0"), Eight{});
}

TEST(Colmap, MakesACameraOfEachImage) {
  const PeerFile file = read("# comment\n\n7 PINHOLE 4 3 9 8 1 2",
                             "1 1 0 0 0 0 0 0 7 left/frame 1.b.png \n1 2 -1\n"
                             "# comment\n  2\t1 0 0 0 0 0 0 7 .hidden\n\n\n"
                             "3 1 0 0 0 0 0 0 7 v1.2/plain\n\n4 1 0 0 0 0 0 0 7 a.jpg",
                             metres(1));
  std::vector<std::string> names;
  for (const PeerCamera& camera : file.cameras) names.push_back(camera.name);
  EXPECT_EQ(names, (std::vector<std::string>{"left/frame 1.b", ".hidden", "v1.2/plain", "a"}));
}

TEST(Colmap, ReadsCamerasAloneWhereThereIsNoImage) {
  const std::string none = "# Image list with two lines of data per image:\n";
  EXPECT_TRUE(isColmapImages(none));
  EXPECT_FALSE(isColmapImages("# Camera list with one line of data per camera:\n"));
  EXPECT_FALSE(isColmapImages("7\n"));
  EXPECT_FALSE(isColmapImages(""));
  EXPECT_EQ(read(kOneCamera, none, metres(1)).cameras.at(0).name, "camera1");
}

TEST(Colmap, NormalisesQuaternionsOfAnyLength) {
  // Half a turn about x and y, by lengths whose squares are beyond the range of double.
  Eigen::Matrix3d turned;
  turned << 0, 1, 0, 1, 0, 0, 0, 0, -1;
  for (const std::string length : {"1", "0.001", "1e-200", "5e-324", "1e200", "1.7e308"}) {
    const PeerFile file =
        read(kOneCamera, "1 0 " + length + " " + length + " 0 0 0 0 1 a", metres(1));
    EXPECT_LT((file.cameras.at(0).camera_from_parent->rotation - turned).norm(), 1e-15) << length;
  }
}

TEST(Colmap, RefusesLensesByName) {
  for (const std::string model : {"THIN_PRISM_FISHEYE", "RAD_TAN_THIN_PRISM_FISHEYE",
                                  "SIMPLE_DIVISION", "DIVISION", "SIMPLE_FISHEYE", "FISHEYE"}) {
    EXPECT_EQ(problemOf("1 " + model + " 4 3 1 2 3 4"),
              "c:1:3: MODEL: is a lens that is not read: " + model);
  }
  EXPECT_EQ(problemOf("1 PINHOLES 4 3 1 2 3 4"), "c:1:3: MODEL: is no lens of COLMAP's: PINHOLES");
}

TEST(Colmap, RefusesWhatIsWrongInCameras) {
  EXPECT_EQ(problemOf(""), "c: has no camera");
  EXPECT_EQ(problemOf("# nothing\n\n"), "c: has no camera");
  EXPECT_EQ(problemOf("x PINHOLE 4 3 9 9 2 1"),
            "c:1:1: CAMERA_ID: is not a whole number from 0 to 4294967295: x");
  EXPECT_EQ(problemOf("4294967296 PINHOLE 4 3 9 9 2 1"),
            "c:1:1: CAMERA_ID: is not a whole number from 0 to 4294967295: 4294967296");
  EXPECT_EQ(problemOf("-1 PINHOLE 4 3 9 9 2 1"),
            "c:1:1: CAMERA_ID: is not a whole number from 0 to 4294967295: -1");
  EXPECT_EQ(problemOf(kOneCamera + kOneCamera), "c:2:1: CAMERA_ID: stands there twice: 1");
  EXPECT_EQ(problemOf("1"), "c:1:2: MODEL: is missing");
  EXPECT_EQ(problemOf("1 PINHOLE"), "c:1:10: WIDTH: is missing");
  EXPECT_EQ(problemOf("1 PINHOLE 4"), "c:1:12: HEIGHT: is missing");
  EXPECT_EQ(problemOf("1 PINHOLE 4 0 9 9 2 1"), "c:1:13: HEIGHT: is not from 1 to 16777216: 0");
  EXPECT_EQ(problemOf("1 PINHOLE 4.5 3 9 9 2 1"), "c:1:11: WIDTH: is not a whole number: 4.5");
  EXPECT_EQ(problemOf("1 PINHOLE 4 3 9 9 2"), "c:1:15: PARAMS: has 3 numbers where 4 are needed");
  EXPECT_EQ(problemOf("1 OPENCV 4 3 9 9 2 1 0 0 0 0 0"),
            "c:1:14: PARAMS: has 9 numbers where 8 are needed");
  EXPECT_EQ(problemOf("1 PINHOLE 4 3"), "c:1:14: PARAMS: has 0 numbers where 4 are needed");
  EXPECT_EQ(problemOf("1 PINHOLE 4 3 9 0 2 1"),
            "c:1:17: fy: is a focal length, which must be above 0: 0");
  EXPECT_EQ(problemOf("1 SIMPLE_PINHOLE 4 3 -9 2 1"),
            "c:1:22: f: is a focal length, which must be above 0: -9");
  EXPECT_EQ(problemOf("1 PINHOLE 4 3 9 9 nan 1"), "c:1:19: cx: is not finite: nan");
  EXPECT_EQ(problemOf("1 PINHOLE 4 3 9 9 2 1e999"),
            "c:1:21: cy: exceeds the range of double: 1e999");
  EXPECT_EQ(problemOf("1 OPENCV 4 3 9 9 2 1 0 0 0 x"), "c:1:28: p2: is not a number: x");
  for (const std::string angle : {"3.15", "-0.1"}) {
    EXPECT_EQ(problemOf("1 FOV 4 3 9 9 2 1 " + angle),
              "c:1:19: omega: is a field of view, which must be from 0 to pi: " + angle);
  }
}

TEST(Colmap, RefusesWhatIsWrongInImages) {
  EXPECT_EQ(imageProblemOf("1 1 0 0 0 0 0 0 2 a\n\n"),
            "i:1:17: CAMERA_ID: is no camera of cameras.txt: 2");
  EXPECT_EQ(imageProblemOf("x 1 0 0 0 0 0 0 1 a\n\n"),
            "i:1:1: IMAGE_ID: is not a whole number from 0 to 4294967295: x");
  EXPECT_EQ(imageProblemOf("1 1 0 0 0 0 0 0 1 a\n\n1 1 0 0 0 0 0 0 1 b\n\n"),
            "i:3:1: IMAGE_ID: stands there twice: 1");
  EXPECT_EQ(imageProblemOf("1 0 0 0 0 0 0 0 1 a\n\n"),
            "i:1:3: QW QX QY QZ: is a quaternion of length 0");
  EXPECT_EQ(imageProblemOf("1 1 0 inf 0 0 0 0 1 a\n\n"), "i:1:7: QY: is not finite: inf");
  EXPECT_EQ(imageProblemOf("1 1 0 0 0 0 y 0 1 a\n\n"), "i:1:13: TY: is not a number: y");
  EXPECT_EQ(imageProblemOf("1 1 0 0 0 0 0\n\n"), "i:1:14: TZ: is missing");
  EXPECT_EQ(imageProblemOf("1 1 0 0 0 0 0 0 1 \n\n"), "i:1:19: NAME: is missing");
  EXPECT_EQ(imageProblemOf("1 1 0 0 0 1e300 0 0 1 a\n\n", 1e9),
            "i:1: TX TY TZ: exceeds the range of double in metres");
  // Without its empty lines, the file would lose every second image.
  EXPECT_EQ(imageProblemOf("1 1 0 0 0 0 0 0 1 a\n2 1 0 0 0 0 0 0 1 b.png\n"),
            "i:2:1: POINTS2D: is no list of points: an image has two lines, the second of which "
            "may be empty");
  EXPECT_EQ(imageProblemOf("1 1 0 0 0 0 0 0 1 a\n2 1 0 0 0 0 0 0 1 b of c\n"),
            "i:2:1: POINTS2D: is no list of points: an image has two lines, the second of which "
            "may be empty");
  // What is wrong with the cameras is said of their file.
  EXPECT_EQ(describeProblem(readColmap({"c", "1"}, {"i", ""}, {})), "c:1:2: MODEL: is missing");
}

TEST(Colmap, ReadsOtherEndsOfLinesAndSurvivesHostileTexts) {
  const PeerFile file = read("\xEF\xBB\xBF# c\r\n1 PINHOLE 4 3 9 8 1 2\r\n",
                             "\xEF\xBB\xBF# i\r\n1 1 0 0 0 0 0 0 1 a.png\r\n\r\n", metres(1));
  EXPECT_EQ(file.cameras.at(0).name, "a");
  EXPECT_EQ(file.cameras[0].cy, 2);
  EXPECT_TRUE(file.not_taken_over.empty());
  EXPECT_EQ(problemOf(std::string(100000000, ' ')), "c: has no camera");
  EXPECT_EQ(problemOf(std::string(100000000, '\n')), "c: has no camera");
  EXPECT_EQ(problemOf(std::string(100000000, '#')), "c: has no camera");
  EXPECT_EQ(problemOf(std::string("1\0", 2)),
            "c:1:1: CAMERA_ID: is not a whole number from 0 to "
            "4294967295: " +
                std::string("1\0", 2));
}

TEST(Colmap, ReadsTenThousandImagesWithinASecond) {
  std::string cameras;
  std::string images;
  std::string points;
  for (int i = 0; i < 1000; ++i) points += "1234.56789 987.654321 -1 ";
  for (int i = 0; i < 10000; ++i) {
    const std::string id = std::to_string(i);
    cameras += id +
               " FULL_OPENCV 1280 960 1000.25 1001.5 640.5 480.25 0.3 -0.1 0.001 -0.0005 0.02 0.6 "
               "0.05 0.01\n";
    images += id +
              " 0.92338051687663869 0.10259783520851541 0.20519567041703082 "
              "0.30779350562554619 1.5 2.5 3.5 " +
              id + " image" + id + ".png\n" + (i % 10 == 0 ? points : "") + "\n";
  }
  const auto begin = std::chrono::steady_clock::now();
  EXPECT_EQ(read(cameras, images, metres(1)).cameras.size(), 10000U);
  const std::chrono::duration<double> taken = std::chrono::steady_clock::now() - begin;
  // 0.1 s was measured, 25 MB of points among it.
  EXPECT_LT(taken.count(), 10) << "seconds, also where sanitisers slow it down";
  RecordProperty("seconds", std::to_string(taken.count()));
}

}  // namespace
}  // namespace norv::interop
