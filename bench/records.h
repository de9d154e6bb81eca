// The values that every side of the table benchmarks stores and reads: pieces of a pipe line, made
// from a fixed seed before anything is timed.
//
// Tables have ten fields; those with indexes have the two keys before them.
#pragma once

#include <cstddef>
#include <cstdint>
#include <iterator>
#include <vector>

namespace zk::bench {

struct Record {
  char tag[21];
  char line[13];
  double weight;
  double x;
  double y;
  double z;
  char installed[9];  // YYYYMMDD
  int32_t quantity;
  bool insulated;
  char description[41];
  char code[21];   // 20 letters and digits at random
  int32_t number;  // ascending
};

struct FieldLayout {
  const char *name;
  char type;
  int32_t width;
  int32_t decimals;
  const char *sqlType;
};

inline constexpr FieldLayout kFields[] = {
    {"TAG", 'C', 20, 0, "TEXT"},         {"LINE", 'C', 12, 0, "TEXT"},
    {"WEIGHT", 'N', 8, 2, "REAL"},       {"X", 'N', 12, 3, "REAL"},
    {"Y", 'N', 12, 3, "REAL"},           {"Z", 'N', 12, 3, "REAL"},
    {"INSTALLED", 'D', 8, 0, "TEXT"},    {"QUANTITY", 'N', 6, 0, "INTEGER"},
    {"INSULATED", 'L', 1, 0, "INTEGER"}, {"DESCRIPT", 'C', 40, 0, "TEXT"},
};
inline constexpr int kFieldCount = std::size(kFields);

inline constexpr FieldLayout kKeyFields[] = {
    {"CODE", 'C', 20, 0, "TEXT"},
    {"NUMBER", 'N', 10, 0, "INTEGER"},
};
enum class Keys { kNo, kYes };

// The fields of a table, in order.
inline std::vector<FieldLayout> fieldsOf(Keys keys) {
  std::vector<FieldLayout> fields(std::begin(kFields), std::end(kFields));
  if (keys == Keys::kYes) {
    fields.insert(fields.begin(), std::begin(kKeyFields), std::end(kKeyFields));
  }
  return fields;
}

std::vector<Record> generateRecords(std::size_t count);

}  // namespace zk::bench
