#pragma once

#include <Eigen/Core>

#include "calibration_common/coverage/head_range.h"
#include "calibration_common/coverage/widest_picture.h"

namespace norv::internal {

/// Whether a head brings points into a picture: a search for the angles within the motors' range
/// at which the point is nearest to the picture, which may be at an end of the range of one motor,
/// of both, or where the head turns no nearer.
///
/// Most points are told by halving the range: a part from all of which the point stays out of the
/// picture (`WidestPicture::angleOutside`) is left out, and a position that shows it ends the
/// search. For those near the picture's border the gap between point and picture
/// (`WidestPicture::gapTo`) is looked at over the whole range, every ten degrees, and followed down
/// from wherever it is less than around: by golden sections of
/// the pan, for each of which the tilt is the best there is. The picture has no distance from where
/// the gap has only one minimum within ten degrees.
class PictureSearch {
 public:
  /// `picture` has to live as long.
  PictureSearch(const JointFrames& frames, const HeadRange& range, WidestPicture* picture);

  /// Whether some angles within the range do so for a point of the base frame, metres.
  bool finds(const Eigen::Vector3d& point);

  /// Metres that the point which `finds` was last asked about may move by without coming into the
  /// picture; 0 where it was found, or is near.
  double clearance() const { return clearance_; }

 private:
  static constexpr int kMaxNodes = 37;

  /// The angles of a joint that are looked at first.
  struct Nodes {
    explicit Nodes(const AngleRange& range);
    double angle(int i) const { return low + step * i; }
    /// What lies no more than a step from a node.
    AngleRange around(int i) const;
    AngleRange all() const { return {low, angle(count - 1)}; }

    double low;
    double step;
    int count;
    bool is_full;  ///< the last node is the first one, a turn on
  };

  enum class Verdict { kSeen, kHidden, kUnknown };

  void prepare(const Eigen::Vector3d& point);
  bool showsAt(double pan, double tilt);
  Verdict judge(const AngleRange& pans, const AngleRange& tilts);
  bool findsByGaps();
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
  /// At most how far the point's direction in the camera turns with each radian of a joint; not
  /// finite where the point is within reach of the arms.
  double pan_rate_ = 0;
  double tilt_rate_ = 0;
  double outside_ = 0;  ///< radians, at least, from the picture
  double clearance_ = 0;
  /// Angles that showed the last point that was found.
  double last_pan_;
  double last_tilt_;
  /// Of all pairs of nodes, a row for each pan; of a size that is bounded, so that none allocates.
  Eigen::Array<double, Eigen::Dynamic, Eigen::Dynamic, Eigen::ColMajor, kMaxNodes, kMaxNodes> gaps_;
};

}  // namespace norv::internal
