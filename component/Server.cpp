// What COM, or the library itself, calls in this module: the factories of its classes.
#include <cstddef>

#include "component/Application.h"
#include "component/FieldList.h"
#include "component/Object.h"
#include "component/VariablesList.h"

namespace zk::component {
namespace {

template <typename T>
IDispatch *make() {
  return new T;
}
IDispatch *getApplication() { return static_cast<IZkApplication *>(Application::get()); }

// Factories live as long as the module; references to them keep it loaded.
class Factory final : public IClassFactory {
 public:
  Factory(const GUID &classId, IDispatch *(*create)()) : classId_(classId), create_(create) {}

  const GUID &classId() const { return classId_; }

  HRESULT STDMETHODCALLTYPE QueryInterface(REFIID identity, void **object) override {
    if (object == nullptr) return E_POINTER;
    *object = nullptr;
    if (!(identity == IID_IUnknown) && !(identity == IID_IClassFactory)) return E_NOINTERFACE;
    *object = static_cast<IClassFactory *>(this);
    AddRef();
    return S_OK;
  }
  ULONG STDMETHODCALLTYPE AddRef() override {
    ++moduleUses;
    return 2;
  }
  ULONG STDMETHODCALLTYPE Release() override {
    --moduleUses;
    return 1;
  }

  HRESULT STDMETHODCALLTYPE CreateInstance(IUnknown *outer, REFIID identity,
                                           void **object) override {
    if (object == nullptr) return E_POINTER;
    *object = nullptr;
    if (outer != nullptr) return CLASS_E_NOAGGREGATION;
    return guarded([&] {
      const Reference<IDispatch> created(create_());
      return created->QueryInterface(identity, object);
    });
  }
  HRESULT STDMETHODCALLTYPE LockServer(BOOL lock) override {
    moduleUses += lock ? 1 : -1;
    return S_OK;
  }

 private:
  const GUID &classId_;
  IDispatch *(*const create_)();
};

Factory factories[] = {{ZK_CLSID_APPLICATION, getApplication},
                       {ZK_CLSID_VARIABLES_LIST, make<VariablesList>},
                       {ZK_CLSID_FIELD_LIST, make<FieldList>},
                       {ZK_CLSID_FIELD, make<Field>}};

}  // namespace
}  // namespace zk::component

extern "C" {

HRESULT STDAPICALLTYPE DllGetClassObject(REFCLSID classId, REFIID identity, void **factory) {
  if (factory == nullptr) return E_POINTER;
  *factory = nullptr;
  for (auto &candidate : zk::component::factories) {
    if (candidate.classId() == classId) return candidate.QueryInterface(identity, factory);
  }
  return CLASS_E_CLASSNOTAVAILABLE;
}

HRESULT STDAPICALLTYPE DllCanUnloadNow() { return zk::component::moduleUses == 0 ? S_OK : S_FALSE; }

}  // extern "C"
