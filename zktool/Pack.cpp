#include "Commands.h"
#include "Progress.h"
#include "Table.h"

namespace zk::tool {
namespace {

int packWithProgress(int32_t tableId) {
  const LibraryProgress shown;
  return zk_Db_packDb(tableId);
}

}  // namespace

void runPack(const std::string &name, Output &out) {
  Table table(name, 2);
  table.requireWritable();
  const int32_t before = zk_Db_getRecordCount(table.id());
  const int status = packWithProgress(table.id());
  if (status != 0) throw libraryFailure(name, status);
  const int32_t kept = zk_Db_getRecordCount(table.id());
  table.close();
  out.write(name + ": " + std::to_string(before - kept) + " records removed, " +
            std::to_string(kept) + " kept\n");
  out.flush();
}

}  // namespace zk::tool
