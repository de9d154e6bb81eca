// Lines of a text stream.
#pragma once

#include <cstdint>
#include <cstdio>

namespace zk {

// zk_File_readLine: one line of at most `size` characters into a buffer of `size` + 1 bytes.
int readLine(std::FILE *stream, char *buffer, int32_t size);

}  // namespace zk
