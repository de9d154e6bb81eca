// INI files through the component's cache without static buffers, and what a field list says of a
// group's variables, for this family and the settings.
#pragma once

#include "zk/ini.h"

#include <cstddef>

#include "SRC/Fld.h"

namespace zk {

// The most characters of a value where the caller gives no length.
inline constexpr std::size_t kIniValueLength = 512;

// zk_Ini_getValue into a buffer of `capacity` characters and a terminator, which may be one of the
// names. False, with "", when there is no value.
bool iniValue(const char *file, const char *group, const char *variable, bool expand, char *value,
              std::size_t capacity) noexcept;

// True when the component stored the value.
bool setIniValue(const char *file, const char *group, const char *variable,
                 const char *value) noexcept;

// Calls store(name, text) for every field that is written to a group: with a name, and a text or
// what zk_FldList_currChar makes of another type, "" included.
template <typename Store>
void forEachIniVariable(const FldList &list, Store store) {
  constexpr int32_t kLongestText = 1024;
  for (const LnkNode *node = list.first; node != nullptr; node = node->next) {
    const FldNode *field = fieldOf(node);
    if (field == nullptr || field->name == nullptr) continue;
    char text[kLongestText + 1] = "";
    const int status = readText(*field, text, kLongestText);
    if (status == ZK_FLD_OK || status == ZK_FLD_WRONG_TYPE) store(field->name, text);
  }
}

}  // namespace zk
