#pragma once

/// How far pixels move when calibrations come from other programs' files, or go there and come
/// back.

#include <Eigen/Core>
#include <algorithm>
#include <cmath>
#include <cstddef>
#include <random>
#include <stdexcept>
#include <string>
#include <utility>
#include <variant>
#include <vector>

#include "interop/calibration_export.h"
#include "interop/calibration_import.h"
#include "testing/peer_formulas.h"
#include "testing/peer_texts.h"

namespace norv::testing {

/// Pixels from the corner, the pose camera_from_robot; none where the format has none.
inline interop::WrittenCamera asWritten(const FileCamera& c, double offset, bool has_pose,
                                        const std::string& name) {
  auto k = c.k;
  k.resize(8);
  interop::WrittenCamera camera;
  camera.name = name;
  camera.model = {
      c.width, c.height,      c.fx,          c.fy,
      0,       c.cx + offset, c.cy + offset, {k[0], k[1], k[2], k[3], k[4], k[5], k[6], k[7]}};
  if (has_pose) camera.camera_from_parent = {c.rotation().toRotationMatrix(), c.shift};
  return camera;
}

/// The pixel of a point of the robot's frame, metres.
inline Eigen::Vector2d pixelOf(const interop::WrittenCamera& camera, const Eigen::Vector3d& point) {
  const auto& m = camera.model;
  const interop::RigidPose pose = camera.camera_from_parent.value_or(interop::RigidPose());
  const interop::PeerCamera peer = {"", {m.width, m.height}, m.fx, m.fy, m.skew, m.cx, m.cy, m.lens,
                                    {}};
  return pixelOf(peer, pose.rotation * point + pose.translation);
}

/// The largest distance, pixels, of where the two see points all over the first one's picture, 1 m
/// to 5 m away.
inline double largestDistance(const interop::WrittenCamera& expected,
                              const interop::WrittenCamera& camera) {
  const auto& m = expected.model;
  const interop::RigidPose pose = expected.camera_from_parent.value_or(interop::RigidPose());
  double largest = 0;
  for (int i = 0; i <= 8; ++i) {
    for (int j = 0; j <= 6; ++j) {
      const double depth = 1 + (i + 3 * j) % 5;
      const Eigen::Vector3d seen(depth * (i * m.width / 8.0 - m.cx) / m.fx,
                                 depth * (j * m.height / 6.0 - m.cy) / m.fy, depth);
      const Eigen::Vector3d point = pose.rotation.transpose() * (seen - pose.translation);
      const double distance = (pixelOf(expected, point) - pixelOf(camera, point)).norm();
      // So that what is not a number counts.
      if (!(distance <= largest)) largest = distance;
    }
  }
  return largest;
}

/// The cameras of the files; throws with the refusal where there is one.
inline std::vector<interop::WrittenCamera> imported(const std::vector<interop::SourceFile>& files) {
  interop::ImportOptions options;
  options.parent_is_robot = true;
  options.reading.metres_per_unit = 1;
  const auto outcome = interop::importCameras(files, options);
  if (const auto* problem = std::get_if<interop::FormatProblem>(&outcome)) {
    throw std::runtime_error(describe(*problem));
  }
  std::vector<interop::WrittenCamera> cameras;
  for (const auto& camera : std::get<interop::ImportOutcome>(outcome).cameras) {
    cameras.push_back(
        std::get<interop::WrittenCamera>(interop::fullFrameCamera(camera.calibration)));
  }
  return cameras;
}

/// One way to hold cameras in files.
struct PeerWay {
  const char* name;
  interop::PeerFormat format;
  interop::Syntax syntax;
  std::vector<std::size_t> coefficients;  ///< of the lenses that it holds exactly
  bool has_poses;
  std::size_t cameras_per_file;
  std::vector<interop::SourceFile> (*write)(const std::vector<FileCamera>& cameras);
};

/// A file for each camera.
template <class Text>
std::vector<interop::SourceFile> eachWritten(const std::vector<FileCamera>& cameras, Text text) {
  std::vector<interop::SourceFile> files;
  for (std::size_t i = 0; i < cameras.size(); ++i) {
    const std::string name = "image_" + std::to_string(i);
    files.push_back({name + ".txt", text(cameras[i], name)});
  }
  return files;
}

/// ROS' ways. The INI files are read exactly; they are written with five decimals.
inline std::vector<PeerWay> rosWays() {
  using Cameras = std::vector<FileCamera>;
  using interop::PeerFormat;
  using interop::Syntax;
  return {{"ROS, YAML",
           PeerFormat::kRos,
           Syntax::kUsual,
           {5, 8},
           false,
           1,
           [](const Cameras& all) { return eachWritten(all, rosYaml); }},
          {"ROS, INI", PeerFormat::kRos, Syntax::kIni, {5}, false, 1, [](const Cameras& all) {
             return eachWritten(all, rosIni);
           }}};
}

inline std::vector<PeerWay> openCvWays() {
  using Cameras = std::vector<FileCamera>;
  using interop::PeerFormat;
  using interop::Syntax;
  return {{"OpenCV, YAML",
           PeerFormat::kOpenCv,
           Syntax::kUsual,
           {4, 5, 8},
           false,
           1,
           [](const Cameras& all) {
             return eachWritten(all, [](const auto& c, const auto&) { return openCvYaml(c); });
           }},
          {"OpenCV, XML",
           PeerFormat::kOpenCv,
           Syntax::kXml,
           {4, 5, 8},
           false,
           1,
           [](const Cameras& all) {
             return eachWritten(all, [](const auto& c, const auto&) { return openCvXml(c); });
           }},
          {"OpenCV, JSON",
           PeerFormat::kOpenCv,
           Syntax::kJson,
           {4, 5, 8},
           false,
           1,
           [](const Cameras& all) {
             return eachWritten(all, [](const auto& c, const auto&) { return openCvJson(c); });
           }}};
}

/// The formats with poses.
inline std::vector<PeerWay> rigWays() {
  using Cameras = std::vector<FileCamera>;
  using Files = std::vector<interop::SourceFile>;
  using interop::PeerFormat;
  using interop::Syntax;
  return {{"Kalibr",
           PeerFormat::kKalibr,
           Syntax::kUsual,
           {4},
           true,
           10,
           [](const Cameras& all) -> Files {
             return {{"chain.yaml", kalibrChain(all)}};
           }},
          {"mrcal",
           PeerFormat::kMrcal,
           Syntax::kUsual,
           {4, 5, 8},
           true,
           1,
           [](const Cameras& all) {
             return eachWritten(all, [](const auto& c, const auto&) { return mrcalModel(c); });
           }},
          {"COLMAP",
           PeerFormat::kColmap,
           Syntax::kUsual,
           {4, 8},
           true,
           10,
           [](const Cameras& all) -> Files {
             return {{"cameras.txt", colmapCameras(all)}, {"images.txt", colmapImages(all)}};
           }},
          {"basalt",
           PeerFormat::kBasalt,
           Syntax::kUsual,
           {8},
           true,
           10,
           [](const Cameras& all) -> Files {
             return {{"calibration.json", basaltJson(all)}};
           }}};
}

/// All of them.
inline std::vector<PeerWay> peerWays() {
  std::vector<PeerWay> ways;
  for (const auto& some : {rosWays(), openCvWays(), rigWays()}) {
    ways.insert(ways.end(), some.begin(), some.end());
  }
  return ways;
}

/// A file's cameras, or 10 where each has its own.
inline std::vector<FileCamera> randomFile(const PeerWay& way, std::size_t index,
                                          std::mt19937* random) {
  std::vector<FileCamera> cameras;
  for (std::size_t i = 0; i < 10; ++i) {
    const auto& counts = way.coefficients;
    cameras.push_back(randomFileCamera(counts[(index + i) % counts.size()], random));
  }
  return cameras;
}

/// The largest distance, pixels, of imported cameras from what the files' numbers say by the
/// formulas of the formats.
inline double importError(const PeerWay& way, std::size_t cameras, std::mt19937* random) {
  const double offset = way.format == interop::PeerFormat::kColmap ? 0 : 0.5;
  double largest = 0;
  for (std::size_t done = 0; done < cameras; done += 10) {
    const std::vector<FileCamera> wanted = randomFile(way, done / 10, random);
    const auto read = imported(way.write(wanted));
    if (read.size() != wanted.size()) throw std::runtime_error("not all cameras were imported");
    for (std::size_t i = 0; i < wanted.size(); ++i) {
      const auto expected = asWritten(wanted[i], offset, way.has_poses, "");
      const double distance = largestDistance(expected, read[i]);
      if (!(distance <= largest)) largest = distance;
    }
  }
  return largest;
}

/// The files of the cameras; throws with the reason where they are not written.
inline std::vector<interop::SourceFile> exported(const PeerWay& way,
                                                 const std::vector<interop::WrittenCamera>& rig) {
  interop::ExportOptions options;
  options.writing.format = way.format;
  options.writing.syntax = way.syntax;
  options.writing.parent = "imu";
  options.max_error = HUGE_VAL;
  std::vector<interop::SourceFile> files;
  for (std::size_t first = 0; first < rig.size(); first += way.cameras_per_file) {
    const auto begin = rig.begin() + static_cast<std::ptrdiff_t>(first);
    const auto end = begin + static_cast<std::ptrdiff_t>(way.cameras_per_file);
    auto outcome = interop::exportCameras({begin, end}, options);
    if (const auto* reason = std::get_if<std::string>(&outcome)) throw std::runtime_error(*reason);
    for (auto& file : std::get<interop::ExportOutcome>(outcome).writing.files) {
      if (file.name == "points3D.txt") continue;
      const std::string name = file.name.empty() ? rig[first].name + ".txt" : file.name;
      files.push_back({name, std::move(file.contents)});
    }
  }
  return files;
}

/// The largest distance, pixels, of cameras that were exported and imported again.
inline double roundTripError(const PeerWay& way, std::size_t cameras, std::mt19937* random) {
  double largest = 0;
  for (std::size_t done = 0; done < cameras; done += 10) {
    std::vector<interop::WrittenCamera> rig;
    for (const FileCamera& camera : randomFile(way, done / 10, random)) {
      rig.push_back(asWritten(camera, 0, way.has_poses, "image_" + std::to_string(rig.size())));
    }
    const auto read = imported(exported(way, rig));
    if (read.size() != rig.size()) throw std::runtime_error("not all cameras came back");
    for (std::size_t i = 0; i < rig.size(); ++i) {
      const double distance = largestDistance(rig[i], read[i]);
      if (!(distance <= largest)) largest = distance;
    }
  }
  return largest;
}

}  // namespace norv::testing
