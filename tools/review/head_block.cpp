#include "tools/review/head_block.h"

#include <fmt/format.h>
#include <google/protobuf/text_format.h>

#include <algorithm>

#include "tools/output/wrapping.h"

namespace norv::tools {
namespace {

using calibration::CameraExtrinsics;
using calibration::PanTiltSystemParameters;

constexpr int kRowLength = 4;

std::string poseBlock(const char* name, const CameraExtrinsics& pose) {
  std::string text = fmt::format("  {} {{\n", name);
  for (int i = 0; i < pose.a_size(); i += kRowLength) {
    const int end = std::min(i + kRowLength, pose.a_size());
    const std::string row =
        fmt::format("{}", fmt::join(pose.a().begin() + i, pose.a().begin() + end, ", "));
    text += wrapText("    a: [", row + "]", 8);
  }
  return text + "  }\n";
}

/// What the head holds besides its poses, a line each.
std::string motorBlock(PanTiltSystemParameters head) {
  head.clear_base_to_pan();
  head.clear_pan_to_tilt();
  head.clear_tilt_to_camera();
  head.DiscardUnknownFields();
  google::protobuf::TextFormat::Printer printer;
  printer.SetInitialIndentLevel(1);
  std::string text;
  return printer.PrintToString(head, &text) ? text : "";
}

}  // namespace

std::string headBlock(const PanTiltSystemParameters& head) {
  return "pan_tilt {\n" + poseBlock("base_to_pan", head.base_to_pan()) +
         poseBlock("pan_to_tilt", head.pan_to_tilt()) +
         poseBlock("tilt_to_camera", head.tilt_to_camera()) + motorBlock(head) + "}\n";
}

}  // namespace norv::tools
