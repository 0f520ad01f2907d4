#pragma once

#include "calibration_common/ptz_camera_model.h"
#include "proto/norv_pan_tilt_system.pb.h"
#include "tools/aim/aim.h"

namespace norv::tools {

/// Adds, for a head that pointing serves better in another frame, a remark that says so and the
/// head in that frame: with one that is badly written down the solver is at a loss or answers
/// wrongly.
void remarkFrame(const calibration::PanTiltSystemParameters& head, Aim* aim);

/// Fills in what becomes of the target, and of the box, once the camera `now` has moved to
/// `aim->motors`: where they are seen, and what keeps them from where they were to be.
void lookFromThere(const calibration::PTZCameraModelConfiguration& now, const AimRequest& request,
                   Aim* aim);

}  // namespace norv::tools
