#pragma once

/// Which kind of calibration data is of. The binary format takes nearly any message for nearly any
/// other, so it is the kind that knows most of the bytes. Thread-safe; log nothing.

#include <google/protobuf/message.h>

#include <string>

namespace norv::internal {

/// What a kind holds, for a sentence: "fixed cameras", "a pan-tilt-zoom camera", "a mobile base".
const char* describeKind(const google::protobuf::Message& message);

/// The kind that binary data fits better than that of `message`, which was read from it: of which
/// it leaves fewer bytes unknown. Null where there is none.
const char* findBetterKind(const std::string& data, const google::protobuf::Message& message);

/// The kind whose text the data is, which is none of the kind of `message`. Null where it is of
/// no kind.
const char* findKindOfText(const std::string& data, const google::protobuf::Message& message);

}  // namespace norv::internal
