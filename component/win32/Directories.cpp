#include <windows.h>

#include "component/System.h"
#include "component/win32/Module.h"

namespace zk::component {

Path nativePath(BSTR name) {
  // Up to the first zero.
  return name != nullptr ? Path(name) : Path();
}

Path environmentPath(const char *name) {
  const WideText wideName = toWide(name);
  // Not the C runtime's copy of the environment: every runtime in the process has its own.
  WideText value(GetEnvironmentVariableW(wideName.c_str(), nullptr, 0), L'\0');
  const DWORD length =
      GetEnvironmentVariableW(wideName.c_str(), value.data(), static_cast<DWORD>(value.size()));
  value.resize(length < value.size() ? length : 0);
  return value;
}

Path userConfigurationDirectory() {
  const Path base = environmentPath("APPDATA");
  return base.is_absolute() ? base / "zk" : Path();
}

Path componentFile() {
  HMODULE module = nullptr;
  if (!GetModuleHandleExW(
          GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
          reinterpret_cast<LPCWSTR>(&componentFile), &module)) {
    return {};
  }
  constexpr std::size_t kLongestPath = 32768;
  WideText file(kLongestPath, L'\0');
  file.resize(GetModuleFileNameW(module, file.data(), static_cast<DWORD>(file.size())));
  return file;
}

Path componentDirectory() { return componentFile().parent_path(); }

}  // namespace zk::component
