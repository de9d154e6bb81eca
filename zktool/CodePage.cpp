#include "CodePage.h"

#include <algorithm>
#include <cstddef>

namespace zk::tool {
namespace {

struct Page {
  std::int32_t driver;
  const char *name;
  const char16_t *upper;
};

#include "CodePages.inc"

bool isAscii(std::string_view bytes) {
  return std::all_of(bytes.begin(), bytes.end(),
                     [](char c) { return static_cast<unsigned char>(c) < 0x80; });
}

// Bytes of the UTF-8 character that the text begins with; 0 when it is not valid (overlong forms,
// surrogates and numbers beyond U+10FFFF included).
std::size_t utf8Length(std::string_view text) {
  const auto at = [&](std::size_t i) { return static_cast<unsigned char>(text[i]); };
  const unsigned char lead = at(0);
  if (lead < 0x80) return 1;
  const std::size_t length = lead >= 0xF0 ? 4 : lead >= 0xE0 ? 3 : 2;
  if (lead < 0xC2 || lead > 0xF4 || text.size() < length) return 0;
  for (std::size_t i = 1; i < length; ++i) {
    if ((at(i) & 0xC0) != 0x80) return 0;
  }
  const bool outside = (lead == 0xE0 && at(1) < 0xA0) || (lead == 0xED && at(1) > 0x9F) ||
                       (lead == 0xF0 && at(1) < 0x90) || (lead == 0xF4 && at(1) > 0x8F);
  return outside ? 0 : length;
}

bool isUtf8(std::string_view text) {
  while (!text.empty()) {
    const std::size_t length = utf8Length(text);
    if (length == 0) return false;
    text.remove_prefix(length);
  }
  return true;
}

void appendUtf8(std::string &out, char16_t c) {  // single-byte pages stay inside the first plane
  if (c < 0x80) {
    out += static_cast<char>(c);
  } else if (c < 0x800) {
    out += static_cast<char>(0xC0 | (c >> 6));
    out += static_cast<char>(0x80 | (c & 0x3F));
  } else {
    out += static_cast<char>(0xE0 | (c >> 12));
    out += static_cast<char>(0x80 | ((c >> 6) & 0x3F));
    out += static_cast<char>(0x80 | (c & 0x3F));
  }
}

}  // namespace

CodePage::CodePage(std::int32_t driver) : upper_(kUpper_cp1252) {
  for (const Page &page : kPages) {
    if (page.driver != driver) continue;
    name_ = page.name;
    upper_ = page.upper;
    keepUtf8_ = false;
  }
}

std::string CodePage::toUtf8(std::string_view bytes) const {
  if (isAscii(bytes) || (keepUtf8_ && isUtf8(bytes))) return std::string(bytes);
  std::string text;
  text.reserve(bytes.size() * 2);
  for (const char c : bytes) {
    const auto byte = static_cast<unsigned char>(c);
    appendUtf8(text, byte < 0x80 ? byte : upper_[byte - 0x80]);
  }
  return text;
}

}  // namespace zk::tool
