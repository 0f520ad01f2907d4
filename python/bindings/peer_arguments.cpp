#include "python/bindings/peer_arguments.h"

#include "python/bindings/arrays.h"

namespace norv::python {

using calibration::PixelOrigin;

const char* originName(PixelOrigin origin) {
  return origin == PixelOrigin::kPixelCentre ? "centre" : "corner";
}

std::optional<PixelOrigin> takeOrigin(const std::optional<std::string>& name,
                                      const char* argument) {
  if (!name) return std::nullopt;
  if (*name == "centre") return PixelOrigin::kPixelCentre;
  if (*name == "corner") return PixelOrigin::kImageCorner;
  throw py::value_error(std::string(argument) + ": expected centre or corner");
}

std::optional<interop::PeerFormat> takeFormat(const std::optional<std::string>& name) {
  if (!name) return std::nullopt;
  const auto format = interop::formatOfName(*name);
  if (format) return format;
  std::string names;
  for (const interop::PeerFormat known : interop::peerFormats()) {
    names += (names.empty() ? "" : ", ") + std::string(interop::formatName(known));
  }
  throw py::value_error("format: expected one of " + names);
}

interop::RigidPose takeRigidPose(const py::handle& matrix, const char* argument) {
  const auto array = takeArray<double>(matrix, argument, {3, 4});
  interop::RigidPose pose;
  for (int r = 0; r < 3; ++r) {
    for (int c = 0; c < 3; ++c) pose.rotation(r, c) = array.at(r, c);
    pose.translation[r] = array.at(r, 3);
  }
  return pose;
}

py::tuple deviationTuple(const interop::LensDeviation& deviation) {
  return py::make_tuple(deviation.max, deviation.rms, deviation.share);
}

}  // namespace norv::python
