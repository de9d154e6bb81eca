#include "Text.h"

#include <algorithm>
#include <cstdio>

namespace zk::tool {

std::string_view withoutTrailingBlanks(std::string_view text) {
  return text.substr(0, text.find_last_not_of(' ') + 1);
}

std::string_view withoutBlanks(std::string_view text) {
  text = withoutTrailingBlanks(text);
  text.remove_prefix(std::min(text.find_first_not_of(' '), text.size()));
  return text;
}

std::string upperCase(std::string_view text) {
  std::string upper(text);
  for (char &c : upper) {
    if (c >= 'a' && c <= 'z') c = static_cast<char>(c - 'a' + 'A');
  }
  return upper;
}

std::vector<std::string_view> linesOf(std::string_view text) {
  std::vector<std::string_view> lines;
  while (true) {
    const std::size_t end = text.find('\n');
    std::string_view line = text.substr(0, end);
    if (end != std::string_view::npos && line.ends_with('\r')) line.remove_suffix(1);
    lines.push_back(line);
    if (end == std::string_view::npos) return lines;
    text.remove_prefix(end + 1);
  }
}

std::size_t characters(std::string_view utf8) {
  return static_cast<std::size_t>(std::count_if(utf8.begin(), utf8.end(), [](char c) {
    return (static_cast<unsigned char>(c) & 0xC0) != 0x80;
  }));
}

std::string escapeControls(std::string_view text) {
  std::string shown;
  for (const char c : text) {
    const auto byte = static_cast<unsigned char>(c);
    if (byte >= 0x20 && byte != 0x7F) {
      shown += c;
    } else if (c == '\n') {
      shown += "\\n";
    } else if (c == '\r') {
      shown += "\\r";
    } else if (c == '\t') {
      shown += "\\t";
    } else {
      char code[8];
      std::snprintf(code, sizeof code, "\\x%02X", byte);
      shown += code;
    }
  }
  return shown;
}

}  // namespace zk::tool
