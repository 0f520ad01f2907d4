/// The entries of a robot calibration: their names and models.

#include <algorithm>
#include <cctype>
#include <cstring>

#include "calibration_common/review/check.h"
#include "calibration_common/review/delivered_images.h"
#include "calibration_common/review/subjects.h"

namespace norv::internal::review {
namespace {

void checkEmpty(const calibration::RobotCalibration& robot, Report* report) {
  if (robot.camera_calibration_size() > 0) return;
  report->add({Severity::kWarning, "", 0.0, 1.0}, [] {
    return "there is no camera, where at least 1 is expected: loading this changes nothing";
  });
}

void checkNameRepeated(const CameraSubject& camera, Report* report) {
  if (camera.same_name < 0) return;
  report->add({Severity::kError, camera.path + ".name"}, [&] {
    return "the name is that of camera_calibration[" + std::to_string(camera.same_name) +
           "], which is lost: the later entry wins";
  });
}

void checkNameMissing(const CameraSubject& camera, Report* report) {
  if (!camera.message.name().empty()) return;
  report->add({Severity::kWarning, camera.path + ".name"},
              [] { return "the camera has no name to look it up by"; });
}

/// The id in lower case, without what people put between its parts.
std::string simplified(const std::string& id) {
  std::string simple;
  for (const char c : id) {
    if (std::strchr(" \t-_", c) != nullptr && c != 0) continue;
    simple += static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
  }
  return simple;
}

void checkModelCase(const CameraSubject& camera, Report* report) {
  const std::string& model = camera.message.model();
  const std::string meant = simplified(model);
  if (findModel(model) != CameraModel::kOther || findModel(meant) == CameraModel::kOther) return;
  report->add({Severity::kWarning, camera.path + ".model"}, [&] {
    return "the model differs from \"" + meant +
           "\" by case, blanks, - or _ alone: it is not known, and the camera delivers its full "
           "frame only";
  });
}

/// A side of the full frame and what the model's crops need of it.
struct FrameSide {
  const char* name;
  int found;
  int needed;
  bool fixed;  ///< whether the full frame has exactly this side
};

void checkFrameSide(const FrameSide& side, const std::string& field, Report* report) {
  const bool small = side.found < side.needed;
  if (side.found < 1 || !(small || (side.fixed && side.found != side.needed))) return;
  report->add({small ? Severity::kError : Severity::kWarning, field, side.found, side.needed}, [&] {
    return std::string(side.name) + " is " + std::to_string(side.found) +
           (small ? ", less than the " : ", not the ") + std::to_string(side.needed) +
           " that the model cuts its images out of";
  });
}

void checkCrop(const CameraSubject& camera, Report* report) {
  const CameraModel model = findModel(camera.message.model());
  if (model == CameraModel::kOther) return;
  // The wide cameras' frame is cut into nothing smaller, so that a larger one is another sensor's.
  const bool fixed = model != CameraModel::kB910;
  const calibration::CameraIntrinsics& in = camera.message.intrinsics();
  const ImageSize needed = frameOfCrops(cropsOf(model));
  checkFrameSide({"width", in.width(), needed.width, fixed}, camera.path + ".intrinsics.width",
                 report);
  checkFrameSide({"height", in.height(), needed.height, fixed}, camera.path + ".intrinsics.height",
                 report);
}

}  // namespace

const CheckTable& cameraChecks() {
  static const CheckTable table = {
      {"empty",
       {Severity::kWarning},
       "no camera",
       "an empty message loads and changes nothing",
       {&checkEmpty}},
      {"name-duplicate",
       {Severity::kError},
       "a name that an entry before has",
       "the later one wins, the first is lost",
       {&checkNameRepeated}},
      {"name-missing",
       {Severity::kWarning},
       "an empty name",
       "cameras are looked up by name",
       {&checkNameMissing}},
      {"model-case",
       {Severity::kWarning},
       "an id that equals a known one but for case, blanks, - and _",
       "such a camera delivers its full frame only",
       {&checkModelCase}},
      {"crop",
       {Severity::kError, Severity::kWarning},
       "a full frame smaller than the model's crops, 1280x960 for mk512h and mk513n, 2408x1808 for "
       "b910 (error); larger than 1280x960 for the first two (warning)",
       "loading does not check it, and the images would reach beyond the sensor",
       {&checkCrop}},
  };
  return table;
}

}  // namespace norv::internal::review
