// The parent's own header: a name that the library's headers use among themselves.
#pragma once

#define PARENT_EXPORT
