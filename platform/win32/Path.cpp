#include "platform/Path.h"

namespace zk::platform {

base::String nativePath(const char *name) { return name != nullptr ? name : ""; }

bool setDriveDirectory(char, const char *) noexcept { return false; }

}  // namespace zk::platform
