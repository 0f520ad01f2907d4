// The options of the verb `aim` that aim at a distance: what does not go together, and what is no
// value.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

#include "testing/document.h"
#include "tests/tools/aim/aim_example.h"
#include "tests/tools/run_tool.h"

namespace norv {
namespace {

using testing::aimExample;
using testing::expectUsage;
using testing::plainPtz;
using testing::StoredPtz;

void expectAimUsage(const std::string& arguments, const std::string& line) {
  expectUsage(aimExample("--at 0,0,0 " + arguments), line, "aim");
}

TEST(AimSearchUsage, PixelsAndBoxesNeedADistance) {
  const std::string reason =
      " needs --distance with these options: how far away it is what one sees there";
  for (const char* option :
       {"--strict", "--all", "--place axis", "--choice upright", "--fov 30", "--focal 2000"}) {
    expectAimUsage("--pixel 1,1 " + std::string(option), "--pixel" + reason);
    expectAimUsage("--box 1,1,9,9 " + std::string(option), "--box" + reason);
  }
}

TEST(AimSearchUsage, WhatDoesNotGoTogether) {
  const std::string distance =
      "--distance goes with --box, or with --pixel alone: a point says by itself where it is";
  expectAimUsage("--point 1,2,3 --distance 3", distance);
  expectAimUsage("--point 1,2,3 --pixel 1,1 --distance 3", distance);
  expectAimUsage("--track x --distance 3", distance);
  const std::string radius =
      "--radius goes with one --point, or with --track: it makes spheres around points";
  expectAimUsage("--point 1,2,3 --point 1,2,4 --radius 1", radius);
  expectAimUsage("--box 1,1,9,9 --distance 3 --radius 1", radius);
  expectAimUsage("--pixel 1,1 --distance 3 --radius 1", radius);
  const std::string fill =
      "--fill needs a target that has a size: --box, several --point or --radius";
  expectAimUsage("--point 1,2,3 --fill 0.5", fill);
  expectAimUsage("--pixel 1,1 --distance 3 --fill 0.5", fill);
  expectAimUsage("--track x --fill 0.5", fill);
  expectAimUsage("--point 1,2,3 --pixel 1,1 --place axis",
                 "--place and --pixel both say where in the picture the target is wanted");
  expectUsage("aim - --at 0,0,0 --track -", "CALIBRATION and --track cannot both be standard input",
              "aim");
}

TEST(AimSearchUsage, WhatExcludesEachOther) {
  expectAimUsage("--point 1,2,3 --fov 30 --focal 900", "--fov excludes --focal");
  expectAimUsage("--point 1,2,3 --tolerance 3", "--tolerance requires --strict");
  for (const char* arguments :
       {"--track x --all", "--track x --point 1,2,3", "--track x --box 1,1,9,9",
        "--box 1,1,9,9 --distance 2 --fill 1 --fov 30", "--box 1,1,9,9 --distance 2 --pixel 1,1",
        "--box 1,1,9,9 --fill 0.4 --focal 900 --distance 2", "--point 1,2,3 --point",
        "--point 1,2,3 4,5,6"}) {
    testing::expectBadUsage(aimExample("--at 0,0,0 " + std::string(arguments)));
  }
  expectAimUsage("--strict", "One of --pixel, --box, --point and --track is required");
}

TEST(AimSearchUsage, WhatIsNoValue) {
  expectAimUsage("--point 1,2", "--point: not of the form X,Y,Z: 1,2");
  expectAimUsage("--point 1,2,3 --point 1,2,nan", "--point: not of the form X,Y,Z: 1,2,nan");
  expectAimUsage("--point 1,2,1e39", "--point: not of the form X,Y,Z: 1,2,1e39");
  for (const char* value : {"0", "-1", "nan", "inf", "1e999", "1m", "", " 1"}) {
    const std::string quoted = " '" + std::string(value) + "'";
    const std::string text = " not a positive number: " + std::string(value);
    expectAimUsage("--pixel 1,1 --distance" + quoted, "--distance:" + text);
    expectAimUsage("--point 1,2,3 --radius" + quoted, "--radius:" + text);
    expectAimUsage("--point 1,2,3 --focal" + quoted, "--focal:" + text);
  }
  expectAimUsage("--point 1,2,3 --fill 1.1", "--fill: not a number above 0, at most 1: 1.1");
  expectAimUsage("--point 1,2,3 --fill 0", "--fill: not a number above 0, at most 1: 0");
  expectAimUsage("--point 1,2,3 --fov 181", "--fov: not an angle between 0 and 180: 181");
  expectAimUsage("--point 1,2,3 --fov 180", "--fov: not an angle between 0 and 180: 180");
  expectAimUsage("--point 1,2,3 --place up", "--place: not one of middle|axis: up");
  expectAimUsage("--point 1,2,3 --choice flip",
                 "--choice: not one of nearest|upright|no-flip: flip");
  expectAimUsage("--point 1,2,3 --strict --tolerance -1",
                 "--tolerance: not a number from 0 on: -1");
  expectAimUsage("--track ''", "--track: the name of the file is empty");
}

TEST(AimSearchUsage, HelpSaysWhenPositionsAreSearched) {
  const std::string help = testing::inOneLine(testing::toolOutput("aim --help"));
  EXPECT_THAT(help, ::testing::HasSubstr("Centre what this pixel shows 1 m away; with --distance"));
  EXPECT_THAT(help, ::testing::HasSubstr("--pixel alone and --box then need --distance"));
  EXPECT_THAT(help, ::testing::HasSubstr("At a distance, within the range of the motors"));
}

TEST(AimSearchUsage, HeadsThatCannotBeAimed) {
  calibration::PTZCameraParameters ptz = plainPtz();
  ptz.mutable_pan_tilt()->clear_pan_scale();
  const StoredPtz still(ptz);
  const std::string point = "--at 0,0,0 --strict --point 5,0,0";
  testing::expectToolRefuses(still.aim(point),
                             still.path() +
                                 ": nothing can be aimed with this head: a motor does "
                                 "not turn");
  ptz = plainPtz();
  ptz.mutable_intrinsics()->clear_image_width();
  const StoredPtz sizeless(ptz);
  testing::expectToolRefuses(sizeless.aim(point),
                             sizeless.path() +
                                 ": nothing can be aimed with this camera: its picture "
                                 "has no size, or its head no poses");
}

}  // namespace
}  // namespace norv
