// String lists without traces and static buffers, for the other families.
#pragma once

#include "zk/strlist.h"

#include <memory>
#include <string_view>

#include "SRC/LnkList.h"

namespace zk {

// A node with a copy of `text`; null when refused.
StrListNode *newStringNode(std::string_view text) noexcept;
void releaseStringNode(StrListNode *node) noexcept;

// Appends a copy; false when refused. The cursor stays.
bool appendString(StrList &list, std::string_view text) noexcept;

// The string of a list's node, "" where a host stored none.
inline const char *stringOf(const LnkNode &node) noexcept {
  const auto *string = static_cast<const StrListNode *>(node.data);
  return string != nullptr && string->text != nullptr ? string->text : "";
}

void clearStringList(StrList &list) noexcept;

struct StringListDestroyer {
  void operator()(StrList *list) const noexcept {
    clearStringList(*list);
    base::release(list);
  }
};
using OwnedStringList = std::unique_ptr<StrList, StringListDestroyer>;

}  // namespace zk
