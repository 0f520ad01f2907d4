#include "interop/formats/written_camera.h"

#include <fmt/format.h>

#include <cmath>

#include "interop/syntax/fields.h"
#include "support/printable_text.h"

namespace norv::interop {
namespace {

using calibration::CameraModel;

bool isFinite(const CameraModel& model) {
  bool is_finite = std::isfinite(model.fx) && std::isfinite(model.fy) && std::isfinite(model.cx) &&
                   std::isfinite(model.cy) && std::isfinite(model.skew);
  for (const double k : model.lens.toCoefficients()) is_finite = is_finite && std::isfinite(k);
  return is_finite;
}

bool isPlainCharacter(char c) {
  return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '_';
}

/// Whether the byte goes on with a character of UTF-8 that began before it.
bool isContinuation(char c) { return (static_cast<unsigned char>(c) & 0xC0U) == 0x80U; }

bool isSide(int side) { return side >= 1 && side <= kMaxSide; }

}  // namespace

std::string callCamera(const WrittenCamera& camera) {
  return camera.name.empty() ? "a camera without a name" : "camera " + toPrintable(camera.name);
}

std::string underscored(std::string_view name) {
  std::string result;
  for (const char c : name) {
    if (!isContinuation(c)) result += isPlainCharacter(c) ? c : '_';
  }
  return result;
}

std::optional<std::string> findUnwritable(const WrittenCamera& camera, std::string_view format) {
  const CameraModel& model = camera.model;
  const std::string name = callCamera(camera);
  if (!isFinite(model)) return name + " has a number that is not finite";
  if (!isSide(model.width) || !isSide(model.height)) {
    return fmt::format("{} has pictures of {}x{} pixels, and each side must be from 1 to {}", name,
                       model.width, model.height, kMaxSide);
  }
  if (model.skew != 0) {
    return fmt::format("{} has a skew of {} px, which {} cannot hold", name, model.skew, format);
  }
  if (model.fx > 0 && model.fy > 0) return std::nullopt;
  return fmt::format("{} has the focal lengths {} and {} px, which must be above 0 for {}", name,
                     model.fx, model.fy, format);
}

int coefficientsNeeded(const calibration::LensDistortion<double>& lens) {
  if (lens.k4 != 0 || lens.k5 != 0 || lens.k6 != 0) return 8;
  if (lens.k3 != 0) return 5;
  return lens.k1 != 0 || lens.k2 != 0 || lens.p1 != 0 || lens.p2 != 0 ? 4 : 0;
}

std::string describePixelOrigin(calibration::PixelOrigin origin, PeerFormat format,
                                std::string_view format_name) {
  const bool is_corner = origin == calibration::PixelOrigin::kImageCorner;
  return fmt::format("Pixels are counted from {}, {}.",
                     is_corner ? "the image's corner" : "the centre of the first pixel",
                     origin == pixelOriginOf(format) ? fmt::format("as {} does", format_name)
                                                     : fmt::format("unlike {}", format_name));
}

}  // namespace norv::interop
