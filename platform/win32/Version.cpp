#include "platform/Version.h"

#include <windows.h>

#include <cstdio>
#include <cstring>

namespace zk::platform {
namespace {

constexpr const char *kTextNames[] = {"CompanyName",     "FileDescription", "FileVersion",
                                      "InternalName",    "LegalCopyright",  "OriginalFileName",
                                      "ProductName",     "ProductVersion",  "Comments",
                                      "LegalTrademarks", "PrivateBuild",    "SpecialBuild"};

constexpr const char *kUninstallKey = "Software\\Microsoft\\Windows\\CurrentVersion\\Uninstall";

// The version resource of a loaded module; empty when it has none.
class VersionResource {
 public:
  explicit VersionResource(const char *module) {
    char path[MAX_PATH];
    const HMODULE handle = GetModuleHandleA(module);
    const DWORD length = handle != nullptr ? GetModuleFileNameA(handle, path, sizeof path) : 0;
    if (length == 0 || length >= sizeof path) return;
    DWORD ignored;
    const DWORD size = GetFileVersionInfoSizeA(path, &ignored);
    bytes_.resize(size);
    if (size != 0 && !GetFileVersionInfoA(path, 0, size, bytes_.data())) bytes_.clear();
  }

  // A value by its path of at least `size` bytes; null when there is none.
  const void *value(const char *path, UINT size) {
    void *found = nullptr;
    UINT length = 0;
    if (bytes_.empty() || !VerQueryValueA(bytes_.data(), path, &found, &length)) return nullptr;
    return length >= size ? found : nullptr;
  }

 private:
  base::Vector<char> bytes_;
};

class Key {
 public:
  Key(HKEY parent, const char *name) {
    if (RegOpenKeyExA(parent, name, 0, KEY_READ, &key_) != ERROR_SUCCESS) key_ = nullptr;
  }
  ~Key() {
    if (key_ != nullptr) RegCloseKey(key_);
  }
  Key(const Key &) = delete;
  Key &operator=(const Key &) = delete;
  HKEY get() const { return key_; }

  // A text value; false when there is none.
  bool text(const char *name, base::String &text) const {
    DWORD type;
    DWORD size = 0;
    if (RegQueryValueExA(key_, name, nullptr, &type, nullptr, &size) != ERROR_SUCCESS ||
        (type != REG_SZ && type != REG_EXPAND_SZ)) {
      return false;
    }
    text.resize(size);
    if (RegQueryValueExA(key_, name, nullptr, &type, reinterpret_cast<BYTE *>(text.data()),
                         &size) != ERROR_SUCCESS) {
      return false;
    }
    text.resize(std::strlen(text.c_str()));
    return true;
  }

 private:
  HKEY key_ = nullptr;
};

}  // namespace

bool moduleFileVersion(const char *module, std::uint16_t (&parts)[4]) {
  VersionResource resource(module);
  const auto *info =
      static_cast<const VS_FIXEDFILEINFO *>(resource.value("\\", sizeof(VS_FIXEDFILEINFO)));
  if (info == nullptr) return false;
  parts[0] = HIWORD(info->dwFileVersionMS);
  parts[1] = LOWORD(info->dwFileVersionMS);
  parts[2] = HIWORD(info->dwFileVersionLS);
  parts[3] = LOWORD(info->dwFileVersionLS);
  return true;
}

bool moduleVersionText(const char *module, VersionText which, base::String &text) {
  VersionResource resource(module);
  WORD pair[2];  // language and code page
  const void *translation = resource.value("\\VarFileInfo\\Translation", sizeof pair);
  if (translation == nullptr) return false;
  std::memcpy(pair, translation, sizeof pair);
  char path[64];
  std::snprintf(path, sizeof path, "\\StringFileInfo\\%04X%04X\\%s", pair[0], pair[1],
                kTextNames[static_cast<int>(which)]);
  const auto *found = static_cast<const char *>(resource.value(path, 1));
  if (found == nullptr) return false;
  text = found;
  return true;
}

void visitProducts(ProductVisitor visit, void *context) {
  const Key products(HKEY_LOCAL_MACHINE, kUninstallKey);
  if (products.get() == nullptr) return;
  char name[256];  // the longest that a key can have
  for (DWORD i = 0;; ++i) {
    DWORD length = sizeof name;
    if (RegEnumKeyExA(products.get(), i, name, &length, nullptr, nullptr, nullptr, nullptr) !=
        ERROR_SUCCESS) {
      return;
    }
    const Key product(products.get(), name);
    base::String displayName;
    base::String version;
    if (product.get() == nullptr || !product.text("DisplayName", displayName)) continue;
    const bool hasVersion = product.text("DisplayVersion", version);
    if (!visit(displayName.c_str(), hasVersion ? version.c_str() : nullptr, context)) return;
  }
}

bool setProductDatabase(const char *) noexcept { return false; }

}  // namespace zk::platform
