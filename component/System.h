// What the component asks of the system: texts in the current code page, well-known directories,
// and files that are read, watched and replaced. posix/ and win32/ implement it.
//
// Everything throws std::bad_alloc when memory is refused.
#pragma once

#include <cstdint>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "zk/com.h"

namespace zk::component {

using Path = std::filesystem::path;
using WideText = std::basic_string<OLECHAR>;
using WideView = std::basic_string_view<OLECHAR>;
// Paths in the system's own characters.
using PathView = std::basic_string_view<Path::value_type>;

// ---- Texts ----

// The whole text, zeros included; a null BSTR is the empty one.
WideView wideView(BSTR text);
BSTR newBstr(WideView text);

// In the current code page; what it lacks becomes "?". Linux: UTF-8, and bytes that are none
// survive the way there and back, as between the library and its components.
std::string toText(WideView text);
WideText toWide(std::string_view text);
inline BSTR newBstr(std::string_view text) { return newBstr(WideView(toWide(text))); }

// A copy that VariantClear releases.
HRESULT copyVariant(VARIANT &to, const VARIANT &from);

// ---- Directories ----

// The system's own path of a name as hosts write it, up to a first zero character; empty when there
// is none.
Path nativePath(BSTR name);

// The value of an environment variable; empty when it is not set.
Path environmentPath(const char *name);
// Where a user's configuration of this library belongs, whether it exists or not; empty when the
// environment does not tell.
Path userConfigurationDirectory();
// Where this component lies.
Path componentDirectory();

// ---- Files ----

// What shows that a file changed without reading it.
struct FileStamp {
  std::uint64_t device;
  std::uint64_t file;
  std::uint64_t size;
  std::int64_t modified;
  std::int64_t changed;

  bool operator==(const FileStamp &) const = default;
};

struct FileContent {
  std::string text;
  FileStamp stamp;
  // The file had not changed for a while when it was read. Otherwise it may change again without
  // getting another stamp, as the clocks of file systems are coarse.
  bool settled;
};

// Nothing for what is no file, or cannot be read.
std::optional<FileStamp> stampOf(const Path &path);
std::optional<FileContent> readFile(const Path &path);

// Reading a file, changing its text and putting it back, while no other process does the same with
// that file. A process that dies leaves nothing behind that keeps others waiting.
class FileChange {
 public:
  // Waits for other processes, some seconds at most.
  explicit FileChange(const Path &path);
  ~FileChange();
  FileChange(const FileChange &) = delete;
  FileChange &operator=(const FileChange &) = delete;

  // The file's text, empty for a missing one. Nothing when the file is read-only, its directory is
  // missing, or another process does not give it free.
  std::optional<std::string> text() const;
  // Puts the new text in the place of the old at once; on failure, and when the process is killed,
  // the old one stays. At most once.
  bool replaceWith(std::string_view text);

 private:
  struct State;
  std::unique_ptr<State> state_;
};

}  // namespace zk::component
