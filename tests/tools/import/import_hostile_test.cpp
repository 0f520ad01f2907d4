// Files that are made to be a trouble, names with odd characters, outputs that cannot be written:
// `import` answers within a second, and never leaves half a file.

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/resource.h>

#include <filesystem>
#include <string>
#include <vector>

#include "support/message_printing.h"
#include "support/printable_text.h"
#include "testing/calibration_messages.h"
#include "testing/sanitized.h"
#include "tests/tools/import/import_example.h"

namespace norv {
namespace {

namespace fs = std::filesystem;
using testing::contentsOf;
using ::testing::HasSubstr;
using testing::importedCamera;
using testing::kOtherFile;
using testing::PeerFiles;
using testing::ProgramResult;
using testing::quoted;
using testing::readRobot;
using testing::robotOf;
using testing::runTool;

const std::string kKnown =
    "looks like no calibration of the known formats: ros, kalibr, opencv, mrcal, colmap, basalt";

std::string repeated(const std::string& text, int times) {
  std::string all;
  all.reserve(text.size() * static_cast<std::size_t>(times));
  for (int i = 0; i < times; ++i) all += text;
  return all;
}

/// A ROS file with a piece of it replaced.
std::string rosWith(const std::string& piece, const std::string& by) {
  std::string text = testing::rosFile("left");
  return text.replace(text.find(piece), piece.size(), by);
}

/// Seconds of the processor that the programs took which were run so far.
double secondsOfPrograms() {
  rusage used = {};
  EXPECT_EQ(::getrusage(RUSAGE_CHILDREN, &used), 0);
  const auto seconds = [](const timeval& time) {
    return static_cast<double>(time.tv_sec) + 1e-6 * static_cast<double>(time.tv_usec);
  };
  return seconds(used.ru_utime) + seconds(used.ru_stime);
}

/// Runs the words and expects the answer within a second of the processor.
template <class Run>
ProgramResult expectWithinASecond(const Run& run, const std::string& what) {
  const double before = secondsOfPrograms();
  ProgramResult result = run();
  EXPECT_LT(secondsOfPrograms() - before, testing::allowedSeconds(1)) << what;
  return result;
}

/// Expects that the contents are refused with this reason, which stands after the file's name,
/// within a second.
void expectContentsRefused(const PeerFiles& files, const std::string& contents,
                           const std::string& reason, const std::string& options = "") {
  const std::string path = files.folder.write("hostile", contents);
  expectWithinASecond([&] { return runTool(files.import(quoted(path) + options)); }, reason);
  files.expectRefused(quoted(path) + options, path + reason);
}

TEST(ImportHostile, DeepNesting) {
  const PeerFiles files;
  constexpr int kDepth = 100000;
  expectContentsRefused(files, "image_width: " + repeated("[", kDepth),
                        ":1:46: is nested too deeply");
  expectContentsRefused(files, "cam0: " + repeated("{a: ", kDepth), ":1:259: is nested too deeply");
  expectContentsRefused(files, "<?xml version=\"1.0\"?><opencv_storage>" + repeated("<a>", kDepth),
                        ":1: is nested too deeply");
  expectContentsRefused(files, repeated("{\"value0\": ", kDepth), ": " + kKnown);
  expectContentsRefused(files, repeated("{\"value0\": ", kDepth), ":1:694: is nested too deeply",
                        " --format basalt");
  expectContentsRefused(files, "{'lensmodel': " + repeated("[", kDepth),
                        ":1:78: is nested too deeply", " --format mrcal");
}

TEST(ImportHostile, KeysThatStandThereTwice) {
  const PeerFiles files;
  expectContentsRefused(files, testing::rosFile("left", "image_width: 640\n"),
                        ":7:1: image_width: stands there twice");
}

TEST(ImportHostile, NumbersThatAreNotFinite) {
  const PeerFiles files;
  const std::string where = ":4:42: camera_matrix.data[0]: ";
  expectContentsRefused(files, rosWith("1000.25", "nan"), where + "is not finite: nan");
  expectContentsRefused(files, rosWith("1000.25", ".nan"), where + "is not finite: .nan");
  expectContentsRefused(files, rosWith("1000.25", "-.inf"), where + "is not finite: -.inf");
  expectContentsRefused(files, rosWith("1000.25", "1e999"),
                        where + "exceeds the range of double: 1e999");
}

TEST(ImportHostile, TextsThatGrow) {
  const PeerFiles files;
  std::string bomb = "a: &a [x, x, x, x, x, x, x, x, x]\n";
  for (char name = 'b'; name <= 'i'; ++name) {
    const std::string before = "*" + std::string(1, static_cast<char>(name - 1));
    bomb +=
        std::string(1, name) + ": &" + name + " [" + repeated(before + ", ", 8) + before + "]\n";
  }
  expectContentsRefused(files, testing::rosFile("left", bomb), ":8:8: aliases are not read");
  expectContentsRefused(
      files,
      "<?xml version=\"1.0\"?><!DOCTYPE l [<!ENTITY a \"x\"><!ENTITY b \"&a;&a;\">]>"
      "<opencv_storage><K>&b;</K></opencv_storage>",
      ":1: a document type or text is not read");
}

TEST(ImportHostile, HundredMillionBlanks) {
  const PeerFiles files;
  constexpr std::size_t kMany = 100000000;
  const auto refuses = [&](const std::string& path, const std::string& option,
                           const std::string& reason) {
    expectWithinASecond([&] { return runTool(files.import(quoted(path) + option)); }, option);
    files.expectRefused(quoted(path) + option, path + ": " + reason);
  };
  const std::string blanks = files.folder.write("blanks", std::string(kMany, ' '));
  refuses(blanks, "", kKnown);
  for (const char* const format : {"ros", "kalibr", "opencv", "mrcal", "basalt"}) {
    refuses(blanks, std::string(" --format ") + format, "is longer than 16 MiB");
  }
  const std::string lines = files.folder.write("lines", std::string(kMany, '\n'));
  refuses(lines, "", kKnown);
  refuses(lines, " --format colmap", "has no camera");
}

TEST(ImportHostile, LineEndsAndMarksOfOtherSystems) {
  const PeerFiles files;
  std::string with_returns;
  for (const char c : testing::rosFile("left")) {
    if (c == '\n') with_returns += '\r';
    with_returns += c;
  }
  for (const std::string& text : {with_returns, "\xef\xbb\xbf" + testing::rosFile("left")}) {
    const std::string path = files.folder.write("windows.yaml", text);
    const ProgramResult result =
        expectWithinASecond([&] { return runTool(files.import(quoted(path))); }, "read");
    EXPECT_EQ(result.status, 0) << result.errors;
    EXPECT_EQ(readRobot(files.output).SerializeAsString(),
              robotOf({importedCamera("left")}).SerializeAsString());
  }
}

/// A shell's word for any text.
std::string word(const std::string& text) {
  std::string quotes = "'";
  for (const char c : text) quotes += c == '\'' ? "'\\''" : std::string(1, c);
  return quotes + "'";
}

TEST(ImportHostile, NamesWithOddCharacters) {
  const PeerFiles files;
  for (const std::string& name :
       {std::string("a \"b\" 'c' \\d"), std::string("caf\xc3\xa9 \xe2\x82\xac"),
        std::string("x\x1b]0;title\x07\r\ncamera_calibration { name: \"forged\" }"),
        std::string("\xff\xc0\xaf"), std::string("-o"), std::string(5000, 'n')}) {
    const std::string source = files.folder.write("b\x1b[31m\nc.yaml", testing::rosFile("left"));
    const ProgramResult result =
        runTool(files.import(word(source) + " --name=" + word(name) + " --text"));
    EXPECT_EQ(result.status, 0) << result.errors;
    EXPECT_THAT(result.output, HasSubstr("\n  " + toPrintable(name) + ": exact at 1280x960; "));
    for (const char c : {'\x1b', '\x07', '\r'}) {
      EXPECT_EQ(result.output.find(c), std::string::npos);
      EXPECT_EQ(contentsOf(files.output).find(c), std::string::npos);
    }
    EXPECT_EQ(readRobot(files.output).SerializeAsString(),
              robotOf({importedCamera(name)}).SerializeAsString());
  }
}

TEST(ImportHostile, OptionsThatAreGivenTwice) {
  testing::expectUsage("import f -o a -o b", "--output: At Most 1 required but received 2",
                       "import");
  testing::expectUsage("import f -o a --format ros --format kalibr",
                       "--format: At Most 1 required but received 2", "import");
  testing::expectUsage("import f -o a --parent a --parent b",
                       "--parent: At Most 1 required but received 2", "import");
  testing::expectUsage("import f --into a --into b", "--into: At Most 1 required but received 2",
                       "import");
}

TEST(ImportHostile, ValuesThatAreMissing) {
  for (const std::string option : {"--into", "--format", "--size", "--parent", "--name", "--check",
                                   "--extrinsics-of", "--scale", "--max-error", "--model"}) {
    const ProgramResult result = runTool("import f " + option);
    EXPECT_EQ(result.status, 2) << option;
    EXPECT_THAT(result.errors, HasSubstr("camera-parameters: " + option + ": 1 required "))
        << option;
  }
}

TEST(ImportHostile, OutputThatIsRead) {
  const PeerFiles files;
  const std::string link = files.folder.path("link");
  fs::create_hard_link(files.ros, link);
  const std::string points = files.folder.write("points.csv", "x,y,z,u,v\n");
  const std::string robot = files.folder.write("robot", printText(robotOf({importedCamera("a")})));
  const std::string reason = ": is one of the files that are read, which is not to be written over";
  const auto refuses = [&](const std::string& output, const std::string& options) {
    const std::string before = contentsOf(output);
    testing::expectToolRefuses("import " + quoted(files.ros) + options + " -o " + quoted(output),
                               output + reason);
    EXPECT_EQ(contentsOf(output), before);
  };
  refuses(files.ros, "");
  refuses(link, "");
  refuses(points, " --check " + quoted(points));
  refuses(robot, " --extrinsics-of '" + robot + ":a'");
  EXPECT_EQ(runTool("import " + quoted(files.ros) + " --extrinsics-of '" + robot + ":a' --into " +
                    quoted(robot))
                .status,
            0);
  EXPECT_EQ(readRobot(robot).camera_calibration_size(), 2);
}

TEST(ImportHostile, OutputThatIsNoFile) {
  const PeerFiles files;
  const std::string folder = files.folder.path("folder");
  fs::create_directory(folder);
  testing::expectToolRefuses("import " + quoted(files.ros) + " -o " + quoted(folder),
                             folder + ": cannot be written: not a regular file");
  testing::expectToolRefuses("import " + quoted(files.ros) + " -o /dev/full",
                             "/dev/full: cannot be written: not a regular file");
}

/// Expects the file as it was, and nothing new beside it.
void expectUntouched(const PeerFiles& files, const std::string& path, const std::string& before) {
  EXPECT_EQ(contentsOf(path), before);
  int others = 0;
  for (const auto& entry : fs::directory_iterator(fs::path(path).parent_path())) {
    if (entry.path() != path && entry.path() != files.ros && entry.path() != files.mrcal) ++others;
  }
  EXPECT_EQ(others, 0) << "something is left beside the file";
}

TEST(ImportHostile, NoRoomOnTheDisk) {
  const PeerFiles files;
  const std::string before = printText(robotOf({importedCamera("other")}));
  files.folder.write("output", before);
  for (const std::string& arguments :
       {files.import(quoted(files.ros)),
        "import " + quoted(files.ros) + " --into " + quoted(files.output)}) {
    const ProgramResult result = testing::runProgram(
        "ulimit -f 1; " + testing::toolCommand() + arguments + " --name " + std::string(2000, 'n'));
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.output, "");
    EXPECT_EQ(result.errors,
              "camera-parameters: " + files.output + ": cannot be written: File too large\n");
    expectUntouched(files, files.output, before);
  }
}

}  // namespace
}  // namespace norv
