#include "fuzz/fuzz_readings.h"

#include <algorithm>
#include <cmath>
#include <set>
#include <string>
#include <variant>
#include <vector>

#include "fuzz/fuzz_support.h"
#include "fuzz/fuzz_writings.h"

namespace norv::fuzz {
namespace {

using calibration::LensDistortion;
using calibration::PixelOrigin;
using interop::ExtendedLens;
using interop::NotTakenOver;
using interop::PeerCamera;
using interop::PeerFile;
using interop::PeerFormat;
using interop::PeerReading;
using interop::Place;
using interop::RadialMap;
using interop::ReadOptions;

/// Beyond 2^24 single precision has no halves of pixels.
constexpr int kMaxSide = 1 << 24;

/// A line that does not end the text has the break as its last character, and an error may stand
/// behind the last one.
bool liesInside(const Place& place, const std::string& text) {
  if (place.line == 0) return place.column == 0;
  if (place.line < 0 || place.column < 0) return false;
  std::size_t begin = 0;
  for (int line = 1; line < place.line; ++line) {
    const std::size_t end = text.find('\n', begin);
    if (end == std::string::npos) return false;
    begin = end + 1;
  }
  const std::size_t end = std::min(text.find('\n', begin), text.size());
  return static_cast<std::size_t>(place.column) <= end - begin + 1;
}

bool isFinite(const LensDistortion<double>& lens) {
  const auto coefficients = lens.toCoefficients();
  return std::all_of(coefficients.begin(), coefficients.end(),
                     [](double value) { return std::isfinite(value); });
}

bool isFinite(const ExtendedLens& lens) {
  return isFinite(lens.rational) && std::isfinite(lens.s1) && std::isfinite(lens.s2) &&
         std::isfinite(lens.s3) && std::isfinite(lens.s4) && std::isfinite(lens.tau_x) &&
         std::isfinite(lens.tau_y);
}

bool isFinite(const RadialMap& map) {
  return isFinite(map.then) && std::all_of(map.parameters.begin(), map.parameters.end(),
                                           [](double value) { return std::isfinite(value); });
}

bool isFinite(const PeerCamera& camera) {
  const auto& pose = camera.camera_from_parent;
  return std::isfinite(camera.fx) && std::isfinite(camera.fy) && std::isfinite(camera.skew) &&
         std::isfinite(camera.cx) && std::isfinite(camera.cy) &&
         std::visit([](const auto& lens) { return isFinite(lens); }, camera.lens) &&
         (!pose || (pose->rotation.allFinite() && pose->translation.allFinite()));
}

bool isSide(int side) { return side >= 1 && side <= kMaxSide; }

void requireSound(const PeerFile& file) {
  require(!file.cameras.empty(), "a file has a camera");
  for (const PeerCamera& camera : file.cameras) {
    require(isFinite(camera), "a camera's numbers are finite");
    require(camera.fx > 0 && camera.fy > 0, "focal lengths are above 0");
    require(isSide(camera.size.width) && isSide(camera.size.height), "sizes are in their range");
    require(!camera.camera_from_parent || !file.parent.empty(), "a pose has a parent");
  }
  std::set<std::string> keys;
  for (const NotTakenOver& left : file.not_taken_over) {
    require(!left.reason.empty(), "what is not taken over has a reason");
    require(keys.insert(left.key).second, "what is not taken over is named once");
  }
  for (const std::string& note : file.notes) require(!note.empty(), "a note is a sentence");
}

}  // namespace

ReadOptions optionsFor(const std::string& text) {
  const std::size_t choice = text.size();
  ReadOptions options;
  options.full_frame = choice % 2 == 1;
  if (choice / 2 % 2 == 1) options.size = {640, 480};
  if (choice / 4 % 2 == 1) options.metres_per_unit = 1;
  if (choice / 8 % 4 == 1) options.pixel_origin = PixelOrigin::kImageCorner;
  if (choice / 8 % 4 == 2) options.pixel_origin = PixelOrigin::kPixelCentre;
  options.node = static_cast<int>(choice % 3);
  return options;
}

void requireSound(const PeerReading& reading, const std::string& text) {
  if (const auto* const file = std::get_if<PeerFile>(&reading)) return requireSound(*file);
  const auto& problem = std::get<interop::FormatProblem>(reading);
  require(!problem.sentence.empty(), "a refusal has a sentence");
  require(liesInside(problem.place, text), "a refusal is of a place in the text");
}

void requireSoundReading(const std::string& text, PeerFormat format) {
  requireSoundReading(text, format, format);
}

void requireSoundReading(const std::string& text, PeerFormat format, PeerFormat written) {
  const PeerReading reading = readCameras({"fuzzed", text}, format, optionsFor(text));
  requireSound(reading, text);
  const auto* const file = std::get_if<PeerFile>(&reading);
  if (file != nullptr) requireRoundTrip(*file, written);
}

}  // namespace norv::fuzz
