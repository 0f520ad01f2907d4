#pragma once

/// What became of a line of a track, on a line: columns for spreadsheets, or JSON.

#include <string>

#include "tools/aim/search_answer.h"
#include "tools/aim/track_line.h"

namespace norv::tools {

/// A line of a track, and where the motors are once it is dealt with.
struct TrackStep {
  int line;  ///< its number
  TrackLine read;
  SearchAnswer answer;  ///< where it is a target
  calibration::MotorPositions motors;
};

/// The names of the columns.
std::string trackHeader();

std::string trackCsv(const TrackStep& step);
std::string trackJson(const calibration::PTZCameraModel& model, const TrackStep& step);

}  // namespace norv::tools
