#pragma once

/// The two formats of files. What they hold is in docs/conventions.md.

namespace norv::calibration {

/// How a file holds a calibration; docs/versions_and_files.md says what either is good for.
enum class CalibrationFormat {
  kBinary,  ///< Protocol Buffers' binary format
  kText,    ///< its text format, which people read and write
};

}  // namespace norv::calibration
