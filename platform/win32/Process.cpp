#include "platform/Process.h"

#include <windows.h>

#include <shellapi.h>

#include "platform/System.h"

namespace zk::platform {
namespace {

constexpr std::uint32_t kPollMicroseconds = 10000;

void waitForEnd(HANDLE process) {
  while (WaitForSingleObject(process, 0) == WAIT_TIMEOUT && waitMicroseconds(kPollMicroseconds)) {
  }
}

}  // namespace

ProcessStart startProcess(const char *program, const char *arguments, bool wait) {
  base::String commandLine = program;
  if (arguments != nullptr && *arguments != '\0') (commandLine += ' ') += arguments;
  STARTUPINFOA startup = {};
  startup.cb = sizeof startup;
  PROCESS_INFORMATION process;
  ProcessStart result;
  if (!CreateProcessA(nullptr, commandLine.data(), nullptr, nullptr, FALSE, 0, nullptr, nullptr,
                      &startup, &process)) {
    result.error = static_cast<int>(GetLastError());
    return result;
  }
  CloseHandle(process.hThread);
  if (wait) waitForEnd(process.hProcess);
  if (!CloseHandle(process.hProcess)) result.closeError = static_cast<int>(GetLastError());
  return result;
}

base::String systemErrorText(int error) {
  char text[512];
  DWORD length = FormatMessageA(FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS, nullptr,
                                static_cast<DWORD>(error), 0, text, sizeof text, nullptr);
  while (length > 0 && (text[length - 1] == '\n' || text[length - 1] == '\r')) --length;
  return base::String(text, length);
}

bool openInEditor(const char *name) {
  const auto result = reinterpret_cast<INT_PTR>(
      ShellExecuteA(nullptr, "open", "notepad.exe", name, nullptr, SW_SHOWNORMAL));
  return result > 32;
}

bool canShowHelp() noexcept {
  char path[MAX_PATH];
  char *name;
  return SearchPathA(nullptr, "mshtml", ".dll", sizeof path, path, &name) != 0;
}

}  // namespace zk::platform
