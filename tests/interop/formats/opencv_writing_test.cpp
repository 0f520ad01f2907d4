#include <gmock/gmock.h>

#include <nlohmann/json.hpp>
#include <random>

#include "interop/formats/opencv.h"
#include "testing/written_cameras.h"
#include "tests/interop/formats/read_text.h"

namespace norv::interop {
namespace {

using calibration::PixelOrigin;
using norv::testing::hasSameDoubles;
using norv::testing::peerTextOf;
using norv::testing::randomWrittenCamera;
using norv::testing::refusalToWrite;
using norv::testing::writtenBy;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr testing::TextReader kOpenCv{PeerFormat::kOpenCv};

WriteOptions optionsOf(Syntax syntax, PixelOrigin origin = PixelOrigin::kPixelCentre) {
  return {PeerFormat::kOpenCv, syntax, origin};
}

PeerWriting written(const WrittenCamera& camera, const WriteOptions& options) {
  return writtenBy({camera}, options);
}

std::string textOf(const WrittenCamera& camera, const WriteOptions& options) {
  return peerTextOf({camera}, options);
}

std::string refusal(const std::vector<WrittenCamera>& cameras, Syntax syntax = Syntax::kUsual) {
  return refusalToWrite(cameras, optionsOf(syntax));
}

WrittenCamera head() {
  WrittenCamera camera;
  camera.name = "head";
  camera.model = {640, 480, 500.5, 501, 0, 320.75, 241.25, {-0.3, 1e-7, 0.001, 0, -0.0, 3e9}};
  return camera;
}

TEST(OpenCvWriting, WritesYaml) {
  EXPECT_EQ(textOf(head(), optionsOf(Syntax::kUsual)),
            "%YAML:1.0\n"
            "---\n"
            "# Pixels are counted from the centre of the first pixel, as OpenCV does.\n"
            "image_width: 640\n"
            "image_height: 480\n"
            "camera_matrix: !!opencv-matrix\n"
            "   rows: 3\n"
            "   cols: 3\n"
            "   dt: d\n"
            "   data: [ 500.5, 0.0, 320.25, 0.0, 501.0, 240.75, 0.0, 0.0, 1.0 ]\n"
            "distortion_coefficients: !!opencv-matrix\n"
            "   rows: 8\n"
            "   cols: 1\n"
            "   dt: d\n"
            "   data: [ -0.3, 1e-07, 0.001, 0.0, -0.0, 3000000000.0, 0.0, 0.0 ]\n");
}

TEST(OpenCvWriting, WritesXml) {
  EXPECT_EQ(textOf(head(), optionsOf(Syntax::kXml)),
            "<?xml version=\"1.0\"?>\n"
            "<opencv_storage>\n"
            "<!-- Pixels are counted from the centre of the first pixel, as OpenCV does. -->\n"
            "<image_width>640</image_width>\n"
            "<image_height>480</image_height>\n"
            "<camera_matrix type_id=\"opencv-matrix\">\n"
            "  <rows>3</rows>\n"
            "  <cols>3</cols>\n"
            "  <dt>d</dt>\n"
            "  <data>\n"
            "    500.5 0.0 320.25 0.0 501.0 240.75 0.0 0.0 1.0</data></camera_matrix>\n"
            "<distortion_coefficients type_id=\"opencv-matrix\">\n"
            "  <rows>8</rows>\n"
            "  <cols>1</cols>\n"
            "  <dt>d</dt>\n"
            "  <data>\n"
            "    -0.3 1e-07 0.001 0.0 -0.0 3000000000.0 0.0 "
            "0.0</data></distortion_coefficients>\n"
            "</opencv_storage>\n");
}

TEST(OpenCvWriting, WritesJson) {
  EXPECT_EQ(textOf(head(), optionsOf(Syntax::kJson)),
            "{\n"
            "    \"image_width\": 640,\n"
            "    \"image_height\": 480,\n"
            "    \"camera_matrix\": {\n"
            "        \"type_id\": \"opencv-matrix\",\n"
            "        \"rows\": 3,\n"
            "        \"cols\": 3,\n"
            "        \"dt\": \"d\",\n"
            "        \"data\": [ 500.5, 0.0, 320.25, 0.0, 501.0, 240.75, 0.0, 0.0, 1.0 ]\n"
            "    },\n"
            "    \"distortion_coefficients\": {\n"
            "        \"type_id\": \"opencv-matrix\",\n"
            "        \"rows\": 8,\n"
            "        \"cols\": 1,\n"
            "        \"dt\": \"d\",\n"
            "        \"data\": [ -0.3, 1e-07, 0.001, 0.0, -0.0, 3000000000.0, 0.0, 0.0 ]\n"
            "    }\n"
            "}\n");
}

TEST(OpenCvWriting, ReadsBackToTheSameDoubles) {
  std::mt19937 random(1);
  for (int i = 0; i < 1000; ++i) {
    const WrittenCamera camera = randomWrittenCamera(8, &random);
    for (const Syntax syntax : {Syntax::kUsual, Syntax::kXml, Syntax::kJson}) {
      for (const PixelOrigin origin : {PixelOrigin::kPixelCentre, PixelOrigin::kImageCorner}) {
        ReadOptions reading;
        reading.pixel_origin = origin;
        const PeerFile file = kOpenCv.file(textOf(camera, optionsOf(syntax, origin)), reading);
        EXPECT_THAT(file.not_taken_over, IsEmpty());
        EXPECT_THAT(file.notes, IsEmpty());
        const PeerCamera& read = file.cameras[0];
        ASSERT_TRUE(hasSameDoubles(read, camera.model, origin)) << i;
      }
    }
  }
}

TEST(OpenCvWriting, JsonIsJson) {
  const auto json = nlohmann::json::parse(textOf(head(), optionsOf(Syntax::kJson)));
  EXPECT_EQ(json.at("distortion_coefficients").at("data").at(5), 3e9);
}

TEST(OpenCvWriting, NameAndPoseAreMentioned) {
  WrittenCamera camera = head();
  EXPECT_THAT(written(camera, optionsOf(Syntax::kUsual)).notes,
              ElementsAre("OpenCV's files have no place for the name of camera head"));
  camera.camera_from_parent = RigidPose{};
  EXPECT_THAT(written(camera, optionsOf(Syntax::kUsual)).notes,
              ElementsAre("OpenCV's files have no place for the name and the pose of camera head"));
}

TEST(OpenCvWriting, WhatItCannotHoldIsRefused) {
  EXPECT_EQ(refusal({head(), head(), head()}),
            "OpenCV's files hold one camera each, and there are 3: choose with --camera");
  EXPECT_EQ(refusal({head()}, Syntax::kIni), "OpenCV's files are YAML, XML or JSON");
  WrittenCamera skewed = head();
  skewed.model.skew = -1;
  EXPECT_EQ(refusal({skewed}), "camera head has a skew of -1 px, which OpenCV cannot hold");
}

}  // namespace
}  // namespace norv::interop
