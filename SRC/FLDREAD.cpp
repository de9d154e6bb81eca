// Field lists: the position, reading fields as a type, deleting.
#include "zk/fldlist.h"

#include <charconv>
#include <cstring>

#include "SRC/Fld.h"
#include "SRC/LnkList.h"
#include "SRC/Str.h"
#include "base/Number.h"

namespace zk {

NumberText::NumberText(const FldNode &field) noexcept {
  constexpr int kRealDecimals = 6;
  constexpr int kPointDecimals = 3;
  switch (kindOf(field.type)) {
    case ValueKind::kInteger:
      length_ = base::formatInteger(text_, sizeof text_, field.value.integer);
      break;
    case ValueKind::kReal:
      append(field.value.real, kRealDecimals);
      break;
    case ValueKind::kPoint:
      append(field.value.point.x, kPointDecimals);
      text_[length_++] = ' ';
      append(field.value.point.y, kPointDecimals);
      text_[length_++] = ' ';
      append(field.value.point.z, kPointDecimals);
      break;
    default:
      break;
  }
  text_[length_] = '\0';
}

// As "%f" would, the sign of zero, infinities and NaN included, but always with a point.
void NumberText::append(double value, int decimals) noexcept {
  const auto result = std::to_chars(text_ + length_, text_ + sizeof text_, value,
                                    std::chars_format::fixed, decimals);
  length_ = static_cast<std::size_t>(result.ptr - text_);
}

namespace {

void ZK_CALL destroyElement(void *node) { destroyField(static_cast<FldNode *>(node)); }

template <typename T>
void store(T *result, const T &value) {
  if (result != nullptr) *result = value;
}

void copyText(char *text, std::string_view source, int32_t size) {
  if (text != nullptr) copyBounded(text, source, size > 0 ? static_cast<std::size_t>(size) : 0);
}

// ---- One field as a type

int readHandle(const FldNode &field, char *text, int32_t size) {
  if (kindOf(field.type) != ValueKind::kText) {
    copyText(text, "", 0);
    return ZK_FLD_WRONG_TYPE;
  }
  if (field.value.text != nullptr) copyText(text, field.value.text, size);
  return ZK_FLD_OK;
}

// Text is converted in any case; whether that is a success differs between the callers.
int readReal(const FldNode &field, double *value, int resultForText) {
  switch (kindOf(field.type)) {
    case ValueKind::kReal:
      store(value, field.value.real);
      return ZK_FLD_OK;
    case ValueKind::kInteger:
      store(value, static_cast<double>(field.value.integer));
      return ZK_FLD_OK;
    default:
      if (field.type != ZK_FLD_CHAR) return ZK_FLD_WRONG_TYPE;
      store(value, base::toDouble(textOf(field)));
      return resultForText;
  }
}

int readInteger(const FldNode &field, int32_t *value) {
  switch (kindOf(field.type)) {
    case ValueKind::kInteger:
      store(value, field.value.integer);
      return ZK_FLD_OK;
    case ValueKind::kReal:
      store(value, base::toInt32(field.value.real));
      return ZK_FLD_OK;
    default:
      return ZK_FLD_WRONG_TYPE;
  }
}

int readPoint(const FldNode &field, ZkPoint *point) {
  if (kindOf(field.type) != ValueKind::kPoint) return ZK_FLD_WRONG_TYPE;
  if (point != nullptr) std::memcpy(point, &field.value.point, sizeof *point);
  return ZK_FLD_OK;
}

// ---- Which field is read

template <typename Read>
int readNamed(FldList *list, const char *name, Read read) {
  const FldNode *field = findField(list, name);
  return field != nullptr ? read(*field) : ZK_FLD_NOT_FOUND;
}

FldNode *currentField(const FldList *list) {
  return list != nullptr ? fieldOf(list->current) : nullptr;
}

template <typename Read>
int readCurrent(const FldList *list, Read read) {
  const FldNode *field = currentField(list);
  return field != nullptr ? read(*field) : ZK_FLD_NO_CURRENT;
}

int getInteger(FldList *list, const char *name, int32_t *value) {
  return readNamed(list, name, [&](const FldNode &field) {
    // The number is there, and the code tells of the other type. That is meant.
    if (field.type == ZK_FLD_CHAR && field.value.text != nullptr) {
      store(value, base::toInt32(field.value.text));
    }
    return readInteger(field, value);
  });
}

int currInteger(const FldList *list, int32_t *value) {
  return readCurrent(list, [&](const FldNode &field) { return readInteger(field, value); });
}

int getTriple(FldList *list, const char *name, ZkPoint *point) {
  return readNamed(list, name, [&](const FldNode &field) { return readPoint(field, point); });
}

int currTriple(const FldList *list, ZkPoint *point) {
  return readCurrent(list, [&](const FldNode &field) { return readPoint(field, point); });
}

}  // namespace

int readText(const FldNode &field, char *text, int32_t size) noexcept {
  const ValueKind kind = kindOf(field.type);
  if (kind != ValueKind::kInteger && kind != ValueKind::kReal) {
    return readHandle(field, text, size);
  }
  // The text is there, and the code tells of the other type. That is meant.
  copyText(text, NumberText(field).view(), size);
  return ZK_FLD_WRONG_TYPE;
}

}  // namespace zk

using namespace zk;

ZK_EXTERN_C_BEGIN

int ZK_CALL zk_FldList_start(FldList *list) { return zk_LnkList_start(list); }

int ZK_CALL zk_FldList_next(FldList *list) { return zk_LnkList_next(list); }

int ZK_CALL zk_FldList_prev(FldList *list) { return zk_LnkList_prev(list); }

int ZK_CALL zk_FldList_eol(const FldList *list) { return zk_LnkList_eol(list); }

uint32_t ZK_CALL zk_FldList_count(const FldList *list) { return zk_LnkList_length(list); }

FldNode *ZK_CALL zk_FldList_curr(const FldList *list) {
  return static_cast<FldNode *>(zk_LnkList_getCurr(list));
}

FldNode *ZK_CALL zk_FldList_find(FldList *list, const char *name) { return findField(list, name); }

int ZK_CALL zk_FldList_getChar(FldList *list, const char *name, char *text, int32_t size) {
  copyText(text, "", 0);
  return readNamed(list, name, [&](const FldNode &field) { return readText(field, text, size); });
}

int ZK_CALL zk_FldList_getHandle(FldList *list, const char *name, char *text, int32_t size) {
  copyText(text, "", 0);
  return readNamed(list, name, [&](const FldNode &field) { return readHandle(field, text, size); });
}

int ZK_CALL zk_FldList_getReal(FldList *list, const char *name, double *value) {
  store(value, 0.0);
  return readNamed(list, name,
                   [&](const FldNode &field) { return readReal(field, value, ZK_FLD_WRONG_TYPE); });
}

int ZK_CALL zk_FldList_getInt(FldList *list, const char *name, int32_t *value) {
  return getInteger(list, name, value);
}

int ZK_CALL zk_FldList_getLong(FldList *list, const char *name, int32_t *value) {
  return getInteger(list, name, value);
}

int ZK_CALL zk_FldList_getPoint(FldList *list, const char *name, ZkPoint *point) {
  return getTriple(list, name, point);
}

int ZK_CALL zk_FldList_getVector(FldList *list, const char *name, ZkVector *vector) {
  return getTriple(list, name, vector);
}

int ZK_CALL zk_FldList_currFldname(const FldList *list, char *name) {
  return readCurrent(list, [&](const FldNode &field) -> int {
    if (field.name == nullptr) return ZK_FLD_NO_CURRENT;
    if (name != nullptr) std::strcpy(name, field.name);
    return ZK_FLD_OK;
  });
}

int ZK_CALL zk_FldList_currFldtype(const FldList *list, char *type) {
  return readCurrent(list, [&](const FldNode &field) -> int {
    store(type, field.type);
    return ZK_FLD_OK;
  });
}

int ZK_CALL zk_FldList_currChar(const FldList *list, char *text, int32_t size) {
  return readCurrent(list, [&](const FldNode &field) { return readText(field, text, size); });
}

int ZK_CALL zk_FldList_currHandle(const FldList *list, char *text, int32_t size) {
  return readCurrent(list, [&](const FldNode &field) { return readHandle(field, text, size); });
}

int ZK_CALL zk_FldList_currReal(const FldList *list, double *value) {
  // A success for text as well, unlike zk_FldList_getReal. That is meant.
  return readCurrent(list, [&](const FldNode &field) { return readReal(field, value, ZK_FLD_OK); });
}

int ZK_CALL zk_FldList_currInt(const FldList *list, int32_t *value) {
  return currInteger(list, value);
}

int ZK_CALL zk_FldList_currLong(const FldList *list, int32_t *value) {
  return currInteger(list, value);
}

int ZK_CALL zk_FldList_currPoint(const FldList *list, ZkPoint *point) {
  return currTriple(list, point);
}

int ZK_CALL zk_FldList_currVector(const FldList *list, ZkVector *vector) {
  return currTriple(list, vector);
}

int ZK_CALL zk_FldList_currList(const FldList *list, LnkList **nested) {
  const FldNode *field = currentField(list);
  // Not the code that the other reads have for no current field. That is meant.
  if (field == nullptr) return ZK_FLD_WRONG_TYPE;
  const ValueKind kind = kindOf(field->type);
  if (kind != ValueKind::kFields && kind != ValueKind::kStrings) return ZK_FLD_WRONG_TYPE;
  store(nested, field->value.list);
  return ZK_FLD_OK;
}

int ZK_CALL zk_FldList_delCurr(FldList *list) { return zk_LnkList_delCurr(list, destroyElement); }

int ZK_CALL zk_FldList_delFld(FldList *list, const char *name) {
  return findField(list, name) != nullptr ? zk_FldList_delCurr(list) : 0;
}

ZK_EXTERN_C_END
