// Loaded modules: libraries beside this one, their functions.
#pragma once

#include "base/Memory.h"

namespace zk::platform {

using Module = void *;  // null: none
using ModuleFunction = void (*)();

// What a module's file name ends with, with its dot.
extern const char *const kModuleExtension;

// A module that the process has loaded already, by its file name without directory and extension,
// letter case ignored ("ZK_DLGLIB"). Not counted: it stays loaded as long as its loader wants.
Module findModule(const char *name) noexcept;

// Loads a module: a native path, or a bare file name that is looked for where the system looks. It
// stays loaded for the rest of the process.
Module loadModule(const char *path) noexcept;

// Null when the module has no function of that name.
ModuleFunction moduleFunction(Module module, const char *name) noexcept;

// The native directory of the file that this library was loaded from, with a separator at its end;
// empty when it cannot be told. Throws std::bad_alloc.
base::String libraryDirectory();

}  // namespace zk::platform
