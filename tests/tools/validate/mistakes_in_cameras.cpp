// Mistakes in fixed cameras.

#include "tests/tools/validate/placed_mistakes.h"

#include <algorithm>
#include <cmath>
#include <random>
#include <string>
#include <vector>

#include "testing/calibration_edits.h"
#include "testing/review_findings.h"

namespace norv::testing {
namespace {

using calibration::CameraExtrinsics;
using calibration::CameraIntrinsics;
using calibration::SamplePoint;

/// A mistake in the compiled-in navigation camera.
template <class Edit>
Mistake inCamera(const std::string& check, const std::string& field, const Edit& edit) {
  return mistake(defaultRobot(), check, {"camera_calibration[1]." + field},
                 [&](auto* robot) { edit(robot->mutable_camera_calibration(1)); });
}

template <class Edit>
Mistake inLens(const std::string& check, const std::string& field, const Edit& edit) {
  return inCamera(check, "intrinsics." + field,
                  [&](auto* camera) { edit(camera->mutable_intrinsics()); });
}

template <class Edit>
Mistake inPose(const std::string& check, const std::string& field, const Edit& edit) {
  return inCamera(check, "extrinsics." + field,
                  [&](auto* camera) { edit(camera->mutable_extrinsics()); });
}

/// A mistake in a camera without distortion.
template <class Edit>
Mistake inPlainLens(const std::string& check, const std::vector<std::string>& fields, double focal,
                    const Edit& edit) {
  std::vector<std::string> paths;
  for (const std::string& field : fields)
    paths.push_back("camera_calibration[0].intrinsics." + field);
  return mistake(plainRobot(1280, 960, focal), check, paths, [&](auto* robot) {
    edit(robot->mutable_camera_calibration(0)->mutable_intrinsics());
  });
}

/// A mistake in the sample points of the compiled-in head camera.
template <class Edit>
Mistake inSamples(const std::string& check, const std::string& field, const Edit& edit) {
  return mistake(
      defaultRobot(), check, {"camera_calibration[0].intrinsics." + field},
      [&](auto* robot) { edit(robot->mutable_camera_calibration(0)->mutable_intrinsics()); });
}

/// Moves every observed point by up to a pixel and a half, within the frame.
void addNoise(CameraIntrinsics* in) {
  std::mt19937 random(5);  // NOLINT(bugprone-random-generator-seed)
  std::uniform_real_distribution<float> noise(-1.5F, 1.5F);
  for (SamplePoint& sample : *in->mutable_samples()) {
    sample.set_image_x(std::clamp(sample.image_x() + noise(random), 0.0F, 1280.0F));
    sample.set_image_y(std::clamp(sample.image_y() + noise(random), 0.0F, 960.0F));
  }
}

std::vector<Mistake> mistakesInEntries() {
  return {
      mistake(defaultRobot(), "empty", {""}, [](auto* robot) { robot->Clear(); }),
      inLens("list-short", "radial", [](auto* in) { in->mutable_radial()->Truncate(5); }),
      inLens("list-short", "tangential", [](auto* in) { in->clear_tangential(); }),
      inPose("list-short", "a", [](auto* pose) { pose->mutable_a()->Truncate(11); }),
      inLens("list-long", "radial[6]", [](auto* in) { in->add_radial(0); }),
      inLens("list-long", "tangential[2]", [](auto* in) { in->add_tangential(0); }),
      inPose("list-long", "a[12]", [](auto* pose) { pose->add_a(0); }),
      inCamera("name-duplicate", "name", [](auto* camera) { camera->set_name("head_camera"); }),
      inCamera("name-missing", "name", [](auto* camera) { camera->clear_name(); }),
      inCamera("model-case", "model", [](auto* camera) { camera->set_model("MK513N"); }),
      inLens("not-finite", "cx", [](auto* in) { in->set_cx(NAN); }),
      inLens("not-finite", "radial[2]", [](auto* in) { in->set_radial(2, -INFINITY); }),
      inPose("not-finite", "a[5]", [](auto* pose) { pose->set_a(5, 1e39); }),
      inLens("size", "width", [](auto* in) { in->clear_width(); }),
      inLens("size", "height", [](auto* in) { in->set_height(-960); }),
      inLens("crop", "width", [](auto* in) { in->set_width(1279); }),
  };
}

std::vector<Mistake> mistakesInPinholes() {
  const auto unchanged = [](auto* /*in*/) {};
  return {
      inLens("focal", "fx", [](auto* in) { in->clear_fx(); }),
      inLens("focal", "fy", [](auto* in) { in->set_fy(-452.5); }),
      inPlainLens("focal-range", {"fx", "fy"}, 255, unchanged),
      inPlainLens("aspect", {"fx"}, 1000, [](auto* in) { in->set_fx(1051); }),
      inLens("skew", "skew", [](auto* in) { in->set_skew(5); }),
      inPlainLens("principal-point", {"cx"}, 905, [](auto* in) { in->set_cx(833); }),
      inLens("pixel-origin", "cx",
             [](auto* in) {
               in->set_cx(639.5);
               in->set_cy(479.5);
             }),
  };
}

std::vector<Mistake> mistakesInLenses() {
  // With r (1 + k1 r^2) = 4 / 3, the corner of a camera of 600 pixels focal length, at r = 1.96.
  const double flat = (4 / (3 * 1.96) - 1) / (1.96 * 1.96);
  // r / (1 - r^2 / p^2) is 4 / 3 at p = 1.049 r.
  const double pole = 1.049 * (4.0 / 3) * (1 - 1 / (1.049 * 1.049));
  const double cancelled = -1 / (1.054 * 1.054 * 16 / 9);
  Mistake rounded = mistake(plainRobot(16384, 12288, 16384), "lens-float",
                            {"camera_calibration[0].intrinsics.radial"}, [](auto* robot) {
                              // Equal but for a rounding, and rounded to different sides.
                              CameraIntrinsics* in =
                                  robot->mutable_camera_calibration(0)->mutable_intrinsics();
                              const auto a = static_cast<double>(static_cast<float>(1.79 / 0.3));
                              in->set_radial(0, -a - 0.49 * std::ldexp(1.0, -21));
                              in->set_radial(3, -a - 0.51 * std::ldexp(1.0, -21));
                              in->set_radial(1, 0.895 / 0.09);
                              in->set_radial(4, 0.895 / 0.09);
                            });
  return {
      inPlainLens("lens-fold", {"radial"}, 600, [](auto* in) { in->set_radial(0, -0.5); }),
      inPlainLens("lens-pole", {"radial"}, 600,
                  [&](auto* in) { in->set_radial(3, -1 / (pole * pole)); }),
      inPlainLens("lens-slope", {"radial"}, 600, [&](auto* in) { in->set_radial(0, flat); }),
      inPlainLens("lens-cancel", {"radial"}, 600,
                  [&](auto* in) {
                    in->set_radial(0, cancelled);
                    in->set_radial(3, cancelled);
                  }),
      std::move(rounded),
      inLens("lens-tangential", "tangential",
             [](auto* in) {
               in->set_tangential(0, 0.0061);
               in->set_tangential(1, 0.008);
             }),
  };
}

std::vector<Mistake> mistakesInPoses() {
  const auto shrink = [](double scale) {
    return [=](CameraExtrinsics* pose) {
      for (const int i : {3, 7, 11}) pose->set_a(i, scale * pose->a(i));
    };
  };
  return {
      inPose("pose-rotation", "a", [](auto* pose) { pose->set_a(1, -1.006); }),
      inPose("pose-mirror", "a", [](auto* pose) { pose->set_a(1, 1); }),
      inPose("pose-unit", "a", shrink(1e-3)),
      inPose("pose-identity", "a", shrink(0)),
      mistake(defaultRobot(), "pose-same", {"camera_calibration[1].extrinsics.a"},
              [](auto* robot) {
                *robot->mutable_camera_calibration(1)->mutable_extrinsics() =
                    robot->camera_calibration(0).extrinsics();
              }),
  };
}

std::vector<Mistake> mistakesInSamples() {
  const auto corners = [](int x, int y) { return x % 12 == 0 && y % 9 == 0; };
  const auto left = [](int x, int /*y*/) { return x < 9; };
  return {
      inSamples("samples-missing", "samples", [](auto* in) { in->clear_samples(); }),
      inSamples("samples-outside", "samples[5]",
                [](auto* in) { *in->mutable_samples(5) = in->samples(4); }),
      inSamples("samples-few", "samples", [&](auto* in) { keepSamples(in, corners); }),
      inSamples("samples-grid", "sample_size_x", [](auto* in) { in->set_sample_size_x(12); }),
      inSamples("samples-grid", "sample_scale", [](auto* in) { in->set_sample_scale(50); }),
      inSamples("samples-cover", "samples", [&](auto* in) { keepSamples(in, left); }),
      inSamples("refit", "samples", [](auto* in) { addNoise(in); }),
      inSamples(
          "refit-outlier", "samples[58]",
          [](auto* in) { in->mutable_samples(58)->set_image_x(in->samples(58).image_x() + 4); }),
  };
}

}  // namespace

std::vector<Mistake> mistakesInCameras() {
  return joined({mistakesInEntries(), mistakesInPinholes(), mistakesInLenses(), mistakesInPoses(),
                 mistakesInSamples()});
}

}  // namespace norv::testing
