#pragma once

/// PanTiltModel::solveAll compared with a search over both angles.

#include <algorithm>
#include <array>
#include <cstdio>
#include <vector>

#include "calibration_common/pan_tilt_model.h"
#include "testing/pointing_chain.h"

namespace norv::testing {

/// What the comparison of many answers came to.
struct RootTally {
  std::array<int, 5> with_count{};  ///< questions by how many roots solveAll has
  std::array<int, 7> with_reach{};
  int roots = 0;
  int found_by_grid = 0;  ///< of those
  int missed = 0;         ///< by solveAll, of what the grid search found
  int wrong = 0;          ///< roots that the chain does not confirm
  double worst_miss = 0;  ///< of roots that the head reaches, by the chain, over what rounding is

  void print() const {
    std::printf("roots 0..4: %d %d %d %d %d; out of reach %d, behind %d\n", with_count[0],
                with_count[1], with_count[2], with_count[3], with_count[4],
                with_reach[static_cast<std::size_t>(calibration::PanTiltReach::kOutOfReach)],
                with_reach[static_cast<std::size_t>(calibration::PanTiltReach::kBehind)]);
    std::printf("%d roots, %d of them found by the grid; missed %d, wrong %d, worst miss %.3g\n",
                roots, found_by_grid, missed, wrong, worst_miss);
  }
};

/// Two roots that are as near as this may be one to either side.
inline constexpr double kSameRoot = 1e-5;

inline bool isAmong(const Angles& at, const calibration::PanTiltRoots& roots) {
  return std::any_of(roots.begin(), roots.end(), [&](const calibration::PanTiltRoot& root) {
    return distanceBetween(at, {root.pan, root.tilt}) < kSameRoot;
  });
}

inline bool isAmong(const calibration::PanTiltRoot& root, const std::vector<Angles>& found) {
  return std::any_of(found.begin(), found.end(), [&](const Angles& at) {
    return distanceBetween(at, {root.pan, root.tilt}) < kSameRoot;
  });
}

inline void judgeRoots(const PointingQuestion& question, const calibration::PanTiltRoots& roots,
                       RootTally* tally) {
  const PointingChain chain(question.head);
  for (const calibration::PanTiltRoot& root : roots) {
    const Eigen::Vector3d q = chain.inCamera({root.pan, root.tilt}, question.world);
    const double miss = missOf(q, question.dev);
    // What the head comes near to without reaching it is told by its miss.
    const bool reached = root.miss * std::min(1.0, q.norm()) <= 1e-11;
    const double rounding = std::max(1.0, chain.longest(question.world) / q.norm());
    if (reached) tally->worst_miss = std::max(tally->worst_miss, miss / rounding);
    if (!(miss <= (reached ? 1e-12 * rounding : 1.01e-6))) ++tally->wrong;
  }
}

inline void compareWithGrid(const PointingQuestion& question, GridSearch* grid, RootTally* tally) {
  const calibration::PanTiltRoots roots = question.head.solveAll(question.world, question.dev);
  const std::vector<Angles> found = grid->search(question);
  ++tally->with_count.at(roots.size());
  ++tally->with_reach.at(static_cast<std::size_t>(roots.reach));
  judgeRoots(question, roots, tally);
  tally->roots += static_cast<int>(roots.size());
  // What comes this near is an answer, too: PanTiltSearch::tolerance.
  if (roots.empty() && grid->smallestMiss() < 0.99e-6) ++tally->missed;
  for (const calibration::PanTiltRoot& root : roots)
    tally->found_by_grid += isAmong(root, found) ? 1 : 0;
  for (const Angles& at : found) {
    if (isAmong(at, roots)) continue;
    ++tally->missed;
    std::printf("missed: %.17g %.17g, reach %d, %zu roots\n", at.pan, at.tilt,
                static_cast<int>(roots.reach), roots.size());
  }
}

}  // namespace norv::testing
