// Starting other programs, and what is looked for on the system by name.
#pragma once

#include "base/Memory.h"

namespace zk::platform {

// The system's error numbers; 0 is none.
struct ProcessStart {
  int error = 0;
  int closeError = 0;  // the program runs, but its handle could not be closed
};

// Starts a program and, with `wait`, returns when it has ended. `program` is a name that the system
// looks for or a path as hosts write it, perhaps with arguments; `arguments` (null: none) follow
// it, quoted by the rules of Windows: parts in double quotes keep their blanks, \" is a quote.
//
// Windows: the system takes the command line apart, and messages are dispatched while waiting,
// which ends early when the application is asked to quit. Linux: no shell is involved, names are
// looked for on PATH, and what is not waited for leaves no ended process behind. Throws
// std::bad_alloc.
ProcessStart startProcess(const char *program, const char *arguments, bool wait);

// The system's text for an error number, without a line end. Throws std::bad_alloc.
base::String systemErrorText(int error);

// Opens a text file (a name as hosts write it) in Notepad or, on Linux, in what the desktop opens
// such files with (xdg-open); there the file must exist. Throws std::bad_alloc.
bool openInEditor(const char *name);

// Whether what the help library needs is there: on Windows the system's HTML component. Linux has
// none, so that nothing is missing.
bool canShowHelp() noexcept;

}  // namespace zk::platform
