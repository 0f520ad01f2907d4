#pragma once

/// Where a head sees a point, the slow way: the chain multiplied out in double precision from the
/// poses as a model holds them, and all pairs of angles by a search over both of them. Nothing is
/// eliminated and no equation solved in closed form.

#include <Eigen/Core>
#include <Eigen/Geometry>
#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <vector>

#include "calibration_common/pan_tilt_model.h"
#include "testing/random_head.h"

namespace norv::testing {

/// A pair of angles, radians.
struct Angles {
  double pan;
  double tilt;
};

/// Difference of two angles, modulo full turns.
inline double angleBetween(double a, double b) {
  return std::abs(std::remainder(a - b, 360 * kRadians));
}

/// The larger of both differences.
inline double distanceBetween(const Angles& a, const Angles& b) {
  return std::max(angleBetween(a.pan, b.pan), angleBetween(a.tilt, b.tilt));
}

/// The chain of a head.
class PointingChain {
 public:
  explicit PointingChain(const calibration::PanTiltModel& head)
      : base_to_pan_(head.getBaseToPan().transform.cast<double>()),
        pan_to_tilt_(head.getPanToTilt().transform.cast<double>()),
        tilt_to_camera_(head.getTiltToCamera().transform.cast<double>()) {}

  /// The point of the base frame, metres, in the camera frame.
  Eigen::Vector3d inCamera(const Angles& at, const Eigen::Vector3d& world) const {
    const Eigen::Vector4d panned = turn(at.pan, base_to_pan_ * world.homogeneous());
    return (tilt_to_camera_ * turn(at.tilt, pan_to_tilt_ * panned)).head<3>();
  }

  /// A point of the camera frame in the base frame.
  Eigen::Vector3d inBase(const Angles& at, const Eigen::Vector3d& camera) const {
    const Eigen::Matrix4d pose =
        tilt_to_camera_ * turnZ(at.tilt) * pan_to_tilt_ * turnZ(at.pan) * base_to_pan_;
    return (pose.inverse() * camera.homogeneous()).head<3>();
  }

  /// How `inCamera` changes by the angles, by differences that are good to 1e-9 of all lengths.
  Eigen::Matrix<double, 3, 2> slopes(const Angles& at, const Eigen::Vector3d& world) const {
    constexpr double h = 1e-5;
    Eigen::Matrix<double, 3, 2> slopes;
    slopes << inCamera({at.pan + h, at.tilt}, world) - inCamera({at.pan - h, at.tilt}, world),
        inCamera({at.pan, at.tilt + h}, world) - inCamera({at.pan, at.tilt - h}, world);
    return slopes / (2 * h);
  }

  /// The longest of the lengths that the chain adds up, metres: what rounding is relative to.
  double longest(const Eigen::Vector3d& world) const {
    const Eigen::Vector3d in_pan = (base_to_pan_ * world.homogeneous()).head<3>();
    return std::max({world.norm(), in_pan.norm(), pan_to_tilt_.topRightCorner<3, 1>().norm(),
                     tilt_to_camera_.topRightCorner<3, 1>().norm()});
  }

  static Eigen::Vector4d turn(double angle, const Eigen::Vector4d& p) {
    const double c = std::cos(angle);
    const double s = std::sin(angle);
    return {c * p.x() - s * p.y(), s * p.x() + c * p.y(), p.z(), p.w()};
  }

  const Eigen::Matrix4d& panToTilt() const { return pan_to_tilt_; }
  const Eigen::Matrix4d& tiltToCamera() const { return tilt_to_camera_; }
  const Eigen::Matrix4d& baseToPan() const { return base_to_pan_; }

 private:
  Eigen::Matrix4d base_to_pan_;
  Eigen::Matrix4d pan_to_tilt_;
  Eigen::Matrix4d tilt_to_camera_;
};

/// What is asked of a head.
struct PointingQuestion {
  calibration::PanTiltModel head;
  Eigen::Vector3d world;
  Eigen::Vector2d dev;
};

/// Angle between a point of the camera frame and the ray `dev`, radians; pi behind the camera.
inline double missOf(const Eigen::Vector3d& in_camera, const Eigen::Vector2d& dev) {
  const Eigen::Vector3d ray = dev.homogeneous();
  return std::atan2(in_camera.cross(ray).norm(), in_camera.dot(ray));
}

/// All pairs of angles, by a grid of steps over the full turns of both joints. From each local
/// minimum of the miss on the grid Gauss-Newton steps with damping lead to where it is zero. Two
/// that lie within a step of each other, or in a narrow valley, can be overlooked.
class GridSearch {
 public:
  explicit GridSearch(std::size_t steps) : steps_(steps), sines_(steps), nearness_(steps * steps) {
    for (std::size_t i = 0; i < steps; ++i) {
      sines_[i] = {std::cos(angleOf(i)), std::sin(angleOf(i))};
    }
  }

  /// The smallest miss that the last search came upon, radians.
  double smallestMiss() const { return smallest_miss_; }

  std::vector<Angles> search(const PointingQuestion& question) {
    const PointingChain chain(question.head);
    fill(chain, question);
    smallest_miss_ = 180 * kRadians;
    std::vector<Angles> found;
    for (std::size_t i = 0; i < steps_; ++i) {
      for (std::size_t k = 0; k < steps_; ++k) {
        if (isPeak(i, k)) refine(chain, question, {angleOf(i), angleOf(k)}, &found);
      }
    }
    return found;
  }

 private:
  struct Sines {
    double cosine;
    double sine;
  };

  double angleOf(std::size_t i) const {
    return 360 * kRadians * static_cast<double>(i) / static_cast<double>(steps_);
  }

  /// cos |cos| of the miss over the whole grid, which falls with the miss.
  void fill(const PointingChain& chain, const PointingQuestion& question) {
    const Eigen::Vector3d ray = question.dev.homogeneous().normalized();
    const Eigen::Vector4d in_pan = chain.baseToPan() * question.world.homogeneous();
    const Eigen::Matrix<double, 3, 4> last = chain.tiltToCamera().topRows<3>();
    for (std::size_t i = 0; i < steps_; ++i) {
      const auto [pan_cos, pan_sin] = sines_[i];
      const Eigen::Vector4d p(pan_cos * in_pan.x() - pan_sin * in_pan.y(),
                              pan_sin * in_pan.x() + pan_cos * in_pan.y(), in_pan.z(), 1);
      const Eigen::Vector4d y = chain.panToTilt() * p;
      const Eigen::Vector3d fixed = last.col(2) * y.z() + last.col(3);
      const Eigen::Vector3d by_cos = last.col(0) * y.x() + last.col(1) * y.y();
      const Eigen::Vector3d by_sin = last.col(1) * y.x() - last.col(0) * y.y();
      for (std::size_t k = 0; k < steps_; ++k) {
        const Eigen::Vector3d q = fixed + by_cos * sines_[k].cosine + by_sin * sines_[k].sine;
        const double along = ray.dot(q);
        nearness_[i * steps_ + k] = along * std::abs(along) / q.squaredNorm();
      }
    }
  }

  bool isPeak(std::size_t i, std::size_t k) const {
    const std::size_t above = (i + 1) % steps_;
    const std::size_t below = (i + steps_ - 1) % steps_;
    const std::size_t right = (k + 1) % steps_;
    const std::size_t left = (k + steps_ - 1) % steps_;
    const double here = nearness_[i * steps_ + k];
    return here >= nearness_[above * steps_ + k] && here >= nearness_[below * steps_ + k] &&
           here >= nearness_[i * steps_ + left] && here >= nearness_[i * steps_ + right];
  }

  void refine(const PointingChain& chain, const PointingQuestion& question, Angles at,
              std::vector<Angles>* found) {
    double miss = missOf(chain.inCamera(at, question.world), question.dev);
    double damping = 1e-3;
    for (int i = 0; i < 100 && miss > 1e-14 && damping < 1e12; ++i) {
      const Angles next = step(chain, question, at, damping);
      const double next_miss = missOf(chain.inCamera(next, question.world), question.dev);
      damping *= next_miss < miss ? 0.05 : 8;
      if (!(next_miss < miss)) continue;
      at = next;
      miss = next_miss;
    }
    smallest_miss_ = std::min(smallest_miss_, miss);
    const auto is_same = [&](const Angles& one) { return distanceBetween(one, at) < 1e-7; };
    if (miss < 1e-11 && std::none_of(found->begin(), found->end(), is_same)) found->push_back(at);
  }

  static Angles step(const PointingChain& chain, const PointingQuestion& question, const Angles& at,
                     double damping) {
    const Eigen::Vector3d q = chain.inCamera(at, question.world);
    const Eigen::Vector3d ray = question.dev.homogeneous().normalized();
    const Eigen::Vector3d side = ray.unitOrthogonal();
    const Eigen::Matrix<double, 2, 3> across =
        (Eigen::Matrix<double, 2, 3>() << side.transpose(), ray.cross(side).transpose()).finished();
    const Eigen::Vector2d residual = across * q;
    const Eigen::Matrix2d slopes = across * chain.slopes(at, question.world);
    Eigen::Matrix2d normal = slopes.transpose() * slopes;
    normal.diagonal() *= 1 + damping;
    normal.diagonal().array() += 1e-300;
    const Eigen::Vector2d change = -normal.inverse() * (slopes.transpose() * residual);
    return {at.pan + change.x(), at.tilt + change.y()};
  }

  std::size_t steps_;
  std::vector<Sines> sines_;
  std::vector<double> nearness_;
  double smallest_miss_ = 0;
};

/// A head with two lever arms of up to 2 m and frames of any directions, and a target log-uniformly
/// 0.1 to 50 m from its pan joint, to be seen on a ray up to 45 degrees off the axis along x and y.
inline PointingQuestion randomQuestion(std::mt19937_64* random) {
  calibration::PanTiltSystemParameters params;
  const auto arm = [&] { return uniform(random, 0, 1) < 0.2 ? 0.0 : uniform(random, 0, 1.15); };
  storePose(randomPose(1, random), params.mutable_base_to_pan());
  storePose(randomPose(arm(), random), params.mutable_pan_to_tilt());
  storePose(randomPose(arm(), random), params.mutable_tilt_to_camera());
  PointingQuestion question;
  question.head.readFromPB(params);
  const double distance = std::pow(10, uniform(random, -1, std::log10(50)));
  const Eigen::Vector3d direction = randomPose(0, random).col(0).head<3>();
  const Eigen::Matrix4d base_to_pan = question.head.getBaseToPan().transform.cast<double>();
  const Eigen::Vector4d in_pan = Eigen::Vector3d(distance * direction).homogeneous();
  question.world = (base_to_pan.inverse() * in_pan).head<3>();
  question.dev.setZero();
  if (uniform(random, 0, 1) < 0.7) {
    for (double& element : question.dev) element = uniform(random, -1, 1);
  }
  return question;
}

}  // namespace norv::testing
