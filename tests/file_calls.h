// The library's calls that change files, counted, and the n-th of them disturbed: the program ends
// there, or the disk is full. And its reads, so that something can happen between two of them. The
// library's calls come here because a program's own functions go before the system's of the same
// name.
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

}  // namespace file_calls
