#include "interop/formats/ros.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <iterator>

#include "interop/formats/ros_camera.h"
#include "interop/syntax/yaml.h"

namespace norv::interop {
namespace {

/// Reads the keys of a YAML file one by one.
class YamlReader {
 public:
  YamlReader(const Node& root, const ReadOptions& options)
      : fields_({&root, ""}), options_(options) {}

  PeerFile read() {
    RosNumbers numbers;
    numbers.size = {integerOf(fields_.get("image_width"), 1, kMaxSide),
                    integerOf(fields_.get("image_height"), 1, kMaxSide)};
    numbers.name = name();
    numbers.camera_matrix = matrix("camera_matrix", 3, 3);
    numbers.model = model();
    numbers.coefficients = coefficients();
    if (fields_.find("rectification_matrix")) {
      numbers.rectification = matrix("rectification_matrix", 3, 3);
    }
    if (fields_.find("projection_matrix")) numbers.projection = matrix("projection_matrix", 3, 4);
    checkBinning("binning_x");
    checkBinning("binning_y");
    if (const auto roi = fields_.find("roi")) checkRegion(*roi, numbers.size);
    PeerFile file = fileOfRosNumbers(numbers, usedOrigin(PeerFormat::kRos, options_));
    append(&file);
    return file;
  }

 private:
  std::string name() {
    const auto field = fields_.find("camera_name");
    return field && field->node->kind != Node::Kind::kNothing ? wordOf(*field) : "";
  }

  NumberList matrix(const std::string& key, int rows, int cols) {
    Fields matrix(fields_.get(key));
    NumberList list = matrixOf(&matrix, key, rows, cols);
    listRestOf(matrix);
    return list;
  }

  NumberList coefficients() {
    const std::string key = "distortion_coefficients";
    Fields vector(fields_.get(key));
    NumberList list = vectorOf(&vector, key);
    listRestOf(vector);
    return list;
  }

  void listRestOf(const Fields& matrix) {
    matrix.listRest([](const std::string&) { return "is no part of a matrix"; }, &not_taken_over_);
  }

  /// The lens model. ROS itself looks for distortion_model alone, and takes plumb_bob where that is
  /// missing.
  std::string model() {
    auto field = fields_.find("distortion_model");
    if (!field) {
      field = fields_.find("camera_model");
      if (!field) return wordOf(fields_.get("distortion_model"));
      notes_.emplace_back("camera_model: is read as distortion_model, the key that ROS knows");
    }
    const std::string& word = wordOf(*field);
    constexpr std::array<const char*, 2> kFisheye = {"equidistant", "fisheye"};
    if (word != kRosPlumbBob && word != kRosRational &&
        std::find(kFisheye.begin(), kFisheye.end(), word) == kFisheye.end()) {
      refuse(*field,
             "is no lens model that is read, which are plumb_bob, rational_polynomial, "
             "equidistant and fisheye: " +
                 word);
    }
    return word;
  }

  /// What makes the file's camera one of a smaller picture is refused, or mentioned where the user
  /// says that it is not so.
  void refuseReduced(const Field& field, const std::string& what) {
    if (!options_.full_frame) {
      refuse(field, what + "; --full-frame takes camera_matrix for that of the full frame");
    }
    notes_.push_back(field.path + ": " + what +
                     "; camera_matrix is taken for that of the full "
                     "frame");
  }

  void checkBinning(const std::string& key) {
    const auto field = fields_.find(key);
    if (!field) return;
    const int binning = integerOf(*field, 0, kMaxSide);
    if (binning > 1) refuseReduced(*field, fmt::format("{} pixels are one", binning));
  }

  void checkRegion(const Field& region, const calibration::PixelSize& size) {
    Fields roi(region);
    std::array<int, 4> numbers{};
    constexpr std::array<const char*, 4> kKeys = {"x_offset", "y_offset", "width", "height"};
    std::transform(kKeys.begin(), kKeys.end(), numbers.begin(), [&](const char* key) {
      const auto field = roi.find(key);
      return field ? integerOf(*field, 0, kMaxSide) : 0;
    });
    const bool is_whole = numbers == std::array<int, 4>{} ||
                          numbers == std::array<int, 4>{0, 0, size.width, size.height};
    if (!is_whole) refuseReduced(region, "is a part of the picture");
    skipUnrectified(region, &roi);
    roi.listRest([](const std::string&) { return "describes the rectified image"; },
                 &not_taken_over_);
  }

  /// do_rectify says nothing where it is false, as ROS 2 writes it into every file.
  static void skipUnrectified(const Field& region, Fields* roi) {
    constexpr const char* kKey = "do_rectify";
    const Node* const flag = findKey(*region.node, kKey);
    if (flag != nullptr && flag->kind == Node::Kind::kScalar && flag->text == "false") {
      roi->find(kKey);
    }
  }

  /// Adds what was found on the way, and the keys that were not asked for.
  void append(PeerFile* file) {
    fields_.listRest([](const std::string&) { return "is no part of ROS' calibrations"; },
                     &not_taken_over_);
    std::move(not_taken_over_.begin(), not_taken_over_.end(),
              std::back_inserter(file->not_taken_over));
    std::move(notes_.begin(), notes_.end(), std::back_inserter(file->notes));
  }

  Fields fields_;
  const ReadOptions& options_;
  std::vector<NotTakenOver> not_taken_over_;
  std::vector<std::string> notes_;
};

}  // namespace

PeerFile readRos(const SourceFile& file, const ReadOptions& options) {
  if (isRosIni(file.contents)) {
    return readRosIni(file.contents, usedOrigin(PeerFormat::kRos, options));
  }
  const Node root = parseYaml(file.contents);
  return YamlReader(root, options).read();
}

}  // namespace norv::interop
