#include "platform/Module.h"

#include <dlfcn.h>
#include <link.h>
#include <strings.h>

#include <cstring>

namespace zk::platform {
namespace {

struct Search {
  const char *name;
  Module found;
};

// Whether `path` is "name.so" in some directory, with or without the customary "lib".
bool isModuleFile(const char *path, const char *name) {
  const char *slash = std::strrchr(path, '/');
  const char *file = slash != nullptr ? slash + 1 : path;
  const std::size_t length = std::strlen(name);
  for (const char *start : {file, std::strncmp(file, "lib", 3) == 0 ? file + 3 : file}) {
    if (strncasecmp(start, name, length) == 0 &&
        strncmp(start + length, kModuleExtension, std::strlen(kModuleExtension)) == 0) {
      return true;
    }
  }
  return false;
}

int visitModule(dl_phdr_info *info, std::size_t, void *data) {
  auto &search = *static_cast<Search *>(data);
  if (info->dlpi_name == nullptr || !isModuleFile(info->dlpi_name, search.name)) return 0;
  search.found = dlopen(info->dlpi_name, RTLD_LAZY | RTLD_NOLOAD);
  // That counted once more; the module is its loader's.
  if (search.found != nullptr) dlclose(search.found);
  return search.found != nullptr ? 1 : 0;
}

}  // namespace

const char *const kModuleExtension = ".so";

Module findModule(const char *name) noexcept {
  Search search{name, nullptr};
  dl_iterate_phdr(visitModule, &search);
  return search.found;
}

Module loadModule(const char *path) noexcept { return dlopen(path, RTLD_NOW | RTLD_LOCAL); }

ModuleFunction moduleFunction(Module module, const char *name) noexcept {
  return module != nullptr ? reinterpret_cast<ModuleFunction>(dlsym(module, name)) : nullptr;
}

base::String libraryDirectory() {
  Dl_info info;
  if (dladdr(reinterpret_cast<const void *>(&kModuleExtension), &info) == 0 ||
      info.dli_fname == nullptr) {
    return {};
  }
  const char *slash = std::strrchr(info.dli_fname, '/');
  return slash != nullptr ? base::String(info.dli_fname, slash + 1) : base::String("./");
}

}  // namespace zk::platform
