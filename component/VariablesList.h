// An ordered collection of variables, with its items.
#pragma once

#include <string_view>
#include <vector>

#include "component/Object.h"
#include "component/System.h"

namespace zk::component {

class VariablesItem final : public Object<IZkVariablesItem> {
 public:
  VariablesItem(WideText key, WideText name) : key_(std::move(key)), name_(std::move(name)) {}
  ~VariablesItem() override { VariantClear(&value_); }

  // Throws std::bad_alloc.
  HRESULT setValue(const VARIANT &value);
  // Takes the text over.
  void setText(BSTR text);
  const WideText &key() const { return key_; }

  HRESULT STDMETHODCALLTYPE GetKey(BSTR *result) override;
  HRESULT STDMETHODCALLTYPE PutValue(VARIANT value) override;
  HRESULT STDMETHODCALLTYPE GetValue(VARIANT *result) override;
  HRESULT STDMETHODCALLTYPE PutName(BSTR name) override;
  HRESULT STDMETHODCALLTYPE GetName(BSTR *result) override;

 private:
  IUnknown *interfaceOf(REFIID identity) override;

  const WideText key_;
  WideText name_;
  VARIANT value_ = {};
};

class VariablesList final : public Object<IZkVariablesList> {
 public:
  // Appends a variable whose key is its position. Throws std::bad_alloc.
  VariablesItem &append(std::string_view name);

  HRESULT STDMETHODCALLTYPE Add(BSTR key, BSTR name, VARIANT value,
                                IZkVariablesItem **result) override;
  HRESULT STDMETHODCALLTYPE Item(VARIANT index, IZkVariablesItem **result) override;
  HRESULT STDMETHODCALLTYPE Count(LONG *result) override;
  HRESULT STDMETHODCALLTYPE Remove(BSTR key) override;

 private:
  IUnknown *interfaceOf(REFIID identity) override;
  // The position of the item with that key; behind the last when there is none.
  std::size_t positionOf(WideView key) const;

  std::vector<Reference<VariablesItem>> items_;
};

}  // namespace zk::component
