// Settings by name without static buffers, for the other families.
#pragma once

#include "zk/env.h"

#include <cstddef>

namespace zk {

// A value as the exported functions give it: at most 512 characters.
inline constexpr std::size_t kSettingLength = 512;
using SettingText = char[kSettingLength + 1];

// zk_Env_getSes. False, with "" as the value, when there is no such session variable.
bool sessionVariable(const char *name, SettingText &value) noexcept;

// zk_Env_setSes, result included. Name and value may be a SettingText that was read before.
int setSessionVariable(const char *name, const char *value) noexcept;

// zk_Env_getIni for a variable of the group "GENERAL" of zk.ini. False, with "" as the value, when
// there is none, or it is empty, or there is no component, or memory is refused.
bool iniSetting(const char *name, SettingText &value) noexcept;

// zk_Env_setIni for such a variable; true when it was stored.
bool setIniSetting(const char *name, const char *value) noexcept;

}  // namespace zk
