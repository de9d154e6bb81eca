// Reads records of a table for showing them.
#pragma once

#include <string>
#include <vector>

#include "Table.h"

namespace zk::tool {

class RecordReader {
 public:
  explicit RecordReader(const Table &table);

  // Those that hold data of the user.
  const std::vector<Field> &fields() const { return fields_; }

  // The current record's values, until the next call. A memo that cannot be read is empty.
  const Values &read();

  // Throws Failure naming the first memo that could not be read.
  void requireAllRead() const;

 private:
  const Table &table_;
  std::vector<Field> fields_;
  Values values_;
  std::string complaint_;
};

}  // namespace zk::tool
