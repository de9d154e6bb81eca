#include "platform/Profile.h"

#include <windows.h>

namespace zk::platform {

void profileText(const char *file, const char *section, const char *key, char *value,
                 std::size_t size) noexcept {
  *value = '\0';
  GetPrivateProfileStringA(section, key, "", value, static_cast<DWORD>(size), file);
}

}  // namespace zk::platform
