// Versions: of loaded modules, and of the products installed on the system.
#pragma once

#include <cstdint>

#include "base/Memory.h"

namespace zk::platform {

// The texts that a module's version resource usually has.
enum class VersionText {
  kCompanyName,
  kFileDescription,
  kFileVersion,
  kInternalName,
  kLegalCopyright,
  kOriginalFileName,
  kProductName,
  kProductVersion,
  kComments,
  kLegalTrademarks,
  kPrivateBuild,
  kSpecialBuild,
};

// From the version resource of a loaded module, by its file name. False when there is none (on
// Linux always). Both throw std::bad_alloc.
bool moduleFileVersion(const char *module, std::uint16_t (&parts)[4]);
bool moduleVersionText(const char *module, VersionText which, base::String &text);

// Walks the installed products until `visit` gives false: the registry's uninstall records or, on
// Linux, the packages in the package manager's database. A product without a version has a null
// one. Throws std::bad_alloc.
using ProductVisitor = bool (*)(const char *name, const char *version, void *context);
void visitProducts(ProductVisitor visit, void *context);

// Linux: the file with the list of installed packages, by default "/var/lib/dpkg/status"; null or
// "" restores it. False for a path of 512 bytes or more, and on Windows.
bool setProductDatabase(const char *path) noexcept;

}  // namespace zk::platform
