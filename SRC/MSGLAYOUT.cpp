#include "SRC/MsgLayout.h"

#include <bit>
#include <cstring>

#include "SRC/Str.h"

namespace zk {
namespace {

constexpr const char *kNewLine = "\n";

struct Layout {
  const char *before;
  const char *after;
};

Layout layoutOf(int32_t code) {
  static constexpr Layout kLayouts[] = {{"", " "},        {kNewLine, ""}, {kNewLine, " "},
                                        {"", kNewLine},   {"", " \n"},    {kNewLine, kNewLine},
                                        {kNewLine, " \n"}};
  return code >= 2 && code <= 8 ? kLayouts[code - 2] : Layout{"", ""};
}

bool isDigit(char c) { return c >= '0' && c <= '9'; }

}  // namespace

std::size_t expandEscapes(char *text) noexcept {
  // One accumulator for all numbers of the text: a short one carries bits of the one before it,
  // as it always has.
  std::uint32_t accumulator = 0;
  char *out = text;
  for (const char *in = text; *in != '\0';) {
    if (*in != '\\') {
      *out++ = *in++;
      continue;
    }
    const char escaped = *++in;
    if (isDigit(escaped)) {
      for (int digits = 0; digits < 3 && isDigit(*in); ++digits, ++in) {
        accumulator = std::rotl(accumulator, 3) + static_cast<std::uint32_t>(*in - '0');
      }
      *out++ = static_cast<char>(accumulator & 0xFF);
      continue;
    }
    if (escaped == '\0') break;
    static constexpr char kFrom[] = "\"'\\afnrt";
    static constexpr char kTo[] = "\"'\\\a\f\n\r\t";
    // "\b" is not among them: what it writes is overwritten by the next character, as it always
    // was.
    const char *known = std::strchr(kFrom, escaped);
    if (known != nullptr) *out++ = kTo[known - kFrom];
    ++in;
  }
  *out = '\0';
  return static_cast<std::size_t>(out - text);
}

base::String layOut(const char *text, int32_t code) {
  base::String expanded(text);
  expandEscapes(expanded.data());
  const Layout layout = layoutOf(code);
  return base::String(layout.before) + expanded.c_str() + layout.after;
}

void layOut(char *out, std::size_t capacity, const char *text, int32_t code) noexcept {
  const Layout layout = layoutOf(code);
  // The text last is cut, not its layout; `text` may be an earlier result in this very buffer.
  const std::size_t before = std::strlen(layout.before);
  const std::size_t after = std::strlen(layout.after);
  copyBounded(out + before, text, capacity - before - after);
  const std::size_t length = std::strlen(out + before);
  std::memcpy(out, layout.before, before);
  const std::size_t end = before + (length > 0 ? expandEscapes(out + before) : 0);
  std::memcpy(out + end, layout.after, after + 1);
}

}  // namespace zk
