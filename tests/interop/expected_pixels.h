#pragma once

/// What other programs compute from their samples (tests/data/interop/expected.json).

#include <Eigen/Core>
#include <cstddef>
#include <fstream>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

namespace norv::interop::testing {

/// Points of the camera frame, metres, and the pixels that a program gives for them, from the
/// image's corner.
struct ExpectedPixels {
  std::vector<Eigen::Vector3d> points;
  std::vector<Eigen::Vector2d> pixels;
};

/// Those of the camera with that index in a sample.
inline ExpectedPixels expectedPixels(const std::string& sample, std::size_t camera = 0) {
  std::ifstream file(CAMERA_PARAMETERS_SOURCE_DIR "/tests/data/interop/expected.json");
  const nlohmann::json all = nlohmann::json::parse(file);
  const nlohmann::json& entry = all.at("files").at(sample).at(camera);
  ExpectedPixels result;
  for (const auto& p : all.at("points_camera")) result.points.emplace_back(p[0], p[1], p[2]);
  for (const auto& p : entry.at("pixels")) {
    result.pixels.emplace_back(p[0].get<double>() + entry.at("offset")[0].get<double>(),
                               p[1].get<double>() + entry.at("offset")[1].get<double>());
  }
  return result;
}

}  // namespace norv::interop::testing
