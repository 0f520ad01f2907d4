#include "tools/export/export_usage.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>

#include "tools/usage/file_name.h"
#include "tools/usage/image_options.h"
#include "tools/usage/peer_options.h"
#include "tools/usage/value_options.h"

namespace norv::tools {
namespace {

using interop::PeerFormat;
using interop::Syntax;

constexpr const char* kStandardStream = "-";
constexpr const char* kRobotFrame = "robot";
constexpr const char* kPlumbBob = "plumb_bob";
constexpr const char* kRational = "rational_polynomial";

/// A way to write a format, and the extension of the files that are written in it.
struct SyntaxRow {
  PeerFormat format;
  const char* name;
  const char* extension;
  Syntax syntax;
};

constexpr std::array<SyntaxRow, 6> kSyntaxes = {{
    {PeerFormat::kRos, "yaml", ".yaml", Syntax::kUsual},
    {PeerFormat::kRos, "ini", ".ini", Syntax::kIni},
    {PeerFormat::kOpenCv, "yaml", ".yml", Syntax::kUsual},
    {PeerFormat::kOpenCv, "xml", ".xml", Syntax::kXml},
    {PeerFormat::kOpenCv, "json", ".json", Syntax::kJson},
    {PeerFormat::kKalibr, "yaml", ".yaml", Syntax::kUsual},
}};

bool endsWith(const std::string& text, const std::string& end) {
  return text.size() >= end.size() && text.compare(text.size() - end.size(), end.size(), end) == 0;
}

/// The syntax of that name, or, without one, that of the output's extension; none where the format
/// does not have the one that is asked for.
std::optional<Syntax> findSyntax(const ExportVerbOptions& options) {
  for (const SyntaxRow& row : kSyntaxes) {
    if (row.format != options.format) continue;
    const bool is_it =
        options.syntax ? *options.syntax == row.name : endsWith(options.output_path, row.extension);
    if (is_it) return row.syntax;
  }
  return options.syntax ? std::nullopt : std::optional(Syntax::kUsual);
}

/// "yaml, xml or json".
std::string listSyntaxes(PeerFormat format) {
  std::string names;
  std::string last;
  for (const SyntaxRow& row : kSyntaxes) {
    if (row.format != format) continue;
    if (!last.empty()) names += (names.empty() ? "" : ", ") + last;
    last = row.name;
  }
  return names.empty() ? last : names + " or " + last;
}

/// Why the syntax does not go with what else is asked for; "" where it does.
std::string findSyntaxConflict(const ExportVerbOptions& options) {
  const PeerFormat format = options.format.value();
  const std::optional<Syntax> syntax = findSyntax(options);
  if (!syntax) {
    const std::string known = listSyntaxes(format);
    return fmt::format("{} is written {}", formatName(format),
                       known.empty() ? "in one syntax alone" : "as " + known);
  }
  if (options.distortion_model == kRational && syntax == Syntax::kIni) {
    return "--distortion-model rational_polynomial is for yaml, since ini has five coefficients";
  }
  return "";
}

template <class... Words>
auto oneOf(const Words&... words) {
  return [words...](const std::string& text) -> std::optional<std::string> {
    return ((text == words) || ...) ? std::optional(text) : std::nullopt;
  };
}

void addSource(CLI::App* verb, ExportVerbOptions* options) {
  requireFileName(verb->add_option("FILE", options->path,
                                   "Robot calibration in binary, text or JSON format; - is "
                                   "standard input, default the compiled-in calibration"))
      ->required();
  verb->add_option("--camera", options->cameras, "Write this camera only; may be given repeatedly")
      ->type_name("NAME")
      ->allow_extra_args(false)
      ->check([](const std::string& name) {
        return name.empty() ? std::string("the name of a camera is empty") : std::string();
      });
  addImageSize(verb, "--size", &options->size,
               "Write the camera of this picture size, one that it delivers (default: the full "
               "frame)");
}

void addWriting(CLI::App* verb, ExportVerbOptions* options) {
  addFormatOption(verb, &options->format, "Format to write")->required();
  requireFileName(verb->add_option("-o,--output", options->output_path,
                                   "File to write; - is standard output. For colmap a folder, or "
                                   "cameras.txt alone where the name ends in .txt"))
      ->type_name("PATH")
      ->required();
  addParsed(verb, "--syntax", "yaml|xml|json|ini",
            "How ros (yaml, ini) and opencv (yaml, xml, json) are written (default: by the "
            "output's extension)",
            &options->syntax, oneOf("yaml", "xml", "json", "ini"));
  addOriginOption(verb, "--pixel-origin", &options->origin,
                  "Where the written pixels are counted from (default: corner for colmap, else "
                  "centre)");
  addMaxErrorOption(verb, &options->max_error, "What a written camera may deviate by");
  addParsed(verb, "--distortion-model", "plumb_bob|rational_polynomial",
            "Lens of ros: five coefficients or eight (default: as many as are needed)",
            &options->distortion_model, oneOf(kPlumbBob, kRational));
}

void addPoses(CLI::App* verb, ExportVerbOptions* options) {
  verb->add_option("--parent", options->parent,
                   "The frame that the written poses are of, imu for Kalibr's T_cam_imu; the "
                   "robot's own unless --parent-from-robot says where it is (default: robot)")
      ->type_name("NAME")
      ->check([](const std::string& name) {
        return name.empty() ? std::string("the name of the frame is empty") : std::string();
      });
  addPoseOption(verb, "--parent-from-robot", &options->parent_from_robot,
                "Pose that maps the robot's frame into that parent: 12 numbers, the top three rows "
                "one after the other, translations in millimetres");
}

}  // namespace

void addExportOptions(CLI::App* verb, ExportVerbOptions* options) {
  addSource(verb, options);
  addWriting(verb, options);
  addPoses(verb, options);
}

std::string findConflict(const ExportVerbOptions& options) {
  const PeerFormat format = options.format.value();
  std::string syntax = findSyntaxConflict(options);
  if (!syntax.empty()) return syntax;
  if (options.distortion_model && format != PeerFormat::kRos) {
    return "--distortion-model is for --format ros";
  }
  if (format == PeerFormat::kColmap && options.output_path == kStandardStream) {
    return "colmap is written to a folder, not to standard output";
  }
  if (options.parent_from_robot && (!options.parent || *options.parent == kRobotFrame)) {
    return "--parent-from-robot needs --parent, the name of a frame that is not robot";
  }
  return "";
}

interop::ExportOptions exportOptionsOf(const ExportVerbOptions& options) {
  interop::ExportOptions wanted;
  wanted.writing.format = options.format.value();
  wanted.writing.syntax = findSyntax(options).value();
  wanted.writing.pixel_origin = options.origin;
  wanted.writing.parent = options.parent.value_or(kRobotFrame);
  if (options.parent_from_robot) wanted.parent_from_robot = rigidPoseOf(*options.parent_from_robot);
  if (options.distortion_model == kPlumbBob) wanted.coefficients = 5;
  wanted.writing.all_coefficients = options.distortion_model == kRational;
  wanted.max_error = options.max_error;
  return wanted;
}

}  // namespace norv::tools
