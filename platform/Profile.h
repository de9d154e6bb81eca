// Windows profile files: sections of keys with values.
#pragma once

#include <cstddef>

namespace zk::platform {

// The value of a key, at most size - 1 characters; "" where there is none. None of the names is
// null. Windows: GetPrivateProfileString, which looks for a bare file name in the Windows
// directory. Linux: the same rules over the file of that name: case is ignored, white space round
// section, key and value does not count, nor do quotes round the value; the first section of the
// name is read.
void profileText(const char *file, const char *section, const char *key, char *value,
                 std::size_t size) noexcept;

}  // namespace zk::platform
