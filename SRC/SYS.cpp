#include "zk/sys.h"

#include <cstdio>

#include "SRC/AppComponent.h"
#include "SRC/Env.h"
#include "SRC/Fname.h"
#include "SRC/Msg.h"
#include "SRC/MsgLayout.h"
#include "SRC/Str.h"
#include "SRC/Sys.h"
#include "base/Guard.h"
#include "base/Number.h"
#include "platform/Directory.h"
#include "platform/Path.h"
#include "platform/Process.h"
#include "platform/Version.h"
#include "zk/dir.h"

namespace zk {
namespace {

using base::String;

constexpr int kSessions = 1000;
constexpr const char *kShowModeSelection = "ShowModeSelectionGUI";

char applicationGroup[kPathLength + 1];

bool isEmpty(const char *text) { return text == nullptr || *text == '\0'; }

// ---- Directories -------------------------------------------------------------------------------

// In lower case and with a separator at its end, unless it is empty.
String asDirectory(String path) {
  zk_Str_toLower(path.data(), path.c_str());
  if (!path.empty() && !isPathSeparator(path.back())) path += '\\';
  return path;
}

// Whether a value is read from the file alone, or also becomes the session variable.
enum class Remember { kNo, kYes };
bool findSetting(const char *name, Remember remember, SettingText &value) {
  if (sessionVariable(name, value)) return true;
  if (!iniSetting(name, value)) return false;
  if (remember == Remember::kYes) setSessionVariable(name, value);
  return true;
}

bool exists(const String &path) {
  return platform::pathExists(platform::nativePath(path.c_str()).c_str());
}

// Makes the first session directory of which nobody has the number yet. False when all are taken.
bool claimSession(const String &common, String &number) {
  zk_Dir_create(common.c_str());
  for (int32_t i = 1; i < kSessions; ++i) {
    char digits[12];
    number.assign(digits, base::formatInteger(digits, sizeof digits, i));
    const String native = platform::nativePath((common + number).c_str());
    // Who makes it has it: looking first would let two processes see the same number free.
    if (platform::createDirectory(native.c_str()) != platform::IoStatus::kExists) return true;
  }
  return false;
}

String sessionDirectory(const String &common) {
  SettingText known;
  String number;
  if (sessionVariable("JNSES", known)) {
    number = known;
  } else if (claimSession(common, number)) {
    setSessionVariable("JNSES", number.c_str());
  } else {
    return common;
  }
  const String directory = asDirectory(common + number);
  if (!exists(directory)) zk_Dir_create(directory.c_str());
  return directory;
}

String versionBinDirectory(const char *subDirectory) {
  String directory = binDirectory();
  SettingText version;
  if (sessionVariable("ACADVER", version)) {
    directory = asDirectory(directory + version);
    if (!exists(directory)) zk_Dir_create(directory.c_str());
  }
  if (!isEmpty(subDirectory)) directory = asDirectory(directory + subDirectory);
  return directory;
}

// Writes what `body` makes into a caller's buffer.
template <typename Body>
char *writePath(char *out, Body body) {
  if (out == nullptr) return nullptr;
  const bool done = base::guarded(false, [&] {
    copyBounded(out, body(), kPathLength);
    return true;
  });
  if (!done) *out = '\0';
  return out;
}

char *writeName(char *out, String (*directory)(), const char *name) {
  return writePath(out, [&] { return directory() + (name != nullptr ? name : ""); });
}

// ---- Processes ---------------------------------------------------------------------------------

// Without memory the English message alone is told.
void tellError(const char *english, const char *key, int error, char *out, int32_t size) {
  if (out == nullptr || size < 0) return;
  const auto capacity = static_cast<std::size_t>(size);
  copyBounded(out, english, capacity);
  base::guarded(false, [&] {
    String text = message(english, key, kPlainLayout);
    if (error != 0) (text += ' ') += platform::systemErrorText(error);
    copyBounded(out, text, capacity);
    return true;
  });
}

// ---- Products ----------------------------------------------------------------------------------

struct ProductSearch {
  const char *name;
  String version;
  bool found = false;
};

bool compareProduct(const char *name, const char *version, void *context) {
  auto &search = *static_cast<ProductSearch *>(context);
  if (compareIgnoringCase(name, search.name) != 0) return true;
  search.found = version != nullptr;
  if (search.found) search.version = version;
  return false;
}

}  // namespace

String netDirectory() {
  SettingText value;
  return findSetting("JN", Remember::kNo, value) ? asDirectory(value) : String();
}

String localDirectory() {
  SettingText value;
  return findSetting("JNWS", Remember::kNo, value) ? asDirectory(value) : netDirectory();
}

String specDirectory(const char *subDirectory) {
  SettingText value;
  String directory;
  if (findSetting("JNSPECS", Remember::kYes, value)) {
    directory = asDirectory(value);
  } else {
    directory = netDirectory() + "specs";
    setSessionVariable("JNSPECS", directory.c_str());
    directory = asDirectory(directory);
  }
  if (!isEmpty(subDirectory)) directory = asDirectory(directory + subDirectory);
  return directory;
}

String binDirectory() {
  SettingText value;
  const bool found = iniSetting("ZK_DEV_BIN_DIR", value) || iniSetting("ZK_BIN_DIR", value);
  return asDirectory(found ? String(value) : netDirectory() + "bin");
}

String tempDirectory(bool perSession) {
  SettingText value;
  const bool found = findSetting("JNTMP", Remember::kYes, value);
  const String common = asDirectory(found ? String(value) : localDirectory() + "jntmp");
  return perSession ? sessionDirectory(common) : common;
}

String cfgDirectory() { return asDirectory(configurationDirectory()); }

String configurationFile(const char *name) { return cfgDirectory() + name; }

}  // namespace zk

using namespace zk;

char *zk_Sys_getNetDir(char *out) { return writePath(out, netDirectory); }

char *zk_Sys_getNetName(const char *name, char *out) { return writeName(out, netDirectory, name); }

char *zk_Sys_getLocalDir(char *out) { return writePath(out, localDirectory); }

char *zk_Sys_getLocalName(const char *name, char *out) {
  return writeName(out, localDirectory, name);
}

char *zk_Sys_getSpecDir(char *out, const char *subDir) {
  return writePath(out, [subDir] { return specDirectory(subDir); });
}

char *zk_Sys_getSpecName(const char *name, char *out) {
  return writeName(
      out, [] { return specDirectory(nullptr); }, name);
}

char *zk_Sys_getBinDir(char *out) { return writePath(out, binDirectory); }

char *zk_Sys_getBinName(const char *name, char *out) { return writeName(out, binDirectory, name); }

char *zk_Sys_getVersionBinName(const char *name, const char *subDir, char *out) {
  return writePath(out,
                   [&] { return versionBinDirectory(subDir) + (name != nullptr ? name : ""); });
}

char *zk_Sys_getTempDir(char *out, int perSession) {
  return writePath(out, [perSession] { return tempDirectory(perSession != 0); });
}

char *zk_Sys_getTempName(const char *name, char *out) {
  return writeName(
      out, [] { return tempDirectory(false); }, name);
}

char *zk_Sys_getCfgDir(char *out) { return writePath(out, cfgDirectory); }

char *zk_Sys_getCfgName(const char *name, char *out) { return writeName(out, cfgDirectory, name); }

int zk_Sys_createProcess(const char *program, const char *arguments, int wait, char *errorText,
                         int32_t errorTextSize) {
  platform::ProcessStart start;
  const bool tried = base::guarded(false, [&] {
    start = platform::startProcess(program != nullptr ? program : "", arguments, wait != 0);
    return true;
  });
  if (!tried || start.error != 0) {
    tellError("Unable to start the new process:", "TOOL", start.error, errorText, errorTextSize);
    return 0;
  }
  if (start.closeError != 0) {
    tellError("Unable to close the process handle", "TOOL_1905", start.closeError, errorText,
              errorTextSize);
  }
  return 1;
}

const char *zk_Sys_getVersionNumber(const char *module) {
  static char result[32];
  if (isEmpty(module)) return nullptr;
  return base::guarded<const char *>(nullptr, [module]() -> const char * {
    uint16_t parts[4];
    if (!platform::moduleFileVersion(module, parts)) return nullptr;
    // Signed, so that 40000 is -25536. That is meant.
    const auto part = [&parts](int i) { return static_cast<int16_t>(parts[i]); };
    std::snprintf(result, sizeof result, "%02hd.%02hd.%02hd.%02hd", part(0), part(1), part(2),
                  part(3));
    return result;
  });
}

const char *zk_Sys_getProductVersion(const char *displayName) {
  static char result[kPathLength + 1];
  if (isEmpty(displayName)) return nullptr;
  return base::guarded<const char *>(nullptr, [displayName]() -> const char * {
    ProductSearch search{displayName, {}};
    platform::visitProducts(compareProduct, &search);
    if (!search.found) return nullptr;
    copyBounded(result, search.version, kPathLength);
    return result;
  });
}

int zk_Sys_getShowModeSelectGUI(void) {
  SettingText value;
  return iniSetting(kShowModeSelection, value) ? base::toInt32(value) : 0;
}

int zk_Sys_setShowModeSelectGUI(int show) {
  char digits[12];
  digits[base::formatInteger(digits, sizeof digits - 1, show)] = '\0';
  return setIniSetting(kShowModeSelection, digits) ? 1 : 0;
}

int zk_Sys_setApplicationGroup(const char *name) {
  copyBounded(applicationGroup, name != nullptr ? name : "", kPathLength);
  return 1;
}

const char *zk_Sys_getApplicationGroup(void) { return applicationGroup; }
