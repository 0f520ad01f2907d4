#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <locale>
#include <optional>
#include <string>
#include <vector>

#include "calibration_common/base_calibration_data.h"
#include "calibration_common/camera_parameters.h"
#include "testing/calibration_messages.h"
#include "testing/log_capture.h"

namespace norv::calibration {
namespace {

using testing::exampleCamera;
using testing::ScopedLogCapture;

/// A camera that one change makes bad, or not, and what is wrong with it then.
struct Case {
  const char* model;
  std::function<void(CameraCalibration*)> change;
  std::string field;  ///< empty where nothing is wrong
  std::string sentence;
};

std::vector<Case> cases() {
  const auto nothing = [](CameraCalibration* /*camera*/) {};
  return {
      {"mk513n", nothing, "", ""},
      {"b910", nothing, "", ""},
      {"lab", nothing, "", ""},
      {"lab", [](auto* c) { c->mutable_intrinsics()->mutable_radial()->Truncate(5); },
       "intrinsics.radial", "holds 5 values, at least 6 are needed"},
      {"lab", [](auto* c) { c->mutable_intrinsics()->add_radial(7); }, "", ""},
      {"lab", [](auto* c) { c->mutable_intrinsics()->mutable_tangential()->Truncate(1); },
       "intrinsics.tangential", "holds 1 values, at least 2 are needed"},
      {"mk512h", [](auto* c) { c->mutable_extrinsics()->mutable_a()->Truncate(11); },
       "extrinsics.a", "holds 11 values, at least 12 are needed"},
      // The first of several problems counts, and a camera without anything has them all.
      {"mk512h", [](auto* c) { c->Clear(); }, "intrinsics.radial",
       "holds 0 values, at least 6 are needed"},
      {"lab", [](auto* c) { c->mutable_intrinsics()->clear_width(); }, "intrinsics",
       "needs width and height, since model \"lab\" is not known"},
      {"B910", [](auto* c) { c->mutable_intrinsics()->clear_height(); }, "intrinsics",
       "needs width and height, since model \"B910\" is not known"},
      {"lab", [](auto* c) { c->mutable_intrinsics()->set_width(0); }, "", ""},
      {"b910", [](auto* c) { c->mutable_intrinsics()->clear_width(); }, "", ""},
      {"mk512h", nothing, "intrinsics.samples",
       "Can not find calibration sample points to recompute intrinsics parameters."},
      // One point does not determine a camera.
      {"mk512h", [](auto* c) { c->mutable_intrinsics()->add_samples()->set_image_x(1); },
       "intrinsics.samples", "Error recomputing calibration. Error per point=inf"},
  };
}

TEST(CameraLoadProblem, EachProblemHasItsFieldAndSentence) {
  ScopedLogCapture capture;
  for (const Case& c : cases()) {
    CameraCalibration camera = exampleCamera("camera", c.model);
    c.change(&camera);
    const std::optional<LoadProblem> problem = findLoadProblem(camera);
    EXPECT_EQ(problem.has_value(), !c.field.empty()) << c.sentence;
    const LoadProblem found = problem.value_or(LoadProblem());
    EXPECT_EQ(found.field, c.field);
    EXPECT_EQ(found.sentence, c.sentence);
  }
  EXPECT_TRUE(capture.take().empty());
}

TEST(CameraLoadProblem, ThereIsOneExactlyWhereTheCameraDoesNotLoad) {
  ScopedLogCapture capture(0);
  for (const Case& c : cases()) {
    CameraCalibration message = exampleCamera("camera", c.model);
    c.change(&message);
    CameraParameters camera;
    EXPECT_EQ(camera.readProto(message), c.field.empty()) << c.sentence;
  }
}

TEST(CameraLoadProblem, NumbersDoNotFollowTheLocale) {
  struct Comma : std::numpunct<char> {
    char do_decimal_point() const override { return ','; }
  };
  const std::locale before = std::locale::global(std::locale(std::locale::classic(), new Comma));
  CameraCalibration camera = exampleCamera("camera", "mk512h");
  // Points of a plane in no order: no camera sees them so.
  for (int i = 0; i < 30; ++i) {
    SamplePoint* sample = camera.mutable_intrinsics()->add_samples();
    sample->set_image_x(static_cast<float>((i * 7919) % 1280));
    sample->set_image_y(static_cast<float>((i * 104729) % 960));
    sample->set_model_x(static_cast<float>(i % 6));
    sample->set_model_y(static_cast<float>(i / 6));
  }
  camera.mutable_intrinsics()->set_sample_scale(0.05F);
  camera.mutable_intrinsics()->set_sample_size_x(6);
  camera.mutable_intrinsics()->set_sample_size_y(5);
  const std::optional<LoadProblem> problem = findLoadProblem(camera);
  std::locale::global(before);
  ASSERT_NE(problem, std::nullopt);
  EXPECT_THAT(problem->sentence,
              ::testing::MatchesRegex(
                  "Error recomputing calibration\\. Error per point=(inf|[0-9]+(\\.[0-9]+)?)"));
}

TEST(BaseLoadProblem, NeedsTwelveValues) {
  BaseCalibrationProto base;
  for (int size = 0; size < 12; ++size) {
    const std::optional<LoadProblem> problem = findLoadProblem(base);
    ASSERT_NE(problem, std::nullopt);
    EXPECT_EQ(problem->field, "global_transform_adjustment.global_transform.a");
    EXPECT_EQ(problem->sentence,
              "holds " + std::to_string(size) + " values, at least 12 are needed");
    base.mutable_global_transform_adjustment()->mutable_global_transform()->add_a(size);
  }
  EXPECT_EQ(findLoadProblem(base), std::nullopt);
}

}  // namespace
}  // namespace norv::calibration
