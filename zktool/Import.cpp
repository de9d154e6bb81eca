// The whole file is checked before a table is touched.
#include <algorithm>

#include "Commands.h"
#include "CsvReader.h"
#include "CsvRows.h"
#include "FieldPlan.h"
#include "FieldValue.h"
#include "NewTable.h"
#include "Text.h"

namespace zk::tool {
namespace {

using Columns = std::vector<const Field *>;  // the field of each CSV column

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

void appendRow(Table &table, const CsvReader &csv, const Columns &columns) {
  table.beginAppend();
  for (std::size_t i = 0; i < columns.size(); ++i) {
    const std::string text = checkedText(csv, i, *columns[i]);
    if (!text.empty()) table.assign(columns[i]->name, text);
  }
  table.append();
}

// Counts in `written`, also when it fails half-way.
void writeRows(Table &table, CsvReader &csv, const Columns &columns, std::int64_t &written) {
  forEachRow(csv, "Importing", [&] {
    appendRow(table, csv, columns);
    ++written;
  });
  table.close();
}

std::int64_t createTable(const ImportOptions &options, CsvReader &csv) {
  NewTable made(options.table, NewTable::Target::kMustBeFree);
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
  watchInterrupts();
  if (!options.fields.empty()) parseFieldList(options.fields);  // before any file is looked at
  CsvReader csv(options.csvFile);
  const std::int64_t written =
      options.append ? appendToTable(options, csv) : createTable(options, csv);
  out.write(options.table + ": " + std::to_string(written) + " records imported\n");
  out.flush();
}

}  // namespace zk::tool
