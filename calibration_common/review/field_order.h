#pragma once

#include <google/protobuf/descriptor.h>

#include <string>
#include <vector>

namespace norv::internal::review {

/// Where a field stands in a message: the field number of each step of its path, each followed by
/// its index, or by -1 where the path names no single element. Compared lexicographically, the keys
/// of paths are in the order of the message, and a message or list comes before what is in it.
///
/// `path` is that of a finding, in a message of type `top`. What follows a name that the type does
/// not have is left out.
std::vector<int> fieldOrder(const google::protobuf::Descriptor& top, const std::string& path);

}  // namespace norv::internal::review
