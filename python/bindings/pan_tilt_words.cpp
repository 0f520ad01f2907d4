#include "python/bindings/pan_tilt_words.h"

#include <fmt/format.h>

#include "python/bindings/errors.h"

namespace norv::python {

using calibration::PanTiltReach;
using calibration::PanTiltSolution;
using calibration::PanTiltVerdict;

const char* verdictWord(PanTiltVerdict verdict) {
  switch (verdict) {
    case PanTiltVerdict::kSolved:
      return "solved";
    case PanTiltVerdict::kNoCandidate:
      return "no-candidate";
    case PanTiltVerdict::kHighResidual:
      return "high-residual";
    case PanTiltVerdict::kLargeResidual:
      return "large-residual";
  }
  return "no-candidate";
}

const char* reachWord(PanTiltReach reach) {
  switch (reach) {
    case PanTiltReach::kReached:
      return "reached";
    case PanTiltReach::kAnyPan:
      return "any-pan";
    case PanTiltReach::kAnyTilt:
      return "any-tilt";
    case PanTiltReach::kOutOfReach:
      return "out-of-reach";
    case PanTiltReach::kBehind:
      return "behind";
    case PanTiltReach::kParallelAxes:
      return "parallel-axes";
    case PanTiltReach::kNotFinite:
      return "not-finite";
  }
  return "not-finite";
}

void throwNoRay(const Vector2_f& pixel) {
  throwNoSolution(fmt::format("no ray reaches pixel {},{}", pixel.x(), pixel.y()), "no-ray");
}

void throwUnsolved(const PanTiltSolution& solution) {
  const char* const word = verdictWord(solution.verdict);
  if (solution.verdict == PanTiltVerdict::kNoCandidate) {
    throwNoSolution("the head cannot point there: no solution with a tilt within 90 deg either way",
                    word);
  }
  throwNoSolution(fmt::format("the head cannot point there: the best solution has an error of "
                              "{:.3g} square metres",
                              solution.error),
                  word);
}

}  // namespace norv::python
