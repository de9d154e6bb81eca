// How records are written: one class per format.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "CodePage.h"
#include "Output.h"
#include "Table.h"

namespace zk::tool {

class RecordWriter {
 public:
  virtual ~RecordWriter() = default;
  virtual void begin() = 0;
  virtual void record(const Values &values, bool deleted) = 0;
  virtual void end() = 0;
};

// RFC 4180, bytes as they are in the table.
std::unique_ptr<RecordWriter> makeCsvWriter(Output &out, const std::vector<Field> &fields);

// One array of objects, UTF-8.
std::unique_ptr<RecordWriter> makeJsonWriter(Output &out, const std::vector<Field> &fields,
                                             const CodePage &page);

// Aligned columns, UTF-8. With `marks` a first column shows "*" beside deleted records.
std::unique_ptr<RecordWriter> makeTextWriter(Output &out, const std::vector<Field> &fields,
                                             const CodePage &page, bool marks);

// One of these by its name: "csv", "json", any other stands for aligned columns.
std::unique_ptr<RecordWriter> makeWriter(const std::string &format, Output &out,
                                         const std::vector<Field> &fields, const CodePage &page,
                                         bool marks);

// One record, a line for each field, UTF-8.
void writeVertically(Output &out, const std::vector<Field> &fields, const CodePage &page,
                     const Values &values);

}  // namespace zk::tool
