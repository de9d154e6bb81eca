#include <cstdint>
#include <string>
#include <vector>

#include "Commands.h"
#include "Progress.h"
#include "Table.h"
#include "Text.h"

namespace zk::tool {
namespace {

constexpr int kOpenElsewhere = -50;

// Nothing may be thrown through the library: the lines are written when it has returned.
using Lines = std::vector<std::string>;

void ZK_CALL collect(const char *file, const char *text, void *lines) {
  static_cast<Lines *>(lines)->push_back(std::string(file) + ": " + text + "\n");
}

int checkWithProgress(const CheckOptions &options, Lines &lines) {
  std::vector<const char *> indexes;
  for (const std::string &file : options.indexes) indexes.push_back(file.c_str());
  indexes.push_back(nullptr);
  const LibraryProgress shown;
  return zk_Db_check(options.table.c_str(), indexes.data(), options.repair, collect, &lines);
}

}  // namespace

void runCheck(const CheckOptions &options, Output &out) {
  Lines lines;
  const int result = checkWithProgress(options, lines);
  for (const std::string &line : lines) out.write(line);
  if (result == 0) out.write(options.table + ": nothing is wrong\n");
  out.flush();
  if (result == kOpenElsewhere) {
    throw Failure(options.table + ": In use by another program (" + std::to_string(result) + ")");
  }
  if (result < 0) throw libraryFailure(options.table, result);
  if (result > 0) {
    throw Failure(options.table + ": " + std::to_string(result) +
                  (result == 1 ? " finding" : " findings"));
  }
}

}  // namespace zk::tool
