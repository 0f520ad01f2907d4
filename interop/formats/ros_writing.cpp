#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <cstddef>

#include "interop/formats/ros.h"
#include "interop/formats/ros_camera.h"
#include "interop/formats/written_camera.h"

namespace norv::interop {
namespace {

using calibration::CameraModel;

/// k1 k2 p1 p2 k3 of the shorter lens.
constexpr std::size_t kPlumbBob = 5;

bool isPlumbBob(const CameraModel& model, const WriteOptions& options) {
  return !options.all_coefficients && coefficientsNeeded(model.lens) <= static_cast<int>(kPlumbBob);
}

/// The matrices of a file, row by row. The picture is rectified to itself.
struct Numbers {
  std::vector<double> camera;
  std::vector<double> lens;
  std::vector<double> rectification;
  std::vector<double> projection;
};

Numbers numbersOf(const CameraModel& model, const WriteOptions& options) {
  const double offset = cornerOffset(writtenOrigin(options));
  const double cx = model.cx - offset;
  const double cy = model.cy - offset;
  const auto k = model.lens.toCoefficients();
  Numbers numbers;
  numbers.camera = {model.fx, 0, cx, 0, model.fy, cy, 0, 0, 1};
  numbers.lens.assign(k.begin(), k.end());
  if (isPlumbBob(model, options)) numbers.lens.resize(kPlumbBob);
  numbers.rectification = {1, 0, 0, 0, 1, 0, 0, 0, 1};
  numbers.projection = {model.fx, 0, cx, 0, 0, model.fy, cy, 0, 0, 0, 1, 0};
  return numbers;
}

/// The name as the manager of ROS' calibrations accepts it, with a note if it is another one.
std::string rosName(const WrittenCamera& camera, std::vector<std::string>* notes) {
  std::string name = underscored(camera.name);
  if (name.empty()) name = "camera";
  if (name != camera.name) {
    notes->push_back(fmt::format(
        "{} is called {}, since names of ROS have letters, digits and underscores alone",
        callCamera(camera), name));
  }
  return name;
}

std::string yamlMatrix(const std::string& key, std::size_t rows,
                       const std::vector<double>& numbers) {
  return fmt::format("{}:\n  rows: {}\n  cols: {}\n  data: [{}]\n", key, rows,
                     numbers.size() / rows, fmt::join(numbers, ", "));
}

/// The name stands in quotes, so that none is taken for a number.
std::string yamlText(const std::string& name, const CameraModel& model,
                     const WriteOptions& options) {
  const Numbers numbers = numbersOf(model, options);
  return fmt::format("# {}\nimage_width: {}\nimage_height: {}\ncamera_name: \"{}\"\n",
                     describePixelOrigin(writtenOrigin(options), PeerFormat::kRos, "ROS"),
                     model.width, model.height, name) +
         yamlMatrix("camera_matrix", 3, numbers.camera) +
         fmt::format("distortion_model: {}\n",
                     isPlumbBob(model, options) ? kRosPlumbBob : kRosRational) +
         yamlMatrix("distortion_coefficients", 1, numbers.lens) +
         yamlMatrix("rectification_matrix", 3, numbers.rectification) +
         yamlMatrix("projection_matrix", 3, numbers.projection);
}

/// Rows of five decimals, each with a blank at its end.
std::string iniMatrix(const std::string& key, std::size_t rows,
                      const std::vector<double>& numbers) {
  std::string text = "\n" + key + "\n";
  const std::size_t cols = numbers.size() / rows;
  for (std::size_t i = 0; i < numbers.size(); ++i) {
    text += fmt::format("{:.5f} ", numbers[i]);
    if ((i + 1) % cols == 0) text += "\n";
  }
  return text;
}

std::string iniText(const std::string& name, const CameraModel& model,
                    const WriteOptions& options) {
  const Numbers numbers = numbersOf(model, options);
  return fmt::format("# Camera intrinsics\n# {}\n\n[image]\n\nwidth\n{}\n\nheight\n{}\n\n[{}]\n",
                     describePixelOrigin(writtenOrigin(options), PeerFormat::kRos, "ROS"),
                     model.width, model.height, name) +
         iniMatrix("camera matrix", 3, numbers.camera) + iniMatrix("distortion", 1, numbers.lens) +
         iniMatrix("rectification", 3, numbers.rectification) +
         iniMatrix("projection", 3, numbers.projection);
}

/// As a sentence, why INI cannot hold the camera under that name.
std::optional<std::string> findUnwritableInIni(const WrittenCamera& camera, const std::string& name,
                                               const WriteOptions& options) {
  if (!isPlumbBob(camera.model, options)) {
    return callCamera(camera) +
           " has a lens of 8 coefficients, and ROS' INI files have 5: --distortion-model "
           "plumb_bob fits these";
  }
  constexpr std::array<const char*, 2> kSections = {"image", "externals"};
  if (std::find(kSections.begin(), kSections.end(), name) == kSections.end()) return std::nullopt;
  return callCamera(camera) + " has the name of another section of ROS' INI files";
}

}  // namespace

std::variant<PeerWriting, std::string> writeRos(const std::vector<WrittenCamera>& cameras,
                                                const WriteOptions& options) {
  if (cameras.size() != 1) {
    return fmt::format("ROS' files hold one camera each, and there are {}: choose with --camera",
                       cameras.size());
  }
  if (options.syntax != Syntax::kUsual && options.syntax != Syntax::kIni) {
    return "ROS' files are YAML or INI";
  }
  const WrittenCamera& camera = cameras.front();
  if (auto problem = findUnwritable(camera, "ROS")) return *problem;
  PeerWriting writing;
  const std::string name = rosName(camera, &writing.notes);
  const bool is_ini = options.syntax == Syntax::kIni;
  if (is_ini) {
    if (auto problem = findUnwritableInIni(camera, name, options)) return *problem;
  }
  writing.files.push_back(
      {"", is_ini ? iniText(name, camera.model, options) : yamlText(name, camera.model, options)});
  if (camera.camera_from_parent) {
    writing.notes.push_back("ROS' files have no place for the pose of " + callCamera(camera));
  }
  return writing;
}

}  // namespace norv::interop
