#include "zk/bridge.h"

#include <cstddef>

#include "SRC/Msg.h"
#include "SRC/MsgLayout.h"
#include "SRC/Sys.h"
#include "base/Guard.h"
#include "platform/FileSystem.h"
#include "platform/Forward.h"
#include "platform/Module.h"
#include "platform/Path.h"
#include "platform/Process.h"
#include "platform/System.h"

namespace zk {
namespace {

using base::String;
using platform::Module;
using platform::ModuleFunction;

constexpr const char *kDialogLibrary = "ZK_DLGLIB";
constexpr const char *kHelpLibrary = "ZK_HELPLIB";

enum Sibling { kDialogs, kHelp };

// In the order in which the forwarding functions are made.
struct Entry {
  const char *name;
  Sibling sibling;
  ModuleFunction target;  // of the last call
};
Entry entries[] = {
#define ZK_ENTRY(sibling, name) {#name, sibling, nullptr},
#include "SRC/BridgeEntries.inc"
#undef ZK_ENTRY
};
constexpr std::size_t kAlertEntry = 0;

struct Text {
  const char *english;
  const char *key;
};
struct Failure {
  Text lines[3];
  Text caption;
};
// By sibling.
constexpr Failure kFailures[] = {
    {{{"Unable to load the Tovik MFC Interface library", "TOOL_1608"},
      {"The most likely cause is that the correct MFC DLL does not exist in your system area",
       "TOOL"},
      {"Please check the installation of this product from the Tovik distribution disk.",
       "TOOL_1610"}},
     {"MFC Interface Error", "TOOL_1611"}},
    {{{"Unable to load the Tovik help Interface library", "TOOL_1588"},
      {"The most likely cause is that Microsoft Internet Explorer is not loaded.", "TOOL_1589"},
      {"Please install Microsoft Internet Explorer 4.0x from the Tovik distribution disk.",
       "TOOL_1590"}},
     {"Help Library Error", "TOOL_1591"}}};

using TellFn = void (*)(const char *caption, const char *text);

String shown(const Text &text) { return message(text.english, text.key, kPlainLayout); }

// Without memory the first line is told, in English.
void tell(Sibling sibling, TellFn tellUser) noexcept {
  // Whoever shows the message may try the same library for that.
  static bool telling[2];
  if (telling[sibling]) return;
  telling[sibling] = true;
  const Failure &failure = kFailures[sibling];
  String text;
  String caption;
  const bool composed = base::guarded(false, [&] {
    for (const Text &line : failure.lines) {
      if (!text.empty()) text += '\n';
      text += shown(line);
    }
    caption = shown(failure.caption);
    return true;
  });
  if (composed) {
    tellUser(caption.c_str(), text.c_str());
  } else {
    tellUser(failure.caption.english, failure.lines[0].english);
  }
  telling[sibling] = false;
}

// A module that the process has loaded, or the file in the directory of programs, or one that the
// system finds.
Module findSibling(const char *name) noexcept {
  const Module loaded = platform::findModule(name);
  if (loaded != nullptr) return loaded;
  return base::guarded<Module>(nullptr, [name] {
    const String file = String(name) + platform::kModuleExtension;
    const String path = platform::nativePath((binDirectory() + file).c_str());
    const bool found = platform::pathKind(path.c_str()) == platform::PathKind::kFile;
    return platform::loadModule((found ? path : file).c_str());
  });
}

ModuleFunction findTarget(Entry &entry, Module sibling) noexcept {
  entry.target = platform::moduleFunction(sibling, entry.name);
  return entry.target;
}

ModuleFunction dialogFunction(Entry &entry) noexcept {
  const Module dialogs = findSibling(kDialogLibrary);
  if (dialogs == nullptr) tell(kDialogs, platform::showStopMessage);
  return findTarget(entry, dialogs);
}

void alertUser(const char *caption, const char *text) {
  using AlertFn = intptr_t(ZK_CALL *)(const char *, const char *);
  const auto alert = reinterpret_cast<AlertFn>(dialogFunction(entries[kAlertEntry]));
  if (alert != nullptr) alert(text, caption);
}

ModuleFunction helpFunction(Entry &entry) noexcept {
  Module help = findSibling(kHelpLibrary);
  if (help != nullptr && !platform::canShowHelp()) help = nullptr;
  if (help == nullptr) tell(kHelp, alertUser);
  return findTarget(entry, help);
}

}  // namespace
}  // namespace zk

zk::platform::ModuleFunction zk_forwardTarget(uint32_t number) noexcept {
  zk::Entry &entry = zk::entries[number];
  return entry.sibling == zk::kHelp ? zk::helpFunction(entry) : zk::dialogFunction(entry);
}
