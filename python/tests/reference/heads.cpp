#include <cstdint>
#include <string>

#include "calibration_common/ptz_camera_model.h"
#include "python/tests/reference/reference.h"

namespace norv::reference {
namespace {

using calibration::PanTiltSolution;
using calibration::PTZCameraModel;
using calibration::PTZCameraModelConfiguration;

struct Inputs {
  std::vector<float> points;
  std::vector<float> pixels;
  std::size_t count() const { return points.size() / 3; }
  Vector3_f point(std::size_t i) const { return Vector3_f(points.data() + 3 * i); }
  Vector2_f pixel(std::size_t i) const { return Vector2_f(pixels.data() + 2 * i); }
};

void writePointing(const PTZCameraModelConfiguration& camera, const Inputs& inputs) {
  for (std::size_t i = 0; i < inputs.count(); ++i) {
    int steps[] = {0, 0, 0, 0};
    steps[0] = camera.getPanTilt(inputs.pixel(i), &steps[1], &steps[2]) ? 1 : 0;
    write(steps, 3);
    const Vector2_f opposite = inputs.pixel((i + 1) % inputs.count());
    int framed[] = {0, 0, 0, 0};
    framed[0] = camera.getPanTiltZoom(inputs.pixel(i), opposite, &framed[1], &framed[2], &framed[3])
                    ? 1
                    : 0;
    write(framed, 4);
    float exact[] = {0, 0, 0};
    exact[0] =
        camera.getPanTilt(inputs.point(i), inputs.pixel(i), &exact[1], &exact[2]) ? 1.0F : 0.0F;
    write(exact, 3);
  }
}

void writeConfiguration(const PTZCameraModelConfiguration& camera, const Inputs& inputs) {
  const Eigen::Matrix<float, 4, 4, Eigen::RowMajor> pose = camera.getCameraTransform().transform;
  const Eigen::Matrix<float, 4, 4, Eigen::RowMajor> inverse = camera.getCameraTransform().inverse;
  const Eigen::Matrix<float, 3, 3, Eigen::RowMajor> k = camera.getIntrinsics();
  write(pose.data(), 16);
  write(inverse.data(), 16);
  write(k.data(), 9);
  write(camera.getDistortion().data(), 8);
  for (std::size_t i = 0; i < inputs.count(); ++i) {
    write(camera.project3dToCamera(inputs.point(i)).eval().data(), 2);
  }
  for (std::size_t i = 0; i < inputs.count(); ++i) {
    write(camera.projectPixelToRay(inputs.pixel(i)).eval().data(), 3);
  }
  writePointing(camera, inputs);
}

}  // namespace

void writeHeads() {
  const auto sizes = read<std::int32_t>(3);
  const auto data = read<char>(static_cast<std::size_t>(sizes[0]));
  const auto positions = read<std::int32_t>(static_cast<std::size_t>(sizes[1]) * 3);
  const auto count = static_cast<std::size_t>(sizes[2]);
  const std::vector<float> points = read<float>(count * 3);
  const Inputs inputs = {points, read<float>(count * 2)};
  const auto model = PTZCameraModel::fromString(std::string(data.begin(), data.end()));
  if (model == nullptr) std::exit(4);
  for (std::size_t i = 0; i < positions.size(); i += 3) {
    writeConfiguration({model, positions[i], positions[i + 1], positions[i + 2]}, inputs);
  }
  for (std::size_t i = 0; i < count; ++i) {
    const PanTiltSolution solution = model->getPanTiltModel().solve(inputs.point(i), {0, 0});
    const float numbers[] = {solution.solved() ? 1.0F : 0.0F, solution.pan, solution.tilt};
    write(numbers, 3);
  }
}

}  // namespace norv::reference
