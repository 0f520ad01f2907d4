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
    written.paths.push_back(fs::path(output) / file.name);
  }
  // All of them before the first is written, so that a refusal leaves the folder as it was.
  for (const std::string& path : written.paths) requireOtherFile(path, options.path);
  for (std::size_t i = 0; i < writing.files.size(); ++i) {
    writeFileAtomically(written.paths[i], writing.files[i].contents);
  }
  return written;
}

}  // namespace norv::tools
