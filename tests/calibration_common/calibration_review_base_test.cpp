// What a review finds in the calibration of a mobile base.

#include <gtest/gtest.h>

#include <chrono>
#include <cmath>
#include <cstdint>
#include <limits>
#include <string>

#include "calibration_common/base_calibration_data.h"
#include "calibration_common/calibration_review.h"
#include "testing/review_findings.h"

namespace norv::calibration {
namespace {

using testing::expectFindings;

constexpr auto kWarning = Severity::kWarning;
constexpr auto kError = Severity::kError;
constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();
constexpr float kInfinity = std::numeric_limits<float>::infinity();
constexpr std::int64_t kSecond = 1000000000;

/// What is found after `edit` has changed the compiled-in base.
template <class Edit>
std::vector<Finding> reviewBase(const Edit& edit) {
  BaseCalibrationProto base = BaseCalibrationData().getCalibration();
  edit(&base);
  return reviewCalibration(base);
}

TEST(CalibrationReviewBaseTest, FindsNothingInTheCompiledInBase) {
  expectFindings(reviewBase([](auto* /*base*/) {}), {});
}

TEST(CalibrationReviewBaseTest, FindsSizesThatNoBaseHas) {
  const auto with = [](float width) {
    return reviewBase([=](auto* base) { base->set_base_width(width); });
  };
  expectFindings(with(450), {{kWarning, "base-size", "base_width", 450, 5}});
  expectFindings(with(5.01F), {{kWarning, "base-size", "base_width", 5.01, 5}});
  expectFindings(with(5), {});
  expectFindings(with(0.05F), {});
  expectFindings(with(0.049F), {{kWarning, "base-size", "base_width", 0.049, 0.05}});
  expectFindings(with(0), {{kError, "base-size", "base_width", 0, 0}});
  expectFindings(with(-0.5F), {{kError, "base-size", "base_width", -0.5, 0}});
  expectFindings(with(kNaN), {{kError, "base-size", "base_width", std::nan(""), 0}});
  expectFindings(with(kInfinity), {{kError, "base-size", "base_width", INFINITY, 0}});
}

TEST(CalibrationReviewBaseTest, FindsEachSize) {
  expectFindings(reviewBase([](auto* base) { base->clear_wheel_base(); }),
                 {{kWarning, "base-size", "wheel_base", std::nullopt, 0}});
  expectFindings(reviewBase([](auto* base) { base->set_base_length(6.1F); }),
                 {{kWarning, "base-size", "base_length", 6.1, 5}});
}

TEST(CalibrationReviewBaseTest, FindsGainsThatNoGyroscopeHas) {
  const auto with = [](float gain) {
    return reviewBase([=](auto* base) { base->mutable_gyroscope()->set_gain(gain); });
  };
  const std::string field = "gyroscope.gain";
  expectFindings(with(1.101F), {{kWarning, "gain", field, 1.101, 1.1}});
  expectFindings(with(1.1F), {});
  expectFindings(with(0.9F), {});
  expectFindings(with(0.899F), {{kWarning, "gain", field, 0.899, 0.9}});
  expectFindings(with(0), {{kError, "gain", field, 0, 0}});
  expectFindings(with(kNaN), {{kError, "gain", field, std::nan(""), 0}});
  expectFindings(reviewBase([](auto* base) { base->clear_gyroscope(); }),
                 {{kWarning, "gain", field, std::nullopt, 0}});
}

std::int64_t now() {
  return std::chrono::duration_cast<std::chrono::nanoseconds>(
             std::chrono::system_clock::now().time_since_epoch())
      .count();
}

TEST(CalibrationReviewBaseTest, FindsTimesInAnotherUnit) {
  const auto with = [](std::int64_t time) {
    return reviewBase([=](BaseCalibrationProto* base) {
      base->mutable_gyroscope()->mutable_metadata()->set_calibration_time(time);
    });
  };
  const std::string field = "gyroscope.metadata.calibration_time";
  const std::int64_t year_2000 = 946684800 * kSecond;
  expectFindings(with(1715677200),
                 {{kWarning, "time", field, 1715677200, static_cast<double>(year_2000)}});
  expectFindings(with(year_2000 - 1), {{kWarning, "time", field, static_cast<double>(year_2000 - 1),
                                        static_cast<double>(year_2000)}});
  expectFindings(with(year_2000), {});
  expectFindings(with(now() - kSecond), {});
  const std::int64_t future = now() + 60 * kSecond;
  expectFindings(with(future), {{kWarning, "time", field, static_cast<double>(future),
                                 static_cast<double>(future - 60 * kSecond)}});
}

TEST(CalibrationReviewBaseTest, FindsBothTimes) {
  expectFindings(
      reviewBase([](BaseCalibrationProto* base) {
        base->mutable_global_transform_adjustment()->mutable_metadata()->set_calibration_time(0);
      }),
      {{kWarning, "time", "global_transform_adjustment.metadata.calibration_time", 0,
        946684800e9}});
  expectFindings(
      reviewBase([](BaseCalibrationProto* base) {
        base->mutable_global_transform_adjustment()->mutable_metadata()->clear_calibration_time();
      }),
      {});
}

TEST(CalibrationReviewBaseTest, FindsFaultyTransforms) {
  const std::string field = "global_transform_adjustment.global_transform.a";
  const auto with = [](const auto& edit) {
    return reviewBase([&](BaseCalibrationProto* base) {
      edit(base->mutable_global_transform_adjustment()->mutable_global_transform()->mutable_a());
    });
  };
  expectFindings(with([](auto* a) { a->Truncate(11); }), {{kError, "list-short", field, 11, 12}});
  expectFindings(with([](auto* a) { a->Add(1); }),
                 {{kWarning, "list-long", field + "[12]", 13, 12}});
  const std::vector<Finding> stretched = with([](auto* a) { a->Set(10, 1.01); });
  ASSERT_EQ(stretched.size(), 1U);
  EXPECT_EQ(stretched[0].check, "pose-rotation");
  EXPECT_EQ(stretched[0].severity, kError);
  const std::vector<Finding> mirrored = with([](auto* a) {
    for (const int i : {8, 9, 10}) a->Set(i, -a->Get(i));
  });
  ASSERT_EQ(mirrored.size(), 1U);
  EXPECT_EQ(mirrored[0].check, "pose-mirror");
  // The third row's millimetre and a half is part of the length.
  const auto moved = [&](double x) {
    return with([=](auto* a) {
      a->Set(3, x);
      a->Set(7, 0);
      a->Set(11, 0);
    });
  };
  expectFindings(moved(2001), {{kWarning, "pose-unit", field, 2001, 2000}});
  expectFindings(moved(1999), {});
}

TEST(CalibrationReviewBaseTest, FindsEverythingMissingInAnEmptyMessage) {
  std::vector<std::string> checks;
  for (const Finding& finding : reviewCalibration(BaseCalibrationProto())) {
    checks.push_back(finding.field + " " + finding.check);
  }
  EXPECT_EQ(checks, (std::vector<std::string>{
                        "wheel_base base-size", "base_width base-size", "base_length base-size",
                        "global_transform_adjustment.global_transform.a list-short",
                        "gyroscope.gain gain"}));
}

}  // namespace
}  // namespace norv::calibration
