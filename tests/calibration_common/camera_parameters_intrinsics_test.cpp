#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <random>
#include <thread>
#include <utility>

#include "calibration_common/camera_parameters.h"
#include "testing/calibration_messages.h"
#include "testing/log_capture.h"

namespace norv::calibration {
namespace {

using Intrinsics = CameraParameters::Intrinsics;
using testing::cameraMatrix;
using ::testing::ElementsAre;
using testing::exampleCamera;
using testing::lines;
using testing::LogLine;
using testing::ScopedLogCapture;

/// A loaded camera; of an unknown model unless told otherwise, so that its table holds the full
/// frame alone.
class CameraIntrinsicsTest : public ::testing::Test {
 public:
  void load(const CameraCalibration& message) { ASSERT_TRUE(camera_.readProto(message)); }
  void load() { load(exampleCamera("camera", "any")); }

  static Intrinsics record(float fx, float fy, float skew, float cx, float cy) {
    Intrinsics in;
    in.fx = fx;
    in.fy = fy;
    in.skew = skew;
    in.cx = cx;
    in.cy = cy;
    return in;
  }

  CameraParameters camera_;
};

TEST_F(CameraIntrinsicsTest, SizeThatIsNotInTheTableScalesTheFullFrame) {
  load();
  ScopedLogCapture capture;
  EXPECT_EQ(camera_.getIntrinsics(640, 480), cameraMatrix(500, 500, 0, 320, 240));
  const auto logs = capture.take();
  ASSERT_EQ(logs.size(), 1U);
  EXPECT_EQ(logs[0].level, 5);
  EXPECT_EQ(logs[0].channel, "camera_parameters");
  EXPECT_EQ(logs[0].text, "1280 960 640 480");
  EXPECT_EQ(logs[0].file, "calibration_common/camera_parameters.cpp");
  EXPECT_EQ(logs[0].function,
            "norv::Matrix3x3_f norv::calibration::CameraParameters::getIntrinsics(int, int) const");
}

TEST_F(CameraIntrinsicsTest, OtherAspectRatiosScaleEachAxisOnItsOwn) {
  load();
  EXPECT_EQ(camera_.getIntrinsics(640, 960), cameraMatrix(500, 1000, 0, 320, 480));
  // Negative and zero sizes are scaled like any other.
  EXPECT_EQ(camera_.getIntrinsics(-1280, 0), cameraMatrix(-1000, 0, 0, -640, 0));
}

TEST_F(CameraIntrinsicsTest, TableEntryIsReturnedAsStoredWithoutALine) {
  load();
  // No model delivers a size twice, so the table is written to; the camera is not a constant.
  auto& table = const_cast<std::vector<Intrinsics>&>(camera_.getIntrinsicsTable());
  table.resize(3);
  table[0] = record(1, 2, 3, 4, 5);
  table[0].width = 640;
  table[0].height = 480;
  table[0].distortion = {1};
  table[1] = record(6, 7, 8, 9, 10);
  table[1].width = 640;
  table[1].height = 480;
  table[1].distortion = {2};
  table[2] = record(11, 12, 13, 14, 15);
  table[2].width = 640;
  table[2].height = 360;
  table[2].distortion = {3};
  ScopedLogCapture capture;
  // Of two entries for a size the first counts, whatever the full frame says.
  EXPECT_EQ(camera_.getIntrinsics(640, 480), cameraMatrix(1, 2, 3, 4, 5));
  EXPECT_THAT(camera_.getDistortion(640, 480), ElementsAre(1));
  // Both dimensions must match.
  EXPECT_EQ(camera_.getIntrinsics(640, 360), cameraMatrix(11, 12, 13, 14, 15));
  EXPECT_THAT(camera_.getDistortion(640, 360), ElementsAre(3));
  EXPECT_TRUE(capture.take().empty());
  EXPECT_EQ(camera_.getIntrinsics(480, 640),
            camera_.recomputeKMatrix(camera_.getFullFrame(), 0, 0, 1280, 960, 480, 640));
  EXPECT_EQ(capture.take().size(), 1U);
}

TEST_F(CameraIntrinsicsTest, DistortionOfOtherSizesIsTheFullFramesWithoutALine) {
  load();
  ScopedLogCapture capture;
  EXPECT_EQ(&camera_.getDistortion(123, 45), &camera_.getFullFrameDistortion());
  EXPECT_NE(&camera_.getDistortion(1280, 960), &camera_.getFullFrameDistortion());
  EXPECT_EQ(camera_.getDistortion(1280, 960), camera_.getFullFrameDistortion());
  EXPECT_TRUE(capture.take().empty());
}

TEST_F(CameraIntrinsicsTest, CameraThatWasNeverLoaded) {
  ScopedLogCapture capture;
  const Matrix3x3_f k = camera_.getIntrinsics(640, 480);
  EXPECT_TRUE(std::isnan(k(0, 0)));  // the infinite scale times zeros
  EXPECT_EQ(k(2, 2), 1);
  EXPECT_THAT(lines(capture.take()), ElementsAre(LogLine{5, "camera_parameters", "0 0 640 480"}));
}

TEST_F(CameraIntrinsicsTest, CropShiftsThePrincipalPoint) {
  const Intrinsics in = record(1000, 900, 2, 640, 480);
  EXPECT_EQ(camera_.recomputeKMatrix(in, 100, 50, 640, 480, 640, 480),
            cameraMatrix(1000, 900, 2, 540, 430));
}

TEST_F(CameraIntrinsicsTest, ScaleAppliesPerAxis) {
  const Intrinsics in = record(1000, 1000, 2, 640, 480);
  EXPECT_EQ(camera_.recomputeKMatrix(in, 0, 0, 1280, 960, 1280, 720),
            cameraMatrix(1000, 750, 2, 640, 360));
  // The skew belongs to x.
  EXPECT_EQ(camera_.recomputeKMatrix(in, 0, 0, 1280, 960, 640, 960),
            cameraMatrix(500, 1000, 1, 320, 480));
}

TEST_F(CameraIntrinsicsTest, CropAndScaleFollowTheirFormula) {
  std::mt19937_64 random(3);
  std::uniform_int_distribution<int> size(1, 4000);
  std::uniform_int_distribution<int> origin(-2000, 2000);
  std::uniform_real_distribution<float> value(-3000, 3000);
  for (int trial = 0; trial < 10000; ++trial) {
    const Intrinsics in =
        record(value(random), value(random), value(random), value(random), value(random));
    const int x0 = origin(random);
    const int y0 = origin(random);
    const int w = size(random);
    const int h = size(random);
    const int tw = size(random);
    const int th = size(random);
    const float sx = static_cast<float>(tw) / static_cast<float>(w);
    const float sy = static_cast<float>(th) / static_cast<float>(h);
    EXPECT_EQ(
        camera_.recomputeKMatrix(in, x0, y0, w, h, tw, th),
        cameraMatrix(sx * in.fx, sy * in.fy, sx * in.skew, sx * in.cx - sx * static_cast<float>(x0),
                     sy * in.cy - sy * static_cast<float>(y0)));
  }
}

TEST_F(CameraIntrinsicsTest, ZeroSourceSizeGivesWhatTheDivisionGives) {
  const Intrinsics in = record(1000, 900, 0, 640, 480);
  const Matrix3x3_f k = camera_.recomputeKMatrix(in, 0, 0, 0, 480, 640, 480);
  // The infinite scale times the zero origin is no number, and so is all that it is summed with.
  EXPECT_TRUE(std::isnan(k(0, 0)));
  EXPECT_TRUE(std::isnan(k(0, 1)));
  EXPECT_TRUE(std::isnan(k(0, 2)));
  EXPECT_EQ(k(1, 1), 900);
  EXPECT_EQ(k(1, 2), 480);
  Intrinsics out;
  camera_.affineIntrinsics(in, 0, 0, 0, 480, 640, 480, &out);
  EXPECT_TRUE(std::isnan(out.fx));
  EXPECT_EQ(out.fy, 900);
}

TEST_F(CameraIntrinsicsTest, AffineRecordHasItsSizeAndTheSameDistortion) {
  Intrinsics in = record(1000, 900, 2, 640, 480);
  in.width = 1;
  in.height = 2;
  in.distortion = {1, 2, 3};
  Intrinsics out;
  out.distortion.assign(12, 7);
  camera_.affineIntrinsics(in, 0, 120, 1280, 720, 640, 360, &out);
  EXPECT_EQ(out.width, 640);
  EXPECT_EQ(out.height, 360);
  EXPECT_EQ(out.fx, 500);
  EXPECT_EQ(out.fy, 450);
  EXPECT_EQ(out.skew, 1);
  EXPECT_EQ(out.cx, 320);
  EXPECT_EQ(out.cy, 180);
  EXPECT_THAT(out.distortion, ElementsAre(1, 2, 3));
}

TEST_F(CameraIntrinsicsTest, AffineRecordInPlace) {
  Intrinsics in = record(1000, 900, 2, 640, 480);
  in.distortion = {1, 2, 3};
  camera_.affineIntrinsics(in, 100, 50, 640, 480, 320, 240, &in);
  EXPECT_EQ(in.width, 320);
  EXPECT_EQ(in.height, 240);
  EXPECT_EQ(in.fx, 500);
  EXPECT_EQ(in.fy, 450);
  EXPECT_EQ(in.skew, 1);
  EXPECT_EQ(in.cx, 270);
  EXPECT_EQ(in.cy, 215);
  EXPECT_THAT(in.distortion, ElementsAre(1, 2, 3));
}

TEST_F(CameraIntrinsicsTest, WholeFrameAtItsOwnSizeIsUnchanged) {
  const Intrinsics in = record(719.99F, 720.01F, 0.125F, 640.3F, 479.7F);
  EXPECT_EQ(camera_.recomputeKMatrix(in, 0, 0, 1280, 960, 1280, 960),
            cameraMatrix(719.99F, 720.01F, 0.125F, 640.3F, 479.7F));
}

/// One row of a camera model's table: crop origin and size, output size.
struct Row {
  int x0, y0, w, h, width, height;
};

void expectRow(const Intrinsics& entry, const Intrinsics& full, const Row& row) {
  const float sx = static_cast<float>(row.width) / static_cast<float>(row.w);
  const float sy = static_cast<float>(row.height) / static_cast<float>(row.h);
  EXPECT_EQ(entry.width, row.width);
  EXPECT_EQ(entry.height, row.height);
  EXPECT_EQ(entry.fx, sx * full.fx);
  EXPECT_EQ(entry.fy, sy * full.fy);
  EXPECT_EQ(entry.skew, sx * full.skew);
  EXPECT_EQ(entry.cx, sx * full.cx - sx * static_cast<float>(row.x0));
  EXPECT_EQ(entry.cy, sy * full.cy - sy * static_cast<float>(row.y0));
  EXPECT_EQ(entry.distortion, full.distortion);
}

TEST_F(CameraIntrinsicsTest, NavigationModel) {
  CameraCalibration message = exampleCamera("camera", "mk513n");
  message.mutable_intrinsics()->set_skew(0.25);
  message.mutable_intrinsics()->set_cy(481.5);
  // The rows do not depend on the full frame's size.
  message.mutable_intrinsics()->set_width(100);
  message.mutable_intrinsics()->set_height(50);
  ScopedLogCapture capture;
  load(message);
  EXPECT_THAT(lines(capture.take()),
              ElementsAre(LogLine{5, "camera_parameters", "Using Corvel nav camera model."}));
  const auto& table = camera_.getIntrinsicsTable();
  ASSERT_EQ(table.size(), 3U);
  const Intrinsics& full = camera_.getFullFrame();
  expectRow(table[0], full, {0, 0, 1280, 960, 640, 480});
  expectRow(table[1], full, {0, 0, 1280, 960, 1280, 960});
  expectRow(table[2], full, {0, 120, 1280, 720, 1280, 720});
  EXPECT_EQ(table[1].cy, 481.5F);
  EXPECT_EQ(table[2].cy, 361.5F);
  EXPECT_EQ(table[2].fx, full.fx);
  EXPECT_EQ(table[2].fy, full.fy);
  EXPECT_EQ(table[2].cx, full.cx);
}

TEST_F(CameraIntrinsicsTest, B910Model) {
  CameraCalibration message = exampleCamera("camera", "b910");
  message.mutable_intrinsics()->set_fx(2000);
  message.mutable_intrinsics()->set_fy(2000);
  message.mutable_intrinsics()->set_cx(1296);
  message.mutable_intrinsics()->set_cy(972);
  ScopedLogCapture capture;
  load(message);
  EXPECT_THAT(lines(capture.take()),
              ElementsAre(LogLine{5, "camera_parameters", "Using B910 camera model."}));
  const auto& table = camera_.getIntrinsicsTable();
  ASSERT_EQ(table.size(), 4U);
  const int sizes[][2] = {{640, 480}, {800, 600}, {1024, 768}, {1280, 960}};
  for (std::size_t i = 0; i < 4; ++i) {
    expectRow(table[i], camera_.getFullFrame(), {176, 136, 2232, 1672, sizes[i][0], sizes[i][1]});
  }
  const float sx = 640.0F / 2232.0F;
  EXPECT_EQ(table[0].fx, 2000.0F * sx);
  EXPECT_EQ(table[0].cx, sx * 1296.0F - sx * 176.0F);
}

TEST_F(CameraIntrinsicsTest, OtherModelsKeepTheFullFrameAlone) {
  for (const char* model : {"any", "B910", "MK513N", "mk512h ", ""}) {
    CameraParameters camera;
    CameraCalibration message = exampleCamera("camera", model);
    message.mutable_intrinsics()->set_width(1600);
    message.mutable_intrinsics()->set_height(1200);
    ScopedLogCapture capture;
    ASSERT_TRUE(camera.readProto(message)) << model;
    EXPECT_TRUE(capture.take().empty()) << model;
    ASSERT_EQ(camera.getIntrinsicsTable().size(), 1U) << model;
    expectRow(camera.getIntrinsicsTable()[0], camera.getFullFrame(),
              {0, 0, 1600, 1200, 1600, 1200});
    EXPECT_EQ(camera.getIntrinsics(1600, 1200), camera.getFullFrameIntrinsics());
  }
}

TEST_F(CameraIntrinsicsTest, OtherModelsNeedTheSizeToBePresent) {
  for (const bool without_width : {true, false}) {
    CameraCalibration message = exampleCamera("camera", "any");
    if (without_width) {
      message.mutable_intrinsics()->clear_width();
    } else {
      message.mutable_intrinsics()->clear_height();
    }
    CameraParameters camera;
    ASSERT_TRUE(camera.precomputeB910Intrinsics());
    ScopedLogCapture capture;
    EXPECT_FALSE(camera.readProto(message));
    EXPECT_TRUE(capture.take().empty());
    EXPECT_EQ(camera.getIntrinsicsTable().size(), 4U);  // as it was
  }
  // A width of zero that is stored counts as stored.
  CameraCalibration message = exampleCamera("camera", "any");
  message.mutable_intrinsics()->set_width(0);
  CameraParameters camera;
  EXPECT_TRUE(camera.readProto(message));
  EXPECT_TRUE(std::isnan(camera.getIntrinsicsTable().at(0).fx));
}

TEST_F(CameraIntrinsicsTest, PrecomputingAgainGivesTheSameTable) {
  for (const char* model : {"mk513n", "b910", "any"}) {
    CameraParameters camera;
    ASSERT_TRUE(camera.readProto(exampleCamera("camera", model)));
    const std::vector<Intrinsics> before = camera.getIntrinsicsTable();
    ASSERT_TRUE(camera.precomputeIntrinsics());
    const std::vector<Intrinsics>& after = camera.getIntrinsicsTable();
    ASSERT_EQ(after.size(), before.size());
    for (std::size_t i = 0; i < after.size(); ++i) {
      EXPECT_EQ(after[i].width, before[i].width);
      EXPECT_EQ(after[i].height, before[i].height);
      EXPECT_EQ(after[i].cx, before[i].cx);
      EXPECT_EQ(after[i].cy, before[i].cy);
      EXPECT_EQ(after[i].fx, before[i].fx);
      EXPECT_EQ(after[i].fy, before[i].fy);
      EXPECT_EQ(after[i].distortion, before[i].distortion);
    }
  }
}

TEST_F(CameraIntrinsicsTest, LongerTablesShrink) {
  const std::pair<const char*, std::size_t> sizes[] = {{"mk513n", 3}, {"any", 1}};
  for (const auto& [model, size] : sizes) {
    CameraParameters camera;
    ASSERT_TRUE(camera.readProto(exampleCamera("camera", model)));
    ASSERT_TRUE(camera.precomputeB910Intrinsics());
    ASSERT_EQ(camera.getIntrinsicsTable().size(), 4U);
    ASSERT_TRUE(camera.precomputeIntrinsics());
    ASSERT_EQ(camera.getIntrinsicsTable().size(), size) << model;
    for (const Intrinsics& entry : camera.getIntrinsicsTable()) {
      EXPECT_EQ(entry.distortion, camera.getFullFrameDistortion()) << model;
    }
  }
}

TEST_F(CameraIntrinsicsTest, ConcurrentQueries) {
  load(exampleCamera("camera", "b910"));
  const Matrix3x3_f hit = camera_.getIntrinsics(800, 600);
  const Matrix3x3_f miss = camera_.getIntrinsics(320, 240);
  std::vector<std::thread> threads;
  std::vector<int> wrong(4, 0);
  threads.reserve(wrong.size());
  for (int& mine : wrong) {
    threads.emplace_back([&] {
      for (int i = 0; i < 1000; ++i) {
        if (camera_.getIntrinsics(800, 600) != hit || camera_.getIntrinsics(320, 240) != miss ||
            camera_.getDistortion(800, 600).size() != 8U) {
          ++mine;
        }
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_THAT(wrong, ElementsAre(0, 0, 0, 0));
}

}  // namespace
}  // namespace norv::calibration
