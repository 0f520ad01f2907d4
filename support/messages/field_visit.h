#pragma once

#include <google/protobuf/descriptor.h>

#include <functional>
#include <string>

namespace norv::internal {

/// Takes in the path of a field, as `TextField` has it, and the line and column at which it begins;
/// returns whether the fields inside of it matter.
using FieldVisit = std::function<bool(const std::string& path, int line, int column)>;

/// Calls `visit` for the fields that `listTextFields` lists, in that order, but for those inside of
/// fields that do not matter. Takes no memory that grows with the text. Thread-safe.
void visitTextFields(const std::string& text, const google::protobuf::Descriptor& type,
                     const FieldVisit& visit);

}  // namespace norv::internal
