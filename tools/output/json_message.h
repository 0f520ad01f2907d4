#pragma once

#include <google/protobuf/message.h>

#include <string>

namespace norv::tools {

/// A message in JSON, by Protocol Buffers' own mapping, one value a line. Fields that this version
/// does not know are left out. Throws ToolError when it cannot be written. Inverse: `readJson`.
std::string printJsonMessage(const google::protobuf::Message& message);

}  // namespace norv::tools
