#pragma once

#include <string>

#include "interop/syntax/node.h"

namespace norv::interop {

/// The only document of an XML text, as OpenCV writes it: a map with the outermost element alone.
/// An element with others in it is a map of them and of its attribute type_id, or a list if these
/// are called "_"; one with a text is a word, or a list of the words that blanks separate, where
/// what stands in double quotes is one. A byte order mark, CRLF, comments and character references
/// are fine.
///
/// Throws FormatError, with the place, for what is no XML, longer than `kMaxDocumentBytes` or
/// deeper than `kMaxDepth`, an element that stands there twice, values beside named elements, any
/// other attribute, a document type (whose entities can stand for any amount of text), a second
/// outermost element.
Node parseXml(const std::string& text);

}  // namespace norv::interop
