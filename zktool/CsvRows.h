// Walks the rows of a CSV file behind its header.
#pragma once

#include <cstddef>

#include "CsvReader.h"
#include "Progress.h"

namespace zk::tool {

// From now on SIGINT and SIGTERM end the walk with Failure, so that what was begun is removed.
void watchInterrupts();
void checkInterrupt();

// Makes the header the current row. Throws Failure for an empty file.
void readHeader(CsvReader &csv);

// Throws Failure unless the current row has that many values.
void requireWholeRow(const CsvReader &csv, std::size_t columns);

template <typename Use>
void forEachRow(CsvReader &csv, const char *stage, Use use) {
  readHeader(csv);
  const std::size_t columns = csv.count();
  Progress progress;
  while (csv.next()) {
    checkInterrupt();
    progress.update(stage, csv.bytesRead(), csv.bytesTotal());
    requireWholeRow(csv, columns);
    use();
  }
}

}  // namespace zk::tool
