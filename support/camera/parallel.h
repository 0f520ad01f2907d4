#pragma once

#include <cstddef>
#include <functional>

namespace norv::internal {

/// Calls `work(begin, end)` for ranges that make up [0, count), all but the last a multiple of
/// `grain` long, and waits for them: `threads` at once, the caller's among them, 0 meaning as many
/// as the machine runs. Where the system refuses a thread, the caller does its part. `work` throws
/// nothing.
void inParallel(std::size_t count, std::size_t grain, int threads,
                const std::function<void(std::size_t begin, std::size_t end)>& work);

}  // namespace norv::internal
