// Escapes and layouts of message texts.
#pragma once

#include <cstdint>
#include <string_view>

#include "base/Memory.h"

namespace zk {

inline constexpr int32_t kPlainLayout = 1;

// Expands escapes in place, see zk_Msg_scanEsc; the new length.
std::size_t expandEscapes(char *text) noexcept;

// Escapes expanded and laid out by an internal code. Throws std::bad_alloc.
base::String layOut(const char *text, int32_t code);
// The same into a buffer of `capacity` characters, cut there; takes no memory.
void layOut(char *out, std::size_t capacity, const char *text, int32_t code) noexcept;

}  // namespace zk
