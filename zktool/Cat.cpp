#include "Commands.h"
#include "Progress.h"
#include "RecordReader.h"
#include "RecordWriter.h"

namespace zk::tool {
void runCat(const CatOptions &options, Output &out) {
  Table table(options.table, 0);
  if (options.index) table.openIndex(*options.index);
  if (options.order) table.useTag(options.order);
  RecordReader reader(table);
  const CodePage page(table.info().codePage);
  const std::unique_ptr<RecordWriter> writer =
      makeWriter(options.format, out, reader.fields(), page, options.deleted);
  const LibraryProgress progress(!Output::isTerminal());
  std::int64_t left = options.limit;

  // A wrong condition is found before anything is written.
  bool more = table.first(options.where.value_or(""));
  writer->begin();
  for (; more && left != 0; more = left != 0 && table.next()) {
    const bool deleted = table.deleted();
    if (deleted && !options.deleted) continue;
    writer->record(reader.read(), deleted);
    --left;
  }
  writer->end();
  out.flush();
  reader.requireAllRead();
}

}  // namespace zk::tool
