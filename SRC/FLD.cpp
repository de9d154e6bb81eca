#include "zk/fldlist.h"

#include <cmath>
#include <cstdarg>
#include <cstring>
#include <utility>

#include "SRC/Fld.h"
#include "SRC/LnkList.h"
#include "SRC/Str.h"
#include "SRC/StrList.h"
#include "base/Memory.h"

namespace zk {
namespace {

static_assert(sizeof(FldValue) == 24);
static_assert(offsetof(FldNode, value) == 2 * sizeof(char *));

// ---- Values

constexpr bool isHandedOver(ValueKind kind) {
  return kind == ValueKind::kFields || kind == ValueKind::kStrings;
}

// A triple has to be there, and a list cannot contain itself.
bool isUsable(const NewValue &value, const FldList *target) {
  if (value.kind == ValueKind::kPoint) return value.point != nullptr;
  return !isHandedOver(value.kind) || value.list == nullptr || value.list != target;
}

// The bytes that a copy of the value's text takes.
std::size_t textSize(const NewValue &value) {
  const bool isText = value.kind == ValueKind::kText && value.text != nullptr;
  return isText ? std::strlen(value.text) + 1 : 0;
}

// Gives the field type and value; a text is copied to `place`, which has room for `size` bytes.
// (The member alone is written: a union that is copied whole stalls behind it.)
void storeValue(FldNode &field, const NewValue &value, char *place, std::size_t size) {
  field.type = value.type;
  switch (value.kind) {
    case ValueKind::kText:
      field.value.text =
          size > 0 ? static_cast<char *>(std::memcpy(place, value.text, size)) : nullptr;
      break;
    case ValueKind::kInteger:
      field.value.integer = value.integer;
      break;
    case ValueKind::kReal:
      field.value.real = value.real;
      break;
    case ValueKind::kPoint:
      std::memmove(&field.value.point, value.point, sizeof field.value.point);
      break;
    case ValueKind::kFields:
    case ValueKind::kStrings:
      field.value.list = value.list;
      break;
    case ValueKind::kNothing:
      field.value.text = nullptr;
      break;
  }
}

// ---- Making and releasing

// A new field is one block: the node, its name and the text that it begins with. (A list of such
// fields takes half as long again to make and destroy when these are blocks of their own.)
char *placeOfName(const FldNode &field) {
  return reinterpret_cast<char *>(const_cast<FldNode *>(&field) + 1);
}

// Where a new field has its text.
char *placeOfText(const FldNode &field) {
  char *const name = placeOfName(field);
  return field.name == name ? name + std::strlen(name) + 1 : name;
}

void releaseName(FldNode &field) {
  if (field.name != placeOfName(field)) base::release(field.name);
}

void makeUpperCase(char *text, std::size_t size) {
  const unsigned char *const upper = platform::upperCaseMap();
  for (std::size_t i = 0; i < size; ++i) {
    text[i] = static_cast<char>(upper[static_cast<unsigned char>(text[i])]);
  }
}

// A block with the name as it is spelled, and room for a text of `size` bytes behind it, where
// `place` ends; type and value are not set. Null when refused.
FldNode *newBlock(const char *name, std::size_t size, char *&place) {
  const std::size_t nameSize = name != nullptr ? std::strlen(name) + 1 : 0;
  auto *field = static_cast<FldNode *>(base::allocate(sizeof(FldNode) + nameSize + size));
  if (field == nullptr) return nullptr;
  place = placeOfName(*field);
  field->name = name != nullptr ? static_cast<char *>(std::memcpy(place, name, nameSize)) : nullptr;
  field->marker1 = 1;
  field->marker2 = 0;
  place += nameSize;
  return field;
}

void destroyStringList(StrList *list) {
  if (list != nullptr) StringListDestroyer()(list);
}

// Releases all but a nested field list, which is the result.
FldList *releaseField(FldNode *field) {
  FldList *nested = nullptr;
  switch (kindOf(field->type)) {
    case ValueKind::kText:
      base::release(ownedText(*field));
      break;
    case ValueKind::kFields:
      nested = field->value.list;
      break;
    case ValueKind::kStrings:
      destroyStringList(field->value.strList);
      break;
    default:
      break;
  }
  releaseName(*field);
  base::release(field);
  return nested;
}

// Releases the fields of a list header that is not released itself. Nested fields join the end of
// the chain, so that no depth of nesting needs stack or memory.
void destroyFields(FldList &fields) {
  while (fields.first != nullptr) {
    LnkNode *element = fields.first;
    fields.first = element->next;
    if (fields.first == nullptr) fields.last = nullptr;
    FldNode *field = fieldOf(element);
    base::release(element);
    FldList *nested = field != nullptr ? releaseField(field) : nullptr;
    if (nested == nullptr) continue;
    spliceNodes(fields, *nested);
    base::release(nested);
  }
}

// Releases a field that could not be placed; what was handed over stays its caller's.
void discardField(FldNode *field) {
  if (isHandedOver(kindOf(field->type))) field->type = ZK_FLD_UNKNOWN;
  destroyField(field);
}

// ---- Several values under one name

// Puts a field of type V in the place of the element's field, which becomes the first of `values`.
// Null when memory is refused; `values` is then as it was.
FldNode *wrapField(LnkNode &element, OwnedFieldList &values) {
  FldNode *inner = fieldOf(&element);
  FldNode *outer = newField(inner->name, listValue(values.get()));
  if (outer == nullptr) return nullptr;
  if (insertNode(*values, inner, nullptr, values->first) == nullptr) {
    discardField(outer);
    return nullptr;
  }
  values.release();
  element.data = outer;
  return outer;
}

// Adds the one field of `values` to what the element holds, unless memory is refused.
void addToElement(LnkNode &element, OwnedFieldList values) {
  FldNode *field = fieldOf(&element);
  if (field->type != ZK_FLD_LIST) {
    wrapField(element, values);
  } else if (field->value.list == nullptr) {
    field->value.list = values.release();
  } else {
    spliceNodes(*field->value.list, *values);
  }
}

// ---- The triples of zk_FldList_create

bool isUndefined(double value) { return std::fabs(value - ZK_FLD_UNDEFINED) < 0.01; }

void appendTriple(FldList *list, const char *name, char type, va_list &arguments) {
  switch (kindOf(type)) {
    case ValueKind::kText:
      appendField(list, name, textValue(type, va_arg(arguments, const char *)));
      break;
    case ValueKind::kInteger: {
      const int value = va_arg(arguments, int);
      appendField(list, name, integerValue(type, value != ZK_FLD_UNDEFINED ? value : 0));
      break;
    }
    case ValueKind::kReal: {
      const double value = va_arg(arguments, double);
      appendField(list, name, realValue(isUndefined(value) ? 0.0 : value));
      break;
    }
    case ValueKind::kPoint: {
      ZkPoint point;
      point.x = va_arg(arguments, double);
      point.y = va_arg(arguments, double);
      point.z = va_arg(arguments, double);
      appendField(list, name, pointValue(type, &point));
      break;
    }
    default:
      // Lists too: their handles are not taken, and one int is skipped whatever was given. That is
      // meant.
      va_arg(arguments, int);
      appendField(list, name, unknownValue());
  }
}

}  // namespace

FldNode *newField(const char *name, const NewValue &value) noexcept {
  if (!isUsable(value, nullptr)) return nullptr;
  const std::size_t size = textSize(value);
  char *place = nullptr;
  FldNode *field = newBlock(name, size, place);
  if (field == nullptr) return nullptr;
  makeUpperCase(placeOfName(*field), static_cast<std::size_t>(place - placeOfName(*field)));
  storeValue(*field, value, place, size);
  if (value.type == ZK_FLD_HANDLE) makeUpperCase(place, size);
  return field;
}

FldNode *newFieldCopy(const FldNode &source) noexcept {
  const ValueKind kind = kindOf(source.type);
  const bool hasText = kind == ValueKind::kText && source.value.text != nullptr;
  const std::size_t size = hasText ? std::strlen(source.value.text) + 1 : 0;
  char *place = nullptr;
  FldNode *field = newBlock(source.name, size, place);
  if (field == nullptr) return nullptr;
  field->type = isCopied(kind) ? source.type : static_cast<char>(ZK_FLD_UNKNOWN);
  field->value = source.value;
  if (hasText) {
    field->value.text = static_cast<char *>(std::memcpy(place, source.value.text, size));
  } else if (kind == ValueKind::kFields || !isCopied(kind)) {
    field->value.text = nullptr;
  }
  return field;
}

int appendField(FldList *list, const char *name, const NewValue &value) noexcept {
  if (!isUsable(value, list)) return ZK_FLD_NOTHING_DONE;
  FldNode *field = newField(name, value);
  if (field == nullptr) return ZK_FLD_NO_MEMORY;
  if (list != nullptr && appendNode(*list, field) != nullptr) return ZK_FLD_OK;
  discardField(field);
  // Without a list the field is lost and the result is success all the same. That is meant.
  return list == nullptr ? ZK_FLD_OK : ZK_FLD_NO_MEMORY;
}

int modifyField(FldList *list, const char *name, const NewValue &value) noexcept {
  if (!isUsable(value, list)) return ZK_FLD_NOTHING_DONE;
  FldNode *field = findField(list, name);
  if (field == nullptr) return appendField(list, name, value);
  const std::size_t size = textSize(value);
  char *place = size > 0 ? static_cast<char *>(base::allocate(size)) : nullptr;
  if (size > 0 && place == nullptr) return ZK_FLD_NO_MEMORY;
  // A list that is replaced stays the caller's, and a handle keeps its case. Both are meant.
  char *const old = kindOf(field->type) == ValueKind::kText ? ownedText(*field) : nullptr;
  storeValue(*field, value, place, size);
  base::release(old);
  return ZK_FLD_OK;
}

int addField(FldList *list, const char *name, const NewValue &value) noexcept {
  if (!isUsable(value, list)) return ZK_FLD_NOTHING_DONE;
  if (findField(list, name) == nullptr) return appendField(list, name, value);
  OwnedFieldList values(newList());
  if (values != nullptr && appendField(values.get(), name, value) == ZK_FLD_OK) {
    addToElement(*list->current, std::move(values));
  }
  // The result does not tell when memory was refused. That is meant.
  return ZK_FLD_OK;
}

FldNode *findField(FldList *list, const char *name) noexcept {
  if (list == nullptr || name == nullptr) return nullptr;
  const std::string_view wanted(name);
  for (list->current = list->first; list->current != nullptr; list->current = list->current->next) {
    FldNode *field = fieldOf(list->current);
    if (field != nullptr && field->name != nullptr &&
        compareIgnoringCase(field->name, wanted) == 0) {
      return field;
    }
  }
  return nullptr;
}

char *ownedText(const FldNode &field) noexcept {
  return field.value.text != placeOfText(field) ? field.value.text : nullptr;
}

void destroyField(FldNode *field) noexcept {
  if (field != nullptr) destroyFieldList(releaseField(field));
}

void destroyFieldList(FldList *list) noexcept {
  if (list == nullptr) return;
  destroyFields(*list);
  base::release(list);
}

}  // namespace zk

using namespace zk;

ZK_EXTERN_C_BEGIN

FldList *ZK_CALL zk_FldList_create(const char *firstName, ...) {
  FldList *list = newList();
  if (list == nullptr) return nullptr;
  va_list arguments;
  va_start(arguments, firstName);
  for (const char *name = firstName; name != nullptr; name = va_arg(arguments, const char *)) {
    const char type = static_cast<char>(va_arg(arguments, int));
    appendTriple(list, name, type, arguments);
  }
  va_end(arguments);
  return list;
}

int ZK_CALL zk_FldList_destroy(FldList *list) {
  destroyFieldList(list);
  return list != nullptr;
}

int ZK_CALL zk_FldList_destroyNode(FldNode *node) {
  destroyField(node);
  return node != nullptr;
}

// ---- One set of functions for each type

FldNode *ZK_CALL zk_FldList_newChar(const char *name, const char *text) {
  return newField(name, textValue(ZK_FLD_CHAR, text));
}
FldNode *ZK_CALL zk_FldList_newHandle(const char *name, const char *text) {
  return newField(name, textValue(ZK_FLD_HANDLE, text));
}
FldNode *ZK_CALL zk_FldList_newInt(const char *name, int32_t value) {
  return newField(name, integerValue(ZK_FLD_INT, value));
}
FldNode *ZK_CALL zk_FldList_newLong(const char *name, int32_t value) {
  return newField(name, integerValue(ZK_FLD_LONG, value));
}
FldNode *ZK_CALL zk_FldList_newReal(const char *name, double value) {
  return newField(name, realValue(value));
}
FldNode *ZK_CALL zk_FldList_newPoint(const char *name, const ZkPoint *point) {
  return newField(name, pointValue(ZK_FLD_POINT, point));
}
FldNode *ZK_CALL zk_FldList_newMpoint(const char *name, const ZkPoint *point) {
  return newField(name, pointValue(ZK_FLD_MPOINT, point));
}
FldNode *ZK_CALL zk_FldList_newDpoint(const char *name, const ZkPoint *point) {
  return newField(name, pointValue(ZK_FLD_DPOINT, point));
}
FldNode *ZK_CALL zk_FldList_newVector(const char *name, const ZkVector *vector) {
  return newField(name, pointValue(ZK_FLD_VECTOR, vector));
}
FldNode *ZK_CALL zk_FldList_newList(const char *name, FldList *nested) {
  return newField(name, listValue(nested));
}
FldNode *ZK_CALL zk_FldList_newUnknown(const char *name) { return newField(name, unknownValue()); }

int ZK_CALL zk_FldList_appChar(FldList *list, const char *name, const char *text) {
  return appendField(list, name, textValue(ZK_FLD_CHAR, text));
}
int ZK_CALL zk_FldList_appHandle(FldList *list, const char *name, const char *text) {
  return appendField(list, name, textValue(ZK_FLD_HANDLE, text));
}
int ZK_CALL zk_FldList_appInt(FldList *list, const char *name, int32_t value) {
  return appendField(list, name, integerValue(ZK_FLD_INT, value));
}
int ZK_CALL zk_FldList_appLong(FldList *list, const char *name, int32_t value) {
  return appendField(list, name, integerValue(ZK_FLD_LONG, value));
}
int ZK_CALL zk_FldList_appReal(FldList *list, const char *name, double value) {
  return appendField(list, name, realValue(value));
}
int ZK_CALL zk_FldList_appPoint(FldList *list, const char *name, const ZkPoint *point) {
  return appendField(list, name, pointValue(ZK_FLD_POINT, point));
}
int ZK_CALL zk_FldList_appMpoint(FldList *list, const char *name, const ZkPoint *point) {
  return appendField(list, name, pointValue(ZK_FLD_MPOINT, point));
}
int ZK_CALL zk_FldList_appDpoint(FldList *list, const char *name, const ZkPoint *point) {
  return appendField(list, name, pointValue(ZK_FLD_DPOINT, point));
}
int ZK_CALL zk_FldList_appVector(FldList *list, const char *name, const ZkVector *vector) {
  return appendField(list, name, pointValue(ZK_FLD_VECTOR, vector));
}
int ZK_CALL zk_FldList_appList(FldList *list, const char *name, FldList *nested) {
  return appendField(list, name, listValue(nested));
}
int ZK_CALL zk_FldList_appStrList(FldList *list, const char *name, StrList *strings) {
  return appendField(list, name, stringsValue(strings));
}
int ZK_CALL zk_FldList_appUnknown(FldList *list, const char *name) {
  return appendField(list, name, unknownValue());
}

int ZK_CALL zk_FldList_modChar(FldList *list, const char *name, const char *text) {
  return modifyField(list, name, textValue(ZK_FLD_CHAR, text));
}
int ZK_CALL zk_FldList_modHandle(FldList *list, const char *name, const char *text) {
  return modifyField(list, name, textValue(ZK_FLD_HANDLE, text));
}
int ZK_CALL zk_FldList_modInt(FldList *list, const char *name, int32_t value) {
  return modifyField(list, name, integerValue(ZK_FLD_INT, value));
}
int ZK_CALL zk_FldList_modLong(FldList *list, const char *name, int32_t value) {
  return modifyField(list, name, integerValue(ZK_FLD_LONG, value));
}
int ZK_CALL zk_FldList_modReal(FldList *list, const char *name, double value) {
  return modifyField(list, name, realValue(value));
}
int ZK_CALL zk_FldList_modPoint(FldList *list, const char *name, const ZkPoint *point) {
  return modifyField(list, name, pointValue(ZK_FLD_POINT, point));
}
int ZK_CALL zk_FldList_modMpoint(FldList *list, const char *name, const ZkPoint *point) {
  return modifyField(list, name, pointValue(ZK_FLD_MPOINT, point));
}
int ZK_CALL zk_FldList_modDpoint(FldList *list, const char *name, const ZkPoint *point) {
  return modifyField(list, name, pointValue(ZK_FLD_DPOINT, point));
}
int ZK_CALL zk_FldList_modVector(FldList *list, const char *name, const ZkVector *vector) {
  return modifyField(list, name, pointValue(ZK_FLD_VECTOR, vector));
}
int ZK_CALL zk_FldList_modList(FldList *list, const char *name, FldList *nested) {
  return modifyField(list, name, listValue(nested));
}
int ZK_CALL zk_FldList_modUnknown(FldList *list, const char *name) {
  return modifyField(list, name, unknownValue());
}

int ZK_CALL zk_FldList_addCharVal(FldList *list, const char *name, const char *text) {
  return addField(list, name, textValue(ZK_FLD_CHAR, text));
}
int ZK_CALL zk_FldList_addHandleVal(FldList *list, const char *name, const char *text) {
  return addField(list, name, textValue(ZK_FLD_HANDLE, text));
}
int ZK_CALL zk_FldList_addIntVal(FldList *list, const char *name, int32_t value) {
  return addField(list, name, integerValue(ZK_FLD_INT, value));
}
int ZK_CALL zk_FldList_addLongVal(FldList *list, const char *name, int32_t value) {
  return addField(list, name, integerValue(ZK_FLD_LONG, value));
}
int ZK_CALL zk_FldList_addRealVal(FldList *list, const char *name, double value) {
  return addField(list, name, realValue(value));
}
int ZK_CALL zk_FldList_addPointVal(FldList *list, const char *name, const ZkPoint *point) {
  return addField(list, name, pointValue(ZK_FLD_POINT, point));
}
int ZK_CALL zk_FldList_addMpointVal(FldList *list, const char *name, const ZkPoint *point) {
  return addField(list, name, pointValue(ZK_FLD_MPOINT, point));
}
int ZK_CALL zk_FldList_addDpointVal(FldList *list, const char *name, const ZkPoint *point) {
  return addField(list, name, pointValue(ZK_FLD_DPOINT, point));
}
int ZK_CALL zk_FldList_addVectorVal(FldList *list, const char *name, const ZkVector *vector) {
  return addField(list, name, pointValue(ZK_FLD_VECTOR, vector));
}
int ZK_CALL zk_FldList_addUnknownVal(FldList *list, const char *name) {
  return addField(list, name, unknownValue());
}

int ZK_CALL zk_FldList_addVal(FldList *list, const char *name, char type, const void *value) {
  NewValue added = unknownValue();
  switch (kindOf(type)) {
    case ValueKind::kText:
      added = textValue(type, static_cast<const char *>(value));
      break;
    case ValueKind::kInteger:
      if (value == nullptr) return ZK_FLD_NOTHING_DONE;
      added = integerValue(type, 0);
      std::memcpy(&added.integer, value, sizeof added.integer);
      break;
    case ValueKind::kReal:
      if (value == nullptr) return ZK_FLD_NOTHING_DONE;
      added = realValue(0);
      std::memcpy(&added.real, value, sizeof added.real);
      break;
    case ValueKind::kPoint:
      if (value == nullptr) return ZK_FLD_NOTHING_DONE;
      added = pointValue(type, static_cast<const ZkPoint *>(value));
      break;
    default:
      if (type != ZK_FLD_UNKNOWN) return ZK_FLD_NOTHING_DONE;
  }
  addField(list, name, added);
  // Whatever came of it: that is meant.
  return ZK_FLD_OK;
}

FldNode *ZK_CALL zk_FldList_convertNodeToList(FldList *list, const char *name) {
  const FldNode *field = findField(list, name);
  if (field == nullptr) {
    appendField(list, name, listValue(nullptr));
    return nullptr;
  }
  OwnedFieldList values(field->type != ZK_FLD_LIST ? newList() : nullptr);
  return values != nullptr ? wrapField(*list->current, values) : nullptr;
}

ZK_EXTERN_C_END
