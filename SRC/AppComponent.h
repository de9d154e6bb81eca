// The process's application component: what it is asked for, one function a question.
//
// It is created on first use and kept; a failed creation is remembered as well, until
// releaseComponent. Nothing here throws.
#pragma once

#include <optional>

#include "SRC/Com.h"

namespace zk {

// Whether the component knows a file or directory of that name; nothing without a component, or
// when it fails.
std::optional<bool> componentFileExists(const char *path) noexcept;
std::optional<bool> componentDirectoryExists(const char *path) noexcept;

// Has the component refresh its view of a file or directory. True when it did.
bool revalidatePath(const char *path) noexcept;

// The configuration directory; empty without one, or when memory is refused.
base::String configurationDirectory() noexcept;

// Empty without a component or when it has none.
ComPtr<IZkConfigurationCache> configurationCache() noexcept;
ComPtr<IZkTranslator> translator() noexcept;

void releaseComponent() noexcept;

}  // namespace zk
