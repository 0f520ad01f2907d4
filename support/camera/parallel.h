#pragma once

#include <cstddef>
#include <functional>

namespace norv::internal {

using RangeWork = std::function<void(std::size_t begin, std::size_t end)>;

/// `inParallel` of any function.
void runInParallel(std::size_t count, std::size_t grain, int threads, const RangeWork& work);

/// Calls `work(begin, end)` for ranges that make up [0, count), all but the last a multiple of
/// `grain` long, and waits for them: `threads` at once, the caller's among them, 0 meaning as many
/// as the machine runs. Where the system refuses a thread, or there is no memory for one, the
/// caller does its part. `work` throws nothing, and then nor does this.
template <class Work>
void inParallel(std::size_t count, std::size_t grain, int threads, const Work& work) {
  // By reference, which takes no memory.
  runInParallel(count, grain, threads, std::cref(work));
}

}  // namespace norv::internal
