#include "tools/output/atomic_file.h"

#include "support/atomic_file.h"
#include "tools/tool_error.h"

namespace norv::tools {

void writeFileAtomically(const std::string& path, const std::string& contents) {
  const auto failure = norv::writeFileAtomically(path, contents);
  if (failure) throw ToolError(path + ": cannot be written: " + *failure);
}

}  // namespace norv::tools
