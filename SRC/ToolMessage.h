// Texts of failures, which are told while memory may be short or tables are in the middle of
// something: they never go through the catalogue, but have been translated when it was loaded.
#pragma once

namespace zk {

// The layout that the message catalogue applies to a text.
enum class MessageKind { kPlain = 1, kOnNewLine = 3 };

// The text to show for `english`: the translation of `key` ("TOOL_216") where one is remembered,
// else `english` itself. Valid at least until the next call but one; copied by whoever keeps it.
const char *toolMessage(const char *english, const char *key, MessageKind kind) noexcept;

// Asks `translate` for every failure text and remembers what it wrote into `out` (at most
// `capacity` characters); false from it leaves a text in English.
using TranslateFn = bool (*)(const char *english, const char *key, char *out, unsigned capacity);
void rememberToolMessages(TranslateFn translate) noexcept;

}  // namespace zk
