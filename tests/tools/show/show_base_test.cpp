// The verb `show` on the calibration of a mobile base, run as the user runs it.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <string>

#include "proto/norv_base_calibration.pb.h"
#include "testing/temporary_folder.h"
#include "tests/tools/run_tool.h"

namespace norv {
namespace {

using calibration::BaseCalibrationProto;
using calibration::CalibrationMetadataProto;
using nlohmann::json;
using testing::expectToolRefuses;
using ::testing::HasSubstr;
using testing::TemporaryFolder;
using testing::toolJson;
using testing::toolOutput;

/// Numbers that are exact in binary, and a quarter turn about z.
BaseCalibrationProto exampleBase() {
  BaseCalibrationProto base;
  base.set_wheel_base(0.5F);
  base.set_base_width(0.25F);
  base.set_base_length(0.75F);
  auto* adjustment = base.mutable_global_transform_adjustment();
  for (const double a : {0, -1, 0, 125, 1, 0, 0, -250, 0, 0, 1, 0}) {
    adjustment->mutable_global_transform()->add_a(a);
  }
  CalibrationMetadataProto* metadata = adjustment->mutable_metadata();
  metadata->set_calibration_time(1715677200000000000);  // 2024-05-14 09:00 UTC
  metadata->set_gain_validity_key("gain");
  metadata->set_validity_key("transform");
  metadata->set_tool_version("1.0");
  metadata->set_operator_note("first\nsecond");
  base.mutable_gyroscope()->set_gain(1.5F);
  return base;
}

TEST(ShowBase, WholeText) {
  const TemporaryFolder folder;
  const std::string path = folder.write("base.txt", exampleBase().DebugString());
  EXPECT_EQ(toolOutput("show '" + path + "'"),
            path +
                ": calibration of the mobile base\n"
                "\n"
                "  wheel base    0.5 m\n"
                "  base width   0.25 m\n"
                "  base length  0.75 m\n"
                "  global transform  0  -1  0  0.125 m\n"
                "                    1   0  0  -0.25 m\n"
                "                    0   0  1      0 m\n"
                "    time               2024-05-14 09:00:00 UTC\n"
                "    ns since 1970      1715677200000000000\n"
                "    gain validity key  \"gain\"\n"
                "    validity key       \"transform\"\n"
                "    tool version       \"1.0\"\n"
                "    operator's note    \"first\\nsecond\"\n"
                "  gyroscope gain  1.5\n"
                "    no metadata\n"
                "\n"
                "0 errors, 1 warning; camera-parameters validate says which\n");
}

TEST(ShowBase, Json) {
  const TemporaryFolder folder;
  const std::string path = folder.write("base", exampleBase().SerializeAsString());
  const json expected = {{"source", path},
                         {"errors", 0},
                         {"warnings", 1},  // of the gyroscope's gain
                         {"wheel_base", 0.5},
                         {"base_width", 0.25},
                         {"base_length", 0.75},
                         {"world_rotation", {{0.0, -1.0, 0.0}, {1.0, 0.0, 0.0}, {0.0, 0.0, 1.0}}},
                         {"world_translation", {0.125, -0.25, 0.0}},
                         {"global_transform_metadata",
                          {{"calibration_time_ns", 1715677200000000000},
                           {"gain_validity_key", "gain"},
                           {"validity_key", "transform"},
                           {"tool_version", "1.0"},
                           {"operator_note", "first\nsecond"}}},
                         {"gyroscope_gain", 1.5},
                         {"gyroscope_metadata", nullptr},
                         {"notes", json::array()}};
  EXPECT_EQ(toolJson("show '" + path + "'"), expected);
}

TEST(ShowBase, TimesBefore1970AndNone) {
  const TemporaryFolder folder;
  BaseCalibrationProto base = exampleBase();
  CalibrationMetadataProto* metadata =
      base.mutable_global_transform_adjustment()->mutable_metadata();
  metadata->set_calibration_time(-1);
  EXPECT_THAT(toolOutput("show '" + folder.write("a", base.SerializeAsString()) + "'"),
              HasSubstr(" 1969-12-31 23:59:59 UTC\n    ns since 1970      -1\n"));
  // The range of 64 bits ends on these days.
  metadata->set_calibration_time(INT64_MIN);
  EXPECT_THAT(toolOutput("show '" + folder.write("b", base.SerializeAsString()) + "'"),
              HasSubstr(" 1677-09-21 00:12:43 UTC\n    ns since 1970      -9223372036854775808\n"));
  metadata->set_calibration_time(INT64_MAX);
  EXPECT_THAT(toolOutput("show '" + folder.write("c", base.SerializeAsString()) + "'"),
              HasSubstr(" 2262-04-11 23:47:16 UTC\n    ns since 1970      9223372036854775807\n"));
  metadata->clear_calibration_time();
  EXPECT_THAT(toolOutput("show '" + folder.write("d", base.SerializeAsString()) + "'"),
              HasSubstr("    time               not stated\n"));
}

TEST(ShowBase, KindCanBeGiven) {
  const TemporaryFolder folder;
  const std::string path = folder.write("base", exampleBase().SerializeAsString());
  EXPECT_EQ(toolOutput("show '" + path + "' --kind base"), toolOutput("show '" + path + "'"));
  EXPECT_EQ(toolOutput("show '" + path + "' --kind robot"),
            path + ": 0 cameras\n\n0 errors, 6 warnings; camera-parameters validate says which\n");
  expectToolRefuses("show '" + path + "' --kind ptz",
                    path + ": intrinsics.samples: there are no lens samples");
}

TEST(ShowBase, ValuesThatAreNotFinite) {
  BaseCalibrationProto base = exampleBase();
  base.set_wheel_base(NAN);
  base.mutable_global_transform_adjustment()->mutable_global_transform()->set_a(
      0, std::numeric_limits<double>::infinity());
  const TemporaryFolder folder;
  const json document = toolJson("show '" + folder.write("base", base.SerializeAsString()) + "'");
  EXPECT_TRUE(document["wheel_base"].is_null());
  EXPECT_TRUE(document["world_rotation"][0][0].is_null());
  EXPECT_EQ(document["notes"],
            (json{"wheel_base is nan m, where a number above 0 is needed",
                  "global_transform_adjustment.global_transform.a[0] is inf, where a finite number "
                  "up to 3.40282e+38 is needed"}));
}

TEST(ShowBase, DigitsReadBackAsTheSameNumber) {
  BaseCalibrationProto base = exampleBase();
  base.set_wheel_base(0.42F);
  base.mutable_gyroscope()->set_gain(1.00350012F);
  const TemporaryFolder folder;
  const std::string path = folder.write("base", base.SerializeAsString());
  EXPECT_THAT(toolOutput("show '" + path + "'"), HasSubstr("  wheel base   0.42 m\n"));
  EXPECT_THAT(toolOutput("show '" + path + "' --json"), HasSubstr("\"wheel_base\": 0.42,\n"));
  EXPECT_EQ(toolJson("show '" + path + "'")["gyroscope_gain"].get<float>(), 1.00350012F);
}

TEST(ShowBase, TransformThatIsNoRotation) {
  BaseCalibrationProto base = exampleBase();
  base.mutable_global_transform_adjustment()->mutable_global_transform()->set_a(1, -5);
  const TemporaryFolder folder;
  EXPECT_THAT(toolOutput("show '" + folder.write("base", base.SerializeAsString()) + "'"),
              HasSubstr("\n  note: global_transform_adjustment.global_transform.a: the rotation R "
                        "misses R\n    R^T = 1 by 24, more than 0.01\n\n"));
}

TEST(ShowBase, CalibrationsThatAreRefused) {
  const TemporaryFolder folder;
  BaseCalibrationProto base = exampleBase();
  base.mutable_global_transform_adjustment()->mutable_global_transform()->mutable_a()->Truncate(11);
  std::string path = folder.write("binary", base.SerializeAsString());
  expectToolRefuses("show '" + path + "'",
                    path +
                        ": global_transform_adjustment.global_transform.a: holds 11 values, at "
                        "least 12 are needed");
  path = folder.write("text",
                      "wheel_base: 1\nglobal_transform_adjustment {\n  global_transform {\n"
                      "    a: [1, 2]\n  }\n}\n");
  expectToolRefuses("show '" + path + "'",
                    path +
                        ":4:5: global_transform_adjustment.global_transform.a: holds 2 values, at "
                        "least 12 are needed");
  path = folder.write("value", "wheel_base: 1\nbase_width: wide\n");
  expectToolRefuses("show '" + path + "'", path + ":2:13: base_width: Expected double, got: wide");
}

TEST(ShowBase, OptionsOfFixedCamerasDoNotFit) {
  const TemporaryFolder folder;
  const std::string path = folder.write("base", exampleBase().SerializeAsString());
  expectToolRefuses("show --size 640x480 '" + path + "'",
                    path + ": --camera and --size are for calibrations of fixed cameras");
}

TEST(ShowBase, CompiledInDefaultsFile) {
  const json document =
      toolJson("show '" CAMERA_PARAMETERS_SOURCE_DIR "/calibration/default_base_cal.txt'");
  // The values that stand in the file, as single precision.
  EXPECT_EQ(document["wheel_base"], 0.42);
  EXPECT_EQ(document["gyroscope_gain"], 1.0035);
  EXPECT_NEAR(document["world_translation"][1].get<double>(), -0.00225, 1e-9);
  EXPECT_EQ(document["gyroscope_metadata"]["gain_validity_key"], "default-gyroscope");
}

}  // namespace
}  // namespace norv
