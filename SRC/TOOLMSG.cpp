#include "SRC/ToolMessage.h"

#include <cstdio>

namespace zk {

const char *toolMessage(const char *english, const char * /*key*/, MessageKind kind) noexcept {
  if (kind != MessageKind::kOnNewLine) return english;
  // Two results live at once: callers compose one text from two of them.
  static char results[2][512];
  static unsigned next = 0;
  char *result = results[next];
  next ^= 1;
  std::snprintf(result, sizeof results[0], "\n%s", english);
  return result;
}

}  // namespace zk
