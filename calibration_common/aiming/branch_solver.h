#pragma once

/// One way in which the head sees the target, followed over the zoom.

#include <Eigen/Core>
#include <optional>

#include "calibration_common/aiming/aim_task.h"
#include "calibration_common/aiming/cover_slopes.h"
#include "calibration_common/aiming/limited_fit.h"
#include "calibration_common/aiming/step_candidates.h"

namespace norv::internal {

/// Whole steps of pan and tilt, and what the target covers from there.
struct SteppedView {
  int pan = 0;
  int tilt = 0;
  Cover cover;
  double miss =
      0;  ///< of the cover's middle from the place, pixels; infinity where nothing is seen
  double ratio = 0;  ///< of what is covered to the share of the picture that there is for it
};

/// What is seen from the whole steps around the exact position.
struct SteppedViews {
  HeadFit fit;
  Eigen::Vector2d place;
  double least_ratio;
  /// The one that misses least of those that hold the target, or of all where none does.
  SteppedView best;
};

/// A pair of angles, kept up as the zoom changes.
class BranchSolver {
 public:
  /// `angles` see the outline's anchor near the place. They are kept as they are unless
  /// `is_exact`: near a pose that the head only comes near to there is nothing to converge to.
  /// `end` is for `fitLimited`.
  BranchSolver(const AimTask& task, const JointAngles& angles, bool is_exact,
               std::optional<LimitEnd> end)
      : task_(task), angles_(angles), is_exact_(is_exact), end_(end) {}

  /// The views at a zoom's lens. Where the target is to fill the picture and none of the four
  /// nearest holds it, the steps one farther are tried, too.
  SteppedViews viewsThrough(FrozenLens* lens);

  /// The same for a zoom on the way: of a target that fills far more or far less than its share of
  /// the picture, for whichever steps, only the nearest view.
  SteppedViews roughViewsThrough(FrozenLens* lens);

  /// Whether the steps of `view` hold the target at another zoom's lens, too; makes it the view
  /// through that.
  bool holdsThrough(FrozenLens* lens, SteppedView* view) const;

 private:
  /// Steps from a position, of either motor.
  struct StepReach {
    int first;
    int last;
  };

  struct StepSearch {
    std::optional<SteppedView> found;
    double least_ratio;  ///< of the steps that were asked about
  };

  SteppedViews start(FrozenLens* lens);
  bool followCentre(const FrozenLens& lens, const Eigen::Vector2d& place);
  void centre(FrozenLens* lens, const Eigen::Vector2d& place);
  JointAngles turnFor(const Eigen::Vector2d& shift, const FrozenLens& lens) const;
  double roomAt(const Eigen::Vector2d& place) const;

  void addAll(FrozenLens* lens, SteppedViews* views);
  void addHolding(FrozenLens* lens, SteppedViews* views);
  StepSearch searchAround(const SteppedView& base, const StepReach& reach, FrozenLens* lens);
  SteppedView viewFrom(const SteppedView& base, const StepCandidate& steps, FrozenLens* lens,
                       const Eigen::Vector2d& place) const;
  double keepSlopes(const SteppedView& base, FrozenLens* lens);

  Cover coverAt(int pan, int tilt, FrozenLens* lens) const;
  SteppedView viewAt(int pan, int tilt, FrozenLens* lens, const Eigen::Vector2d& place) const;

  const AimTask& task_;
  JointAngles angles_;
  bool is_exact_;
  std::optional<LimitEnd> end_;
  bool is_centred_ = false;    ///< whether there is a `centred_`
  Cover centred_;              ///< from the exact position, moved to the place
  double centred_length_ = 0;  ///< the focal length with which it was found, pixels
  std::optional<CoverSlopes> slopes_;
};

}  // namespace norv::internal
