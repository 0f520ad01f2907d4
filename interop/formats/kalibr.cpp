#include "interop/formats/kalibr.h"

#include <fmt/format.h>

#include <cstddef>
#include <set>
#include <utility>

#include "interop/formats/camera_fields.h"
#include "interop/formats/kalibr_chain.h"
#include "interop/formats/kalibr_lens.h"
#include "interop/syntax/yaml.h"

namespace norv::interop {
namespace {

std::string keyOf(std::size_t camera) { return fmt::format("cam{}", camera); }

/// The cameras by their numbers. Kalibr counts the keys, and asks for as many cameras.
std::vector<Field> camerasOf(const Node& root) {
  Fields chain({&root, ""});
  std::vector<Field> cameras;
  std::set<std::string> known;
  for (std::size_t i = 0; i < chain.keys().size(); ++i) {
    const std::optional<Field> camera = chain.find(keyOf(i));
    if (!camera) break;
    cameras.push_back(*camera);
    known.insert(keyOf(i));
  }
  for (std::size_t i = 0; i < root.keys.size(); ++i) {
    if (known.count(root.keys[i]) > 0) continue;
    throw FormatError(root.key_places[i], root.keys[i],
                      "does not belong here: a camchain has cam0, cam1 and so on without a gap, "
                      "and nothing else");
  }
  if (cameras.empty()) chain.get(keyOf(0));
  return cameras;
}

/// "left" of /left/image_raw; "" where there is none.
std::string firstPart(const std::string& topic) {
  const std::size_t begin = topic.find_first_not_of('/');
  if (begin == std::string::npos) return "";
  return topic.substr(begin, topic.find('/', begin) - begin);
}

std::string whyNotTaken(const std::string& key) {
  if (key == "cam_overlaps") return "which cameras see the same is not stored";
  if (key == "timeshift_cam_imu" || key == "line_delay") return "times are not stored";
  return "not a key that is known of Kalibr";
}

/// All but the poses, which it returns.
KalibrPoses readCamera(const Field& map, calibration::PixelOrigin origin, PeerFile* file) {
  Fields fields(map);
  PeerCamera camera;
  readKalibrLens(&fields, origin, &camera);
  camera.size = sizeOf(fields.get("resolution"));
  if (const auto topic = fields.find("rostopic")) {
    camera.name = firstPart(wordOf(*topic));
    file->not_taken_over.push_back({topic->path,
                                    "topics are not stored, but for their first part "
                                    "as the camera's name"});
  }
  file->cameras.push_back(std::move(camera));
  const KalibrPoses poses = {fields.find("T_cam_imu"), fields.find("T_cn_cnm1")};
  fields.listRest(whyNotTaken, &file->not_taken_over);
  return poses;
}

/// Names that the topics do not give.
void completeNames(PeerFile* file) {
  std::set<std::string> names;
  for (std::size_t i = 0; i < file->cameras.size(); ++i) {
    std::string& name = file->cameras[i].name;
    if (name.empty()) name = keyOf(i);
    names.insert(name);
  }
  if (names.size() == file->cameras.size()) return;
  for (std::size_t i = 0; i < file->cameras.size(); ++i) file->cameras[i].name = keyOf(i);
  file->notes.emplace_back(
      "several topics begin with the same word, so the cameras are called cam0, cam1 and so on");
}

}  // namespace

PeerFile readKalibr(const SourceFile& file, const ReadOptions& options) {
  const Node root = parseYaml(file.contents);
  const calibration::PixelOrigin origin = usedOrigin(PeerFormat::kKalibr, options);
  PeerFile read;
  std::vector<KalibrPoses> poses;
  for (const Field& camera : camerasOf(root)) poses.push_back(readCamera(camera, origin, &read));
  completeNames(&read);
  setKalibrPoses(poses, &read);
  return read;
}

}  // namespace norv::interop
