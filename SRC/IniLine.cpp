#include "SRC/IniLine.h"

#include <algorithm>

namespace zk {

IniVariable parseIniVariable(std::string_view line) noexcept {
  const std::size_t equals = std::min(line.find('='), line.size());
  const std::string_view rest = line.substr(equals);
  const auto start =
      std::find_if(rest.begin(), rest.end(), [](char c) { return c != '=' && !isSpace(c); });
  return {trimmed(line.substr(0, equals)),
          trimmed(rest.substr(static_cast<std::size_t>(start - rest.begin())))};
}

std::string_view leftTrimmed(std::string_view line) noexcept {
  const auto start = std::find_if_not(line.begin(), line.end(), isSpace);
  return line.substr(static_cast<std::size_t>(start - line.begin()));
}

bool parseIniGroup(std::string_view line, std::string_view &name) noexcept {
  line = leftTrimmed(line);
  if (line.empty() || line.front() != '[') return false;
  line.remove_prefix(1);
  // Without the closing bracket the name is the rest.
  name = trimmed(line.substr(0, line.find(']')));
  return true;
}

}  // namespace zk
