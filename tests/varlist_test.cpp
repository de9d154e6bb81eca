// Variables lists and records as objects, over collections of the test's own.
#include <gtest/gtest.h>

#include <cstring>
#include <memory>
#include <vector>

#include "tests/fake_com.h"
#include "tests/support.h"

namespace {

using support::bstr;
using support::ComObject;
using support::liveComObjects;
using support::text;

HRESULT failName = S_OK;
HRESULT failAdd = S_OK;

class Variable : public ComObject<IZkVariablesItem> {
 public:
  Variable(std::string key, std::string name)
      : ComObject(ZK_IID_VARIABLES_ITEM), key_(std::move(key)), name_(std::move(name)) {
    VariantInit(&value);
  }
  ~Variable() override {
    if (value.vt == VT_BSTR) VariantClear(&value);
  }
  const std::string &key() const { return key_; }

  HRESULT STDMETHODCALLTYPE GetKey(BSTR *result) override {
    *result = bstr(key_);
    return S_OK;
  }
  HRESULT STDMETHODCALLTYPE PutValue(VARIANT) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE GetValue(VARIANT *result) override {
    *result = value;
    if (value.vt == VT_BSTR)
      result->bstrVal = SysAllocStringLen(value.bstrVal, SysStringLen(value.bstrVal));
    return S_OK;
  }
  HRESULT STDMETHODCALLTYPE PutName(BSTR) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE GetName(BSTR *result) override {
    *result = failName == S_OK ? bstr(name_) : nullptr;
    return failName;
  }

  VARIANT value;

 private:
  std::string key_;
  std::string name_;
};

class List : public ComObject<IZkVariablesList> {
 public:
  List() : ComObject(ZK_IID_VARIABLES_LIST) {}
  ~List() override {
    for (Variable *item : items) item->Release();
  }
  // A variable whose value the test fills.
  VARIANT &variable(const std::string &name) {
    items.push_back(new Variable(std::to_string(items.size() + 1), name));
    return items.back()->value;
  }

  HRESULT STDMETHODCALLTYPE Add(BSTR key, BSTR name, VARIANT value,
                                IZkVariablesItem **result) override {
    *result = nullptr;
    if (failAdd != S_OK) return failAdd;
    auto *item = new Variable(text(key), text(name));
    item->value = value;
    item->value.bstrVal = SysAllocStringLen(value.bstrVal, SysStringLen(value.bstrVal));
    items.push_back(item);
    item->AddRef();
    *result = item;
    return S_OK;
  }
  HRESULT STDMETHODCALLTYPE Item(VARIANT index, IZkVariablesItem **result) override {
    *result = nullptr;
    if (index.vt != VT_I4 || index.lVal < 1 || index.lVal > static_cast<LONG>(items.size())) {
      return DISP_E_BADINDEX;
    }
    *result = items[static_cast<std::size_t>(index.lVal - 1)];
    (*result)->AddRef();
    return S_OK;
  }
  HRESULT STDMETHODCALLTYPE Count(LONG *result) override {
    *result = static_cast<LONG>(items.size());
    return S_OK;
  }
  HRESULT STDMETHODCALLTYPE Remove(BSTR key) override {
    for (auto item = items.begin(); item != items.end(); ++item) {
      if ((*item)->key() != text(key)) continue;
      (*item)->Release();
      items.erase(item);
      return S_OK;
    }
    return DISP_E_BADINDEX;
  }

  std::vector<Variable *> items;
};

std::vector<HRESULT> errors;
void ZK_CALL noteError(HRESULT error, void *) { errors.push_back(error); }

class VarList : public ::testing::Test {
 protected:
  void SetUp() override {
    errors.clear();
    zk_Com_setErrorHandler(noteError, nullptr);
  }
  void TearDown() override {
    zk_Com_setErrorHandler(nullptr, nullptr);
    failName = failAdd = S_OK;
    EXPECT_EQ(liveComObjects, 0);
  }
};

// Each field as "NAME=T value", one after the other.
std::string dump(FldList *fields) {
  std::string result;
  for (const LnkNode *at = fields->first; at != nullptr; at = at->next) {
    auto *field = static_cast<FldNode *>(at->data);
    char *value = zk_FldNode_getFldValue(field);
    result +=
        std::string(field->name) + "=" + field->type + " " + (value != nullptr ? value : "") + ";";
    std::free(value);
  }
  return result;
}

TEST_F(VarList, ValuesBecomeFieldsByTheirType) {
  struct Case {
    VARTYPE type;
    int64_t bits;
    const char *field;  // "" when nothing is appended
  };
  const float real = 1.5F;
  uint32_t realBits;
  std::memcpy(&realBits, &real, sizeof realBits);
  const double wide = -0.25;
  int64_t wideBits;
  std::memcpy(&wideBits, &wide, sizeof wideBits);
  const Case cases[] = {
      {VT_EMPTY, 7, "A=U ;"},
      {VT_NULL, 7, "A=U ;"},
      {VT_I2, 0x7FFF0000 | 0xFFFB, "A=I -5;"},
      {VT_I4, 0x80000000, "A=L -2147483648;"},
      {VT_R4, realBits, "A=N 1.500000;"},
      {VT_R8, wideBits, "A=N -0.250000;"},
      {VT_BOOL, 0xFFFF, "A=I 1;"},
      {VT_BOOL, 1, "A=I 1;"},
      {VT_BOOL, 0x10000, "A=I 0;"},
      {VT_UI1, 200, "A=I -56;"},
      {VT_DATE, wideBits, ""},
      {VT_UI2, 1, ""},
      {VT_I2 | VT_ARRAY, 0, ""},
      {VT_I4 | VT_BYREF, 0, ""},
  };
  for (const Case &c : cases) {
    SCOPED_TRACE(c.type);
    List *list = new List;
    VARIANT &value = list->variable("a");
    value.vt = c.type;
    std::memcpy(&value.lVal, &c.bits, sizeof c.bits);
    FldList *fields = nullptr;
    testing::internal::CaptureStdout();
    EXPECT_EQ(zk_ConvertVarListToFldList(list, &fields), 1);
    const std::string printed = testing::internal::GetCapturedStdout();
    EXPECT_EQ(printed, *c.field != '\0'
                           ? ""
                           : "\nUnhandled Variable Type in COM FldList: " + std::to_string(c.type));
    ASSERT_NE(fields, nullptr);
    EXPECT_EQ(dump(fields), c.field);
    zk_FldList_destroy(fields);
  }
  EXPECT_TRUE(errors.empty());
}

TEST_F(VarList, TextsAndNamesAreCutNamelessItemsSkipped) {
  List *list = new List;
  for (const char *name : {"", "second", "third"}) {
    VARIANT &value = list->variable(name);
    value.vt = VT_BSTR;
    value.bstrVal = bstr(std::string(name) == "third" ? std::string(400, 'x') : "x");
  }
  VARIANT &value = list->variable(std::string(200, 'n'));
  value.vt = VT_I4;
  value.lVal = 1;
  FldList *fields = zk_FldList_create("FIRST", 'I', 1, (char *)0);
  EXPECT_EQ(zk_ConvertVarListToFldList(list, &fields), 1);
  EXPECT_EQ(dump(fields), "FIRST=I 1;SECOND=C x;THIRD=C " + std::string(299, 'x') + ";" +
                              std::string(127, 'N') + "=L 1;");
  zk_FldList_destroy(fields);
}

TEST_F(VarList, WhatUsesTheCallersReferenceUp) {
  FldList *fields = nullptr;
  List *list = new List;
  // An empty list makes no field list, but is used up.
  list->AddRef();
  EXPECT_EQ(zk_ConvertVarListToFldList(list, &fields), 1);
  EXPECT_EQ(fields, nullptr);
  EXPECT_EQ(list->references, 1u);
  // What is no variables list stays the caller's: E_NOINTERFACE is no error, others are.
  for (const HRESULT failure : {E_NOINTERFACE, E_FAIL}) {
    list->failQuery = failure;
    EXPECT_EQ(zk_ConvertVarListToFldList(list, &fields), 0);
    EXPECT_EQ(zk_VarsList_InsertAtEnd(list, "n", "v"), 0);
    EXPECT_EQ(zk_VarsList_Reset(list), 0);
    EXPECT_EQ(errors.size(), failure == E_FAIL ? 3u : 0u);
  }
  list->failQuery = S_OK;
  failAdd = E_OUTOFMEMORY;
  EXPECT_EQ(zk_VarsList_InsertAtEnd(list, "n", "v"), 0);
  EXPECT_EQ(list->references, 1u);
  EXPECT_EQ(errors.back(), E_OUTOFMEMORY);
  failAdd = S_OK;
  list->AddRef();
  EXPECT_EQ(zk_VarsList_InsertAtEnd(list, "n", "v"), 1);
  EXPECT_EQ(list->references, 1u);
  // An item that cannot be read is left out.
  failName = E_FAIL;
  list->AddRef();
  EXPECT_EQ(zk_ConvertVarListToFldList(list, &fields), 1);
  ASSERT_NE(fields, nullptr);
  EXPECT_EQ(fields->length, 0u);
  zk_FldList_destroy(fields);
  list->Release();
}

TEST_F(VarList, InsertingAndEmptying) {
  List *list = new List;
  for (const char *name : {"a", "b", "c", "d"}) {
    list->AddRef();
    EXPECT_EQ(zk_VarsList_InsertAtEnd(list, name, "value"), 1);
  }
  ASSERT_EQ(list->items.size(), 4u);
  EXPECT_EQ(list->items[3]->key(), "4");
  EXPECT_EQ(text(list->items[3]->value.bstrVal), "value");
  // Removing in the middle leaves keys that the count does not tell.
  BSTR key = bstr("2");
  list->Remove(key);
  SysFreeString(key);
  EXPECT_EQ(zk_VarsList_Reset(list), 1);
  EXPECT_TRUE(list->items.empty());
  EXPECT_EQ(list->references, 1u);
  list->Release();
}

// ---- Records

class Field : public ComObject<IZkField> {
 public:
  Field() : ComObject(ZK_IID_FIELD) {}
#define TEXT_PROPERTY(Name)                                   \
  HRESULT STDMETHODCALLTYPE Put##Name(BSTR value) override {  \
    Name = text(value);                                       \
    return S_OK;                                              \
  }                                                           \
  HRESULT STDMETHODCALLTYPE Get##Name(BSTR *value) override { \
    *value = bstr(Name);                                      \
    return S_OK;                                              \
  }                                                           \
  std::string Name
#define PLAIN_PROPERTY(Name, Plain)                            \
  HRESULT STDMETHODCALLTYPE Put##Name(Plain value) override {  \
    Name = value;                                              \
    return S_OK;                                               \
  }                                                            \
  HRESULT STDMETHODCALLTYPE Get##Name(Plain *value) override { \
    *value = Name;                                             \
    return failName;                                           \
  }                                                            \
  Plain Name = 0
  TEXT_PROPERTY(Name);
  TEXT_PROPERTY(Type);
  TEXT_PROPERTY(Value);
  PLAIN_PROPERTY(Width, LONG);
  PLAIN_PROPERTY(Precision, LONG);
  PLAIN_PROPERTY(Empty, VARIANT_BOOL);
};

class FieldList : public ComObject<IZkFieldList> {
 public:
  FieldList() : ComObject(ZK_IID_FIELD_LIST) {}
  ~FieldList() override {
    for (IUnknown *field : fields) field->Release();
  }
  HRESULT STDMETHODCALLTYPE Add(IUnknown *field) override {
    if (failAdd != S_OK) return failAdd;
    field->AddRef();
    fields.push_back(field);
    return S_OK;
  }
  HRESULT STDMETHODCALLTYPE Item(VARIANT index, IUnknown **result) override {
    *result = nullptr;
    if (index.vt != VT_INT) return E_INVALIDARG;
    *result = fields.at(static_cast<std::size_t>(index.lVal - 1));
    (*result)->AddRef();
    return S_OK;
  }
  HRESULT STDMETHODCALLTYPE Count(LONG *result) override {
    *result = static_cast<LONG>(fields.size());
    return S_OK;
  }
  std::vector<IUnknown *> fields;
};

TEST_F(VarList, RecordsGoToObjectsAndBack) {
  const support::RegisteredClass lists(ZK_CLSID_FIELD_LIST,
                                       []() -> IUnknown * { return new FieldList; });
  const support::RegisteredClass fields(ZK_CLSID_FIELD, []() -> IUnknown * { return new Field; });
  const support::List record(zk_DbFldList_create((char *)0));
  struct {
    const char *name;
    int32_t width, prec;
    char type;
    const char *value;
    VARIANT_BOOL empty;
  } const cases[] = {
      {"NAME", 20, 0, 'C', "Pump", 0},
      {"QTY", 8, 2, 'N', "12.50", 0},
      {"NOTE", 10, 0, 'M', "", 1},
      {"NONE", 4, 0, 'C', nullptr, 1},
  };
  for (const auto &c : cases) {
    zk_DbFldList_insEnd(record.get(), c.name, c.value, c.width, c.prec, c.type);
  }
  IUnknown *object = nullptr;
  ASSERT_EQ(zk_ConvertDBFldListToJNFldList(record.get(), &object), 1);
  auto *list = static_cast<FieldList *>(static_cast<IZkFieldList *>(object));
  ASSERT_EQ(list->fields.size(), std::size(cases));
  for (std::size_t i = 0; i < std::size(cases); ++i) {
    const auto *field = static_cast<const Field *>(static_cast<IZkField *>(list->fields[i]));
    EXPECT_EQ(field->Name + field->Type, std::string(cases[i].name) + cases[i].type);
    EXPECT_EQ(field->Width, cases[i].width);
    EXPECT_EQ(field->Precision, cases[i].prec);
    EXPECT_EQ(field->Value, cases[i].value != nullptr ? cases[i].value : "");
    EXPECT_EQ(field->Empty, cases[i].empty);
  }
  DbFldList *back = nullptr;
  ASSERT_EQ(zk_ConvertJNFldListToDBFldList(object, &back), 1);
  ASSERT_EQ(back->length, std::size(cases));
  const LnkNode *at = back->first;
  for (const auto &c : cases) {
    const auto *node = static_cast<const DbFldNode *>(at->data);
    EXPECT_STREQ(node->name, c.name);
    EXPECT_EQ(node->width, c.width);
    EXPECT_EQ(node->prec, c.prec);
    EXPECT_EQ(node->type, c.type);
    EXPECT_STREQ(node->value, c.empty != 0 ? nullptr : c.value);
    at = at->next;
  }
  zk_DbFldList_destroy(back);
  // A field that cannot be read is left out.
  failName = E_FAIL;
  EXPECT_EQ(zk_ConvertJNFldListToDBFldList(object, &back), 1);
  EXPECT_EQ(back->length, 0u);
  zk_DbFldList_destroy(back);
  EXPECT_EQ(list->references, 1u);
  object->Release();

  failAdd = E_FAIL;
  EXPECT_EQ(zk_ConvertDBFldListToJNFldList(record.get(), &object), 0);
  EXPECT_EQ(object, nullptr);
  Variable item("k", "n");
  EXPECT_EQ(zk_ConvertJNFldListToDBFldList(&item, &back), 0);
  EXPECT_EQ(back, nullptr);
}

}  // namespace
