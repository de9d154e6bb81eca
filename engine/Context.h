// The engine's settings, its last error, its progress callback and its open tables.
#pragma once

#include <cstdint>

#include "engine/Error.h"
#include "platform/File.h"

namespace zk::engine {

class IndexFile;
class Table;
struct Field;

enum class OpenMode { kShared = 0, kDenyWrite = 1, kExclusive = 2 };

struct Settings {
  int openMode = 0;       // OpenMode of the next open; checked there
  int lockAttempts = -1;  // -1 until it succeeds, 0 and 1 once, n about n seconds
  bool showErrorBoxes = true;
  bool unknownFieldIsError = true;
  bool refuseOverwrite = true;      // creating a table whose file exists
  bool readOnlyFallback = true;     // a file that cannot be written opens read-only
  bool openProductionIndex = true;  // with its table
};

using ProgressCallback = void (*)(const char *stage, int64_t done, int64_t total, void *user);

class Context {
 public:
  Context() noexcept;
  // Closes what is still open.
  ~Context();
  Context(const Context &) = delete;
  Context &operator=(const Context &) = delete;

  Settings settings;
  ProgressCallback progress = nullptr;
  void *progressUser = nullptr;

  // Records an error, shows it when the settings say so, and returns its code. `text` replaces the
  // code's own text and must be static; `file` is copied.
  int fail(int code, const char *file = nullptr, const char *text = nullptr) noexcept;
  void clearError() noexcept {
    errorCode_ = 0;
    errorFile_[0] = '\0';
  }
  // While one is alive failures are neither recorded nor shown: for what is only tried.
  class Quiet {
   public:
    explicit Quiet(Context &context) noexcept : context_(context) { ++context_.quiet_; }
    ~Quiet() { --context_.quiet_; }
    Quiet(const Quiet &) = delete;
    Quiet &operator=(const Quiet &) = delete;

   private:
    Context &context_;
  };
  int errorCode() const noexcept { return errorCode_; }
  const char *errorText() const noexcept { return errorCode_ == 0 ? "" : errorText_; }
  const char *errorFile() const noexcept { return errorFile_; }

  void reportProgress(const char *stage, int64_t done, int64_t total) const {
    if (progress != nullptr) progress(stage, done, total, progressUser);
  }

  // Closes every table; the first code that is not 0.
  int closeAll() noexcept;

  Table *firstTable() const noexcept { return firstTable_; }
  Context *next() const noexcept { return next_; }

 private:
  friend class Table;

  int quiet_ = 0;
  int errorCode_ = 0;
  const char *errorText_ = "";
  char errorFile_[512] = "";
  Table *firstTable_ = nullptr;
  Context *next_ = nullptr;
};

// Handles that come from outside are looked up among the live objects before they are believed;
// null for anything else.
Context *liveContext(const void *handle) noexcept;
Table *liveTable(const void *handle) noexcept;
const Field *liveField(const void *handle) noexcept;
IndexFile *liveIndex(const void *handle) noexcept;

// Whether another table object of this process has the same file open.
bool isOpenTwice(const Table &table) noexcept;
// Whether another table object has that index file open.
bool hasOtherIndexAt(const Table &table, const platform::FileIdentity &identity) noexcept;

}  // namespace zk::engine
