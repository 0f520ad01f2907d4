#include "support/camera/parallel.h"

#include <algorithm>
#include <new>
#include <system_error>
#include <thread>
#include <vector>

namespace norv::internal {
namespace {

/// More at once only wait for each other.
constexpr int kMaxThreads = 256;

std::size_t howMany(int threads) {
  if (threads != 0) return static_cast<std::size_t>(std::min(std::max(threads, 1), kMaxThreads));
  return std::max(std::thread::hardware_concurrency(), 1U);
}

/// Starts threads until the system refuses one; they are joined at the end.
class Helpers {
 public:
  Helpers() = default;
  Helpers(const Helpers&) = delete;
  Helpers& operator=(const Helpers&) = delete;
  ~Helpers() {
    for (std::thread& thread : threads_) thread.join();
  }

  /// Whether a thread does `work` for the range now.
  bool start(const RangeWork& work, std::size_t begin, std::size_t end) {
    try {
      threads_.reserve(threads_.size() + 1);
      threads_.emplace_back([&work, begin, end] { work(begin, end); });
      return true;
    } catch (const std::system_error&) {
      return false;
    } catch (const std::bad_alloc&) {
      return false;
    }
  }

 private:
  std::vector<std::thread> threads_;
};

}  // namespace

void runInParallel(std::size_t count, std::size_t grain, int threads, const RangeWork& work) {
  const std::size_t grains = (count + grain - 1) / grain;
  const std::size_t parts = std::min(howMany(threads), std::max<std::size_t>(grains, 1));
  const auto begin = [&](std::size_t part) {
    return std::min(count, grains * part / parts * grain);
  };
  Helpers helpers;
  std::size_t part = 1;
  while (part < parts && helpers.start(work, begin(part), begin(part + 1))) ++part;
  work(begin(0), begin(1));
  for (; part < parts; ++part) work(begin(part), begin(part + 1));
}

}  // namespace norv::internal
