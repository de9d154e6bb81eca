// File names, looked at and changed without buffers of their own. The extension is what follows the
// last "." of the last component; "\" and "/" both separate, and a drive's ":" ends a path part.
#pragma once

#include <cstddef>
#include <string_view>

namespace zk {

// The longest file name that fits into a caller's buffer, which has one byte more.
inline constexpr std::size_t kPathLength = 511;

inline bool isPathSeparator(char c) { return c == '\\' || c == '/'; }

// The part up to and including the last separator or ":", and what follows it.
std::string_view pathPart(std::string_view path);
std::string_view rmvPath(std::string_view path);

// Without the extension and its "."; the extension without its ".", empty when there is none.
std::string_view rmvExt(std::string_view path);
std::string_view extension(std::string_view path);

// Replaces or appends the extension in a buffer of `capacity` characters, as zk_Fname_addExt does;
// `ext` is no part of that buffer.
void addExt(char *path, std::string_view ext, std::size_t capacity = kPathLength);

// The next name of zk_Fname_createTemp.
struct TemporaryName {
  char text[16];
};
TemporaryName nextTemporaryName();

}  // namespace zk
