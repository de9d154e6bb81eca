#include "platform/Module.h"

#include <windows.h>

#include <cstring>

namespace zk::platform {

const char *const kModuleExtension = ".dll";

Module findModule(const char *name) noexcept { return GetModuleHandleA(name); }

Module loadModule(const char *path) noexcept { return LoadLibraryA(path); }

ModuleFunction moduleFunction(Module module, const char *name) noexcept {
  if (module == nullptr) return nullptr;
  return reinterpret_cast<ModuleFunction>(
      reinterpret_cast<void *>(GetProcAddress(static_cast<HMODULE>(module), name)));
}

base::String libraryDirectory() {
  HMODULE module = nullptr;
  char path[MAX_PATH];
  if (!GetModuleHandleExA(
          GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
          reinterpret_cast<const char *>(&kModuleExtension), &module)) {
    return {};
  }
  const DWORD length = GetModuleFileNameA(module, path, sizeof path);
  if (length == 0 || length >= sizeof path) return {};
  const char *separator = std::strrchr(path, '\\');
  return separator != nullptr ? base::String(path, static_cast<std::size_t>(separator + 1 - path))
                              : base::String();
}

}  // namespace zk::platform
