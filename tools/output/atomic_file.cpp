#include "tools/output/atomic_file.h"

#include <filesystem>
#include <system_error>

#include "support/atomic_file.h"
#include "tools/tool_error.h"

namespace norv::tools {

void writeFileAtomically(const std::string& path, const std::string& contents) {
  const auto failure = norv::writeFileAtomically(path, contents);
  if (failure) throw ToolError(path + ": cannot be written: " + *failure);
}

void requireOtherFile(const std::string& output, const std::string& input) {
  std::error_code ignored;
  if (!std::filesystem::equivalent(output, input, ignored)) return;
  throw ToolError(output + ": is one of the files that are read, which is not to be written over");
}

}  // namespace norv::tools
