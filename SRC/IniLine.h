// Lines of INI files, for this family and for lists of "name = value" strings.
#pragma once

#include <string_view>

#include "SRC/Str.h"

namespace zk {

// Parts of the line.
struct IniVariable {
  std::string_view name;
  std::string_view value;
};

// See zk_Ini_parse.
IniVariable parseIniVariable(std::string_view line) noexcept;

// Without the white space at its start.
std::string_view leftTrimmed(std::string_view line) noexcept;

// Whether the line is the header of a group, and its name then.
bool parseIniGroup(std::string_view line, std::string_view &name) noexcept;
inline bool isHeaderOf(std::string_view line, std::string_view group) noexcept {
  std::string_view name;
  return parseIniGroup(line, name) && compareIgnoringCase(name, trimmed(group)) == 0;
}

}  // namespace zk
