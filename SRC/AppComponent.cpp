#include "SRC/AppComponent.h"

#include <cstdint>

namespace zk {
namespace {

// Lies beside this library when its class is not registered.
constexpr const char *kComponentFile = "JNApplication2";

// Plain pointers: no destructor may run when the library is unloaded, as the host's COM and
// allocator may be gone by then.
struct Component {
  bool tried = false;
  IUnknown *object = nullptr;
};
Component component;

IUnknown *componentObject() {
  if (!component.tried) {
    // Before the call: a component that uses the library while it is made finds none, not itself.
    component.tried = true;
    IUnknown *object = nullptr;
    if (SUCCEEDED(platform::createObject(ZK_CLSID_APPLICATION, kComponentFile, &object))) {
      component.object = object;
    }
  }
  return component.object;
}

template <typename Interface>
ComPtr<Interface> componentInterface(const GUID &identity) {
  IUnknown *object = componentObject();
  if (object == nullptr) return {};
  return queryInterface<Interface>(object, identity);
}

using Question = HRESULT (STDMETHODCALLTYPE IZkApplication::*)(BSTR, VARIANT_BOOL *);

std::optional<bool> ask(Question question, const char *path) {
  const auto application = componentInterface<IZkApplication>(ZK_IID_APPLICATION);
  const Bstr name(path);
  if (!application || !name.ok()) return std::nullopt;
  // Components answer with two, four or eight bytes.
  std::int64_t answer = 0;
  const HRESULT status =
      (application.get()->*question)(name.get(), reinterpret_cast<VARIANT_BOOL *>(&answer));
  if (FAILED(reportComError(status))) return std::nullopt;
  return answer != 0;
}

}  // namespace

std::optional<bool> componentFileExists(const char *path) noexcept {
  return ask(&IZkApplication::FileExists, path);
}

std::optional<bool> componentDirectoryExists(const char *path) noexcept {
  return ask(&IZkApplication::DirectoryExists, path);
}

bool revalidatePath(const char *path) noexcept {
  const auto application = componentInterface<IZkApplication>(ZK_IID_APPLICATION);
  const Bstr name(path);
  return application && name.ok() && SUCCEEDED(reportComError(application->Revalidate(name.get())));
}

base::String configurationDirectory() noexcept {
  try {
    const auto configuration =
        componentInterface<IZkConfigurationDirectory>(ZK_IID_CONFIGURATION_DIRECTORY);
    Bstr directory;
    if (!configuration || FAILED(reportComError(configuration->GetDirectory(directory.out())))) {
      return {};
    }
    return directory.text();
  } catch (const std::bad_alloc &) {
    return {};
  }
}

ComPtr<IZkConfigurationCache> configurationCache() noexcept {
  return componentInterface<IZkConfigurationCache>(ZK_IID_CONFIGURATION_CACHE);
}

ComPtr<IZkTranslator> translator() noexcept {
  return componentInterface<IZkTranslator>(ZK_IID_TRANSLATOR);
}

void releaseComponent() noexcept {
  IUnknown *object = component.object;
  component = {};
  if (object != nullptr) object->Release();
}

}  // namespace zk
