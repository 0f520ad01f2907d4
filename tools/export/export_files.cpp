#include "tools/export/export_files.h"

#include <filesystem>
#include <system_error>

#include "tools/output/atomic_file.h"
#include "tools/tool_error.h"

namespace norv::tools {
namespace {

namespace fs = std::filesystem;

void makeFolder(const std::string& path) {
  std::error_code error;
  fs::create_directories(path, error);
  if (error || !fs::is_directory(path, error)) {
    const std::string reason = error ? error.message() : "is no folder";
    throw ToolError(path + ": cannot be made a folder: " + reason);
  }
}

}  // namespace

ExportedFiles writeFiles(const ExportVerbOptions& options, const interop::PeerWriting& writing) {
  const std::string& output = options.output_path;
  const bool is_one_file = writing.files.size() == 1 || fs::path(output).extension() == ".txt";
  ExportedFiles written;
  if (is_one_file) {
    requireOtherFile(output, options.path);
    writeFileAtomically(output, writing.files[0].contents);
    written.paths.push_back(output);
    if (writing.files.size() > 1) {
      written.notes.emplace_back(
          "poses are in COLMAP's images.txt, which goes into a folder alone");
    }
    return written;
  }
  makeFolder(output);
  for (const interop::WrittenFile& file : writing.files) {
    const std::string path = fs::path(output) / file.name;
    requireOtherFile(path, options.path);
    writeFileAtomically(path, file.contents);
    written.paths.push_back(path);
  }
  return written;
}

}  // namespace norv::tools
