// INI files through the component's configuration cache.
#include "zk/ini.h"

#include <algorithm>
#include <cstring>

#include "SRC/Alias.h"
#include "SRC/AppComponent.h"
#include "SRC/Ini.h"
#include "SRC/Str.h"
#include "SRC/StrList.h"
#include "base/Guard.h"
#include "base/Number.h"
#include "zk/file.h"

namespace zk {
namespace {

constexpr std::size_t kLongestValue = 4096;
constexpr std::size_t kVerifiedLength = 1024;
constexpr int32_t kFieldLength = 512;

char valueBuffer[kLongestValue + 1];
char suffixBuffer[16];

bool succeeded(HRESULT result) { return SUCCEEDED(reportComError(result)); }

// ---- Calls of the cache ------------------------------------------------------------------------

// Calls a method with texts before its own arguments. False without a component, for a null text,
// and when the call fails.
template <typename Call, typename... Text>
bool callCache(Call call, const Text *...text) {
  const auto cache = configurationCache();
  return cache && [&](const auto &...argument) {
    return (argument.ok() && ...) && succeeded(call(*cache.get(), argument.get()...));
  }(Bstr(text)...);
}

// The value as the cache has it; "" when there is none. Throws std::bad_alloc.
base::String cachedValue(const char *file, const char *group, const char *variable) {
  Bstr value;
  callCache(
      [&](IZkConfigurationCache &cache, BSTR fileName, BSTR groupName, BSTR name) {
        return cache.GetValue(fileName, groupName, name, VARIANT_FALSE, value.out());
      },
      file, group, variable);
  return value.text();
}

// iniValue, except that it throws std::bad_alloc and then leaves `value` alone.
bool readValue(const char *file, const char *group, const char *variable, bool expand, char *value,
               std::size_t capacity) {
  const base::String text = cachedValue(file, group, variable);
  if (expand) {
    expandAliases(value, capacity, text.c_str());
  } else {
    copyBounded(value, text, capacity);
  }
  zk_Str_rlb(value);
  return *value != '\0';
}

bool addGroup(const char *file, const char *group) {
  return callCache([](IZkConfigurationCache &cache, BSTR fileName,
                      BSTR groupName) { return cache.AddGroup(fileName, groupName); },
                   file, group);
}

// `result` says whether the call removed something or, with S_FALSE, found nothing to remove.
bool removeGroup(const char *file, const char *group, HRESULT &result) {
  return callCache([&](IZkConfigurationCache &cache, BSTR fileName,
                       BSTR groupName) { return result = cache.RemoveGroup(fileName, groupName); },
                   file, group);
}

bool setVariables(const char *file, const char *group, const FldList &list) {
  bool all = true;
  forEachIniVariable(list, [&](const char *name, const char *text) {
    all = setIniValue(file, group, name, text) && all;
  });
  return all;
}

// zk_Ini_setGroup once the file is known to be writable. Throws std::bad_alloc, so that memory
// refused is not taken for a variable that does not exist.
int setFields(const char *file, const char *group, const FldList &list, bool updateOnly) {
  // Each field overwrites the result of those before it, failures included. That is meant.
  int result = 1;
  for (const LnkNode *node = list.first; node != nullptr; node = node->next) {
    const FldNode *field = fieldOf(node);
    if (field == nullptr || field->name == nullptr) {
      result = 0;
      continue;
    }
    char text[kFieldLength + 1];
    if (updateOnly && !readValue(file, group, field->name, true, text, kIniValueLength)) continue;
    *text = '\0';
    result = readText(*field, text, kFieldLength);
    const bool isRead = result == ZK_FLD_OK || result == ZK_FLD_WRONG_TYPE;
    if (isRead && !setIniValue(file, group, field->name, text)) result = 0;
  }
  return result;
}

// ---- Lists that the cache hands out ------------------------------------------------------------

using VariablesList = ComPtr<IZkVariablesList>;

// 0 without a list, -1 when the call fails.
LONG countOf(const VariablesList &list) {
  LONG count = 0;
  return !list || succeeded(list->Count(&count)) ? count : -1;
}

base::String nameOf(const ComPtr<IZkVariablesItem> &item) {
  Bstr name;
  return succeeded(item->GetName(name.out())) ? name.text() : base::String();
}

base::String valueOf(const ComPtr<IZkVariablesItem> &item) {
  Variant value;
  return succeeded(item->GetValue(value.out())) ? value.text() : base::String();
}

// ---- Groups as field lists ---------------------------------------------------------------------

enum class EmptyValues { kLeaveOut, kKeep };

// The text with aliases replaced, however long it gets.
base::String expanded(const base::String &text) {
  constexpr std::size_t kLongestAlias = 256;
  const auto signs = static_cast<std::size_t>(std::count(text.begin(), text.end(), '%'));
  base::String result(text.size() + signs / 2 * kLongestAlias, '\0');
  expandAliases(result.data(), result.size(), text.c_str());
  result.resize(std::strlen(result.c_str()));
  return result;
}

FldList *readGroup(const char *file, const char *group, bool expand, EmptyValues emptyValues) {
  VariablesList variables;
  callCache([&](IZkConfigurationCache &cache, BSTR fileName,
                BSTR groupName) { return cache.GetGroup(fileName, groupName, variables.out()); },
            file, group);
  const LONG count = countOf(variables);
  if (count <= 0) return nullptr;

  OwnedFieldList list(newList());
  for (LONG i = 1; i <= count; ++i) {
    const auto item = itemAt(*variables.get(), i);
    if (!item || !list) return nullptr;
    const base::String name = nameOf(item);
    base::String value = valueOf(item);
    if (expand) value = expanded(value);
    if (name.empty() || (value.empty() && emptyValues == EmptyValues::kLeaveOut)) continue;
    const NewValue text = textValue(ZK_FLD_CHAR, value.c_str());
    if (appendField(list.get(), name.c_str(), text) != ZK_FLD_OK) return nullptr;
  }
  return list.release();
}

FldList *getGroup(const char *file, const char *group, bool expand, EmptyValues emptyValues) {
  return base::guarded<FldList *>(nullptr,
                                  [&] { return readGroup(file, group, expand, emptyValues); });
}

// ---- Group names -------------------------------------------------------------------------------

bool beginsWith(std::string_view name, std::string_view prefix) {
  return name.size() >= prefix.size() &&
         compareIgnoringCase(name.substr(0, prefix.size()), prefix) == 0;
}

// Calls visit(name) for every group that begins with the prefix. False when the search failed, and
// when `visit` did. Throws std::bad_alloc.
template <typename Visit>
bool forEachGroup(const char *file, const char *prefix, Visit visit) {
  VariablesList groups;
  const auto listGroups = [&](IZkConfigurationCache &cache, BSTR fileName) {
    return cache.ListGroups(fileName, groups.out());
  };
  if (prefix == nullptr || !callCache(listGroups, file)) return false;
  const LONG count = countOf(groups);
  if (count < 0) return false;
  for (LONG i = 1; i <= count; ++i) {
    const auto item = itemAt(*groups.get(), i);
    if (!item) return false;
    const base::String name = nameOf(item);
    if (beginsWith(name, prefix) && !visit(name.c_str())) return false;
  }
  return true;
}

StrList *findGroups(const char *file, const char *prefix) {
  OwnedStringList names;
  const bool found = forEachGroup(file, prefix, [&](const char *name) {
    if (names == nullptr) names.reset(newList());
    return names != nullptr && appendString(*names, name);
  });
  return found ? names.release() : nullptr;
}

// False when the search failed.
bool nextSuffix(const char *file, const char *prefix, int64_t &next) {
  bool any = false;
  next = 0;
  return forEachGroup(file, prefix, [&](const char *name) {
    const int64_t following = int64_t{base::toInt32(zk_Ini_getGroupNameSuffix(name))} + 1;
    next = any ? std::max(next, following) : following;
    return any = true;
  });
}

}  // namespace

bool iniValue(const char *file, const char *group, const char *variable, bool expand, char *value,
              std::size_t capacity) noexcept {
  const bool found = base::guarded(
      false, [&] { return readValue(file, group, variable, expand, value, capacity); });
  if (!found) *value = '\0';
  return found;
}

bool setIniValue(const char *file, const char *group, const char *variable,
                 const char *value) noexcept {
  int16_t stored = 0;
  const auto setValue = [&](IZkConfigurationCache &cache, BSTR fileName, BSTR groupName, BSTR name,
                            BSTR text) {
    return cache.SetValue(fileName, groupName, name, text, &stored);
  };
  return callCache(setValue, file, group, variable, value) && stored != 0;
}

}  // namespace zk

using namespace zk;

ZK_EXTERN_C_BEGIN

// ---- Variables

const char *ZK_CALL zk_Ini_getValue(const char *file, const char *group, const char *variable,
                                    int expand, int32_t maxLength) {
  std::size_t length = kIniValueLength;
  if (expand == 0) {
    length = std::min(static_cast<std::size_t>(std::max(maxLength, int32_t{0})), kLongestValue);
  }
  return iniValue(file, group, variable, expand != 0, valueBuffer, length) ? valueBuffer : nullptr;
}

const char *ZK_CALL zk_Ini_get(const char *file, const char *group, const char *variable) {
  return zk_Ini_getValue(file, group, variable, 1, kIniValueLength);
}

const char *ZK_CALL zk_Ini_getAbsolute(const char *file, const char *group, const char *variable) {
  return zk_Ini_getValue(file, group, variable, 0, kIniValueLength);
}

int ZK_CALL zk_Ini_set(const char *file, const char *group, const char *variable,
                       const char *value) {
  return setIniValue(file, group, variable, value) ? 0 : 1;
}

int ZK_CALL zk_Ini_setAndVerify(const char *file, const char *group, const char *variable,
                                const char *value, int32_t *status) {
  const bool stored = setIniValue(file, group, variable, value);
  if (status != nullptr) *status = stored ? 0 : 1;
  char now[kVerifiedLength + 1];
  return iniValue(file, group, variable, false, now, kVerifiedLength) && value != nullptr &&
         compareIgnoringCase(now, value) == 0;
}

// ---- Groups

int ZK_CALL zk_Ini_setGroup(const char *file, const char *group, const FldList *list,
                            int updateOnly) {
  if (list == nullptr || zk_File_isWriteEnabled(file) == 0) return 0;
  return base::guarded(0, [&] { return setFields(file, group, *list, updateOnly != 0); });
}

FldList *ZK_CALL zk_Ini_getGroup(const char *file, const char *group) {
  return getGroup(file, group, true, EmptyValues::kLeaveOut);
}

FldList *ZK_CALL zk_Ini_getGroupWithNulls(const char *file, const char *group) {
  return getGroup(file, group, true, EmptyValues::kKeep);
}

FldList *ZK_CALL zk_Ini_getGroupAbsolute(const char *file, const char *group) {
  return getGroup(file, group, false, EmptyValues::kLeaveOut);
}

FldList *ZK_CALL zk_Ini_getGroupValues(const char *file, const char *group, int expand) {
  return getGroup(file, group, expand != 0, EmptyValues::kLeaveOut);
}

int ZK_CALL zk_Ini_setGroupEx(const char *file, const char *group, const FldList *list) {
  HRESULT removed = S_OK;
  return list != nullptr && removeGroup(file, group, removed) && addGroup(file, group) &&
         setVariables(file, group, *list);
}

int ZK_CALL zk_Ini_addGroup(const char *file, const char *group) { return addGroup(file, group); }

int ZK_CALL zk_Ini_updateGroup(const char *file, const char *group, const FldList *list) {
  return list != nullptr && addGroup(file, group) && setVariables(file, group, *list);
}

int ZK_CALL zk_Ini_removeGroup(const char *file, const char *group) {
  HRESULT removed = S_FALSE;
  return removeGroup(file, group, removed) && removed != S_FALSE;
}

StrList *ZK_CALL zk_Ini_findPrefixGroups(const char *file, const char *prefix) {
  return base::guarded<StrList *>(nullptr, [&] { return findGroups(file, prefix); });
}

StrList *ZK_CALL zk_Ini_findAllGroups(const char *file) {
  return zk_Ini_findPrefixGroups(file, "");
}

const char *ZK_CALL zk_Ini_getNextIncrSuffix(const char *file, const char *prefix) {
  int64_t next = 0;
  if (base::guarded(false, [&] { return nextSuffix(file, prefix, next); })) {
    suffixBuffer[base::formatInteger(suffixBuffer, sizeof suffixBuffer - 1, next)] = '\0';
  } else {
    // What an earlier result had behind its first digit stays. That is meant.
    suffixBuffer[0] = '0';
  }
  return suffixBuffer;
}

// ---- The cache

int ZK_CALL zk_Ini_reload(const char *file) {
  zk_File_revalidate(file);
  int16_t status = 0;
  const auto reload = [&](IZkConfigurationCache &cache, BSTR fileName) {
    return cache.Reload(fileName, &status);
  };
  return callCache(reload, file) ? status : 0;
}

int ZK_CALL zk_Ini_resetCache(void) {
  return callCache([](IZkConfigurationCache &cache) { return cache.Reset(); });
}

int ZK_CALL zk_Ini_viewCache(void) {
  return callCache([](IZkConfigurationCache &cache) { return cache.View(); });
}

ZK_EXTERN_C_END
