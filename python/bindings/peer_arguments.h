#pragma once

/// Names and numbers about other programs' calibrations, as callers in Python give and get them.

#include <pybind11/numpy.h>
#include <pybind11/pybind11.h>

#include <optional>
#include <string>

#include "interop/lens_fit.h"
#include "interop/peer_format.h"
#include "interop/rigid_pose.h"
#include "support/camera_matrix.h"

namespace norv::python {

namespace py = pybind11;

/// "centre" of the first pixel or "corner" of the image.
const char* originName(calibration::PixelOrigin origin);

/// The inverses, of a name or None. Throw ValueError that lists the names.
std::optional<calibration::PixelOrigin> takeOrigin(const std::optional<std::string>& name,
                                                   const char* argument);
std::optional<interop::PeerFormat> takeFormat(const std::optional<std::string>& name);

/// The pose of an array, (3, 4) or (4, 4), in metres.
interop::RigidPose takeRigidPose(const py::handle& matrix, const char* argument);

/// (max, rms, share).
py::tuple deviationTuple(const interop::LensDeviation& deviation);

}  // namespace norv::python
