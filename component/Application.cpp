#include "component/Application.h"

#include <algorithm>
#include <cstdio>
#include <optional>

#include "component/VariablesList.h"
#include "zk/alias.h"

namespace zk::component {
namespace {

namespace fs = std::filesystem;

Application *theApplication = nullptr;

std::string textOf(BSTR text) { return toText(wideView(text)); }

std::string fileNameOf(const std::string &path) {
  return path.substr(path.find_last_of("/\\:") + 1);
}

// As zk_Ini_getValue expands.
std::string expanded(const std::string &text) {
  constexpr std::size_t kLongestAlias = 256;
  const auto signs = static_cast<std::size_t>(std::count(text.begin(), text.end(), '%'));
  std::string result(text.size() + signs * kLongestAlias + 1, '\0');
  zk_Alias_expandStr(result.data(), text.c_str());
  return result.c_str();
}

VARIANT_BOOL answer(bool yes) { return yes ? VARIANT_TRUE : VARIANT_FALSE; }

bool isFile(const Path &path) {
  std::error_code failed;
  const auto status = fs::status(path, failed);
  return fs::exists(status) && !fs::is_directory(status);
}

bool isDirectory(const Path &path) {
  std::error_code failed;
  // A separator at the end is not every system's taste.
  const bool ended = !path.has_filename() && path.has_relative_path();
  return fs::is_directory(ended ? path.parent_path() : path, failed);
}

// There already or made now.
bool isUsable(const Path &directory) {
  if (directory.empty()) return false;
  std::error_code failed;
  fs::create_directories(directory, failed);
  return isDirectory(directory);
}

Path configurationDirectory() {
  if (Path chosen = environmentPath("ZK_CONFIG_DIR"); !chosen.empty()) return chosen;
  if (Path own = userConfigurationDirectory(); isUsable(own)) return own;
  return componentDirectory();
}

}  // namespace

Application *Application::get() {
  if (theApplication == nullptr) return theApplication = new Application;
  theApplication->AddRef();
  return theApplication;
}

Application::~Application() { theApplication = nullptr; }

IUnknown *Application::interfaceOf(REFIID identity) {
  return find(identity,
              {{ZK_IID_APPLICATION, static_cast<IZkApplication *>(this)},
               {ZK_IID_CONFIGURATION_DIRECTORY, static_cast<IZkConfigurationDirectory *>(this)},
               {ZK_IID_CONFIGURATION_CACHE, static_cast<IZkConfigurationCache *>(this)},
               {ZK_IID_TRANSLATOR, static_cast<IZkTranslator *>(this)}});
}

// ---- Files and directories: nothing is remembered

HRESULT Application::FileExists(BSTR path, VARIANT_BOOL *result) {
  return guarded(result, [&] {
    *result = answer(isFile(nativePath(path)));
    return S_OK;
  });
}

HRESULT Application::DirectoryExists(BSTR path, VARIANT_BOOL *result) {
  return guarded(result, [&] {
    *result = answer(isDirectory(nativePath(path)));
    return S_OK;
  });
}

HRESULT Application::Revalidate(BSTR path) {
  return guarded([&] {
    const Path changed = nativePath(path);
    files_.forget(changed);
    if (isDirectory(changed)) {
      translator_.forgetAll();
    } else {
      translator_.forget(fileNameOf(textOf(path)));
    }
    return S_OK;
  });
}

HRESULT Application::GetDirectory(BSTR *result) {
  return guarded(result, [&] {
    *result = newBstr(PathView(configurationDirectory().native()));
    return S_OK;
  });
}

// ---- INI files

HRESULT Application::GetValue(BSTR file, BSTR group, BSTR name, VARIANT_BOOL expand, BSTR *result) {
  return guarded(result, [&] {
    const IniFile *ini = files_.find(nativePath(file));
    const IniFile::Group *found = ini != nullptr ? ini->group(textOf(group)) : nullptr;
    const auto *variable = found != nullptr ? found->variable(textOf(name)) : nullptr;
    if (variable == nullptr) return S_OK;
    // A copy: the library may ask for settings itself while it expands.
    const std::string value = variable->value;
    *result = newBstr(expand != VARIANT_FALSE ? expanded(value) : value);
    return S_OK;
  });
}

HRESULT Application::SetValue(BSTR file, BSTR group, BSTR name, BSTR value, int16_t *result) {
  return guarded(result, [&] {
    const std::string groupName = textOf(group);
    const std::string variableName = textOf(name);
    const std::string text = textOf(value);
    if (!IniFile::isGroupName(groupName) || !IniFile::isVariable(variableName, text)) return S_OK;
    const auto set = [&](const IniFile &ini) -> std::optional<std::string> {
      const IniFile::Group *found = ini.group(groupName);
      const auto *variable = found != nullptr ? found->variable(variableName) : nullptr;
      if (variable != nullptr && variable->value == text) return std::nullopt;
      return ini.with(groupName, variableName, text);
    };
    *result = files_.change(nativePath(file), set) ? 1 : 0;
    return S_OK;
  });
}

HRESULT Application::GetGroup(BSTR file, BSTR group, IZkVariablesList **result) {
  return guarded(result, [&] {
    const IniFile *ini = files_.find(nativePath(file));
    const IniFile::Group *found = ini != nullptr ? ini->group(textOf(group)) : nullptr;
    if (found == nullptr) return S_OK;
    Reference list(new VariablesList);
    for (const IniFile::Variable &variable : found->variables) {
      list->append(variable.name).setText(newBstr(variable.value));
    }
    *result = list.detach();
    return S_OK;
  });
}

HRESULT Application::AddGroup(BSTR file, BSTR group) {
  return guarded([&] {
    const std::string name = textOf(group);
    if (!IniFile::isGroupName(name)) return E_INVALIDARG;
    const auto add = [&](const IniFile &ini) -> std::optional<std::string> {
      if (ini.group(name) != nullptr) return std::nullopt;
      return ini.withGroup(name);
    };
    return files_.change(nativePath(file), add) ? S_OK : E_FAIL;
  });
}

HRESULT Application::RemoveGroup(BSTR file, BSTR group) {
  return guarded([&] {
    const Path path = nativePath(file);
    const std::string name = textOf(group);
    bool removed = false;
    const auto remove = [&](const IniFile &ini) -> std::optional<std::string> {
      removed = ini.group(name) != nullptr;
      if (!removed) return std::nullopt;
      return ini.withoutGroup(name);
    };
    if (files_.find(path) == nullptr) return S_FALSE;
    if (!files_.change(path, remove)) return E_FAIL;
    return removed ? S_OK : S_FALSE;
  });
}

HRESULT Application::ListGroups(BSTR file, IZkVariablesList **result) {
  return guarded(result, [&] {
    const IniFile *ini = files_.find(nativePath(file));
    if (ini == nullptr) return S_OK;
    Reference list(new VariablesList);
    for (const IniFile::Group &group : ini->groups()) {
      // Of groups of one name the first counts.
      if (ini->group(group.name) == &group) list->append(group.name);
    }
    *result = list.detach();
    return S_OK;
  });
}

HRESULT Application::Reload(BSTR file, int16_t *result) {
  return guarded(result, [&] {
    const Path path = nativePath(file);
    files_.forget(path);
    *result = files_.find(path) != nullptr ? 1 : 0;
    return S_OK;
  });
}

HRESULT Application::Reset() {
  return guarded([&] {
    files_.clear();
    return S_OK;
  });
}

HRESULT Application::View() {
  return guarded([&] {
    for (const auto &[path, entry] : files_.entries()) {
      std::printf("%s\n", Path(path).string().c_str());
      for (const IniFile::Group &group : entry.file.groups()) {
        std::printf("  [%s] %zu\n", group.name.c_str(), group.variables.size());
      }
    }
    std::fflush(stdout);
    return S_OK;
  });
}

// ---- Translations

HRESULT Application::GetLanguage(BSTR *result) {
  return guarded(result, [&] {
    *result = newBstr(translator_.language());
    return S_OK;
  });
}

HRESULT Application::Translate(BSTR text, BSTR messageId, LONG layout, BSTR *result) {
  return guarded(result, [&] {
    const auto translation = translator_.translate(textOf(text), textOf(messageId), layout);
    if (translation) *result = newBstr(*translation);
    return S_OK;
  });
}

}  // namespace zk::component
