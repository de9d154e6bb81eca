#include "component/FieldList.h"

namespace zk::component {
namespace {

HRESULT put(WideText &property, BSTR text) {
  return guarded([&] {
    property = WideText(wideView(text));
    return S_OK;
  });
}

HRESULT get(const WideText &property, BSTR *result) {
  return guarded(result, [&] {
    *result = newBstr(WideView(property));
    return S_OK;
  });
}

template <typename Number, typename Result>
HRESULT getNumber(Number property, Result *result) {
  return guarded(result, [&] {
    *result = static_cast<Result>(property);
    return S_OK;
  });
}

}  // namespace

// ---- Field

IUnknown *Field::interfaceOf(REFIID identity) { return find(identity, {{ZK_IID_FIELD, this}}); }

HRESULT Field::PutName(BSTR name) { return put(name_, name); }
HRESULT Field::GetName(BSTR *result) { return get(name_, result); }
HRESULT Field::PutType(BSTR type) { return put(type_, type); }
HRESULT Field::GetType(BSTR *result) { return get(type_, result); }
HRESULT Field::PutWidth(LONG width) {
  width_ = width;
  return S_OK;
}
HRESULT Field::GetWidth(LONG *result) { return getNumber(width_, result); }
HRESULT Field::PutPrecision(LONG decimals) {
  precision_ = decimals;
  return S_OK;
}
HRESULT Field::GetPrecision(LONG *result) { return getNumber(precision_, result); }

HRESULT Field::PutValue(BSTR value) {
  const HRESULT status = put(value_, value);
  if (SUCCEEDED(status)) empty_ = false;
  return status;
}

HRESULT Field::GetValue(BSTR *result) {
  if (!empty_) return get(value_, result);
  return guarded(result, [] { return S_OK; });
}

HRESULT Field::PutEmpty(VARIANT_BOOL empty) {
  empty_ = empty != VARIANT_FALSE;
  if (empty_) value_.clear();
  return S_OK;
}

HRESULT Field::GetEmpty(VARIANT_BOOL *result) {
  return getNumber(empty_ ? VARIANT_TRUE : VARIANT_FALSE, result);
}

// ---- FieldList

IUnknown *FieldList::interfaceOf(REFIID identity) {
  return find(identity, {{ZK_IID_FIELD_LIST, this}});
}

HRESULT FieldList::Add(IUnknown *field) {
  if (field == nullptr) return E_POINTER;
  return guarded([&] {
    fields_.emplace_back();
    field->AddRef();
    fields_.back() = Reference(field);
    return S_OK;
  });
}

HRESULT FieldList::Item(VARIANT index, IUnknown **result) {
  return guarded(result, [&] {
    const std::size_t position = positionFrom(index);
    if (position >= fields_.size()) return DISP_E_BADINDEX;
    *result = fields_[position].share();
    return S_OK;
  });
}

HRESULT FieldList::Count(LONG *result) { return getNumber(fields_.size(), result); }

}  // namespace zk::component
