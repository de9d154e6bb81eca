#include "SRC/ToolMessage.h"

#include <cstdio>
#include <cstring>

namespace zk {
namespace {

constexpr unsigned kTextLength = 255;

struct FailureText {
  const char *key;
  const char *english;
  char translation[kTextLength + 1];  // empty: none
};

// Every text that toolMessage is asked for.
FailureText texts[] = {
    {"TOOL_216", "Unable to allocate", ""},
    {"TOOL_217", "bytes of memory", ""},
    {"TOOL_218", "Unable to re-allocate", ""},
    {"TOOL_219", "Unable to callocate", ""},
    {"TOOL_1084", "zk_Diag_setOutput: Diagnostics log file name specified is invalid.", ""},
    {"TOOL_1085", "Defaulting to log file:", ""},
};

}  // namespace

const char *toolMessage(const char *english, const char *key, MessageKind kind) noexcept {
  const char *text = english;
  for (const FailureText &known : texts) {
    if (known.translation[0] != '\0' && std::strcmp(known.key, key) == 0) text = known.translation;
  }
  if (kind != MessageKind::kOnNewLine) return text;
  // Two results live at once: callers compose one text from two of them.
  static char results[2][kTextLength + 2];
  static unsigned next = 0;
  char *result = results[next];
  next ^= 1;
  std::snprintf(result, sizeof results[0], "\n%s", text);
  return result;
}

void rememberToolMessages(TranslateFn translate) noexcept {
  for (FailureText &text : texts) {
    if (!translate(text.english, text.key, text.translation, kTextLength)) {
      text.translation[0] = '\0';
    }
  }
}

}  // namespace zk
