// Field lists: printing, and single values as texts.
#include "zk/fldlist.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "SRC/Fld.h"
#include "SRC/Str.h"
#include "base/Guard.h"
#include "base/Memory.h"
#include "base/Number.h"
#include "zk/diag.h"

namespace zk {
namespace {

constexpr int kNameColumns = 16;
constexpr int64_t kNestedIndent = kNameColumns + 1;  // at level 1, and then for each level
constexpr int64_t kLevelIndent = 3;
constexpr std::size_t kDiagCharacters = 4096;
constexpr std::size_t kRememberedCharacters = 4096;

// ---- Lines

// What stands behind type code and colon.
const char *shownText(const FldNode &field, const NumberText &number) {
  return kindOf(field.type) == ValueKind::kText ? field.value.text : number.c_str();
}

bool isShown(const FldNode &field) {
  const ValueKind kind = kindOf(field.type);
  return kind != ValueKind::kStrings && kind != ValueKind::kNothing;
}

constexpr char kNotShown[] = "<undefined>";

int64_t indentAt(int64_t level) {
  return kNestedIndent + kLevelIndent * std::max<int64_t>(level - 1, 0);
}

void printBlanks(int64_t count) {
  for (; count > 0; --count) std::putchar(' ');
}

void printField(const FldNode &field, int64_t level) {
  if (level == 0) {
    std::printf("%-*s ", kNameColumns, field.name);
  } else {
    printBlanks(indentAt(level));
  }
  if (field.type == ZK_FLD_LIST) {
    std::putchar('\n');
  } else if (!isShown(field)) {
    std::printf("%s\n", kNotShown);
  } else {
    const NumberText number(field);
    const char *text = shownText(field, number);
    // Without a text the line is not ended either. That is meant.
    if (text != nullptr) std::printf("%c:%s\n", field.type, text);
  }
}

// A line of the diagnostics, cut where it is too long.
class DiagLine {
 public:
  void append(std::string_view text) {
    length_ += text.copy(text_ + length_, kDiagCharacters - length_);
  }
  void appendBlanks(int64_t count) {
    const auto room = static_cast<int64_t>(kDiagCharacters - length_);
    const auto blanks = static_cast<std::size_t>(std::clamp<int64_t>(count, 0, room));
    std::memset(text_ + length_, ' ', blanks);
    length_ += blanks;
  }
  void put() {
    text_[length_] = '\0';
    // Readers of the logs know the whole family by this module.
    zk_Diag_putOutputMsg(text_, "SRC\\FLD.cpp", __LINE__);
  }

 private:
  char text_[kDiagCharacters + 1];
  std::size_t length_ = 0;
};

void putField(const FldNode &field, int64_t level) {
  DiagLine line;
  if (level == 0) {
    const std::string_view name(field.name);
    line.append(name);
    line.appendBlanks(kNameColumns - static_cast<int64_t>(name.size()));
    line.append(" ");
  } else {
    line.appendBlanks(indentAt(level));
  }
  if (!isShown(field)) {
    line.append(kNotShown);
  } else if (field.type != ZK_FLD_LIST) {
    const NumberText number(field);
    const char *text = shownText(field, number);
    if (text == nullptr) return;
    line.append({&field.type, 1});
    line.append(":");
    line.append(text);
  }
  line.put();
}

// Shows every field that has a name, nested ones behind theirs. The open lists are a stack in
// memory, as the nesting may be deeper than the program's own stack.
template <typename Show>
int walkFields(FldList *list, int64_t level, Show show) {
  if (list == nullptr) return 0;
  return base::guarded(0, [&] {
    base::Vector<const LnkNode *> outer;
    const LnkNode *element = list->first;
    list->current = nullptr;
    for (;;) {
      while (element == nullptr) {
        if (outer.empty()) return 1;
        element = outer.back()->next;
        outer.pop_back();
      }
      const FldNode *field = fieldOf(element);
      const bool named = field != nullptr && field->name != nullptr;
      if (named) show(*field, level + static_cast<int64_t>(outer.size()));
      if (named && field->type == ZK_FLD_LIST && field->value.list != nullptr) {
        outer.push_back(element);
        field->value.list->current = nullptr;
        element = field->value.list->first;
      } else {
        element = element->next;
      }
    }
  });
}

// ---- Values as texts

// What a field of type V gives: the text before it.
char rememberedText[kRememberedCharacters + 1] = "";

char *plainCopy(std::string_view text) {
  auto *copy = static_cast<char *>(std::malloc(text.size() + 1));
  if (copy != nullptr) copyBounded(copy, text, text.size());
  return copy;
}

char *rememberedCopy(std::string_view text) {
  copyBounded(rememberedText, text, kRememberedCharacters);
  return plainCopy(text);
}

char *pointCopy(const FldNode &field) {
  const NumberText coordinates(field);
  char text[sizeof coordinates + 2];
  // Not the type code but a byte of x: callers skip it. That is meant.
  std::memcpy(text, &field.value.point.x, 1);
  if (text[0] == '\0') text[0] = field.type;
  text[1] = ':';
  const std::size_t length = copyBounded(text + 2, coordinates.view(), SIZE_MAX);
  return rememberedCopy({text, length + 2});
}

int updateText(FldNode &field, const char *text) {
  const std::size_t length = std::strlen(text);
  if (field.value.text != nullptr && length <= std::strlen(field.value.text)) {
    copyBounded(field.value.text, {text, length}, length);
    return 1;
  }
  char *copy = base::duplicate(text, length);
  if (copy == nullptr) return 0;
  base::release(ownedText(field));
  field.value.text = copy;
  return 1;
}

}  // namespace
}  // namespace zk

using namespace zk;

ZK_EXTERN_C_BEGIN

int ZK_CALL zk_FldList_printList(FldList *list) { return zk_FldList_printLevelList(list, 0); }

int ZK_CALL zk_FldList_printLevelList(FldList *list, int32_t level) {
  const int result = walkFields(list, level, printField);
  std::fflush(stdout);
  return result;
}

int ZK_CALL zk_FldList_printListDiag(FldList *list, int32_t minLevel, uint32_t conditionMask) {
  return zk_FldList_printLevelListDiag(list, 0, minLevel, conditionMask);
}

int ZK_CALL zk_FldList_printLevelListDiag(FldList *list, int32_t level, int32_t minLevel,
                                          uint32_t conditionMask) {
  return walkFields(list, level, [&](const FldNode &field, int64_t fieldLevel) {
    if (ZK_DiagCurrentLevel < minLevel || (ZK_DiagCurrentCondition & conditionMask) == 0) return;
    putField(field, fieldLevel);
  });
}

char *ZK_CALL zk_FldNode_getFldValue(const FldNode *node) {
  if (node == nullptr) return rememberedCopy("");
  switch (kindOf(node->type)) {
    case ValueKind::kText:
      return rememberedCopy(textOf(*node));
    case ValueKind::kInteger:
    case ValueKind::kReal:
      return rememberedCopy(NumberText(*node).view());
    case ValueKind::kPoint:
      return pointCopy(*node);
    case ValueKind::kFields:
      // Whatever the previous call left. That is meant.
      return plainCopy(rememberedText);
    default:
      return rememberedCopy("");
  }
}

int ZK_CALL zk_FldNode_updateFldValue(FldNode *node, const char *text) {
  if (node == nullptr || text == nullptr) return 0;
  switch (kindOf(node->type)) {
    case ValueKind::kText:
      return updateText(*node, text);
    case ValueKind::kInteger:
      node->value.integer = base::toInt32(text);
      return 1;
    case ValueKind::kReal:
      node->value.real = base::toDouble(text);
      return 1;
    default:
      return 0;
  }
}

ZK_EXTERN_C_END
