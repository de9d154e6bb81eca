// The catalogue without static buffers, for the other families.
#pragma once

#include "base/Memory.h"

namespace zk {

// zk_Msg, whatever the length. Throws std::bad_alloc.
base::String message(const char *text, const char *messageId, int32_t format);

}  // namespace zk
