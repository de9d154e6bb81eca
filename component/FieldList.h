// A record as an object: fields, and the list that holds them.
#pragma once

#include <vector>

#include "component/Object.h"
#include "component/System.h"

namespace zk::component {

// New fields are empty. PutValue makes a field one with a value, PutEmpty drops the value.
class Field final : public Object<IZkField> {
 public:
  HRESULT STDMETHODCALLTYPE PutName(BSTR name) override;
  HRESULT STDMETHODCALLTYPE GetName(BSTR *result) override;
  HRESULT STDMETHODCALLTYPE PutType(BSTR type) override;
  HRESULT STDMETHODCALLTYPE GetType(BSTR *result) override;
  HRESULT STDMETHODCALLTYPE PutWidth(LONG width) override;
  HRESULT STDMETHODCALLTYPE GetWidth(LONG *result) override;
  HRESULT STDMETHODCALLTYPE PutPrecision(LONG decimals) override;
  HRESULT STDMETHODCALLTYPE GetPrecision(LONG *result) override;
  HRESULT STDMETHODCALLTYPE PutValue(BSTR value) override;
  HRESULT STDMETHODCALLTYPE GetValue(BSTR *result) override;
  HRESULT STDMETHODCALLTYPE PutEmpty(VARIANT_BOOL empty) override;
  HRESULT STDMETHODCALLTYPE GetEmpty(VARIANT_BOOL *result) override;

 private:
  IUnknown *interfaceOf(REFIID identity) override;

  WideText name_;
  WideText type_;
  WideText value_;
  LONG width_ = 0;
  LONG precision_ = 0;
  bool empty_ = true;
};

class FieldList final : public Object<IZkFieldList> {
 public:
  HRESULT STDMETHODCALLTYPE Add(IUnknown *field) override;
  HRESULT STDMETHODCALLTYPE Item(VARIANT index, IUnknown **result) override;
  HRESULT STDMETHODCALLTYPE Count(LONG *result) override;

 private:
  IUnknown *interfaceOf(REFIID identity) override;

  std::vector<Reference<IUnknown>> fields_;
};

}  // namespace zk::component
