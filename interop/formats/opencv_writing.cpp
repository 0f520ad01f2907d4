#include <fmt/format.h>

#include "interop/formats/opencv.h"
#include "interop/formats/written_camera.h"

namespace norv::interop {
namespace {

using calibration::CameraModel;

/// The number with the fewest digits that read back as the same double, and a point or an exponent:
/// without these OpenCV reads an int, which has no -0 and ends at 2^31.
std::string realText(double number) {
  const std::string text = fmt::format("{}", number);
  return text.find_first_of(".e") == std::string::npos ? text + ".0" : text;
}

std::string join(const std::vector<double>& numbers, const char* separator) {
  std::string text;
  for (const double number : numbers) text += (text.empty() ? "" : separator) + realText(number);
  return text;
}

/// A matrix of the file, row by row.
struct Matrix {
  const char* key;
  std::size_t rows;
  std::vector<double> numbers;

  std::size_t cols() const { return numbers.size() / rows; }
};

/// What a file says, in its order.
struct Contents {
  std::string comment;
  CameraModel model;
  Matrix camera;
  Matrix lens;
};

Contents contentsOf(const CameraModel& model, calibration::PixelOrigin origin) {
  const double offset = cornerOffset(origin);
  const auto k = model.lens.toCoefficients();
  return {describePixelOrigin(origin, PeerFormat::kOpenCv, "OpenCV"),
          model,
          {"camera_matrix",
           3,
           {model.fx, 0, model.cx - offset, 0, model.fy, model.cy - offset, 0, 0, 1}},
          {"distortion_coefficients", k.size(), {k.begin(), k.end()}}};
}

std::string yamlMatrix(const Matrix& matrix) {
  return fmt::format("{}: !!opencv-matrix\n   rows: {}\n   cols: {}\n   dt: d\n   data: [ {} ]\n",
                     matrix.key, matrix.rows, matrix.cols(), join(matrix.numbers, ", "));
}

std::string yamlText(const Contents& contents) {
  return fmt::format("%YAML:1.0\n---\n# {}\nimage_width: {}\nimage_height: {}\n", contents.comment,
                     contents.model.width, contents.model.height) +
         yamlMatrix(contents.camera) + yamlMatrix(contents.lens);
}

std::string xmlMatrix(const Matrix& matrix) {
  return fmt::format(
      "<{0} type_id=\"opencv-matrix\">\n  <rows>{1}</rows>\n  <cols>{2}</cols>\n  <dt>d</dt>\n"
      "  <data>\n    {3}</data></{0}>\n",
      matrix.key, matrix.rows, matrix.cols(), join(matrix.numbers, " "));
}

std::string xmlText(const Contents& contents) {
  return fmt::format(
             "<?xml version=\"1.0\"?>\n<opencv_storage>\n<!-- {} -->\n"
             "<image_width>{}</image_width>\n<image_height>{}</image_height>\n",
             contents.comment, contents.model.width, contents.model.height) +
         xmlMatrix(contents.camera) + xmlMatrix(contents.lens) + "</opencv_storage>\n";
}

std::string jsonMatrix(const Matrix& matrix) {
  return fmt::format(
      "    \"{}\": {{\n        \"type_id\": \"opencv-matrix\",\n        \"rows\": {},\n"
      "        \"cols\": {},\n        \"dt\": \"d\",\n        \"data\": [ {} ]\n    }}",
      matrix.key, matrix.rows, matrix.cols(), join(matrix.numbers, ", "));
}

std::string jsonText(const Contents& contents) {
  return fmt::format("{{\n    \"image_width\": {},\n    \"image_height\": {},\n",
                     contents.model.width, contents.model.height) +
         jsonMatrix(contents.camera) + ",\n" + jsonMatrix(contents.lens) + "\n}\n";
}

std::string textOf(const Contents& contents, Syntax syntax) {
  if (syntax == Syntax::kXml) return xmlText(contents);
  if (syntax == Syntax::kJson) return jsonText(contents);
  return yamlText(contents);
}

}  // namespace

std::variant<PeerWriting, std::string> writeOpenCv(const std::vector<WrittenCamera>& cameras,
                                                   const WriteOptions& options) {
  if (cameras.size() != 1) {
    return fmt::format(
        "OpenCV's files hold one camera each, and there are {}: choose with --camera",
        cameras.size());
  }
  if (options.syntax == Syntax::kIni) return "OpenCV's files are YAML, XML or JSON";
  const WrittenCamera& camera = cameras.front();
  if (auto problem = findUnwritable(camera, "OpenCV")) return *problem;
  PeerWriting writing;
  writing.files.push_back(
      {"", textOf(contentsOf(camera.model, writtenOrigin(options)), options.syntax)});
  const std::string what = camera.camera_from_parent ? "the name and the pose" : "the name";
  writing.notes.push_back(
      fmt::format("OpenCV's files have no place for {} of {}", what, callCamera(camera)));
  return writing;
}

}  // namespace norv::interop
