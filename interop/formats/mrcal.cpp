#include "interop/formats/mrcal.h"

#include <array>
#include <string_view>

#include "interop/formats/camera_fields.h"
#include "interop/syntax/fields.h"
#include "interop/syntax/literal.h"

namespace norv::interop {
namespace {

struct LensRow {
  std::string_view name;
  std::size_t coefficients;  ///< beyond fx, fy, cx, cy
};

constexpr std::string_view kStereographic = "LENSMODEL_STEREOGRAPHIC";
constexpr std::string_view kTwelve = "LENSMODEL_OPENCV12";

constexpr std::array<LensRow, 6> kLenses = {{{"LENSMODEL_PINHOLE", 0},
                                             {"LENSMODEL_OPENCV4", 4},
                                             {"LENSMODEL_OPENCV5", 5},
                                             {"LENSMODEL_OPENCV8", 8},
                                             {kTwelve, 12},
                                             {kStereographic, 0}}};

/// Lenses that mrcal has and nothing else here can hold. Some have their configuration behind the
/// name.
constexpr std::array<std::string_view, 5> kRefusedLenses = {"LENSMODEL_SPLINED_STEREOGRAPHIC",
                                                            "LENSMODEL_CAHVORE", "LENSMODEL_CAHVOR",
                                                            "LENSMODEL_LATLON", "LENSMODEL_LONLAT"};

/// The lens' name, which mrcal called differently before 2.0.
Field lensField(Fields* fields) {
  for (const char* const key : {"lensmodel", "lens_model", "distortion_model"}) {
    if (const std::optional<Field> field = fields->find(key)) return *field;
  }
  return fields->get("lensmodel");
}

LensRow lensRowOf(const Field& field) {
  constexpr std::string_view kOldPrefix = "DISTORTION_";
  std::string name = wordOf(field);
  if (name.compare(0, kOldPrefix.size(), kOldPrefix) == 0) {
    name.replace(0, kOldPrefix.size(), "LENSMODEL_");
  }
  for (const LensRow& row : kLenses) {
    if (row.name == name) return row;
  }
  for (const std::string_view refused : kRefusedLenses) {
    if (name.compare(0, refused.size(), refused) == 0) {
      refuse(field, "is a lens that is not read: " + wordOf(field));
    }
  }
  refuse(field, "is no lens of mrcal's: " + wordOf(field));
}

PeerLens peerLensOf(const LensRow& row, const std::vector<double>& intrinsics) {
  const std::vector<double> coefficients(intrinsics.begin() + 4, intrinsics.end());
  if (row.name == kStereographic) return RadialMap{RadialKind::kStereographic, {}, {}};
  if (row.name != kTwelve) return lensOf(coefficients);
  ExtendedLens lens;
  lens.rational = lensOf(coefficients);
  lens.s1 = coefficients[8];
  lens.s2 = coefficients[9];
  lens.s3 = coefficients[10];
  lens.s4 = coefficients[11];
  const bool is_plain = lens.s1 == 0 && lens.s2 == 0 && lens.s3 == 0 && lens.s4 == 0;
  return is_plain ? PeerLens(lens.rational) : PeerLens(lens);
}

/// mrcal 2.5 renamed the key, and writes both for programs that know the old one alone.
std::optional<RigidPose> poseOf(Fields* fields) {
  const std::optional<Field> old_key = fields->find("extrinsics");
  const std::optional<Field> new_key = fields->find("rt_cam_ref");
  if (!old_key && !new_key) return std::nullopt;
  const Field field = old_key ? *old_key : *new_key;
  const std::vector<double> numbers = numbersOf(field, 6);
  if (old_key && new_key && numbersOf(*new_key, 6) != numbers) {
    refuse(*new_key, "is not the same as extrinsics");
  }
  const RigidPose pose = {rotationFromVector({numbers[0], numbers[1], numbers[2]}),
                          {numbers[3], numbers[4], numbers[5]}};
  if (!pose.rotation.allFinite()) refuse(field, "is a rotation beyond the range of double");
  return pose;
}

std::string reasonFor(const std::string& key) {
  if (key == "valid_intrinsics_region") {
    return "the part of the picture that was calibrated well has no place here";
  }
  if (key == "optimization_inputs") return "what the camera was computed from has no place here";
  if (key == "icam_intrinsics" || key == "icam_intrinsics_optimization_inputs") {
    return "it belongs to optimization_inputs";
  }
  if (key == "lens_model" || key == "distortion_model") return "lensmodel is there too";
  return "not a key of mrcal's";
}

}  // namespace

PeerFile readMrcal(const SourceFile& file, const ReadOptions& options) {
  const Node root = parseLiteral(file.contents);
  Fields fields({&root, ""});
  const LensRow row = lensRowOf(lensField(&fields));
  const Field list = fields.get("intrinsics");
  const std::vector<double> intrinsics = numbersOf(list, 4 + row.coefficients);
  PeerCamera camera;
  camera.size = sizeOf(fields.get("imagersize"));
  camera.fx = focalLengthOf(list, intrinsics, 0);
  camera.fy = focalLengthOf(list, intrinsics, 1);
  setPrincipalPoint(intrinsics[2], intrinsics[3], usedOrigin(PeerFormat::kMrcal, options), &camera);
  camera.lens = peerLensOf(row, intrinsics);
  camera.camera_from_parent = poseOf(&fields);
  PeerFile result;
  if (camera.camera_from_parent) result.parent = "reference";
  result.cameras.push_back(std::move(camera));
  fields.listRest(reasonFor, &result.not_taken_over);
  return result;
}

}  // namespace norv::interop
