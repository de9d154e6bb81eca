#include "platform/Com.h"

#include <limits>

#include "platform/Module.h"

namespace zk::platform {
namespace {

using GetClassObject = HRESULT(STDAPICALLTYPE *)(REFCLSID, REFIID, void **);

constexpr DWORD kAnyServer =
    CLSCTX_INPROC_SERVER | CLSCTX_INPROC_HANDLER | CLSCTX_LOCAL_SERVER | CLSCTX_REMOTE_SERVER;

HRESULT createRegistered(const GUID &classId, IUnknown **object) {
  HRESULT result = CoCreateInstance(classId, nullptr, kAnyServer, IID_IUnknown,
                                    reinterpret_cast<void **>(object));
  if (result == CO_E_NOTINITIALIZED) {
    initializeCom();
    result = CoCreateInstance(classId, nullptr, kAnyServer, IID_IUnknown,
                              reinterpret_cast<void **>(object));
  }
  if (FAILED(result)) return result;
  result = OleRun(*object);
  if (FAILED(result)) {
    (*object)->Release();
    *object = nullptr;
  }
  return result;
}

HRESULT createFromFile(const GUID &classId, const char *file, IUnknown **object) {
  try {
    const auto getClassObject = reinterpret_cast<GetClassObject>(reinterpret_cast<void *>(
        moduleFunction(loadModule((libraryDirectory() + file + kModuleExtension).c_str()),
                       "DllGetClassObject")));
    if (getClassObject == nullptr) return REGDB_E_CLASSNOTREG;
    IClassFactory *factory = nullptr;
    HRESULT result =
        getClassObject(classId, IID_IClassFactory, reinterpret_cast<void **>(&factory));
    if (FAILED(result)) return result;
    result = factory->CreateInstance(nullptr, IID_IUnknown, reinterpret_cast<void **>(object));
    factory->Release();
    return result;
  } catch (const std::bad_alloc &) {
    return E_OUTOFMEMORY;
  }
}

}  // namespace

HRESULT createObject(const GUID &classId, const char *file, IUnknown **object) noexcept {
  *object = nullptr;
  const HRESULT result = createRegistered(classId, object);
  return result == REGDB_E_CLASSNOTREG && file != nullptr ? createFromFile(classId, file, object) : result;
}

HRESULT registerClass(const GUID &classId, IUnknown *factory, std::uint32_t &cookie) noexcept {
  DWORD given = 0;
  HRESULT result =
      CoRegisterClassObject(classId, factory, CLSCTX_INPROC_SERVER, REGCLS_MULTIPLEUSE, &given);
  if (result == CO_E_NOTINITIALIZED) {
    initializeCom();
    result =
        CoRegisterClassObject(classId, factory, CLSCTX_INPROC_SERVER, REGCLS_MULTIPLEUSE, &given);
  }
  cookie = given;
  return result;
}

HRESULT revokeClass(std::uint32_t cookie) noexcept { return CoRevokeClassObject(cookie); }

void initializeCom() noexcept { CoInitialize(nullptr); }

BSTR toBstr(const char *text, std::size_t length) noexcept {
  if (length > static_cast<std::size_t>(std::numeric_limits<int>::max())) return nullptr;
  const int bytes = static_cast<int>(length);
  const int units = bytes == 0 ? 0 : MultiByteToWideChar(CP_ACP, 0, text, bytes, nullptr, 0);
  const BSTR result = SysAllocStringLen(nullptr, static_cast<UINT>(units));
  if (result != nullptr && units > 0) {
    MultiByteToWideChar(CP_ACP, 0, text, bytes, result, units);
  }
  return result;
}

base::String fromBstr(BSTR text) {
  const int units = static_cast<int>(SysStringLen(text));
  if (units == 0) return {};
  const int bytes = WideCharToMultiByte(CP_ACP, 0, text, units, nullptr, 0, nullptr, nullptr);
  base::String result(static_cast<std::size_t>(bytes), '\0');
  WideCharToMultiByte(CP_ACP, 0, text, units, result.data(), bytes, nullptr, nullptr);
  return result;
}

}  // namespace zk::platform
