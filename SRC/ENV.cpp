#include "zk/env.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <string_view>

#include "SRC/Env.h"
#include "SRC/Ini.h"
#include "SRC/IniLine.h"
#include "SRC/Str.h"
#include "SRC/StrList.h"
#include "SRC/Sys.h"
#include "base/Guard.h"
#include "platform/Profile.h"

namespace zk {
namespace {

using base::String;

constexpr const char *kConfigurationFile = "zk.ini";
constexpr const char *kGeneral = "GENERAL";

static_assert(kSettingLength == kIniValueLength);

// Session values and expanded texts have one character less than settings of zk.ini.
constexpr std::size_t kTextLength = 511;

char sessionBuffer[kTextLength + 1];
char profileBuffer[256];
char variableBuffer[kTextLength + 1];
char textBuffer[kTextLength + 1];

// ---- Session variables -------------------------------------------------------------------------

// Null before the first setting.
StrList *sessionVariables = nullptr;
bool applicationKeepsSession = false;

// The line of a variable; null when there is none.
LnkNode *findLine(std::string_view name) {
  LnkNode *line = sessionVariables != nullptr ? sessionVariables->first : nullptr;
  while (line != nullptr &&
         compareIgnoringCase(parseIniVariable(stringOf(*line)).name, trimmed(name)) != 0) {
    line = line->next;
  }
  return line;
}

void removeLine(LnkNode &line) {
  unlinkNode(*sessionVariables, line);
  releaseStringNode(static_cast<StrListNode *>(line.data));
  base::release(&line);
}

// False when memory is refused.
bool storeLine(LnkNode *line, const char *name, const char *value) {
  return base::guarded(false, [&] {
    const String text = String(name) + " = " + value;
    if (line == nullptr) return appendString(*sessionVariables, text);
    StrListNode *replaced = newStringNode(text);
    if (replaced == nullptr) return false;
    releaseStringNode(static_cast<StrListNode *>(line->data));
    line->data = replaced;
    return true;
  });
}

// ---- References --------------------------------------------------------------------------------

// A text of bounded length that is added to at its end.
struct BoundedText {
  void add(std::string_view more) {
    length += copyBounded(text + length, more, kTextLength - length);
  }
  char text[kTextLength + 1] = "";
  std::size_t length = 0;
};

// The value of a setting wherever it is; "" when it is nowhere. Throws std::bad_alloc.
void addSetting(BoundedText &out, std::string_view reference) {
  const String name(reference);
  SettingText value;
  if (sessionVariable(name.c_str(), value) || iniSetting(name.c_str(), value)) {
    out.add(value);
  } else if (const char *variable = std::getenv(name.c_str())) {
    out.add(variable);
  }
}

// Takes the reference that `rest` begins with, signs included, off it.
std::string_view takeReference(std::string_view &rest) {
  rest.remove_prefix(1);
  const std::size_t end = std::min(rest.find('%'), rest.size());
  const std::string_view name = rest.substr(0, end);
  rest.remove_prefix(std::min(end + 1, rest.size()));
  return name;
}

void addExpanded(BoundedText &out, std::string_view rest) {
  while (!rest.empty() && out.length < kTextLength) {
    const std::size_t plain = std::min(rest.find('%'), rest.size());
    out.add(rest.substr(0, plain));
    rest.remove_prefix(plain);
    if (rest.starts_with("%%")) {
      out.add("%");
      rest.remove_prefix(2);
    } else if (!rest.empty()) {
      const std::string_view name = takeReference(rest);
      if (!name.empty()) addSetting(out, name);
    }
  }
}

// Puts what `make` adds into a static buffer, or "" when memory is refused. The texts that it is
// made from may lie in that buffer.
template <typename Make>
const char *keepText(char *buffer, Make make) {
  BoundedText made;
  const bool done = base::guarded(false, [&] {
    make(made);
    return true;
  });
  copyBounded(buffer, done ? made.text : "", kTextLength);
  return buffer;
}

// Calls with the path of zk.ini, which the component may change at any time.
template <typename Result, typename Call>
Result onConfiguration(Result failure, Call call) {
  return base::guarded(
      failure, [&]() -> Result { return call(configurationFile(kConfigurationFile).c_str()); });
}

}  // namespace

bool sessionVariable(const char *name, SettingText &value) noexcept {
  const LnkNode *line = name != nullptr ? findLine(name) : nullptr;
  copyBounded(value, line != nullptr ? parseIniVariable(stringOf(*line)).value : "", kTextLength);
  return line != nullptr;
}

int setSessionVariable(const char *name, const char *value) noexcept {
  if (name == nullptr) return 0;
  if (sessionVariables == nullptr) sessionVariables = newList();
  if (sessionVariables == nullptr) return 0;
  LnkNode *line = findLine(name);
  const int isNew = line == nullptr;
  if (value != nullptr && *value != '\0') return storeLine(line, name, value) ? isNew : 0;
  if (line != nullptr) removeLine(*line);
  return isNew;
}

bool iniSetting(const char *name, SettingText &value) noexcept {
  const bool found = onConfiguration(false, [&](const char *file) {
    return iniValue(file, kGeneral, name, true, value, kSettingLength);
  });
  if (!found) *value = '\0';
  return found;
}

bool setIniSetting(const char *name, const char *value) noexcept {
  return onConfiguration(
      false, [&](const char *file) { return setIniValue(file, kGeneral, name, value); });
}

}  // namespace zk

using namespace zk;

ZK_EXTERN_C_BEGIN

// ---- Session variables

const char *ZK_CALL zk_Env_getSes(const char *name) {
  SettingText value;
  if (!sessionVariable(name, value)) return nullptr;
  copyBounded(sessionBuffer, value, kTextLength);
  return sessionBuffer;
}

const char *ZK_CALL zk_Env_getSesLocal(const char *name) { return zk_Env_getSes(name); }

int ZK_CALL zk_Env_setSes(const char *name, const char *value) {
  return setSessionVariable(name, value);
}

int ZK_CALL zk_Env_setSesLocal(const char *name, const char *value) {
  return setSessionVariable(name, value);
}

int ZK_CALL zk_Env_resetSes(void) {
  if (sessionVariables == nullptr) return 0;
  clearStringList(*sessionVariables);
  return 1;
}

int ZK_CALL zk_Env_resetSesLocal(void) { return zk_Env_resetSes(); }

StrList *ZK_CALL zk_Env_getSesList(void) {
  if (sessionVariables == nullptr) return nullptr;
  OwnedStringList copy(newList());
  for (const LnkNode *line = sessionVariables->first; line != nullptr; line = line->next) {
    if (copy == nullptr || !appendString(*copy, stringOf(*line))) return nullptr;
  }
  return copy.release();
}

int ZK_CALL zk_Env_setSesApp(void) {
  applicationKeepsSession = true;
  return 1;
}

// ---- zk.ini and other profile files

const char *ZK_CALL zk_Env_getIni(const char *group, const char *variable) {
  return onConfiguration<const char *>(
      nullptr, [&](const char *file) { return zk_Ini_get(file, group, variable); });
}

int ZK_CALL zk_Env_setIni(const char *group, const char *variable, const char *value) {
  return onConfiguration(
      1, [&](const char *file) { return zk_Ini_set(file, group, variable, value); });
}

FldList *ZK_CALL zk_Env_getIniGroup(const char *group) {
  return onConfiguration<FldList *>(nullptr,
                                    [&](const char *file) { return zk_Ini_getGroup(file, group); });
}

int ZK_CALL zk_Env_displayIniError(const char *group, const char *variable) {
  return onConfiguration(
      0, [&](const char *file) { return zk_Ini_displayError(file, group, variable); });
}

const char *ZK_CALL zk_Env_getWin(const char *file, const char *section, const char *key) {
  if (file == nullptr || section == nullptr || key == nullptr) return nullptr;
  char value[sizeof profileBuffer];
  platform::profileText(file, section, key, value, sizeof value);
  std::memcpy(profileBuffer, value, sizeof value);
  return *profileBuffer != '\0' ? profileBuffer : nullptr;
}

// ---- Texts

StrList *ZK_CALL zk_Env_split(const char *text) {
  return zk_StrList_fromDelimitedString(text, ";");
}

const char *ZK_CALL zk_Env_expandVar(const char *text, int32_t *position) {
  return keepText(variableBuffer, [&](BoundedText &out) {
    if (text == nullptr || position == nullptr || *position < 0) return;
    const std::string_view all(text);
    const auto start = static_cast<std::size_t>(*position);
    if (start >= all.size() || all[start] != '%') return;
    std::string_view rest = all.substr(start);
    const std::string_view name = takeReference(rest);
    *position = static_cast<int32_t>(all.size() - rest.size());
    if (!name.empty()) addSetting(out, name);
  });
}

const char *ZK_CALL zk_Env_expandStr(const char *text) {
  return keepText(textBuffer, [&](BoundedText &out) {
    if (text != nullptr) addExpanded(out, text);
  });
}

ZK_EXTERN_C_END
