// Places of fields in a text: of a text that parses, exactly the elements of the parsed message; of
// one that does not, a place and a reason.

#include <algorithm>
#include <string>
#include <vector>

#include "fuzz/fuzz_support.h"
#include "proto/norv_robot_calibration.pb.h"
#include "support/message_parsing.h"
#include "support/text_error.h"
#include "support/text_fields.h"
#include "testing/message_paths.h"

using norv::calibration::RobotCalibration;
using norv::fuzz::require;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string text = norv::fuzz::asString(data, size);
  const auto& type = *RobotCalibration::descriptor();
  RobotCalibration robot;
  norv::TextParseError error;
  if (!norv::parseText(text, &robot, &error)) {
    if (error.line < 1) return 0;
    const norv::TextProblem problem = norv::explainTextError(text, type, error);
    require(problem.place.line >= 1 && problem.place.column >= 1, "an error has a place");
    require(!problem.text.empty(), "an error has a reason");
    return 0;
  }
  std::vector<std::string> paths;
  for (const norv::TextField& field : norv::listTextFields(text, type)) {
    require(field.end.line > 0, "every field of a whole text ends");
    if (!norv::testing::isPathOfList(field.path, type)) paths.push_back(field.path);
  }
  std::sort(paths.begin(), paths.end());
  require(paths == norv::testing::pathsOf(robot), "the elements are those of the message");
  return 0;
}
