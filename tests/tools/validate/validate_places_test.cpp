// Where `validate` says that its findings stand: each check on one edit of a calibration in which
// nothing is found, written with lists, without, mixed, and in binary.

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <memory>
#include <nlohmann/json.hpp>
#include <ostream>
#include <random>
#include <string>
#include <tuple>
#include <vector>

#include "calibration_common/base_calibration_data.h"
#include "calibration_common/calibration_review.h"
#include "proto/norv_ptz_camera.pb.h"
#include "testing/placed_text.h"
#include "testing/review_findings.h"
#include "testing/temporary_folder.h"
#include "testing/tree_calibrations.h"
#include "tools/validate/validate_command.h"

namespace norv::tools {
namespace {

using calibration::BaseCalibrationProto;
using calibration::CameraCalibration;
using calibration::CameraExtrinsics;
using calibration::CameraIntrinsics;
using calibration::PTZCameraParameters;
using calibration::PTZIntrinsicsItem;
using calibration::PTZIntrinsicsTable;
using calibration::RobotCalibration;
using calibration::SamplePoint;
using google::protobuf::Message;
using nlohmann::json;
using testing::ListStyle;
using testing::PlacedText;
using testing::plainRobot;

/// A calibration with one mistake, and the fields at which `check` reports it.
struct Mistake {
  std::string check;
  std::vector<std::string> fields;
  std::shared_ptr<const Message> message;
};

void PrintTo(const Mistake& mistake, std::ostream* out) { *out << mistake.check; }

/// A finding, as far as it tells where it is: check, field, line, column.
using Where = std::tuple<std::string, std::string, int, int>;

/// What `validate` finds in a file with these contents. The end of a zoom lens is noted always.
std::vector<Where> validate(const std::string& contents) {
  const testing::TemporaryFolder folder;
  ValidateOptions options;
  options.paths = {folder.write("calibration", contents)};
  options.json = true;
  const ToolAnswer answer = runValidateCommand(options);
  std::vector<Where> found;
  const json document = json::parse(answer.output);
  for (const json& finding : document["findings"]) {
    if (finding["check"] == "zoom-end") continue;
    const auto text = [&](const char* key) {
      return finding[key].is_null() ? "" : finding[key].get<std::string>();
    };
    const auto number = [&](const char* key) {
      return finding[key].is_null() ? 0 : finding[key].get<int>();
    };
    found.emplace_back(text("check"), text("field"), number("line"), number("column"));
  }
  return found;
}

template <class Calibration, class Edit>
Mistake mistake(Calibration calibration, const std::string& check, std::vector<std::string> fields,
                const Edit& edit) {
  edit(&calibration);
  return {check, std::move(fields), std::make_shared<Calibration>(std::move(calibration))};
}

/// A mistake in the compiled-in navigation camera.
template <class Edit>
Mistake inCamera(const std::string& check, const std::string& field, const Edit& edit) {
  return mistake(testing::defaultRobot(), check, {"camera_calibration[1]." + field},
                 [&](auto* robot) { edit(robot->mutable_camera_calibration(1)); });
}

template <class Edit>
Mistake inLens(const std::string& check, const std::string& field, const Edit& edit) {
  return inCamera(check, "intrinsics." + field,
                  [&](auto* camera) { edit(camera->mutable_intrinsics()); });
}

template <class Edit>
Mistake inPose(const std::string& check, const std::string& field, const Edit& edit) {
  return inCamera(check, "extrinsics." + field,
                  [&](auto* camera) { edit(camera->mutable_extrinsics()); });
}

/// A mistake in a camera without distortion.
template <class Edit>
Mistake inPlainLens(const std::string& check, const std::vector<std::string>& fields, double focal,
                    const Edit& edit) {
  std::vector<std::string> paths;
  for (const std::string& field : fields)
    paths.push_back("camera_calibration[0].intrinsics." + field);
  return mistake(plainRobot(1280, 960, focal), check, paths, [&](auto* robot) {
    edit(robot->mutable_camera_calibration(0)->mutable_intrinsics());
  });
}

/// A mistake in the sample points of the compiled-in head camera.
template <class Edit>
Mistake inSamples(const std::string& check, const std::string& field, const Edit& edit) {
  return mistake(
      testing::defaultRobot(), check, {"camera_calibration[0].intrinsics." + field},
      [&](auto* robot) { edit(robot->mutable_camera_calibration(0)->mutable_intrinsics()); });
}

/// Keeps the samples of the grid points for which `keep` holds, and states their number.
template <class Keep>
void keepSamples(CameraIntrinsics* in, const Keep& keep) {
  CameraIntrinsics some;
  for (const SamplePoint& sample : in->samples()) {
    if (keep(static_cast<int>(sample.model_x()), static_cast<int>(sample.model_y()))) {
      *some.add_samples() = sample;
    }
  }
  in->set_sample_size_x(some.samples_size());
  in->set_sample_size_y(1);
  in->mutable_samples()->Swap(some.mutable_samples());
}

/// Moves every observed point by up to a pixel and a half, within the frame.
void addNoise(CameraIntrinsics* in) {
  std::mt19937 random(5);  // NOLINT(bugprone-random-generator-seed)
  std::uniform_real_distribution<float> noise(-1.5F, 1.5F);
  for (SamplePoint& sample : *in->mutable_samples()) {
    sample.set_image_x(std::clamp(sample.image_x() + noise(random), 0.0F, 1280.0F));
    sample.set_image_y(std::clamp(sample.image_y() + noise(random), 0.0F, 960.0F));
  }
}

PTZCameraParameters examplePtz() {
  return testing::treeCalibration<PTZCameraParameters>("example_ptz_cal.txt");
}

/// A mistake in the example's zoom lens.
template <class Edit>
Mistake inZoom(const std::string& check, const std::string& field, const Edit& edit) {
  return mistake(examplePtz(), check, {"intrinsics" + field},
                 [&](auto* ptz) { edit(ptz->mutable_intrinsics()); });
}

template <class Edit>
Mistake inSample(const std::string& check, const std::string& field, int index, const Edit& edit) {
  return inZoom(check, ".samples[" + std::to_string(index) + "]" + field,
                [&](PTZIntrinsicsTable* table) { edit(table->mutable_samples(index)); });
}

/// A mistake in the example's head.
template <class Edit>
Mistake inHead(const std::string& check, const std::string& field, const Edit& edit) {
  return mistake(examplePtz(), check, {"pan_tilt" + field},
                 [&](auto* ptz) { edit(ptz->mutable_pan_tilt()); });
}

template <class Edit>
Mistake inBase(const std::string& check, const std::string& field, const Edit& edit) {
  return mistake(calibration::BaseCalibrationData().getCalibration(), check, {field}, edit);
}

std::vector<Mistake> mistakesInEntries() {
  return {
      mistake(testing::defaultRobot(), "empty", {""}, [](auto* robot) { robot->Clear(); }),
      inLens("list-short", "radial", [](auto* in) { in->mutable_radial()->Truncate(5); }),
      inLens("list-short", "tangential", [](auto* in) { in->clear_tangential(); }),
      inPose("list-short", "a", [](auto* pose) { pose->mutable_a()->Truncate(11); }),
      inLens("list-long", "radial[6]", [](auto* in) { in->add_radial(0); }),
      inLens("list-long", "tangential[2]", [](auto* in) { in->add_tangential(0); }),
      inPose("list-long", "a[12]", [](auto* pose) { pose->add_a(0); }),
      inCamera("name-duplicate", "name", [](auto* camera) { camera->set_name("head_camera"); }),
      inCamera("name-missing", "name", [](auto* camera) { camera->clear_name(); }),
      inCamera("model-case", "model", [](auto* camera) { camera->set_model("MK513N"); }),
      inLens("not-finite", "cx", [](auto* in) { in->set_cx(NAN); }),
      inLens("not-finite", "radial[2]", [](auto* in) { in->set_radial(2, -INFINITY); }),
      inPose("not-finite", "a[5]", [](auto* pose) { pose->set_a(5, 1e39); }),
      inLens("size", "width", [](auto* in) { in->clear_width(); }),
      inLens("size", "height", [](auto* in) { in->set_height(-960); }),
      inLens("crop", "width", [](auto* in) { in->set_width(1279); }),
  };
}

std::vector<Mistake> mistakesInPinholes() {
  const auto unchanged = [](auto* /*in*/) {};
  return {
      inLens("focal", "fx", [](auto* in) { in->clear_fx(); }),
      inLens("focal", "fy", [](auto* in) { in->set_fy(-452.5); }),
      inPlainLens("focal-range", {"fx", "fy"}, 255, unchanged),
      inPlainLens("aspect", {"fx"}, 1000, [](auto* in) { in->set_fx(1051); }),
      inLens("skew", "skew", [](auto* in) { in->set_skew(5); }),
      inPlainLens("principal-point", {"cx"}, 905, [](auto* in) { in->set_cx(833); }),
      inLens("pixel-origin", "cx",
             [](auto* in) {
               in->set_cx(639.5);
               in->set_cy(479.5);
             }),
  };
}

std::vector<Mistake> mistakesInLenses() {
  // With r (1 + k1 r^2) = 4 / 3, the corner of a camera of 600 pixels focal length, at r = 1.96.
  const double flat = (4 / (3 * 1.96) - 1) / (1.96 * 1.96);
  // r / (1 - r^2 / p^2) is 4 / 3 at p = 1.049 r.
  const double pole = 1.049 * (4.0 / 3) * (1 - 1 / (1.049 * 1.049));
  const double cancelled = -1 / (1.054 * 1.054 * 16 / 9);
  Mistake rounded = mistake(plainRobot(16384, 12288, 16384), "lens-float",
                            {"camera_calibration[0].intrinsics.radial"}, [](auto* robot) {
                              // Equal but for a rounding, and rounded to different sides.
                              CameraIntrinsics* in =
                                  robot->mutable_camera_calibration(0)->mutable_intrinsics();
                              const auto a = static_cast<double>(static_cast<float>(1.79 / 0.3));
                              in->set_radial(0, -a - 0.49 * std::ldexp(1.0, -21));
                              in->set_radial(3, -a - 0.51 * std::ldexp(1.0, -21));
                              in->set_radial(1, 0.895 / 0.09);
                              in->set_radial(4, 0.895 / 0.09);
                            });
  return {
      inPlainLens("lens-fold", {"radial"}, 600, [](auto* in) { in->set_radial(0, -0.5); }),
      inPlainLens("lens-pole", {"radial"}, 600,
                  [&](auto* in) { in->set_radial(3, -1 / (pole * pole)); }),
      inPlainLens("lens-slope", {"radial"}, 600, [&](auto* in) { in->set_radial(0, flat); }),
      inPlainLens("lens-cancel", {"radial"}, 600,
                  [&](auto* in) {
                    in->set_radial(0, cancelled);
                    in->set_radial(3, cancelled);
                  }),
      std::move(rounded),
      inLens("lens-tangential", "tangential",
             [](auto* in) {
               in->set_tangential(0, 0.0061);
               in->set_tangential(1, 0.008);
             }),
  };
}

std::vector<Mistake> mistakesInPoses() {
  const auto shrink = [](double scale) {
    return [=](CameraExtrinsics* pose) {
      for (const int i : {3, 7, 11}) pose->set_a(i, scale * pose->a(i));
    };
  };
  return {
      inPose("pose-rotation", "a", [](auto* pose) { pose->set_a(1, -1.006); }),
      inPose("pose-mirror", "a", [](auto* pose) { pose->set_a(1, 1); }),
      inPose("pose-unit", "a", shrink(1e-3)),
      inPose("pose-identity", "a", shrink(0)),
      mistake(testing::defaultRobot(), "pose-same", {"camera_calibration[1].extrinsics.a"},
              [](auto* robot) {
                *robot->mutable_camera_calibration(1)->mutable_extrinsics() =
                    robot->camera_calibration(0).extrinsics();
              }),
  };
}

std::vector<Mistake> mistakesInSamples() {
  const auto corners = [](int x, int y) { return x % 12 == 0 && y % 9 == 0; };
  const auto left = [](int x, int /*y*/) { return x < 9; };
  return {
      inSamples("samples-missing", "samples", [](auto* in) { in->clear_samples(); }),
      inSamples("samples-outside", "samples[5]",
                [](auto* in) { *in->mutable_samples(5) = in->samples(4); }),
      inSamples("samples-few", "samples", [&](auto* in) { keepSamples(in, corners); }),
      inSamples("samples-grid", "sample_size_x", [](auto* in) { in->set_sample_size_x(12); }),
      inSamples("samples-grid", "sample_scale", [](auto* in) { in->set_sample_scale(50); }),
      inSamples("samples-cover", "samples", [&](auto* in) { keepSamples(in, left); }),
      inSamples("refit", "samples", [](auto* in) { addNoise(in); }),
      inSamples(
          "refit-outlier", "samples[58]",
          [](auto* in) { in->mutable_samples(58)->set_image_x(in->samples(58).image_x() + 4); }),
  };
}

std::vector<Mistake> mistakesInZoomLenses() {
  return {
      inZoom("ptz-samples", ".samples", [](auto* table) { table->clear_samples(); }),
      inSample("zoom-order", ".zoom", 3, [](auto* sample) { sample->set_zoom(2000); }),
      inSample("focal-order", ".focal_length", 3,
               [](auto* sample) { sample->set_focal_length(2354.9); }),
      inSample("zoom-spacing", ".zoom", 3, [](auto* sample) { sample->set_zoom(3001); }),
      inZoom("zoom-spacing", ".zoom_interval",
             [](auto* table) { table->set_zoom_interval(-1000); }),
      inZoom("zoom-step", ".samples[11].focal_length",
             [](auto* table) {
               table->mutable_samples(11)->set_focal_length(2.01 *
                                                            table->samples(10).focal_length());
             }),
      inZoom("size", ".image_width", [](auto* table) { table->clear_image_width(); }),
      inSample("focal", ".focal_length", 0, [](auto* sample) { sample->set_focal_length(0); }),
      inSample("principal-point", ".cx", 3, [](auto* sample) { sample->set_cx(1249); }),
      inSample("not-finite", ".cx", 3, [](auto* sample) { sample->set_cx(NAN); }),
      inSample("lens-fold", "", 0,
               [](PTZIntrinsicsItem* sample) {
                 sample->set_k1(-0.9);
                 sample->set_k4(0);
               }),
      inSample("lens-tangential", ".p1", 3,
               [](PTZIntrinsicsItem* sample) {
                 sample->set_p1(0.0101);
                 sample->set_p2(0);
               }),
  };
}

/// Two columns of a stored rotation, or two rows of a pose, turned by the angle whose cosine and
/// sine are 0.8 and 0.6.
void turn(CameraExtrinsics* pose, int first, int second, int step, int count) {
  for (int i = 0; i < count; ++i) {
    const double a = pose->a(first + i * step);
    const double b = pose->a(second + i * step);
    pose->set_a(first + i * step, 0.8 * a - 0.6 * b);
    pose->set_a(second + i * step, 0.6 * a + 0.8 * b);
  }
}

/// The axes of a head, each turned by 37 degrees.
std::vector<Mistake> mistakesInAxes() {
  return {
      inHead("head-azimuth", "", [](auto* head) { turn(head->mutable_pan_to_tilt(), 0, 1, 4, 3); }),
      inHead("head-elevation", "",
             [](auto* head) { turn(head->mutable_tilt_to_camera(), 0, 1, 4, 3); }),
      // The tilt frame, about the optical axis, which is its x axis.
      inHead("head-tilt-axis", "",
             [](auto* head) {
               turn(head->mutable_pan_to_tilt(), 4, 8, 1, 4);
               turn(head->mutable_tilt_to_camera(), 1, 2, 4, 3);
             }),
      inHead("head-axis-gap", "",
             [](auto* head) { head->mutable_tilt_to_camera()->set_a(3, 3.17); }),
  };
}

std::vector<Mistake> mistakesInHeads() {
  return {
      inHead("limits", ".min_pan", [](auto* head) { head->set_min_pan(5935); }),
      inHead("limits", ".max_tilt", [](auto* head) { head->clear_max_tilt(); }),
      inHead("home", ".home_pan", [](auto* head) { head->set_home_pan(5935); }),
      inHead("scale", ".pan_scale", [](auto* head) { head->set_pan_scale(0); }),
      inHead("pan-turns", ".max_pan", [](auto* head) { head->set_max_pan(12567 - 5934); }),
      inHead("pose-unit", "",
             [](auto* head) {
               for (auto* pose : {head->mutable_base_to_pan(), head->mutable_pan_to_tilt(),
                                  head->mutable_tilt_to_camera()}) {
                 for (const int i : {3, 7, 11}) pose->set_a(i, 1e-3 * pose->a(i));
               }
             }),
      inHead("pose-mirror", ".tilt_to_camera.a",
             [](auto* head) { head->mutable_tilt_to_camera()->set_a(5, -1); }),
      inHead("pose-rotation", ".pan_to_tilt.a",
             [](auto* head) { head->mutable_pan_to_tilt()->set_a(0, 1.006); }),
      inHead("list-short", ".pan_to_tilt.a",
             [](auto* head) { head->mutable_pan_to_tilt()->mutable_a()->Truncate(11); }),
  };
}

std::vector<Mistake> mistakesInBases() {
  const auto transform = [](BaseCalibrationProto* base) {
    return base->mutable_global_transform_adjustment()->mutable_global_transform();
  };
  return {
      inBase("base-size", "base_width", [](auto* base) { base->set_base_width(450); }),
      inBase("base-size", "wheel_base", [](auto* base) { base->clear_wheel_base(); }),
      inBase("gain", "gyroscope.gain", [](auto* base) { base->mutable_gyroscope()->set_gain(0); }),
      inBase("gain", "gyroscope.gain", [](auto* base) { base->clear_gyroscope(); }),
      inBase("time", "gyroscope.metadata.calibration_time",
             [](auto* base) {
               base->mutable_gyroscope()->mutable_metadata()->set_calibration_time(1715677200);
             }),
      inBase("pose-unit", "global_transform_adjustment.global_transform.a",
             [&](auto* base) { transform(base)->set_a(3, 2001); }),
      inBase("list-long", "global_transform_adjustment.global_transform.a[12]",
             [&](auto* base) { transform(base)->add_a(1); }),
  };
}

std::vector<Mistake> allMistakes() {
  std::vector<Mistake> all;
  for (const auto& some : {mistakesInEntries(), mistakesInPinholes(), mistakesInLenses(),
                           mistakesInPoses(), mistakesInSamples(), mistakesInZoomLenses(),
                           mistakesInAxes(), mistakesInHeads(), mistakesInBases()}) {
    all.insert(all.end(), some.begin(), some.end());
  }
  return all;
}

class ValidatePlaces : public ::testing::TestWithParam<Mistake> {
 protected:
  static std::vector<Where> expectedIn(const PlacedText& text) {
    std::vector<Where> expected;
    for (const std::string& field : GetParam().fields) {
      const auto [line, column] = text.place(field);
      expected.emplace_back(GetParam().check, field, line, column);
    }
    return expected;
  }
};

TEST_P(ValidatePlaces, InTexts) {
  for (const ListStyle style : {ListStyle::kSingle, ListStyle::kListed, ListStyle::kMixed}) {
    const PlacedText text(*GetParam().message, style);
    EXPECT_EQ(validate(text.text()), expectedIn(text));
  }
}

TEST_P(ValidatePlaces, NoneInBinary) {
  std::vector<Where> expected;
  for (const std::string& field : GetParam().fields) {
    expected.emplace_back(GetParam().check, field, 0, 0);
  }
  EXPECT_EQ(validate(GetParam().message->SerializeAsString()), expected);
}

INSTANTIATE_TEST_SUITE_P(All, ValidatePlaces, ::testing::ValuesIn(allMistakes()));

TEST(ValidatePlacesTest, OfUnknownFields) {
  RobotCalibration robot = testing::defaultRobot();
  CameraIntrinsics* in = robot.mutable_camera_calibration(1)->mutable_intrinsics();
  in->GetReflection()->MutableUnknownFields(in)->AddVarint(15, 1);
  EXPECT_EQ(validate(robot.SerializeAsString()),
            (std::vector<Where>{{"unknown-field", "camera_calibration[1].intrinsics.15", 0, 0}}));
  // A text names them, and is not read then.
  const PlacedText text(testing::defaultRobot(), ListStyle::kMixed);
  EXPECT_EQ(validate("wheels: 4\n" + text.text()), (std::vector<Where>{{"parse", "wheels", 1, 1}}));
}

TEST(ValidatePlacesTest, FollowTheFileAndNotTheMessage) {
  const std::string text =
      "camera_calibration {\n"
      "  model: 'MK513N'\n"
      "  extrinsics { a: [0, -1, 0, 30, 0, 0, -1, 350, 1, 0, 0, nan] }\n"
      "  intrinsics {\n"
      "    width: 1280 height: 960\n"
      "    tangential: [0, 0] radial: [0, 0, 0, 0, 0, 0]\n"
      "    cy: 480 cx: 640 skew: 1 fy: 905 fx: 905\n"
      "  }\n"
      "}\n";
  EXPECT_EQ(validate(text),
            (std::vector<Where>{{"name-missing", "camera_calibration[0].name", 1, 1},
                                {"model-case", "camera_calibration[0].model", 2, 3},
                                {"not-finite", "camera_calibration[0].extrinsics.a[11]", 3, 58},
                                {"skew", "camera_calibration[0].intrinsics.skew", 7, 21}}));
}

TEST(ValidatePlacesTest, CountElementsOfListsAndOfSingleFields) {
  const std::string good = PlacedText(testing::defaultRobot(), ListStyle::kSingle).text();
  // The second entry of the list in line 1 has too few coefficients; the single entry is good.
  const std::string text =
      "camera_calibration: [\n"
      "  { name: 'a' model: 'x' intrinsics { fx: 905 fy: 905 cx: 640 cy: 480 width: 1280\n"
      "    height: 960 radial: [0, 0, 0, 0, 0, 0] tangential: [0, 0] }\n"
      "    extrinsics { a: [0, -1, 0, 30, 0, 0, -1, 350, 1, 0, 0, 100] } },\n"
      "  { name: 'b' model: 'x' intrinsics { fx: 905 fy: 905 cx: 640 cy: 480 width: 1280\n"
      "    height: 960 radial: [0, 0, 0] tangential: [0, 0] }\n"
      "    extrinsics { a: [0, -1, 0, 30, 0, 0, -1, 350, 1, 0, 0, 200] } }]\n" +
      good;
  EXPECT_EQ(validate(text),
            (std::vector<Where>{{"list-short", "camera_calibration[1].intrinsics.radial", 6, 17}}));
}

}  // namespace
}  // namespace norv::tools
