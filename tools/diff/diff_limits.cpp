#include "tools/diff/diff_limits.h"

#include <fmt/format.h>

#include <cmath>

#include "support/printable_text.h"
#include "tools/diff/diff_numbers.h"

namespace norv::tools {
namespace {

using calibration::BaseDifference;
using calibration::CameraDifference;
using calibration::HeadPoseDifference;
using calibration::PixelDifference;
using calibration::PixelSize;
using calibration::PoseDifference;
using calibration::PtzDifference;
using calibration::RobotDifference;
using calibration::ZoomDifference;

/// Collects what is beyond the limits.
class Judge {
 public:
  explicit Judge(const DiffLimits& limits) : limits_(limits) {}

  void judge(const RobotDifference& robot) {
    if (robot.cameras.empty() && robot.only_in_a.empty()) {
      exceeded_.emplace_back("A has no camera to compare");
    }
    for (const CameraDifference& camera : robot.cameras) judge(camera);
    for (const std::string& name : robot.only_in_a) {
      exceeded_.push_back(toPrintable(name) + ": is missing in B");
    }
  }

  void judge(const PtzDifference& ptz) {
    if (!(ptz.size_a == ptz.size_b)) {
      exceeded_.emplace_back("the image sizes differ, so that no pixels can be compared");
    }
    for (const ZoomDifference& at : ptz.zooms) {
      judge(fmt::format("zoom {}", at.zoom), at.image.as_is);
    }
    for (const HeadPoseDifference& at : ptz.poses) {
      judge(fmt::format("pan {}, tilt {}", at.pan, at.tilt), at.pose);
    }
  }

  void judge(const BaseDifference& base) { judge("global transform", base.global_transform); }

  std::vector<std::string> exceeded() const { return exceeded_; }

 private:
  void judge(const CameraDifference& camera) {
    const std::string name = toPrintable(camera.name);
    judge(name, camera.pose);
    for (const auto& image : camera.images) {
      judge(fmt::format("{} {}x{}", name, image.a.width, image.a.height), image.as_is);
    }
    for (const PixelSize& size : camera.only_in_a) {
      exceeded_.push_back(fmt::format("{} {}x{}: is missing in B", name, size.width, size.height));
    }
  }

  void judge(const std::string& what, const PixelDifference& pixels) {
    if (!limits_.pixels) return;
    if (pixels.not_imaged > 0) {
      exceeded_.push_back(
          fmt::format("{}: B does not image {} of A's rays", what, pixels.not_imaged));
    } else if (pixels.compared == 0) {
      exceeded_.push_back(what + ": there are no pixels to compare");
    }
    if (pixels.compared > 0) judge(what, pixels.max, *limits_.pixels, "px");
  }

  void judge(const std::string& what, const PoseDifference& pose) {
    if (limits_.millimetres) {
      judge(what, pose.distance * kMillimetresPerMetre, *limits_.millimetres, "mm");
    }
    if (limits_.degrees) judge(what, toDegrees(pose.angle), *limits_.degrees, "deg");
  }

  /// NaN is beyond any limit.
  void judge(const std::string& what, double value, double limit, const char* unit) {
    if (value <= limit) return;
    if (std::isnan(value)) {
      exceeded_.push_back(what + ": the difference in " + unit + " is not a number");
      return;
    }
    exceeded_.push_back(fmt::format("{}: {:.6g} {}, more than {:.6g}", what, value, unit, limit));
  }

  DiffLimits limits_;
  std::vector<std::string> exceeded_;
};

}  // namespace

std::vector<std::string> findExceeded(const Difference& difference, const DiffLimits& limits) {
  if (!limits.any()) return {};
  Judge judge(limits);
  std::visit([&judge](const auto& of_kind) { judge.judge(of_kind); }, difference);
  return judge.exceeded();
}

}  // namespace norv::tools
