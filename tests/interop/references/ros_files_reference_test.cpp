/// Calibrations that ROS writes now, read by us; and ours, read by ROS.

#include <fmt/format.h>
#include <gmock/gmock.h>
#include <yaml-cpp/yaml.h>

#include "testing/run_program.h"
#include "testing/temporary_folder.h"
#include "testing/written_cameras.h"
#include "tests/interop/references/drawn_cameras.h"

namespace norv::interop {
namespace {

using norv::testing::TemporaryFolder;
using testing::DrawnCamera;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr double kHalf = 0.5;

/// What ROS writes, having read the text; the syntaxes are "yaml" or "ini".
std::string throughRos(const std::string& text, const std::string& from, const std::string& to) {
  const TemporaryFolder folder;
  const std::string input = folder.write("in." + from, text);
  const std::string output = folder.path("out." + to);
  const auto result = norv::testing::runProgram(
      fmt::format(CAMERA_PARAMETERS_ROS_CONVERT " '{}' '{}'", input, output));
  EXPECT_EQ(result.status, 0) << result.output << result.errors;
  return norv::testing::contentsOf(output);
}

std::string listOf(const std::vector<double>& numbers) {
  return fmt::format("[{}]", fmt::join(numbers, ", "));
}

std::vector<double> cameraMatrix(const DrawnCamera& camera) {
  return {camera.fx, 0, camera.cx, 0, camera.fy, camera.cy, 0, 0, 1};
}

std::vector<double> projection(const DrawnCamera& camera) {
  return {camera.fx, 0, camera.cx, 0, 0, camera.fy, camera.cy, 0, 0, 0, 1, 0};
}

/// What of a file describes the rectified picture.
struct Rectified {
  std::vector<double> rotation;
  std::vector<double> projection;
};

Rectified plain(const DrawnCamera& camera) {
  return {{1, 0, 0, 0, 1, 0, 0, 0, 1}, projection(camera)};
}

std::string matrix(const std::string& key, int rows, int cols, const std::vector<double>& numbers) {
  return fmt::format("{}:\n  rows: {}\n  cols: {}\n  data: {}\n", key, rows, cols, listOf(numbers));
}

std::string yamlOf(const DrawnCamera& camera, const std::string& model,
                   const Rectified& rectified) {
  return fmt::format("image_width: {}\nimage_height: {}\ncamera_name: left\n", camera.size.width,
                     camera.size.height) +
         matrix("camera_matrix", 3, 3, cameraMatrix(camera)) +
         fmt::format("distortion_model: {}\n", model) +
         matrix("distortion_coefficients", 1, static_cast<int>(camera.coefficients.size()),
                camera.coefficients) +
         matrix("rectification_matrix", 3, 3, rectified.rotation) +
         matrix("projection_matrix", 3, 4, rectified.projection);
}

PeerFile read(const std::string& text) {
  EXPECT_EQ(detectFormat(text), PeerFormat::kRos);
  return testing::mustRead(readCameras({"f", text}, PeerFormat::kRos, {}));
}

/// Twenty cameras of a lens.
void expectReads(const std::string& model, std::size_t coefficients, unsigned seed) {
  std::mt19937 random(seed);
  for (int i = 0; i < 20; ++i) {
    const DrawnCamera drawn = testing::drawCamera(coefficients, &random);
    const PeerFile file = read(throughRos(yamlOf(drawn, model, plain(drawn)), "yaml", "yaml"));
    ASSERT_EQ(file.cameras.size(), 1U);
    EXPECT_TRUE(file.not_taken_over.empty());
    EXPECT_TRUE(file.notes.empty());
    EXPECT_EQ(file.cameras[0].name, "left");
    testing::expectDrawn(file.cameras[0], drawn, kHalf);
  }
}

TEST(RosFilesReference, ReadsPlumbBob) { expectReads("plumb_bob", 5, 88); }
TEST(RosFilesReference, ReadsRationalPolynomials) { expectReads("rational_polynomial", 8, 89); }
TEST(RosFilesReference, ReadsEquidistantLenses) { expectReads("equidistant", 4, 90); }

TEST(RosFilesReference, TellsOfRectifiedPictures) {
  std::mt19937 random(91);
  const DrawnCamera drawn = testing::drawCamera(5, &random);
  Rectified rectified = plain(drawn);
  rectified.rotation = {0.8, -0.6, 0, 0.6, 0.8, 0, 0, 0, 1};
  rectified.projection[3] = -60.5;
  const std::string text = yamlOf(drawn, "plumb_bob", rectified);
  for (const char* const syntax : {"yaml", "ini"}) {
    std::vector<std::string> keys;
    for (const NotTakenOver& one : read(throughRos(text, "yaml", syntax)).not_taken_over) {
      keys.push_back(one.key.substr(one.key.find('.') + 1));
    }
    const bool is_yaml = std::string(syntax) == "yaml";
    EXPECT_THAT(keys, is_yaml ? ElementsAre("rectification_matrix", "projection_matrix")
                              : ElementsAre("rectification", "projection"));
  }
}

/// The number that is left of another one in an INI file.
double withFiveDecimals(double number) { return std::stod(fmt::format("{:.5f}", number)); }

DrawnCamera withFiveDecimals(DrawnCamera camera) {
  for (double* const number : {&camera.fx, &camera.fy, &camera.cx, &camera.cy}) {
    *number = withFiveDecimals(*number);
  }
  for (double& number : camera.coefficients) number = withFiveDecimals(number);
  return camera;
}

TEST(RosFilesReference, ReadsIni) {
  std::mt19937 random(92);
  for (int i = 0; i < 20; ++i) {
    const DrawnCamera drawn = testing::drawCamera(5, &random);
    const PeerFile file = read(throughRos(yamlOf(drawn, "plumb_bob", plain(drawn)), "yaml", "ini"));
    ASSERT_EQ(file.cameras.size(), 1U);
    EXPECT_THAT(file.not_taken_over, IsEmpty());
    EXPECT_EQ(file.cameras[0].name, "left");
    testing::expectDrawn(file.cameras[0], withFiveDecimals(drawn), kHalf);
  }
}

WriteOptions optionsOf(Syntax syntax) {
  WriteOptions options;
  options.format = PeerFormat::kRos;
  options.syntax = syntax;
  return options;
}

std::vector<double> dataOf(const YAML::Node& file, const std::string& key) {
  return file[key]["data"].as<std::vector<double>>();
}

TEST(RosFilesReference, GivesBackOurDoubles) {
  std::mt19937 random(95);
  for (int i = 0; i < 40; ++i) {
    const bool is_short = i % 2 == 0;
    const WrittenCamera camera = norv::testing::randomWrittenCamera(is_short ? 5 : 8, &random);
    const calibration::CameraModel& model = camera.model;
    const YAML::Node file = YAML::Load(
        throughRos(norv::testing::peerTextOf({camera}, optionsOf(Syntax::kUsual)), "yaml", "yaml"));
    EXPECT_EQ(file["image_width"].as<int>(), model.width);
    EXPECT_EQ(file["image_height"].as<int>(), model.height);
    EXPECT_EQ(file["camera_name"].as<std::string>(), "left");
    EXPECT_EQ(file["distortion_model"].as<std::string>(),
              is_short ? "plumb_bob" : "rational_polynomial");
    const auto k = model.lens.toCoefficients();
    EXPECT_EQ(testing::bitsOf(dataOf(file, "distortion_coefficients")),
              testing::bitsOf({k.begin(), k.begin() + (is_short ? 5 : 8)}));
    const DrawnCamera drawn = {{}, model.fx, model.fy, model.cx - kHalf, model.cy - kHalf, {}};
    EXPECT_EQ(testing::bitsOf(dataOf(file, "camera_matrix")), testing::bitsOf(cameraMatrix(drawn)));
    EXPECT_EQ(dataOf(file, "projection_matrix"), projection(drawn));
    EXPECT_EQ(dataOf(file, "rectification_matrix"),
              (std::vector<double>{1, 0, 0, 0, 1, 0, 0, 0, 1}));
  }
}

/// How far what ROS read is from the five decimals that were written; its reader loses the last
/// bit.
double largestDifference(const std::vector<double>& read, const std::vector<double>& written) {
  EXPECT_EQ(read.size(), written.size());
  double largest = 0;
  for (std::size_t i = 0; i < written.size(); ++i) {
    const double expected = withFiveDecimals(written[i]);
    largest = std::fmax(largest, std::abs(read.at(i) - expected) / (1 + std::abs(expected)));
  }
  return largest;
}

TEST(RosFilesReference, ReadsOurIni) {
  std::mt19937 random(96);
  double largest = 0;
  for (int i = 0; i < 20; ++i) {
    const WrittenCamera camera = testing::drawBoth(5, &random).written;
    const calibration::CameraModel& model = camera.model;
    const YAML::Node file = YAML::Load(
        throughRos(norv::testing::peerTextOf({camera}, optionsOf(Syntax::kIni)), "ini", "yaml"));
    EXPECT_EQ(file["image_width"].as<int>(), model.width);
    EXPECT_EQ(file["image_height"].as<int>(), model.height);
    EXPECT_EQ(file["camera_name"].as<std::string>(), "left");
    EXPECT_EQ(file["distortion_model"].as<std::string>(), "plumb_bob");
    const DrawnCamera drawn = {{}, model.fx, model.fy, model.cx - kHalf, model.cy - kHalf, {}};
    const auto k = model.lens.toCoefficients();
    for (const double difference :
         {largestDifference(dataOf(file, "camera_matrix"), cameraMatrix(drawn)),
          largestDifference(dataOf(file, "projection_matrix"), projection(drawn)),
          largestDifference(dataOf(file, "distortion_coefficients"), {k.begin(), k.begin() + 5})}) {
      largest = std::fmax(largest, difference);
    }
  }
  // 5e-17 measured.
  EXPECT_LT(largest, 1e-15);
}

}  // namespace
}  // namespace norv::interop
