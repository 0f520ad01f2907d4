#include <gtest/gtest.h>

#include <clocale>
#include <cmath>
#include <limits>
#include <locale>
#include <random>
#include <string>
#include <vector>

#include "interop/peer_reading.h"
#include "interop/peer_writing.h"
#include "testing/written_cameras.h"

namespace norv::interop {
namespace {

using norv::testing::hasSameDoubles;
using norv::testing::randomRig;
using norv::testing::refusalToWrite;
using norv::testing::rigOf;
using norv::testing::writtenBy;

/// A way to write cameras, and what its messages call the format.
struct Way {
  PeerFormat format;
  Syntax syntax;
  const char* name;
  bool has_poses;
};

const std::vector<Way>& ways() {
  static const std::vector<Way> kWays = {{PeerFormat::kRos, Syntax::kUsual, "ROS", false},
                                         {PeerFormat::kRos, Syntax::kIni, "ROS", false},
                                         {PeerFormat::kKalibr, Syntax::kUsual, "Kalibr", true},
                                         {PeerFormat::kOpenCv, Syntax::kUsual, "OpenCV", false},
                                         {PeerFormat::kOpenCv, Syntax::kXml, "OpenCV", false},
                                         {PeerFormat::kOpenCv, Syntax::kJson, "OpenCV", false},
                                         {PeerFormat::kMrcal, Syntax::kUsual, "mrcal", true},
                                         {PeerFormat::kColmap, Syntax::kUsual, "COLMAP", true},
                                         {PeerFormat::kBasalt, Syntax::kUsual, "basalt", true}};
  return kWays;
}

WriteOptions optionsOf(const Way& way) {
  WriteOptions options;
  options.format = way.format;
  options.syntax = way.syntax;
  return options;
}

/// A camera with a pose, that every format can hold.
WrittenCamera plainCamera() {
  WrittenCamera camera = rigOf({"left"}).front();
  camera.camera_from_parent = RigidPose{};
  return camera;
}

/// Why a plain camera is refused once it is changed.
std::string refusalOf(const Way& way, void (*change)(WrittenCamera*)) {
  WrittenCamera camera = plainCamera();
  EXPECT_EQ(refusalToWrite({camera}, optionsOf(way)), "") << way.name;
  change(&camera);
  return refusalToWrite({camera}, optionsOf(way));
}

TEST(FormatWriting, RefusesNumbersThatAreNotFinite) {
  constexpr double kNan = std::numeric_limits<double>::quiet_NaN();
  constexpr double kInfinity = std::numeric_limits<double>::infinity();
  const std::vector<double calibration::CameraModel::*> model = {
      &calibration::CameraModel::fx, &calibration::CameraModel::fy, &calibration::CameraModel::skew,
      &calibration::CameraModel::cx, &calibration::CameraModel::cy};
  using Lens = calibration::LensDistortion<double>;
  const std::vector<double Lens::*> lens = {&Lens::k1, &Lens::k2, &Lens::p1, &Lens::p2,
                                            &Lens::k3, &Lens::k4, &Lens::k5, &Lens::k6};
  for (const Way& way : ways()) {
    for (const double value : {kNan, kInfinity, -kInfinity}) {
      const std::string reason = "camera left has a number that is not finite";
      for (const auto number : model) {
        WrittenCamera camera = plainCamera();
        camera.model.*number = value;
        EXPECT_EQ(refusalToWrite({camera}, optionsOf(way)), reason) << way.name;
      }
      for (const auto number : lens) {
        WrittenCamera camera = plainCamera();
        camera.model.lens.*number = value;
        EXPECT_EQ(refusalToWrite({camera}, optionsOf(way)), reason) << way.name;
      }
    }
  }
}

TEST(FormatWriting, RefusesPosesWhereTheFormatHasThem) {
  const auto requireRefusal = [](void (*change)(WrittenCamera*), const std::string& reason) {
    for (const Way& way : ways()) {
      EXPECT_EQ(refusalOf(way, change), way.has_poses ? reason : "") << way.name;
    }
  };
  const std::string not_finite = "camera left has a pose with a number that is not finite";
  requireRefusal(
      [](WrittenCamera* camera) { camera->camera_from_parent->rotation(2, 1) = std::nan(""); },
      not_finite);
  requireRefusal(
      [](WrittenCamera* camera) { camera->camera_from_parent->translation[2] = HUGE_VAL; },
      not_finite);
  requireRefusal(
      [](WrittenCamera* camera) { camera->camera_from_parent->translation[0] = -1.5e100; },
      "camera left has a pose of more than 1e+100 m");
  requireRefusal([](WrittenCamera* camera) { camera->camera_from_parent->rotation(1, 1) = -1; },
                 "camera left has a pose whose rotation has the determinant -1, which must be 1");
  requireRefusal([](WrittenCamera* camera) { camera->camera_from_parent->rotation.setZero(); },
                 "camera left has a pose whose rotation has the determinant 0, which must be 1");
  requireRefusal([](WrittenCamera* camera) { camera->camera_from_parent->rotation *= 1.5; },
                 "camera left has a pose whose rotation is 0.5 off the next one");
  requireRefusal([](WrittenCamera* camera) { camera->camera_from_parent->rotation *= 1e150; },
                 "camera left has a pose whose rotation is 1e+150 off the next one");
}

TEST(FormatWriting, RefusesSizesThatNoPictureHas) {
  for (const Way& way : ways()) {
    EXPECT_EQ(refusalOf(way, [](WrittenCamera* camera) { camera->model.width = 0; }),
              "camera left has pictures of 0x480 pixels, and each side must be from 1 to 16777216")
        << way.name;
    EXPECT_EQ(
        refusalOf(way, [](WrittenCamera* camera) { camera->model.height = -480; }),
        "camera left has pictures of 640x-480 pixels, and each side must be from 1 to 16777216")
        << way.name;
    EXPECT_EQ(refusalOf(way, [](WrittenCamera* camera) { camera->model.width = 16777217; }),
              "camera left has pictures of 16777217x480 pixels, and each side must be from 1 to "
              "16777216")
        << way.name;
  }
}

TEST(FormatWriting, RefusesSkewAndFocalLengthsThatAreNotAboveZero) {
  for (const Way& way : ways()) {
    const std::string name = way.name;
    EXPECT_EQ(refusalOf(way, [](WrittenCamera* camera) { camera->model.skew = 1e-300; }),
              "camera left has a skew of 1e-300 px, which " + name + " cannot hold");
    EXPECT_EQ(
        refusalOf(way, [](WrittenCamera* camera) { camera->model.fx = -0.0; }),
        "camera left has the focal lengths -0 and 410.25 px, which must be above 0 for " + name);
    EXPECT_EQ(
        refusalOf(way, [](WrittenCamera* camera) { camera->model.fy = -410.25; }),
        "camera left has the focal lengths 400 and -410.25 px, which must be above 0 for " + name);
  }
}

TEST(FormatWriting, NamesNoCameraSoThatItActsOnATerminal) {
  WrittenCamera camera = plainCamera();
  camera.name = "left\x1b[2J\nroot: done";
  camera.model.skew = 1;
  for (const Way& way : ways()) {
    EXPECT_EQ(refusalToWrite({camera}, optionsOf(way)),
              std::string("camera left\\x1b[2J\\nroot: done has a skew of 1 px, which ") +
                  way.name + " cannot hold");
  }
  camera.model.skew = 0;
  for (const Way& way : ways()) {
    for (const std::string& note : writtenBy({camera}, optionsOf(way)).notes) {
      EXPECT_EQ(note.find_first_of("\n\x1b"), std::string::npos) << note;
    }
  }
}

TEST(FormatWriting, SaysWherePixelsAreCountedFromWhereverThereAreComments) {
  for (const Way& way : ways()) {
    if (way.format == PeerFormat::kBasalt || way.syntax == Syntax::kJson) continue;
    WriteOptions options = optionsOf(way);
    for (const auto origin :
         {calibration::PixelOrigin::kPixelCentre, calibration::PixelOrigin::kImageCorner}) {
      options.pixel_origin = origin;
      const std::string from = origin == calibration::PixelOrigin::kImageCorner
                                   ? "the image's corner"
                                   : "the centre of the first pixel";
      const std::string habit = origin == pixelOriginOf(way.format)
                                    ? "as " + std::string(way.name) + " does"
                                    : "unlike " + std::string(way.name);
      const std::string text = writtenBy({plainCamera()}, options).files.at(0).contents;
      const std::string mark = way.syntax == Syntax::kXml ? "\n<!-- " : "# ";
      EXPECT_NE(text.find(mark + "Pixels are counted from " + from + ", " + habit + "."),
                std::string::npos)
          << text;
    }
  }
}

TEST(FormatWriting, CountsPixelsAsTheFormatDoesWhereItIsNotToldOtherwise) {
  for (const Way& way : ways()) {
    const WriteOptions silent = optionsOf(way);
    ASSERT_FALSE(silent.pixel_origin);
    EXPECT_EQ(writtenOrigin(silent), pixelOriginOf(way.format)) << way.name;
    WriteOptions told = silent;
    told.pixel_origin = pixelOriginOf(way.format);
    const std::string text = writtenBy({plainCamera()}, silent).files.at(0).contents;
    EXPECT_EQ(text, writtenBy({plainCamera()}, told).files.at(0).contents) << way.name;
    told.pixel_origin = way.format == PeerFormat::kColmap ? calibration::PixelOrigin::kPixelCentre
                                                          : calibration::PixelOrigin::kImageCorner;
    EXPECT_EQ(writtenOrigin(told), told.pixel_origin) << way.name;
    EXPECT_NE(text, writtenBy({plainCamera()}, told).files.at(0).contents) << way.name;
  }
}

/// As in German: 1.234,5.
class CommaPunctuation : public std::numpunct<char> {
 protected:
  char do_decimal_point() const override { return ','; }
  char do_thousands_sep() const override { return '.'; }
  std::string do_grouping() const override { return "\3"; }
};

/// C++'s locale and, where the system has it, C's. Undone at the end.
class GermanLocale {
 public:
  GermanLocale()
      : before_(std::locale::global(std::locale(std::locale(), new CommaPunctuation))),
        c_before_(std::setlocale(LC_ALL, nullptr)) {
    for (const char* const name : {"de_DE.UTF-8", "de_DE.utf8", "de_DE"}) {
      if (std::setlocale(LC_ALL, name) != nullptr) break;
    }
  }
  ~GermanLocale() {
    std::locale::global(before_);
    std::setlocale(LC_ALL, c_before_.c_str());
  }
  GermanLocale(const GermanLocale&) = delete;
  GermanLocale& operator=(const GermanLocale&) = delete;

 private:
  std::locale before_;
  std::string c_before_;
};

PeerFile readBack(const PeerWriting& writing, PeerFormat format) {
  const PeerReading reading = readCameras({"f", writing.files.at(0).contents}, format, {});
  if (const auto* problem = std::get_if<FormatProblem>(&reading)) {
    ADD_FAILURE() << describe(*problem);
    return {};
  }
  return std::get<PeerFile>(reading);
}

TEST(FormatWriting, HasTheSameNumbersWhateverTheLocale) {
  std::mt19937 random(20261122);
  for (const Way& way : ways()) {
    for (int i = 0; i < 20; ++i) {
      const int coefficients = way.format == PeerFormat::kKalibr ? 4 : 5;
      const auto rig = randomRig(1, coefficients, &random);
      const PeerWriting usual = writtenBy(rig, optionsOf(way));
      const GermanLocale german;
      const PeerWriting writing = writtenBy(rig, optionsOf(way));
      ASSERT_EQ(writing.files.size(), usual.files.size());
      for (std::size_t k = 0; k < usual.files.size(); ++k) {
        ASSERT_EQ(writing.files[k].contents, usual.files[k].contents);
      }
      if (way.syntax == Syntax::kIni) continue;
      const PeerFile file = readBack(writing, way.format);
      ASSERT_EQ(file.cameras.size(), 1U);
      EXPECT_TRUE(hasSameDoubles(file.cameras[0], rig[0].model, pixelOriginOf(way.format)));
    }
  }
}

TEST(FormatWriting, NeedsACamera) {
  for (const Way& way : ways()) {
    EXPECT_EQ(refusalToWrite({}, optionsOf(way)), "there is no camera to write");
  }
}

}  // namespace
}  // namespace norv::interop
