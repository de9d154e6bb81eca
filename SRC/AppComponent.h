// What the application component is asked for.
#pragma once

namespace zk {

// Has the component refresh its view of a file or directory. True when it did; without a component,
// as in this version, nothing happens.
inline bool revalidatePath(const char *) { return false; }

}  // namespace zk
