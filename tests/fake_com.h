// COM objects for tests: reference counts that can be seen, IDispatch's methods unanswered.
#pragma once

#include <cstdint>
#include <string>

#include "zk_baselib.h"
#include "zk_component.h"

namespace support {

inline long liveComObjects = 0;  // of all kinds; 0 when every reference has been released

// The methods of IDispatch, which nobody calls.
template <typename Interface>
class UnansweredDispatch : public Interface {
 public:
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
};

// The methods of IUnknown as well, for one dual interface.
template <typename Interface>
class ComObject : public UnansweredDispatch<Interface> {
 public:
  explicit ComObject(const GUID &identity) : identity_(identity) { ++liveComObjects; }
  virtual ~ComObject() { --liveComObjects; }

  HRESULT STDMETHODCALLTYPE QueryInterface(REFIID identity, void **object) override {
    *object = nullptr;
    if (failQuery != S_OK) return failQuery;
    if (!(identity == IID_IUnknown) && !(identity == IID_IDispatch) && !(identity == identity_)) {
      return E_NOINTERFACE;
    }
    AddRef();
    *object = static_cast<Interface *>(this);
    return S_OK;
  }
  ULONG STDMETHODCALLTYPE AddRef() override { return ++references; }
  ULONG STDMETHODCALLTYPE Release() override {
    const ULONG left = --references;
    if (left == 0) delete this;
    return left;
  }

  ULONG references = 1;
  HRESULT failQuery = S_OK;  // what QueryInterface answers instead

 private:
  GUID identity_;
};

// Texts of tests are ASCII.
inline BSTR bstr(const std::string &text) {
  BSTR result = SysAllocStringLen(nullptr, static_cast<UINT>(text.size()));
  for (std::size_t i = 0; i < text.size(); ++i) {
    result[i] = static_cast<OLECHAR>(static_cast<unsigned char>(text[i]));
  }
  return result;
}
inline std::string text(BSTR from) {
  std::string result;
  for (UINT i = 0; i < SysStringLen(from); ++i) result += static_cast<char>(from[i]);
  return result;
}

// Makes objects of one class by a function, as long as it lives.
class RegisteredClass {
 public:
  using Make = IUnknown *(*)();
  RegisteredClass(const GUID &classId, Make make) : factory_(new Factory(make)) {
    registered_ = zk_Com_registerClass(&classId, factory_, &cookie_) == S_OK;
    factory_->Release();
  }
  ~RegisteredClass() {
    if (registered_) zk_Com_revokeClass(cookie_);
  }
  RegisteredClass(const RegisteredClass &) = delete;
  RegisteredClass &operator=(const RegisteredClass &) = delete;

 private:
  struct Factory : IClassFactory {
    explicit Factory(Make function) : make(function) { ++liveComObjects; }
    virtual ~Factory() { --liveComObjects; }
    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID identity, void **object) override {
      const bool known = identity == IID_IUnknown || identity == IID_IClassFactory;
      *object = known ? this : nullptr;
      if (known) AddRef();
      return known ? S_OK : E_NOINTERFACE;
    }
    ULONG STDMETHODCALLTYPE AddRef() override { return ++references; }
    ULONG STDMETHODCALLTYPE Release() override {
      const ULONG left = --references;
      if (left == 0) delete this;
      return left;
    }
    HRESULT STDMETHODCALLTYPE CreateInstance(IUnknown *outer, REFIID identity,
                                             void **object) override {
      if (outer != nullptr) return CLASS_E_NOAGGREGATION;
      IUnknown *made = make();
      if (made == nullptr) return E_FAIL;
      const HRESULT result = made->QueryInterface(identity, object);
      made->Release();
      return result;
    }
    HRESULT STDMETHODCALLTYPE LockServer(BOOL) override { return S_OK; }

    Make make;
    ULONG references = 1;
  };

  Factory *factory_;
  uint32_t cookie_ = 0;
  bool registered_ = false;
};

// A process without an application component, as long as it lives: its class is there, but makes
// none.
class NoComponent {
 public:
  NoComponent() { zk_Global_destroyData(); }
  ~NoComponent() { zk_Global_destroyData(); }
  NoComponent(const NoComponent &) = delete;
  NoComponent &operator=(const NoComponent &) = delete;

 private:
  RegisteredClass class_{ZK_CLSID_APPLICATION, []() -> IUnknown * { return nullptr; }};
};

}  // namespace support
