#pragma once

/// Marks a declaration as part of the library's binary interface; everything else stays hidden.
#define NORV_EXPORT __attribute__((visibility("default")))
