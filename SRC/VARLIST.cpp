#include "zk/varlist.h"

#include <cstdio>

#include "SRC/Com.h"
#include "SRC/DbFld.h"
#include "SRC/Fld.h"
#include "SRC/Str.h"
#include "base/Guard.h"
#include "base/Number.h"

namespace zk {
namespace {

constexpr std::size_t kTextLength = 299;
constexpr std::size_t kNameLength = 127;

bool ok(HRESULT result) { return SUCCEEDED(reportComError(result)); }

base::String cut(const base::String &text, std::size_t length) {
  char buffer[kTextLength + 1];
  copyBounded(buffer, text, length);
  return base::String(buffer);
}

// Prints the type's number for a value that no field can hold.
void appendVariant(FldList &list, const char *name, const VARIANT &value) {
  const auto append = [&](const NewValue &field) { appendField(&list, name, field); };
  switch (value.vt) {
    case VT_EMPTY:
    case VT_NULL:
      return append(unknownValue());
    case VT_I2:
      return append(integerValue(ZK_FLD_INT, value.iVal));
    case VT_I4:
      return append(integerValue(ZK_FLD_LONG, static_cast<int32_t>(value.lVal)));
    case VT_R4:
      return append(realValue(static_cast<double>(value.fltVal)));
    case VT_R8:
      return append(realValue(value.dblVal));
    case VT_BOOL:
      return append(integerValue(ZK_FLD_INT, value.boolVal != 0 ? 1 : 0));
    case VT_UI1:
      // As a signed char, on purpose: 200 becomes -56.
      return append(integerValue(ZK_FLD_INT, static_cast<signed char>(value.bVal)));
    default:
      std::printf("\nUnhandled Variable Type in COM FldList: %i", value.vt);
      std::fflush(stdout);
  }
}

void appendItem(FldList &list, IZkVariablesItem &item) {
  Bstr name;
  Variant value;
  if (!ok(item.GetName(name.out())) || name.empty()) return;
  if (!ok(item.GetValue(value.out()))) return;
  const base::String fieldName = cut(name.text(), kNameLength);
  if (value.isText()) {
    appendField(&list, fieldName.c_str(),
                textValue(ZK_FLD_CHAR, cut(value.text(), kTextLength).c_str()));
  } else {
    appendVariant(list, fieldName.c_str(), value.get());
  }
}

int appendVariables(IZkVariablesList &variables, FldList *&fields) {
  LONG count = 0;
  if (!ok(variables.Count(&count))) return 0;
  for (LONG i = 1; i <= count; ++i) {
    if (fields == nullptr) fields = newList();
    if (fields == nullptr) continue;
    const ComPtr<IZkVariablesItem> item = itemAt(variables, i);
    if (!item) continue;
    base::guarded(0, [&] {
      appendItem(*fields, *item.get());
      return 1;
    });
  }
  return 1;
}

struct Key {
  char text[16];
  explicit Key(LONG number) { std::snprintf(text, sizeof text, "%d", static_cast<int>(number)); }
};

bool insertAtEnd(IZkVariablesList &variables, const char *name, const char *value) {
  LONG count = 0;
  if (!ok(variables.Count(&count))) return false;
  const Bstr key(Key(count + 1).text);
  const Bstr itemName(name);
  const Variant itemValue(value);
  if (!key.ok() || !itemName.ok() || !itemValue.isText()) return false;
  ComPtr<IZkVariablesItem> item;
  return ok(variables.Add(key.get(), itemName.get(), itemValue.get(), item.out()));
}

bool reset(IZkVariablesList &variables) {
  LONG count = 0;
  if (!ok(variables.Count(&count))) return false;
  for (LONG i = count; i >= 1; --i) {
    const Bstr key(Key(i).text);
    // Hosts may have removed some and kept others: a missing key is no error.
    if (key.ok()) variables.Remove(key.get());
  }
  for (LONG left = 0; ok(variables.Count(&left)) && left > 0;) {
    const ComPtr<IZkVariablesItem> item = itemAt(variables, left);
    Bstr key;
    if (!item || !ok(item->GetKey(key.out())) || !ok(variables.Remove(key.get()))) return false;
  }
  return ok(variables.Count(&count)) && count == 0;
}

// ---- Records as objects

constexpr const char *kComponentFile = "JNApplication2";

template <typename Interface>
ComPtr<Interface> created(const GUID &classId, const GUID &identity) {
  ComPtr<IUnknown> object;
  if (!ok(platform::createObject(classId, kComponentFile, object.out()))) return {};
  return queryInterface<Interface>(object.get(), identity);
}

bool addField(IZkFieldList &list, const DbFldNode &node) {
  const auto field = created<IZkField>(ZK_CLSID_FIELD, ZK_IID_FIELD);
  if (!field) return false;
  const char type[] = {node.type, '\0'};
  const Bstr name(node.name);
  const Bstr typeText(type);
  const Bstr value(node.value != nullptr ? node.value : "");
  if (!name.ok() || !typeText.ok() || !value.ok()) return false;
  const bool set = ok(field->PutName(name.get())) && ok(field->PutType(typeText.get())) &&
                   ok(field->PutWidth(node.width)) && ok(field->PutPrecision(node.prec)) &&
                   ok(field->PutValue(value.get())) &&
                   // 1, not VARIANT_TRUE, is what the property has always been set to.
                   ok(field->PutEmpty(value.empty() ? VARIANT_BOOL{1} : VARIANT_FALSE));
  return set && ok(list.Add(field.get()));
}

struct RecordDestroyer {
  void operator()(DbFldList *list) const noexcept { zk_DbFldList_destroy(list); }
};
using OwnedRecord = std::unique_ptr<DbFldList, RecordDestroyer>;

// Leaves a field that cannot be read out; false when memory is refused.
bool appendRead(DbFldList &record, IZkFieldList &list, LONG index) {
  ComPtr<IUnknown> object;
  if (!ok(list.Item(Variant(VT_INT, index).get(), object.out()))) return true;
  const auto field = queryInterface<IZkField>(object.get(), ZK_IID_FIELD);
  if (!field) return true;
  Bstr name;
  Bstr type;
  Bstr value;
  LONG width = 0;
  LONG precision = 0;
  VARIANT_BOOL empty = VARIANT_FALSE;
  if (!ok(field->GetName(name.out())) || !ok(field->GetType(type.out())) ||
      !ok(field->GetWidth(&width)) || !ok(field->GetPrecision(&precision)) ||
      !ok(field->GetValue(value.out())) || !ok(field->GetEmpty(&empty))) {
    return true;
  }
  const base::String text = value.text();
  const base::String typeText = type.text();
  return appendFieldNode(
      &record, newFieldNode(name.text(), width, precision, typeText.empty() ? 'C' : typeText[0],
                            empty != VARIANT_FALSE ? nullptr : text.c_str(), text.size()));
}

}  // namespace
}  // namespace zk

using namespace zk;

extern "C" {

int ZK_CALL zk_ConvertVarListToFldList(IUnknown *varsList, FldList **fldList) {
  if (varsList == nullptr || fldList == nullptr) return 0;
  const auto variables = queryInterface<IZkVariablesList>(varsList, ZK_IID_VARIABLES_LIST);
  if (!variables || appendVariables(*variables.get(), *fldList) == 0) return 0;
  varsList->Release();
  return 1;
}

int ZK_CALL zk_VarsList_InsertAtEnd(IUnknown *varsList, const char *name, const char *value) {
  if (varsList == nullptr || name == nullptr || value == nullptr) return 0;
  const auto variables = queryInterface<IZkVariablesList>(varsList, ZK_IID_VARIABLES_LIST);
  if (!variables || !insertAtEnd(*variables.get(), name, value)) return 0;
  varsList->Release();
  return 1;
}

int ZK_CALL zk_VarsList_Reset(IUnknown *varsList) {
  if (varsList == nullptr) return 0;
  const auto variables = queryInterface<IZkVariablesList>(varsList, ZK_IID_VARIABLES_LIST);
  return variables && reset(*variables.get()) ? 1 : 0;
}

int ZK_CALL zk_ConvertDBFldListToJNFldList(const DbFldList *dbFldList, IUnknown **comFldList) {
  if (comFldList == nullptr) return 0;
  *comFldList = nullptr;
  if (dbFldList == nullptr) return 0;
  platform::initializeCom();
  const auto list = created<IZkFieldList>(ZK_CLSID_FIELD_LIST, ZK_IID_FIELD_LIST);
  if (!list) return 0;
  for (const LnkNode *at = dbFldList->first; at != nullptr; at = at->next) {
    const auto *node = static_cast<const DbFldNode *>(at->data);
    if (node != nullptr && !addField(*list.get(), *node)) return 0;
  }
  list->AddRef();
  *comFldList = list.get();
  return 1;
}

int ZK_CALL zk_ConvertJNFldListToDBFldList(IUnknown *comFldList, DbFldList **dbFldList) {
  if (dbFldList == nullptr) return 0;
  *dbFldList = nullptr;
  if (comFldList == nullptr) return 0;
  return base::guarded(0, [&] {
    const auto list = queryInterface<IZkFieldList>(comFldList, ZK_IID_FIELD_LIST);
    LONG count = 0;
    if (!list || !ok(list->Count(&count))) return 0;
    OwnedRecord record(newList());
    if (record == nullptr) return 0;
    for (LONG i = 1; i <= count; ++i) {
      if (!appendRead(*record, *list.get(), i)) return 0;
    }
    *dbFldList = record.release();
    return 1;
  });
}

}  // extern "C"
