#include "platform/Com.h"

#include <cstdint>

#include "platform/Module.h"

namespace zk::platform {
namespace {

using GetClassObject = HRESULT (*)(REFCLSID, REFIID, void **);

struct RegisteredClass {
  GUID classId;
  IUnknown *factory;
  std::uint32_t cookie;
};

// Never destroyed: the host's allocator may be gone when the process ends.
base::Vector<RegisteredClass> &registeredClasses() {
  alignas(base::Vector<RegisteredClass>) static unsigned char
      storage[sizeof(base::Vector<RegisteredClass>)];
  static auto *classes = new (storage) base::Vector<RegisteredClass>;
  return *classes;
}
std::uint32_t lastCookie = 0;

HRESULT createWith(IUnknown *unknown, IUnknown **object) {
  IClassFactory *factory = nullptr;
  HRESULT result = unknown->QueryInterface(IID_IClassFactory, reinterpret_cast<void **>(&factory));
  if (FAILED(result)) return result;
  result = factory->CreateInstance(nullptr, IID_IUnknown, reinterpret_cast<void **>(object));
  factory->Release();
  return result;
}

HRESULT createFromFile(const GUID &classId, const char *file, IUnknown **object) {
  try {
    const auto getClassObject = reinterpret_cast<GetClassObject>(moduleFunction(
        loadModule((libraryDirectory() + file + kModuleExtension).c_str()), "DllGetClassObject"));
    if (getClassObject == nullptr) return REGDB_E_CLASSNOTREG;
    IUnknown *factory = nullptr;
    HRESULT result = getClassObject(classId, IID_IUnknown, reinterpret_cast<void **>(&factory));
    if (FAILED(result)) return result;
    result = createWith(factory, object);
    factory->Release();
    return result;
  } catch (const std::bad_alloc &) {
    return E_OUTOFMEMORY;
  }
}

// A byte that is no UTF-8 becomes the lone low surrogate 0xDC00 + byte, which no text holds.
constexpr std::uint32_t kStrayByte = 0xDC00;

// The character at `bytes`, 0 < length <= size of it; a stray byte counts as one.
std::uint32_t decode(const unsigned char *bytes, std::size_t size, std::size_t &length) {
  const unsigned char lead = bytes[0];
  length = 1;
  if (lead < 0x80) return lead;
  const std::size_t wanted = lead >= 0xF0 ? 4 : lead >= 0xE0 ? 3 : 2;
  if (lead < 0xC2 || lead > 0xF4 || wanted > size) return kStrayByte + lead;
  std::uint32_t character = lead & (0xFFu >> (wanted + 1));
  for (std::size_t i = 1; i < wanted; ++i) {
    if ((bytes[i] & 0xC0) != 0x80) return kStrayByte + lead;
    character = character << 6 | (bytes[i] & 0x3Fu);
  }
  const bool tooLong = (wanted == 3 && character < 0x800) || (wanted == 4 && character < 0x10000);
  const bool surrogate = character >= 0xD800 && character < 0xE000;
  if (tooLong || surrogate || character > 0x10FFFF) return kStrayByte + lead;
  length = wanted;
  return character;
}

void encode(std::uint32_t character, base::String &out) {
  const auto put = [&](std::uint32_t byte) { out.push_back(static_cast<char>(byte)); };
  if (character < 0x80) {
    put(character);
  } else if (character < 0x800) {
    put(0xC0 | character >> 6);
    put(0x80 | (character & 0x3F));
  } else if (character < 0x10000) {
    put(0xE0 | character >> 12);
    put(0x80 | (character >> 6 & 0x3F));
    put(0x80 | (character & 0x3F));
  } else {
    put(0xF0 | character >> 18);
    put(0x80 | (character >> 12 & 0x3F));
    put(0x80 | (character >> 6 & 0x3F));
    put(0x80 | (character & 0x3F));
  }
}

}  // namespace

HRESULT createObject(const GUID &classId, const char *file, IUnknown **object) noexcept {
  *object = nullptr;
  for (const RegisteredClass &entry : registeredClasses()) {
    if (entry.classId == classId) return createWith(entry.factory, object);
  }
  return file != nullptr ? createFromFile(classId, file, object) : REGDB_E_CLASSNOTREG;
}

HRESULT registerClass(const GUID &classId, IUnknown *factory, std::uint32_t &cookie) noexcept {
  try {
    registeredClasses().push_back({classId, factory, lastCookie + 1});
  } catch (const std::bad_alloc &) {
    return E_OUTOFMEMORY;
  }
  factory->AddRef();
  cookie = ++lastCookie;
  return S_OK;
}

HRESULT revokeClass(std::uint32_t cookie) noexcept {
  auto &classes = registeredClasses();
  for (auto entry = classes.begin(); entry != classes.end(); ++entry) {
    if (entry->cookie != cookie) continue;
    IUnknown *factory = entry->factory;
    classes.erase(entry);
    factory->Release();
    return S_OK;
  }
  return E_INVALIDARG;
}

void initializeCom() noexcept {}

BSTR toBstr(const char *text, std::size_t length) noexcept {
  const auto *bytes = reinterpret_cast<const unsigned char *>(text);
  std::size_t units = 0;
  std::size_t step;
  for (std::size_t at = 0; at < length; at += step) {
    units += decode(bytes + at, length - at, step) >= 0x10000 ? 2 : 1;
  }
  if (units > UINT32_MAX / sizeof(OLECHAR)) return nullptr;
  const BSTR result = SysAllocStringLen(nullptr, static_cast<UINT>(units));
  if (result == nullptr) return nullptr;
  OLECHAR *out = result;
  for (std::size_t at = 0; at < length; at += step) {
    const std::uint32_t character = decode(bytes + at, length - at, step);
    if (character < 0x10000) {
      *out++ = static_cast<OLECHAR>(character);
    } else {
      *out++ = static_cast<OLECHAR>(0xD7C0 + (character >> 10));
      *out++ = static_cast<OLECHAR>(0xDC00 + (character & 0x3FF));
    }
  }
  return result;
}

base::String fromBstr(BSTR text) {
  base::String result;
  const UINT units = SysStringLen(text);
  result.reserve(units);
  for (UINT at = 0; at < units; ++at) {
    const std::uint32_t unit = text[at];
    const std::uint32_t next = at + 1 < units ? text[at + 1] : 0;
    if (unit >= 0xD800 && unit < 0xDC00 && next >= 0xDC00 && next < 0xE000) {
      encode(0x10000 + ((unit - 0xD800) << 10) + (next - 0xDC00), result);
      ++at;
    } else if (unit > kStrayByte + 0x7F && unit <= kStrayByte + 0xFF) {
      result.push_back(static_cast<char>(unit - kStrayByte));
    } else if (unit >= 0xD800 && unit < 0xE000) {
      result.push_back('?');
    } else {
      encode(unit, result);
    }
  }
  return result;
}

}  // namespace zk::platform
