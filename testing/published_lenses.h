#pragma once

/// Lenses of cameras in public data sets and calibration guides, as those print them, with images.

#include "support/camera_model.h"

namespace norv::testing {

struct PublishedCamera {
  const char* name;
  calibration::CameraModel camera;
};

inline constexpr int kPublishedCameras = 8;

/// Principal points as printed, which mostly count from the first pixel's centre, plus a half.
inline const PublishedCamera (&publishedCameras())[kPublishedCameras] {
  static const PublishedCamera cameras[kPublishedCameras] = {
      {"webcam of a tutorial",
       {640, 480, 535.9, 535.9, 0, 342.8, 236.1, {-0.2664, -0.0386, 0.0018, -0.0003, 0.2388}}},
      {"stereo rig of a car",
       {1392, 512, 984.2, 980.8, 0, 691, 249.7, {-0.3729, 0.2037, 0.0022, 0.0014, -0.0723}}},
      {"depth camera, first set",
       {640, 480, 517.3, 516.5, 0, 319.1, 255.8, {0.2624, -0.9531, -0.0054, 0.0026, 1.1633}}},
      {"depth camera, second set",
       {640, 480, 520.9, 521, 0, 325.6, 250.2, {0.2312, -0.7849, -0.0033, -0.0001, 0.9172}}},
      {"flying robot",
       {752, 480, 458.7, 457.3, 0, 367.7, 248.9, {-0.28340811, 0.07395907, 0.00019359, 1.76e-5}}},
      {"depth camera with a rational lens",
       {2048,
        1536,
        975.1,
        974.9,
        0,
        1021.7,
        777.4,
        {0.4874, -2.5826, 0.00069, -0.00033, 1.5066, 0.3673, -2.4016, 1.4304}}},
      {"action camera",
       {1920, 1080, 1157, 1157, 0, 960, 540, {-0.2546, 0.0887, -0.0002, 0.0001, -0.0147}}},
      {"wide board camera", {1640, 1232, 641.3, 641.5, 0.7, 817.2, 620, {-0.3124, 0.0863}}}};
  return cameras;
}

}  // namespace norv::testing
