#include "platform/System.h"

#include <windows.h>

#include <array>
#include <cstdint>
#include <cstring>

namespace zk::platform {
namespace {

using CaseMap = std::array<unsigned char, 256>;

CaseMap makeCaseMap(DWORD(WINAPI *convert)(LPSTR, DWORD)) {
  CaseMap map{};
  for (unsigned c = 0; c < map.size(); ++c) {
    char byte = static_cast<char>(c);
    // Half of a double-byte character has no case.
    if (!IsDBCSLeadByte(static_cast<BYTE>(c))) convert(&byte, 1);
    map[c] = static_cast<unsigned char>(byte);
  }
  return map;
}

void showMessageBox(const char *title, const char *text, void *) {
  MessageBoxA(nullptr, text, title, MB_OK | MB_ICONEXCLAMATION);
}

MessagePresenter presenter = showMessageBox;
void *presenterUser = nullptr;

// Dispatches what waits in the thread's queue; false when the application is asked to quit.
bool dispatchMessages() {
  MSG message;
  while (PeekMessageA(&message, nullptr, 0, 0, PM_REMOVE)) {
    if (message.message == WM_QUIT) {
      PostQuitMessage(static_cast<int>(message.wParam));
      return false;
    }
    TranslateMessage(&message);
    DispatchMessageA(&message);
  }
  return true;
}

constexpr const char *kStandardNames[] = {"malloc", "realloc", "calloc", "free"};

// In a program that was not told of the import, a function's address is that of a jump through the
// import table; a debug build may put a relative jump before it.
const void *followImportJump(const void *function) {
  const auto *code = static_cast<const unsigned char *>(function);
  std::int32_t operand;
  if (code[0] == 0xE9) {
    std::memcpy(&operand, code + 1, sizeof operand);
    code += 5 + static_cast<std::intptr_t>(operand);
  }
  if (code[0] != 0xFF || code[1] != 0x25) return code;
  std::memcpy(&operand, code + 2, sizeof operand);
#if defined(_WIN64)
  const void *slot = code + 6 + operand;
#else
  const void *slot = reinterpret_cast<const void *>(
      static_cast<std::uintptr_t>(static_cast<std::uint32_t>(operand)));
#endif
  const void *target;
  std::memcpy(&target, slot, sizeof target);
  return target;
}

bool isRuntimeLibrary(HMODULE module) {
  char path[MAX_PATH];
  const DWORD length = GetModuleFileNameA(module, path, sizeof path);
  if (length == 0 || length >= sizeof path) return false;
  const char *name = std::strrchr(path, '\\');
  name = name != nullptr ? name + 1 : path;
  return _strnicmp(name, "msvcr", 5) == 0 || _strnicmp(name, "ucrtbase", 8) == 0;
}

}  // namespace

std::uint64_t monotonicMilliseconds() noexcept {
  static const LONGLONG frequency = [] {
    LARGE_INTEGER value;
    QueryPerformanceFrequency(&value);
    return value.QuadPart;
  }();
  LARGE_INTEGER now;
  QueryPerformanceCounter(&now);
  return static_cast<std::uint64_t>(now.QuadPart / frequency * 1000 +
                                    now.QuadPart % frequency * 1000 / frequency);
}

Date today() noexcept {
  SYSTEMTIME now;
  GetLocalTime(&now);  // reads shared memory, so nothing is kept here
  return {now.wYear, now.wMonth, now.wDay};
}

LocalTime localTime() noexcept {
  SYSTEMTIME now;
  GetLocalTime(&now);
  return {{now.wYear, now.wMonth, now.wDay}, now.wHour, now.wMinute, now.wSecond};
}

bool waitMicroseconds(std::uint32_t microseconds) noexcept {
  const std::uint64_t wait = (static_cast<std::uint64_t>(microseconds) + 999) / 1000;
  const std::uint64_t end = monotonicMilliseconds() + wait;
  for (;;) {
    if (!dispatchMessages()) return false;
    const std::uint64_t now = monotonicMilliseconds();
    if (now >= end) return true;
    // MWMO_INPUTAVAILABLE: messages that were seen but not taken end the wait as well.
    MsgWaitForMultipleObjectsEx(0, nullptr, static_cast<DWORD>(end - now), QS_ALLINPUT,
                                MWMO_INPUTAVAILABLE);
  }
}

void setMessagePresenter(MessagePresenter newPresenter, void *user) noexcept {
  presenter = newPresenter != nullptr ? newPresenter : showMessageBox;
  presenterUser = user;
}

void showMessage(const char *title, const char *text) noexcept {
  presenter(title, text, presenterUser);
}

void showStopMessage(const char *title, const char *text) noexcept {
  if (presenter == showMessageBox) {
    MessageBoxA(nullptr, text, title, MB_OK | MB_SYSTEMMODAL | MB_ICONSTOP);
  } else {
    showMessage(title, text);
  }
}

const unsigned char *upperCaseMap() noexcept {
  static const CaseMap map = makeCaseMap(CharUpperBuffA);
  return map.data();
}

const unsigned char *lowerCaseMap() noexcept {
  static const CaseMap map = makeCaseMap(CharLowerBuffA);
  return map.data();
}

std::size_t characterLength(const char *text) noexcept {
  if (text[0] == '\0') return 0;
  return IsDBCSLeadByte(static_cast<BYTE>(text[0])) && text[1] != '\0' ? 2 : 1;
}

bool isStandardFunction(StandardFunction which, void (*function)()) noexcept {
  if (function == nullptr) return false;
  const void *target = followImportJump(reinterpret_cast<const void *>(function));
  HMODULE module = nullptr;
  if (!GetModuleHandleExA(
          GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
          static_cast<LPCSTR>(target), &module) ||
      !isRuntimeLibrary(module)) {
    return false;
  }
  const FARPROC exported = GetProcAddress(module, kStandardNames[static_cast<int>(which)]);
  return exported != nullptr && reinterpret_cast<const void *>(exported) == target;
}

}  // namespace zk::platform
