#pragma once

/// Where the fields of a message stand in its text form, for messages to the user about them.

#include <google/protobuf/descriptor.h>

#include <string>
#include <vector>

namespace norv::tools {

/// A field of a text: its path from the top, such as "camera_calibration[1].intrinsics.radial", and
/// the place of its name, counted from 1.
struct TextField {
  std::string path;
  int line;
  int column;
};

/// The fields of `text`, in order, up to where it stops being one that the text format's tokens can
/// be followed in. Repeated messages have their index in the path, beginning at 0.
std::vector<TextField> listTextFields(const std::string& text,
                                      const google::protobuf::Descriptor& type);

/// The last field that begins at or before a place, or null: the one that an error there is about.
const TextField* fieldAt(const std::vector<TextField>& fields, int line, int column);

/// The field of that path, or else the innermost one around it; null if there is neither.
const TextField* findField(const std::vector<TextField>& fields, const std::string& path);

}  // namespace norv::tools
