#pragma once

/// Messages as the text that a person would write. What a stored message means is in
/// docs/conventions.md.

#include <google/protobuf/message.h>

#include <string>
#include <vector>

#include "export.h"

namespace norv {

/// The text format of a message, as calibrations are written by hand: fields in the order of their
/// numbers, two blanks of indent a level, a pose as three rows of four values, other lists on one
/// line each (long ones on several), samples one a line, numbers with the fewest digits that read
/// back as the same value.
///
/// `parseText` reads it back to the identical message, whatever it holds, but for what text cannot
/// hold: see `listTextLosses`. Such unknown fields are left out, and such NaN is written as one
/// that differs. Elements of maps come in no fixed order. Logs nothing. Throws std::bad_alloc.
/// Thread-safe.
NORV_EXPORT std::string printText(const google::protobuf::Message& message);

/// The fields of a message that do not survive its text form, outer ones first, as paths from the
/// top: "camera_calibration[0].intrinsics.12", with a number in the place of the name, for a field
/// that this version of the library does not know; "camera_calibration[0].intrinsics.radial[2]" for
/// a NaN that is not the usual one (whose payload is not zero, or that signals). Each once. Empty
/// where `printText` loses nothing. Logs nothing. Thread-safe.
NORV_EXPORT std::vector<std::string> listTextLosses(const google::protobuf::Message& message);

}  // namespace norv
