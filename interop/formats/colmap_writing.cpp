#include <fmt/format.h>

#include <set>

#include "interop/formats/colmap.h"
#include "interop/formats/colmap_images.h"
#include "interop/formats/written_camera.h"
#include "interop/formats/written_pose.h"
#include "support/printable_text.h"

namespace norv::interop {
namespace {

using calibration::CameraModel;

/// What COLMAP takes for the end of a name, or for no part of one.
bool isBlank(char c) {
  constexpr char kSpace = ' ';
  constexpr char kDelete = 0x7F;
  return (c >= 0 && c <= kSpace) || c == kDelete;
}

/// A name without blanks that reads back as itself: what follows its last dot would be taken for an
/// extension, so it gets one.
std::string imageName(const WrittenCamera& camera, std::vector<std::string>* notes) {
  std::string image = camera.name;
  for (char& c : image) {
    if (isBlank(c)) c = '_';
  }
  if (image != camera.name) {
    notes->push_back(fmt::format("{} is called {} in images.txt, whose names have no blanks",
                                 callCamera(camera), toPrintable(image)));
  }
  if (withoutExtension(image) != image) {
    image += ".png";
    notes->push_back(
        fmt::format("the image of {} is called {}, since names in images.txt have extensions",
                    callCamera(camera), toPrintable(image)));
  }
  return image;
}

struct ModelChoice {
  const char* name;
  std::size_t coefficients;
};

ModelChoice modelOf(const CameraModel& model) {
  const int needed = coefficientsNeeded(model.lens);
  if (needed == 0) return {"PINHOLE", 0};
  if (needed == 4) return {"OPENCV", 4};
  return {"FULL_OPENCV", 8};
}

std::string cameraLine(std::size_t id, const CameraModel& model, double offset) {
  const ModelChoice choice = modelOf(model);
  std::string line =
      fmt::format("{} {} {} {} {} {} {} {}", id, choice.name, model.width, model.height, model.fx,
                  model.fy, model.cx - offset, model.cy - offset);
  const auto coefficients = model.lens.toCoefficients();
  for (std::size_t i = 0; i < choice.coefficients; ++i) {
    line += fmt::format(" {}", coefficients.at(i));
  }
  return line + "\n";
}

std::string imageLines(std::size_t id, const std::string& name, const RigidPose& pose) {
  const Eigen::Vector4d q = quaternionFromRotation(pose.rotation);
  const Eigen::Vector3d& t = pose.translation;
  return fmt::format("{} {} {} {} {} {} {} {} {} {}\n\n", id, q[0], q[1], q[2], q[3], t.x(), t.y(),
                     t.z(), id, name);
}

std::string camerasText(const std::vector<WrittenCamera>& cameras, const WriteOptions& options) {
  std::string text = fmt::format(
      "# Camera list with one line of data per camera:\n"
      "#   CAMERA_ID, MODEL, WIDTH, HEIGHT, PARAMS[]\n# Number of cameras: {}\n# {}\n",
      cameras.size(), describePixelOrigin(writtenOrigin(options), PeerFormat::kColmap, "COLMAP"));
  for (std::size_t i = 0; i < cameras.size(); ++i) {
    text += fmt::format("# Camera {} is {}\n", i + 1, toPrintable(cameras[i].name));
  }
  for (std::size_t i = 0; i < cameras.size(); ++i) {
    text += cameraLine(i + 1, cameras[i].model, cornerOffset(writtenOrigin(options)));
  }
  return text;
}

std::string imagesText(const std::vector<WrittenCamera>& cameras,
                       const std::vector<std::string>& names, const WriteOptions& options) {
  std::string lines;
  std::size_t count = 0;
  for (std::size_t i = 0; i < cameras.size(); ++i) {
    if (!cameras[i].camera_from_parent) continue;
    lines += imageLines(i + 1, names[i], *cameras[i].camera_from_parent);
    ++count;
  }
  return fmt::format(
             "# Image list with two lines of data per image:\n"
             "#   IMAGE_ID, QW, QX, QY, QZ, TX, TY, TZ, CAMERA_ID, NAME\n"
             "#   POINTS2D[] as (X, Y, POINT3D_ID)\n"
             "# Number of images: {}, mean observations per image: 0\n"
             "# The world is the frame {}, its unit the metre.\n",
             count, toPrintable(options.parent)) +
         lines;
}

constexpr const char* kPointsText =
    "# 3D point list with one line of data per point:\n"
    "#   POINT3D_ID, X, Y, Z, R, G, B, ERROR, TRACK[] as (IMAGE_ID, POINT2D_IDX)\n"
    "# Number of points: 0, mean track length: 0\n";

std::optional<std::string> findProblem(const WrittenCamera& camera, bool has_poses) {
  if (auto problem = findUnwritable(camera, "COLMAP")) return problem;
  if (auto problem = findUnwritablePose(camera)) return problem;
  if (camera.name.empty()) return callCamera(camera) + " cannot be an image of COLMAP's";
  if (camera.camera_from_parent.has_value() == has_poses) return std::nullopt;
  return fmt::format("{} has {} pose, and COLMAP's images are those of all cameras or of none",
                     callCamera(camera), has_poses ? "no" : "a");
}

}  // namespace

std::variant<PeerWriting, std::string> writeColmap(const std::vector<WrittenCamera>& cameras,
                                                   const WriteOptions& options) {
  const bool has_poses = !cameras.empty() && cameras.front().camera_from_parent;
  PeerWriting writing;
  std::vector<std::string> names;
  std::set<std::string> seen;
  for (const WrittenCamera& camera : cameras) {
    if (auto problem = findProblem(camera, has_poses)) return *problem;
    names.push_back(imageName(camera, &writing.notes));
    if (!seen.insert(names.back()).second) {
      return fmt::format("two cameras would be called {} in COLMAP's images.txt",
                         toPrintable(names.back()));
    }
    if (auto note = noteOnTurn(camera)) writing.notes.push_back(*note);
    if (!camera.camera_from_parent) {
      writing.notes.push_back(callCamera(camera) + " has no pose, and so no image in images.txt");
    }
  }
  writing.files.push_back({"cameras.txt", camerasText(cameras, options)});
  writing.files.push_back({"images.txt", imagesText(cameras, names, options)});
  writing.files.push_back({"points3D.txt", kPointsText});
  return writing;
}

}  // namespace norv::interop
