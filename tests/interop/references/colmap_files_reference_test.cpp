/// Models that COLMAP writes now, read by us; and ours, read by COLMAP.

#include <fmt/format.h>
#include <gmock/gmock.h>

#include <filesystem>
#include <map>
#include <sstream>

#include "testing/run_program.h"
#include "testing/temporary_folder.h"
#include "testing/written_cameras.h"
#include "tests/interop/references/drawn_cameras.h"

namespace norv::interop {
namespace {

using norv::testing::TemporaryFolder;
using testing::DrawnCamera;
using ::testing::ElementsAreArray;

/// Has COLMAP read the model in one folder and write it into another one, which is made.
void convert(const std::string& from, const std::string& to, const std::string& type) {
  std::filesystem::create_directory(to);
  const auto result = norv::testing::runProgram(
      fmt::format(CAMERA_PARAMETERS_COLMAP
                  " model_converter --input_path '{}' --output_path '{}' --output_type {}",
                  from, to, type));
  ASSERT_EQ(result.status, 0) << result.output << result.errors;
}

/// A text model that COLMAP wrote, having read it as a binary one, and that one from our text.
struct ColmapModel {
  std::string cameras;
  std::string images;
};

ColmapModel throughColmap(const std::vector<WrittenFile>& files) {
  const TemporaryFolder folder;
  for (const WrittenFile& file : files) folder.write(file.name, file.contents);
  convert(folder.path(), folder.path("binary"), "BIN");
  convert(folder.path("binary"), folder.path("text"), "TXT");
  return {norv::testing::contentsOf(folder.path("text/cameras.txt")),
          norv::testing::contentsOf(folder.path("text/images.txt"))};
}

PeerFile read(const ColmapModel& model) {
  ReadOptions options;
  options.metres_per_unit = 1;
  EXPECT_EQ(detectFormat(model.cameras), PeerFormat::kColmap);
  EXPECT_EQ(detectFormat(model.images), PeerFormat::kColmap);
  EXPECT_FALSE(isColmapImages(model.cameras));
  EXPECT_TRUE(isColmapImages(model.images));
  return testing::mustRead(
      readColmap({"cameras.txt", model.cameras}, {"images.txt", model.images}, options));
}

/// A lens of COLMAP's, and how many focal lengths and coefficients it has.
struct Lens {
  const char* name;
  int focal_lengths;
  std::size_t coefficients;
};
constexpr std::array<Lens, 10> kLenses = {{{"SIMPLE_PINHOLE", 1, 0},
                                           {"PINHOLE", 2, 0},
                                           {"SIMPLE_RADIAL", 1, 1},
                                           {"RADIAL", 1, 2},
                                           {"OPENCV", 2, 4},
                                           {"FULL_OPENCV", 2, 8},
                                           {"SIMPLE_RADIAL_FISHEYE", 1, 1},
                                           {"RADIAL_FISHEYE", 1, 2},
                                           {"OPENCV_FISHEYE", 2, 4},
                                           {"FOV", 2, 1}}};

std::string cameraLine(std::size_t id, const Lens& lens, const DrawnCamera& camera) {
  std::string line = fmt::format("{} {} {} {} {}", id, lens.name, camera.size.width,
                                 camera.size.height, camera.fx);
  if (lens.focal_lengths == 2) line += fmt::format(" {}", camera.fy);
  line += fmt::format(" {} {}", camera.cx, camera.cy);
  for (const double k : camera.coefficients) line += fmt::format(" {}", k);
  return line + "\n";
}

TEST(ColmapFilesReference, ReadsItsModels) {
  std::mt19937 random(84);
  std::vector<DrawnCamera> cameras;
  std::vector<RigidPose> poses;
  std::vector<WrittenFile> files = {{"cameras.txt", ""}, {"images.txt", ""}, {"points3D.txt", ""}};
  for (std::size_t i = 0; i < 5 * kLenses.size(); ++i) {
    const Lens& lens = kLenses.at(i % kLenses.size());
    DrawnCamera camera = testing::drawCamera(lens.coefficients, &random);
    if (lens.focal_lengths == 1) camera.fy = camera.fx;
    if (std::string(lens.name) == "FOV") camera.coefficients[0] = 0.9;
    files[0].contents += cameraLine(i + 1, lens, camera);
    cameras.push_back(camera);
    poses.push_back(norv::testing::randomWrittenPose(&random));
    const Eigen::Quaterniond q(poses[i].rotation);
    const Eigen::Vector3d& t = poses[i].translation;
    files[1].contents +=
        fmt::format("{} {} {} {} {} {} {} {} {} folder/image_{}.png\n12.5 7.25 -1 3.5 4.5 -1\n",
                    i + 1, q.w(), q.x(), q.y(), q.z(), t.x(), t.y(), t.z(), i + 1, i + 1);
  }
  const PeerFile file = read(throughColmap(files));
  ASSERT_EQ(file.cameras.size(), cameras.size());
  EXPECT_EQ(file.parent, "world");
  ASSERT_EQ(file.not_taken_over.size(), 1U);
  EXPECT_EQ(file.not_taken_over[0].key, "POINTS2D of images.txt");
  std::map<std::string, const PeerCamera*> camera_of;
  for (const PeerCamera& camera : file.cameras) camera_of[camera.name] = &camera;
  double largest = 0;
  for (std::size_t i = 0; i < cameras.size(); ++i) {
    const PeerCamera& camera = *camera_of.at("folder/image_" + std::to_string(i + 1));
    testing::expectDrawn(camera, cameras[i], 0);
    ASSERT_TRUE(camera.camera_from_parent.has_value());
    EXPECT_EQ(camera.camera_from_parent->translation, poses[i].translation);
    largest =
        std::fmax(largest, norv::testing::poseDifference(*camera.camera_from_parent, poses[i]));
  }
  // 9e-16 measured.
  EXPECT_LT(largest, 1e-14);
}

/// The words of the lines that are no comments, by the first of them.
std::map<int, std::vector<std::string>> linesById(const std::string& text) {
  std::map<int, std::vector<std::string>> lines;
  std::istringstream stream(text);
  for (std::string line; std::getline(stream, line);) {
    if (line.empty() || line[0] == '#') continue;
    std::istringstream words(line);
    int id = 0;
    words >> id;
    for (std::string word; words >> word;) lines[id].push_back(word);
  }
  return lines;
}

std::vector<double> numbersFrom(const std::vector<std::string>& words, std::size_t begin,
                                std::size_t end) {
  std::vector<double> numbers;
  for (std::size_t i = begin; i < end; ++i) numbers.push_back(std::stod(words.at(i)));
  return numbers;
}

/// Has COLMAP read a rig of ours with lenses of that many coefficients.
void expectReadsOurs(int coefficients, const std::string& lens, unsigned seed) {
  constexpr std::size_t kCameras = 25;
  std::mt19937 random(seed);
  const std::vector<WrittenCamera> rig = norv::testing::randomRig(kCameras, coefficients, &random);
  WriteOptions options;
  options.format = PeerFormat::kColmap;
  const ColmapModel model = throughColmap(norv::testing::writtenBy(rig, options).files);
  const auto cameras = linesById(model.cameras);
  const auto images = linesById(model.images);
  ASSERT_EQ(cameras.size(), kCameras);
  ASSERT_EQ(images.size(), kCameras);
  for (std::size_t i = 0; i < kCameras; ++i) {
    const calibration::CameraModel& written = rig[i].model;
    const auto& words = cameras.at(static_cast<int>(i) + 1);
    EXPECT_EQ(words.at(0), lens);
    const auto k = written.lens.toCoefficients();
    std::vector<double> expected = {static_cast<double>(written.width),
                                    static_cast<double>(written.height),
                                    written.fx,
                                    written.fy,
                                    written.cx,
                                    written.cy};
    expected.insert(expected.end(), k.begin(), k.begin() + coefficients);
    EXPECT_EQ(testing::bitsOf(numbersFrom(words, 1, words.size())), testing::bitsOf(expected));
    const auto& image = images.at(static_cast<int>(i) + 1);
    EXPECT_EQ(image.at(8), rig[i].name);
    EXPECT_EQ(image.at(7), std::to_string(i + 1));
    const RigidPose& pose = rig[i].camera_from_parent.value();
    const Eigen::Vector3d& t = pose.translation;
    EXPECT_THAT(numbersFrom(image, 4, 7), ElementsAreArray({t.x(), t.y(), t.z()}));
    const std::vector<double> q = numbersFrom(image, 0, 4);
    const Eigen::Matrix3d rotation = Eigen::Quaterniond(q[0], q[1], q[2], q[3]).toRotationMatrix();
    EXPECT_LT((rotation - pose.rotation).cwiseAbs().maxCoeff(), 1e-14);
  }
}

TEST(ColmapFilesReference, ReadsOurPinholeCameras) { expectReadsOurs(0, "PINHOLE", 85); }
TEST(ColmapFilesReference, ReadsOurLensesOfFourCoefficients) { expectReadsOurs(4, "OPENCV", 86); }
TEST(ColmapFilesReference, ReadsOurLensesOfEightCoefficients) {
  expectReadsOurs(8, "FULL_OPENCV", 87);
}

}  // namespace
}  // namespace norv::interop
