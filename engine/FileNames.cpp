#include "engine/FileNames.h"

#include <cstddef>

namespace zk::engine {
namespace {

// Where the extension's "." stands; npos when there is none.
std::size_t extensionAt(const base::String &name) {
  const std::size_t separator = name.find_last_of("\\/:");
  const std::size_t dot = name.rfind('.');
  const bool inName =
      dot != base::String::npos && (separator == base::String::npos || dot > separator);
  return inName ? dot : base::String::npos;
}

bool hasLowerCase(const base::String &name, std::size_t from) {
  for (std::size_t i = from; i < name.size(); ++i) {
    if (name[i] >= 'a' && name[i] <= 'z') return true;
  }
  return false;
}

}  // namespace

base::String withDefaultExtension(const char *name, const char *extension) {
  base::String result(name);
  if (extensionAt(result) == base::String::npos) {
    result += '.';
    result += extension;
  }
  return result;
}

base::String companionName(const char *tableName, const char *extension) {
  base::String result(tableName);
  const std::size_t dot = extensionAt(result);
  const bool lower = dot != base::String::npos && hasLowerCase(result, dot);
  if (dot != base::String::npos) result.resize(dot);
  result += '.';
  for (const char *p = extension; *p != '\0'; ++p) {
    result += lower ? static_cast<char>(*p - 'A' + 'a') : *p;
  }
  return result;
}

std::string_view baseName(std::string_view path) noexcept {
  const std::size_t separator = path.find_last_of("\\/:");
  if (separator != std::string_view::npos) path.remove_prefix(separator + 1);
  return path.substr(0, path.rfind('.'));
}

}  // namespace zk::engine
