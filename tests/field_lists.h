// What the tests of field lists share: owned lists, and a list as one text.
#pragma once

#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "zk_baselib.h"

namespace support {

struct FldListDestroyer {
  void operator()(FldList *list) const { zk_FldList_destroy(list); }
};
using Fields = std::unique_ptr<FldList, FldListDestroyer>;

struct StrListDestroyer {
  void operator()(StrList *list) const { zk_StrList_destroy(list); }
};
using Strings = std::unique_ptr<StrList, StrListDestroyer>;

#define ZK_END static_cast<char *>(nullptr)

std::string describe(const FldList *list);

inline std::string number(double value) {
  char text[40];
  snprintf(text, sizeof text, "%g", value);
  return text;
}

inline std::string describe(const FldNode &node) {
  const FldValue &value = node.value;
  const std::string start = (node.name != nullptr ? node.name : "(null)") + std::string("=");
  switch (node.type) {
    case ZK_FLD_CHAR:
    case ZK_FLD_HANDLE:
      return start + node.type +
             (value.text != nullptr ? std::string("'") + value.text + "'" : "null");
    case ZK_FLD_INT:
    case ZK_FLD_LONG:
      return start + node.type + std::to_string(value.integer);
    case ZK_FLD_REAL:
      return start + node.type + number(value.real);
    case ZK_FLD_LIST:
      return start + node.type +
             (value.list != nullptr ? "{" + describe(value.list) + "}" : "null");
    case ZK_FLD_STRLIST:
      return start + node.type + std::to_string(zk_StrList_length(value.strList));
    case ZK_FLD_UNKNOWN:
      return start + node.type;
    default:
      return start + node.type + "(" + number(value.point.x) + " " + number(value.point.y) + " " +
             number(value.point.z) + ")";
  }
}

// "A=I1, B=C'text', K=V{K=I1, K=I2}"; the fields are checked against the linked list's counts.
inline std::string describe(const FldList *list) {
  std::string text;
  uint32_t count = 0;
  for (const LnkNode *element = list->first; element != nullptr; element = element->next, ++count) {
    text += (text.empty() ? "" : ", ") + describe(*static_cast<const FldNode *>(element->data));
    EXPECT_EQ(element->next != nullptr ? element->next->prev : list->last, element);
  }
  EXPECT_EQ(count, list->length);
  return text;
}
inline std::string describe(const Fields &list) { return describe(list.get()); }

// The name of the current field, or "(end)".
inline std::string position(const FldList *list) {
  const FldNode *node = zk_FldList_curr(list);
  return node != nullptr ? node->name : "(end)";
}
inline std::string position(const Fields &list) { return position(list.get()); }

}  // namespace support
