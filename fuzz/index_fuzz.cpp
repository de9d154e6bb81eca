// Opens, walks and changes a damaged index, and checks it. The input is a list of changes to a
// whole index file, so that every input gets past the first checks: three bytes each, a place (low
// byte first) and what stands there.
#include <stdlib.h>

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

#include "engine/Check.h"
#include "engine/Context.h"
#include "engine/IndexBuilder.h"
#include "engine/Table.h"

namespace {

using namespace zk::engine;
namespace fs = std::filesystem;

constexpr int kRecords = 300;
constexpr int kChanges = 40;
constexpr int kMostSteps = 4 * kRecords;

struct Files {
  std::string table;
  std::string index;
  // As they were built.
  std::string wholeTable;
  std::string wholeIndex;
};

void require(bool holds) {
  if (!holds) abort();
}

std::string readFile(const std::string &path) {
  std::ifstream file(path, std::ios::binary);
  return std::string(std::istreambuf_iterator<char>(file), {});
}

void writeFile(const std::string &path, const std::string &bytes) {
  std::ofstream(path, std::ios::binary)
      .write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
}

Files makeFiles() {
  std::string folder = (fs::temp_directory_path() / "index_XXXXXX").string();
  require(mkdtemp(folder.data()) != nullptr);
  Files files = {folder + "/T.DBF", folder + "/T.CDX", "", ""};
  Context context;
  context.settings.showErrorBoxes = false;
  const FieldDefinition fields[] = {{"C", 'C', 12, 0}, {"N", 'N', 8, 2}};
  Table *table = Table::create(context, files.table.c_str(), fields, 2);
  require(table != nullptr);
  for (int i = 0; i < kRecords; ++i) {
    require(table->appendBlank() == 0);
    table->fields()[0].assignText("K" + std::to_string(i * 7919 % 1000));
    table->fields()[1].assignDouble(i % 17);
    require(table->writeCurrent() == 0);
  }
  const TagDefinition tags[] = {{"TAG000", "C", "", false, false},
                                {"TAG001", "N", "N > 3", false, true}};
  require(IndexBuilder(*table).build(files.index.c_str(), tags, 2) == 0);
  table->close();
  files.wholeTable = readFile(files.table);
  files.wholeTable[28] = 1;  // the index is the table's own
  files.wholeIndex = readFile(files.index);
  return files;
}

void walk(Table &table, Tag &tag) {
  table.selectTag(&tag);
  int steps = 0;
  for (int status = table.top(); status == kOk; status = table.skip(1))
    require(++steps < kMostSteps);
  steps = 0;
  for (int status = table.bottom(); status == kOk; status = table.skip(-1)) {
    require(++steps < kMostSteps);
  }
  table.seek(std::string_view("K5"));
  table.seek(5.0);
  table.selectTag(nullptr);
  table.go(kRecords / 2);
  table.selectTag(&tag);
  table.skip(2);
}

// Keys that leave and enter all over the tags; what is refused is refused.
void change(Table &table) {
  table.selectTag(nullptr);
  for (int i = 0; i < kChanges; ++i) {
    if (table.go(1 + i * 37 % kRecords) != kOk) return;
    table.fields()[0].assignText("K" + std::to_string(i * 61));
    table.fields()[1].assignDouble(20 - i);
    if (table.writeCurrent() != kOk || table.appendStart() != kOk || table.append() != kOk) return;
  }
}

void ignore(const char *, const char *, void *) {}

// A repair that could do everything leaves nothing to be found.
void check(const std::string &path) {
  Context context;
  context.settings.showErrorBoxes = false;
  context.settings.openProductionIndex = false;
  const int left = Check(context, ignore, nullptr).run(path.c_str(), nullptr, true);
  require(Check(context, ignore, nullptr).run(path.c_str(), nullptr, false) == left);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
  static const Files files = makeFiles();
  std::string bytes = files.wholeIndex;
  for (std::size_t i = 0; i + 3 <= size; i += 3) {
    const std::size_t at = data[i] | static_cast<std::size_t>(data[i + 1]) << 8;
    bytes[at % bytes.size()] = static_cast<char>(data[i + 2]);
  }
  writeFile(files.index, bytes);
  writeFile(files.table, files.wholeTable);
  Context context;
  context.settings.showErrorBoxes = false;
  Table *table = Table::open(context, files.table.c_str());
  require(table != nullptr);  // the records stay readable
  for (const auto &index : table->indexes()) {
    for (const auto &tag : index->tags()) walk(*table, *tag);
  }
  change(*table);
  table->close();
  check(files.table);
  return 0;
}
