#pragma once

#include <algorithm>
#include <array>
#include <utility>

namespace norv::internal {

/// Steps away from a position, and by how much the target then misses the place, pixels.
struct StepCandidate {
  int pan;
  int tilt;
  double miss;
};

/// A few of them, taken out in order of the miss.
class StepCandidates {
 public:
  static constexpr int kMaxCount = 16;

  void add(const StepCandidate& candidate) { candidates_[count_++] = candidate; }

  /// Null when all were taken. Valid until the next call.
  const StepCandidate* takeNearest() {
    if (count_ == 0) return nullptr;
    StepCandidate* const begin = candidates_.data();
    StepCandidate* const last = begin + --count_;
    StepCandidate* const nearest = std::min_element(
        begin, last + 1, [](const auto& a, const auto& b) { return a.miss < b.miss; });
    std::swap(*nearest, *last);
    return last;
  }

 private:
  std::array<StepCandidate, kMaxCount> candidates_;
  int count_ = 0;
};

}  // namespace norv::internal
