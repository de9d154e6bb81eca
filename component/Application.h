// The application component: files as they are on disk, the configuration directory, INI files and
// translations.
#pragma once

#include "component/IniCache.h"
#include "component/Object.h"
#include "component/Translator.h"

namespace zk::component {

class Application final : public Object<IZkApplication, IZkConfigurationDirectory,
                                        IZkConfigurationCache, IZkTranslator> {
 public:
  // There is one as long as somebody uses it, so that all users share what it remembers. The caller
  // gets a reference. Throws std::bad_alloc.
  static Application *get();

  HRESULT STDMETHODCALLTYPE FileExists(BSTR path, VARIANT_BOOL *result) override;
  HRESULT STDMETHODCALLTYPE DirectoryExists(BSTR path, VARIANT_BOOL *result) override;
  HRESULT STDMETHODCALLTYPE Revalidate(BSTR path) override;

  HRESULT STDMETHODCALLTYPE GetDirectory(BSTR *result) override;

  HRESULT STDMETHODCALLTYPE GetValue(BSTR file, BSTR group, BSTR name, VARIANT_BOOL expand,
                                     BSTR *result) override;
  HRESULT STDMETHODCALLTYPE SetValue(BSTR file, BSTR group, BSTR name, BSTR value,
                                     int16_t *result) override;
  HRESULT STDMETHODCALLTYPE GetGroup(BSTR file, BSTR group, IZkVariablesList **result) override;
  HRESULT STDMETHODCALLTYPE AddGroup(BSTR file, BSTR group) override;
  HRESULT STDMETHODCALLTYPE RemoveGroup(BSTR file, BSTR group) override;
  HRESULT STDMETHODCALLTYPE ListGroups(BSTR file, IZkVariablesList **result) override;
  HRESULT STDMETHODCALLTYPE Reload(BSTR file, int16_t *result) override;
  HRESULT STDMETHODCALLTYPE Reset() override;
  HRESULT STDMETHODCALLTYPE View() override;

  HRESULT STDMETHODCALLTYPE GetLanguage(BSTR *result) override;
  HRESULT STDMETHODCALLTYPE Translate(BSTR text, BSTR messageId, LONG layout,
                                      BSTR *result) override;

 private:
  Application() = default;
  ~Application() override;
  IUnknown *interfaceOf(REFIID identity) override;

  IniCache files_;
  Translator translator_;
};

}  // namespace zk::component
