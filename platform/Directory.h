// Directories: making, removing and entering them. Paths are native (see Path.h).
#pragma once

#include "platform/File.h"

namespace zk::platform {

// Makes one directory, whose parent is there. kExists when something of that name is there.
IoStatus createDirectory(const char *path) noexcept;

// Removes an empty directory.
bool removeDirectory(const char *path) noexcept;

bool changeDirectory(const char *path) noexcept;

// Makes a drive (1: A) the current one. On Linux, where no drive is current, nothing happens.
void changeDrive(int number) noexcept;

// Whether the path is itself a link to somewhere else (Windows: any reparse point).
bool isLink(const char *path) noexcept;
// Removes such a link; what it leads to stays.
bool removeLink(const char *path) noexcept;

}  // namespace zk::platform
