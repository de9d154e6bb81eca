// A change is locked by a file beside the target, "<target>.lock", which is open to one process at
// a time and vanishes with its handle, hence with its process. The target itself cannot be it: a
// file that is open cannot be replaced.
#include <windows.h>

#include <algorithm>

#include "component/System.h"

namespace zk::component {
namespace {

constexpr DWORD kLongestPause = 5;            // milliseconds
constexpr std::int64_t kSecond = 10'000'000;  // file times are in units of 100 nanoseconds
// Two seconds is the coarsest step of file times in use.
constexpr std::int64_t kSettled = 2 * kSecond;
constexpr DWORD kShareAll = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;

class Handle {
 public:
  explicit Handle(HANDLE value) : value_(value) {}
  Handle(const Handle &) = delete;
  Handle &operator=(const Handle &) = delete;
  ~Handle() { close(); }
  void close() {
    if (ok()) CloseHandle(value_);
    value_ = INVALID_HANDLE_VALUE;
  }
  void reset(HANDLE value) {
    close();
    value_ = value;
  }
  HANDLE get() const { return value_; }
  bool ok() const { return value_ != INVALID_HANDLE_VALUE; }

 private:
  HANDLE value_;
};

std::uint64_t joined(DWORD high, DWORD low) { return std::uint64_t{high} << 32 | low; }

std::int64_t timeOf(const FILETIME &time) {
  return static_cast<std::int64_t>(joined(time.dwHighDateTime, time.dwLowDateTime));
}

bool stampFrom(HANDLE file, FileStamp &stamp) {
  BY_HANDLE_FILE_INFORMATION facts;
  FILE_BASIC_INFO times;
  if (!GetFileInformationByHandle(file, &facts) ||
      (facts.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0) {
    return false;
  }
  stamp = {facts.dwVolumeSerialNumber, joined(facts.nFileIndexHigh, facts.nFileIndexLow),
           joined(facts.nFileSizeHigh, facts.nFileSizeLow), timeOf(facts.ftLastWriteTime),
           timeOf(facts.ftLastWriteTime)};
  if (GetFileInformationByHandleEx(file, FileBasicInfo, &times, sizeof times)) {
    stamp.changed = std::max<std::int64_t>(stamp.changed, times.ChangeTime.QuadPart);
  }
  return true;
}

bool isSettled(const FileStamp &stamp) {
  FILETIME now;
  GetSystemTimeAsFileTime(&now);
  return timeOf(now) - stamp.changed > kSettled;
}

HANDLE open(const Path &path, DWORD access) {
  return CreateFileW(path.c_str(), access, kShareAll, nullptr, OPEN_EXISTING, 0, nullptr);
}

bool readAll(HANDLE file, std::string &text) {
  std::size_t length = 0;
  for (;;) {
    text.resize(std::max<std::size_t>(4096, length * 2));
    const auto room = static_cast<DWORD>(text.size() - length);
    DWORD got = 0;
    if (!ReadFile(file, text.data() + length, room, &got, nullptr)) return false;
    if (got == 0) break;
    length += got;
  }
  text.resize(length);
  return true;
}

bool writeAll(HANDLE file, std::string_view text) {
  while (!text.empty()) {
    const auto wanted = static_cast<DWORD>(std::min<std::size_t>(text.size(), 1u << 20));
    DWORD put = 0;
    if (!WriteFile(file, text.data(), wanted, &put, nullptr) || put == 0) return false;
    text.remove_prefix(put);
  }
  return true;
}

// How long, in milliseconds, an error may be due to another process.
DWORD patienceFor(DWORD error) {
  if (error == ERROR_SHARING_VIOLATION || error == ERROR_LOCK_VIOLATION) return 10'000;
  // A file that is being deleted or read, or a right that nobody will ever have.
  return error == ERROR_ACCESS_DENIED ? 500 : 0;
}

// Tries, with growing pauses, while another process is in the way.
template <typename Try>
bool insist(Try attempt) {
  const ULONGLONG start = GetTickCount64();
  for (DWORD pause = 1;; pause = std::min(pause * 2, kLongestPause)) {
    if (attempt()) return true;
    if (GetTickCount64() - start > patienceFor(GetLastError())) return false;
    Sleep(pause);
  }
}

bool isReadOnly(const Path &path) {
  const DWORD attributes = GetFileAttributesW(path.c_str());
  return attributes != INVALID_FILE_ATTRIBUTES &&
         (attributes & (FILE_ATTRIBUTE_READONLY | FILE_ATTRIBUTE_DIRECTORY)) != 0;
}

Path with(const Path &path, const char *ending) {
  Path result = path;
  result += ending;
  return result;
}

}  // namespace

std::optional<FileStamp> stampOf(const Path &path) {
  const Handle file(open(path, FILE_READ_ATTRIBUTES));
  FileStamp stamp;
  if (!file.ok() || !stampFrom(file.get(), stamp)) return std::nullopt;
  return stamp;
}

std::optional<FileContent> readFile(const Path &path) {
  const Handle file(open(path, GENERIC_READ));
  FileContent content;
  if (!file.ok() || !stampFrom(file.get(), content.stamp)) return std::nullopt;
  content.settled = isSettled(content.stamp);
  if (!readAll(file.get(), content.text)) return std::nullopt;
  return content;
}

struct FileChange::State {
  Path target;
  Path temporary;
  Handle lock{INVALID_HANDLE_VALUE};
};

FileChange::FileChange(const Path &path) : state_(std::make_unique<State>()) {
  if (path.empty() || isReadOnly(path)) return;
  state_->target = path;
  state_->temporary = with(path, ".tmp");
  const Path lock = with(path, ".lock");
  insist([&] {
    state_->lock.reset(CreateFileW(lock.c_str(), GENERIC_WRITE | DELETE, 0, nullptr, OPEN_ALWAYS,
                                   FILE_ATTRIBUTE_HIDDEN | FILE_FLAG_DELETE_ON_CLOSE, nullptr));
    return state_->lock.ok();
  });
}

FileChange::~FileChange() = default;

std::optional<std::string> FileChange::text() const {
  if (!state_->lock.ok()) return std::nullopt;
  const Handle file(open(state_->target, GENERIC_READ));
  if (!file.ok() && GetLastError() == ERROR_FILE_NOT_FOUND) return "";
  std::string text;
  if (!file.ok() || !readAll(file.get(), text)) return std::nullopt;
  return text;
}

bool FileChange::replaceWith(std::string_view text) {
  const Path &target = state_->target;
  const Path &temporary = state_->temporary;
  Handle file(CreateFileW(temporary.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS,
                          FILE_ATTRIBUTE_NORMAL, nullptr));
  bool done = file.ok() && writeAll(file.get(), text) && FlushFileBuffers(file.get());
  file.close();
  const DWORD attributes = GetFileAttributesW(target.c_str());
  if (done && attributes != INVALID_FILE_ATTRIBUTES) {
    SetFileAttributesW(temporary.c_str(), attributes);
  }
  // Other processes may be reading the target.
  done = done && insist([&] {
           return MoveFileExW(temporary.c_str(), target.c_str(),
                              MOVEFILE_REPLACE_EXISTING | MOVEFILE_WRITE_THROUGH) != 0;
         });
  if (!done) DeleteFileW(temporary.c_str());
  return done;
}

}  // namespace zk::component
