// The library's calls come here because their places in its import table are overwritten.
#include <windows.h>

#include <cstring>

#include "tests/file_calls.h"

namespace file_calls {
namespace {

// The module that the library's code is in: the DLL, or a test made of its objects.
unsigned char *libraryModule() {
  const HMODULE library = GetModuleHandleA("ZK_BASELIB.dll");
  return reinterpret_cast<unsigned char *>(library != nullptr ? library
                                                              : GetModuleHandleA(nullptr));
}

void overwrite(void *place, const void *value) {
  DWORD before = 0;
  VirtualProtect(place, sizeof value, PAGE_READWRITE, &before);
  std::memcpy(place, &value, sizeof value);
  VirtualProtect(place, sizeof value, before, &before);
}

void redirect(const void *from, const void *to) {
  unsigned char *const module = libraryModule();
  const auto *dos = reinterpret_cast<const IMAGE_DOS_HEADER *>(module);
  const auto *head = reinterpret_cast<const IMAGE_NT_HEADERS *>(module + dos->e_lfanew);
  const DWORD imports =
      head->OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_IMPORT].VirtualAddress;
  for (const auto *dll = reinterpret_cast<const IMAGE_IMPORT_DESCRIPTOR *>(module + imports);
       dll->FirstThunk != 0; ++dll) {
    for (auto *place = reinterpret_cast<void **>(module + dll->FirstThunk); *place != nullptr;
         ++place) {
      if (*place == from) overwrite(place, to);
    }
  }
}

// A call that goes through `replacement` from the first disturbance on.
template <typename Function>
Function *redirected(const char *name, Function *replacement) {
  const auto address =
      reinterpret_cast<const void *>(GetProcAddress(GetModuleHandleA("kernel32.dll"), name));
  redirect(address, reinterpret_cast<const void *>(replacement));
  return reinterpret_cast<Function *>(const_cast<void *>(address));
}

DWORD refusal = 0;
int refusals = 0;

bool isRefused() {
  if (refusals == 0) return false;
  --refusals;
  SetLastError(refusal);
  return true;
}

decltype(WriteFile) *systemWriteFile;
decltype(ReadFile) *systemReadFile;
decltype(FlushFileBuffers) *systemFlushFileBuffers;
decltype(MoveFileExA) *systemMoveFileExA;
decltype(SetEndOfFile) *systemSetEndOfFile;
decltype(DeleteFileA) *systemDeleteFileA;

// A call that is done or not.
template <typename Call>
BOOL whole(Call call) {
  if (!arriveWhole()) {
    SetLastError(ERROR_IO_DEVICE);
    return FALSE;
  }
  const BOOL result = call();
  leave();
  return result;
}

BOOL WINAPI ourWriteFile(HANDLE file, const void *bytes, DWORD size, DWORD *written,
                         OVERLAPPED *position) {
  if (isRefused()) return FALSE;
  const Fate fate = arrive();
  if (fate == Fate::kFails) {
    SetLastError(ERROR_DISK_FULL);
    return FALSE;
  }
  const BOOL done =
      systemWriteFile(file, bytes, fate == Fate::kHalf ? (size + 1) / 2 : size, written, position);
  leave();
  return done;
}

BOOL WINAPI ourReadFile(HANDLE file, void *bytes, DWORD size, DWORD *got, OVERLAPPED *position) {
  if (isRefused()) return FALSE;
  arriveAtRead();
  return systemReadFile(file, bytes, size, got, position);
}

// Nobody waits for the disk here: the system keeps what a program wrote, however it ends.
BOOL WINAPI ourFlushFileBuffers(HANDLE) {
  return whole([] { return TRUE; });
}

BOOL WINAPI ourMoveFileExA(const char *from, const char *to, DWORD flags) {
  return whole([=] { return systemMoveFileExA(from, to, flags); });
}

// What makes room never fails.

BOOL WINAPI ourSetEndOfFile(HANDLE file) {
  if (!endsTheProgram()) return systemSetEndOfFile(file);
  return whole([=] { return systemSetEndOfFile(file); });
}

BOOL WINAPI ourDeleteFileA(const char *path) {
  if (!endsTheProgram()) return systemDeleteFileA(path);
  return whole([=] { return systemDeleteFileA(path); });
}

}  // namespace

void watchCalls() {
  if (systemWriteFile != nullptr) return;
  systemWriteFile = redirected("WriteFile", ourWriteFile);
  systemReadFile = redirected("ReadFile", ourReadFile);
  systemFlushFileBuffers = redirected("FlushFileBuffers", ourFlushFileBuffers);
  systemMoveFileExA = redirected("MoveFileExA", ourMoveFileExA);
  systemSetEndOfFile = redirected("SetEndOfFile", ourSetEndOfFile);
  systemDeleteFileA = redirected("DeleteFileA", ourDeleteFileA);
}

void refuse(int error, int count) {
  watchCalls();
  refusal = static_cast<DWORD>(error);
  refusals = count;
}

int refusalsLeft() { return refusals; }

void endAtOnce(int code) {
  TerminateProcess(GetCurrentProcess(), static_cast<UINT>(code));
  for (;;) Sleep(1000);
}

}  // namespace file_calls
