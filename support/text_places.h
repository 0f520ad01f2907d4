#pragma once

/// Places of many fields of a text at once. Conventions: docs/conventions.md.

#include <google/protobuf/descriptor.h>

#include <string>
#include <vector>

#include "export.h"
#include "text_fields.h"

namespace norv {

/// Where each of `paths` stands in `text`, a message of `type`: where the field or element of that
/// path, as `TextField::path` has it, begins for the first time; where there is none, where the
/// innermost field around it does; line 0 where there is neither.
///
/// Reads the text once, however many paths there are, and takes memory for those alone: `findField`
/// for each of them would go through a list of all fields each time. Thread-safe.
NORV_EXPORT std::vector<TextPlace> findTextPlaces(const std::string& text,
                                                  const google::protobuf::Descriptor& type,
                                                  const std::vector<std::string>& paths);

}  // namespace norv
