#include "tools/aim/search_words.h"

namespace norv::tools {
namespace {

using calibration::AimFailure;

struct FailureWords {
  const char* word;
  const char* sentence;
};

FailureWords wordsOf(AimFailure failure) {
  switch (failure) {
    case AimFailure::kNone:
      return {"none", ""};
    case AimFailure::kInvalidModel:
      return {"invalid-model", "nothing can be aimed with this camera"};
    case AimFailure::kInvalidRequest:
      return {"invalid-request", "the question makes no sense"};
    case AimFailure::kNoPresentLens:
      return {"no-present-lens", "there is no lens at the present zoom position"};
    case AimFailure::kNoRay:
      return {"no-ray",
              "no ray reaches a pixel that was given, or the place where the target is "
              "wanted"};
    case AimFailure::kNoZoom:
      return {"no-zoom", "the zoom has no range in which there is a lens"};
    case AimFailure::kOutOfReach:
      return {"out-of-reach",
              "no pan and tilt bring the target to its place: it is too near for "
              "this head, or where the camera never looks"};
    case AimFailure::kBehind:
      return {"behind", "the head brings the target to its place only behind the camera"};
    case AimFailure::kParallelAxes:
      return {"parallel-axes", "the axes of pan and tilt are parallel"};
    case AimFailure::kOutOfSight:
      return {"out-of-sight",
              "the limits of the motors keep the target behind the camera or off its lens"};
  }
  return {"invalid-request", ""};
}

}  // namespace

const char* failureWord(AimFailure failure) { return wordsOf(failure).word; }

std::string explainFailure(AimFailure failure, calibration::AimZoom zoom) {
  if (failure == AimFailure::kOutOfSight && zoom == calibration::AimZoom::kFill) {
    return "nothing of it is seen, or not all: the limits of the motors keep it away, or its parts "
           "lie around the camera";
  }
  return wordsOf(failure).sentence;
}

const char* boundWord(calibration::MotorBound bound) {
  if (bound == calibration::MotorBound::kLowest) return "lowest";
  return bound == calibration::MotorBound::kHighest ? "highest" : nullptr;
}

}  // namespace norv::tools
