#include <windows.h>

#include <fcntl.h>
#include <io.h>

#include <atomic>
#include <cstdio>
#include <cstdlib>

#include "tests/processes.h"

namespace processes {
namespace {

HANDLE handle(std::intptr_t value) { return reinterpret_cast<HANDLE>(value); }
std::intptr_t number(HANDLE value) { return reinterpret_cast<std::intptr_t>(value); }

// Not an exit code that a program would choose; the system's own for programs that fault are like
// it.
constexpr DWORD kKilled = 0xC0000000;

// A pipe whose `inherited` end (0 is read from, 1 written to) goes to the next program started.
void makePipe(HANDLE (&ends)[2], int inherited) {
  if (!CreatePipe(&ends[0], &ends[1], nullptr, 0) ||
      !SetHandleInformation(ends[inherited], HANDLE_FLAG_INHERIT, HANDLE_FLAG_INHERIT)) {
    std::abort();
  }
}

// As the start code of a program takes its command line apart again.
std::string quoted(const std::string &word) {
  std::string result = "\"";
  std::size_t backslashes = 0;
  for (const char c : word) {
    if (c == '"') result.append(backslashes + 1, '\\');
    backslashes = c == '\\' ? backslashes + 1 : 0;
    result += c;
  }
  return result.append(backslashes, '\\') + '"';
}

std::atomic<ULONGLONG> deadline = 0;  // 0: none

DWORD WINAPI watch(void *) {
  for (;; Sleep(100)) {
    const ULONGLONG end = deadline;
    if (end == 0 || GetTickCount64() < end) continue;
    std::fputs("Hung.\n", stderr);
    TerminateProcess(GetCurrentProcess(), kKilled);
  }
}

}  // namespace

Process::Process(const std::string &role, const Arguments &arguments) {
  HANDLE input[2];
  HANDLE output[2];
  makePipe(input, 0);
  makePipe(output, 1);
  char program[MAX_PATH];
  GetModuleFileNameA(nullptr, program, sizeof program);
  std::string line = quoted(program);
  line.append(" ").append(kRoleOption).append(" ").append(quoted(role));
  for (const std::string &argument : arguments) line += " " + quoted(argument);

  STARTUPINFOA start = {};
  start.cb = sizeof start;
  start.dwFlags = STARTF_USESTDHANDLES;
  start.hStdInput = input[0];
  start.hStdOutput = output[1];
  start.hStdError = GetStdHandle(STD_ERROR_HANDLE);
  PROCESS_INFORMATION started = {};
  std::fflush(stdout);
  if (!CreateProcessA(program, line.data(), nullptr, nullptr, TRUE, 0, nullptr, nullptr, &start,
                      &started)) {
    std::abort();
  }
  CloseHandle(started.hThread);
  CloseHandle(input[0]);
  CloseHandle(output[1]);
  process_ = number(started.hProcess);
  input_ = number(input[1]);
  output_ = number(output[0]);
}

void Process::closeInput() {
  if (input_ != -1) CloseHandle(handle(input_));
  input_ = -1;
}

void Process::closeOutput() { CloseHandle(handle(output_)); }

bool Process::send(const std::string &bytes) {
  DWORD written = 0;
  return WriteFile(handle(input_), bytes.data(), static_cast<DWORD>(bytes.size()), &written,
                   nullptr) != 0;
}

// A pipe cannot be waited for with a time limit, so it is looked at again and again.
bool Process::receive(Milliseconds patience) {
  const ULONGLONG end = GetTickCount64() + static_cast<ULONGLONG>(patience.count());
  for (;; Sleep(1)) {
    DWORD waiting = 0;
    if (!PeekNamedPipe(handle(output_), nullptr, 0, nullptr, &waiting, nullptr)) return false;
    if (waiting > 0) break;
    if (GetTickCount64() >= end) return false;
  }
  char bytes[4096];
  DWORD got = 0;
  if (!ReadFile(handle(output_), bytes, sizeof bytes, &got, nullptr) || got == 0) return false;
  received_.append(bytes, got);
  return true;
}

void Process::kill() {
  if (process_ == -1) return;
  TerminateProcess(handle(process_), kKilled);
  wait();
}

int Process::wait() {
  closeInput();
  if (process_ == -1) return exitCode_;
  DWORD code = kKilled;
  WaitForSingleObject(handle(process_), INFINITE);
  GetExitCodeProcess(handle(process_), &code);
  CloseHandle(handle(process_));
  exitCode_ = code >= kKilled ? -1 : static_cast<int>(code);
  process_ = -1;
  return exitCode_;
}

bool hasCopies() { return false; }

int inACopy(const std::function<int()> &) { std::abort(); }

void goOnWithin(unsigned seconds) {
  static const HANDLE watcher = CreateThread(nullptr, 0, watch, nullptr, 0, nullptr);
  if (watcher == nullptr) std::abort();
  deadline = seconds == 0 ? 0 : GetTickCount64() + 1000ull * seconds;
}

ByteLock::ByteLock(const std::string &path, std::uint64_t start, std::uint64_t length) {
  const HANDLE file =
      CreateFileA(path.c_str(), GENERIC_READ | GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE,
                  nullptr, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr);
  file_ = number(file);
  held_ = file != INVALID_HANDLE_VALUE &&
          LockFile(file, static_cast<DWORD>(start), static_cast<DWORD>(start >> 32),
                   static_cast<DWORD>(length), static_cast<DWORD>(length >> 32));
}

ByteLock::~ByteLock() {
  if (file_ != -1) CloseHandle(handle(file_));
}

bool makeNamedPipe(const std::string &) { return false; }

// Lines end in one byte on their way between programs.
void prepareRole() {
  _setmode(_fileno(stdin), _O_BINARY);
  _setmode(_fileno(stdout), _O_BINARY);
}

// A program that faults ends without asking anybody.
void prepareTests() { SetErrorMode(SEM_FAILCRITICALERRORS | SEM_NOGPFAULTERRORBOX); }

}  // namespace processes
