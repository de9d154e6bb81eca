// The whole file is checked before a table is touched. A new table is built under a temporary name
// in the target's directory and renamed when it is complete, its memo file first: what a kill
// leaves behind is at most a memo file without a table.
#include <algorithm>
#include <csignal>

#include "Commands.h"
#include "CsvReader.h"
#include "FieldPlan.h"
#include "FieldValue.h"
#include "Progress.h"
#include "Text.h"

namespace zk::tool {
namespace {

volatile std::sig_atomic_t interrupted = 0;

void onInterrupt(int) { interrupted = 1; }

void checkInterrupt() {
  if (interrupted != 0) throw Failure("interrupted");
}

using Columns = std::vector<const Field *>;  // the field of each CSV column

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

// Calls `use` for every row behind the header.
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

std::string shownValue(const std::string &value) {
  constexpr std::size_t kMost = 40;
  return "'" + escapeControls(value.substr(0, kMost)) + (value.size() > kMost ? "...'" : "'");
}

std::string checkedText(const CsvReader &csv, std::size_t column, const Field &field) {
  std::string problem;
  std::string text = fieldText(field, csv[column].text, problem);
  if (problem.empty()) return text;
  throw csv.failure(column, field.name + ": " + shownValue(csv[column].text) + " " + problem);
}

void checkRows(CsvReader &csv, const Columns &columns) {
  forEachRow(csv, "Checking", [&] {
    for (std::size_t i = 0; i < columns.size(); ++i) checkedText(csv, i, *columns[i]);
  });
}

std::vector<Field> guessFields(CsvReader &csv) {
  readHeader(csv);
  const std::vector<std::string> names = headerNames(csv);
  for (std::size_t i = 0; i < names.size(); ++i) {
    const std::string &text = csv[i].text;
    if (upperCase(text) != names[i]) {
      printMessage(csv.file() + ": note: column " + std::to_string(i + 1) + " \"" +
                   escapeControls(text) + "\" becomes field " + names[i]);
    }
  }
  std::vector<ColumnGuess> guesses(names.size());
  forEachRow(csv, "Checking", [&] {
    for (std::size_t i = 0; i < guesses.size(); ++i) guesses[i].add(csv[i].text);
  });
  std::vector<Field> fields;
  for (std::size_t i = 0; i < names.size(); ++i) fields.push_back(guesses[i].field(names[i]));
  return fields;
}

// Finds the field of each column by the header's names.
Columns matchColumns(CsvReader &csv, const std::vector<Field> &fields) {
  readHeader(csv);
  const std::vector<std::string> names = headerNames(csv);
  Columns columns;
  for (std::size_t i = 0; i < names.size(); ++i) {
    const auto found = std::find_if(fields.begin(), fields.end(), [&](const Field &field) {
      return field.name == names[i] && field.kind != Kind::kNullFlags;
    });
    if (found == fields.end()) throw csv.failure(i, "the table has no field " + names[i]);
    columns.push_back(&*found);
  }
  return columns;
}

// Behind the last record the buffer is blank, and so is the record that an append begins there.
void goBehindLast(int32_t tableId) {
  if (zk_Db_eof(tableId) != 0) return;
  zk_Db_botRec(tableId, -1);
  zk_Db_nextRec(tableId, -1);
}

void appendRow(const Table &table, const CsvReader &csv, const Columns &columns) {
  goBehindLast(table.id());
  int status = zk_Db_appendStart(table.id());
  if (status != 0) throw libraryFailure(table.name(), status);
  for (std::size_t i = 0; i < columns.size(); ++i) {
    const std::string text = checkedText(csv, i, *columns[i]);
    if (text.empty()) continue;
    status = zk_Db_assignFldStrN(table.id(), columns[i]->name.c_str(), text.data(),
                                 static_cast<int32_t>(text.size()));
    if (status != 0) throw libraryFailure(table.name(), status);
  }
  status = zk_Db_append(table.id());
  if (status != 0) throw libraryFailure(table.name(), status);
}

// Counts in `written`, also when it fails half-way.
void writeRows(Table &table, CsvReader &csv, const Columns &columns, std::int64_t &written) {
  forEachRow(csv, "Importing", [&] {
    appendRow(table, csv, columns);
    ++written;
  });
  table.close();
}

// Splits "dir/name.ext" before the "."; the extension is "" when there is none.
void splitName(const std::string &path, std::string &stem, std::string &extension) {
  const std::size_t point = path.rfind('.');
  const std::size_t slash = path.find_last_of("/\\:");
  const bool has = point != std::string::npos && (slash == std::string::npos || point > slash);
  stem = path.substr(0, point);
  if (!has) stem = path;
  extension = has ? path.substr(point) : "";
}

// The table's file and the memo file beside it.
struct FilePair {
  FilePair(const std::string &stem, const std::string &extension) : table(stem + extension) {
    const bool lower = std::none_of(extension.begin(), extension.end(),
                                    [](char c) { return c >= 'A' && c <= 'Z'; });
    memo = stem + (lower ? ".fpt" : ".FPT");
  }

  bool exists() const {
    return zk_File_exists(table.c_str()) != 0 || zk_File_exists(memo.c_str()) != 0;
  }

  void remove() const {
    if (zk_File_exists(memo.c_str()) != 0) zk_File_deleteSingle(memo.c_str());
    if (zk_File_exists(table.c_str()) != 0) zk_File_deleteSingle(table.c_str());
  }

  std::string table;
  std::string memo;
};

// A table under a temporary name, removed unless it is put in place.
class NewTable {
 public:
  explicit NewTable(const std::string &target)
      : target_(targetFiles(target)), files_(temporaryFiles(target)) {
    requireFree();
  }

  ~NewTable() {
    if (!placed_) files_.remove();
  }

  NewTable(const NewTable &) = delete;
  NewTable &operator=(const NewTable &) = delete;

  const std::string &name() const { return files_.table; }

  void create(const std::vector<Field> &fields) {
    DbFldList *list = zk_DbFldList_create(nullptr);
    for (const Field &field : fields) {
      zk_DbFldList_insEnd(list, field.name.c_str(), nullptr, field.width, field.decimals,
                          field.type);
    }
    const int32_t id = zk_Db_createDb(name().c_str(), list);
    zk_DbFldList_destroy(list);
    if (id < 0) throw Failure(target_.table + ": " + errorText(id));
    zk_Db_closeDb(id);
  }

  void putInPlace() {
    requireFree();  // nobody made one meanwhile
    const bool hasMemo = zk_File_exists(files_.memo.c_str()) != 0;
    if (hasMemo && zk_File_move(files_.memo.c_str(), target_.memo.c_str()) == 0) {
      throw Failure(target_.memo + ": cannot be put in place");
    }
    if (zk_File_move(files_.table.c_str(), target_.table.c_str()) == 0) {
      if (hasMemo) zk_File_deleteSingle(target_.memo.c_str());
      throw Failure(target_.table + ": cannot be put in place");
    }
    placed_ = true;
  }

 private:
  static FilePair targetFiles(const std::string &target) {
    std::string stem;
    std::string extension;
    splitName(target, stem, extension);
    return {stem, extension.empty() ? ".dbf" : extension};
  }

  static FilePair temporaryFiles(const std::string &target) {
    const std::size_t slash = target.find_last_of("/\\:");
    const std::string directory = slash == std::string::npos ? "" : target.substr(0, slash + 1);
    for (int tries = 0; tries < 100; ++tries) {
      const FilePair files(directory + zk_Fname_createTemp(), ".dbf");
      if (!files.exists()) return files;
    }
    throw Failure(target + ": no temporary file name is free");
  }

  void requireFree() const {
    if (zk_File_exists(target_.table.c_str()) != 0) {
      throw Failure(target_.table + ": exists already (--append adds to it)");
    }
    if (zk_File_exists(target_.memo.c_str()) != 0) {
      throw Failure(target_.memo + ": exists already, without a table");
    }
  }

  FilePair target_;
  FilePair files_;
  bool placed_ = false;
};

std::int64_t createTable(const ImportOptions &options, CsvReader &csv) {
  NewTable made(options.table);
  std::vector<Field> fields;
  if (options.fields.empty()) {
    fields = guessFields(csv);
  } else {
    fields = parseFieldList(options.fields);
    checkRows(csv, matchColumns(csv, fields));
  }
  const Columns columns = matchColumns(csv, fields);
  made.create(fields);
  Table table(made.name(), 2);
  std::int64_t written = 0;
  writeRows(table, csv, columns, written);
  made.putInPlace();
  return written;
}

std::int64_t appendToTable(const ImportOptions &options, CsvReader &csv) {
  Table table(options.table, 2);
  table.requireWritable();
  const Columns columns = matchColumns(csv, table.fields());
  checkRows(csv, columns);
  std::int64_t written = 0;
  try {
    writeRows(table, csv, columns, written);
  } catch (const Failure &failure) {
    throw Failure(std::string(failure.what()) + ", after " + std::to_string(written) + " records");
  }
  return written;
}

}  // namespace

void runImport(const ImportOptions &options, Output &out) {
  std::signal(SIGINT, onInterrupt);
  std::signal(SIGTERM, onInterrupt);
  if (!options.fields.empty()) parseFieldList(options.fields);  // before any file is looked at
  CsvReader csv(options.csvFile);
  const std::int64_t written =
      options.append ? appendToTable(options, csv) : createTable(options, csv);
  out.write(options.table + ": " + std::to_string(written) + " records imported\n");
  out.flush();
}

}  // namespace zk::tool
