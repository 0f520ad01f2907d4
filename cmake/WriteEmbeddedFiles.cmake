# Run as a script: writes the table of embedded files, FILES below ROOT, to OUTPUT.

set(arrays "")
set(entries "")
set(index 0)
foreach(file IN LISTS FILES)
  file(READ "${ROOT}/${file}" bytes HEX)
  string(REGEX REPLACE "([0-9a-f][0-9a-f])" "'\\\\x\\1'," bytes "${bytes}")
  string(REGEX REPLACE "('[^']*','[^']*','[^']*','[^']*','[^']*','[^']*','[^']*','[^']*',)"
    "\\1\n    " bytes "${bytes}")
  # The last character is a terminator that the view leaves out, so that an empty file works too.
  string(APPEND arrays "constexpr char kFile${index}[] = {\n    ${bytes}'\\0'};\n\n")
  string(APPEND entries
    "    {\"${file}\", std::string_view(kFile${index}, sizeof(kFile${index}) - 1)},\n")
  math(EXPR index "${index} + 1")
endforeach()

file(WRITE "${OUTPUT}.new" "// Written by cmake/WriteEmbeddedFiles.cmake.

#include <iterator>

#include \"support/messages/embedded_files.h\"

namespace norv::internal {
namespace {

${arrays}constexpr EmbeddedFileEntry kEntries[] = {
${entries}};

}  // namespace

EmbeddedFileTable embeddedFiles() { return {kEntries, std::size(kEntries)}; }

}  // namespace norv::internal
")
file(COPY_FILE "${OUTPUT}.new" "${OUTPUT}" ONLY_IF_DIFFERENT)
file(REMOVE "${OUTPUT}.new")
file(TOUCH_NOCREATE "${OUTPUT}")
