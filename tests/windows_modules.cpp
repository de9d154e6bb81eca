#include <windows.h>

#include "tests/modules.h"

namespace modules {

void *function(const char *file, const char *name) {
  const HMODULE module = LoadLibraryA(file);
  return module != nullptr ? reinterpret_cast<void *>(GetProcAddress(module, name)) : nullptr;
}

}  // namespace modules
