// Where `validate` says that its findings stand: each check on one edit of a calibration in which
// nothing is found, written with lists, without, mixed, and in binary.

#include <gtest/gtest.h>

#include <nlohmann/json.hpp>
#include <string>
#include <tuple>
#include <vector>

#include "testing/placed_text.h"
#include "testing/review_findings.h"
#include "testing/temporary_folder.h"
#include "tests/tools/validate/placed_mistakes.h"
#include "tools/validate/validate_command.h"

namespace norv::tools {
namespace {

using calibration::CameraIntrinsics;
using calibration::RobotCalibration;
using nlohmann::json;
using testing::ListStyle;
using testing::Mistake;
using testing::PlacedText;

/// A finding, as far as it tells where it is: check, field, line, column.
using Where = std::tuple<std::string, std::string, int, int>;

/// What `validate` finds in a file with these contents. The end of a zoom lens is noted always.
std::vector<Where> validate(const std::string& contents) {
  const testing::TemporaryFolder folder;
  ValidateOptions options;
  options.paths = {folder.write("calibration", contents)};
  options.json = true;
  const ToolAnswer answer = runValidateCommand(options);
  std::vector<Where> found;
  const json document = json::parse(answer.output);
  for (const json& finding : document["findings"]) {
    if (finding["check"] == "zoom-end") continue;
    const auto text = [&](const char* key) {
      return finding[key].is_null() ? "" : finding[key].get<std::string>();
    };
    const auto number = [&](const char* key) {
      return finding[key].is_null() ? 0 : finding[key].get<int>();
    };
    found.emplace_back(text("check"), text("field"), number("line"), number("column"));
  }
  return found;
}

std::vector<Mistake> allMistakes() {
  return testing::joined(
      {testing::mistakesInCameras(), testing::mistakesInZoomCameras(), testing::mistakesInBases()});
}

class ValidatePlaces : public ::testing::TestWithParam<Mistake> {
 protected:
  static std::vector<Where> expectedIn(const PlacedText& text) {
    std::vector<Where> expected;
    for (const std::string& field : GetParam().fields) {
      const auto [line, column] = text.place(field);
      expected.emplace_back(GetParam().check, field, line, column);
    }
    return expected;
  }
};

TEST_P(ValidatePlaces, InTexts) {
  for (const ListStyle style : {ListStyle::kSingle, ListStyle::kListed, ListStyle::kMixed}) {
    const PlacedText text(*GetParam().message, style);
    EXPECT_EQ(validate(text.text()), expectedIn(text));
  }
}

TEST_P(ValidatePlaces, NoneInBinary) {
  std::vector<Where> expected;
  for (const std::string& field : GetParam().fields) {
    expected.emplace_back(GetParam().check, field, 0, 0);
  }
  EXPECT_EQ(validate(GetParam().message->SerializeAsString()), expected);
}

INSTANTIATE_TEST_SUITE_P(All, ValidatePlaces, ::testing::ValuesIn(allMistakes()));

TEST(ValidatePlacesTest, OfUnknownFields) {
  RobotCalibration robot = testing::defaultRobot();
  CameraIntrinsics* in = robot.mutable_camera_calibration(1)->mutable_intrinsics();
  in->GetReflection()->MutableUnknownFields(in)->AddVarint(15, 1);
  EXPECT_EQ(validate(robot.SerializeAsString()),
            (std::vector<Where>{{"unknown-field", "camera_calibration[1].intrinsics.15", 0, 0}}));
  // A text names them, and is not read then.
  const PlacedText text(testing::defaultRobot(), ListStyle::kMixed);
  EXPECT_EQ(validate("wheels: 4\n" + text.text()), (std::vector<Where>{{"parse", "wheels", 1, 1}}));
}

TEST(ValidatePlacesTest, FollowTheFileAndNotTheMessage) {
  const std::string text =
      "camera_calibration {\n"
      "  model: 'MK513N'\n"
      "  extrinsics { a: [0, -1, 0, 30, 0, 0, -1, 350, 1, 0, 0, nan] }\n"
      "  intrinsics {\n"
      "    width: 1280 height: 960\n"
      "    tangential: [0, 0] radial: [0, 0, 0, 0, 0, 0]\n"
      "    cy: 480 cx: 640 skew: 1 fy: 905 fx: 905\n"
      "  }\n"
      "}\n";
  EXPECT_EQ(validate(text),
            (std::vector<Where>{{"name-missing", "camera_calibration[0].name", 1, 1},
                                {"model-case", "camera_calibration[0].model", 2, 3},
                                {"not-finite", "camera_calibration[0].extrinsics.a[11]", 3, 58},
                                {"skew", "camera_calibration[0].intrinsics.skew", 7, 21}}));
}

TEST(ValidatePlacesTest, CountElementsOfListsAndOfSingleFields) {
  const std::string good = PlacedText(testing::defaultRobot(), ListStyle::kSingle).text();
  // The second entry of the list in line 1 has too few coefficients; the single entry is good.
  const std::string text =
      "camera_calibration: [\n"
      "  { name: 'a' model: 'x' intrinsics { fx: 905 fy: 905 cx: 640 cy: 480 width: 1280\n"
      "    height: 960 radial: [0, 0, 0, 0, 0, 0] tangential: [0, 0] }\n"
      "    extrinsics { a: [0, -1, 0, 30, 0, 0, -1, 350, 1, 0, 0, 100] } },\n"
      "  { name: 'b' model: 'x' intrinsics { fx: 905 fy: 905 cx: 640 cy: 480 width: 1280\n"
      "    height: 960 radial: [0, 0, 0] tangential: [0, 0] }\n"
      "    extrinsics { a: [0, -1, 0, 30, 0, 0, -1, 350, 1, 0, 0, 200] } }]\n" +
      good;
  EXPECT_EQ(validate(text),
            (std::vector<Where>{{"list-short", "camera_calibration[1].intrinsics.radial", 6, 17}}));
}

}  // namespace
}  // namespace norv::tools
