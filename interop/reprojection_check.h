#pragma once

/// Whether a camera sees points where they were seen, and which other convention of its numbers
/// would explain better where they were.

#include <Eigen/Core>
#include <vector>

#include "interop/observed_points.h"
#include "interop/peer_writing.h"

namespace norv::interop {

/// How far points were seen from where a camera projects them, pixels: what was seen minus what is
/// projected. 0 where no point is imaged.
struct ReprojectionError {
  int imaged = 0;       ///< points that have a pixel, within the picture or not
  int behind = 0;       ///< points behind the camera
  int beyond_lens = 0;  ///< points beyond the end of the lens, or too far off for any pixel
  double rms = 0;       ///< root mean square of the distances
  double max = 0;
  Eigen::Vector2d mean = Eigen::Vector2d::Zero();
};

/// What the numbers of a camera may mean instead.
enum class OtherConvention {
  kPixelsHalfMore,        ///< 0.5 added to the pixels that were seen
  kPixelsHalfLess,        ///< 0.5 subtracted from them
  kInversePose,           ///< the pose maps the camera's frame into the robot's
  kTransposedRotation,    ///< the rotation is stored column by column
  kCentreAsTranslation,   ///< the translation is the optical centre in the robot's frame
  kAxesOfBody,            ///< the pose's camera frame has x ahead, y left, z up
  kAxesOfGraphics,        ///< the pose's camera frame has x right, y up, z back
  kTranslationThousand,   ///< the translation is 1000 times what it was taken for
  kTranslationThousandth  ///< or a 1000th of it
};

/// A sentence about it: "the pose is the other way round".
const char* describe(OtherConvention convention);

/// What a convention makes of the same points.
struct BetterConvention {
  OtherConvention convention = OtherConvention::kPixelsHalfMore;
  ReprojectionError error;
};

struct ReprojectionCheck {
  ReprojectionError error;
  /// The conventions that explain the points at least ten times better, a point without a pixel
  /// counting as an error of the picture's diagonal, and no error as more than that. None where the
  /// error is below 0.01 px, as good as any.
  std::vector<BetterConvention> better;
};

/// Projects the points by the formula of docs/conventions.md in double precision, the pose being
/// camera_from_robot (none: the identity), and compares. Thread-safe.
ReprojectionCheck checkReprojection(const WrittenCamera& camera,
                                    const std::vector<ObservedPoint>& points);

}  // namespace norv::interop
