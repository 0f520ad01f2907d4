#include "interop/formats/opencv.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <optional>
#include <utility>

#include "interop/formats/matrix_fields.h"
#include "interop/formats/opencv_keys.h"
#include "interop/syntax/json_comments.h"
#include "interop/syntax/xml.h"
#include "interop/syntax/yaml.h"

namespace norv::interop {
namespace {

/// k1 k2 p1 p2 k3 k4 k5 k6 s1 s2 s3 s4 tau_x tau_y, or fewer.
PeerLens lensOfCoefficients(const NumberList& list) {
  const std::vector<double>& k = list.numbers;
  constexpr std::array<std::size_t, 5> kCounts = {4, 5, 8, 12, 14};
  if (std::find(kCounts.begin(), kCounts.end(), k.size()) == kCounts.end()) {
    refuse(list.list,
           fmt::format("has {} coefficients, where OpenCV has 4, 5, 8, 12 or 14", k.size()));
  }
  const auto at = [&](std::size_t i) { return i < k.size() ? k[i] : 0; };
  const ExtendedLens lens = {lensOf(k), at(8), at(9), at(10), at(11), at(12), at(13)};
  if (isRational(lens)) return lens.rational;
  return lens;
}

PeerLens fisheyeLens(const NumberList& list) {
  RadialMap map;
  map.kind = RadialKind::kKannalaBrandt;
  if (list.numbers.size() != map.parameters.size()) {
    refuse(list.list,
           fmt::format("has {} coefficients, where a fisheye lens has 4", list.numbers.size()));
  }
  std::copy(list.numbers.begin(), list.numbers.end(), map.parameters.begin());
  return map;
}

/// Reads the keys of a file one by one, of whatever syntax.
class Reader {
 public:
  Reader(const Field& root, const ReadOptions& options) : fields_(root), options_(options) {}

  PeerFile read() {
    const std::vector<OpenCvCameraKeys> cameras = findOpenCvCameras(&fields_, options_.node);
    const calibration::PixelSize size = pictureSize();
    const auto fisheye = fields_.find("fisheye_model");
    const bool is_fisheye = fisheye && integerOf(*fisheye, 0, 1) == 1;
    for (const OpenCvCameraKeys& keys : cameras) {
      PeerCamera camera;
      camera.name = keys.name;
      camera.size = size;
      const NumberList matrix = matrixNumbers(keys.matrix);
      setCameraMatrix(matrix, usedOrigin(PeerFormat::kOpenCv, options_), &camera);
      if (camera.skew != 0) file_.notes.push_back(noteOfSkew(matrix, "OpenCV"));
      const NumberList lens = lensNumbers(keys.lens);
      camera.lens = is_fisheye ? fisheyeLens(lens) : lensOfCoefficients(lens);
      if (!fisheye && lens.numbers.size() == 4) noteFourCoefficients(lens);
      file_.cameras.push_back(std::move(camera));
    }
    fields_.listRest(reasonOfOpenCvKey, &file_.not_taken_over);
    return std::move(file_);
  }

 private:
  /// Python programs store the four of cv2.fisheye without a word of what they are.
  void noteFourCoefficients(const NumberList& lens) {
    file_.notes.push_back(
        fmt::format("{}: four coefficients are taken for k1, k2, p1 and p2; they are those of a "
                    "fisheye lens where the file says fisheye_model: 1",
                    lens.key));
  }

  calibration::PixelSize pictureSize() {
    const std::optional<calibration::PixelSize> written = writtenSize();
    const std::optional<calibration::PixelSize>& told = options_.size;
    if (!written && !told) {
      throw FormatError({}, "image_width",
                        "is missing, as image_height and image_size are; --size WxH tells them");
    }
    if (written && told && !(*written == *told)) {
      file_.notes.push_back(fmt::format("the size is the file's, {}x{}, and not {}x{} of --size",
                                        written->width, written->height, told->width,
                                        told->height));
    }
    return written ? *written : *told;
  }

  std::optional<calibration::PixelSize> writtenSize() {
    const auto list = fields_.find("image_size");
    const auto width = fields_.find("image_width");
    const auto height = fields_.find("image_height");
    if (width || height) {
      const calibration::PixelSize size = {integerOf(fields_.get("image_width"), 1, kMaxSide),
                                           integerOf(fields_.get("image_height"), 1, kMaxSide)};
      if (list && !(sizeOfList(*list) == size)) {
        refuse(*list, "is not image_width and image_height");
      }
      return size;
    }
    if (list) return sizeOfList(*list);
    return std::nullopt;
  }

  /// A list, or the matrix that Python's bindings write for a pair.
  static calibration::PixelSize sizeOfList(const Field& field) {
    const bool is_matrix = field.node->kind == Node::Kind::kMap;
    const std::vector<Field> sides = itemsOf(is_matrix ? Fields(field).get("data") : field);
    if (sides.size() != 2) {
      refuse(field, fmt::format("has {} numbers where 2 are needed", sides.size()));
    }
    return {integerOf(sides[0], 1, kMaxSide), integerOf(sides[1], 1, kMaxSide)};
  }

  /// The elements of a matrix, its type being one of real numbers. Single precision is read as it
  /// is written, which is nearer to what was calibrated than its rounding.
  static Fields openMatrix(const Field& field) {
    Fields matrix(field);
    if (const auto type = matrix.find("type_id"); type && wordOf(*type) != "opencv-matrix") {
      refuse(*type, "is " + wordOf(*type) + ", where opencv-matrix is needed");
    }
    const Field number = matrix.get("dt");
    if (wordOf(number) != "d" && wordOf(number) != "f") {
      refuse(number, "is " + wordOf(number) + ", where d or f is needed");
    }
    return matrix;
  }

  NumberList matrixNumbers(const Field& field) {
    Fields matrix = openMatrix(field);
    NumberList list = matrixOf(&matrix, field.path, 3, 3);
    listRestOf(matrix);
    return list;
  }

  NumberList lensNumbers(const Field& field) {
    Fields vector = openMatrix(field);
    NumberList list = vectorOf(&vector, field.path);
    listRestOf(vector);
    return list;
  }

  void listRestOf(const Fields& matrix) {
    matrix.listRest([](const std::string&) { return "is no part of a matrix"; },
                    &file_.not_taken_over);
  }

  Fields fields_;
  const ReadOptions& options_;
  PeerFile file_;
};

/// The first character that is no blank, by which the syntaxes differ; '\0' where there is none.
char firstCharacter(const std::string& text) {
  constexpr const char* kByteOrderMark = "\xEF\xBB\xBF";
  const std::size_t begin = text.compare(0, 3, kByteOrderMark) == 0 ? 3 : 0;
  const std::size_t first = text.find_first_not_of(" \t\r\n", begin);
  return first == std::string::npos ? '\0' : text[first];
}

}  // namespace

PeerFile readOpenCv(const SourceFile& file, const ReadOptions& options) {
  const char first = firstCharacter(file.contents);
  if (first == '<') {
    const Node document = parseXml(file.contents);
    const Field root = Fields({&document, ""}).get("opencv_storage");
    return Reader({root.node, ""}, options).read();
  }
  const Node root = parseYaml(first == '{' ? withoutJsonComments(file.contents) : file.contents);
  return Reader({&root, ""}, options).read();
}

}  // namespace norv::interop
