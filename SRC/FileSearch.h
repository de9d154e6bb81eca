// Files and directories by DOS wildcard.
#pragma once

#include <string_view>

#include "base/Memory.h"
#include "platform/FileSystem.h"

namespace zk {

// Whether a name (with a NUL behind it) matches a pattern, ignoring case: "*" is any text, "?" one
// character or, at the end of the name or before a ".", none. A "." that ends the name need not be
// there: "*.*" matches everything, and "*." what has no extension.
bool matchesWildcard(std::string_view name, std::string_view pattern);

// Everything that matches `pattern` (a directory part as hosts write it, and a wildcard) in the
// order of the names, ignoring case. The listing is complete when this returns, so that deleting
// what was found disturbs nothing. Throws std::bad_alloc.
base::Vector<platform::DirectoryEntry> searchFiles(const char *pattern);

}  // namespace zk
