// Field lists: copying and comparing whole lists, moving their points.
#include "zk/fldlist.h"

#include <cmath>
#include <cstring>

#include "SRC/Fld.h"
#include "SRC/LnkList.h"
#include "SRC/Str.h"
#include "zk/point.h"

namespace zk {
namespace {

constexpr double kNumberTolerance = 0.001;
constexpr int32_t kCopiedCharacters = 512;

// ---- Copies

// What the value of a copied field of type V holds until its list has been copied as well. The
// fields that wait are so their own stack: no depth of nesting needs another.
struct Waiting {
  FldList *source;
  FldNode *next;
};
static_assert(sizeof(Waiting) <= sizeof(FldValue));

void wait(FldNode &copy, FldList *source, FldNode *&waiting) {
  const Waiting entry{source, waiting};
  std::memcpy(&copy.value, &entry, sizeof entry);
  waiting = &copy;
}

FldList *takeFirst(FldNode *&waiting, FldNode *&copy) {
  Waiting entry;
  copy = waiting;
  std::memcpy(&entry, &copy->value, sizeof entry);
  waiting = entry.next;
  return entry.source;
}

// The value of a copy, without its nested list.
NewValue copiedValue(const FldNode &field) {
  switch (kindOf(field.type)) {
    case ValueKind::kText:
      return textValue(field.type, field.value.text);
    case ValueKind::kInteger:
      return integerValue(field.type, field.value.integer);
    case ValueKind::kReal:
      return realValue(field.value.real);
    case ValueKind::kPoint:
      return pointValue(field.type, &field.value.point);
    case ValueKind::kFields:
      return listValue(nullptr);
    default:
      return unknownValue();
  }
}

// Appends a copy, unless memory is refused. Its nested list waits to be copied.
void appendCopy(FldList &list, const FldNode &field, FldNode *&waiting) {
  FldNode *copy = newFieldCopy(field);
  if (copy == nullptr) return;
  if (appendNode(list, copy) == nullptr) {
    destroyField(copy);
  } else if (copy->type == ZK_FLD_LIST && field.value.list != nullptr) {
    wait(*copy, field.value.list, waiting);
  }
}

void appendCopies(FldList &list, FldList &source, FldNode *&waiting) {
  for (const LnkNode *element = source.first; element != nullptr; element = element->next) {
    const FldNode *field = fieldOf(element);
    if (field != nullptr) appendCopy(list, *field, waiting);
  }
  source.current = nullptr;
}

void copyWaiting(FldNode *waiting) {
  while (waiting != nullptr) {
    FldNode *copy = nullptr;
    FldList *source = takeFirst(waiting, copy);
    copy->value.list = newList();
    if (copy->value.list != nullptr) appendCopies(*copy->value.list, *source, waiting);
  }
}

// Null when memory for the list itself is refused.
OwnedFieldList copyList(FldList *source) {
  OwnedFieldList copy(newList());
  if (copy == nullptr || source == nullptr) return copy;
  FldNode *waiting = nullptr;
  appendCopies(*copy, *source, waiting);
  copyWaiting(waiting);
  return copy;
}

void appendDeepCopy(FldList &list, const FldNode &field) {
  FldNode *waiting = nullptr;
  appendCopy(list, field, waiting);
  copyWaiting(waiting);
}

// Stores a copy of the field in `list` under a name.
void modifyToCopy(FldList *list, const char *name, const FldNode &field) {
  if (field.type != ZK_FLD_LIST || field.value.list == nullptr) {
    modifyField(list, name, copiedValue(field));
    return;
  }
  OwnedFieldList nested = copyList(field.value.list);
  if (nested == nullptr) return;
  if (modifyField(list, name, listValue(nested.get())) == ZK_FLD_OK) nested.release();
}

// ---- Differences

int sign(int value) { return (value > 0) - (value < 0); }

// Only "less" is told. That is meant.
int compareNumbers(double difference) {
  if (std::fabs(difference) < kNumberTolerance) return 0;
  return difference < 0 ? -1 : 0;
}

// ---- Transformations

bool isDirection(char type) { return type == ZK_FLD_DPOINT || type == ZK_FLD_VECTOR; }

int transformDirection(ZkVector &vector, const ZkRotMatrix *rotation) {
  return rotation != nullptr ? zk_RotMatrix_rotateVector(&vector, rotation) : 1;
}

int transformPosition(ZkPoint &point, const ZkVector *translation, const ZkRotMatrix *rotation) {
  const int rotated = rotation != nullptr ? zk_RotMatrix_rotatePoint(&point, rotation) : 1;
  if (rotated != 1 || translation == nullptr) return rotated;
  return zk_Point_add(&point, &point, translation);
}

int transformField(FldNode &field, const ZkVector *translation, const ZkRotMatrix *rotation) {
  ZkPoint &point = field.value.point;
  return isDirection(field.type) ? transformDirection(point, rotation)
                                 : transformPosition(point, translation, rotation);
}

}  // namespace

int compareFields(const FldNode &a, const FldNode &b) noexcept {
  const auto code = [](const FldNode &field) { return static_cast<signed char>(field.type); };
  if (code(a) != code(b)) return code(a) < code(b) ? -1 : 1;
  switch (kindOf(a.type)) {
    case ValueKind::kText:
      return sign(std::strcmp(textOf(a), textOf(b)));
    case ValueKind::kInteger:
      return compareNumbers(static_cast<double>(a.value.integer) - b.value.integer);
    case ValueKind::kReal:
      return compareNumbers(a.value.real - b.value.real);
    default:
      // Points too: their distance, which would be the difference, is never negative.
      return 0;
  }
}

}  // namespace zk

using namespace zk;

ZK_EXTERN_C_BEGIN

FldList *ZK_CALL zk_FldList_copy(FldList *list) { return copyList(list).release(); }

// Copied aside, so that neither the list itself nor one nested in it is met while it grows.
int ZK_CALL zk_FldList_concatenate(FldList *list, FldList *source) {
  if (list == nullptr || source == nullptr) return 0;
  const OwnedFieldList copy = copyList(source);
  if (copy != nullptr) spliceNodes(*list, *copy);
  return 1;
}

int ZK_CALL zk_FldList_combine(FldList *list, FldList *source) {
  if (list == nullptr || source == nullptr) return 0;
  // The list may be its own source: fields that it appends to itself are not met again.
  const LnkNode *const last = source->last;
  const LnkNode *element = source->first;
  while (element != nullptr) {
    const FldNode *field = fieldOf(element);
    if (field != nullptr) modifyToCopy(list, field->name, *field);
    element = element != last ? element->next : nullptr;
  }
  source->current = nullptr;
  return 1;
}

int ZK_CALL zk_FldList_copyFld(FldList *source, const char *sourceName, FldList *list,
                               const char *name) {
  if (list == nullptr || name == nullptr) return 0;
  const FldNode *field = findField(source, sourceName);
  if (field == nullptr) return 0;
  switch (kindOf(field->type)) {
    case ValueKind::kText: {
      // A handle arrives as a text. That is meant.
      char text[kCopiedCharacters + 1] = "";
      readText(*field, text, kCopiedCharacters);
      modifyField(list, name, textValue(ZK_FLD_CHAR, text));
      break;
    }
    case ValueKind::kInteger:
    case ValueKind::kReal:
    case ValueKind::kPoint:
      modifyField(list, name, copiedValue(*field));
      break;
    default:
      // Not copied, and a success all the same. That is meant.
      break;
  }
  return 1;
}

FldList *ZK_CALL zk_FldList_diff(FldList *a, FldList *b, int missingResult) {
  if (a == nullptr) return nullptr;
  OwnedFieldList differing;
  for (const LnkNode *element = a->first; element != nullptr; element = element->next) {
    const FldNode *field = fieldOf(element);
    if (field == nullptr || field->name == nullptr) continue;
    const FldNode *other = findField(b, field->name);
    if ((other != nullptr ? compareFields(*field, *other) : missingResult) == 0) continue;
    if (differing == nullptr) differing.reset(newList());
    if (differing != nullptr) appendDeepCopy(*differing, *field);
  }
  a->current = nullptr;
  return differing.release();
}

int ZK_CALL zk_FldList_applyTransform(FldList *list, const ZkVector *translation,
                                      const ZkRotMatrix *rotation, const char *typeFilter) {
  if (list == nullptr || typeFilter == nullptr) return 0;
  if (translation == nullptr && rotation == nullptr) return 0;
  // Copied: it may be one of the list's own vectors.
  const ZkVector moved = translation != nullptr ? *translation : ZkVector{};
  if (translation != nullptr) translation = &moved;
  int result = 1;
  for (const LnkNode *element = list->first; element != nullptr; element = element->next) {
    FldNode *field = fieldOf(element);
    if (field == nullptr || kindOf(field->type) != ValueKind::kPoint) continue;
    if (findText(typeFilter, {&field->type, 1}) == nullptr) continue;
    const int fieldResult = transformField(*field, translation, rotation);
    if (fieldResult != 1) result = fieldResult;
  }
  list->current = nullptr;
  return result;
}

int ZK_CALL zk_FldList_compareNode(const FldNode *a, const FldNode *b) {
  constexpr int kNoNode = -2;
  return a != nullptr && b != nullptr ? compareFields(*a, *b) : kNoNode;
}

ZK_EXTERN_C_END
