#include "zk/dbfld.h"

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <memory>
#include <string_view>

#include "SRC/DbFld.h"
#include "SRC/LineReader.h"
#include "SRC/LnkList.h"
#include "SRC/Str.h"
#include "SRC/Trace.h"
#include "base/Guard.h"
#include "base/Memory.h"
#include "base/Number.h"
#include "platform/FileSystem.h"
#include "platform/Path.h"

namespace zk {
namespace {

constexpr TraceFamily kTrace{ZK_DIAG_DBFLD, "SRC\\DBFLD.cpp"};

constexpr std::size_t kNameCharacters = sizeof(DbFldNode::name) - 1;
constexpr std::size_t kTextCharacters = 512;    // of a value, in the static results
constexpr std::size_t kPaddedCharacters = 519;  // of a value with its padding
constexpr std::size_t kNthCharacters = 263;
constexpr int32_t kLineCharacters = 256;  // of a template

bool isNumeric(char type) { return type == 'N' || type == 'F'; }

// What the value rule keeps of a text.
std::string_view withoutBlanks(std::string_view text, char type) {
  while (!text.empty() && text.back() == ' ') text.remove_suffix(1);
  if (isNumeric(type)) {
    while (!text.empty() && text.front() == ' ') text.remove_prefix(1);
  }
  return text;
}

void replaceValue(DbFldNode *node, char *value) {
  base::release(node->value);
  node->value = value;
}

int destroyFieldNode(DbFldNode *node) {
  // The exit line carries another function's name; readers of the logs know it so.
  const TraceGuard traceGuard(kTrace, "Entering zk_DbFldNode_destroy.",
                              "Entering zk_StrListNode_destroy.", __LINE__);
  if (node == nullptr) return 0;
  base::release(node->value);
  base::release(node);
  return 1;
}

void ZK_CALL destroyElement(void *node) { destroyFieldNode(static_cast<DbFldNode *>(node)); }

struct ListDestroyer {
  void operator()(DbFldList *list) const { destroyList(list, destroyElement); }
};
using OwnedFieldList = std::unique_ptr<DbFldList, ListDestroyer>;

std::size_t lengthOf(const char *text) { return text != nullptr ? std::strlen(text) : 0; }

DbFldNode *nodeOf(const LnkNode *element) {
  return element != nullptr ? static_cast<DbFldNode *>(element->data) : nullptr;
}

DbFldNode *currentNode(const DbFldList *list) {
  return list != nullptr ? nodeOf(list->current) : nullptr;
}

std::string_view valueOf(const DbFldNode *node) {
  if (node == nullptr || node->value == nullptr) return "";
  const void *end = std::memchr(node->value, '\0', kTextCharacters);
  return {node->value,
          end != nullptr ? static_cast<const char *>(end) - node->value : kTextCharacters};
}

// Makes the first node current whose name the test accepts, or leaves the position past the end.
template <typename Test>
DbFldNode *findNode(DbFldList *list, const char *name, Test matches) {
  if (list == nullptr || name == nullptr) return nullptr;
  const std::string_view wanted(name);
  for (list->current = list->first; list->current != nullptr; list->current = list->current->next) {
    DbFldNode *node = nodeOf(list->current);
    if (node != nullptr && matches(std::string_view(node->name), wanted)) return node;
  }
  return nullptr;
}

bool isUpperCaseOf(std::string_view stored, std::string_view name) {
  return stored.size() == name.size() &&
         std::equal(stored.begin(), stored.end(), name.begin(),
                    [](char a, char b) { return a == upperCase(b); });
}

void toUpperCase(char *text) {
  for (; *text != '\0'; ++text) *text = upperCase(*text);
}

int modifyValue(DbFldNode *node, const char *value) {
  return node != nullptr && setFieldValue(node, value, lengthOf(value));
}

int32_t exchange(int32_t &place, int32_t value) {
  const int32_t old = place;
  place = value;
  return old;
}

struct FieldDescription {
  std::string_view name;
  char type = 0;
  int32_t width = 0;
  int32_t prec = 0;
};

bool parseDescription(std::string_view line, FieldDescription &field) {
  constexpr std::size_t kDescriptor = 7;  // type letter, width, decimals
  line.remove_prefix(std::min(line.find_first_not_of(' '), line.size()));
  field.name = line.substr(0, line.find(' '));
  line.remove_prefix(field.name.size());
  line.remove_prefix(std::min(line.find_first_not_of(' '), line.size()));
  if (field.name.empty() || line.size() < kDescriptor) return false;
  field.type = upperCase(line[0]);
  field.width = base::toInt32(line.substr(1, 3));
  field.prec = base::toInt32(line.substr(4, 3));
  return true;
}

bool appendUpperCased(DbFldList *list, const FieldDescription &field, const char *value) {
  DbFldNode *node =
      newFieldNode(field.name, field.width, field.prec, field.type, value, lengthOf(value));
  if (node != nullptr) toUpperCase(node->name);
  return appendFieldNode(list, node);
}

struct StreamCloser {
  void operator()(std::FILE *stream) const { std::fclose(stream); }
};

// False when memory was refused.
bool readTemplate(std::FILE *stream, DbFldList *list) {
  char line[kLineCharacters + 1];
  while (readLine(stream, line, kLineCharacters)) {
    FieldDescription field;
    if (parseDescription(line, field) && !appendUpperCased(list, field, nullptr)) return false;
  }
  return true;
}

bool appendCopies(DbFldList *list, const DbFldList *source) {
  for (const LnkNode *element = source->first; element != nullptr; element = element->next) {
    const DbFldNode *node = nodeOf(element);
    if (node == nullptr) continue;
    if (!appendFieldNode(list, newFieldNode(node->name, node->width, node->prec, node->type,
                                            node->value, lengthOf(node->value)))) {
      return false;
    }
  }
  return true;
}

using InsertFn = int(ZK_CALL *)(LnkList *list, void *data);

int insert(DbFldList *list, InsertFn into, DbFldNode *node) {
  if (node == nullptr) return 0;
  const int result = into(list, node);
  if (result == 0) destroyFieldNode(node);
  return result;
}

}  // namespace

DbFldNode *newFieldNode(std::string_view name, int32_t width, int32_t prec, char type,
                        const char *value, std::size_t valueLength) noexcept {
  auto *node = static_cast<DbFldNode *>(base::allocate(sizeof(DbFldNode)));
  if (node == nullptr) return nullptr;
  const std::size_t length = std::min(name.size(), kNameCharacters);
  std::memcpy(node->name, name.data(), length);
  node->name[length] = '\0';
  node->value = nullptr;
  node->width = width;
  node->prec = prec;
  node->type = upperCase(type);
  if (value == nullptr) return node;
  const std::string_view text = withoutBlanks({value, valueLength}, node->type);
  node->value = base::duplicate(text.data(), text.size());
  if (node->value != nullptr) return node;
  base::release(node);
  return nullptr;
}

bool setFieldValue(DbFldNode *node, const char *value, std::size_t length) noexcept {
  if (value == nullptr) {
    replaceValue(node, nullptr);
    return false;
  }
  const std::string_view text = withoutBlanks({value, length}, node->type);
  return setFieldText(node, text.data(), text.size());
}

bool setFieldText(DbFldNode *node, const char *text, std::size_t length) noexcept {
  char *copy = base::duplicate(text, length);
  if (copy == nullptr) return false;
  replaceValue(node, copy);
  return true;
}

bool appendFieldNode(DbFldList *list, DbFldNode *node) noexcept {
  if (node == nullptr) return false;
  if (appendNode(*list, node) != nullptr) return true;
  destroyFieldNode(node);
  return false;
}

}  // namespace zk

using namespace zk;

DbFldNode *ZK_CALL zk_DbFldNode_new(const char *name, const char *value, int32_t width,
                                    int32_t prec, char type) {
  if (name == nullptr) return nullptr;
  return newFieldNode(name, width, prec, type, value, lengthOf(value));
}

int ZK_CALL zk_DbFldNode_destroy(DbFldNode *node) { return destroyFieldNode(node); }

DbFldList *ZK_CALL zk_DbFldList_create(const char *firstName, ...) {
  OwnedFieldList list(newList());
  va_list pairs;
  va_start(pairs, firstName);
  const char *name = firstName;
  while (list != nullptr && name != nullptr) {
    const char *value = va_arg(pairs, const char *);
    const FieldDescription field{name, 'C', 0, 0};
    if (!appendUpperCased(list.get(), field, value != nullptr ? value : "")) list.reset();
    name = va_arg(pairs, const char *);
  }
  va_end(pairs);
  return list.release();
}

DbFldList *ZK_CALL zk_DbFldList_fromTemplate(const char *fileName) {
  if (fileName == nullptr) return nullptr;
  return base::guarded<DbFldList *>(nullptr, [&]() -> DbFldList * {
    const std::unique_ptr<std::FILE, StreamCloser> stream(
        platform::openStream(platform::nativePath(fileName).c_str(), "r"));
    OwnedFieldList list(stream != nullptr ? newList() : nullptr);
    if (list == nullptr || !readTemplate(stream.get(), list.get())) return nullptr;
    return list->length > 0 ? list.release() : nullptr;
  });
}

int ZK_CALL zk_DbFldList_parseFldDesc(const char *line, char *name, char *type, int32_t *width,
                                      int32_t *prec) {
  FieldDescription field;
  if (line == nullptr || !parseDescription(line, field)) return 0;
  if (name != nullptr) {
    copyBounded(name, field.name, kLineCharacters);
    toUpperCase(name);
  }
  if (type != nullptr) *type = field.type;
  if (width != nullptr) *width = field.width;
  if (prec != nullptr) *prec = field.prec;
  return 1;
}

DbFldList *ZK_CALL zk_DbFldList_copy(const DbFldList *list) {
  OwnedFieldList copy(list != nullptr ? newList() : nullptr);
  return copy != nullptr && appendCopies(copy.get(), list) ? copy.release() : nullptr;
}

int ZK_CALL zk_DbFldList_destroy(DbFldList *list) {
  destroyList(list, destroyElement);
  return list != nullptr;
}

int ZK_CALL zk_DbFldList_freeValues(DbFldList *list) {
  if (list == nullptr) return 0;
  for (const LnkNode *element = list->first; element != nullptr; element = element->next) {
    if (DbFldNode *node = nodeOf(element)) replaceValue(node, nullptr);
  }
  return 1;
}

int ZK_CALL zk_DbFldList_insStart(DbFldList *list, const char *name, const char *value,
                                  int32_t width, int32_t prec, char type) {
  if (list == nullptr) return 0;
  return insert(list, zk_LnkList_insStart, zk_DbFldNode_new(name, value, width, prec, type));
}

int ZK_CALL zk_DbFldList_insEnd(DbFldList *list, const char *name, const char *value, int32_t width,
                                int32_t prec, char type) {
  if (list == nullptr) return 0;
  return insert(list, zk_LnkList_insEnd, zk_DbFldNode_new(name, value, width, prec, type));
}

int ZK_CALL zk_DbFldList_start(DbFldList *list) { return zk_LnkList_start(list); }

int ZK_CALL zk_DbFldList_next(DbFldList *list) { return zk_LnkList_next(list); }

int ZK_CALL zk_DbFldList_prev(DbFldList *list) { return zk_LnkList_prev(list); }

int ZK_CALL zk_DbFldList_eol(const DbFldList *list) { return zk_LnkList_eol(list); }

uint32_t ZK_CALL zk_DbFldList_length(const DbFldList *list) { return zk_LnkList_length(list); }

DbFldNode *ZK_CALL zk_DbFldList_findFld(DbFldList *list, const char *name) {
  return findNode(list, name, [](std::string_view stored, std::string_view wanted) {
    return compareIgnoringCase(stored, wanted) == 0;
  });
}

// A name stored with lower-case letters is not found, unlike with findFld. That is meant.
int ZK_CALL zk_DbFldList_find(DbFldList *list, const char *name) {
  return findNode(list, name, isUpperCaseOf) != nullptr;
}

DbFldNode *ZK_CALL zk_DbFldList_getCurrFld(const DbFldList *list) { return currentNode(list); }

const char *ZK_CALL zk_DbFldList_getCurrName(const DbFldList *list) {
  static char name[sizeof(DbFldNode::name)];
  const DbFldNode *node = currentNode(list);
  copyBounded(name, node != nullptr ? node->name : "", kNameCharacters);
  return name;
}

char ZK_CALL zk_DbFldList_getCurrType(const DbFldList *list) {
  const DbFldNode *node = currentNode(list);
  return node != nullptr ? node->type : 'C';
}

int32_t ZK_CALL zk_DbFldList_getCurrWidth(const DbFldList *list) {
  const DbFldNode *node = currentNode(list);
  return node != nullptr ? node->width : 0;
}

int32_t ZK_CALL zk_DbFldList_getCurrPrec(const DbFldList *list) {
  const DbFldNode *node = currentNode(list);
  return node != nullptr ? node->prec : 0;
}

int32_t ZK_CALL zk_DbFldList_modCurrWidth(DbFldList *list, int32_t width) {
  DbFldNode *node = currentNode(list);
  return node != nullptr ? exchange(node->width, width) : 0;
}

int32_t ZK_CALL zk_DbFldList_modCurrPrec(DbFldList *list, int32_t prec) {
  DbFldNode *node = currentNode(list);
  return node != nullptr ? exchange(node->prec, prec) : 0;
}

const char *ZK_CALL zk_DbFldList_getCurrStr(const DbFldList *list) {
  static char text[kTextCharacters + 1];
  copyBounded(text, valueOf(currentNode(list)), kTextCharacters);
  return text;
}

const char *ZK_CALL zk_DbFldList_getCurrStrPadded(const DbFldList *list) {
  static char text[kPaddedCharacters + 1];
  const DbFldNode *node = currentNode(list);
  const std::size_t length = copyBounded(text, valueOf(node), kTextCharacters);
  const int32_t width = node != nullptr ? std::max(node->width, 0) : 0;
  const std::size_t padded = std::min(static_cast<std::size_t>(width), kPaddedCharacters);
  if (padded > length) {
    std::memset(text + length, ' ', padded - length);
    text[padded] = '\0';
  }
  return text;
}

double ZK_CALL zk_DbFldList_getCurrDouble(const DbFldList *list) {
  return base::toDouble(valueOf(currentNode(list)));
}

int32_t ZK_CALL zk_DbFldList_getCurrInt(const DbFldList *list) {
  return base::toInt32(valueOf(currentNode(list)));
}

int ZK_CALL zk_DbFldList_modCurrVal(DbFldList *list, const char *value) {
  return modifyValue(currentNode(list), value);
}

int ZK_CALL zk_DbFldList_delCurr(DbFldList *list) {
  return zk_LnkList_delCurr(list, destroyElement);
}

const char *ZK_CALL zk_DbFldList_getNthStr(DbFldList *list, int32_t index) {
  static char text[kNthCharacters + 1];
  const bool found = zk_LnkList_getNth(list, index) != nullptr;
  copyBounded(text, found ? zk_DbFldList_getCurrStr(list) : "", kNthCharacters);
  return text;
}

const char *ZK_CALL zk_DbFldList_getNthStrPadded(DbFldList *list, int32_t index) {
  static char text[kNthCharacters + 1];
  const bool found = zk_LnkList_getNth(list, index) != nullptr;
  copyBounded(text, found ? zk_DbFldList_getCurrStrPadded(list) : "", kNthCharacters);
  return text;
}

const char *ZK_CALL zk_DbFldList_getFldVal(DbFldList *list, const char *name) {
  static char text[kTextCharacters + 1];
  copyBounded(text, valueOf(zk_DbFldList_findFld(list, name)), kTextCharacters);
  return text;
}

int ZK_CALL zk_DbFldList_modNthVal(DbFldList *list, int32_t index, const char *value) {
  return modifyValue(static_cast<DbFldNode *>(zk_LnkList_getNth(list, index)), value);
}

int ZK_CALL zk_DbFldList_modFldVal(DbFldList *list, const char *name, const char *value) {
  return modifyValue(zk_DbFldList_findFld(list, name), value);
}

int ZK_CALL zk_DbFldList_delFld(DbFldList *list, const char *name) {
  return zk_DbFldList_find(list, name) ? zk_DbFldList_delCurr(list) : 0;
}

int ZK_CALL zk_DbFldList_printList(DbFldList *list) {
  if (list == nullptr) return 0;
  for (const LnkNode *element = list->first; element != nullptr; element = element->next) {
    const DbFldNode *node = nodeOf(element);
    if (node == nullptr) continue;
    std::printf("%-16s ", node->name);
    // Without a value the line is not ended either. That is meant.
    if (node->value != nullptr) std::printf("%c:%s\n", node->type, node->value);
  }
  std::fflush(stdout);
  return 1;
}
