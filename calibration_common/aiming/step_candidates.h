#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
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
  static constexpr std::size_t kMaxCount = 16;

  /// At most `kMaxCount` are kept.
  void add(const StepCandidate& candidate) {
    if (count_ < candidates_.size()) candidates_[count_++] = candidate;
  }

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
  std::size_t count_ = 0;
};

}  // namespace norv::internal
