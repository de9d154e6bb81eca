// Registration of the component's classes with the system: for all users where the caller may do
// that, else for the current one.
#include <windows.h>

#include <objbase.h>

#include <iterator>
#include <string>

#include "component/Object.h"
#include "component/win32/Module.h"
#include "zk_component.h"

namespace zk::component {
namespace {

struct Class {
  const GUID &classId;
  const wchar_t *description;
};
const Class kClasses[] = {{ZK_CLSID_APPLICATION, L"ZK_BASELIB application component"},
                          {ZK_CLSID_VARIABLES_LIST, L"ZK_BASELIB variables list"},
                          {ZK_CLSID_FIELD_LIST, L"ZK_BASELIB field list"},
                          {ZK_CLSID_FIELD, L"ZK_BASELIB field"}};

const HKEY kHives[] = {HKEY_LOCAL_MACHINE, HKEY_CURRENT_USER};

std::wstring keyOf(const Class &entry) {
  wchar_t text[40] = L"";
  StringFromGUID2(entry.classId, text, static_cast<int>(std::size(text)));
  return std::wstring(L"Software\\Classes\\CLSID\\") + text;
}

LSTATUS setText(HKEY hive, const std::wstring &key, const wchar_t *name, const std::wstring &text) {
  const auto bytes = static_cast<DWORD>((text.size() + 1) * sizeof(wchar_t));
  HKEY opened = nullptr;
  LSTATUS status =
      RegCreateKeyExW(hive, key.c_str(), 0, nullptr, 0, KEY_SET_VALUE, nullptr, &opened, nullptr);
  if (status != ERROR_SUCCESS) return status;
  status =
      RegSetValueExW(opened, name, 0, REG_SZ, reinterpret_cast<const BYTE *>(text.c_str()), bytes);
  RegCloseKey(opened);
  return status;
}

LSTATUS registerIn(HKEY hive, const std::wstring &file) {
  for (const Class &entry : kClasses) {
    const std::wstring key = keyOf(entry);
    const std::wstring server = key + L"\\InprocServer32";
    LSTATUS status = setText(hive, key, nullptr, entry.description);
    if (status == ERROR_SUCCESS) status = setText(hive, server, nullptr, file);
    if (status == ERROR_SUCCESS) status = setText(hive, server, L"ThreadingModel", L"Apartment");
    if (status != ERROR_SUCCESS) return status;
  }
  return ERROR_SUCCESS;
}

LSTATUS unregisterFrom(HKEY hive) {
  LSTATUS result = ERROR_SUCCESS;
  for (const Class &entry : kClasses) {
    const std::wstring key = keyOf(entry);
    for (const std::wstring &name : {key + L"\\InprocServer32", key}) {
      const LSTATUS status = RegDeleteKeyW(hive, name.c_str());
      if (status != ERROR_SUCCESS && status != ERROR_FILE_NOT_FOUND) result = status;
    }
  }
  return result;
}

HRESULT resultOf(LSTATUS status) { return HRESULT_FROM_WIN32(static_cast<DWORD>(status)); }

}  // namespace
}  // namespace zk::component

extern "C" {

HRESULT STDAPICALLTYPE DllRegisterServer() {
  using namespace zk::component;
  return guarded([] {
    const std::wstring file = componentFile().native();
    if (file.empty()) return E_FAIL;
    LSTATUS status = ERROR_SUCCESS;
    for (const HKEY hive : kHives) {
      status = registerIn(hive, file);
      if (status == ERROR_SUCCESS) break;
    }
    return resultOf(status);
  });
}

// Takes back what either kind of registration left.
HRESULT STDAPICALLTYPE DllUnregisterServer() {
  using namespace zk::component;
  return guarded([] {
    LSTATUS status = ERROR_SUCCESS;
    for (const HKEY hive : kHives) {
      const LSTATUS removed = unregisterFrom(hive);
      if (removed != ERROR_SUCCESS && hive == HKEY_CURRENT_USER) status = removed;
    }
    return resultOf(status);
  });
}

}  // extern "C"
