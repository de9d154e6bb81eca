// What every object of the component has: its count of references, QueryInterface by a table, and
// IDispatch's own methods, which nobody needs.
#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <new>
#include <utility>

#include "zk_component.h"

namespace zk::component {

// References to objects and factories, and locks: while there are any, the module stays loaded.
inline std::atomic<long> moduleUses{0};

// Runs a method: nothing is thrown across an interface.
template <typename Body>
HRESULT guarded(Body body) noexcept {
  try {
    return body();
  } catch (const std::bad_alloc &) {
    return E_OUTOFMEMORY;
  } catch (...) {
    return E_FAIL;
  }
}

// The same for a method with an out parameter, which is null or zero unless the method sets it.
template <typename Result, typename Body>
HRESULT guarded(Result *result, Body body) noexcept {
  if (result == nullptr) return E_POINTER;
  *result = {};
  return guarded(body);
}

// A row of the table that QueryInterface looks through.
struct InterfaceEntry {
  const GUID &identity;
  IUnknown *object;
};

// Made with one reference, which belongs to the maker.
template <typename First, typename... More>
class Object : public First, public More... {
 public:
  Object() { ++moduleUses; }
  Object(const Object &) = delete;
  Object &operator=(const Object &) = delete;

  HRESULT STDMETHODCALLTYPE QueryInterface(REFIID identity, void **object) override {
    if (object == nullptr) return E_POINTER;
    IUnknown *found = interfaceOf(identity);
    *object = found;
    if (found == nullptr) return E_NOINTERFACE;
    found->AddRef();
    return S_OK;
  }
  ULONG STDMETHODCALLTYPE AddRef() override { return ++references_; }
  ULONG STDMETHODCALLTYPE Release() override {
    const ULONG left = --references_;
    if (left == 0) delete this;
    return left;
  }

  HRESULT STDMETHODCALLTYPE GetTypeInfoCount(UINT *) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE GetTypeInfo(UINT, LCID, struct ITypeInfo **) override {
    return E_NOTIMPL;
  }
  HRESULT STDMETHODCALLTYPE GetIDsOfNames(REFIID, OLECHAR **, UINT, LCID, DISPID *) override {
    return E_NOTIMPL;
  }
  HRESULT STDMETHODCALLTYPE Invoke(DISPID, REFIID, LCID, WORD, struct tagDISPPARAMS *, VARIANT *,
                                   struct tagEXCEPINFO *, UINT *) override {
    return E_NOTIMPL;
  }

 protected:
  virtual ~Object() { --moduleUses; }

  // Looks an interface up in the table of those that the object answers besides IUnknown and
  // IDispatch; null when it is not there.
  virtual IUnknown *interfaceOf(REFIID identity) = 0;
  IUnknown *find(REFIID identity, std::initializer_list<InterfaceEntry> table) {
    if (identity == IID_IUnknown || identity == IID_IDispatch) return static_cast<First *>(this);
    for (const InterfaceEntry &entry : table) {
      if (identity == entry.identity) return entry.object;
    }
    return nullptr;
  }

 private:
  std::atomic<ULONG> references_{1};
};

// The position from 0 that a 1-based index means; a very large one when it is none.
inline std::size_t positionFrom(const VARIANT &index) {
  const bool isNumber = index.vt == VT_I4 || index.vt == VT_INT;
  return isNumber ? static_cast<std::size_t>(index.lVal) - 1 : SIZE_MAX;
}

// One reference to an object.
template <typename T>
class Reference {
 public:
  Reference() = default;
  // Takes a reference over.
  explicit Reference(T *object) : object_(object) {}
  Reference(Reference &&other) noexcept : object_(std::exchange(other.object_, nullptr)) {}
  Reference &operator=(Reference &&other) noexcept {
    std::swap(object_, other.object_);
    return *this;
  }
  ~Reference() {
    if (object_ != nullptr) object_->Release();
  }

  T *get() const { return object_; }
  T *operator->() const { return object_; }
  // A further reference, for an out parameter.
  T *share() const {
    object_->AddRef();
    return object_;
  }
  // Gives the reference away.
  T *detach() { return std::exchange(object_, nullptr); }

 private:
  T *object_ = nullptr;
};

}  // namespace zk::component
