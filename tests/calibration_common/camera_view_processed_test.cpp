// The views of pictures that were scaled, cut out, binned or mirrored afterwards: a point that was
// seen at a pixel is seen where that pixel went.

#include <gtest/gtest.h>

#include <functional>
#include <limits>
#include <optional>
#include <random>

#include "calibration_common/camera_parameters.h"
#include "calibration_common/camera_view.h"
#include "testing/calibration_messages.h"
#include "testing/lenses.h"
#include "testing/random_camera.h"

namespace norv::calibration {
namespace {

using testing::lensNamed;
using testing::randomCamera;
using testing::randomPose;
using testing::uniform;
using Pixel = Eigen::Vector2d;

constexpr int kMaxInt = std::numeric_limits<int>::max();

/// 1280 x 960, with skew and a strong lens.
CameraView exampleView() {
  std::mt19937 random(1);
  const CameraModel model = randomCamera(lensNamed("barrel"), &random);
  return {model, randomPose(&random)};
}

/// Whether `made` sees all that `view` sees, at the pixels that `moved` says.
void expectMoved(const CameraView& view, const std::optional<CameraView>& made,
                 const std::function<Pixel(const Pixel&)>& moved) {
  ASSERT_TRUE(made);
  EXPECT_FALSE(made->isFromTable());
  EXPECT_EQ(made->pose().transform, view.pose().transform);
  EXPECT_EQ(made->distortion(), view.distortion());
  std::mt19937 random(2);
  int compared = 0;
  for (int i = 0; i < 200; ++i) {
    const Pixel pixel(uniform(0, view.width(), &random), uniform(0, view.height(), &random));
    Ray ray;
    if (view.rayAt(pixel, &ray) != PointStatus::kOk) continue;
    ++compared;
    Pixel seen;
    EXPECT_TRUE(hasAnswer(made->project(ray.origin + 2 * ray.direction, &seen)));
    // The ray's own: 1e-9 for every 1000 pixels of focal length, of which there are below 1500.
    EXPECT_LE((seen - moved(pixel)).norm(), 1.6e-9);
    Ray back;
    EXPECT_TRUE(hasAnswer(made->rayAt(moved(pixel), &back)));
    EXPECT_LE((back.direction - ray.direction).norm(), 1e-11);
  }
  EXPECT_GT(compared, 100);
}

TEST(ProcessedViews, Resized) {
  const CameraView view = exampleView();
  const auto made = view.resized(321, 1001);
  expectMoved(view, made,
              [](const Pixel& p) { return Pixel(p.x() * 321 / 1280, p.y() * 1001 / 960); });
  EXPECT_EQ(made->width(), 321);
  EXPECT_EQ(made->height(), 1001);
}

TEST(ProcessedViews, Cropped) {
  const CameraView view = exampleView();
  const auto made = view.cropped(100, 30, 1180, 930);
  expectMoved(view, made, [](const Pixel& p) { return Pixel(p.x() - 100, p.y() - 30); });
  EXPECT_EQ(made->width(), 1180);
  EXPECT_EQ(made->height(), 930);
}

TEST(ProcessedViews, BinnedDropsWhatIsLeftOver) {
  const CameraView view = exampleView();
  const auto made = view.binned(3, 7);
  expectMoved(view, made, [](const Pixel& p) { return Pixel(p.x() / 3, p.y() / 7); });
  EXPECT_EQ(made->width(), 426);   // 1280 = 3 * 426 + 2
  EXPECT_EQ(made->height(), 137);  // 960 = 7 * 137 + 1
  EXPECT_EQ(made->model().fx, view.model().fx / 3);
}

TEST(ProcessedViews, Flipped) {
  const CameraView view = exampleView();
  ASSERT_NE(view.model().skew, 0);
  for (const bool horizontally : {false, true}) {
    for (const bool vertically : {false, true}) {
      expectMoved(view, view.flipped(horizontally, vertically), [=](const Pixel& p) {
        return Pixel(horizontally ? 1280 - p.x() : p.x(), vertically ? 960 - p.y() : p.y());
      });
    }
  }
  EXPECT_LT(view.flipped(true, false).model().fx, 0);
}

TEST(ProcessedViews, OneAfterTheOther) {
  const CameraView view = exampleView();
  const auto made =
      view.flipped(true, false).cropped(40, 0, 1240, 960)->binned(2, 2)->resized(310, 120);
  expectMoved(view, made, [](const Pixel& p) { return Pixel((1280 - p.x() - 40) / 4, p.y() / 8); });
}

TEST(ProcessedViews, AreThatOfAffineIntrinsics) {
  CameraParameters camera;
  ASSERT_TRUE(camera.readProto(testing::exampleCamera("camera", "")));
  CameraParameters::Intrinsics expected;
  camera.affineIntrinsics(camera.getIntrinsicsTable().at(0), 320, 240, 600, 400, 300, 100,
                          &expected);
  const auto made = camera.view(1280, 960)->cropped(320, 240, 600, 400)->resized(300, 100);
  EXPECT_EQ(made->model().fx, expected.fx);
  EXPECT_EQ(made->model().fy, expected.fy);
  EXPECT_EQ(made->model().cx, expected.cx);
  EXPECT_EQ(made->model().cy, expected.cy);
}

TEST(ProcessedViews, OfWhatIsNoPictureAreNone) {
  const CameraView view = exampleView();
  for (const int bad : {0, -1, std::numeric_limits<int>::min()}) {
    EXPECT_FALSE(view.resized(bad, 10));
    EXPECT_FALSE(view.resized(10, bad));
    EXPECT_FALSE(view.cropped(0, 0, bad, 10));
    EXPECT_FALSE(view.cropped(0, 0, 10, bad));
    EXPECT_FALSE(view.binned(bad, 1));
    EXPECT_FALSE(view.binned(1, bad));
  }
  EXPECT_TRUE(view.cropped(1279, 959, 1, 1));
  EXPECT_TRUE(view.cropped(0, 0, 1280, 960));
  EXPECT_FALSE(view.cropped(-1, 0, 10, 10));
  EXPECT_FALSE(view.cropped(0, -1, 10, 10));
  EXPECT_FALSE(view.cropped(1, 0, 1280, 960));
  EXPECT_FALSE(view.cropped(0, 1, 1280, 960));
  EXPECT_FALSE(view.cropped(kMaxInt, 0, kMaxInt, 10));
  EXPECT_FALSE(view.cropped(0, kMaxInt, 10, kMaxInt));
  EXPECT_TRUE(view.binned(1280, 960));
  EXPECT_FALSE(view.binned(1281, 1));
  EXPECT_FALSE(view.binned(1, 961));
  EXPECT_TRUE(view.resized(kMaxInt, kMaxInt));
  const CameraView without_pixels({0, 0, 1, 1, 0, 0, 0, {}}, view.pose());
  EXPECT_FALSE(without_pixels.resized(10, 10));
  EXPECT_FALSE(without_pixels.cropped(0, 0, 1, 1));
  EXPECT_FALSE(without_pixels.binned(1, 1));
  constexpr int kMinInt = std::numeric_limits<int>::min();
  const CameraView of_no_size({kMinInt, kMinInt, 1, 1, 0, 0, 0, {}}, view.pose());
  EXPECT_FALSE(of_no_size.cropped(1, 0, 5, 5));
  EXPECT_FALSE(of_no_size.cropped(kMaxInt, kMaxInt, kMaxInt, kMaxInt));
}

TEST(ProcessedViews, OfACameraThatIsNoneHaveNoAnswers) {
  CameraModel model = exampleView().model();
  model.fy = std::numeric_limits<double>::quiet_NaN();
  const auto made = CameraView(model, exampleView().pose()).resized(10, 10)->cropped(1, 1, 5, 5);
  Ray ray;
  EXPECT_EQ(made->rayAt({1, 1}, &ray), PointStatus::kNotFinite);
}

}  // namespace
}  // namespace norv::calibration
