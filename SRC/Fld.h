// Field lists beneath the exported functions: one mechanism for all types of value.
#pragma once

#include "zk/fldlist.h"

#include <cstddef>
#include <memory>
#include <string_view>

#include "SRC/LnkList.h"

namespace zk {

// What a value of that type consists of.
enum class ValueKind : unsigned char {
  kText,
  kInteger,
  kReal,
  kPoint,
  kFields,
  kStrings,
  kNothing
};

constexpr ValueKind kindOf(char type) noexcept {
  switch (type) {
    case ZK_FLD_CHAR:
    case ZK_FLD_HANDLE:
      return ValueKind::kText;
    case ZK_FLD_INT:
    case ZK_FLD_LONG:
      return ValueKind::kInteger;
    case ZK_FLD_REAL:
      return ValueKind::kReal;
    case ZK_FLD_POINT:
    case ZK_FLD_MPOINT:
    case ZK_FLD_DPOINT:
    case ZK_FLD_VECTOR:
      return ValueKind::kPoint;
    case ZK_FLD_LIST:
      return ValueKind::kFields;
    case ZK_FLD_STRLIST:
      return ValueKind::kStrings;
    default:
      return ValueKind::kNothing;
  }
}

// A value for a field, with its type code. Texts and points are borrowed; a list changes owner when
// it is stored.
struct NewValue {
  char type;
  ValueKind kind;
  union {
    const char *text;
    int32_t integer;
    double real;
    const ZkPoint *point;
    LnkList *list;
  };
};

inline NewValue textValue(char type, const char *text) noexcept {
  return {type, ValueKind::kText, {.text = text}};
}
inline NewValue integerValue(char type, int32_t integer) noexcept {
  return {type, ValueKind::kInteger, {.integer = integer}};
}
inline NewValue realValue(double real) noexcept {
  return {ZK_FLD_REAL, ValueKind::kReal, {.real = real}};
}
inline NewValue pointValue(char type, const ZkPoint *point) noexcept {
  return {type, ValueKind::kPoint, {.point = point}};
}
inline NewValue listValue(FldList *list) noexcept {
  return {ZK_FLD_LIST, ValueKind::kFields, {.list = list}};
}
inline NewValue stringsValue(StrList *list) noexcept {
  return {ZK_FLD_STRLIST, ValueKind::kStrings, {.list = list}};
}
inline NewValue unknownValue() noexcept {
  return {ZK_FLD_UNKNOWN, ValueKind::kNothing, {.text = nullptr}};
}

// String lists and unknown types are not copied: they arrive as U. That is meant.
constexpr bool isCopied(ValueKind kind) noexcept {
  return kind != ValueKind::kStrings && kind != ValueKind::kNothing;
}

inline FldNode *fieldOf(const LnkNode *element) noexcept {
  return element != nullptr ? static_cast<FldNode *>(element->data) : nullptr;
}

// The text of a type that has one, never null.
inline const char *textOf(const FldNode &field) noexcept {
  return field.value.text != nullptr ? field.value.text : "";
}

// The exported functions' rules for one value of any type.
FldNode *newField(const char *name, const NewValue &value) noexcept;
// A copy without its nested list, which is null.
FldNode *newFieldCopy(const FldNode &source) noexcept;
int appendField(FldList *list, const char *name, const NewValue &value) noexcept;
int modifyField(FldList *list, const char *name, const NewValue &value) noexcept;
int addField(FldList *list, const char *name, const NewValue &value) noexcept;
FldNode *findField(FldList *list, const char *name) noexcept;
int compareFields(const FldNode &a, const FldNode &b) noexcept;

// The text of a type that has one, to be released before it is replaced; null where it lies in the
// field's own block.
char *ownedText(const FldNode &field) noexcept;
void destroyField(FldNode *field) noexcept;
void destroyFieldList(FldList *list) noexcept;

struct FieldListDestroyer {
  void operator()(FldList *list) const noexcept { destroyFieldList(list); }
};
using OwnedFieldList = std::unique_ptr<FldList, FieldListDestroyer>;

// At most `size` characters of the text, or of the number as text; see zk_FldList_currChar.
int readText(const FldNode &field, char *text, int32_t size) noexcept;

// The text of a number or point, without type code.
class NumberText {
 public:
  explicit NumberText(const FldNode &field) noexcept;  // "" for other types
  const char *c_str() const noexcept { return text_; }
  std::string_view view() const noexcept { return {text_, length_}; }

 private:
  void append(double value, int decimals) noexcept;

  char text_[3 * 320];  // the largest double has 309 digits before the point
  std::size_t length_ = 0;
};

}  // namespace zk
