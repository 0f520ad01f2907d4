#include <fmt/format.h>

#include <cmath>
#include <vector>

#include "support/printable_text.h"
#include "tools/angles.h"
#include "tools/output/number_text.h"
#include "tools/output/pose_text.h"
#include "tools/output/text_table.h"
#include "tools/output/wrapping.h"
#include "tools/view/view_report.h"

namespace norv::tools {
namespace {

using calibration::CameraModel;
using calibration::CameraView;
using calibration::FieldsOfView;
using calibration::ImageCoverage;
using calibration::PixelSize;
using calibration::RectifiedView;
using Cells = std::vector<std::string>;

std::string headingText(const NamedView& named) {
  const CameraView& view = named.view;
  std::string what;
  if (named.camera) what = toPrintable(*named.camera);
  if (named.position) {
    const auto& [pan, tilt, zoom] = *named.position;
    what = fmt::format("pan {}, tilt {}, zoom {}", pan, tilt, zoom);
  }
  std::string text = fmt::format("{}\n\n{} at {}x{}\n", toPrintable(named.source), what,
                                 view.width(), view.height());
  if (!view.isFromTable()) text += "  made from a picture that the camera delivers\n";
  if (view.isRectifiedBySensor()) {
    text += "  the sensor has taken most of the lens out of this picture\n";
  }
  return text;
}

/// Where the camera is, and for one that turns which way it looks.
std::string placeText(const NamedView& named) {
  const CameraTransform& pose = named.view.pose();
  const std::string centre = vectorText(pose.getCameraCenter());
  if (!named.position) {
    return fmt::format("  centre on the robot {} m\n  camera from robot\n", centre) +
           poseTable(pose.transform);
  }
  const Vector3_f axis = pose.transform.block<1, 3>(2, 0).transpose();
  return fmt::format("  centre in the world {} m\n  looks along {}\n  camera from world\n", centre,
                     vectorText(axis)) +
         poseTable(pose.transform);
}

/// A number of single precision with the digits that it needs, any other one with nine.
std::string numberText(double value) {
  const double printed = shortestIfFloat(value);
  return printed == value ? nineDigits(value) : fmt::format("{}", printed);
}

/// A camera matrix by its numbers, in both pixel origins.
std::string matrixTable(double fx, double fy, double skew, double cx, double cy) {
  const auto row = [](const char* name, double value, double from_first_pixel) {
    return Cells{name, numberText(value), numberText(from_first_pixel)};
  };
  return alignTable({{"", "from the corner", "from the first pixel's centre"},
                     row("fx", fx, fx),
                     row("fy", fy, fy),
                     row("skew", skew, skew),
                     row("cx", cx, cx - 0.5),
                     row("cy", cy, cy - 0.5)},
                    2);
}

std::string lensText(const CameraView& view) {
  constexpr const char* kNames[] = {"k1", "k2", "p1", "p2", "k3", "k4", "k5", "k6"};
  const auto values = view.distortion();
  std::string text;
  for (std::size_t i = 0; i < values.size(); ++i) {
    text += fmt::format("{}{} {}", i % 4 == 0 ? "  " : ", ", kNames[i], numberText(values[i]));
    if (i % 4 == 3) text += "\n";
  }
  return text;
}

/// Where the lens ends.
std::string validityText(const CameraView& view) {
  const double radius = view.validRadius();
  if (std::isnan(radius)) return "  the lens is none: a coefficient is not finite\n";
  if (std::isinf(radius)) return "  the lens has no end: each ray has a pixel of its own\n";
  return fmt::format("  the lens ends {} deg from the axis, at r = {}\n",
                     formatFixed(degrees(view.validHalfAngle()), 2), formatFixed(radius, 4));
}

std::string coverageText(const ImageCoverage& coverage) {
  if (std::isnan(coverage.share)) return "";
  if (!(coverage.share < 1)) return "  every pixel has a ray\n";
  return fmt::format(
      "  {} % of the pixels have a ray; the nearest without is {} px from the axis\n",
      formatFixed(100 * coverage.share, 2), formatFixed(coverage.nearest_without_ray, 1));
}

std::string angleText(double radians) {
  return std::isnan(radians) ? "-" : formatFixed(degrees(radians), 2);
}

std::string fieldsText(const FieldsOfView& fields) {
  return fmt::format("  field of view, deg: {} wide, {} high, {} from corner to corner\n",
                     angleText(fields.horizontal), angleText(fields.vertical),
                     angleText(fields.diagonal));
}

std::string straightText(const ViewAnswer& answer) {
  std::string text = fmt::format("\nstraightened, alpha {}", nineDigits(answer.alpha));
  if (!answer.straight) return text + ": there is no such view\n";
  const RectifiedView& straight = *answer.straight;
  return text + fmt::format(", {}x{}\n", straight.width, straight.height) +
         matrixTable(straight.fx, straight.fy, 0, straight.cx, straight.cy);
}

std::string sizeText(const std::optional<PixelSize>& size) {
  return size ? fmt::format("{}x{}", size->width, size->height) : "none";
}

std::string naturalText(const ViewAnswer& answer) {
  return fmt::format("size without scaling: {} at alpha 0, {} at alpha 1\n",
                     sizeText(answer.natural_valid), sizeText(answer.natural_whole));
}

std::string notesText(const Cells& notes) {
  std::string text;
  for (const std::string& note : notes) text += wrapText("note: ", note, 2);
  return text;
}

}  // namespace

std::string viewText(const ViewAnswer& answer) {
  const CameraView& view = answer.named.view;
  const CameraModel& k = view.model();
  return headingText(answer.named) + placeText(answer.named) +
         matrixTable(k.fx, k.fy, k.skew, k.cx, k.cy) + lensText(view) + validityText(view) +
         coverageText(answer.coverage) + fieldsText(view.fieldsOfView()) + straightText(answer) +
         naturalText(answer) + notesText(answer.named.notes) + "\n" +
         countLine(answer.named.findings);
}

}  // namespace norv::tools
