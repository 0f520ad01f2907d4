// Which camera, size and position the verb `view` shows, and what it refuses.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

#include "tests/tools/run_tool.h"
#include "tests/tools/view/view_example.h"

namespace norv {
namespace {

using nlohmann::json;
using testing::expectBadUsage;
using testing::expectToolRefuses;
using testing::expectUsage;
using ::testing::HasSubstr;
using testing::kCalibrations;
using testing::pinholeCamera;
using testing::ProgramResult;
using testing::robotOf;
using testing::runProgram;
using testing::runTool;
using testing::toolCommand;
using testing::toolJson;
using testing::toolOutput;

TEST_F(ViewCommand, NeedsNoChoiceWhereThereIsNone) {
  const json view = toolJson("view " + write("one.bin", robotOf({pinholeCamera("a", 64, 48)})));
  EXPECT_EQ(view["camera"], "a");
  EXPECT_EQ(view["size"], (json{64, 48}));
}

TEST_F(ViewCommand, OfCamerasOfOneNameTakesTheLast) {
  const std::string path =
      write("twice.bin", robotOf({pinholeCamera("a", 64, 48), pinholeCamera("a", 32, 24)}));
  EXPECT_EQ(toolJson("view " + path + " --camera a")["size"], (json{32, 24}));
}

TEST_F(ViewCommand, ReadsStandardInput) {
  const ProgramResult result = runProgram(toolCommand() + "view - < " + writeFolding());
  EXPECT_EQ(result.status, 0);
  EXPECT_THAT(result.output, HasSubstr("standard input\n\nfolding at 640x480\n"));
}

TEST_F(ViewCommand, SaysWhichChoiceThereIs) {
  expectUsage("view",
              kDefault +
                  ": there are several cameras: choose one by --camera (head_camera, "
                  "navigation_camera)",
              "view");
  expectUsage("view --camera head_camera",
              kDefault +
                  ": head_camera delivers several sizes: choose one by --size (640x480, 1280x960, "
                  "1280x720)",
              "view");
  expectToolRefuses("view --camera head",
                    kDefault +
                        ": no camera \"head\" (there are: head_camera, navigation_camera); did "
                        "you mean head_camera?");
  expectToolRefuses("view --camera head_camera --size 320x240",
                    kDefault +
                        ": head_camera does not deliver 320x240, only 640x480, 1280x960, "
                        "1280x720; for a picture that was made from one of these, give that one's "
                        "--size, and --resized 320x240");
}

TEST_F(ViewCommand, RefusesAnUnknownCameraAsShowDoes) {
  const ProgramResult view = runTool("view --camera nose");
  const ProgramResult show = runTool("show --camera nose");
  EXPECT_EQ(view.status, show.status);
  EXPECT_EQ(view.errors, show.errors);
}

TEST_F(ViewCommand, RefusesWhatHasNoPictures) {
  const std::string base = kCalibrations + "default_base_cal.txt";
  expectToolRefuses("view " + base,
                    base + ": holds the calibration of a mobile base, which has no pictures");
  const std::string empty = folder_.write("empty.txt", "");
  expectToolRefuses("view " + empty, empty + ": holds no camera");
  const std::string flat = write("flat.bin", robotOf({pinholeCamera("flat", 640, 0)}));
  expectToolRefuses("view " + flat, flat + ": the pictures of flat have no pixels: they are 640x0");
  calibration::PTZCameraParameters params = testing::examplePtz();
  params.mutable_intrinsics()->clear_image_height();
  const std::string ptz = write("ptz.bin", params);
  expectToolRefuses("view " + ptz + " --at 0,0,0",
                    ptz + ": the pictures have no pixels: they are 1920x0");
}

TEST_F(ViewCommand, RefusesWhatDoesNotFitTheFile) {
  expectUsage("view " + kPtz, kPtz + ": a pan-tilt-zoom camera needs --at, where its motors are",
              "view");
  expectUsage("view " + kPtz + " --at 0,0,0 --size 1280x720",
              kPtz + ": the pictures are 1920x1080, not 1280x720", "view");
  expectUsage("view " + kPtz + " --at 0,0,0 --camera head_camera",
              kPtz + ": --camera is for calibrations of fixed cameras", "view");
  expectUsage("view --camera head_camera --at 0,0,0",
              kDefault + ": --at is for pan-tilt-zoom cameras", "view");
  expectToolRefuses("view " + kPtz + " --at 0,0,11000",
                    kPtz +
                        ": zoom position 11000 is at or beyond the last lens sample, where the "
                        "lens is not known");
  EXPECT_EQ(runTool("view /nonexistent/a.txt").status, 1);
}

TEST_F(ViewCommand, HasNoKindWithoutPictures) {
  expectUsage("view --kind base", "--kind: not one of robot|ptz: base", "view");
  EXPECT_EQ(toolOutput("view --kind ptz " + kPtz + " --at 0,0,0"),
            toolOutput("view " + kPtz + " --at 0,0,0"));
  EXPECT_EQ(toolOutput("view --kind robot --camera head_camera --size 640x480"),
            toolOutput("view --camera head_camera --size 640x480"));
}

TEST_F(ViewCommand, TakesSidesOfUpTo16384Pixels) {
  const std::string head = "view --camera head_camera --size 640x480 ";
  const std::string bound = ": not a size such as 640x480, each side at most 16384: ";
  expectUsage(head + "--resized 65535x65535", "--resized" + bound + "65535x65535", "view");
  expectUsage(head + "--resized 1x16385", "--resized" + bound + "1x16385", "view");
  expectUsage(head + "--view-size 16385x1", "--view-size" + bound + "16385x1", "view");
  EXPECT_EQ(toolJson(head + "--resized 16384x1 --view-size 1x16384")["straightened"]["size"],
            (json{1, 16384}));
  const std::string help = toolOutput("view --help");
  EXPECT_THAT(help, HasSubstr("\n  --resized WxH               Then it was scaled to this size, "
                              "pixels, at most\n                              16384x16384\n"));
  EXPECT_THAT(help, HasSubstr("\n  --view-size WxH             Size of the straightened picture, "
                              "pixels, at most\n                              16384x16384; "));

  const std::string wide = write("wide.bin", robotOf({pinholeCamera("wide", 60000, 60000)}));
  expectToolRefuses("view " + wide,
                    wide + ": the picture is 60000x60000; view takes sides of up to 16384 pixels");
  EXPECT_EQ(toolJson("view " + wide + " --resized 6x6")["size"], (json{6, 6}));
}

TEST_F(ViewCommand, NamesCannotActOnTheTerminal) {
  const std::string path = write("red.bin", robotOf({pinholeCamera("\x1b[31mred", 10, 10)}));
  EXPECT_EQ(toolOutput("view " + path).find('\x1b'), std::string::npos);
}

TEST_F(ViewCommand, RefusesWrongCalls) {
  for (const char* wrong : {"-0.1", "1.1", "nan", "inf", "''", "a", "0,5"}) {
    expectBadUsage(std::string("view --camera head_camera --size 640x480 --alpha ") + wrong);
  }
  for (const char* wrong : {"0", "-1", "nan", "inf", "''"}) {
    expectBadUsage(std::string("view --camera head_camera --size 640x480 --aspect ") + wrong);
  }
  expectBadUsage("view --camera head_camera --size 640x480 --margin -1");
  expectBadUsage("view --camera head_camera --size 640x480 --centre left");
  expectBadUsage("view --camera head_camera --size 640x480 --view-size 0x0");
  expectBadUsage("view --camera head_camera --size 640x480 --resized 10");
  expectBadUsage("view --camera head_camera --size 640");
  for (const char* wrong :
       {"1,2,3", "1,2", "1,2,3x", "1,2,3x0", "-1,0,10x10", "0,0,641x1", "a,0,1x1"}) {
    expectBadUsage(std::string("view --camera head_camera --size 640x480 --cropped ") + wrong);
  }
  for (const char* wrong : {"2", "0x2", "2x-1", "641x1", "1x481", "''"}) {
    expectBadUsage(std::string("view --camera head_camera --size 640x480 --binned ") + wrong);
  }
  for (const char* wrong : {"vh", "x", "hh", "''"}) {
    expectBadUsage(std::string("view --camera head_camera --size 640x480 --flipped ") + wrong);
  }
  expectBadUsage("view --camera ''");
  expectBadUsage("view ''");
  expectBadUsage("view " + kPtz + " --at 1,2");
  expectBadUsage("view a b");
}

}  // namespace
}  // namespace norv
