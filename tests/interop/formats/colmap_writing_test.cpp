#include <gtest/gtest.h>

#include <string>

#include "interop/formats/colmap.h"
#include "testing/written_cameras.h"

namespace norv::interop {
namespace {

using calibration::PixelOrigin;
using testing::hasSameDoubles;
using testing::poseDifference;
using testing::randomWrittenCamera;
using testing::refusalToWrite;
using testing::writtenBy;

WriteOptions colmapOptions(PixelOrigin origin = PixelOrigin::kImageCorner) {
  return {PeerFormat::kColmap, Syntax::kUsual, origin};
}

PeerWriting written(const std::vector<WrittenCamera>& cameras,
                    const WriteOptions& options = colmapOptions()) {
  return writtenBy(cameras, options);
}

PeerFile readBack(const PeerWriting& writing, PixelOrigin origin) {
  ReadOptions options;
  options.pixel_origin = origin;
  options.metres_per_unit = 1;
  const auto& files = writing.files;
  EXPECT_TRUE(isColmapImages(files.at(1).contents));
  const PeerReading reading =
      readColmap({"c", files[0].contents}, {"i", files[1].contents}, options);
  if (const auto* problem = std::get_if<FormatProblem>(&reading)) {
    ADD_FAILURE() << describe(*problem);
    return {};
  }
  return std::get<PeerFile>(reading);
}

std::string refusalOf(const std::vector<WrittenCamera>& cameras) {
  return refusalToWrite(cameras, colmapOptions());
}

WrittenCamera plainCamera(const std::string& name) {
  WrittenCamera camera;
  camera.name = name;
  camera.model = {1280, 960, 900, 901.5, 0, 640.5, 480.25, {}};
  camera.camera_from_parent = RigidPose{Eigen::Matrix3d::Identity(), {0.25, -1, 1e-5}};
  return camera;
}

TEST(ColmapWriting, WritesThreeFilesOfOneCameraEach) {
  WrittenCamera second = plainCamera("right");
  second.model.lens.k2 = 0.1;
  WrittenCamera third = plainCamera("top");
  third.model.lens.k3 = -0.5;
  const PeerWriting writing = written({plainCamera("left"), second, third});
  ASSERT_EQ(writing.files.size(), 3U);
  EXPECT_EQ(writing.files[0].name, "cameras.txt");
  EXPECT_EQ(writing.files[0].contents, R"(# Camera list with one line of data per camera:
#   CAMERA_ID, MODEL, WIDTH, HEIGHT, PARAMS[]
# Number of cameras: 3
# Pixels are counted from the image's corner, as COLMAP does.
# Camera 1 is left
# Camera 2 is right
# Camera 3 is top
1 PINHOLE 1280 960 900 901.5 640.5 480.25
2 OPENCV 1280 960 900 901.5 640.5 480.25 0 0.1 0 0
3 FULL_OPENCV 1280 960 900 901.5 640.5 480.25 0 0 0 0 -0.5 0 0 0
)");
  EXPECT_EQ(writing.files[1].name, "images.txt");
  EXPECT_EQ(writing.files[1].contents, R"(# Image list with two lines of data per image:
#   IMAGE_ID, QW, QX, QY, QZ, TX, TY, TZ, CAMERA_ID, NAME
#   POINTS2D[] as (X, Y, POINT3D_ID)
# Number of images: 3, mean observations per image: 0
# The world is the frame robot, its unit the metre.
1 1 0 0 0 0.25 -1 1e-05 1 left

2 1 0 0 0 0.25 -1 1e-05 2 right

3 1 0 0 0 0.25 -1 1e-05 3 top

)");
  EXPECT_EQ(writing.files[2].name, "points3D.txt");
  EXPECT_EQ(writing.files[2].contents, R"(# 3D point list with one line of data per point:
#   POINT3D_ID, X, Y, Z, R, G, B, ERROR, TRACK[] as (IMAGE_ID, POINT2D_IDX)
# Number of points: 0, mean track length: 0
)");
  EXPECT_TRUE(writing.notes.empty());
}

TEST(ColmapWriting, ShiftsNoPixelUnlessTold) {
  const std::string text =
      written({plainCamera("left")}, colmapOptions(PixelOrigin::kPixelCentre)).files.at(0).contents;
  EXPECT_NE(text.find("# Pixels are counted from the centre of the first pixel, unlike COLMAP.\n"),
            std::string::npos);
  EXPECT_NE(text.find(" 640 479.75\n"), std::string::npos);
}

TEST(ColmapWriting, ReadsBackTheDoublesOfAThousandCameras) {
  std::mt19937 random(14);
  for (const PixelOrigin origin : {PixelOrigin::kImageCorner, PixelOrigin::kPixelCentre}) {
    std::vector<WrittenCamera> cameras;
    for (std::size_t i = 0; i < 1000; ++i) {
      cameras.push_back(randomWrittenCamera(std::array{0, 4, 5, 8}.at(i % 4), &random));
      cameras.back().name = "camera_" + std::to_string(i);
    }
    const PeerFile file = readBack(written(cameras, colmapOptions(origin)), origin);
    EXPECT_EQ(file.parent, "world");
    EXPECT_TRUE(file.not_taken_over.empty());
    ASSERT_EQ(file.cameras.size(), cameras.size());
    double largest = 0;
    for (std::size_t i = 0; i < cameras.size(); ++i) {
      const PeerCamera& read = file.cameras[i];
      ASSERT_EQ(read.name, cameras[i].name);
      ASSERT_TRUE(hasSameDoubles(read, cameras[i].model, origin)) << i;
      EXPECT_EQ(read.camera_from_parent->translation, cameras[i].camera_from_parent->translation);
      largest = std::fmax(largest,
                          poseDifference(*read.camera_from_parent, *cameras[i].camera_from_parent));
    }
    EXPECT_LT(largest, 1e-12);  // 4.3e-15 was measured
    RecordProperty("largest", std::to_string(largest * 1e15) + "e-15");
  }
}

TEST(ColmapWriting, ChangesNamesThatImagesCannotHave) {
  const PeerWriting writing =
      written({plainCamera("a b\tc"), plainCamera("cam.v2"), plainCamera("v1.2/cam")});
  EXPECT_EQ(writing.notes,
            (std::vector<std::string>{
                "camera a b\\x09c is called a_b_c in images.txt, whose names have no blanks",
                "the image of camera cam.v2 is called cam.v2.png, since names in images.txt have "
                "extensions"}));
  const PeerFile file = readBack(writing, PixelOrigin::kImageCorner);
  ASSERT_EQ(file.cameras.size(), 3U);
  EXPECT_EQ(file.cameras[0].name, "a_b_c");
  EXPECT_EQ(file.cameras[1].name, "cam.v2");
  EXPECT_EQ(file.cameras[2].name, "v1.2/cam");
}

TEST(ColmapWriting, HasNoImageOfACameraWithoutPose) {
  WrittenCamera camera = plainCamera("left");
  camera.camera_from_parent.reset();
  const PeerWriting writing = written({camera});
  EXPECT_EQ(writing.notes,
            (std::vector<std::string>{"camera left has no pose, and so no image in images.txt"}));
  EXPECT_NE(writing.files.at(1).contents.find("# Number of images: 0,"), std::string::npos);
  const PeerFile file = readBack(writing, PixelOrigin::kImageCorner);
  EXPECT_EQ(file.cameras.at(0).name, "camera1");
  EXPECT_FALSE(file.cameras[0].camera_from_parent);
}

TEST(ColmapWriting, SaysWhatItCannotHold) {
  EXPECT_EQ(refusalOf({}), "there is no camera to write");
  EXPECT_EQ(refusalOf({plainCamera("a b"), plainCamera("a_b")}),
            "two cameras would be called a_b in COLMAP's images.txt");
  EXPECT_EQ(refusalOf({plainCamera("")}), "a camera without a name cannot be an image of COLMAP's");
  WrittenCamera camera = plainCamera("left");
  camera.model.skew = -3;
  EXPECT_EQ(refusalOf({plainCamera("right"), camera}),
            "camera left has a skew of -3 px, which COLMAP cannot hold");
  camera = plainCamera("left");
  camera.model.fx = 0;
  EXPECT_EQ(refusalOf({camera}),
            "camera left has the focal lengths 0 and 901.5 px, which must be above 0 for COLMAP");
  camera = plainCamera("left");
  camera.model.cx = std::nan("");
  EXPECT_EQ(refusalOf({camera}), "camera left has a number that is not finite");
  camera = plainCamera("left");
  camera.camera_from_parent.reset();
  EXPECT_EQ(refusalOf({plainCamera("right"), camera}),
            "camera left has no pose, and COLMAP's images are those of all cameras or of none");
  EXPECT_EQ(refusalOf({camera, plainCamera("right")}),
            "camera right has a pose, and COLMAP's images are those of all cameras or of none");
  camera = plainCamera("left");
  camera.camera_from_parent->rotation(0, 0) = 1.01;
  EXPECT_EQ(refusalOf({camera}), "camera left has a pose whose rotation is 0.01 off the next one");
}

}  // namespace
}  // namespace norv::interop
