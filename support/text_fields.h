#pragma once

/// Where the fields of a message stand in its text form, for messages to the user about them. What
/// they mean is in docs/conventions.md.

#include <google/protobuf/descriptor.h>

#include <string>
#include <vector>

#include "export.h"

namespace norv {

/// A place in a text, counted from 1. Columns are counted as Protocol Buffers does: in bytes, a tab
/// leading to the next multiple of 8.
struct TextPlace {
  int line;
  int column;
};

/// A field of a text, or one element of a repeated field.
struct TextField {
  /// From the top, such as "camera_calibration[1].intrinsics.radial[3]". Elements are counted from
  /// 0 over all places where the field stands, as the parsed message counts them.
  std::string path;
  /// Of the field's name; of an element that stands in a list, of its value.
  TextPlace begin;
  /// Behind the value's last character; line 0 when the text breaks off before.
  TextPlace end;
  /// Of the brace that opens a message; line 0 for anything else.
  TextPlace brace;
  /// Whether the message's type has the field.
  bool is_known;
};

/// The fields of `text`, a message of `type`, in the order in which they begin; each is followed by
/// those that it contains. A list is one entry, whose path has no index, followed by its elements.
/// Fields that `type` does not know are listed without an index; names in square brackets
/// (extensions, types of an Any) are passed over with what they contain.
///
/// The list ends where the text does not follow the format's grammar, or nests deeper than the
/// library reads: with the same token as the parser, so that the last entry without an end is the
/// innermost field that the error is inside of. Thread-safe.
NORV_EXPORT std::vector<TextField> listTextFields(const std::string& text,
                                                  const google::protobuf::Descriptor& type);

/// The innermost field that a place is inside of, its ends included, or null.
NORV_EXPORT const TextField* fieldAt(const std::vector<TextField>& fields, TextPlace place);

/// The first entry of a field or element of that path; where there is none, of the innermost field
/// around it; null if there is neither.
NORV_EXPORT const TextField* findField(const std::vector<TextField>& fields,
                                       const std::string& path);

}  // namespace norv
