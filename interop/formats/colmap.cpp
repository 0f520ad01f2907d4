#include "interop/formats/colmap.h"

#include <fmt/format.h>

#include <unordered_map>
#include <utility>

#include "interop/formats/camera_fields.h"
#include "interop/formats/colmap_cameras.h"
#include "interop/formats/colmap_images.h"
#include "interop/formats/colmap_words.h"

namespace norv::interop {
namespace {

/// The camera at the place of an image.
PeerCamera cameraOf(const PeerCamera& camera, const ColmapImage& image,
                    const std::optional<double>& metres_per_unit) {
  PeerCamera result = camera;
  result.name = image.name;
  if (!metres_per_unit) return result;
  result.camera_from_parent = image.camera_from_world;
  result.camera_from_parent->translation *= *metres_per_unit;
  if (!result.camera_from_parent->translation.allFinite()) {
    throw FormatError({image.camera_place.line, 0}, "TX TY TZ",
                      "exceeds the range of double in metres");
  }
  return result;
}

/// What is left of both files.
void listRest(const ColmapImages& images, const std::vector<ColmapCamera>& cameras,
              const std::vector<bool>& is_used, bool has_poses, PeerFile* file) {
  if (!has_poses) {
    file->not_taken_over.push_back(
        {"QW QX QY QZ TX TY TZ of images.txt",
         "the world's unit is arbitrary, and how many metres it has was not given: --scale"});
  }
  if (images.has_points) {
    file->not_taken_over.push_back(
        {"POINTS2D of images.txt", "points in pictures have no place here"});
  }
  for (std::size_t i = 0; i < cameras.size(); ++i) {
    if (is_used[i]) continue;
    file->not_taken_over.push_back(
        {fmt::format("CAMERA_ID {}", cameras[i].id), "no image is of this camera"});
  }
}

PeerFile join(const std::vector<ColmapCamera>& cameras, const ColmapImages& images,
              const ReadOptions& options) {
  std::unordered_map<std::uint32_t, std::size_t> index_of;
  for (std::size_t i = 0; i < cameras.size(); ++i) index_of.emplace(cameras[i].id, i);
  std::vector<bool> is_used(cameras.size());
  PeerFile file;
  for (const ColmapImage& image : images.images) {
    const auto found = index_of.find(image.camera_id);
    if (found == index_of.end()) {
      throw FormatError(image.camera_place, "CAMERA_ID",
                        fmt::format("is no camera of cameras.txt: {}", image.camera_id));
    }
    is_used[found->second] = true;
    file.cameras.push_back(cameraOf(cameras[found->second].camera, image, options.metres_per_unit));
  }
  if (options.metres_per_unit) file.parent = "world";
  listRest(images, cameras, is_used, options.metres_per_unit.has_value(), &file);
  return file;
}

PeerFile withoutImages(std::vector<ColmapCamera> cameras) {
  PeerFile file;
  for (ColmapCamera& camera : cameras) {
    camera.camera.name = fmt::format("camera{}", camera.id);
    file.cameras.push_back(std::move(camera.camera));
  }
  return file;
}

}  // namespace

PeerFile readColmapCameras(const SourceFile& file, const ReadOptions& options) {
  return withoutImages(colmapCameras(file.contents, usedOrigin(PeerFormat::kColmap, options)));
}

PeerReading readColmap(const SourceFile& cameras, const SourceFile& images,
                       const ReadOptions& options) {
  std::vector<ColmapCamera> read;
  try {
    read = colmapCameras(cameras.contents, usedOrigin(PeerFormat::kColmap, options));
  } catch (const FormatError& error) {
    return problemOf(error, cameras.name, cameras.contents);
  }
  try {
    const ColmapImages read_images = colmapImages(images.contents);
    if (read_images.images.empty()) return withoutImages(std::move(read));
    return join(read, read_images, options);
  } catch (const FormatError& error) {
    return problemOf(error, images.name, images.contents);
  }
}

bool isColmapImages(const std::string& contents) {
  std::optional<ColmapLine> line = ColmapLines(contents).takeFilled();
  if (!line) return contents.find("# Image list") != std::string::npos;
  line->take("IMAGE_ID");
  if (line->isAtEnd()) return false;
  const char first = line->take("QW").text.front();
  return (first >= '0' && first <= '9') || first == '-' || first == '+' || first == '.';
}

}  // namespace norv::interop
