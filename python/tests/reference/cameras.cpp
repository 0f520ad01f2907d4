#include <cstdint>

#include "calibration_common/camera_parameters.h"
#include "python/tests/reference/reference.h"
#include "support/camera_projection.h"

namespace norv::reference {
namespace {

using calibration::CameraParameters;

struct Inputs {
  std::vector<float> points;
  std::vector<float> pixels;
  std::vector<std::int32_t> sizes;
};

Inputs readInputs() {
  const auto counts = read<std::int32_t>(2);
  const auto points = static_cast<std::size_t>(counts[0]);
  const auto sizes = static_cast<std::size_t>(counts[1]);
  Inputs inputs;
  inputs.points = read<float>(3 * points);
  inputs.pixels = read<float>(2 * points);
  inputs.sizes = read<std::int32_t>(2 * sizes);
  return inputs;
}

void writeImage(const CameraParameters& camera, int width, int height, const Inputs& inputs) {
  const Matrix3x3_f k = camera.getIntrinsics(width, height);
  const std::vector<float>& lens = camera.getDistortion(width, height);
  write(k.data(), 9);
  write(lens.data(), lens.size());
  for (std::size_t i = 0; i < inputs.points.size(); i += 3) {
    const Vector3_f point(inputs.points[i], inputs.points[i + 1], inputs.points[i + 2]);
    write(project3dToCamera(camera.getTransform(), lens, k, point).data(), 2);
  }
  const float principal_point[] = {k(0, 2), k(1, 2)};
  const float focal_lengths[] = {k(0, 0), k(1, 1)};
  for (std::size_t i = 0; i < inputs.pixels.size(); i += 2) {
    const Vector2_f pixel(inputs.pixels[i], inputs.pixels[i + 1]);
    write(calibration::rectifyPoint(lens.data(), principal_point, focal_lengths, pixel).data(), 2);
  }
}

}  // namespace

void writeCameras() {
  const Inputs inputs = readInputs();
  const calibration::CameraParametersSet cameras;
  for (const std::string& name : cameras.getCameraNames()) {
    const CameraParameters& camera = *cameras.getCamera(name);
    write(camera.getTransform().transform.data(), 16);
    write(camera.getTransform().inverse.data(), 16);
    write(camera.getTransform().getCameraCenter().data(), 3);
    for (std::size_t i = 0; i < inputs.sizes.size(); i += 2) {
      writeImage(camera, inputs.sizes[i], inputs.sizes[i + 1], inputs);
    }
  }
}

}  // namespace norv::reference
