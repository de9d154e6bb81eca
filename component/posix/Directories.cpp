#include <dlfcn.h>

#include <cstdlib>

#include "component/System.h"
#include "zk/extras.h"

namespace zk::component {
namespace {

constexpr int32_t kMaxPath = 4096;

}  // namespace

Path nativePath(BSTR name) {
  std::string path(kMaxPath + 1, '\0');
  zk_Host_nativePath(toText(wideView(name)).c_str(), path.data(), kMaxPath);
  return path.c_str();
}

Path environmentPath(const char *name) {
  const char *value = std::getenv(name);
  return value != nullptr ? value : "";
}

Path userConfigurationDirectory() {
  // A relative XDG_CONFIG_HOME does not count.
  const Path base = environmentPath("XDG_CONFIG_HOME");
  if (base.is_absolute()) return base / "zk";
  const Path home = environmentPath("HOME");
  return home.is_absolute() ? home / ".config" / "zk" : Path();
}

Path componentDirectory() {
  Dl_info info;
  if (dladdr(reinterpret_cast<const void *>(&componentDirectory), &info) == 0) return {};
  return std::filesystem::absolute(info.dli_fname).parent_path();
}

}  // namespace zk::component
