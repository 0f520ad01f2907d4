#include "support/camera/point_batches.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <type_traits>

#include "support/camera/jacobian_access.h"
#include "support/camera/kernels.h"
#include "support/camera/parallel.h"
#include "support/camera/point_solver.h"

namespace norv::internal {

using calibration::PointArray;
using calibration::PointStatus;
using calibration::ProjectionExtras;
using calibration::RectificationExtras;

namespace {

/// Points that a kernel is given at once: what is kept of them stays in the first-level cache.
constexpr std::size_t kChunk = 512;
/// Fewer points are not worth a thread.
constexpr std::size_t kPointsOfThread = 16 * kChunk;

using Codes = std::array<std::uint8_t, kChunk>;

template <class T>
PointArray<T> from(const PointArray<T>& points, std::size_t begin) {
  return {&points.at(begin, 0), points.stride, points.coordinate_stride};
}

/// The given points of a chunk where the answers take their place, or moved into another frame.
template <class T, int kCoordinates>
class Copy {
 public:
  PointArray<const T> take(const PointArray<const T>& points, std::size_t count) {
    for (std::size_t i = 0; i < count; ++i) {
      for (int c = 0; c < kCoordinates; ++c) list().at(i, c) = points.at(i, c);
    }
    return {all_.data(), kCoordinates};
  }

  /// The points may be those that were taken.
  PointArray<const double> transform(const PoseRows& pose, const PointArray<const double>& points,
                                     std::size_t count) {
    for (std::size_t i = 0; i < count; ++i) {
      const auto p =
          transformed(pose, Point3<double>{points.at(i, 0), points.at(i, 1), points.at(i, 2)});
      list().at(i, 0) = p.x;
      list().at(i, 1) = p.y;
      list().at(i, 2) = p.z;
    }
    return {all_.data(), kCoordinates};
  }

 private:
  PointArray<T> list() { return {all_.data(), kCoordinates}; }

  std::array<T, kCoordinates * kChunk> all_;
};

/// Puts the answers to what a kernel left open, `solve(i)` for point i, in their places.
template <class T, class Solve>
void closeOpenQuestions(const PointArray<T>& out, std::size_t count, Codes* codes,
                        const Solve& solve) {
  for (std::size_t i = 0; i < count; ++i) {
    if ((*codes)[i] != static_cast<std::uint8_t>(kUndecided)) continue;
    const PointAnswer answer = solve(i);
    out.at(i, 0) = static_cast<T>(answer.x);
    out.at(i, 1) = static_cast<T>(answer.y);
    (*codes)[i] = static_cast<std::uint8_t>(answer.status);
  }
}

/// The codes of a chunk, all of them decided.
struct ChunkCodes {
  Codes codes;
  std::size_t count;
  bool all_ok;

  /// Writes them where the caller wants them; how many are not `kOk`.
  std::size_t report(PointStatus* statuses) const {
    if (statuses != nullptr) std::memcpy(statuses, codes.data(), count);
    if (all_ok) return 0;
    const std::uint8_t* const end = codes.data() + count;
    return count - static_cast<std::size_t>(std::count(codes.data(), end, std::uint8_t{0}));
  }
};

template <class Jacobian>
void clearUnanswered(const ChunkCodes& chunk, Jacobian* jacobians) {
  for (std::size_t i = 0; !chunk.all_ok && i < chunk.count; ++i) {
    if (!hasAnswer(static_cast<PointStatus>(chunk.codes[i]))) setNaN(&jacobians[i]);
  }
}

/// One thread's share of a projection.
class Projection {
 public:
  Projection(const PreparedCamera& camera, const PoseRows* pose)
      : camera_(camera), pose_(pose), solver_(camera) {}

  /// One chunk; how many points are not `kOk`.
  std::size_t run(PointArray<const double> points, std::size_t count,
                  const PointArray<double>& pixels, const ProjectionExtras& extras) {
    if (points.data == pixels.data) points = own_.take(points, count);
    chunk_.count = count;
    chunk_.all_ok = !kernels().project(camera_, pose_, points, count, pixels, chunk_.codes.data());
    if (!chunk_.all_ok) {
      closeOpenQuestions(pixels, count, &chunk_.codes, [&](std::size_t i) {
        return solver_.project(pose_, {points.at(i, 0), points.at(i, 1), points.at(i, 2)});
      });
    }
    if (extras.jacobians != nullptr) {
      if (pose_ != nullptr) points = own_.transform(*pose_, points, count);
      kernels().projectionJacobians(camera_, points, count, numbersOf(extras.jacobians));
      clearUnanswered(chunk_, extras.jacobians);
    }
    return chunk_.report(extras.statuses);
  }

 private:
  const PreparedCamera& camera_;
  const PoseRows* pose_;
  PointSolver solver_;
  ChunkCodes chunk_;
  Copy<double, 3> own_;
};

/// One thread's share of a rectification.
template <class T>
class Rectification {
 public:
  explicit Rectification(const PreparedCamera& camera) : camera_(camera), solver_(camera) {}

  const ChunkCodes& run(PointArray<const T> pixels, std::size_t count, const PointArray<T>& rays) {
    if (pixels.data == rays.data) pixels = given_.take(pixels, count);
    chunk_.count = count;
    if constexpr (std::is_same_v<T, float>) {
      chunk_.all_ok = !kernels().rectifyFloats(camera_, pixels, count, rays, chunk_.codes.data());
    } else {
      chunk_.all_ok = !kernels().rectify(camera_, pixels, count, rays, chunk_.codes.data());
    }
    if (!chunk_.all_ok) {
      closeOpenQuestions(rays, count, &chunk_.codes, [&](std::size_t i) {
        return solver_.rectify(static_cast<double>(pixels.at(i, 0)),
                               static_cast<double>(pixels.at(i, 1)));
      });
    }
    return chunk_;
  }

 private:
  const PreparedCamera& camera_;
  PointSolver solver_;
  ChunkCodes chunk_;
  Copy<T, 2> given_;
};

/// Calls `chunk(begin, count)` for all chunks of [0, count), which says how many of its points are
/// not `kOk`, with one `makeShare()` a thread; their sum.
template <class MakeShare, class Chunk>
std::size_t inChunks(std::size_t count, int threads, const MakeShare& make_share,
                     const Chunk& chunk) {
  std::atomic<std::size_t> not_ok{0};
  const auto work = [&](std::size_t begin, std::size_t end) {
    auto share = make_share();
    std::size_t sum = 0;
    for (; begin < end; begin += kChunk) {
      sum += chunk(&share, begin, std::min(kChunk, end - begin));
    }
    not_ok += sum;
  };
  if (threads == 1) {
    work(0, count);
  } else {
    inParallel(count, kPointsOfThread, threads, work);
  }
  return not_ok;
}

}  // namespace

std::size_t projectBatch(const PreparedCamera& camera, const PoseRows* pose,
                         const PointArray<const double>& points, std::size_t count,
                         const PointArray<double>& pixels, const ProjectionExtras& extras,
                         int threads) {
  return inChunks(
      count, threads, [&] { return Projection(camera, pose); },
      [&](Projection* share, std::size_t begin, std::size_t size) {
        ProjectionExtras here = extras;
        if (here.statuses != nullptr) here.statuses += begin;
        if (here.jacobians != nullptr) here.jacobians += begin;
        return share->run(from(points, begin), size, from(pixels, begin), here);
      });
}

std::size_t rectifyBatch(const PreparedCamera& camera, const PointArray<const double>& pixels,
                         std::size_t count, const PointArray<double>& rays,
                         const RectificationExtras& extras, int threads) {
  return inChunks(
      count, threads, [&] { return Rectification<double>(camera); },
      [&](Rectification<double>* share, std::size_t begin, std::size_t size) {
        const PointArray<double> out = from(rays, begin);
        const ChunkCodes& chunk = share->run(from(pixels, begin), size, out);
        if (extras.jacobians != nullptr) {
          const PointArray<const double> answers{out.data, out.stride, out.coordinate_stride};
          auto* const jacobians = extras.jacobians + begin;
          kernels().rectificationJacobians(camera, answers, size, numbersOf(jacobians));
          clearUnanswered(chunk, jacobians);
        }
        PointStatus* const statuses = extras.statuses;
        return chunk.report(statuses == nullptr ? nullptr : statuses + begin);
      });
}

void rectifyFloatBatch(const PreparedCamera& camera, const PointArray<const float>& pixels,
                       std::size_t count, const PointArray<float>& rays) {
  Rectification<float> share(camera);
  for (std::size_t begin = 0; begin < count; begin += kChunk) {
    share.run(from(pixels, begin), std::min(kChunk, count - begin), from(rays, begin));
  }
}

}  // namespace norv::internal
