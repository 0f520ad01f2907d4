#pragma once

/// What the fuzz targets that read other programs' calibrations require.

#include <string>

#include "interop/peer_reading.h"

namespace norv::fuzz {

/// Options that depend on the length of a text alone, so that a file of the corpus is always read
/// the same way.
interop::ReadOptions optionsFor(const std::string& text);

/// Requires of a problem a sentence, and a place inside of the text; of cameras that their numbers
/// are finite, focal lengths above 0, sizes as readers promise, and that each key that was left is
/// named once, with a reason.
void requireSound(const interop::PeerReading& reading, const std::string& text);

/// Reads a text as a file of the format, and requires what stands above, and that cameras written
/// in the second format (by default the same) read back as they were.
void requireSoundReading(const std::string& text, interop::PeerFormat format);
void requireSoundReading(const std::string& text, interop::PeerFormat format,
                         interop::PeerFormat written);

}  // namespace norv::fuzz
