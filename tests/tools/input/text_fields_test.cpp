#include "tools/input/text_fields.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <ostream>
#include <string>
#include <tuple>

#include "proto/norv_robot_calibration.pb.h"

namespace norv::tools {

bool operator==(const TextField& a, const TextField& b) {
  return std::tie(a.path, a.line, a.column) == std::tie(b.path, b.line, b.column);
}

std::ostream& operator<<(std::ostream& out, const TextField& field) {
  return out << field.path << " at " << field.line << ":" << field.column;
}

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

std::vector<TextField> list(const std::string& text) {
  return listTextFields(text, *calibration::RobotCalibration::descriptor());
}

TEST(TextFields, PathsAndPlaces) {
  const auto fields = list(
      "# comment { name: }\n"
      "camera_calibration {\n"
      "  name: \"a { b: 1 }\"\n"
      "  intrinsics { fx: 1 radial: [1, 2, 3]\n"
      "    samples { image_x: 1 } samples < image_x: 2 >\n"
      "  }\n"
      "}\n"
      "camera_calibration: { model: 'm' }\n");
  EXPECT_THAT(fields,
              ElementsAre(TextField{"camera_calibration[0]", 2, 1},
                          TextField{"camera_calibration[0].name", 3, 3},
                          TextField{"camera_calibration[0].intrinsics", 4, 3},
                          TextField{"camera_calibration[0].intrinsics.fx", 4, 16},
                          TextField{"camera_calibration[0].intrinsics.radial", 4, 22},
                          TextField{"camera_calibration[0].intrinsics.samples[0]", 5, 5},
                          TextField{"camera_calibration[0].intrinsics.samples[0].image_x", 5, 15},
                          TextField{"camera_calibration[0].intrinsics.samples[1]", 5, 28},
                          TextField{"camera_calibration[0].intrinsics.samples[1].image_x", 5, 38},
                          TextField{"camera_calibration[1]", 8, 1},
                          TextField{"camera_calibration[1].model", 8, 23}));
}

TEST(TextFields, UnknownFieldsHavePathsToo) {
  EXPECT_THAT(list("camera { lens { fx: 1 } }"),
              ElementsAre(TextField{"camera", 1, 1}, TextField{"camera.lens", 1, 10},
                          TextField{"camera.lens.fx", 1, 17}));
}

TEST(TextFields, BrokenTexts) {
  EXPECT_THAT(list(""), IsEmpty());
  EXPECT_THAT(list("}}}"), IsEmpty());
  EXPECT_THAT(list("camera_calibration { name: } } fx"),
              ElementsAre(TextField{"camera_calibration[0]", 1, 1},
                          TextField{"camera_calibration[0].name", 1, 22}));
  EXPECT_THAT(list("\"open string\ncamera_calibration"),
              ElementsAre(TextField{"camera_calibration[0]", 2, 1}));
  EXPECT_THAT(list("]] [ name"), IsEmpty());
}

TEST(TextFields, FieldAtAPlace) {
  const auto fields = list("camera_calibration {\n  name: 7\n}");
  EXPECT_EQ(fieldAt(fields, 2, 9)->path, "camera_calibration[0].name");
  EXPECT_EQ(fieldAt(fields, 2, 3)->path, "camera_calibration[0].name");
  EXPECT_EQ(fieldAt(fields, 2, 2)->path, "camera_calibration[0]");
  EXPECT_EQ(fieldAt(fields, 99, 1)->path, "camera_calibration[0].name");
  EXPECT_EQ(fieldAt(fields, 0, 0), nullptr);
  EXPECT_EQ(fieldAt({}, 1, 1), nullptr);
}

TEST(TextFields, FieldOrTheOneAroundIt) {
  const auto fields = list("camera_calibration {\n  intrinsics { fx: 7 }\n}");
  EXPECT_EQ(findField(fields, "camera_calibration[0].intrinsics.fx")->line, 2);
  EXPECT_EQ(findField(fields, "camera_calibration[0].intrinsics.radial")->path,
            "camera_calibration[0].intrinsics");
  EXPECT_EQ(findField(fields, "camera_calibration[0].extrinsics.a")->path, "camera_calibration[0]");
  EXPECT_EQ(findField(fields, "camera_calibration[1].extrinsics"), nullptr);
}

}  // namespace
}  // namespace norv::tools
