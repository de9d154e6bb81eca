#include <dlfcn.h>

#include "tests/modules.h"

namespace modules {

void *function(const char *file, const char *name) {
  void *module = dlopen(file, RTLD_NOW | RTLD_LOCAL);
  return module != nullptr ? dlsym(module, name) : nullptr;
}

}  // namespace modules
