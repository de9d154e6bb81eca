#include "zk/diag.h"

#include <cerrno>
#include <cstring>

#include "SRC/ToolMessage.h"
#include "SRC/Trace.h"
#include "base/Guard.h"
#include "base/Memory.h"
#include "platform/Path.h"
#include "platform/System.h"

namespace zk {
namespace {

constexpr int32_t kMessageLimit = 4096;  // characters, without the terminator
constexpr char kDefaultFileName[] = "ZK_DIAG.LOG";
constexpr char kOpenFailure[] = "Failed to open the diagnostics output file\n";

}  // namespace
}  // namespace zk

ZK_EXTERN_C_BEGIN

int16_t ZK_DiagCurrentOutput = ZK_DIAG_OUTPUT_CONSOLE;
int16_t ZK_DiagCurrentLevel = 0;
uint32_t ZK_DiagCurrentCondition = 0;
FILE *ZK_DiagOutputStream = nullptr;
char *ZK_DiagCurrentFileName = nullptr;
// Callers know 4096 bytes; the storage is one longer, so that a message of 4096 characters ends.
char ZK_DiagMsgBuf[zk::kMessageLimit + 1] = "";

ZK_EXTERN_C_END

namespace zk {
namespace {

bool toConsole() {
  return ZK_DiagCurrentOutput == ZK_DIAG_OUTPUT_CONSOLE ||
         ZK_DiagCurrentOutput == ZK_DIAG_OUTPUT_BOTH;
}

bool isFileMode(int16_t mode) { return mode == ZK_DIAG_OUTPUT_FILE || mode == ZK_DIAG_OUTPUT_BOTH; }

// What the library allocated for the log's name. A host may store another pointer in the exported
// one at any time; only these blocks are ever released. The native path is found when the name is
// set, because writing a line must not allocate: it may be called from within an allocator.
char *ownedName = nullptr;
char *ownedPath = nullptr;

void adoptName(char *name, char *path) {
  base::release(ownedName);
  base::release(ownedPath);
  ownedName = name;
  ownedPath = path;
  ZK_DiagCurrentFileName = name;
}

// Copies first: `name` may be the name held. False when memory is refused; the old name stays.
bool holdName(const char *name) {
  return base::guarded(false, [&] {
    base::OwnedBlock<char> copy(base::duplicate(name, std::strlen(name)));
    const base::String native = platform::nativePath(name);
    base::OwnedBlock<char> path(base::duplicate(native.c_str(), native.size()));
    if (copy == nullptr || path == nullptr) return false;
    adoptName(copy.release(), path.release());
    return true;
  });
}

// The stream, or null with the failure reported and the mode set back to the console.
FILE *openLog(const char *mode) {
  const char *path = ZK_DiagCurrentFileName;
  if (path != nullptr && path == ownedName) path = ownedPath;
  errno = ENOENT;
  ZK_DiagOutputStream = path != nullptr ? std::fopen(path, mode) : nullptr;
  if (ZK_DiagOutputStream == nullptr) {
    std::perror(kOpenFailure);
    ZK_DiagCurrentOutput = ZK_DIAG_OUTPUT_CONSOLE;
  }
  return ZK_DiagOutputStream;
}

void announceDefaultName() {
  std::printf("%s",
              toolMessage("zk_Diag_setOutput: Diagnostics log file name specified is invalid.",
                          "TOOL_1084", MessageKind::kOnNewLine));
  std::printf("\n%s %s\n", toolMessage("Defaulting to log file:", "TOOL_1085", MessageKind::kPlain),
              kDefaultFileName);
  std::fflush(stdout);
}

// The file name of a source path, in lower case.
struct ModuleName {
  char text[512];

  explicit ModuleName(const char *path) {
    if (path == nullptr) path = "";
    const unsigned char *lower = platform::lowerCaseMap();
    std::size_t length = 0;
    while (*path != '\0') {
      const std::size_t bytes = platform::characterLength(path);
      if (*path == '\\' || *path == '/' || *path == ':') {
        length = 0;
      } else if (length + bytes < sizeof text) {
        std::memcpy(text + length, path, bytes);
        if (bytes == 1) text[length] = static_cast<char>(lower[static_cast<unsigned char>(*path)]);
        length += bytes;
      }
      path += bytes;
    }
    text[length] = '\0';
  }
};

void writeLine(FILE *stream, const ModuleName &module, int32_t line) {
  std::fprintf(stream, "%s (%d) %.*s\n", module.text, static_cast<int>(line), kMessageLimit,
               ZK_DiagMsgBuf);
}

}  // namespace

void TraceGuard::write(const char *text) const {
  zk_Diag_putOutputMsg(text, family_.module, line_);
}

}  // namespace zk

using namespace zk;

ZK_EXTERN_C_BEGIN

int16_t ZK_CALL zk_Diag_setDiagOutput(int16_t mode) { return ZK_DiagCurrentOutput = mode; }

int16_t ZK_CALL zk_Diag_getDiagOutput(void) { return ZK_DiagCurrentOutput; }

int ZK_CALL zk_Diag_setOutput(int16_t mode, const char *fileName) {
  if (!isFileMode(mode)) {
    const bool known = mode == ZK_DIAG_OUTPUT_NONE || mode == ZK_DIAG_OUTPUT_CONSOLE;
    ZK_DiagCurrentOutput = known ? mode : static_cast<int16_t>(ZK_DIAG_OUTPUT_CONSOLE);
    return known ? 1 : 0;
  }
  const bool named = fileName != nullptr && *fileName != '\0';
  if (!holdName(named ? fileName : kDefaultFileName)) return 0;
  if (!named) announceDefaultName();
  FILE *log = openLog("w");
  if (log == nullptr) return 0;
  std::fclose(log);  // the stale handle stays stored on purpose; every line opens the log again
  ZK_DiagCurrentOutput = mode;
  return 1;
}

int16_t ZK_CALL zk_Diag_getOutput(char *fileName) {
  if (fileName != nullptr) {
    const bool named = isFileMode(ZK_DiagCurrentOutput) && ZK_DiagCurrentFileName != nullptr;
    std::snprintf(fileName, 512, "%s", named ? ZK_DiagCurrentFileName : "");
  }
  return ZK_DiagCurrentOutput;
}

void ZK_CALL zk_Diag_setFileName(const char *fileName) {
  if (fileName == nullptr || *fileName == '\0') {
    adoptName(nullptr, nullptr);
  } else {
    holdName(fileName);
  }
}

const char *ZK_CALL zk_Diag_getFileName(void) { return ZK_DiagCurrentFileName; }

FILE *ZK_CALL zk_Diag_setOutputStream(FILE *stream) { return ZK_DiagOutputStream = stream; }

FILE *ZK_CALL zk_Diag_getOutputStream(void) { return ZK_DiagOutputStream; }

int16_t ZK_CALL zk_Diag_getLevel(void) { return ZK_DiagCurrentLevel; }

int16_t ZK_CALL zk_Diag_setLevel(int16_t level) {
  const int16_t previous = ZK_DiagCurrentLevel;
  if (level >= 0 && level <= 3) ZK_DiagCurrentLevel = level;
  return previous;
}

uint32_t ZK_CALL zk_Diag_getCondition(void) { return ZK_DiagCurrentCondition; }

uint32_t ZK_CALL zk_Diag_setCondition(uint32_t condition) {
  const uint32_t previous = ZK_DiagCurrentCondition;
  ZK_DiagCurrentCondition = condition;
  return previous;
}

uint32_t ZK_CALL zk_Diag_disable(void) {
  ZK_DiagCurrentLevel = 0;
  return zk_Diag_setCondition(0);
}

char *ZK_CALL zk_Diag_getDiagMsgBuf(void) { return ZK_DiagMsgBuf; }

void ZK_CALL zk_Diag_putOutputMsg(const char *message, const char *sourceFile, int32_t line) {
  if (message == nullptr || *message == '\0') return;
  const std::size_t length = std::strlen(message);
  const std::size_t kept = length < kMessageLimit ? length : kMessageLimit;
  std::memmove(ZK_DiagMsgBuf, message, kept);  // the message may be the buffer itself
  ZK_DiagMsgBuf[kept] = '\0';
  zk_Diag_putOutput(length < INT32_MAX ? static_cast<int32_t>(length) : INT32_MAX, ZK_DiagMsgBuf,
                    sourceFile, line);
}

void ZK_CALL zk_Diag_putOutput(int32_t length, const char *message, const char *sourceFile,
                               int32_t line) {
  const ModuleName module(sourceFile);
  if (length > kMessageLimit && ZK_DiagCurrentLevel >= 3 && ZK_DiagCurrentCondition != 0) {
    // The warning is left in the buffer, so it is written twice: here under this module's name, and
    // below under the caller's. That is meant.
    const int written = std::snprintf(
        ZK_DiagMsgBuf, sizeof ZK_DiagMsgBuf, "Buffer size %d too big for diagnostics in %s at %d\n",
        static_cast<int>(length), module.text, static_cast<int>(line));
    zk_Diag_putOutput(written, message, "SRC\\DIAG.cpp", __LINE__);
  }
  if (toConsole()) {
    writeLine(stdout, module, line);
    std::fflush(stdout);
  }
  if (isFileMode(ZK_DiagCurrentOutput)) {
    FILE *log = openLog("a");
    if (log == nullptr) return;
    writeLine(log, module, line);
    std::fclose(log);
  }
}

ZK_EXTERN_C_END
