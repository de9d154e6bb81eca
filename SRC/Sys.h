// The well-known directories of an installation, without buffers of their own.
//
// Each directory is in lower case and ends with a separator, or is empty. Everything here throws
// std::bad_alloc and nothing else.
#pragma once

#include "base/Memory.h"

namespace zk {

base::String netDirectory();
base::String localDirectory();
// The directory of specs, or the one below it that `subDirectory` (null: none) names.
base::String specDirectory(const char *subDirectory);
base::String binDirectory();
// With `perSession` the session's own directory, which is made where it does not exist.
base::String tempDirectory(bool perSession);
// Empty without an application component.
base::String cfgDirectory();

// The path of a file in the configuration directory, as zk_Sys_getCfgName gives it; the name alone
// without an application component.
base::String configurationFile(const char *name);

}  // namespace zk
