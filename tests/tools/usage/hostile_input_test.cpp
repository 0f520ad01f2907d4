// Bytes of files, file names and arguments that would act on a terminal do not reach it, whatever
// the verb prints them in.

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <initializer_list>
#include <nlohmann/json.hpp>
#include <string>

#include "proto/norv_base_calibration.pb.h"
#include "proto/norv_robot_calibration.pb.h"
#include "support/printable_text.h"
#include "testing/calibration_messages.h"
#include "testing/example_ptz.h"
#include "testing/run_program.h"
#include "testing/temporary_folder.h"
#include "tests/tools/run_tool.h"

namespace norv {
namespace {

using calibration::BaseCalibrationProto;
using calibration::CameraCalibration;
using testing::exampleCamera;
using testing::ProgramResult;
using testing::robotOf;
using testing::runTool;
using testing::TemporaryFolder;

/// What sets a window's title, a C1 control, an override of the direction of writing, a separator
/// of lines, bytes that are no UTF-8, and a line that poses as the program's own.
const char* const kHostile =
    "x\x1b]0;title\x07\x7f\xc2\x9b"
    "31m\xe2\x80\xae\xe2\x81\xa6\xe2\x80\xa8\xff\xc0\xaf\r\ncamera-parameters: forged";

/// Expects lines that are printable as they are, and that `forged` begins none of them.
void expectHarmless(const std::string& text, const std::string& what) {
  std::size_t begin = 0;
  while (begin < text.size()) {
    const std::size_t end = std::min(text.find('\n', begin), text.size());
    const std::string line = text.substr(begin, end - begin);
    EXPECT_EQ(line, toPrintable(line)) << what;
    EXPECT_NE(line, "camera-parameters: forged") << what;
    begin = end + 1;
  }
}

/// A shell's word that stands for any text without an apostrophe.
std::string quoted(const std::string& text) { return "'" + text + "'"; }

/// Runs the tool and expects that all it says is harmless; returns that.
ProgramResult runHarmless(const std::string& arguments, int status) {
  ProgramResult result = runTool(arguments);
  EXPECT_EQ(result.status, status) << toPrintable(arguments) << "\n" << result.errors;
  EXPECT_NE(result.output + result.errors, "") << toPrintable(arguments);
  expectHarmless(result.output, toPrintable(arguments));
  expectHarmless(result.errors, toPrintable(arguments));
  return result;
}

CameraCalibration hostileCamera() { return exampleCamera(kHostile, kHostile); }

BaseCalibrationProto hostileBase() {
  BaseCalibrationProto base;
  auto* adjustment = base.mutable_global_transform_adjustment();
  for (const double a : {1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0}) {
    adjustment->mutable_global_transform()->add_a(a);
  }
  auto* metadata = adjustment->mutable_metadata();
  metadata->set_gain_validity_key(kHostile);
  metadata->set_validity_key(kHostile);
  metadata->set_tool_version(kHostile);
  metadata->set_operator_note(kHostile);
  return base;
}

TEST(HostileInput, ContentsThatAreShown) {
  const TemporaryFolder folder;
  const std::string robot = folder.write("robot", robotOf({hostileCamera()}).SerializeAsString());
  const std::string base = folder.write("base", hostileBase().SerializeAsString());
  for (const std::string& path : {robot, base}) {
    runHarmless("show " + quoted(path), 0);
    const ProgramResult json = runHarmless("show --json " + quoted(path), 0);
    EXPECT_FALSE(nlohmann::json::parse(json.output, nullptr, false).is_discarded());
  }
}

TEST(HostileInput, NamesInErrors) {
  const TemporaryFolder folder;
  CameraCalibration camera = hostileCamera();
  const std::string good = folder.write("good", robotOf({camera}).SerializeAsString());
  runHarmless("show --camera other " + quoted(good), 1);
  runHarmless("show --camera " + quoted(kHostile) + "y " + quoted(good), 1);
  camera.mutable_intrinsics()->clear_width();
  runHarmless("show " + quoted(folder.write("sizeless", robotOf({camera}).SerializeAsString())), 1);
  camera.clear_extrinsics();
  runHarmless("show " + quoted(folder.write("poseless", robotOf({camera}).SerializeAsString())), 1);
}

TEST(HostileInput, NotesOfAdjust) {
  const TemporaryFolder folder;
  const std::string robot =
      folder.write("robot", robotOf({hostileCamera(), hostileCamera()}).SerializeAsString());
  const std::string base = folder.write("base", hostileBase().SerializeAsString());
  const std::string adjust = "adjust " + quoted(robot) + " --base " + quoted(base) + " --output ";
  runHarmless(adjust + quoted(folder.path("output")), 1);
  runHarmless(adjust + quoted(folder.path("output")) + " --force --backup", 0);
  runHarmless(adjust + quoted(folder.path("output")) + " --force --backup --json", 0);
  // What goes to standard output is the calibration itself, for programs; its text is ASCII.
  runHarmless(adjust + "- --text --force", 0);
}

TEST(HostileInput, Texts) {
  const TemporaryFolder folder;
  const std::string hostile(kHostile);
  for (const std::string& text : std::initializer_list<std::string>{
           hostile + ": 1", "camera_calibration { name: " + hostile + " }",
           "camera_calibration { name: \"a\" \xc2\x9b }",
           "camera_calibration { " + std::string("\xe2\x80") + "\xae: 1 }",
           "camera_calibration { intrinsics { width: '\xc2\x9b\xff' } }"}) {
    const std::string path = folder.write("text", text);
    for (const char* kind : {"robot", "ptz", "base"}) {
      runHarmless("show " + quoted(path) + " --kind " + kind, 1);
    }
    runHarmless("aim " + quoted(path) + " --at 1,2,3 --pixel 1,2", 1);
    runHarmless("adjust " + quoted(path) + " --base x --output y", 1);
  }
}

TEST(HostileInput, FileNames) {
  const TemporaryFolder folder;
  const std::string robot = robotOf({exampleCamera("lab", "lab")}).SerializeAsString();
  const std::string missing = quoted(folder.path(kHostile));
  runHarmless("show " + missing, 1);
  runHarmless("aim " + missing + " --at 1,2,3 --pixel 1,2", 1);
  runHarmless("adjust " + missing + " --base x --output y", 1);
  const std::string path = quoted(folder.write(kHostile, robot));
  runHarmless("show " + path, 0);
  runHarmless("show --json " + path, 0);
  runHarmless("show --kind base " + path, 1);
  runHarmless("aim " + path + " --at 1,2,3 --pixel 1,2", 1);
  const std::string base = quoted(folder.write("base", hostileBase().SerializeAsString()));
  runHarmless("adjust " + path + " --base " + base + " --output " + path + "y --force", 0);
  runHarmless("adjust " + path + " --base " + base + " --output " + path + "/y --force", 1);
  const std::string hostile_base =
      quoted(folder.write(std::string(kHostile) + "b", hostileBase().SerializeAsString()));
  runHarmless("show " + hostile_base, 0);
  runHarmless("adjust " + path + " --base " + hostile_base + " --output " + path + "y --force", 0);
  const std::string ptz =
      quoted(folder.write(std::string(kHostile) + "p", testing::examplePtz().SerializeAsString()));
  runHarmless("show " + ptz, 0);
  runHarmless("show --json " + ptz, 0);
  runHarmless("aim " + ptz + " --at 0,0,99999 --pixel 1,2", 1);
}

TEST(HostileInput, Arguments) {
  const std::string word = quoted(kHostile);
  for (const std::string& arguments : std::initializer_list<std::string>{
           word, "show --" + word, "show a " + word, "show --size " + word, "show --kind " + word,
           "aim a --at " + word + " --pixel 1,2", "aim a --at 1,2,3 --box " + word,
           "adjust a --base b --output c " + word}) {
    runHarmless(arguments, 2);
  }
  runHarmless("show --camera " + word, 1);
}

}  // namespace
}  // namespace norv
