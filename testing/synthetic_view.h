#pragma once

/// Views of a planar board by cameras that are known.

#include <Eigen/Core>
#include <Eigen/Geometry>
#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <optional>
#include <vector>

#include "support/matrix_types.h"
#include "support/opencv_projection.h"

namespace norv::testing {

inline constexpr double kDegree = 3.14159265358979323846 / 180;

/// Intrinsics, lens and pose; in the views below the pose is camera_from_board, in board squares.
using SyntheticCamera = calibration::OpenCVProjection<double>;

struct ImageSize {
  int width = 1280;
  int height = 960;

  Eigen::Array2d centre() const { return {0.5 * width, 0.5 * height}; }
};

inline SyntheticCamera makePinhole(double fx, double fy, double cx, double cy) {
  SyntheticCamera camera;
  camera.fx = fx;
  camera.fy = fy;
  camera.cx = cx;
  camera.cy = cy;
  return camera;
}

inline void setRadial(const std::array<double, 6>& k, SyntheticCamera* camera) {
  camera->k1 = k[0];
  camera->k2 = k[1];
  camera->k3 = k[2];
  camera->k4 = k[3];
  camera->k5 = k[4];
  camera->k6 = k[5];
}

inline void setPose(const Eigen::Matrix3d& rotation, const Eigen::Vector3d& translation,
                    SyntheticCamera* camera) {
  for (int row = 0; row < 3; ++row) {
    for (int column = 0; column < 3; ++column) {
      camera->rotation[3 * static_cast<std::size_t>(row) + static_cast<std::size_t>(column)] =
          rotation(row, column);
    }
    camera->translation[static_cast<std::size_t>(row)] = translation[row];
  }
}

/// Board tilted by `tilt` about an axis in the image plane at the angle `azimuth`, after a turn by
/// `roll` in its own plane; radians.
inline Eigen::Matrix3d boardRotation(double tilt, double azimuth, double roll) {
  const Eigen::Vector3d axis(std::cos(azimuth), std::sin(azimuth), 0);
  return (Eigen::AngleAxisd(tilt, axis) * Eigen::AngleAxisd(roll, Eigen::Vector3d::UnitZ()))
      .toRotationMatrix();
}

/// Grid points (0, 0) to (columns - 1, rows - 1), row by row: the unit is one square.
inline std::vector<Vector2_f> gridPoints(int columns, int rows) {
  std::vector<Vector2_f> points;
  for (int y = 0; y < rows; ++y) {
    for (int x = 0; x < columns; ++x) {
      points.emplace_back(static_cast<float>(x), static_cast<float>(y));
    }
  }
  return points;
}

/// Where the camera sees the board's points; nothing where one is more than 66 degrees off the
/// axis, beyond what the lenses here are made for.
inline std::optional<std::vector<Eigen::Array2d>> observe(const SyntheticCamera& camera,
                                                          const std::vector<Vector2_f>& board) {
  std::vector<Eigen::Array2d> observed;
  for (const Vector2_f& point : board) {
    const Eigen::Vector2d position = point.cast<double>();
    const std::array<double, 3> on_board = {position.x(), position.y(), 0};
    const std::array<double, 3> p = camera.toCamera(on_board);
    if (!(std::hypot(p[0], p[1]) < std::tan(66 * kDegree) * p[2])) return std::nullopt;
    const std::array<double, 2> pixel = camera.project(on_board);
    observed.emplace_back(pixel[0], pixel[1]);
  }
  return observed;
}

/// Brings the board, turned by `rotation`, as close to the camera as it can come along the viewing
/// ray (x, y, 1) with all points within the share `fill` of the image's width and height. False
/// when it does not fit from afar.
inline bool placeBoard(const std::vector<Vector2_f>& board, const Eigen::Matrix3d& rotation,
                       const Eigen::Vector3d& ray, const ImageSize& size, double fill,
                       SyntheticCamera* camera) {
  const Eigen::Vector2d centre = (board.front() + board.back()).cast<double>() / 2;
  const double half_side = (board.back() - board.front()).cast<double>().maxCoeff() / 2;
  const auto fits = [&](double distance) {
    setPose(rotation, distance * half_side * ray - rotation.leftCols<2>() * centre, camera);
    const std::optional<std::vector<Eigen::Array2d>> observed = observe(*camera, board);
    if (!observed) return false;
    return std::all_of(observed->begin(), observed->end(), [&](const Eigen::Array2d& pixel) {
      return ((pixel - size.centre()).abs() < fill * size.centre()).all();
    });
  };
  double too_close = 0.3;
  double distance = 60;
  if (!fits(distance)) return false;
  for (int i = 0; i < 30; ++i) {
    const double middle = std::sqrt(too_close * distance);
    (fits(middle) ? distance : too_close) = middle;
  }
  return fits(distance);
}

}  // namespace norv::testing
