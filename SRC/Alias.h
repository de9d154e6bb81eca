// Aliases for the families that know their buffers.
#pragma once

#include "zk/alias.h"

#include <cstddef>

namespace zk {

// zk_Alias_expandStr, cut to `capacity` characters and a terminator. `out` and `text` do not
// overlap.
void expandAliases(char *out, std::size_t capacity, const char *text) noexcept;

}  // namespace zk
