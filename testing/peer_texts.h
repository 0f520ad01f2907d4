#pragma once

/// Files of other programs, written as those programs do, without the library's writers.

#include <fmt/format.h>

#include <Eigen/Geometry>
#include <algorithm>
#include <cmath>
#include <cstddef>
#include <random>
#include <string>
#include <vector>

#include "interop/peer_reading.h"
#include "testing/random_camera.h"

namespace norv::testing {

/// A camera in the numbers of a file: pixels as the file counts them, k in OpenCV's order, 4, 5 or
/// 8 of them, and the pose as an axis times an angle below pi, and metres.
struct FileCamera {
  int width;
  int height;
  double fx;
  double fy;
  double cx;
  double cy;
  std::vector<double> k;
  Eigen::Vector3d turn;
  Eigen::Vector3d shift;

  Eigen::Quaterniond rotation() const {
    return Eigen::Quaterniond(Eigen::AngleAxisd(turn.norm(), turn.normalized()));
  }
};

/// Of the sizes, focal lengths and lenses that people have; its picture reaches 60 degrees from the
/// axis at most, and its lens has no pole.
inline FileCamera randomFileCamera(std::size_t coefficients, std::mt19937* random) {
  const auto number = [random](double low, double high) { return uniform(low, high, random); };
  FileCamera camera;
  camera.width = static_cast<int>(number(320, 4096));
  camera.height = static_cast<int>(number(0.5, 1) * camera.width);
  camera.fx = number(0.4, 2) * camera.width;
  camera.fy = number(0.98, 1.02) * camera.fx;
  camera.cx = number(0.45, 0.55) * camera.width;
  camera.cy = number(0.45, 0.55) * camera.height;
  camera.k = {number(-0.3, 0.3),   number(-0.1, 0.1), number(-2e-3, 2e-3), number(-2e-3, 2e-3),
              number(-0.03, 0.03), number(0, 0.5),    number(0, 0.2),      number(0, 0.03)};
  camera.k.resize(coefficients);
  const Eigen::Vector3d axis(number(-1, 1), number(-1, 1), number(-1, 1));
  camera.turn = axis.normalized() * number(0.01, 3.1);
  camera.shift = {number(-9, 9), number(-9, 9), number(-9, 9)};
  return camera;
}

/// 17 digits are enough for any double.
inline std::string digits(double value) { return fmt::format("{:.17g}", value); }

template <class Numbers>
std::string listed(const Numbers& numbers, const char* between) {
  std::string text;
  for (const double number : numbers) text += (text.empty() ? "" : between) + digits(number);
  return text;
}

/// Row by row.
inline std::vector<double> cameraMatrix(const FileCamera& c) {
  return {c.fx, 0, c.cx, 0, c.fy, c.cy, 0, 0, 1};
}

inline std::string rosYaml(const FileCamera& c, const std::string& name) {
  const auto matrix = [](const char* key, int rows, int cols, const std::vector<double>& data) {
    return fmt::format("{}:\n  rows: {}\n  cols: {}\n  data: [{}]\n", key, rows, cols,
                       listed(data, ", "));
  };
  return fmt::format("image_width: {}\nimage_height: {}\ncamera_name: {}\n", c.width, c.height,
                     name) +
         matrix("camera_matrix", 3, 3, cameraMatrix(c)) +
         fmt::format("distortion_model: {}\n",
                     c.k.size() == 5 ? "plumb_bob" : "rational_polynomial") +
         matrix("distortion_coefficients", 1, static_cast<int>(c.k.size()), c.k) +
         matrix("rectification_matrix", 3, 3, {1, 0, 0, 0, 1, 0, 0, 0, 1}) +
         matrix("projection_matrix", 3, 4, {c.fx, 0, c.cx, 0, 0, c.fy, c.cy, 0, 0, 0, 1, 0});
}

/// Of five coefficients.
inline std::string rosIni(const FileCamera& c, const std::string& name) {
  return fmt::format(
      "# Camera intrinsics\n\n[image]\n\nwidth\n{}\n\nheight\n{}\n\n[{}]\n\ncamera matrix\n{} 0 "
      "{}\n0 {} {}\n0 0 1\n\ndistortion\n{}\n\nrectification\n1 0 0\n0 1 0\n0 0 1\n\n"
      "projection\n{} 0 {} 0\n0 {} {} 0\n0 0 1 0\n",
      c.width, c.height, name, digits(c.fx), digits(c.cx), digits(c.fy), digits(c.cy),
      listed(c.k, " "), digits(c.fx), digits(c.cx), digits(c.fy), digits(c.cy));
}

inline std::string openCvYaml(const FileCamera& c) {
  return fmt::format(
      "%YAML:1.0\n---\nimage_width: {}\nimage_height: {}\ncamera_matrix: !!opencv-matrix\n   rows: "
      "3\n   cols: 3\n   dt: d\n   data: [ {} ]\ndistortion_coefficients: !!opencv-matrix\n   "
      "rows: {}\n   cols: 1\n   dt: d\n   data: [ {} ]\n",
      c.width, c.height, listed(cameraMatrix(c), ", "), c.k.size(), listed(c.k, ", "));
}

inline std::string openCvXml(const FileCamera& c) {
  const auto matrix = [](const char* key, std::size_t rows, int cols,
                         const std::vector<double>& data) {
    return fmt::format(
        "<{0} type_id=\"opencv-matrix\">\n  <rows>{1}</rows>\n  <cols>{2}</cols>\n  <dt>d</dt>\n  "
        "<data>\n    {3}</data></{0}>\n",
        key, rows, cols, listed(data, " "));
  };
  return fmt::format(
             "<?xml version=\"1.0\"?>\n<opencv_storage>\n<image_width>{}</image_width>\n"
             "<image_height>{}</image_height>\n",
             c.width, c.height) +
         matrix("camera_matrix", 3, 3, cameraMatrix(c)) +
         matrix("distortion_coefficients", c.k.size(), 1, c.k) + "</opencv_storage>\n";
}

inline std::string openCvJson(const FileCamera& c) {
  const auto matrix = [](std::size_t rows, int cols, const std::vector<double>& data) {
    return fmt::format(
        "{{\n        \"type_id\": \"opencv-matrix\",\n        \"rows\": {},\n        \"cols\": "
        "{},\n        \"dt\": \"d\",\n        \"data\": [ {} ]\n    }}",
        rows, cols, listed(data, ", "));
  };
  return fmt::format(
      "{{\n    \"image_width\": {},\n    \"image_height\": {},\n    \"camera_matrix\": {},\n    "
      "\"distortion_coefficients\": {}\n}}\n",
      c.width, c.height, matrix(3, 3, cameraMatrix(c)), matrix(c.k.size(), 1, c.k));
}

inline std::string mrcalModel(const FileCamera& c) {
  return fmt::format(
      "# a comment\n{{\n    'lensmodel':  'LENSMODEL_OPENCV{}',\n    'intrinsics': [ {}, {},],\n   "
      " "
      "'extrinsics': [ {}, {},],\n    'imagersize': [ {}, {},],\n}}\n",
      c.k.size(), listed(std::vector<double>{c.fx, c.fy, c.cx, c.cy}, ", "), listed(c.k, ", "),
      listed(c.turn, ", "), listed(c.shift, ", "), c.width, c.height);
}

/// Of four or eight coefficients.
inline std::string colmapCameras(const std::vector<FileCamera>& cameras) {
  std::string text = "# Camera list\n";
  for (std::size_t i = 0; i < cameras.size(); ++i) {
    const FileCamera& c = cameras[i];
    text += fmt::format("{} {} {} {} {} {}\n", 7 * i, c.k.size() == 4 ? "OPENCV" : "FULL_OPENCV",
                        c.width, c.height, listed(std::vector<double>{c.fx, c.fy, c.cx, c.cy}, " "),
                        listed(c.k, " "));
  }
  return text;
}

/// One of each camera.
inline std::string colmapImages(const std::vector<FileCamera>& cameras) {
  std::string text = "# Image list\n";
  for (std::size_t i = 0; i < cameras.size(); ++i) {
    const Eigen::Quaterniond q = cameras[i].rotation();
    text += fmt::format("{} {} {} {} image_{}.png\n1.5 2.5 -1\n", i + 1,
                        listed(std::vector<double>{q.w(), q.x(), q.y(), q.z()}, " "),
                        listed(cameras[i].shift, " "), 7 * i, i);
  }
  return text;
}

/// Of four coefficients. Poses: T_cam_imu of all.
inline std::string kalibrChain(const std::vector<FileCamera>& cameras) {
  std::string text;
  for (std::size_t i = 0; i < cameras.size(); ++i) {
    const FileCamera& c = cameras[i];
    const Eigen::Matrix3d rotation = c.rotation().toRotationMatrix();
    text += fmt::format("cam{}:\n  T_cam_imu:\n", i);
    for (int r = 0; r < 3; ++r) {
      text += fmt::format("  - [{}, {}]\n", listed(rotation.row(r), ", "), digits(c.shift[r]));
    }
    text += fmt::format(
        "  - [0.0, 0.0, 0.0, 1.0]\n  camera_model: pinhole\n  distortion_coeffs: [{}]\n  "
        "distortion_model: radtan\n  intrinsics: [{}]\n  resolution: [{}, {}]\n  rostopic: "
        "/image_{}/raw\n",
        listed(c.k, ", "), listed(std::vector<double>{c.fx, c.fy, c.cx, c.cy}, ", "), c.width,
        c.height, i);
  }
  return text;
}

/// Of eight coefficients. Poses: those that map out of the cameras.
inline std::string basaltJson(const std::vector<FileCamera>& cameras) {
  constexpr const char* kNames[] = {"k1", "k2", "p1", "p2", "k3", "k4", "k5", "k6"};
  std::string poses;
  std::string intrinsics;
  std::string sizes;
  for (const FileCamera& c : cameras) {
    const std::string comma = poses.empty() ? "" : ", ";
    const Eigen::Quaterniond q = c.rotation().conjugate();
    const Eigen::Vector3d p = -(q * c.shift);
    poses += comma + fmt::format(
                         "{{\"px\": {}, \"py\": {}, \"pz\": {}, \"qx\": {}, \"qy\": {}, \"qz\": "
                         "{}, \"qw\": {}}}",
                         digits(p.x()), digits(p.y()), digits(p.z()), digits(q.x()), digits(q.y()),
                         digits(q.z()), digits(q.w()));
    std::string lens;
    for (std::size_t i = 0; i < c.k.size(); ++i) {
      lens += fmt::format(", \"{}\": {}", kNames[i], digits(c.k[i]));
    }
    intrinsics +=
        comma + fmt::format(
                    "{{\"camera_type\": \"pinhole-radtan8\", \"intrinsics\": {{\"fx\": {}, "
                    "\"fy\": {}, \"cx\": {}, \"cy\": {}{}, \"rpmax\": 0}}}}",
                    digits(c.fx), digits(c.fy), digits(c.cx), digits(c.cy), lens);
    sizes += comma + fmt::format("[{}, {}]", c.width, c.height);
  }
  return fmt::format(
      "{{\"value0\": {{\"T_imu_cam\": [{}], \"intrinsics\": [{}], \"resolution\": [{}]}}}}\n",
      poses, intrinsics, sizes);
}

}  // namespace norv::testing
