// Checks a table with its memo file and indexes, and mends what can be mended without loss: the
// record count, and indexes from their own tag definitions.
#pragma once

#include <cstdint>
#include <memory>

#include "base/Memory.h"
#include "engine/CheckFindings.h"
#include "engine/Context.h"
#include "engine/IndexBuilder.h"
#include "engine/TableCheck.h"

namespace zk::engine {

class Table;

class Check {
 public:
  // The context's setting to open production indexes is off.
  Check(Context &context, Findings::Report report, void *user) noexcept
      : context_(context), report_(report), user_(user) {}

  // How many findings there are, or are left after repair; or a reported code when the work could
  // not be done. `indexFiles` (null or ended by a null) come after the production index.
  int run(const char *tableName, const char *const *indexFiles, bool repair) noexcept;

 private:
  struct TableCloser {
    void operator()(Table *table) const noexcept;
  };
  using OpenTable = std::unique_ptr<Table, TableCloser>;
  // An index that is to be written anew.
  struct Rebuild {
    base::String path;
    TagDefinitions definitions;
    IndexLayout layout;
    const char *obstacle;
  };

  int start(const char *tableName, const char *const *indexFiles, bool repair);
  int open(const char *path, OpenTable &table) noexcept;
  int openAlone(const char *path, OpenTable &table) noexcept;
  int reportUnopened(const base::String &path, int status);
  int listIndexes(const Table &table, const char *const *indexFiles);

  int checkAll(Table &table, Findings &findings, TableCheck &records);
  int checkIndex(Table &table, Findings &findings, const base::String &path);
  int mendAll(Table &table, Findings &findings, TableCheck &records);
  int rebuild(Table &table, Findings &findings, Rebuild &index);

  Context &context_;
  const Findings::Report report_;
  void *const user_;
  OpenMode mode_ = OpenMode::kShared;
  base::Vector<base::String> indexPaths_;
  base::Vector<Rebuild> rebuilds_;
  bool anythingMended_ = false;
  std::uint32_t result_ = 0;  // findings
};

}  // namespace zk::engine
