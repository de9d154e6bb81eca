#include "Commands.h"
#include "Progress.h"
#include "RecordWriter.h"
#include "Text.h"

namespace zk::tool {

std::string_view readable(const Field &field, std::string_view text) {
  if (field.kind == Kind::kMemo) return text;
  return field.kind == Kind::kNumber ? withoutBlanks(text) : withoutTrailingBlanks(text);
}

namespace {

std::vector<Field> visibleFields(const Table &table) {
  std::vector<Field> fields;
  for (const Field &field : table.fields()) {
    if (field.kind != Kind::kNullFlags) fields.push_back(field);
  }
  return fields;
}

std::unique_ptr<RecordWriter> makeWriter(const CatOptions &options, Output &out,
                                         const std::vector<Field> &fields, const CodePage &page) {
  if (options.format == "csv") return makeCsvWriter(out, fields);
  if (options.format == "json") return makeJsonWriter(out, fields, page);
  return makeTextWriter(out, fields, page, options.deleted);
}

// Reads the current record; remembers the first memo of the table that could not be read.
void readRecord(const Table &table, const std::vector<Field> &fields, Values &values,
                std::string &complaint) {
  for (std::size_t i = 0; i < fields.size(); ++i) {
    if (table.read(fields[i], values[i]) || !complaint.empty()) continue;
    complaint = libraryFailure(table.name(), zk_DbError_code()).what();
    complaint += ", record " + std::to_string(zk_Db_getRecordNo(table.id()));
    complaint += ", field " + fields[i].name;
  }
}

}  // namespace

void runCat(const CatOptions &options, Output &out) {
  Table table(options.table, 0);
  const std::vector<Field> fields = visibleFields(table);
  const CodePage page(table.info().codePage);
  const std::unique_ptr<RecordWriter> writer = makeWriter(options, out, fields, page);
  Progress progress(!Output::isTerminal());
  Values values(fields.size());
  std::string complaint;
  std::int64_t left = options.limit;

  writer->begin();
  for (bool more = left != 0 && table.top(); more; more = left != 0 && table.next()) {
    progress.update("Reading", zk_Db_getRecordNo(table.id()), table.info().recordCount);
    const bool deleted = table.deleted();
    if (deleted && !options.deleted) continue;
    readRecord(table, fields, values, complaint);
    writer->record(values, deleted);
    --left;
  }
  writer->end();
  out.flush();
  if (!complaint.empty()) throw Failure(complaint);
}

}  // namespace zk::tool
