// Functions of modules that a test does not link with.
#pragma once

namespace modules {

// Loads a module for the rest of the program; its function of that name, null when there is none.
void *function(const char *file, const char *name);

}  // namespace modules
