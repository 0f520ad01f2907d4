#include "support/text_fields.h"

#include <gmock/gmock.h>
#include <google/protobuf/text_format.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <ostream>
#include <string>
#include <tuple>
#include <vector>

#include "proto/norv_base_calibration.pb.h"
#include "proto/norv_ptz_camera.pb.h"
#include "proto/norv_robot_calibration.pb.h"
#include "support/message_parsing.h"
#include "testing/message_paths.h"
#include "testing/random_text.h"

namespace norv {
namespace {

using calibration::RobotCalibration;
using google::protobuf::Descriptor;
using google::protobuf::FieldDescriptor;
using google::protobuf::Message;
using google::protobuf::TextFormat;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using Places = std::vector<std::string>;

std::vector<TextField> list(const std::string& text) {
  return listTextFields(text, *RobotCalibration::descriptor());
}

bool isOpen(const TextField& field) { return field.end.line == 0; }

/// "path line:column" of all fields, and "open" where the value breaks off.
Places placesIn(const std::string& text) {
  Places places;
  for (const TextField& field : list(text)) {
    places.push_back(field.path + " " + std::to_string(field.begin.line) + ":" +
                     std::to_string(field.begin.column) + (isOpen(field) ? " open" : ""));
  }
  return places;
}

TEST(TextFields, PathsAndPlaces) {
  EXPECT_THAT(placesIn("# comment { name: }\n"
                       "camera_calibration {\n"
                       "  name: \"a { b: 1 }\"\n"
                       "  intrinsics { fx: 1 radial: [1, 2]\n"
                       "    samples { image_x: 1 } samples < image_x: 2 >\n"
                       "  }\n"
                       "}\n"
                       "camera_calibration: { model: 'm' }\n"),
              ElementsAre("camera_calibration[0] 2:1", "camera_calibration[0].name 3:3",
                          "camera_calibration[0].intrinsics 4:3",
                          "camera_calibration[0].intrinsics.fx 4:16",
                          "camera_calibration[0].intrinsics.radial 4:22",
                          "camera_calibration[0].intrinsics.radial[0] 4:31",
                          "camera_calibration[0].intrinsics.radial[1] 4:34",
                          "camera_calibration[0].intrinsics.samples[0] 5:5",
                          "camera_calibration[0].intrinsics.samples[0].image_x 5:15",
                          "camera_calibration[0].intrinsics.samples[1] 5:28",
                          "camera_calibration[0].intrinsics.samples[1].image_x 5:38",
                          "camera_calibration[1] 8:1", "camera_calibration[1].model 8:23"));
}

TEST(TextFields, ListsOfMessages) {
  EXPECT_THAT(placesIn("camera_calibration: [\n"
                       "  { name: 'a' },\n"
                       "  < intrinsics { samples [{ image_x: 1 }, <>] } >\n"
                       "]\n"),
              ElementsAre("camera_calibration 1:1", "camera_calibration[0] 2:3",
                          "camera_calibration[0].name 2:5", "camera_calibration[1] 3:3",
                          "camera_calibration[1].intrinsics 3:5",
                          "camera_calibration[1].intrinsics.samples 3:18",
                          "camera_calibration[1].intrinsics.samples[0] 3:27",
                          "camera_calibration[1].intrinsics.samples[0].image_x 3:29",
                          "camera_calibration[1].intrinsics.samples[1] 3:43"));
}

TEST(TextFields, ElementsAreCountedOverListsAndSingleOnes) {
  EXPECT_THAT(placesIn("camera_calibration { name: 'a' }\n"
                       "camera_calibration: []\n"
                       "camera_calibration: [{}, {}]\n"
                       "camera_calibration { intrinsics { radial: 1 radial: [2] radial: 3 } }\n"),
              ElementsAre("camera_calibration[0] 1:1", "camera_calibration[0].name 1:22",
                          "camera_calibration 2:1", "camera_calibration 3:1",
                          "camera_calibration[1] 3:22", "camera_calibration[2] 3:26",
                          "camera_calibration[3] 4:1", "camera_calibration[3].intrinsics 4:22",
                          "camera_calibration[3].intrinsics.radial[0] 4:35",
                          "camera_calibration[3].intrinsics.radial 4:45",
                          "camera_calibration[3].intrinsics.radial[1] 4:54",
                          "camera_calibration[3].intrinsics.radial[2] 4:57"));
}

TEST(TextFields, NegativeAndWordyNumbersAreValues) {
  EXPECT_THAT(placesIn("camera_calibration { intrinsics { fx: -inf fy: - nan cx: 1f } }"),
              ElementsAre("camera_calibration[0] 1:1", "camera_calibration[0].intrinsics 1:22",
                          "camera_calibration[0].intrinsics.fx 1:35",
                          "camera_calibration[0].intrinsics.fy 1:44",
                          "camera_calibration[0].intrinsics.cx 1:54"));
}

TEST(TextFields, StringsThatFollowOneAnotherAreOneValue) {
  EXPECT_THAT(placesIn("camera_calibration { name: 'a' \"b\"\n'c' model: 'd' }"),
              ElementsAre("camera_calibration[0] 1:1", "camera_calibration[0].name 1:22",
                          "camera_calibration[0].model 2:5"));
}

TEST(TextFields, UnknownFieldsHavePathsToo) {
  EXPECT_THAT(placesIn("camera { lens { fx: 1 } list: [1, {}] }"),
              ElementsAre("camera 1:1", "camera.lens 1:10", "camera.lens.fx 1:17",
                          "camera.list 1:25", "camera.list 1:32", "camera.list 1:35"));
}

TEST(TextFields, ExtensionsAndTypesArePassedOver) {
  EXPECT_THAT(placesIn("[a.b.c]: 1 [type.example-x.org/a.B] { name: 'x' list: [1, 2] }\n"
                       "[d]: [1, 2]; camera_calibration { [e.f] < g { h: 1 } > name: 'a' }"),
              ElementsAre("camera_calibration[0] 2:14", "camera_calibration[0].name 2:56"));
}

TEST(TextFields, BrokenTextsAreListedUpToWhereTheyBreak) {
  EXPECT_THAT(list(""), IsEmpty());
  EXPECT_THAT(list("}}}"), IsEmpty());
  EXPECT_THAT(list("]] [ name"), IsEmpty());
  EXPECT_THAT(list("\"open string\ncamera_calibration"), IsEmpty());
  EXPECT_THAT(
      placesIn("camera_calibration { name: } } fx"),
      ElementsAre("camera_calibration[0] 1:1 open", "camera_calibration[0].name 1:22 open"));
  EXPECT_THAT(placesIn("camera_calibration { name: 'a' > model: 'b' }"),
              ElementsAre("camera_calibration[0] 1:1 open", "camera_calibration[0].name 1:22"));
  EXPECT_THAT(
      placesIn("camera_calibration { intrinsics { fx: 9o5 fy: 1 } }"),
      ElementsAre("camera_calibration[0] 1:1 open", "camera_calibration[0].intrinsics 1:22 open",
                  "camera_calibration[0].intrinsics.fx 1:35 open"));
  for (const char* text : {"camera_calibration: 1", "camera_calibration [{} {}]",
                           "camera_calibration [[]]", "camera_calibration { intrinsics [{}] }",
                           "camera_calibration { name 'a' }", "camera_calibration { name { } }"}) {
    const auto fields = list(text);
    EXPECT_TRUE(std::any_of(fields.begin(), fields.end(), isOpen)) << text;
  }
}

TEST(TextFields, NestingHasAnEnd) {
  const auto nested = [](int depth) {
    std::string text;
    for (int i = 0; i < depth; ++i) text += "a { ";
    for (int i = 0; i < depth; ++i) text += "} ";
    return text;
  };
  EXPECT_EQ(list(nested(100)).size(), 100U);
  EXPECT_EQ(list(nested(100)).front().end.column, 100 * 4 + 100 * 2);
  EXPECT_EQ(list(nested(101)).size(), 101U);
  EXPECT_EQ(list(nested(101)).front().end.line, 0);
  EXPECT_EQ(list(nested(1000000)).size(), 101U);
}

TEST(TextFields, FieldAtAPlace) {
  const auto fields =
      list("camera_calibration {\n  intrinsics { radial: [1, 2] }\n  name: 'a'\n}\n");
  const auto at = [&](int line, int column) {
    const TextField* field = fieldAt(fields, {line, column});
    return field != nullptr ? field->path : "none";
  };
  EXPECT_EQ(at(1, 1), "camera_calibration[0]");
  EXPECT_EQ(at(2, 2), "camera_calibration[0]");
  EXPECT_EQ(at(2, 3), "camera_calibration[0].intrinsics");
  EXPECT_EQ(at(2, 16), "camera_calibration[0].intrinsics.radial");
  EXPECT_EQ(at(2, 25), "camera_calibration[0].intrinsics.radial[0]");
  EXPECT_EQ(at(2, 26), "camera_calibration[0].intrinsics.radial");
  EXPECT_EQ(at(2, 28), "camera_calibration[0].intrinsics.radial[1]");
  EXPECT_EQ(at(2, 29), "camera_calibration[0].intrinsics.radial");
  EXPECT_EQ(at(2, 31), "camera_calibration[0].intrinsics");
  EXPECT_EQ(at(2, 32), "camera_calibration[0]");
  EXPECT_EQ(at(3, 9), "camera_calibration[0].name");
  EXPECT_EQ(at(3, 12), "camera_calibration[0]");
  EXPECT_EQ(at(4, 1), "camera_calibration[0]");
  EXPECT_EQ(at(4, 2), "none");
  EXPECT_EQ(at(0, 0), "none");
  EXPECT_EQ(fieldAt({}, {1, 1}), nullptr);
}

TEST(TextFields, BracesOfMessages) {
  const auto fields = list("camera_calibration\n  { intrinsics: < radial: [1] > }");
  EXPECT_EQ(fields[0].brace.line, 2);
  EXPECT_EQ(fields[0].brace.column, 3);
  EXPECT_EQ(fields[1].brace.column, 17);
  EXPECT_EQ(fields[2].brace.line, 0);
  EXPECT_EQ(fields[3].brace.line, 0);
}

TEST(TextFields, FieldOrTheOneAroundIt) {
  const auto fields =
      list("camera_calibration {\n  intrinsics { fx: 7\n radial: 1\n radial: [2] }\n}");
  const auto find = [&](const std::string& path) { return findField(fields, path); };
  EXPECT_EQ(find("camera_calibration[0].intrinsics.fx")->begin.line, 2);
  EXPECT_EQ(find("camera_calibration[0].intrinsics.radial")->begin.line, 3);
  EXPECT_EQ(find("camera_calibration[0].intrinsics.radial[1]")->begin.line, 4);
  EXPECT_EQ(find("camera_calibration[0].intrinsics.rad")->path, "camera_calibration[0].intrinsics");
  EXPECT_EQ(find("camera_calibration[0].extrinsics.a")->path, "camera_calibration[0]");
  EXPECT_EQ(find("camera_calibration")->path, "camera_calibration[0]");
  EXPECT_EQ(find("camera_calibration[1].extrinsics"), nullptr);
}

/// Expects each field and element of a message where the parser saw it.
void expectPlacesOf(const Message& message, const TextFormat::ParseInfoTree& tree,
                    const std::string& prefix, const std::vector<TextField>& fields, int* checked) {
  const auto* reflection = message.GetReflection();
  std::vector<const FieldDescriptor*> present;
  reflection->ListFields(message, &present);
  for (const FieldDescriptor* field : present) {
    const int count = field->is_repeated() ? reflection->FieldSize(message, field) : 1;
    for (int i = 0; i < count; ++i) {
      const int index = field->is_repeated() ? i : -1;
      const std::string path =
          prefix + field->name() + (index < 0 ? "" : "[" + std::to_string(i) + "]");
      const TextField* found = findField(fields, path);
      ASSERT_TRUE(found != nullptr && found->path == path) << path;
      const TextFormat::ParseLocation expected = tree.GetLocation(field, index);
      EXPECT_EQ(found->begin.line, expected.line + 1) << path;
      EXPECT_EQ(found->begin.column, expected.column + 1) << path;
      ++*checked;
      if (field->message_type() == nullptr) continue;
      const Message& inner = index < 0 ? reflection->GetMessage(message, field)
                                       : reflection->GetRepeatedMessage(message, field, i);
      expectPlacesOf(inner, *tree.GetTreeForNested(field, index), path + ".", fields, checked);
    }
  }
}

TEST(TextFields, PlacesAreThoseOfTheParserWhereThereAreNoLists) {
  testing::RandomText random(1, false);
  int checked = 0;
  for (int i = 0; i < 100; ++i) {
    std::string text;
    while (text.size() < 2000) text += random.message(*RobotCalibration::descriptor());
    RobotCalibration robot;
    TextFormat::ParseInfoTree tree;
    TextFormat::Parser parser;
    parser.WriteLocationsTo(&tree);
    ASSERT_TRUE(parser.ParseFromString(text, &robot)) << text;
    expectPlacesOf(robot, tree, "", list(text), &checked);
    ASSERT_FALSE(HasFailure()) << text;
  }
  EXPECT_GT(checked, 1000);
}

/// The paths of all entries but those of whole lists, sorted.
Places elementPaths(const std::vector<TextField>& fields, const Descriptor& type) {
  Places paths;
  for (const TextField& field : fields) {
    EXPECT_NE(field.end.line, 0) << field.path;
    if (!testing::isPathOfList(field.path, type)) paths.push_back(field.path);
  }
  std::sort(paths.begin(), paths.end());
  return paths;
}

template <class Calibration>
void expectElementsOfRandomTexts(int seed) {
  testing::RandomText random(seed, true);
  const Descriptor& type = *Calibration::descriptor();
  std::size_t checked = 0;
  for (int i = 0; i < 200; ++i) {
    const std::string text = random.message(type);
    Calibration message;
    TextParseError error;
    ASSERT_TRUE(parseText(text, &message, &error)) << error.message << "\n" << text;
    const Places paths = elementPaths(listTextFields(text, type), type);
    ASSERT_EQ(paths, testing::pathsOf(message)) << text;
    checked += paths.size();
  }
  EXPECT_GT(checked, 1000U);
}

TEST(TextFields, ElementsAreThoseOfTheParsedMessage) {
  expectElementsOfRandomTexts<RobotCalibration>(2);
  expectElementsOfRandomTexts<calibration::PTZCameraParameters>(3);
  expectElementsOfRandomTexts<calibration::BaseCalibrationProto>(4);
}

TEST(TextFields, EveryRandomTextCutShortEndsWithAnOpenFieldOrBetweenTwo) {
  testing::RandomText random(5, true);
  std::string text;
  while (text.size() < 2000) text += random.message(*RobotCalibration::descriptor());
  for (std::size_t size = 0; size < text.size(); ++size) {
    RobotCalibration robot;
    const std::string part = text.substr(0, size);
    const auto fields = list(part);
    const bool open = std::any_of(fields.begin(), fields.end(), isOpen);
    EXPECT_FALSE(open && parseText(part, &robot)) << part;
  }
}

}  // namespace
}  // namespace norv
