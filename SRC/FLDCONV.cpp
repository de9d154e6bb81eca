// Field lists from other lists.
#include "zk/fldlist.h"

#include <algorithm>
#include <cstring>

#include "SRC/Fld.h"
#include "SRC/IniLine.h"
#include "SRC/StrList.h"
#include "base/Guard.h"
#include "base/Memory.h"
#include "base/Number.h"

namespace zk {
namespace {

constexpr std::size_t kRecordCharacters = 512;  // of a value

// False when memory is refused.
bool appendVariable(FldList *list, const char *line) {
  const IniVariable variable = parseIniVariable(line);
  if (variable.name.empty() || variable.value.empty()) return true;
  const base::String name(variable.name);
  const base::String value(variable.value);
  return appendField(list, name.c_str(), textValue(ZK_FLD_CHAR, value.c_str())) == ZK_FLD_OK;
}

// A value with its terminator.
struct RecordText {
  explicit RecordText(const DbFldNode &field) {
    const std::string_view value(field.value != nullptr ? field.value : "");
    text[value.copy(text, kRecordCharacters)] = '\0';
  }
  char text[kRecordCharacters + 1];
};

bool appendRecordField(FldList *list, const DbFldNode &field) {
  if (field.name[0] == '\0') return true;
  RecordText value(field);
  NewValue appended = textValue(ZK_FLD_CHAR, value.text);
  if (field.type == 'N' && field.prec != 0) {
    if (char *comma = std::strchr(value.text, ',')) *comma = '.';
    appended = realValue(base::toDouble(value.text));
  } else if (field.type == 'N') {
    appended = integerValue(ZK_FLD_INT, base::toInt32(value.text));
  }
  return appendField(list, field.name, appended) == ZK_FLD_OK;
}

}  // namespace
}  // namespace zk

using namespace zk;

ZK_EXTERN_C_BEGIN

FldList *ZK_CALL zk_FldList_fromEnvList(StrList *strings) {
  if (strings == nullptr) return nullptr;
  strings->current = nullptr;
  return base::guarded<FldList *>(nullptr, [&]() -> FldList * {
    OwnedFieldList list(newList());
    if (list == nullptr) return nullptr;
    for (const LnkNode *element = strings->first; element != nullptr; element = element->next) {
      if (!appendVariable(list.get(), stringOf(*element))) return nullptr;
    }
    list->current = list->first;
    return list->length > 0 ? list.release() : nullptr;
  });
}

FldList *ZK_CALL zk_FldList_fromDbFldList(DbFldList *record) {
  OwnedFieldList list(newList());
  if (list == nullptr || record == nullptr) return list.release();
  for (const LnkNode *element = record->first; element != nullptr; element = element->next) {
    const auto *field = static_cast<const DbFldNode *>(element->data);
    if (field != nullptr && !appendRecordField(list.get(), *field)) return nullptr;
  }
  record->current = nullptr;
  return list.release();
}

ZK_EXTERN_C_END
