// The library's calls that change files, counted, and the n-th of them disturbed: the program ends
// there, or the disk is full. And its reads, so that something can happen between two of them. How
// the library's calls come here is the system's matter: posix_file_calls.cpp,
// windows_file_calls.cpp.
#pragma once

#include <functional>

namespace file_calls {

enum class Disturbance {
  kNone,
  kEndBefore,   // the program ends in the place of the call
  kEndHalfway,  // a write has put half of its bytes in place
  kEndAfter,
  kFailOnce,
  kFailHalfway,       // a write puts half of its bytes in place, its rest fails
  kFailHalfwayAndOn,  // and so does every other one
  kFailFromThere,
};

// From now on, until `calm`: the n-th call, counted from 1. A program that is ended has the exit
// code of `setExitCode`.
void disturb(int n, Disturbance disturbance);
void setExitCode(int code);
// Whether the call was reached.
bool calm();

// Does something just before the n-th read of a file from now on, counted from 1; 0: never.
void beforeRead(int n, const std::function<void()> &act);

// Windows: the next `count` reads and writes fail with that error of the system's; how many of them
// are still to come.
void refuse(int error, int count);
int refusalsLeft();

// ---- For the functions that stand in the place of the system's

// What is to be done with a call.
enum class Fate { kWhole, kHalf, kFails };

// From now on the library's calls come here.
void watchCalls();
[[noreturn]] void endAtOnce(int code);

// Counts a call that changes files; `leave` when it has been done.
Fate arrive();
void leave();
// The same for a call that cannot be done by half: whether it is done.
bool arriveWhole();
void arriveAtRead();
bool endsTheProgram();

}  // namespace file_calls
