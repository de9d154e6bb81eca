// Owners of COM references and texts, and where COM errors go.
#pragma once

#include <cstring>
#include <utility>

#include "platform/Com.h"
#include "zk_component.h"

namespace zk {

// Tells the host's handler of a failed call; gives `result` back. S_OK and S_FALSE are no errors.
HRESULT reportComError(HRESULT result) noexcept;

// One reference to an object.
template <typename Interface>
class ComPtr {
 public:
  ComPtr() = default;
  // Takes a reference over.
  explicit ComPtr(Interface *object) : object_(object) {}
  ComPtr(ComPtr &&other) noexcept : object_(std::exchange(other.object_, nullptr)) {}
  ComPtr &operator=(ComPtr &&other) noexcept {
    std::swap(object_, other.object_);
    return *this;
  }
  ~ComPtr() { reset(); }

  void reset() {
    if (object_ != nullptr) std::exchange(object_, nullptr)->Release();
  }
  // For a call that writes a reference; what was held is released.
  Interface **out() {
    reset();
    return &object_;
  }
  Interface *get() const { return object_; }
  Interface *operator->() const { return object_; }
  explicit operator bool() const { return object_ != nullptr; }

 private:
  Interface *object_ = nullptr;
};

// An object by one of its interfaces. Empty when it has none, and then only an error other than
// E_NOINTERFACE is reported; a null object is one (E_POINTER).
template <typename Interface>
ComPtr<Interface> queryInterface(IUnknown *object, const GUID &identity) noexcept {
  ComPtr<Interface> result;
  const HRESULT status =
      object != nullptr ? object->QueryInterface(identity, reinterpret_cast<void **>(result.out()))
                        : E_POINTER;
  if (FAILED(status) && status != E_NOINTERFACE) reportComError(status);
  return result;
}

// A BSTR that is released with its owner.
class Bstr {
 public:
  Bstr() = default;
  // A null text, like refused memory, gives none: see ok().
  explicit Bstr(const char *text)
      : text_(text != nullptr ? platform::toBstr(text, std::strlen(text)) : nullptr) {}
  Bstr(const Bstr &) = delete;
  Bstr &operator=(const Bstr &) = delete;
  ~Bstr() { SysFreeString(text_); }

  bool ok() const { return text_ != nullptr; }
  bool empty() const { return SysStringLen(text_) == 0; }
  BSTR get() const { return text_; }
  BSTR *out() {
    SysFreeString(std::exchange(text_, nullptr));
    return &text_;
  }
  // In the current code page, up to a first zero character. Throws std::bad_alloc.
  base::String text() const {
    base::String all = platform::fromBstr(text_);
    all.resize(std::strlen(all.c_str()));
    return all;
  }

 private:
  BSTR text_ = nullptr;
};

// A value that is released with its owner.
class Variant {
 public:
  Variant() { VariantInit(&value_); }
  // The position of an item, as collections take it.
  Variant(VARTYPE type, LONG position) : Variant() {
    value_.vt = type;
    value_.lVal = position;
  }
  // A text; VT_EMPTY when memory is refused.
  explicit Variant(const char *text) : Variant() {
    value_.bstrVal = platform::toBstr(text, std::strlen(text));
    if (value_.bstrVal != nullptr) value_.vt = VT_BSTR;
  }
  ~Variant() { VariantClear(&value_); }
  Variant(const Variant &) = delete;
  Variant &operator=(const Variant &) = delete;

  bool isText() const { return value_.vt == VT_BSTR; }
  const VARIANT &get() const { return value_; }
  VARIANT *out() {
    VariantClear(&value_);
    return &value_;
  }
  // "" for anything but a text; up to a first zero character. Throws std::bad_alloc.
  base::String text() const {
    return base::String(isText() ? platform::fromBstr(value_.bstrVal).c_str() : "");
  }

 private:
  VARIANT value_;
};

// The item at a 1-based position of a variables list; empty when it cannot be had.
inline ComPtr<IZkVariablesItem> itemAt(IZkVariablesList &list, LONG position) {
  ComPtr<IZkVariablesItem> item;
  if (FAILED(reportComError(list.Item(Variant(VT_I4, position).get(), item.out())))) item.reset();
  return item;
}

}  // namespace zk
