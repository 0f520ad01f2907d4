#pragma once

/// What the writers of formats with poses ask of one, and what they do to it.

#include <optional>
#include <string>

#include "interop/peer_writing.h"

namespace norv::interop {

/// As a sentence, why no format can hold the camera's pose: numbers that are not finite, a
/// translation beyond 1e100 m, a rotation that mirrors, or that is off the next one by more than a
/// thousandth. A camera without a pose has none of these.
std::optional<std::string> findUnwritablePose(const WrittenCamera& camera);

/// A note that the camera's rotation is written a little differently, if it is: quaternions and
/// vectors hold rotations alone, and the next one is written.
std::optional<std::string> noteOnTurn(const WrittenCamera& camera);

}  // namespace norv::interop
