#pragma once

/// The calibrations of the source tree, for tests that are told where it lies.

#include <gtest/gtest.h>

#include <string>

#include "support/file.h"
#include "support/message_parsing.h"

namespace norv::testing {

inline const std::string kCalibrations = CAMERA_PARAMETERS_SOURCE_DIR "/calibration/";

/// One of them, all of which are texts.
template <class Message>
Message treeCalibration(const std::string& name) {
  std::string text;
  EXPECT_TRUE(File::readFileToString(kCalibrations + name, &text)) << name;
  Message message;
  TextParseError error;
  EXPECT_TRUE(parseText(text, &message, &error))
      << name << ":" << error.line << ": " << error.message;
  return message;
}

}  // namespace norv::testing
