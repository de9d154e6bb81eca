#include "zk/strlist.h"

#include <cstdarg>
#include <cstring>
#include <unordered_set>

#include "SRC/Str.h"
#include "SRC/StrList.h"
#include "SRC/Trace.h"
#include "base/Guard.h"
#include "base/Memory.h"

namespace zk {

StrListNode *newStringNode(std::string_view text) noexcept {
  auto *node = static_cast<StrListNode *>(base::allocate(sizeof(StrListNode)));
  if (node == nullptr) return nullptr;
  node->text = base::duplicate(text.data(), text.size());
  if (node->text != nullptr) return node;
  base::release(node);
  return nullptr;
}

void releaseStringNode(StrListNode *node) noexcept {
  if (node == nullptr) return;
  base::release(node->text);
  base::release(node);
}

bool appendString(StrList &list, std::string_view text) noexcept {
  StrListNode *node = newStringNode(text);
  if (node == nullptr) return false;
  if (appendNode(list, node) != nullptr) return true;
  releaseStringNode(node);
  return false;
}

void clearStringList(StrList &list) noexcept {
  clearList(list, [](void *node) { releaseStringNode(static_cast<StrListNode *>(node)); });
}

namespace {

constexpr TraceFamily kTrace{ZK_DIAG_STRLIST, "SRC\\STRLIST.cpp"};
constexpr std::size_t kBufferCharacters = 512;

char currentString[kBufferCharacters + 1];
const char *lastCurrent = nullptr;
char *lastCopy = nullptr;  // handed out: compared and returned, never read through
char foundString[kBufferCharacters + 1];

void ZK_CALL destroyNode(void *node) { zk_StrListNode_destroy(static_cast<StrListNode *>(node)); }

int ZK_CALL compareNodes(const void *a, const void *b) {
  const auto text = [](const void *data) {
    const auto *node = static_cast<const StrListNode *>(data);
    return node != nullptr && node->text != nullptr ? node->text : "";
  };
  return std::strcmp(text(a), text(b));
}

// Makes a node for `string` and gives it to `store`, or releases it where that fails.
template <typename Store>
int storeCopy(StrList *list, const char *string, Store store) {
  if (list == nullptr || string == nullptr) return 0;
  StrListNode *node = zk_StrListNode_create(string);
  if (node == nullptr) return 0;
  if (store(node)) return 1;
  zk_StrListNode_destroy(node);
  return 0;
}

const char *currentText(const StrList *list) {
  const auto *node = static_cast<const StrListNode *>(zk_LnkList_getCurr(list));
  return node != nullptr ? node->text : nullptr;
}

bool appendCopies(StrList &list, const StrList &source) {
  for (const LnkNode *node = source.first; node != nullptr; node = node->next) {
    if (!appendString(list, stringOf(*node))) return false;
  }
  return true;
}

// Strings as keys of a hash table; the table's lifetime is one call.
struct KeyHash {
  bool ignoreCase;
  std::size_t operator()(std::string_view text) const noexcept {
    std::uint64_t hash = 14695981039346656037u;
    for (const char c : text) {
      hash ^= static_cast<unsigned char>(ignoreCase ? upperCase(c) : c);
      hash *= 1099511628211u;
    }
    return static_cast<std::size_t>(hash ^ (hash >> 32));
  }
};
struct KeyEqual {
  bool ignoreCase;
  bool operator()(std::string_view a, std::string_view b) const noexcept {
    return ignoreCase ? compareIgnoringCase(a, b) == 0 : a == b;
  }
};
using KeySet =
    std::unordered_set<std::string_view, KeyHash, KeyEqual, base::Allocator<std::string_view>>;

base::Vector<LnkNode *> repeatedNodes(const StrList &list, bool ignoreCase) {
  base::Vector<LnkNode *> repeated;
  KeySet seen(list.length, KeyHash{ignoreCase}, KeyEqual{ignoreCase});
  for (LnkNode *node = list.first; node != nullptr; node = node->next) {
    if (!seen.insert(stringOf(*node)).second) repeated.push_back(node);
  }
  return repeated;
}

StrList *withoutDuplicates(StrList *list, bool ignoreCase) {
  const base::Vector<LnkNode *> repeated = repeatedNodes(*list, ignoreCase);
  StrList *result = newList();
  if (result == nullptr) return nullptr;
  // From here on nothing can be refused.
  for (LnkNode *node : repeated) {
    unlinkNode(*list, *node);
    destroyNode(node->data);
    base::release(node);
  }
  spliceNodes(*result, *list);
  result->current = result->first;
  base::release(list);
  return result;
}

char *joined(const StrList &list, std::string_view delimiter) {
  std::size_t size = 0;
  for (const LnkNode *node = list.first; node != nullptr; node = node->next) {
    const std::size_t more = std::strlen(stringOf(*node)) + delimiter.size();
    if (more >= SIZE_MAX - size) return nullptr;
    size += more;
  }
  auto *text = static_cast<char *>(base::allocate(size - delimiter.size() + 1));
  if (text == nullptr) return nullptr;
  char *end = text;
  for (const LnkNode *node = list.first; node != nullptr; node = node->next) {
    if (node != list.first) end += delimiter.copy(end, delimiter.size());
    const std::string_view string(stringOf(*node));
    end += string.copy(end, string.size());
  }
  *end = '\0';
  return text;
}

StrList *joinedChunks(const StrList &list, std::string_view delimiter, std::uint32_t chunkSize,
                      bool quote) {
  OwnedStringList chunks(newList());
  if (chunks == nullptr) return nullptr;
  base::String chunk;
  std::uint32_t count = 0;
  for (const LnkNode *node = list.first; node != nullptr; node = node->next) {
    if (count != 0) chunk += delimiter;
    if (quote) chunk += '\'';
    chunk += stringOf(*node);
    if (quote) chunk += '\'';
    if (++count < chunkSize && node->next != nullptr) continue;
    if (!appendString(*chunks, chunk)) return nullptr;
    chunk.clear();
    count = 0;
  }
  return chunks.release();
}

std::string_view orEmpty(const char *text) { return text != nullptr ? text : ""; }

}  // namespace
}  // namespace zk

using namespace zk;

ZK_EXTERN_C_BEGIN

StrListNode *ZK_CALL zk_StrListNode_create(const char *string) {
  ZK_TRACE_EXITING(kTrace, zk_StrListNode_create);
  return string != nullptr ? newStringNode(string) : nullptr;
}

int ZK_CALL zk_StrListNode_destroy(StrListNode *node) {
  ZK_TRACE_EXITING(kTrace, zk_StrListNode_destroy);
  if (node == nullptr) return 0;
  releaseStringNode(node);
  return 1;
}

StrList *ZK_CALL zk_StrList_create(const char *first, ...) {
  StrList *list = newList();
  if (list == nullptr) return nullptr;
  va_list rest;
  va_start(rest, first);
  for (const char *string = first; string != nullptr; string = va_arg(rest, const char *)) {
    appendString(*list, string);
  }
  va_end(rest);
  list->current = list->first;
  return list;
}

int ZK_CALL zk_StrList_destroy(StrList *list) { return zk_LnkList_destroy(list, destroyNode); }
int ZK_CALL zk_StrList_delAll(StrList *list) { return zk_LnkList_delAll(list, destroyNode); }

int ZK_CALL zk_StrList_start(StrList *list) { return zk_LnkList_start(list); }
int ZK_CALL zk_StrList_end(StrList *list) { return zk_LnkList_end(list); }
int ZK_CALL zk_StrList_skip(StrList *list, int32_t count) { return zk_LnkList_skip(list, count); }
int ZK_CALL zk_StrList_next(StrList *list) { return zk_LnkList_next(list); }
int ZK_CALL zk_StrList_prev(StrList *list) { return zk_LnkList_prev(list); }
int ZK_CALL zk_StrList_eol(const StrList *list) { return zk_LnkList_eol(list); }
uint32_t ZK_CALL zk_StrList_length(const StrList *list) { return zk_LnkList_length(list); }
uint32_t ZK_CALL zk_StrList_count(const StrList *list) { return zk_LnkList_length(list); }

int ZK_CALL zk_StrList_insStart(StrList *list, const char *string) {
  ZK_TRACE_EXITING(kTrace, zk_StrList_insStart);
  return storeCopy(list, string, [&](void *node) { return zk_LnkList_insStart(list, node); });
}

int ZK_CALL zk_StrList_insEnd(StrList *list, const char *string) {
  return storeCopy(list, string, [&](void *node) { return zk_LnkList_insEnd(list, node); });
}

int ZK_CALL zk_StrList_insBefore(StrList *list, const char *string) {
  ZK_TRACE_EXITING(kTrace, zk_StrList_insBefore);
  return storeCopy(list, string, [&](void *node) { return zk_LnkList_insBefore(list, node); });
}

int ZK_CALL zk_StrList_insAfter(StrList *list, const char *string) {
  ZK_TRACE_EXITING(kTrace, zk_StrList_insAfter);
  return storeCopy(list, string, [&](void *node) { return zk_LnkList_insAfter(list, node); });
}

int ZK_CALL zk_StrList_insNth(StrList *list, int32_t index, const char *string) {
  ZK_TRACE_EXITING(kTrace, zk_StrList_insNth);
  return storeCopy(list, string, [&](void *node) { return zk_LnkList_insNth(list, index, node); });
}

int ZK_CALL zk_StrList_insSorted(StrList *list, const char *string) {
  ZK_TRACE_EXITING(kTrace, zk_StrList_insSorted);
  return storeCopy(list, string, [&](StrListNode *node) {
    LnkNode *greater = list->first;
    while (greater != nullptr && std::strcmp(stringOf(*greater), node->text) <= 0) {
      greater = greater->next;
    }
    LnkNode *before = greater != nullptr ? greater->prev : list->last;
    return insertNode(*list, node, before, greater) != nullptr;
  });
}

int ZK_CALL zk_StrList_delCurr(StrList *list) { return zk_LnkList_delCurr(list, destroyNode); }

int ZK_CALL zk_StrList_delNth(StrList *list, int32_t index) {
  return zk_LnkList_delNth(list, index, destroyNode);
}

int ZK_CALL zk_StrList_modCurr(StrList *list, const char *string) {
  ZK_TRACE_EXITING(kTrace, zk_StrList_modCurr);
  return storeCopy(list, string,
                   [&](void *node) { return zk_LnkList_modCurr(list, node, destroyNode); });
}

int ZK_CALL zk_StrList_modNth(StrList *list, int32_t index, const char *string) {
  ZK_TRACE_EXITING(kTrace, zk_StrList_modNth);
  if (list == nullptr || string == nullptr) return 0;
  return base::guarded(0, [&] {
    // A copy, because the string may stand in the buffer that getNth is about to overwrite.
    const base::String copy(string);
    return zk_StrList_getNth(list, index) != nullptr ? zk_StrList_modCurr(list, copy.c_str()) : 0;
  });
}

const char *ZK_CALL zk_StrList_getCurr(const StrList *list) {
  const char *text = currentText(list);
  if (text != nullptr) {
    copyBounded(currentString, text, kBufferCharacters);
    lastCurrent = currentString;
  }
  return lastCurrent;
}

char *ZK_CALL zk_StrList_getCurrPtr(const StrList *list) {
  const char *text = currentText(list);
  if (text == nullptr) return lastCopy;
  char *copy = zk_Str_dup(text);
  if (copy != nullptr) lastCopy = copy;
  return copy;
}

const char *ZK_CALL zk_StrList_getNth(StrList *list, int32_t index) {
  return zk_LnkList_getNth(list, index) != nullptr ? zk_StrList_getCurr(list) : nullptr;
}

int32_t ZK_CALL zk_StrList_search(StrList *list, const char *string, int ignoreCase) {
  ZK_TRACE_EXITING(kTrace, zk_StrList_search);
  if (list == nullptr || string == nullptr) return -1;
  int32_t index = 0;
  list->current = list->first;
  for (; list->current != nullptr; list->current = list->current->next, ++index) {
    const char *text = stringOf(*list->current);
    if ((ignoreCase ? zk_Str_cmpi(text, string) : std::strcmp(text, string)) == 0) return index;
  }
  return -1;
}

const char *ZK_CALL zk_StrList_searchForString(StrList *list, const char *substring,
                                               int ignoreCase) {
  ZK_TRACE_EXITING(kTrace, zk_StrList_searchForString);
  if (list == nullptr || substring == nullptr) return nullptr;
  list->current = list->first;
  for (; list->current != nullptr; list->current = list->current->next) {
    const char *text = stringOf(*list->current);
    if (zk_Str_index(text, substring, ignoreCase) < 0) continue;
    copyBounded(foundString, text, kBufferCharacters);
    return foundString;
  }
  return nullptr;
}

int ZK_CALL zk_StrList_sort(StrList *list) {
  return list != nullptr && quickSort(list, compareNodes) ? 1 : 0;
}

StrList *ZK_CALL zk_StrList_copy(const StrList *list) {
  ZK_TRACE_EXITING(kTrace, zk_StrList_copy);
  OwnedStringList copy(newList());
  if (copy == nullptr) return nullptr;
  if (list != nullptr && !appendCopies(*copy, *list)) return nullptr;
  return copy.release();
}

int ZK_CALL zk_StrList_concatenate(StrList *list, const StrList *other) {
  ZK_TRACE_EXITING(kTrace, zk_StrList_concatenate);
  if (list == nullptr || other == nullptr) return 0;
  // Aside first: it may be refused half-way, and the other list may be this one.
  StrList copies{};
  if (!appendCopies(copies, *other)) {
    clearStringList(copies);
    return 0;
  }
  spliceNodes(*list, copies);
  return 1;
}

StrList *ZK_CALL zk_StrList_removeDuplicates(StrList *list, int ignoreCase) {
  if (list == nullptr || list->length < 2) return list;
  return base::guarded<StrList *>(nullptr,
                                  [&] { return withoutDuplicates(list, ignoreCase != 0); });
}

char *ZK_CALL zk_StrList_toDelimitedString(const StrList *list, const char *delimiter) {
  return list != nullptr && list->first != nullptr ? joined(*list, orEmpty(delimiter)) : nullptr;
}

StrList *ZK_CALL zk_StrList_fromDelimitedString(const char *string, const char *delimiters) {
  if (string == nullptr) return nullptr;
  OwnedStringList list;
  Tokenizer tokens(string, delimiters != nullptr ? delimiters : "");
  for (std::string_view token; tokens.next(token);) {
    if (list == nullptr) list.reset(newList());
    if (list == nullptr || !appendString(*list, trimmed(token))) return nullptr;
  }
  return list.release();
}

StrList *ZK_CALL zk_StrList_toDelimitedStringList(const StrList *list, const char *delimiter,
                                                  int32_t chunkSize, int quote) {
  if (list == nullptr || list->first == nullptr) return nullptr;
  const std::uint32_t size = chunkSize < 1 ? UINT32_MAX : static_cast<std::uint32_t>(chunkSize);
  return base::guarded<StrList *>(
      nullptr, [&] { return joinedChunks(*list, orEmpty(delimiter), size, quote != 0); });
}

ZK_EXTERN_C_END
