// INI files: lines, names, texts; the cached files are in INICACHE.cpp, others in INIFILE.cpp.
#include "zk/ini.h"

#include <cstdio>
#include <cstring>

#include "SRC/IniLine.h"
#include "SRC/Str.h"

using namespace zk;

ZK_EXTERN_C_BEGIN

int ZK_CALL zk_Ini_parse(const char *line, char *name, char *value) {
  const IniVariable variable = parseIniVariable(line != nullptr ? line : "");
  // The value first: the name may be written over the line, in front of which it ends.
  if (value != nullptr) copyBounded(value, variable.value, SIZE_MAX);
  if (name != nullptr) copyBounded(name, variable.name, SIZE_MAX);
  return line != nullptr;
}

int ZK_CALL zk_Ini_getGroupName(char *line, char *name) {
  std::string_view found;
  if (line == nullptr || !parseIniGroup(line, found)) {
    if (name != nullptr) *name = '\0';
    return 0;
  }
  zk_Str_rlb(line);
  parseIniGroup(line, found);  // at its new place
  if (name != nullptr) copyBounded(name, found, SIZE_MAX);
  return 1;
}

const char *ZK_CALL zk_Ini_getGroupNameSuffix(const char *group) {
  if (group == nullptr) return nullptr;
  const char *dot = std::strchr(group, '.');
  return dot != nullptr ? dot + 1 : group;
}

int ZK_CALL zk_Ini_displayError(const char *file, const char *group, const char *variable) {
  const auto orEmpty = [](const char *text) { return text != nullptr ? text : ""; };
  const int count =
      std::printf("Error reading Ini File\nFile Name %s\nGroup Name %s\nVariable Name %s",
                  orEmpty(file), orEmpty(group), orEmpty(variable));
  std::fflush(stdout);
  return count;
}

ZK_EXTERN_C_END
