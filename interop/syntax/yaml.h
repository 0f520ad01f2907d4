#pragma once

#include <string>

#include "interop/syntax/node.h"

namespace norv::interop {

/// The only document of a YAML text, of which JSON is a part. A byte order mark, CRLF, and what
/// OpenCV writes in the first line are fine. Throws FormatError, with the place, for what is no
/// YAML, longer than `kMaxDocumentBytes` or deeper than `kMaxDepth`, a key that stands there twice
/// or is no word, an alias (a few of which can stand for any amount of text), a second document.
Node parseYaml(const std::string& text);

}  // namespace norv::interop
