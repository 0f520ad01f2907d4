#pragma once

/// Texts and samples as the readers see them.

#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <variant>
#include <vector>

#include "interop/peer_reading.h"
#include "testing/file_contents.h"
#include "testing/peer_formulas.h"

namespace norv::interop::testing {

inline const std::string kSamples = CAMERA_PARAMETERS_SOURCE_DIR "/tests/data/interop";

/// The contents of tests/data/interop/NAME.
inline std::string sampleText(const std::string& name) {
  return norv::testing::contentsOf(kSamples + "/" + name);
}

/// The text with its only `from` replaced; a test that replaces nothing shows nothing.
inline std::string replaced(std::string text, const std::string& from, const std::string& to) {
  const std::size_t at = text.find(from);
  EXPECT_NE(at, std::string::npos) << from;
  EXPECT_EQ(text.find(from, at + 1), std::string::npos) << from;
  return at == std::string::npos ? text : text.replace(at, from.size(), to);
}

/// What the reader of a format makes of a text.
struct TextReader {
  PeerFormat format;

  PeerReading reading(const std::string& text, const ReadOptions& options = {}) const {
    return readCameras({"f", text}, format, options);
  }

  /// The file; an empty one, and a failed test, where it is refused.
  PeerFile file(const std::string& text, const ReadOptions& options = {}) const {
    PeerReading result = reading(text, options);
    if (const auto* problem = std::get_if<FormatProblem>(&result)) {
      ADD_FAILURE() << describe(*problem);
      PeerFile none;
      none.cameras.emplace_back();
      return none;
    }
    return std::get<PeerFile>(std::move(result));
  }

  /// The whole message of a refused text, "f:LINE:COLUMN: KEY: sentence"; "" where it is not
  /// refused.
  std::string refusal(const std::string& text, const ReadOptions& options = {}) const {
    const PeerReading result = reading(text, options);
    const auto* problem = std::get_if<FormatProblem>(&result);
    return problem == nullptr ? "" : describe(*problem);
  }
};

/// The coefficients of a camera with the library's own lens, in OpenCV's order.
inline std::vector<double> coefficientsOf(const PeerCamera& camera) {
  const auto* lens = std::get_if<calibration::LensDistortion<double>>(&camera.lens);
  EXPECT_NE(lens, nullptr);
  if (lens == nullptr) return {};
  const auto all = lens->toCoefficients();
  return {all.begin(), all.end()};
}

/// Each as "KEY: reason".
inline std::vector<std::string> linesOf(const std::vector<NotTakenOver>& list) {
  std::vector<std::string> lines;
  for (const NotTakenOver& one : list) lines.push_back(one.key + ": " + one.reason);
  return lines;
}

/// The largest distance of the camera's pixels from those that the peer computed for its sample of
/// that name, pixels.
inline double largestError(const PeerCamera& camera, const std::string& sample) {
  const nlohmann::json expected = norv::testing::expectedOfSamples(kSamples);
  return norv::testing::largestMiss(camera, expected.at("files").at(sample).at(0),
                                    norv::testing::pointsOf(expected.at("points_camera")));
}

}  // namespace norv::interop::testing
