#include "CsvRows.h"

#include <csignal>
#include <string>

namespace zk::tool {
namespace {

volatile std::sig_atomic_t interrupted = 0;

void onInterrupt(int) { interrupted = 1; }

}  // namespace

void watchInterrupts() {
  std::signal(SIGINT, onInterrupt);
  std::signal(SIGTERM, onInterrupt);
}

void checkInterrupt() {
  if (interrupted != 0) throw Failure("interrupted");
}

void readHeader(CsvReader &csv) {
  csv.rewind();
  if (!csv.next()) throw Failure(csv.file() + ": line 1: no header line");
}

void requireWholeRow(const CsvReader &csv, std::size_t columns) {
  if (csv.count() == columns) return;
  const std::size_t at = csv.count() > columns ? columns : csv.count() - 1;
  throw csv.failure(at, "the row has " + std::to_string(csv.count()) + " values, the header " +
                            std::to_string(columns));
}

}  // namespace zk::tool
