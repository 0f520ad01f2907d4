#pragma once

#include <google/protobuf/message.h>

#include <string>
#include <vector>

namespace norv::tools {

/// The fields of `original` that `copy`, a message of the same type, lacks or holds another value
/// of, and those that only `copy` has, as paths from the top, each once: a double is compared bit
/// by bit, a field that this version does not know by all its values under its number, which stands
/// in the path in the place of a name. Empty where the messages are the same.
std::vector<std::string> listDifferences(const google::protobuf::Message& original,
                                         const google::protobuf::Message& copy);

}  // namespace norv::tools
