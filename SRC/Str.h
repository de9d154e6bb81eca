// Text helpers without static buffers, for this family and the others.
#pragma once

#include "zk/str.h"

#include <cstddef>
#include <string_view>

#include "platform/System.h"

namespace zk {

// White space as the standard "C" locale has it, whatever locale the process has set.
constexpr bool isSpace(char c) noexcept { return c == ' ' || (c >= '\t' && c <= '\r'); }

std::string_view trimmed(std::string_view text) noexcept;

inline char upperCase(char c) noexcept {
  return static_cast<char>(platform::upperCaseMap()[static_cast<unsigned char>(c)]);
}

// Negative, zero or positive; bytes compare unsigned after folding to upper case.
int compareIgnoringCase(std::string_view a, std::string_view b) noexcept;

// Bytes of the character at `text`, 0 at the terminator. (A byte below 0x80 that begins a character
// is that character in every code page.)
inline std::size_t characterLength(const char *text) noexcept {
  if (static_cast<unsigned char>(*text) < 0x80) return *text != '\0';
  return platform::characterLength(text);
}

// The first occurrence of `pattern` in `text` that begins with a character, not inside one; null
// when there is none. An empty pattern is found at once.
const char *findText(const char *text, std::string_view pattern) noexcept;

// Copies at most `capacity` characters and a terminator; the texts may overlap. The result is the
// number of characters copied.
std::size_t copyBounded(char *destination, std::string_view source, std::size_t capacity) noexcept;

// Splits a text at any of the delimiter characters (multibyte ones included) without changing it.
// Runs of delimiters count as one, leading and trailing ones make no token.
class Tokenizer {
 public:
  Tokenizer(const char *text, const char *delimiters) noexcept
      : rest_(text), delimiters_(delimiters) {}

  // False when no token is left.
  bool next(std::string_view &token) noexcept;

 private:
  bool atDelimiter(std::size_t length) const noexcept;

  const char *rest_;
  const char *delimiters_;
};

}  // namespace zk
