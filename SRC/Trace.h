// The trace guard: one object at the top of a traced function writes its entry line, and its exit
// line at every return. Off, it costs two loads and a test at each end.
#pragma once

#include "zk/diag.h"

namespace zk {

// What one family puts into its trace lines.
struct TraceFamily {
  uint32_t conditionBit;
  const char
      *module;  // the module's source path as trace lines know it, such as "SRC\\LNKLIST.cpp"
};

class TraceGuard {
 public:
  TraceGuard(const TraceFamily &family, const char *entryText, const char *exitText, int line)
      : family_(family), exitText_(exitText), line_(line) {
    if (enabled()) write(entryText);
  }
  // Tests again: a level or condition changed meanwhile decides whether the exit is written.
  ~TraceGuard() {
    if (enabled()) write(exitText_);
  }
  TraceGuard(const TraceGuard &) = delete;
  TraceGuard &operator=(const TraceGuard &) = delete;

 private:
  bool enabled() const {
    return ZK_DiagCurrentLevel >= 3 && (ZK_DiagCurrentCondition & family_.conditionBit) != 0;
  }
  void write(const char *text) const;  // DIAG.cpp

  const TraceFamily &family_;
  const char *exitText_;
  int line_;
};

}  // namespace zk

// `family` is a constexpr TraceFamily; the two forms differ in the word of the exit line.
#define ZK_TRACE_EXITING(family, function)                                                         \
  const ::zk::TraceGuard traceGuard((family), "Entering " #function ".", "Exiting " #function ".", \
                                    __LINE__)
#define ZK_TRACE_LEAVING(family, function)                                                         \
  const ::zk::TraceGuard traceGuard((family), "Entering " #function ".", "Leaving " #function ".", \
                                    __LINE__)
