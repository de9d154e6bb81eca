#include "component/VariablesList.h"

#include <algorithm>
#include <string>

namespace zk::component {

// ---- VariablesItem

IUnknown *VariablesItem::interfaceOf(REFIID identity) {
  return find(identity, {{ZK_IID_VARIABLES_ITEM, this}});
}

HRESULT VariablesItem::setValue(const VARIANT &value) {
  VARIANT copy = {};
  const HRESULT status = copyVariant(copy, value);
  if (FAILED(status)) return status;
  VariantClear(&value_);
  value_ = copy;
  return S_OK;
}

void VariablesItem::setText(BSTR text) {
  VariantClear(&value_);
  value_.vt = VT_BSTR;
  value_.bstrVal = text;
}

HRESULT VariablesItem::GetKey(BSTR *result) {
  return guarded(result, [&] {
    *result = newBstr(WideView(key_));
    return S_OK;
  });
}

HRESULT VariablesItem::PutValue(VARIANT value) {
  return guarded([&] { return setValue(value); });
}

HRESULT VariablesItem::GetValue(VARIANT *result) {
  return guarded(result, [&] { return copyVariant(*result, value_); });
}

HRESULT VariablesItem::PutName(BSTR name) {
  return guarded([&] {
    name_ = WideText(wideView(name));
    return S_OK;
  });
}

HRESULT VariablesItem::GetName(BSTR *result) {
  return guarded(result, [&] {
    *result = newBstr(WideView(name_));
    return S_OK;
  });
}

// ---- VariablesList

IUnknown *VariablesList::interfaceOf(REFIID identity) {
  return Object::find(identity, {{ZK_IID_VARIABLES_LIST, this}});
}

std::size_t VariablesList::positionOf(WideView key) const {
  const auto found = std::find_if(items_.begin(), items_.end(),
                                  [&](const auto &item) { return item->key() == key; });
  return static_cast<std::size_t>(found - items_.begin());
}

VariablesItem &VariablesList::append(std::string_view name) {
  const std::string key = std::to_string(items_.size() + 1);
  Reference item(new VariablesItem(WideText(key.begin(), key.end()), toWide(name)));
  items_.push_back(std::move(item));
  return *items_.back().get();
}

HRESULT VariablesList::Add(BSTR key, BSTR name, VARIANT value, IZkVariablesItem **result) {
  return guarded(result, [&] {
    if (positionOf(wideView(key)) < items_.size()) return E_INVALIDARG;
    Reference item(new VariablesItem(WideText(wideView(key)), WideText(wideView(name))));
    const HRESULT status = item->setValue(value);
    if (FAILED(status)) return status;
    items_.push_back(std::move(item));
    *result = items_.back().share();
    return S_OK;
  });
}

HRESULT VariablesList::Item(VARIANT index, IZkVariablesItem **result) {
  return guarded(result, [&] {
    const std::size_t position =
        index.vt == VT_BSTR ? positionOf(wideView(index.bstrVal)) : positionFrom(index);
    if (position >= items_.size()) return DISP_E_BADINDEX;
    *result = items_[position].share();
    return S_OK;
  });
}

HRESULT VariablesList::Count(LONG *result) {
  return guarded(result, [&] {
    *result = static_cast<LONG>(items_.size());
    return S_OK;
  });
}

HRESULT VariablesList::Remove(BSTR key) {
  return guarded([&] {
    const std::size_t position = positionOf(wideView(key));
    if (position >= items_.size()) return DISP_E_BADINDEX;
    items_.erase(items_.begin() + static_cast<std::ptrdiff_t>(position));
    return S_OK;
  });
}

}  // namespace zk::component
