// File names of the engine, as hosts write them: "\" and "/" both separate.
#pragma once

#include <string_view>

#include "base/Memory.h"

namespace zk::engine {

// `name` with "." and the extension when it has none. Throws std::bad_alloc.
base::String withDefaultExtension(const char *name, const char *extension);

// The file that goes with a table: its name with another extension, given in upper case; in lower
// case when the table's own extension is. Throws std::bad_alloc.
base::String companionName(const char *tableName, const char *extension);

// The name itself, without directory and extension.
std::string_view baseName(std::string_view path) noexcept;

}  // namespace zk::engine
