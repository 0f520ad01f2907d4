#include "tools/diff/diff_text.h"

#include <fmt/format.h>

#include <array>
#include <cmath>

#include "support/printable_text.h"
#include "tools/diff/diff_numbers.h"
#include "tools/output/number_text.h"
#include "tools/output/text_table.h"
#include "tools/output/wrapping.h"

namespace norv::tools {
namespace {

using calibration::BaseDifference;
using calibration::CameraDifference;
using calibration::CameraParameters;
using calibration::HeadPoseDifference;
using calibration::ImageDifference;
using calibration::PixelDifference;
using calibration::PixelSize;
using calibration::PoseDifference;
using calibration::PtzDifference;
using calibration::RobotDifference;
using calibration::ValueChange;
using calibration::ZoomDifference;
using Cells = std::vector<std::string>;
using Rows = std::vector<Cells>;

/// A figure in at most 9 columns; "-" where there is none.
std::string figure(double value, int decimals) {
  if (std::isnan(value)) return "-";
  if (std::abs(value) >= 1e6) return fmt::format("{:.1e}", value);
  return formatFixed(value, std::abs(value) < 1000 ? decimals : 1);
}

std::string pixels(double value) { return figure(value, 4); }
std::string millimetres(double metres) { return figure(metres * kMillimetresPerMetre, 3); }
std::string degrees(double radians) { return figure(toDegrees(radians), 4); }

std::string sizeText(const PixelSize& size) {
  return fmt::format("{}x{}", size.width, size.height);
}

/// A list on lines of its own; "" for an empty one.
std::string listText(const std::string& what, const Cells& list, std::size_t indent) {
  if (list.empty()) return "";
  std::string words;
  for (const std::string& entry : list) words += (words.empty() ? "" : ", ") + entry;
  return wrapText(std::string(indent, ' ') + what + ": ", words, indent + 2);
}

std::string poseText(const char* what, const PoseDifference& pose) {
  const auto& [x, y, z] = pose.movement;
  return fmt::format("  {} turned by {} deg\n  {} moved by {} mm: x {}, y {}, z {}\n", what,
                     degrees(pose.angle), std::string(std::char_traits<char>::length(what), ' '),
                     millimetres(pose.distance), millimetres(x), millimetres(y), millimetres(z));
}

Cells pixelRow(const std::string& what, const PixelDifference& difference) {
  const bool none = difference.compared == 0;
  return {what,
          pixels(difference.max),
          pixels(difference.median),
          pixels(difference.rms),
          none ? "-" : fmt::format("{:.0f},{:.0f}", difference.worst_u, difference.worst_v),
          std::to_string(difference.not_imaged)};
}

/// The three ways of looking at an image; how many rays B does not image only where there are any.
std::string pixelTable(const ImageDifference& image) {
  Rows rows = {
      {sizeText({image.a.width, image.a.height}), "max", "median", "RMS", "worst at", "unseen"}};
  rows.push_back(pixelRow("  as is", image.as_is));
  rows.push_back(pixelRow("  rotated", image.rotated));
  bool all_imaged = image.as_is.not_imaged == 0 && image.rotated.not_imaged == 0;
  for (const auto& at : image.on_robot) {
    rows.push_back(pixelRow("  on the robot, " + distanceText(at.distance), at.pixels));
    all_imaged = all_imaged && at.pixels.not_imaged == 0;
  }
  if (all_imaged) {
    for (Cells& row : rows) row.pop_back();
  }
  return alignTable(rows, 2);
}

std::string rotationText(const ImageDifference& image) {
  const auto& [x, y, z] = image.rotation;
  return fmt::format("    rotation by {} deg: x {}, y {}, z {}\n", degrees(std::hypot(x, y, z)),
                     degrees(x), degrees(y), degrees(z));
}

constexpr std::array<const char*, 13> kValueNames = {"fx", "fy", "skew", "cx", "cy", "k1", "k2",
                                                     "p1", "p2", "k3",   "k4", "k5", "k6"};

/// A camera's numbers by those names.
std::vector<float> valuesOf(const CameraParameters::Intrinsics& camera) {
  std::vector<float> values = {camera.fx, camera.fy, camera.skew, camera.cx, camera.cy};
  values.insert(values.end(), camera.distortion.begin(), camera.distortion.end());
  values.resize(kValueNames.size());
  return values;
}

/// The numbers of a camera that differ, old and new.
std::string intrinsicsTable(const CameraParameters::Intrinsics& a,
                            const CameraParameters::Intrinsics& b) {
  const std::vector<float> values_a = valuesOf(a);
  const std::vector<float> values_b = valuesOf(b);
  Rows rows = {{"", "A", "B"}};
  for (std::size_t i = 0; i < kValueNames.size(); ++i) {
    const std::string text_a = shortestText(values_a[i]);
    const std::string text_b = shortestText(values_b[i]);
    if (text_a != text_b) rows.push_back({kValueNames[i], text_a, text_b});
  }
  return rows.size() == 1 ? "    the same intrinsics\n" : alignTable(rows, 4);
}

std::string raysText(int without_ray, int compared_or_not) {
  if (without_ray == 0) return "";
  return fmt::format("    {} of the grid's {} pixels have no ray in A\n", without_ray,
                     without_ray + compared_or_not);
}

std::string imageText(const ImageDifference& image) {
  const PixelDifference& as_is = image.as_is;
  return pixelTable(image) + raysText(as_is.without_ray, as_is.compared + as_is.not_imaged) +
         rotationText(image) + intrinsicsTable(image.a, image.b);
}

Cells sizesText(const std::vector<PixelSize>& sizes) {
  Cells texts;
  for (const PixelSize& size : sizes) texts.push_back(sizeText(size));
  return texts;
}

std::string cameraText(const CameraDifference& camera) {
  std::string text = "\n" + toPrintable(camera.name) + "\n" + poseText("pose", camera.pose);
  for (const ImageDifference& image : camera.images) text += imageText(image);
  return text + listText("sizes only in A", sizesText(camera.only_in_a), 2) +
         listText("sizes only in B", sizesText(camera.only_in_b), 2);
}

Cells printableAll(const Cells& names) {
  Cells printable;
  for (const std::string& name : names) printable.push_back(toPrintable(name));
  return printable;
}

std::string textOf(const RobotDifference& robot) {
  std::string text;
  for (const CameraDifference& camera : robot.cameras) text += cameraText(camera);
  const std::string missing = listText("cameras only in A", printableAll(robot.only_in_a), 0) +
                              listText("cameras only in B", printableAll(robot.only_in_b), 0);
  return text + (missing.empty() ? "" : "\n" + missing);
}

std::string lensTable(const std::vector<ZoomDifference>& zooms) {
  Rows rows = {{"", "as is", "", "", "rotated", "", ""},
               {"zoom", "max", "median", "RMS", "max", "median", "RMS"}};
  for (const ZoomDifference& at : zooms) {
    const PixelDifference& as_is = at.image.as_is;
    const PixelDifference& rotated = at.image.rotated;
    rows.push_back({std::to_string(at.zoom), pixels(as_is.max), pixels(as_is.median),
                    pixels(as_is.rms), pixels(rotated.max), pixels(rotated.median),
                    pixels(rotated.rms)});
  }
  return alignTable(rows, 2);
}

std::string robotTable(const std::vector<ZoomDifference>& zooms) {
  Rows rows = {{"zoom"}};
  for (const auto& at : zooms.front().image.on_robot) {
    rows.front().push_back(distanceText(at.distance));
  }
  for (const ZoomDifference& at : zooms) {
    rows.push_back({std::to_string(at.zoom)});
    for (const auto& there : at.image.on_robot) rows.back().push_back(pixels(there.pixels.max));
  }
  return alignTable(rows, 2);
}

/// The zooms at which some pixels are not compared.
std::string gapsText(const std::vector<ZoomDifference>& zooms) {
  std::string text;
  for (const ZoomDifference& at : zooms) {
    const PixelDifference& as_is = at.image.as_is;
    if (as_is.without_ray == 0 && as_is.not_imaged == 0) continue;
    text += fmt::format("  zoom {}: {} pixels have no ray in A, {} rays are not imaged by B\n",
                        at.zoom, as_is.without_ray, as_is.not_imaged);
  }
  return text;
}

bool hasLens(const CameraParameters::Intrinsics& camera) {
  return std::isfinite(camera.fx) && camera.fx > 0;
}

/// The zooms at which a calibration has no lens: the samples do not lie around them, or are of
/// none.
std::string blindZoomsText(const std::vector<ZoomDifference>& zooms) {
  std::string text;
  for (const ZoomDifference& at : zooms) {
    const bool has_a = hasLens(at.image.a);
    const bool has_b = hasLens(at.image.b);
    if (has_a && has_b) continue;
    const char* const whose = has_b ? "A" : has_a ? "B" : "A and B";
    text += fmt::format("  zoom {}: nothing to compare, no lens in {}\n", at.zoom, whose);
  }
  return text;
}

std::string headTable(const std::vector<HeadPoseDifference>& poses) {
  Rows rows = {{"pan", "tilt", "turned, deg", "moved, mm", "x", "y", "z"}};
  for (const HeadPoseDifference& at : poses) {
    const auto& [x, y, z] = at.pose.movement;
    rows.push_back({std::to_string(at.pan), std::to_string(at.tilt), degrees(at.pose.angle),
                    millimetres(at.pose.distance), millimetres(x), millimetres(y), millimetres(z)});
  }
  return alignTable(rows, 2);
}

std::string textOf(const PtzDifference& ptz) {
  std::string text = "\n";
  if (!(ptz.size_a == ptz.size_b)) {
    text += fmt::format("  image sizes {} and {}: no pixels can be compared\n",
                        sizeText(ptz.size_a), sizeText(ptz.size_b));
  }
  if (!ptz.zooms.empty()) {
    text += "lens, pixels of " + sizeText(ptz.size_a) + "\n" + lensTable(ptz.zooms) +
            gapsText(ptz.zooms) + blindZoomsText(ptz.zooms) +
            "\non the robot, head at home, largest difference in pixels\n" + robotTable(ptz.zooms) +
            "\n";
  }
  return text + "pose of the camera\n" + headTable(ptz.poses);
}

Cells changeRow(const char* what, const ValueChange& change, const char* unit) {
  const auto text = [unit](const std::optional<float>& value) {
    return value ? shortestText(*value) + unit : std::string("-");
  };
  return {what, text(change.a), text(change.b)};
}

std::string textOf(const BaseDifference& base) {
  return "\n" + poseText("global transform", base.global_transform) +
         alignTable({{"", "A", "B"},
                     changeRow("gyroscope gain", base.gain, ""),
                     changeRow("wheel base", base.wheel_base, " m"),
                     changeRow("base width", base.base_width, " m"),
                     changeRow("base length", base.base_length, " m")},
                    2);
}

std::string exceededText(const Cells& exceeded) {
  std::string text = exceeded.empty() ? "" : "\n";
  for (const std::string& sentence : exceeded) text += wrapText("beyond the limit: ", sentence, 2);
  return text;
}

}  // namespace

std::string diffText(const DiffResult& result) {
  return "A: " + toPrintable(result.name_a) + "\nB: " + toPrintable(result.name_b) + "\n" +
         std::visit([](const auto& of_kind) { return textOf(of_kind); }, result.difference) +
         exceededText(result.exceeded);
}

}  // namespace norv::tools
