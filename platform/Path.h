// From the names that hosts write to the system's own paths.
#pragma once

#include "base/Memory.h"

namespace zk::platform {

// The native path of `name`. Windows: the name itself. Linux: "\" and "/" both separate, a drive
// letter stands for its directory (setDriveDirectory; "X:name" without a separator is relative to
// the current directory), and the path is first tried as spelled, then component by component
// ignoring case; what does not exist keeps its spelling. Throws std::bad_alloc.
base::String nativePath(const char *name);

// Linux: the directory that a drive letter stands for, by default "/"; null or "" restores it.
// False for anything but a letter, for a directory of 256 bytes or more, and on Windows.
bool setDriveDirectory(char letter, const char *directory) noexcept;

}  // namespace zk::platform
