#include "python/bindings/aim_words.h"

#include <fmt/format.h>
#include <pybind11/pybind11.h>

#include <utility>

namespace norv::python {
namespace {

using calibration::AimChoice;
using calibration::AimFailure;
using calibration::AimPlace;
using calibration::AimZoom;
using calibration::MotorBound;
using calibration::PtzSight;

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
              "no ray reaches a pixel that was given, or the place where the target is wanted"};
    case AimFailure::kNoZoom:
      return {"no-zoom", "the zoom has no range in which there is a lens"};
    case AimFailure::kOutOfReach:
      return {"out-of-reach",
              "no pan and tilt bring the target to its place: it is too near for this head, or "
              "where the camera never looks"};
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

template <class Value, std::size_t N>
Value findWord(const char* name, const std::string& word,
               const std::pair<const char*, Value> (&words)[N]) {
  std::string list;
  for (const auto& [known, value] : words) {
    if (word == known) return value;
    list += (list.empty() ? "" : ", ") + std::string(known);
  }
  throw pybind11::value_error(fmt::format("{}: expected one of {}, got '{}'", name, list, word));
}

}  // namespace

const char* failureWord(AimFailure failure) { return wordsOf(failure).word; }

std::string explainFailure(AimFailure failure, AimZoom zoom) {
  if (failure == AimFailure::kOutOfSight && zoom == AimZoom::kFill) {
    return "nothing of it is seen, or not all: the limits of the motors keep it away, or its parts "
           "lie around the camera";
  }
  return wordsOf(failure).sentence;
}

const char* boundWord(MotorBound bound) {
  if (bound == MotorBound::kLowest) return "lowest";
  return bound == MotorBound::kHighest ? "highest" : nullptr;
}

AimChoice choiceOf(const std::string& word) {
  return findWord<AimChoice, 3>("choice", word,
                                {{"nearest", AimChoice::kNearest},
                                 {"upright", AimChoice::kUpright},
                                 {"no-flip", AimChoice::kNoFlip}});
}

AimPlace placeOf(const std::string& word) {
  return findWord<AimPlace, 2>(
      "place", word, {{"middle", AimPlace::kImageMiddle}, {"axis", AimPlace::kPrincipalPoint}});
}

PtzSight sightOf(const std::string& word) {
  return findWord<PtzSight, 2>(
      "sight", word, {{"centred", PtzSight::kCentred}, {"in-picture", PtzSight::kInPicture}});
}

}  // namespace norv::python
