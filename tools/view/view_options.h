#pragma once

#include <array>
#include <optional>
#include <string>

#include "calibration_common/camera_view.h"
#include "tools/input/calibration_kind.h"
#include "tools/input/image_size.h"
#include "tools/review/finding_notes.h"
#include "tools/view/picture_steps.h"

namespace norv::tools {

/// Sides of pictures. All pixels are asked for their rays: this many take seconds.
inline constexpr int kMaxViewSide = 16384;

/// What the verb `view` is asked for.
struct ViewVerbOptions {
  std::optional<std::string> path;       ///< without it the compiled-in calibration
  std::optional<std::string> camera;     ///< not needed where there is one
  std::optional<ImageSize> size;         ///< not needed where the camera delivers one
  std::optional<std::array<int, 3>> at;  ///< motors of a pan-tilt-zoom camera: pan, tilt, zoom
  PictureSteps steps;                    ///< what was done to the picture afterwards
  double alpha = 0;
  std::optional<ImageSize> view_size;  ///< of the straightened picture; without it the picture's
  calibration::ViewOptions straight;
  std::optional<CalibrationKind> kind;
  bool json = false;
};

/// A view, and where it comes from.
struct NamedView {
  std::string source;                          ///< name of the file
  std::optional<std::string> camera;           ///< of fixed cameras
  std::optional<std::array<int, 3>> position;  ///< of a pan-tilt-zoom camera
  calibration::CameraView view;
  std::vector<std::string> notes;  ///< sentences
  Findings findings;               ///< of the whole file
};

/// What there is to say of it.
struct ViewAnswer {
  NamedView named;
  double alpha;
  std::optional<calibration::RectifiedView> straight;
  std::optional<calibration::PixelSize> natural_valid;  ///< at alpha 0
  std::optional<calibration::PixelSize> natural_whole;  ///< at alpha 1
  calibration::ImageCoverage coverage;
};

}  // namespace norv::tools
