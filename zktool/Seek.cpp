#include "Commands.h"
#include "RecordReader.h"
#include "RecordWriter.h"
#include "Text.h"

namespace zk::tool {

void runSeek(const SeekOptions &options, Output &out) {
  Table table(options.table, 0);
  if (options.index) table.openIndex(*options.index);
  const Tag tag = table.useTag(options.tag);
  const Table::Found found = table.seek(options.key);
  const std::string missing =
      table.name() + ": tag " + tag.name + " has no key \"" + escapeControls(options.key) + "\"";
  const std::string next = tag.descending ? "next smaller" : "next greater";
  if (found == Table::Found::kNothing) throw Failure(missing + " and no " + next + " one");

  RecordReader reader(table);
  const Values &values = reader.read();
  if (found == Table::Found::kNextKey) printMessage(missing + ", this is the " + next + " one");
  out.write("record " + std::to_string(zk_Db_getRecordNo(table.id())) +
            (table.deleted() ? ", marked as deleted\n" : "\n"));
  writeVertically(out, reader.fields(), CodePage(table.info().codePage), values);
  out.flush();
  reader.requireAllRead();
}

}  // namespace zk::tool
