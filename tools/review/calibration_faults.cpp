#include "tools/review/calibration_faults.h"

#include <Eigen/Core>
#include <Eigen/LU>
#include <algorithm>
#include <cmath>
#include <initializer_list>
#include <locale>
#include <sstream>
#include <type_traits>
#include <utility>

namespace norv::tools {
namespace {

using calibration::CameraCalibration;
using calibration::CameraExtrinsics;
using calibration::CameraIntrinsics;
using calibration::PanTiltSystemParameters;
using calibration::PTZIntrinsicsItem;
using calibration::PTZIntrinsicsTable;

/// How far from the identity a rotation times its transpose may be. Elements that are rounded to
/// two decimals are off by up to 0.005 each, which makes at most 0.018 of it.
constexpr double kMaxNonOrthogonality = 0.02;

using NamedValues = std::initializer_list<std::pair<const char*, double>>;

/// The parts in one text; numbers with up to ten digits.
template <class... Parts>
std::string textOf(const Parts&... parts) {
  std::ostringstream text;
  text.imbue(std::locale::classic());
  text.precision(10);
  const auto shown = [](const auto& part) {
    if constexpr (std::is_same_v<decltype(part), const double&>) {
      return std::isnan(part) ? std::abs(part) : part;  // NaN has no sign worth showing
    } else {
      return part;
    }
  };
  (text << ... << shown(parts));
  return text.str();
}

/// The comparison is such that NaN is not positive.
bool isPositive(double value) { return value > 0 && std::isfinite(value); }

void requireFinite(const std::string& where, const NamedValues& values, Faults* faults) {
  for (const auto& [name, value] : values) {
    if (!std::isfinite(value)) faults->push_back(textOf(where, name, " is ", value));
  }
}

void requirePositive(const std::string& where, const NamedValues& values, Faults* faults) {
  for (const auto& [name, value] : values) {
    if (isPositive(value)) continue;
    faults->push_back(textOf(where, name, " is ", value, ", and a focal length is positive"));
  }
}

void requireImage(int width, int height, Faults* faults) {
  if (width > 0 && height > 0) return;
  faults->push_back(
      textOf("the image is ", width, "x", height, " pixels, and both must be positive"));
}

template <class List>
bool allFinite(const List& values) {
  return std::all_of(values.begin(), values.end(), [](double v) { return std::isfinite(v); });
}

void checkSample(const std::string& where, const PTZIntrinsicsItem& sample, Faults* faults) {
  requirePositive(where, {{"focal_length", sample.focal_length()}}, faults);
  requireFinite(where,
                {{"zoom", sample.zoom()},
                 {"cx", sample.cx()},
                 {"cy", sample.cy()},
                 {"k1", sample.k1()},
                 {"k4", sample.k4()},
                 {"p1", sample.p1()},
                 {"p2", sample.p2()}},
                faults);
}

/// The library finds the samples around a zoom position by their distance, and searches focal
/// lengths upwards.
void checkOrder(const PTZIntrinsicsTable& table, Faults* faults) {
  for (int i = 1; i < table.samples_size(); ++i) {
    const PTZIntrinsicsItem& a = table.samples(i - 1);
    const PTZIntrinsicsItem& b = table.samples(i);
    if (b.zoom() > a.zoom() && b.focal_length() > a.focal_length()) continue;
    faults->push_back(
        textOf("samples ", i - 1, " and ", i, " do not increase in zoom and focal length"));
  }
  for (int i = 0; i < table.samples_size(); ++i) {
    const double expected = table.zoom_start() + static_cast<double>(i) * table.zoom_interval();
    if (table.samples(i).zoom() == expected) continue;
    faults->push_back(textOf("sample ", i, " is at zoom ", table.samples(i).zoom(),
                             ", where zoom_start and zoom_interval say ", expected));
  }
}

void checkStep(double radians, Faults* faults) {
  if (std::isfinite(radians) && radians != 0) return;
  const std::string fault =
      textOf("nothing can be pointed at, since a motor's step is ", radians, " rad");
  if (std::find(faults->begin(), faults->end(), fault) == faults->end()) faults->push_back(fault);
}

}  // namespace

Faults findPoseFaults(const std::string& name, const CameraExtrinsics& pose) {
  Eigen::Matrix<double, 3, 4> m;
  for (int i = 0; i < 12; ++i) m(i / 4, i % 4) = pose.a(i);
  if (!m.allFinite()) return {name + " holds values that are not finite"};
  const Eigen::Matrix3d r = m.leftCols<3>();
  const Eigen::Matrix3d excess = r * r.transpose() - Eigen::Matrix3d::Identity();
  if (!(excess.cwiseAbs().maxCoeff() <= kMaxNonOrthogonality)) {
    return {name + " is no rotation: its rows are not of length 1 and square to each other"};
  }
  if (!(r.determinant() > 0)) return {name + " is no rotation but a mirror image"};
  return {};
}

Faults findCameraFaults(const CameraCalibration& camera) {
  const CameraIntrinsics& in = camera.intrinsics();
  Faults faults = findPoseFaults("extrinsics", camera.extrinsics());
  requireImage(in.width(), in.height(), &faults);
  requirePositive("", {{"fx", in.fx()}, {"fy", in.fy()}}, &faults);
  requireFinite("", {{"skew", in.skew()}, {"cx", in.cx()}, {"cy", in.cy()}}, &faults);
  if (!allFinite(in.radial())) faults.emplace_back("radial holds values that are not finite");
  if (!allFinite(in.tangential())) {
    faults.emplace_back("tangential holds values that are not finite");
  }
  return faults;
}

Faults findLensFaults(const PTZIntrinsicsTable& table) {
  Faults faults;
  requireImage(table.image_width(), table.image_height(), &faults);
  if (table.samples_size() == 1) {
    faults.emplace_back("a single sample gives a lens at no zoom position");
  }
  for (int i = 0; i < table.samples_size(); ++i) {
    checkSample(textOf("sample ", i, ": "), table.samples(i), &faults);
  }
  checkOrder(table, &faults);
  return faults;
}

Faults findChainFaults(const PanTiltSystemParameters& head) {
  Faults faults = findPoseFaults("base_to_pan", head.base_to_pan());
  for (const Faults& further : {findPoseFaults("pan_to_tilt", head.pan_to_tilt()),
                                findPoseFaults("tilt_to_camera", head.tilt_to_camera())}) {
    faults.insert(faults.end(), further.begin(), further.end());
  }
  return faults;
}

Faults findMotorFaults(const PanTiltSystemParameters& head) {
  Faults faults;
  checkStep(static_cast<double>(head.pan_scale()), &faults);
  checkStep(static_cast<double>(head.tilt_scale()), &faults);
  requireFinite("",
                {{"pan_offset", static_cast<double>(head.pan_offset())},
                 {"tilt_offset", static_cast<double>(head.tilt_offset())}},
                &faults);
  const auto require_range = [&](const char* motor, bool stated, int low, int high) {
    if (!stated || low <= high) return;
    faults.push_back(textOf("min_", motor, " ", low, " is above max_", motor, " ", high,
                            ": the motor is always sent to ", high));
  };
  require_range("pan", head.has_min_pan() && head.has_max_pan(), head.min_pan(), head.max_pan());
  require_range("tilt", head.has_min_tilt() && head.has_max_tilt(), head.min_tilt(),
                head.max_tilt());
  return faults;
}

}  // namespace norv::tools
