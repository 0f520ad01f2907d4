#include "support/text_places.h"

#include <gtest/gtest.h>

#include <chrono>
#include <string>
#include <vector>

#include "proto/norv_robot_calibration.pb.h"
#include "support/message_parsing.h"
#include "testing/message_paths.h"
#include "testing/random_text.h"

namespace norv {
namespace {

using calibration::RobotCalibration;

std::string placeOf(const std::string& text, const std::string& path) {
  const TextPlace place = findTextPlaces(text, *RobotCalibration::descriptor(), {path}).front();
  return std::to_string(place.line) + ":" + std::to_string(place.column);
}

TEST(FindTextPlaces, TheFieldTheElementOrWhatIsAroundIt) {
  const std::string text =
      "camera_calibration: [\n"
      "  { name: 'a' intrinsics {\n"
      "      radial: [1, 2]\n"
      "      radial: 3\n"
      "  } },\n"
      "  { name: 'b' }]\n"
      "camera_calibration { model: 'm' }\n";
  EXPECT_EQ(placeOf(text, "camera_calibration"), "1:1");
  EXPECT_EQ(placeOf(text, "camera_calibration[1].name"), "6:5");
  EXPECT_EQ(placeOf(text, "camera_calibration[2].model"), "7:22");
  EXPECT_EQ(placeOf(text, "camera_calibration[0].intrinsics.radial"), "3:7");
  EXPECT_EQ(placeOf(text, "camera_calibration[0].intrinsics.radial[1]"), "3:19");
  EXPECT_EQ(placeOf(text, "camera_calibration[0].intrinsics.radial[2]"), "4:7");
  EXPECT_EQ(placeOf(text, "camera_calibration[0].intrinsics.radial[3]"), "2:15");
  EXPECT_EQ(placeOf(text, "camera_calibration[1].intrinsics.radial"), "6:3");
  EXPECT_EQ(placeOf(text, "camera_calibration[3].name"), "0:0");
  EXPECT_EQ(placeOf(text, ""), "0:0");
}

TEST(FindTextPlaces, ListsWithoutBrackets) {
  EXPECT_EQ(placeOf("camera_calibration {}\ncamera_calibration { extrinsics {\n a: 1 a: 2 } }",
                    "camera_calibration[1].extrinsics.a"),
            "3:2");
}

TEST(FindTextPlaces, NoPathsNoPlaces) {
  EXPECT_TRUE(findTextPlaces("camera_calibration {}", *RobotCalibration::descriptor(), {}).empty());
}

TEST(FindTextPlaces, AreThoseOfFindField) {
  testing::RandomText random(20261122, true);
  const auto& type = *RobotCalibration::descriptor();
  int found = 0;
  for (int i = 0; i < 100; ++i) {
    const std::string text = random.message(type);
    RobotCalibration robot;
    ASSERT_TRUE(parseText(text, &robot));
    std::vector<std::string> paths = testing::pathsOf(robot);
    for (int camera = 0; camera <= robot.camera_calibration_size(); ++camera) {
      const std::string prefix = "camera_calibration[" + std::to_string(camera) + "]";
      for (const char* path : {"", ".name", ".intrinsics.radial", ".intrinsics.radial[2]",
                               ".intrinsics.samples[1].image_x", ".extrinsics.a[11]"}) {
        paths.push_back(prefix + path);
      }
    }
    const std::vector<TextField> fields = listTextFields(text, type);
    const std::vector<TextPlace> places = findTextPlaces(text, type, paths);
    ASSERT_EQ(places.size(), paths.size());
    for (std::size_t p = 0; p < paths.size(); ++p) {
      const TextField* field = findField(fields, paths[p]);
      const TextPlace expected = field != nullptr ? field->begin : TextPlace{};
      EXPECT_EQ(places[p].line, expected.line) << paths[p] << "\n" << text;
      EXPECT_EQ(places[p].column, expected.column) << paths[p] << "\n" << text;
      found += field != nullptr ? 1 : 0;
    }
  }
  EXPECT_GT(found, 1000);
}

TEST(FindTextPlaces, ManyPathsOfALargeTextTakeLittleTime) {
  std::string text;
  std::vector<std::string> paths;
  for (int i = 0; i < 20'000; ++i) {
    text += "camera_calibration { intrinsics { fx: 1 } }\n";
    paths.push_back("camera_calibration[" + std::to_string(i) + "].intrinsics.fx");
  }
  const auto begin = std::chrono::steady_clock::now();
  const std::vector<TextPlace> places =
      findTextPlaces(text, *RobotCalibration::descriptor(), paths);
  const std::chrono::duration<double> took = std::chrono::steady_clock::now() - begin;
  EXPECT_EQ(places.back().line, 20'000);
  // 0.15 s; one search for each path would be 1e9 comparisons of strings.
  EXPECT_LT(took.count(), 5.0);
}

}  // namespace
}  // namespace norv
