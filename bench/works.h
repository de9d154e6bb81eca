// The benchmarks, one module per subject. Each adds its works and the rows that compare them.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "records.h"
#include "report.h"

namespace zk::bench {

// Open modes of zk_Db_openDbEx.
inline constexpr int kShared = 0;
inline constexpr int kExclusive = 2;

// Works that only rows without a limit need are repeated less often; some of them take seconds.
inline constexpr int kFewRepetitions = 3;

struct Setup {
  std::vector<Record> records;
  std::vector<Record> additional;  // to append to a table that has the others
  std::string directory;           // for the files; its own for this run

  std::string path(const char *name) const { return directory + "/" + name; }
};

// 1000000 as "1,000,000".
std::string withCommas(std::size_t number);

void addAppending(const Setup &setup, Report &report);
void addWalking(const Setup &setup, Report &report);
void addCursors(const Setup &setup, Report &report);
void addFields(const Setup &setup, Report &report);
void addLists(const Setup &setup, Report &report);
void addGeometry(const Setup &setup, Report &report);
void addIndexes(const Setup &setup, Report &report);
// Instead of the others: what this library's works with indexes cost per record in tables of
// `count` and of ten times as many records.
void addGrowth(const Setup &setup, std::size_t count, Report &report);

}  // namespace zk::bench
