#pragma once

#include <Eigen/Core>

#include "calibration_common/coverage/head_range.h"
#include "calibration_common/coverage/widest_picture.h"

namespace norv::internal {

/// Whether a head brings points into a picture: a search for the angles within the motors' range
/// at which the point is nearest to the picture, which may be at an end of the range of one motor,
/// of both, or where the head turns no nearer.
///
/// The gap between point and picture (`WidestPicture::gapTo`) is looked at over the whole range,
/// every ten degrees, and followed down from wherever it is less than around: by golden sections of
/// the pan, for each of which the tilt is the best there is. The picture has no distance from where
/// the gap has only one minimum within ten degrees.
class PictureSearch {
 public:
  /// `picture` has to live as long.
  PictureSearch(const JointFrames& frames, const HeadRange& range, WidestPicture* picture);

  /// Whether some angles within the range do so for a point of the base frame, metres.
  bool finds(const Eigen::Vector3d& point);

 private:
  static constexpr int kMaxNodes = 37;

  /// The angles of a joint that are looked at first.
  struct Nodes {
    explicit Nodes(const AngleRange& range);
    double angle(int i) const { return low + step * i; }
    /// What lies no more than a step from a node.
    AngleRange around(int i) const;

    double low;
    double step;
    int count;
    bool is_full;  ///< the last node is the first one, a turn on
  };

  void fillGrid();
  bool isLowest(int i, int j) const;
  bool canReachFrom(int i, int j) const;
  bool descendsFrom(int i, int j);
  double bestTilt(double pan, const AngleRange& tilts);

  JointFrames frames_;
  Nodes pans_;
  Nodes tilts_;
  WidestPicture* picture_;
  Eigen::Vector3d in_pan_;
  /// Of all pairs of nodes, a row for each pan; of a size that is bounded, so that none allocates.
  Eigen::Array<double, Eigen::Dynamic, Eigen::Dynamic, Eigen::ColMajor, kMaxNodes, kMaxNodes> gaps_;
};

}  // namespace norv::internal
