#include "RecordWriter.h"

namespace zk::tool {

std::unique_ptr<RecordWriter> makeWriter(const std::string &format, Output &out,
                                         const std::vector<Field> &fields, const CodePage &page,
                                         bool marks) {
  if (format == "csv") return makeCsvWriter(out, fields);
  if (format == "json") return makeJsonWriter(out, fields, page);
  return makeTextWriter(out, fields, page, marks);
}

}  // namespace zk::tool
