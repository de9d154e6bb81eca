// The one call through which the library's own user-facing texts pass.
#pragma once

namespace zk {

// The layout that the message catalogue applies to a text.
enum class MessageKind { kPlain = 1, kOnNewLine = 3 };

// The text to show for `english`: the translation of `key` ("TOOL_216") when a catalogue is loaded,
// else `english` itself. Valid at least until the next call but one; copied by whoever keeps it.
// Until the message catalogue exists there is never a translation.
const char *toolMessage(const char *english, const char *key, MessageKind kind) noexcept;

}  // namespace zk
