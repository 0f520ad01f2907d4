#include "tools/import/import_usage.h"

#include <fmt/format.h>

#include <algorithm>

#include "tools/usage/file_name.h"
#include "tools/usage/image_options.h"
#include "tools/usage/peer_options.h"
#include "tools/usage/value_options.h"

namespace norv::tools {
namespace {

/// What stands for standard input and output among file names.
constexpr const char* kStandardStream = "-";
constexpr const char* kRobotFrame = "robot";

CLI::Option* requireText(CLI::Option* option, const std::string& what) {
  return option->check([what](const std::string& text) {
    return text.empty() ? what + " is empty" : std::string();
  });
}

std::optional<int> parseNode(const std::string& text) {
  if (text == "1") return 1;
  return text == "2" ? std::optional(2) : std::nullopt;
}

void addFiles(CLI::App* verb, ImportVerbOptions* options) {
  requireFileName(verb->add_option("FILE", options->paths,
                                   "Calibrations of other programs; - is standard input, a folder "
                                   "COLMAP's cameras.txt and, if it is there, images.txt"))
      ->required();
  CLI::Option* output = requireFileName(verb->add_option("-o,--output", options->output_path,
                                                         "File to write; - is standard output"))
                            ->type_name("FILE");
  requireFileName(verb->add_option("--into", options->into_path,
                                   "Calibration to add the cameras to; those of the same names "
                                   "are replaced, the others stay"))
      ->type_name("FILE")
      ->excludes(output);
  CLI::Option* binary = verb->add_flag("--binary", options->binary, "Write the binary format");
  verb->add_flag("--text", options->text,
                 "Write the text format (default: that of the file of --into; text for a new "
                 "file)")
      ->excludes(binary);
  verb->add_flag("--backup", options->backup,
                 "Keep what the written file was before as FILE.bak, or FILE.bak2 and so on");
}

void addReading(CLI::App* verb, ImportVerbOptions* options) {
  interop::ReadOptions* const reading = &options->wanted.reading;
  addFormatOption(verb, &options->wanted.format, "Format of the files; detected by default");
  addOriginOption(verb, "--pixel-origin", &reading->pixel_origin,
                  "Where the files' pixels are counted from: the centre of the first pixel or the "
                  "image's corner (default: corner for colmap, else centre)");
  addImageSize(verb, "--size", &options->size, "Size of the pictures, where a file does not say");
  addParsed(verb, "--node", "1|2", "Which camera of an OpenCV file with M1, D1 and M2, D2",
            &reading->node, parseNode);
  verb->add_flag("--full-frame", reading->full_frame,
                 "Take a ROS file with binning or a region of interest for the full frame's");
  addNumber(verb, "--scale", "METRES", "Metres per unit of COLMAP's world, whose poses need it",
            1e-9, 1e9, "a positive number",
            [reading](double value) { reading->metres_per_unit = value; });
  addMaxErrorOption(verb, &options->wanted.max_error,
                    "What a lens may deviate by in the place of one of another kind");
}

void addPoses(CLI::App* verb, ImportVerbOptions* options) {
  requireText(
      verb->add_option("--parent", options->parent,
                       "The frame of the files' poses: robot, or another one with "
                       "--parent-from-robot; without either, their poses are not taken over"),
      "the name of the frame")
      ->type_name("NAME");
  addPoseOption(verb, "--parent-from-robot", &options->parent_from_robot,
                "Pose that maps the robot's frame into that parent: 12 numbers, the top three rows "
                "one after the other, translations in millimetres");
  CLI::Option* extrinsics = addPoseOption(
      verb, "--extrinsics", &options->extrinsics,
      "Pose on the robot of cameras without one, as calibrations store it: 12 numbers as above");
  requireText(verb->add_option("--extrinsics-of", options->extrinsics_of,
                               "Take that pose from a camera of a calibration"),
              "FILE:CAMERA")
      ->type_name("FILE:CAMERA")
      ->excludes(extrinsics);
}

void addNaming(CLI::App* verb, ImportVerbOptions* options) {
  verb->add_option("--name", options->wanted.names,
                   "Name of the imported camera; once for each, in the order of the files")
      ->type_name("NAME")
      ->allow_extra_args(false)
      ->check([](const std::string& name) {
        return name.empty() ? std::string("the name of a camera is empty") : std::string();
      });
  verb->add_option("--model", options->wanted.model, "Camera model id of the imported cameras")
      ->type_name("ID");
}

void addChecks(CLI::App* verb, ImportVerbOptions* options) {
  verb->add_flag("--strict", options->strict,
                 "Write nothing where anything of the files is not taken over");
  verb->add_flag("--force", options->force,
                 "Write although validate finds an error in what was made");
  requireFileName(
      verb->add_option("--check", options->check_path,
                       "Compare with points that were seen: a table with the columns x, y, z (on "
                       "the robot, metres), u, v (pixels) and, for several cameras, camera"))
      ->type_name("POINTS");
  addOriginOption(verb, "--check-origin", &options->check_origin,
                  "Where the pixels of --check are counted from (default: corner)");
}

/// How often standard input is to be read.
std::ptrdiff_t countStandardInput(const ImportVerbOptions& options) {
  const auto count = std::count(options.paths.begin(), options.paths.end(), kStandardStream);
  return count + (options.check_path == kStandardStream ? 1 : 0);
}

std::string findOutputConflict(const ImportVerbOptions& options) {
  if (!options.output_path && !options.into_path) return "import needs --output or --into";
  if (options.into_path == kStandardStream) return "--into is for files, not for standard input";
  if (options.output_path == kStandardStream && options.backup) {
    return "--backup is for files, not for standard output";
  }
  return "";
}

}  // namespace

void addImportOptions(CLI::App* verb, ImportVerbOptions* options) {
  addFiles(verb, options);
  addReading(verb, options);
  addPoses(verb, options);
  addNaming(verb, options);
  addChecks(verb, options);
}

std::string findConflict(const ImportVerbOptions& options) {
  std::string output = findOutputConflict(options);
  if (!output.empty()) return output;
  if (countStandardInput(options) > 1) return "standard input can be read only once";
  if (options.check_origin && !options.check_path) return "--check-origin is for --check";
  if (options.parent == kRobotFrame && options.parent_from_robot) {
    return "--parent robot says that there is no pose between, and --parent-from-robot gives one";
  }
  if (options.parent && options.parent != kRobotFrame && !options.parent_from_robot) {
    return fmt::format("--parent {} needs --parent-from-robot, its pose", *options.parent);
  }
  return "";
}

}  // namespace norv::tools
